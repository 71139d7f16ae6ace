#include "fuzz/FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void require(bool kept, const char* promise, const std::string& details)
{
    if (!kept) {
        std::fprintf(stderr, "broken: %s\n%s\n", promise, details.c_str());
        std::abort();
    }
}

std::string textOf(const std::uint8_t* data, std::size_t size)
{
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

}  // namespace fuzz
