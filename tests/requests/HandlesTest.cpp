#include <chrono>
#include <future>
#include <map>
#include <thread>

#include "requests/LiveProvider.h"
#include "support/CountedMutexes.h"
#include "support/MadeUpAdapters.h"
#include "support/PrivateRegistry.h"
#include "wmihost/terminal/Text.h"

// How many kernel mutexes the built provider and its broker hold, and how often they lock one, on machines with many
// adapters. WMI ends a host that has more than 4,096 handles. Wine has no such quota, so these tests count instead.
namespace {

using support::CountedMutexes;
using Name = std::wstring_view;

// The provider with counted mutexes and made-up adapters.
class Handles : public requests::LiveProvider
{
protected:
    // The modules stay loaded and close counted mutexes after this test, so the hooks stay installed.
    ~Handles() override
    {
        m_ofProvider.abandon();
        m_ofCore.abandon();
    }

    // Stores exactly this many ended jobs, with a result each, for the adapters in turn.
    void storeJobs(std::size_t count) const
    {
        m_registry.clear();
        const auto now =
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
        const std::string time = std::to_string(now.count());
        for (std::size_t i = 0; i < count; ++i) {
            const std::string number = "1-" + std::to_string(i);
            const std::string adapter = ";AdapterGuid=" + support::MadeUpAdapters::guidText(i % m_adapters.count);
            m_registry.store(
                "Jobs", "Vexal:Job:" + number,
                "JobState=7;AdapterName=a;Owner=HOST\\admin;Host=1-1;PercentComplete=100;Error=;StartTime=" + time +
                    ";EndTime=" + time + ";Elapsed=1;Retention=31536000000000" + adapter);
            m_registry.store("Results", "Vexal:DiagnosticResult:" + number,
                             "Job=Vexal:Job:" + number + ";JobState=7;IsPassed=1;PassedPercent=100;StartTime=" + time +
                                 ";Duration=1;BytesReceived=1;BytesTransmitted=1;Errors=" + adapter);
        }
    }

    // Returns the number of objects of the class.
    std::size_t ask(Name className)
    {
        const wmihost::RequestResult result = enumerate(className);
        EXPECT_EQ(result.status, 0) << className.data();
        return result.objects.size();
    }

    // Returns the number of objects of the last class.
    std::size_t askForAllAndThen(Name last)
    {
        for (const wmihost::ClassTarget& target : m_classes) {
            if (target.definition->name != last) {
                ask(target.definition->name);
            }
        }
        return ask(last);
    }

    // The mutexes that this thread holds for the instances of the class that it requested last.
    int heldAfter(Name className)
    {
        ask(L"Zerix_SoftwareIdentity");
        const int before = CountedMutexes::open();
        ask(className);
        return CountedMutexes::open() - before;
    }

    // The mutexes that eight living threads hold after each has requested every class once, this one last.
    int heldByThreads(Name last)
    {
        std::promise<void> end;
        const std::shared_future<void> mayEnd = end.get_future().share();
        std::vector<std::thread> threads;
        const int before = CountedMutexes::open();
        for (int i = 0; i < 8; ++i) {
            std::promise<void> asked;
            std::future<void> hasAsked = asked.get_future();
            threads.emplace_back([this, last, mayEnd, asked = std::move(asked)]() mutable {
                EXPECT_GE(askForAllAndThen(last), m_adapters.count);
                asked.set_value();
                mayEnd.wait();
            });
            hasAsked.wait();
        }
        const int held = CountedMutexes::open() - before;
        end.set_value();
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(CountedMutexes::open(), before) << "the threads have ended";
        return held;
    }

    // The locks of one enumeration on the calling thread.
    int locksOf(Name className)
    {
        const int before = CountedMutexes::locks();
        ask(className);
        return CountedMutexes::locks() - before;
    }

    // Records a measured number, so that the test's report shows it.
    static void record(Name className, int number) { RecordProperty(wmihost::toUtf8(className), number); }

