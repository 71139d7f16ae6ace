#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <thread>

#include "host/ClassObject.h"
#include "host/ObjectReader.h"
#include "host/Workspace.h"
#include "reliability/KnownFactory.h"

// Eight clients at once through one provider object, with the real companion behind it: every kind of request, jobs
// starting and being deleted, settings changing. Every answer is checked; a request that does not come back is told
// with what every client was doing.
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t CLIENTS = 8;
constexpr std::chrono::seconds TOO_LONG{60};

// ZERIX_SECONDS sets the time; the ordinary run takes a few seconds.
std::chrono::seconds duration()
{
    const char* const text = std::getenv("ZERIX_SECONDS");
    return std::chrono::seconds(text == nullptr ? 8 : std::atoi(text));
}

// What a client does now; read by the watchdog.
struct Activity
{
    std::atomic<const char*> request{"nothing"};
    std::atomic<Clock::rep> since{0};
};

// One kind of request with the check of its answer, which gives the complaint or nothing.
struct Work
{
    const char* name;
    std::function<std::string(const host::ProviderSession&)> run;
};

std::string complaint(const host::RequestResult& result, HRESULT expected)
{
    if (!result.exception.empty()) {
        return "threw " + result.exception;
    }
    return result.status == expected ? "" : "status " + std::to_string(static_cast<unsigned>(result.status));
}

class LoadTest : public testing::Test
{
protected:
    LoadTest()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        m_factory.emplace();
        m_workspace.emplace(std::filesystem::path(ZERIX_MOF));
    }

    const host::ProviderSession& session(std::wstring_view className)
    {
        return m_workspace->sessionFor(m_workspace->findClass(className, L""));
    }

    host::ComPtr<IWbemClassObject> emptyInstance(std::wstring_view className)
    {
        const host::ClassTarget target = m_workspace->findClass(className, L"");
        return host::ClassObject::ofInstance(host::InstanceData(target.definition));
    }

    // Every object must be of its class and have a path, and there must be as many as in the quiet machine.
    Work listing(const char* name, std::wstring className)
    {
        const std::size_t expected = session(className).enumerate(className, {}).objects.size();
        return {name, [className, expected](const host::ProviderSession& provider) -> std::string {
                    const host::RequestResult result = provider.enumerate(className, {});
                    for (const auto& object : result.objects) {
                        if (host::textOf(*object.get(), L"__CLASS") != className ||
                            host::textOf(*object.get(), L"__RELPATH").empty()) {
                            return "an object without its class or path";
                        }
                    }
                    if (result.objects.size() != expected) {
                        return std::to_string(result.objects.size()) + " objects instead of " +
                               std::to_string(expected);
                    }
                    return complaint(result, WBEM_S_NO_ERROR);
                }};
    }

    std::optional<reliability::KnownFactory> m_factory;
    std::optional<host::Workspace> m_workspace;
};

