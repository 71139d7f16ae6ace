#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Utils/Utils.h"
#include "fuzz/FuzzTarget.h"

namespace {

// The platform's formatter with a sufficient buffer, cut to the maximum length of a message.
template <class... Args>
std::string cut(const char* format, Args... args)
{
    const int length = std::snprintf(nullptr, 0, format, args...);
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
    std::snprintf(buffer.data(), buffer.size(), format, args...);
    return std::string(buffer.data()).substr(0, 511);
}

}  // namespace

// The first bytes are the numbers, and the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    struct Numbers
    {
        std::uint64_t wide;
        std::uint32_t narrow;
        std::uint16_t width;
    } numbers{};
    constexpr std::size_t HEAD = sizeof(numbers.wide) + sizeof(numbers.narrow) + sizeof(numbers.width);
    if (size < HEAD) {
        return 0;
    }
    std::memcpy(&numbers.wide, data, sizeof(numbers.wide));
    std::memcpy(&numbers.narrow, data + sizeof(numbers.wide), sizeof(numbers.narrow));
    std::memcpy(&numbers.width, data + sizeof(numbers.wide) + sizeof(numbers.narrow), sizeof(numbers.width));
    const std::string rest = fuzz::textOf(data + HEAD, size - HEAD);
    const char* const text = rest.c_str();
    const auto wide = static_cast<unsigned long long>(numbers.wide);
    const auto number = static_cast<int>(numbers.narrow);
    const int width = numbers.width;
    constexpr const char* PROMISE = "a message is the platform's text, cut to 511 characters";
    fuzz::require(utils::format("%s", text) == cut("%s", text), PROMISE, rest);
    fuzz::require(utils::format("%s:%d: '%s'", text, number, text) == cut("%s:%d: '%s'", text, number, text), PROMISE,
                  rest);
    fuzz::require(utils::format("0x%0*x", width, numbers.narrow) == cut("0x%0*x", width, numbers.narrow), PROMISE,
                  rest);
    fuzz::require(utils::format("%llu %s %08d%02d%%", wide, text, number, number) ==
                      cut("%llu %s %08d%02d%%", wide, text, number, number),
                  PROMISE, rest);
    return 0;
}
