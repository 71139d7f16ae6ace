#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <map>
#include <thread>

#include "requests/LiveProvider.h"
#include "support/CountedMutexes.h"
#include "support/MadeUpAdapters.h"
#include "support/PrivateRegistry.h"

// How many kernel mutexes the built provider and its broker hold, and how often they lock one, on machines with many
// adapters. WMI ends a host that has more than 4,096 handles. Wine has no such quota, so these tests count instead.
namespace {

using support::CountedMutexes;

// The provider with counted mutexes and made-up adapters.
class Handles : public requests::LiveProvider
{
protected:
    // The modules close counted mutexes while they are unloaded.
    ~Handles() override
    {
        provider.reset();
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
    std::size_t ask(const std::string& className)
    {
        const Answer answer = enumerate(className);
        EXPECT_EQ(answer.status, 0) << className;
        return answer.objects.size();
    }

    // Returns the number of objects of the last class.
    std::size_t askForAllAndThen(const std::string& last)
    {
        for (const std::string& name : classNames()) {
            if (name != last) {
                ask(name);
            }
        }
        return ask(last);
    }

    // The mutexes that this thread holds for the instances of the class that it requested last.
    int heldAfter(const std::string& className)
    {
        ask("Zerix_SoftwareIdentity");
        const int before = CountedMutexes::open();
        ask(className);
        return CountedMutexes::open() - before;
    }

    // The mutexes that this many living threads hold after each has requested every class once, this one last.
    int heldByThreads(int count, const std::string& last)
    {
        std::promise<void> end;
        std::vector<std::thread> threads;
        const std::shared_future<void> mayEnd = end.get_future().share();
        const int before = CountedMutexes::open();
        for (int i = 0; i < count; ++i) {
            std::promise<void> asked;
            std::future<void> hasAsked = asked.get_future();
            threads.emplace_back([&, asked = std::move(asked)]() mutable {
                const ComApartment ofThread;
                const support::CallContext callOfThread(calls);
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
        return held;
    }

    // The locks of one enumeration on the calling thread.
    int locksOf(const std::string& className)
    {
        const int before = CountedMutexes::locks();
        ask(className);
        return CountedMutexes::locks() - before;
    }

    const support::PrivateRegistry m_registry;
    HMODULE m_core = GetModuleHandleA("ZerixCimCore.dll");
    CountedMutexes m_ofProvider{module.handle()};
    CountedMutexes m_ofCore{m_core};
    support::MadeUpAdapters m_adapters{m_core};
};

// The number of jobs is that of the adapters.
constexpr const char* ASSOCIATIONS[]{"Zerix_PortImplementsEndpoint", "Zerix_ElementConformsToProfile",
                                     "Zerix_ElementSettingData",     "Zerix_ElementStatisticalData",
                                     "Zerix_PortIPConfiguration",    "Zerix_PortDiagnosticSetting",
                                     "Zerix_AffectedJobElement"};

TEST_F(Handles, EightThreads_stayBelowTheLimit)
{
    m_adapters.count = 50;
    storeJobs(50);
    std::map<std::string, int> limits{
        {"Zerix_EthernetPort", 900}, {"Zerix_ConcreteJob", 900}, {"Zerix_DiagnosticResult", 2600}};
    for (const char* const association : ASSOCIATIONS) {
        limits[association] = 2600;
    }
    for (const auto& [last, limit] : limits) {
        const int held = heldByThreads(8, last);
        RecordProperty(last, held);
        EXPECT_LE(held, limit) << last;
    }
}

TEST_F(Handles, ThreadsEnd_freesAll)
{
    m_adapters.count = 50;
    storeJobs(50);
    // Creates the objects that exist once, and leaves only few instances in this thread.
    askForAllAndThen("Zerix_EthernetPort");
    ask("Zerix_SoftwareIdentity");
    const int before = CountedMutexes::open();
    heldByThreads(3, "Zerix_PortImplementsEndpoint");
    EXPECT_EQ(CountedMutexes::open(), before);
}

TEST_F(Handles, FiveHundredAdapters_atNoMoment)
{
    m_adapters.count = 500;
    // The maximum number of stored jobs.
    storeJobs(200);
    for (const char* last : ASSOCIATIONS) {
        askForAllAndThen(last);
        askForAllAndThen(last);
    }
    askForAllAndThen("Zerix_EthernetPort");
    RecordProperty("most", CountedMutexes::most());
    EXPECT_LE(CountedMutexes::most(), 3200);
}

TEST_F(Handles, Addresses_countAsAdaptersDo)
{
    m_adapters.count = 20;
    m_adapters.addressesOfEach = 4;
    // Two for each association, for each endpoint that an association refers to, and for each port.
    EXPECT_EQ(heldAfter("Zerix_PortImplementsEndpoint"), 2 * (80 + 80 + 20));
}

TEST_F(Handles, Jobs_countAsAdaptersDo)
{
    // The last pair has the maximum number of stored jobs.
    for (const auto& [adapters, jobs] : {std::pair{20, 30}, {50, 50}, {500, 200}}) {
        m_adapters.count = static_cast<std::size_t>(adapters);
        storeJobs(static_cast<std::size_t>(jobs));
        // Creates the objects that exist once.
        askForAllAndThen("Zerix_DiagnosticResult");
        EXPECT_EQ(heldAfter("Zerix_ConcreteJob"), 2 * jobs);
        // Two for each result, and for each port that a result may refer to.
        EXPECT_EQ(heldAfter("Zerix_DiagnosticResult"), 2 * (jobs + adapters));
        EXPECT_EQ(heldAfter("Zerix_AffectedJobElement"), 2 * (jobs + jobs + adapters));
    }
}

TEST_F(Handles, WithoutResults_noPortIsHeld)
{
    m_adapters.count = 20;
    EXPECT_EQ(heldAfter("Zerix_DiagnosticResult"), 0);
}

TEST_F(Handles, Association_takesTwelveLocksAtMost)
{
    for (const char* name : ASSOCIATIONS) {
        m_adapters.count = 51;
        storeJobs(51);
        ask(name);
        const int more = locksOf(name);
        m_adapters.count = 1;
        storeJobs(1);
        ask(name);
        const int pairs = more - locksOf(name);
        RecordProperty(name, pairs);
        EXPECT_LE(pairs, 50 * 12) << name;
        EXPECT_GE(pairs, 50) << name;
    }
}

TEST_F(Handles, FirstAnswer_takesHardlyMoreLocks)
{
    m_adapters.count = 50;
    storeJobs(50);
    for (const std::string& name : classNames()) {
        ask("Zerix_SoftwareIdentity");
        const int first = locksOf(name);
        const int later = locksOf(name);
        RecordProperty(name, std::to_string(first) + ", later " + std::to_string(later));
        EXPECT_LE(first * 10, later * 11) << name;
    }
}

TEST_F(Handles, Request_asksEachTableOnce)
{
    m_adapters.count = 20;
    storeJobs(20);
    for (const std::string& name : classNames()) {
        m_adapters.interfaceReads = 0;
        m_adapters.addressReads = 0;
        ask(name);
        EXPECT_LE(m_adapters.interfaceReads, 1) << name;
        EXPECT_LE(m_adapters.addressReads, 1) << name;
    }
}

TEST_F(Handles, Port_takesALockForEachProperty)
{
    const std::size_t properties = own->findClass(L"Zerix_EthernetPort")->properties.size();
    m_adapters.count = 1;
    const int one = locksOf("Zerix_EthernetPort");
    m_adapters.count = 51;
    ask("Zerix_EthernetPort");
    EXPECT_LE(locksOf("Zerix_EthernetPort") - one, 50 * static_cast<int>(properties + 3));
}

}  // namespace