TEST_F(LoadTest, eightClientsAtOnceGetTheirAnswers)
{
    const host::ProviderSession& provider = session(L"Zerix_EthernetPort");
    const auto ports = provider.enumerate(L"Zerix_EthernetPort", {}).objects;
    const auto settings = provider.enumerate(L"Zerix_DiagnosticSetting", {}).objects;
    ASSERT_FALSE(settings.empty());
    const std::wstring settingPath = host::textOf(*settings.front().get(), L"__RELPATH");
    const host::ComPtr<IWbemClassObject> noArguments = emptyInstance(L"__PARAMETERS");

    std::vector<Work> works{
        listing("list ports", L"Zerix_EthernetPort"),
        listing("list endpoints", L"Zerix_IPProtocolEndpoint"),
        listing("list statistics", L"Zerix_EthernetPortStatistics"),
        listing("list identities", L"Zerix_SoftwareIdentity"),
        listing("list settings", L"Zerix_DiagnosticSetting"),
        {"get a setting",
         [&](const host::ProviderSession& p) { return complaint(p.get(settingPath, {}), WBEM_S_NO_ERROR); }},
        {"get nothing",
         [](const host::ProviderSession& p) {
             return complaint(p.get(L"Zerix_EthernetPort.DeviceID=\"none\"", {}),
                              static_cast<HRESULT>(WBEM_E_NOT_FOUND));
         }},
        {"change a setting",
         [&](const host::ProviderSession& p) {
             const host::RequestResult found = p.get(settingPath, {});
             return found.objects.empty() ? "no setting" : complaint(p.put(found.objects.front().get(), {}), 0);
         }},
        {"restore the defaults",
         [&](const host::ProviderSession& p) {
             return complaint(p.execMethod(settingPath, L"RestoreDefaults", noArguments.get(), {}), WBEM_S_NO_ERROR);
         }},
        {"delete a port",
         [](const host::ProviderSession& p) {
             return complaint(p.remove(L"Zerix_EthernetPort.DeviceID=\"none\"", {}),
                              static_cast<HRESULT>(WBEM_E_NOT_SUPPORTED));
         }},
        // Jobs come and go under everybody's hands: one that another client has deleted is not found any more.
        {"delete a job",
         [](const host::ProviderSession& p) -> std::string {
             const host::RequestResult jobs = p.enumerate(L"Zerix_ConcreteJob", {});
             if (!jobs.objects.empty()) {
                 const std::wstring path = host::textOf(*jobs.objects.front().get(), L"__RELPATH");
                 const host::RequestResult removed = p.remove(path, {});
                 if (removed.status != static_cast<HRESULT>(WBEM_E_NOT_FOUND)) {
                     return complaint(removed, WBEM_S_NO_ERROR);
                 }
             }
             return complaint(jobs, WBEM_S_NO_ERROR);
         }},
    };
    if (!ports.empty()) {
        const std::wstring portPath = host::textOf(*ports.front().get(), L"__RELPATH");
        works.push_back({"get a port", [portPath](const host::ProviderSession& p) {
                             return complaint(p.get(portPath, {}), WBEM_S_NO_ERROR);
                         }});
        works.push_back({"start a job", [portPath, &noArguments](const host::ProviderSession& p) {
                             return complaint(p.execMethod(portPath, L"RunLinkDiagnostic", noArguments.get(), {}),
                                              WBEM_S_NO_ERROR);
                         }});
    }

    std::array<Activity, CLIENTS> activities;
    std::vector<std::atomic<unsigned>> counts(works.size());
    std::mutex complaintsMutex;
    std::map<std::string, int> complaints;
    const Clock::time_point end = Clock::now() + duration();
    std::atomic<unsigned> running{CLIENTS};
    std::vector<std::thread> clients;
    for (std::size_t number = 0; number < CLIENTS; ++number) {
        clients.emplace_back([&, number] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (std::size_t turn = number; Clock::now() < end; turn += 1 + number % 3) {
                const std::size_t chosen = turn % works.size();
                activities[number].request = works[chosen].name;
                activities[number].since = Clock::now().time_since_epoch().count();
                const std::string found = works[chosen].run(provider);
                ++counts[chosen];
                if (!found.empty()) {
                    const std::lock_guard guard(complaintsMutex);
                    ++complaints[std::string(works[chosen].name) + ": " + found];
                }
            }
            activities[number].request = "nothing";
            CoUninitialize();
            --running;
        });
    }
    while (running != 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        for (const Activity& activity : activities) {
            const Clock::duration age = Clock::now().time_since_epoch() - Clock::duration(activity.since.load());
            if (std::string(activity.request) != "nothing" && age > TOO_LONG) {
                std::cerr << "a request hangs; the clients are at:\n";
                for (const Activity& each : activities) {
                    std::cerr << "  " << each.request << "\n";
                }
                std::abort();
            }
        }
    }
    for (std::thread& client : clients) {
        client.join();
    }

    std::filesystem::create_directories(ZERIX_TABLES);
    std::ofstream table(std::string(ZERIX_TABLES) + "/load.md");
    table << "| " << CLIENTS << " clients | " << duration().count() << " s |\n";
    for (std::size_t i = 0; i < works.size(); ++i) {
        EXPECT_NE(counts[i], 0U) << works[i].name;
        table << "| " << works[i].name << " | " << counts[i] << " |\n";
    }
    for (const auto& [text, count] : complaints) {
        ADD_FAILURE() << text << " (" << count << " times)";
    }
}

}  // namespace
