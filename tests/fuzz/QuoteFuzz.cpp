#include "Utils/Utils.h"
#include "fuzz/FuzzTarget.h"

namespace {

// The rule, written as a search and replace.
std::string withoutQuotes(const std::string& text)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return text;
    }
    std::string inner = text.substr(1, text.size() - 2);
    for (std::size_t at = inner.find("\\\""); at != std::string::npos; at = inner.find("\\\"", at + 1)) {
        inner.erase(at, 1);
    }
    return inner;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::textOf(data, size);
    const std::string quoted = utils::quote(text);
    fuzz::require(utils::unquote(quoted) == text, "unquote undoes quote", quoted);
    fuzz::require(utils::unquote(text) == withoutQuotes(text), "unquote resolves the escaped quote alone", text);
    return 0;
}
