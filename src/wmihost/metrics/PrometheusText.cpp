#include "wmihost/metrics/PrometheusText.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <set>

// The format is small, and no library fits: Debian's only C++ library for it (prometheus-cpp) is compiled for Linux and
// comes without its sources, so that a cross build cannot link it.

namespace wmihost {
namespace {

constexpr std::size_t LONGEST_LABEL_VALUE = 256;

// The beginning of a UTF-8 text up to a length in bytes. Does not cut through a character.
std::string cut(const std::string& text, std::size_t length)
{
    if (text.size() <= length) {
        return text;
    }
    constexpr unsigned CONTINUATION_MASK = 0xC0;
    constexpr unsigned CONTINUATION = 0x80;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & CONTINUATION_MASK) == CONTINUATION) {
        --length;
    }
    return text.substr(0, length);
}

// The format escapes backslashes and line feeds everywhere, but quotation marks only in label values.
std::string escaped(const std::string& text, bool quoted)
{
    constexpr unsigned char FIRST_PRINTABLE = 0x20;
    std::string result;
    for (const char c : text) {
        if (c == '\\' || (c == '"' && quoted)) {
            result += '\\';
            result += c;
        } else if (c == '\n') {
            result += "\\n";
        } else {
            result += static_cast<unsigned char>(c) < FIRST_PRINTABLE ? ' ' : c;
        }
    }
    return result;
}

std::string labelText(const Labels& labels)
{
    std::string text;
    for (const auto& [name, value] : labels) {
        text += (text.empty() ? "{" : ",") + name + "=\"" + escaped(cut(value, LONGEST_LABEL_VALUE), true) + "\"";
    }
    return text.empty() ? text : text + "}";
}

// The fewest digits that give the same number again, without an exponent.
std::string numberText(double value)
{
    std::array<char, 512> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed).ptr;
    return {digits.data(), end};
}

std::string familyText(const MetricFamily& family)
{
    std::string text = "# HELP " + family.name + " " + escaped(family.help, false) + "\n# TYPE " + family.name +
                       (family.type == MetricType::COUNTER ? " counter\n" : " gauge\n");
    std::set<std::string> written;
    for (const MetricSample& sample : family.samples) {
        const std::string series = family.name + labelText(sample.labels);
        if (written.insert(series).second) {
            text += series + " " + numberText(sample.value) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string prometheusText(const std::vector<MetricFamily>& families)
{
    std::string text;
    for (const MetricFamily& family : families) {
        if (!family.samples.empty()) {
            text += familyText(family);
        }
    }
    return text;
}

}  // namespace wmihost
