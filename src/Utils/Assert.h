#pragma once

#include <cstdint>

#include "Utils/Log.h"

namespace utils {

// Throws utils::Exception with the message "%s:%d: Assertion failed: '%s'".
[[noreturn]] void assertionFailed(const char* file, std::uint32_t line, const char* condition);

}  // namespace utils

// A precondition that is never compiled out: a false condition throws utils::Exception whose text holds the condition
// as written. Support tools match on these texts, so write NULL, not nullptr, where the text has it; the condition is
// made text in the outermost macro, or NULL itself would be expanded.
#define ASSERT(site, condition) \
    ((condition) ? static_cast<void>(0) : utils::assertionFailed((site).file(), __LINE__, #condition))

// The same with a given line number, for texts whose number support tools match on.
#define ASSERT_AT(site, line, condition) \
    ((condition) ? static_cast<void>(0) : utils::assertionFailed((site).file(), line, #condition))
