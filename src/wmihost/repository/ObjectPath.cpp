#include "wmihost/repository/ObjectPath.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::wstring pathQuoted(std::wstring_view value)
{
    std::wstring text = L"\"";
    for (const wchar_t c : value) {
        if (c == L'"' || c == L'\\') {
            text += L'\\';
        }
        text += c;
    }
    return text + L"\"";
}

// Reads a path from left to right.
class PathReader
{
public:
    explicit PathReader(std::wstring_view text) : m_text(text) {}

    bool atEnd() const { return m_at == m_text.size(); }
    wchar_t look() const { return atEnd() ? L'\0' : m_text[m_at]; }

    bool take(wchar_t c)
    {
        if (look() != c || atEnd()) {
            return false;
        }
        ++m_at;
        return true;
    }

    std::wstring identifier(const char* what)
    {
        const std::size_t begin = m_at;
        while (!atEnd() && (IsCharAlphaNumericW(look()) || look() == L'_')) {
            ++m_at;
        }
        if (m_at == begin || (m_text[begin] >= L'0' && m_text[begin] <= L'9')) {
            m_at = begin;
            fail(std::string("expected ") + what);
        }
        return std::wstring(m_text.substr(begin, m_at - begin));
    }

    PathKey value(std::wstring name)
    {
        PathKey key;
        key.name = std::move(name);
        const wchar_t quote = look();
        if (quote != L'"' && quote != L'\'') {
            while (!atEnd() && look() != L',') {
                key.value += m_text[m_at++];
            }
            if (key.value.empty()) {
                fail("expected the value of a key");
            }
            m_unquotedText = m_unquotedText || !isNumberOrBoolean(key.value);
            return key;
        }
        ++m_at;
        key.quoted = true;
        while (!take(quote)) {
            // A backslash protects a quote or another backslash; before anything else it stands for itself.
            if (look() == L'\\' && m_at + 1 < m_text.size() && isProtected(m_text[m_at + 1])) {
                ++m_at;
            }
            if (atEnd()) {
                fail(std::string("expected ") + static_cast<char>(quote) + " at the end of the value");
            }
            key.value += m_text[m_at++];
        }
        return key;
    }

    std::size_t place() const { return m_at; }

    // What has been read since that place, between double quotes where single ones stood.
    std::wstring since(std::size_t begin, const PathKey& key) const
    {
        const std::wstring_view read = m_text.substr(begin, m_at - begin);
        return read.starts_with(L'\'') ? pathQuoted(key.value) : std::wstring(read);
    }

    // What stands before the first colon outside quotes, if it is a namespace; it is consumed with the colon. With
    // backslashes, whichever slashes were written.
    std::optional<std::wstring> nameSpace()
    {
        const std::size_t end = m_text.find_first_of(L":\"'.=");
        // "\\.\root:Class" has a dot for its server.
        const bool withServer = m_text.starts_with(L"\\\\") || m_text.starts_with(L"//");
        const std::size_t colon = withServer ? m_text.find(L':') : end;
        if (colon == std::wstring_view::npos || m_text[colon] != L':') {
            return std::nullopt;
        }
        m_at = colon + 1;
        std::wstring prefix(m_text.substr(0, colon));
        std::replace(prefix.begin(), prefix.end(), L'/', L'\\');
        return prefix;
    }

    [[noreturn]] void fail(const std::string& reason) const
    {
        throw PathError("'" + toUtf8(m_text) + "' is no object path: " + reason + " at character " +
                        std::to_string(m_at + 1) + (m_unquotedText ? "; " + quotesAdvice() : std::string()));
    }

private:
    static bool isProtected(wchar_t c) { return c == L'"' || c == L'\'' || c == L'\\'; }

    static bool isNumberOrBoolean(std::wstring_view text)
    {
        return parseSigned(text) || parseUnsigned(text) || sameName(text, L"TRUE") || sameName(text, L"FALSE");
    }

    std::wstring_view m_text;
    std::size_t m_at = 0;
    bool m_unquotedText = false;  // a value without quotes was read that would need them
};

std::wstring keyText(const VARIANT& value, CIMTYPE type)
{
    if (type != CIM_STRING && type != CIM_DATETIME && type != CIM_REFERENCE) {
        return scalarText(value, type);
    }
    return pathQuoted(viewOf(value.bstrVal));
}

}  // namespace

std::string quotesAdvice()
{
    return "where a shell took the quotes away, write \"Class.Key='value'\", with double quotes around the whole path "
           "and single quotes around each text";
}

ObjectPath ObjectPath::parse(std::wstring_view text)
{
    ObjectPath path;
    PathReader reader(text);
    if (const auto prefix = reader.nameSpace()) {
        path.prefix = *prefix + L":";
        if (prefix->starts_with(L"\\\\")) {
            const std::size_t end = prefix->find(L'\\', 2);
            if (end == std::wstring::npos) {
                reader.fail("expected a namespace after the server");
            }
            path.server = prefix->substr(2, end - 2);
            path.nameSpace = prefix->substr(end + 1);
        } else {
            path.nameSpace = prefix->substr(prefix->starts_with(L"\\") ? 1 : 0);
        }
    }
    path.className = reader.identifier("the name of a class");
    path.relative = path.className;
    const auto takeValue = [&](std::wstring name) {
        const std::size_t begin = reader.place();
        path.keys.push_back(reader.value(std::move(name)));
        path.relative += L"=" + reader.since(begin, path.keys.back());
    };
    if (reader.take(L'=')) {
        if (reader.take(L'@')) {
            path.singleton = true;
            path.relative += L"=@";
        } else {
            takeValue(L"");
        }
    } else if (reader.take(L'.')) {
        wchar_t separator = L'.';
        do {
            std::wstring name = reader.identifier("the name of a key");
            if (!reader.take(L'=')) {
                reader.fail("expected =");
            }
            path.relative += separator + name;
            takeValue(std::move(name));
            separator = L',';
        } while (reader.take(L','));
    }
    if (!reader.atEnd()) {
        reader.fail("expected the end");
    }
    return path;
}

std::optional<std::wstring> relativePath(const ClassDefinition& definition, const std::vector<Variant>& values)
{
    if (hasQualifier(definition.qualifiers, L"singleton")) {
        return definition.name + L"=@";
    }
    std::vector<std::pair<std::wstring, std::wstring>> keys;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Property& property = definition.properties[i];
        if (!property.isKey()) {
            continue;
        }
        if (values[i].isNull()) {
            return std::nullopt;
        }
        keys.emplace_back(property.name, keyText(values[i].get(), property.type));
    }
    if (keys.empty()) {
        return std::nullopt;
    }
    std::sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return nameBefore(a.first, b.first); });
    std::wstring text = definition.name;
    wchar_t separator = L'.';
    for (const auto& [name, value] : keys) {
        text += separator + name + L"=" + value;
        separator = L',';
    }
    return text;
}

std::wstring fullPath(std::wstring_view nameSpace, std::wstring_view relativePath)
{
    std::wstring text = L"\\\\" + serverName() + L"\\";
    text += nameSpace;
    text += L':';
    text += relativePath;
    return text;
}

const std::wstring& serverName()
{
    static const std::wstring name = [] {
        std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> buffer{};
        DWORD size = static_cast<DWORD>(buffer.size());
        return GetComputerNameW(buffer.data(), &size) != 0 ? std::wstring(buffer.data(), size) : std::wstring(L".");
    }();
    return name;
}

}  // namespace wmihost
