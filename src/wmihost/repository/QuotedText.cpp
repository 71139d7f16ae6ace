#include "wmihost/repository/QuotedText.h"

#include <cstddef>

#include "wmihost/terminal/Text.h"

namespace wmihost {

std::wstring quotedText(std::wstring_view text)
{
    std::wstring quoted = L"\"";
    for (const wchar_t c : text) {
        if (c == L'"' || c == L'\\') {
            quoted += L'\\';
        }
        quoted += c;
    }
    return quoted + L"\"";
}

std::wstring unescapedText(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escapes = text[i] == '\\' && i + 1 < text.size() &&
                             (text[i + 1] == '\\' || text[i + 1] == '"' || text[i + 1] == '\'');
        i += escapes ? 1 : 0;
        result += text[i];
    }
    return toWide(result);
}

}  // namespace wmihost
