#pragma once

namespace utils {

// Platform boundary: true while the process is being ended, as opposed to a module being unloaded from a process
// that goes on. At a process's end other threads are gone wherever they stood, so nothing may be torn down then.
bool processIsEnding() noexcept;

}  // namespace utils
