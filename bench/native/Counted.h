#pragma once

#include <functional>

// Runs the work. A counting program finds this function by its name, so the name is plain and it is never inlined.
extern "C" void counted(const std::function<void()>& work);
