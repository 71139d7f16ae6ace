#include "Utils/Assert.h"

#include "Utils/Exception.h"

namespace utils {

void assertionFailed(const char* file, std::uint32_t line, const char* condition)
{
    throw Exception(format("%s:%d: Assertion failed: '%s'", file, static_cast<int>(line), condition));
}

}  // namespace utils
