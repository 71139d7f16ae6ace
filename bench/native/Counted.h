#pragma once

#include <functional>

// The work, for a program that counts the instructions of this function: its name is plain, and it is never inlined.
extern "C" void counted(const std::function<void()>& work);
