#include "reliability/Clients.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <thread>

namespace reliability {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds TOO_LONG{60};

// The current request of a client. The watchdog reads it.
struct Activity
{
    // Null between two requests.
    std::atomic<const char*> request{nullptr};
    std::atomic<Clock::rep> since{0};
};

void endProcessIfOneHangs(const std::array<Activity, CLIENTS>& activities)
{
    for (const Activity& activity : activities) {
        const Clock::duration age = Clock::now().time_since_epoch() - Clock::duration(activity.since.load());
        if (activity.request != nullptr && age > TOO_LONG) {
            std::cerr << "a request hangs; the clients are at:\n";
            for (const Activity& each : activities) {
                const char* const request = each.request;
                std::cerr << "  " << (request == nullptr ? "nothing" : request) << "\n";
            }
            std::abort();
        }
    }
}

}  // namespace

LoadResult runClients(const std::vector<Work>& works, std::chrono::seconds time)
{
    std::array<Activity, CLIENTS> activities;
    std::vector<std::atomic<unsigned>> counts(works.size());
    std::mutex complaintsMutex;
    LoadResult result;
    const Clock::time_point end = Clock::now() + time;
    std::atomic<std::size_t> running{CLIENTS};
    std::vector<std::thread> clients;
    for (std::size_t number = 0; number < CLIENTS; ++number) {
        clients.emplace_back([&, number] {
            for (std::size_t turn = number; Clock::now() < end; turn += 1 + number % 3) {
                const std::size_t chosen = turn % works.size();
                activities[number].since = Clock::now().time_since_epoch().count();
                activities[number].request = works[chosen].name;
                const std::string found = works[chosen].run();
                activities[number].request = nullptr;
                ++counts[chosen];
                if (!found.empty()) {
                    const std::lock_guard guard(complaintsMutex);
                    ++result.complaints[std::string(works[chosen].name) + ": " + found];
                }
            }
            --running;
        });
    }
    while (running != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        endProcessIfOneHangs(activities);
    }
    for (std::thread& client : clients) {
        client.join();
    }
    result.counts.assign(counts.begin(), counts.end());
    return result;
}

void judge(const std::vector<Work>& works, const LoadResult& result, const std::string& tableFile)
{
    std::filesystem::create_directories(std::filesystem::path(tableFile).parent_path());
    std::ofstream table(tableFile);
    for (std::size_t i = 0; i < works.size(); ++i) {
        EXPECT_NE(result.counts[i], 0U) << works[i].name;
        table << "| " << works[i].name << " | " << result.counts[i] << " |\n";
    }
    for (const auto& [text, count] : result.complaints) {
        ADD_FAILURE() << text << " (" << count << " times)";
    }
}

}  // namespace reliability
