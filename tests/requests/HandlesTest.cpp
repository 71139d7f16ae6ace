#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "requests/RequestTest.h"
#include "support/ImportHook.h"
#include "support/MadeUpAdapters.h"
#include "support/PrivateRegistry.h"
#include "wmihost/com/NamespaceServices.h"
#include "wmihost/com/ResponseSink.h"
#include "wmihost/mof/MofCompiler.h"

// How many kernel mutexes the built provider and its broker hold, and how often they lock one, on machines with many
// adapters. WMI ends a host that has more than 4,096 handles. Wine has no such quota, so these tests count instead.
namespace {

// Replaces mutexes by counted numbers, since kernel mutexes would take minutes. The threads of these tests run in turn.
std::atomic<int> openMutexes{0};
std::atomic<int> mostMutexes{0};
std::atomic<int> lockPairs{0};
std::atomic<std::uintptr_t> nextMutex{1U << 30U};

bool isStandIn(HANDLE handle)
{
    return reinterpret_cast<std::uintptr_t>(handle) >= 1U << 30U;
}

HANDLE WINAPI makeMutex(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR)
{
    mostMutexes = std::max<int>(mostMutexes, ++openMutexes);
    return reinterpret_cast<HANDLE>(nextMutex++);
}

DWORD WINAPI waitFor(HANDLE handle, DWORD timeout)
{
    if (!isStandIn(handle)) {
        return WaitForSingleObjectEx(handle, timeout, FALSE);
    }
    ++lockPairs;
    return WAIT_OBJECT_0;
}

BOOL WINAPI releaseMutex(HANDLE)
{
    return TRUE;
}

BOOL WINAPI closeHandle(HANDLE handle)
{
    if (isStandIn(handle)) {
        --openMutexes;
        return TRUE;
    }
    return DuplicateHandle(GetCurrentProcess(), handle, nullptr, nullptr, 0, FALSE, DUPLICATE_CLOSE_SOURCE);
}

struct CountedMutexes
{
    explicit CountedMutexes(HMODULE module)
        : make("CreateMutexA", &makeMutex, module),
          wait("WaitForSingleObject", &waitFor, module),
          release("ReleaseMutex", &releaseMutex, module),
          close("CloseHandle", &closeHandle, module)
    {
    }

    void abandon() noexcept
    {
        for (support::ImportHook* hook : {&make, &wait, &release, &close}) {
            hook->abandon();
        }
    }

