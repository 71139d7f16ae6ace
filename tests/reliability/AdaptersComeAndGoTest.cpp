#include <winsock2.h>
#include <ws2tcpip.h>

#include <gmock/gmock.h>
#include <iphlpapi.h>
#include <mstcpip.h>
#include <netioapi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "fakes/KnownFactory.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/session/Workspace.h"

// Clients list, read and follow associations while adapters come and go. The script adapters-come-and-go runs this
// test: it changes the adapters of a network namespace once the test has made the file ZERIX_READY, creates the file
// ZERIX_QUIET when it has stopped, and reads the results from the file ZERIX_FOUND. The adapter v0 always exists; any
// other one exists for at least a second.
// Wine's table of interfaces keeps the rows of removed adapters until its server ends, but its list of addresses does
// not. So the test judges removals by addresses, and compares the whole machine after a restart.
namespace {

using Clock = std::chrono::steady_clock;
using Names = std::set<std::wstring>;

constexpr std::size_t CLIENTS = 4;
// Shorter than the life of any adapter: what an answer of this age shows existed before it or after it.
constexpr std::chrono::milliseconds SHORT_ENOUGH{800};

std::filesystem::path fileNamedBy(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value == nullptr ? std::filesystem::path() : std::filesystem::path(value);
}

std::wstring guidText(const GUID& guid)
{
    std::array<wchar_t, 39> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

// The platform's answer, read without the product.
Names adaptersOfTheSystem()
{
    Names result;
    MIB_IF_TABLE2* table = nullptr;
    if (GetIfTable2(&table) != NO_ERROR) {
        return result;
    }
    for (ULONG i = 0; i < table->NumEntries; ++i) {
        if (table->Table[i].Type != IF_TYPE_SOFTWARE_LOOPBACK) {
            result.insert(guidText(table->Table[i].InterfaceGuid));
        }
    }
    FreeMibTable(table);
    return result;
}

std::wstring textOf(const SOCKADDR& address)
{
    std::array<wchar_t, INET6_ADDRSTRLEN> text{};
    if (address.sa_family == AF_INET) {
        RtlIpv4AddressToStringW(&reinterpret_cast<const sockaddr_in&>(address).sin_addr, text.data());
    } else {
        RtlIpv6AddressToStringW(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text.data());
    }
    return text.data();
}

// In the form of the endpoints' names: the adapter's GUID, a colon, the address.
Names addressesOfTheSystem()
{
    Names result;
    // Wine keeps listing adapters that are gone, so that the list grows all the time.
    std::vector<std::max_align_t> buffer(4 * 1024 * 1024 / sizeof(std::max_align_t));
    auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data());
    auto size = static_cast<ULONG>(buffer.size() * sizeof(std::max_align_t));
    if (GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, first, &size) != NO_ERROR) {
        throw std::runtime_error("GetAdaptersAddresses failed");
    }
    for (const auto* adapter = first; adapter != nullptr; adapter = adapter->Next) {
        if (adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK) {
            continue;
        }
        const std::string guid = adapter->AdapterName;
        for (const auto* each = adapter->FirstUnicastAddress; each != nullptr; each = each->Next) {
            result.insert(std::wstring(guid.begin(), guid.end()) + L":" + textOf(*each->Address.lpSockaddr));
        }
    }
    return result;
}

// The property's whole texts.
Names textsIn(const std::vector<wmihost::ComPtr<IWbemClassObject>>& objects, const wchar_t* property)
{
    Names result;
    for (const auto& object : objects) {
        result.insert(wmihost::textOf(*object.get(), property));
    }
    return result;
}

// The GUIDs in the property of the objects. It may be a path, or a name that contains a GUID.
Names guidsIn(const std::vector<wmihost::ComPtr<IWbemClassObject>>& objects, const wchar_t* property)
{
    Names result;
    for (const auto& object : objects) {
        const std::wstring text = wmihost::textOf(*object.get(), property);
        const std::size_t begin = text.find(L'{');
        if (begin != std::wstring::npos) {
            result.insert(text.substr(begin, text.find(L'}', begin) - begin + 1));
        }
    }
    return result;
}

