#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <set>

#include "broker/Properties.h"
#include "broker/jobs/JobEntry.h"
#include "broker/windows/BrokerLibrary.h"
#include "broker/windows/RegistryStorage.h"
#include "broker/windows/TestProcess.h"
#include "support/PrivateRegistry.h"

// Ends processes at random moments while they start and delete jobs through the built library. The next process must
// find everything that they were answered. The registry is a branch of the user's registry for this test.
namespace {

constexpr const char* LOG_VARIABLE = "ZERIX_PROCESS_END_LOG";
constexpr const char* ROOT_VARIABLE = "ZERIX_PROCESS_END_ROOT";

// The work of the process that is ended. The test below starts it.
TEST(ProcessEndClient, DISABLED_run)
{
    const char* const log = std::getenv(LOG_VARIABLE);
    const char* const root = std::getenv(ROOT_VARIABLE);
    if (log == nullptr || root == nullptr) {
        return;
    }
    const support::PrivateRegistry registry(root);
    const support::Library library;
    std::ofstream answers(log, std::ios::app);
    std::mt19937 random(GetCurrentProcessId());
    for (;;) {
        const std::string path = support::startDiagnostic(library, static_cast<std::uint16_t>(random() % 3 + 1));
        if (path.empty()) {
            Sleep(1);
            continue;
        }
        answers << "started " << path << std::endl;
        Sleep(random() % 40);
        if (random() % 2 == 0) {
            if (core::CimInstance* job = library.find(path)) {
                job->markForDeletion(true);
                answers << "deleted " << path << std::endl;
            }
        }
    }
}

class ProcessEnd : public testing::Test
{
protected:
    ~ProcessEnd() override { DeleteFileA(m_log.c_str()); }

    // Ends the process at a random moment after its first answer.
    void runAndEnd(DWORD milliseconds) const
    {
        std::ofstream(m_log, std::ios::trunc).flush();
        SetEnvironmentVariableA(LOG_VARIABLE, m_log.c_str());
        SetEnvironmentVariableA(ROOT_VARIABLE, m_registry.name().c_str());
        const support::TestProcess process("ProcessEndClient.DISABLED_run");
        ASSERT_TRUE(process.hasStarted());
        while (answers().empty() && process.isRunning()) {
            Sleep(1);
        }
        Sleep(milliseconds);
        process.end();
    }

    // The lines that were written completely.
    std::vector<std::string> answers() const
    {
        std::vector<std::string> result;
        std::ifstream file(m_log);
        std::string line;
        while (std::getline(file, line) && !file.eof()) {
            result.push_back(line);
        }
        return result;
    }

    const support::PrivateRegistry m_registry;
    const std::string m_log = "process-end-" + std::to_string(GetCurrentProcessId()) + ".log";
};

TEST_F(ProcessEnd, WhatWasAnswered_isWhatTheNextProcessFinds)
{
    const int rounds = std::getenv("ZERIX_LONG") != nullptr ? 200 : 8;
    std::mt19937 random(static_cast<unsigned>(GetTickCount64()));
    std::map<std::string, int> answered;
    std::map<std::string, int> found;
    for (int round = 0; round < rounds; ++round) {
        {
            const support::Library library;
            support::setSamplePeriod(library, 10);
        }
        runAndEnd(random() % 120);
        const auto storedJobs = broker::RegistryStorage().read("Jobs");
        const auto storedResults = broker::RegistryStorage().read("Results");
        ASSERT_TRUE(storedJobs && storedResults);
        for (const auto& [id, entry] : *storedJobs) {
            EXPECT_TRUE(broker::jobOf(id, entry.text)) << entry.text;
        }
        for (const auto& [id, entry] : *storedResults) {
            EXPECT_TRUE(broker::resultOf(id, entry.text)) << entry.text;
        }
        const support::Library library;
        std::set<std::string> shown;
        auto jobs = library.broker()->getInstances("Zerix_ConcreteJob");
        auto iterator = jobs.getIterator();
        while (core::CimInstance* job = iterator.next()) {
            shown.insert(job->toPathString());
            EXPECT_NE(support::value(*job, "JobState"), "4");
            ++found["state " + support::value(*job, "JobState")];
        }
        for (const std::string& answer : answers()) {
            const std::string path = answer.substr(answer.find(' ') + 1);
            ++answered[answer.substr(0, answer.find(' '))];
            if (answer.starts_with("deleted ")) {
                EXPECT_FALSE(shown.contains(path)) << answer;
            }
        }
        // The limits hold, and the port is free.
        EXPECT_LE(shown.size(), 200U);
        const std::string next = support::startDiagnostic(library, 600);
        ASSERT_NE(next, "");
        library.find(next)->markForDeletion(true);
    }
    std::cout << rounds << " processes were ended; answers: " << testing::PrintToString(answered)
              << "; jobs shown after all of the ends: " << testing::PrintToString(found) << '\n';
}

}  // namespace