    support::ImportHook make;
    support::ImportHook wait;
    support::ImportHook release;
    support::ImportHook close;
};

// The provider with the counted mutexes and the fake adapters.
class Handles : public testing::Test
{
protected:
    Handles()
    {
        wmihost::compileMofFile(std::filesystem::path(ZERIX_MOF), m_repository);
        m_own = m_repository.findNamespace(L"root\\DCIM\\vexal");
        m_services =
            wmihost::ComPtr<wmihost::NamespaceServices>::adopt(new wmihost::NamespaceServices(m_repository, *m_own));
        *m_provider.out() = m_module.createProvider();
        utils::ComReference<IWbemProviderInit> init;
        m_provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()));
        std::wstring name = L"root\\DCIM\\vexal";
        init->Initialize(nullptr, 0, name.data(), nullptr, m_services.get(), &m_context, nullptr);
    }

    // The modules close counted mutexes while they are unloaded, so the hooks must stay.
    ~Handles() override
    {
        m_provider.reset();
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

    // The classes that the broker serves in this namespace.
    std::vector<std::string> classNames() const
    {
        std::vector<std::string> result;
        for (const auto& definition : m_own->classes()) {
            const std::wstring& name = definition->name;
            if (name.rfind(L"Zerix_", 0) == 0) {
                result.emplace_back(name.begin(), name.end());
            }
        }
        return result;
    }

    // Makes a request on the calling thread. Returns the number of delivered objects.
    int enumerate(const std::string& className)
    {
        support::CallLog calls;
        const support::CallContext call(calls);
        const auto response = std::make_shared<wmihost::Response>(nullptr);
        const auto sink = wmihost::ComPtr<wmihost::ResponseSink>::adopt(new wmihost::ResponseSink(response));
        const utils::ScopedBstr name(className);
        EXPECT_EQ(m_provider->CreateInstanceEnumAsync(name.get(), 0, &m_context, sink.get()), 0) << className;
        return static_cast<int>(response->takeObjects().size());
    }

    // Returns the number of objects of the last class.
    int enumerateAllAndThen(const std::string& last)
    {
        for (const std::string& name : classNames()) {
            if (name != last) {
                enumerate(name);
            }
        }
        return enumerate(last);
    }

    // The mutexes that this thread holds for the instances of the class that it requested last.
    int heldAfter(const std::string& className)
    {
        enumerate("Zerix_SoftwareIdentity");
        const int before = openMutexes;
        EXPECT_GT(enumerate(className), 0) << className;
        return openMutexes - before;
    }

    // The mutexes that this many living threads hold after each has requested every class once, this one last.
    int heldByThreads(int count, const std::string& last)
    {
        std::vector<std::thread> threads;
        std::mutex mutex;
        std::condition_variable changed;
        int done = 0;
        bool mayEnd = false;
        const int before = openMutexes;
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&, i] {
                CoInitializeEx(nullptr, COINIT_MULTITHREADED);
                std::unique_lock lock(mutex);
                changed.wait(lock, [&] { return done == i; });
                EXPECT_GE(enumerateAllAndThen(last), static_cast<int>(m_adapters.count));
                ++done;
                changed.notify_all();
                changed.wait(lock, [&] { return mayEnd; });
                CoUninitialize();
            });
        }
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return done == count; });
        }
        const int held = openMutexes - before;
        {
            const std::lock_guard lock(mutex);
            mayEnd = true;
        }
        changed.notify_all();
        for (std::thread& thread : threads) {
            thread.join();
        }
        return held;
    }

    // The lock pairs of one enumeration on the calling thread.
    int pairsOf(const std::string& className)
    {
        const int before = lockPairs;
        enumerate(className);
        return lockPairs - before;
    }

    const support::PrivateRegistry m_registry;
    ComApartment m_apartment;
    support::LogCapture m_log{0};
    support::CallLog m_calls;
    support::FakeContext m_context{m_calls};
    support::ProviderModule m_module;
    HMODULE m_core = GetModuleHandleA("ZerixCimCore.dll");
    CountedMutexes m_ofProvider{m_module.handle()};
    CountedMutexes m_ofCore{m_core};
    support::MadeUpAdapters m_adapters{m_core};
    wmihost::ClassRepository m_repository;
    const wmihost::Namespace* m_own = nullptr;
    wmihost::ComPtr<wmihost::NamespaceServices> m_services;
    utils::ComReference<IWbemServices> m_provider;
};

// The number of jobs is that of the adapters.
constexpr const char* ASSOCIATIONS[]{"Zerix_PortImplementsEndpoint", "Zerix_ElementConformsToProfile",
                                     "Zerix_ElementSettingData",     "Zerix_ElementStatisticalData",
                                     "Zerix_PortIPConfiguration",    "Zerix_PortDiagnosticSetting",
                                     "Zerix_AffectedJobElement"};

TEST_F(Handles, EightThreads_afterAnAssociation)
{
    m_adapters.count = 50;
    storeJobs(50);
    for (const char* last : ASSOCIATIONS) {
        const int held = heldByThreads(8, last);
        RecordProperty(last, held);
        EXPECT_LE(held, 2600) << last;
    }
}

TEST_F(Handles, EightThreads_afterThePorts)
{
    m_adapters.count = 50;
    const int held = heldByThreads(8, "Zerix_EthernetPort");
    RecordProperty("held", held);
    EXPECT_LE(held, 900);
}

TEST_F(Handles, EightThreads_afterTheJobs)
{
    m_adapters.count = 50;
    storeJobs(50);
    const int held = heldByThreads(8, "Zerix_ConcreteJob");
    RecordProperty("held", held);
    EXPECT_LE(held, 900);
}

