#include <charconv>

#include "Utils/Utils.h"
#include "fuzz/FuzzTarget.h"

namespace {

std::uint64_t digitsOf(const std::string& text)
{
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// At most twenty digits, in two groups of ten. Neither group can overflow, but their sum wraps.
std::uint64_t numberOf(const std::string& text)
{
    if (text.size() >= 21) {
        return 0;
    }
    const std::string run = text.substr(0, text.find_first_not_of("0123456789"));
    if (run.size() <= 10) {
        return digitsOf(run);
    }
    const std::string rest = run.substr(10);
    std::uint64_t scale = 1;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        scale *= 10;
    }
    return digitsOf(run.substr(0, 10)) * scale + digitsOf(rest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::textOf(data, size);
    fuzz::require(utils::toUint64(text) == numberOf(text), "it reads the leading digits, wrapping", text);
    return 0;
}
