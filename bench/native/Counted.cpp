#include "bench/native/Counted.h"

extern "C" __attribute__((noinline)) void counted(const std::function<void()>& work)
{
    work();
}