TEST_F(Handles, EightThreads_afterTheResults)
{
    m_adapters.count = 50;
    storeJobs(50);
    const int held = heldByThreads(8, "Zerix_DiagnosticResult");
    RecordProperty("held", held);
    EXPECT_LE(held, 2600);
}

TEST_F(Handles, ThreadsEnd_freesAll)
{
    m_adapters.count = 50;
    storeJobs(50);
    // Creates the objects that exist once, and leaves only few instances in this thread.
    enumerateAllAndThen("Zerix_EthernetPort");
    enumerate("Zerix_SoftwareIdentity");
    const int before = openMutexes;
    heldByThreads(3, "Zerix_PortImplementsEndpoint");
    EXPECT_EQ(openMutexes, before);
}

TEST_F(Handles, FiveHundredAdapters_atNoMoment)
{
    m_adapters.count = 500;
    // The maximum number of stored jobs.
    storeJobs(200);
    for (const char* last : ASSOCIATIONS) {
        enumerateAllAndThen(last);
        enumerateAllAndThen(last);
    }
    enumerateAllAndThen("Zerix_EthernetPort");
    RecordProperty("most", mostMutexes);
    EXPECT_LE(mostMutexes, 3200);
}

TEST_F(Handles, Addresses_countAsAdaptersDo)
{
    m_adapters.count = 20;
    m_adapters.addressesOfEach = 4;
    enumerate("Zerix_SoftwareIdentity");
    const int before = openMutexes;
    enumerate("Zerix_PortImplementsEndpoint");
    // Two for each association, for each endpoint that an association refers to, and for each port.
    EXPECT_EQ(openMutexes - before, 2 * (80 + 80 + 20));
}

TEST_F(Handles, Jobs_countAsAdaptersDo)
{
    // The last pair has the maximum number of stored jobs.
    for (const auto& [adapters, jobs] : {std::pair{20, 30}, {50, 50}, {500, 200}}) {
        m_adapters.count = static_cast<std::size_t>(adapters);
        storeJobs(static_cast<std::size_t>(jobs));
        // Creates the objects that exist once.
        enumerateAllAndThen("Zerix_DiagnosticResult");
        EXPECT_EQ(heldAfter("Zerix_ConcreteJob"), 2 * jobs);
        // Two for each result, and for each port that a result may refer to.
        EXPECT_EQ(heldAfter("Zerix_DiagnosticResult"), 2 * (jobs + adapters));
        EXPECT_EQ(heldAfter("Zerix_AffectedJobElement"), 2 * (jobs + jobs + adapters));
    }
}

TEST_F(Handles, WithoutResults_noPortIsHeld)
{
    m_adapters.count = 20;
    enumerate("Zerix_SoftwareIdentity");
    const int before = openMutexes;
    enumerate("Zerix_DiagnosticResult");
    EXPECT_EQ(openMutexes, before);
}

TEST_F(Handles, Association_takesTwelveLocksAtMost)
{
    for (const char* name : ASSOCIATIONS) {
        m_adapters.count = 51;
        storeJobs(51);
        enumerate(name);
        const int more = pairsOf(name);
        m_adapters.count = 1;
        storeJobs(1);
        enumerate(name);
        const int pairs = more - pairsOf(name);
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
        enumerate("Zerix_SoftwareIdentity");
        const int first = pairsOf(name);
        const int later = pairsOf(name);
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
        enumerate(name);
        EXPECT_LE(m_adapters.interfaceReads, 1) << name;
        EXPECT_LE(m_adapters.addressReads, 1) << name;
    }
}

TEST_F(Handles, Port_takesALockForEachProperty)
{
    const std::size_t properties = m_own->findClass(L"Zerix_EthernetPort")->properties.size();
    m_adapters.count = 1;
    const int one = pairsOf("Zerix_EthernetPort");
    m_adapters.count = 51;
    enumerate("Zerix_EthernetPort");
    EXPECT_LE(pairsOf("Zerix_EthernetPort") - one, 50 * static_cast<int>(properties + 3));
}

}  // namespace