bool contains(const Names& all, const Names& some)
{
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

class AdaptersComeAndGoTest : public testing::Test
{
protected:
    AdaptersComeAndGoTest()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        m_factory.emplace();
        m_workspace.emplace(std::filesystem::path(ZERIX_MOF));
        const wmihost::ClassTarget port = m_workspace->findClass(L"Zerix_EthernetPort", L"");
        m_session = &m_workspace->sessionFor(port);
        m_interop = &m_workspace->sessionFor(m_workspace->findClass(L"Zerix_ElementConformsToProfile", L""));
    }

    void complain(const std::string& text)
    {
        const std::lock_guard guard(m_mutex);
        ++m_complaints[text];
    }

    // Counts a request. Complains if it failed. What has gone since a list showed it is not found.
    wmihost::RequestResult checked(const std::string& name, wmihost::RequestResult result, bool mayBeGone = false)
    {
        ++m_requests;
        if (mayBeGone && result.status == static_cast<HRESULT>(WBEM_E_NOT_FOUND)) {
            ++m_gone;
        } else if (result.status != WBEM_S_NO_ERROR || !result.exception.empty()) {
            complain(name + " failed: " + std::to_string(static_cast<unsigned>(result.status)) + result.exception);
        }
        return result;
    }

    // Everything that the answer shows must exist before the request or after it. Everything that existed the whole
    // time must be in the answer.
    void list(const wmihost::ProviderSession& session, const wchar_t* className, const wchar_t* property,
              decltype(&guidsIn) read = &guidsIn, decltype(&adaptersOfTheSystem) system = &adaptersOfTheSystem)
    {
        const Clock::time_point start = Clock::now();
        const Names before = system();
        const std::string name = std::filesystem::path(className).string();
        const wmihost::RequestResult result = checked(name, session.enumerate(className, {}));
        const Names after = system();
        const Clock::duration age = Clock::now() - start;
        if (age > SHORT_ENOUGH) {
            return;
        }
        Names either = before;
        either.insert(after.begin(), after.end());
        Names both;
        std::set_intersection(before.begin(), before.end(), after.begin(), after.end(),
                              std::inserter(both, both.end()));
        const Names found = read(result.objects, property);
        if (!contains(either, found)) {
            complain(name + " shows what is gone");
        }
        if (!contains(found, both)) {
            complain(name + " misses what was there");
        }
        ++m_compared;
        if (before != after) {
            ++m_changedMeanwhile;
        }
    }

    void readPorts()
    {
        for (const auto& port : m_session->enumerate(L"Zerix_EthernetPort", {}).objects) {
            const std::wstring path = wmihost::textOf(*port.get(), L"__RELPATH");
            const wmihost::RequestResult result = checked("a port", m_session->get(path, {}), true);
            if (result.status == WBEM_S_NO_ERROR && textsIn(result.objects, L"__RELPATH") != Names{path}) {
                complain("another port was read");
            }
        }
    }

    void followEndpoints()
    {
        const auto links = checked("the links", m_session->enumerate(L"Zerix_PortImplementsEndpoint", {}));
        for (const auto& link : links.objects) {
            for (const wchar_t* const end : {L"Antecedent", L"Dependent"}) {
                checked("an end of a link", m_session->get(wmihost::textOf(*link.get(), end), {}), true);
            }
        }
    }

    // The arguments are this request's own: the provider moves the object's position as it reads.
    void diagnose(const std::wstring& stayingPort)
    {
        const wmihost::ClassTarget port = m_workspace->findClass(L"Zerix_EthernetPort", L"");
        const auto arguments = m_workspace->makeArguments(port, *port.definition->findMethod(L"RunLinkDiagnostic"));
        checked("a diagnostic", m_session->execMethod(stayingPort, L"RunLinkDiagnostic", arguments.get(), {}));
        for (const auto& job : m_session->enumerate(L"Zerix_ConcreteJob", {}).objects) {
            m_session->remove(wmihost::textOf(*job.get(), L"__RELPATH"), {});
        }
    }

    std::optional<support::KnownFactory> m_factory;
    std::optional<wmihost::Workspace> m_workspace;
    const wmihost::ProviderSession* m_session = nullptr;
    const wmihost::ProviderSession* m_interop = nullptr;
    std::atomic<int> m_requests{0};
    std::atomic<int> m_compared{0};
    std::atomic<int> m_changedMeanwhile{0};
    std::atomic<int> m_gone{0};
    std::mutex m_mutex;
    std::map<std::string, int> m_complaints;
};

