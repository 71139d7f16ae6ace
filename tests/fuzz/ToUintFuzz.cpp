#include <charconv>
#include <optional>

#include "Utils/Utils.h"
#include "fuzz/FuzzTarget.h"

namespace {

template <class Number>
std::optional<Number> whole(const std::string& digits, int base)
{
    Number number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// The accepted texts are the forms in which a 32-bit number is written: a signed decimal without leading zeros, or
// hexadecimal digits of any width that the bounded formatter can write.
std::optional<std::uint32_t> numberOf(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return std::nullopt;
    }
    const std::string inner = text.substr(first, text.find_last_not_of(" \t") - first + 1);
    if (inner.size() >= 2 && inner[0] == '0' && (inner[1] == 'x' || inner[1] == 'X')) {
        return inner.size() > 511 ? std::nullopt : whole<std::uint32_t>(inner.substr(2), 16);
    }
    const std::optional<std::int32_t> number = whole<std::int32_t>(inner, 10);
    if (!number || std::to_string(*number) != inner) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::uint32_t UNTOUCHED = 4711;
    const std::string text = fuzz::textOf(data, size);
    const std::optional<std::uint32_t> expected = numberOf(text);
    std::uint32_t number = UNTOUCHED;
    const bool accepted = utils::toUint(text, &number);
    fuzz::require(accepted == expected.has_value(), "it accepts exactly what it would write", text);
    fuzz::require(number == expected.value_or(UNTOUCHED), "it reads the number, or leaves the result alone", text);
    return 0;
}
