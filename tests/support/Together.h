#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace support {

// Runs work(0), work(1) ..., each in a new thread. They begin when all threads have started. Returns when all are done.
template <class Work>
void runTogether(int threads, const Work& work)
{
    std::mutex mutex;
    std::condition_variable allStarted;
    int missing = threads;
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([&, thread] {
            {
                std::unique_lock lock(mutex);
                --missing;
                allStarted.notify_all();
                allStarted.wait(lock, [&] { return missing == 0; });
            }
            work(thread);
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

}  // namespace support