    const std::vector<wmihost::ClassTarget> m_classes = workspace.classes(wmihost::ADAPTER_NAMESPACE);
    const support::PrivateRegistry m_registry;
    const HMODULE m_core = GetModuleHandleA("ZerixCimCore.dll");
    CountedMutexes m_ofProvider{GetModuleHandleA("ZerixDRAVEv2Provider.dll")};
    CountedMutexes m_ofCore{m_core};
    support::MadeUpAdapters m_adapters{m_core};
};

// The most locks that one more association may take. The tests store as many jobs as there are adapters.
constexpr int LOCKS_OF_ASSOCIATION = 12;
// What 51 instances take more than one, besides the locks of each.
constexpr int LOCKS_OF_MANY = 6;
constexpr Name ASSOCIATIONS[]{L"Zerix_PortImplementsEndpoint", L"Zerix_ElementConformsToProfile",
                              L"Zerix_ElementSettingData",     L"Zerix_ElementStatisticalData",
                              L"Zerix_PortIPConfiguration",    L"Zerix_PortDiagnosticSetting",
                              L"Zerix_AffectedJobElement"};

TEST_F(Handles, EightThreads_stayBelowTheLimit)
{
    m_adapters.count = 50;
    storeJobs(50);
    // Creates the objects that exist once, and leaves only few instances in this thread.
    askForAllAndThen(L"Zerix_SoftwareIdentity");
    std::map<Name, int> limits{
        {L"Zerix_EthernetPort", 900}, {L"Zerix_ConcreteJob", 900}, {L"Zerix_DiagnosticResult", 2600}};
    for (const Name association : ASSOCIATIONS) {
        limits[association] = 2600;
    }
    for (const auto& [last, limit] : limits) {
        const int held = heldByThreads(last);
        record(last, held);
        EXPECT_LE(held, limit) << last.data();
    }
}

TEST_F(Handles, FiveHundredAdapters_stayBelowTheLimit)
{
    m_adapters.count = 500;
    // The maximum number of stored jobs.
    storeJobs(200);
    for (const Name last : ASSOCIATIONS) {
        askForAllAndThen(last);
        askForAllAndThen(last);
    }
    askForAllAndThen(L"Zerix_EthernetPort");
    RecordProperty("most", CountedMutexes::most());
    EXPECT_LE(CountedMutexes::most(), 3200);
}

TEST_F(Handles, OneThread_holdsTwoMutexesPerInstance)
{
    struct Row
    {
        std::size_t adapters;
        std::size_t addressesOfEach;
        std::size_t jobs;
        Name className;
        int instances;
    };
    // The instances that a thread keeps: for an association itself and the objects to which it refers, for a result
    // itself and each port. The last three rows have the maximum number of stored jobs.
    constexpr Row ROWS[]{
        {20, 4, 0, L"Zerix_PortImplementsEndpoint", 80 + 80 + 20},
        {20, 1, 0, L"Zerix_DiagnosticResult", 0},
        {20, 1, 30, L"Zerix_ConcreteJob", 30},
        {20, 1, 30, L"Zerix_DiagnosticResult", 30 + 20},
        {20, 1, 30, L"Zerix_AffectedJobElement", 30 + 30 + 20},
        {50, 1, 50, L"Zerix_ConcreteJob", 50},
        {50, 1, 50, L"Zerix_DiagnosticResult", 50 + 50},
        {50, 1, 50, L"Zerix_AffectedJobElement", 50 + 50 + 50},
        {500, 1, 200, L"Zerix_ConcreteJob", 200},
        {500, 1, 200, L"Zerix_DiagnosticResult", 200 + 500},
        {500, 1, 200, L"Zerix_AffectedJobElement", 200 + 200 + 500},
    };
    for (const Row& row : ROWS) {
        m_adapters.count = row.adapters;
        m_adapters.addressesOfEach = row.addressesOfEach;
        storeJobs(row.jobs);
        // Creates the objects that exist once.
        ask(row.className);
        EXPECT_EQ(heldAfter(row.className), 2 * row.instances) << row.className.data() << " of " << row.adapters;
    }
}

TEST_F(Handles, OneMoreInstance_takesFewLocks)
{
    std::map<Name, int> limits;
    for (const Name association : ASSOCIATIONS) {
        limits[association] = LOCKS_OF_ASSOCIATION;
    }
    // A lock for each property, and three for the instance.
    limits[L"Zerix_EthernetPort"] =
        static_cast<int>(workspace.findClass(L"Zerix_EthernetPort", L"").definition->properties.size()) + 3;
    for (const auto& [name, limit] : limits) {
        const auto locksWith = [&, name = name](std::size_t count) {
            m_adapters.count = count;
            storeJobs(count);
            ask(name);
            return locksOf(name);
        };
        const int more = locksWith(51);
        const int ofFifty = more - locksWith(1);
        record(name, ofFifty / 50);
        EXPECT_LE(ofFifty, 50 * limit + LOCKS_OF_MANY) << name.data();
        EXPECT_GE(ofFifty, 50) << name.data();
    }
}

TEST_F(Handles, FirstAnswer_takesHardlyMoreLocks)
{
    m_adapters.count = 50;
    storeJobs(50);
    for (const wmihost::ClassTarget& target : m_classes) {
        const std::wstring& name = target.definition->name;
        ask(L"Zerix_SoftwareIdentity");
        const int first = locksOf(name);
        const int later = locksOf(name);
        record(name + L" first", first);
        record(name + L" later", later);
        EXPECT_LE(first * 10, later * 11) << name;
    }
}

TEST_F(Handles, Request_asksEachTableOnce)
{
    m_adapters.count = 20;
    storeJobs(20);
    for (const wmihost::ClassTarget& target : m_classes) {
        m_adapters.interfaceReads = 0;
        m_adapters.addressReads = 0;
        ask(target.definition->name);
        EXPECT_LE(m_adapters.interfaceReads, 1) << target.definition->name;
        EXPECT_LE(m_adapters.addressReads, 1) << target.definition->name;
    }
}

}  // namespace
