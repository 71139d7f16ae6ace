#pragma once

#include <latch>
#include <thread>
#include <vector>

namespace support {

// Runs work(0), work(1) ..., each in a new thread. They begin when all threads have started. Returns when all are done.
template <class Work>
void runTogether(int threads, const Work& work)
{
    std::latch start(threads);
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&start, &work, thread] {
            start.arrive_and_wait();
            work(thread);
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

}  // namespace support