std::wstring pathOfPort(const wmihost::ProviderSession& session, const wchar_t* name)
{
    for (const auto& port : session.enumerate(L"Zerix_EthernetPort", {}).objects) {
        if (wmihost::textOf(*port.get(), L"Name") == name) {
            return wmihost::textOf(*port.get(), L"__RELPATH");
        }
    }
    return {};
}

TEST_F(AdaptersComeAndGoTest, Requests_readNothingStale)
{
    const std::filesystem::path quiet = fileNamedBy("ZERIX_QUIET");
    ASSERT_FALSE(quiet.empty());
    const std::wstring staying = pathOfPort(*m_session, L"v0");
    ASSERT_FALSE(staying.empty());

    const std::function<void()> turns[]{
        [&] { list(*m_session, L"Zerix_EthernetPort", L"DeviceID"); },
        [&] { list(*m_session, L"Zerix_IPProtocolEndpoint", L"Name", &textsIn, &addressesOfTheSystem); },
        [&] { followEndpoints(); },
        [&] { list(*m_session, L"Zerix_ElementSettingData", L"ManagedElement"); },
        [&] { list(*m_interop, L"Zerix_ElementConformsToProfile", L"ManagedElement"); },
        [&] { list(*m_session, L"Zerix_EthernetPortStatistics", L"InstanceID"); },
        [&] { readPorts(); },
        [&] { diagnose(staying); },
    };
    const std::ofstream ready(fileNamedBy("ZERIX_READY"));
    std::vector<std::thread> clients;
    for (std::size_t number = 0; number < CLIENTS; ++number) {
        clients.emplace_back([&, number] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (std::size_t turn = number; !std::filesystem::exists(quiet); ++turn) {
                turns[turn % std::size(turns)]();
            }
            CoUninitialize();
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    for (const auto& [text, count] : m_complaints) {
        ADD_FAILURE() << text << " (" << count << " times)";
    }
    // The adapters have changed during the requests.
    EXPECT_GT(m_compared, 0);
    EXPECT_GT(m_changedMeanwhile + m_gone, 0);
    std::ofstream(std::string(ZERIX_TABLES) + "/adapters.md")
        << "| " << CLIENTS << " clients | " << m_requests << " requests | " << m_compared
        << " compared with the system | " << m_changedMeanwhile << " with a change meanwhile | " << m_gone
        << " gone between list and get |\n";
    EXPECT_EQ(textsIn(m_session->enumerate(L"Zerix_IPProtocolEndpoint", {}).objects, L"Name"), addressesOfTheSystem());
}

// The results that the script compares with the kernel's data.
TEST_F(AdaptersComeAndGoTest, QuietMachine_isShownAsItIs)
{
    const auto ports = m_session->enumerate(L"Zerix_EthernetPort", {}).objects;
    EXPECT_EQ(guidsIn(ports, L"DeviceID"), adaptersOfTheSystem());
    std::wofstream found(fileNamedBy("ZERIX_FOUND"));
    for (const auto& port : ports) {
        found << L"port " << wmihost::textOf(*port.get(), L"Name") << L"\n";
    }
    for (const auto& endpoint : m_session->enumerate(L"Zerix_IPProtocolEndpoint", {}).objects) {
        found << L"address " << wmihost::textOf(*endpoint.get(), L"IPv4Address")
              << wmihost::textOf(*endpoint.get(), L"IPv6Address") << L"\n";
    }
    for (const auto& link : m_session->enumerate(L"Zerix_PortImplementsEndpoint", {}).objects) {
        const std::wstring port = wmihost::textOf(*link.get(), L"Antecedent");
        EXPECT_EQ(m_session->get(port, {}).status, WBEM_S_NO_ERROR) << port;
    }
}

}  // namespace
