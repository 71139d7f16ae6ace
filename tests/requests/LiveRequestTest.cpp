#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <array>
#include <filesystem>
#include <memory>
#include <set>

#include "Utils/Utils.h"
#include "requests/RequestTest.h"
#include "wmihost/com/NamespaceServices.h"
#include "wmihost/com/ResponseSink.h"
#include "wmihost/mof/MofCompiler.h"

// The built provider with the built broker on this machine's own adapters, and with the classes as they are
// installed: every value that comes has to fit its property's declaration.
namespace {

std::set<std::string> adapterIdentifiers()
{
    MIB_IF_TABLE2* table = nullptr;
    std::set<std::string> result;
    if (GetIfTable2(&table) != NO_ERROR) {
        return result;
    }
    const std::unique_ptr<MIB_IF_TABLE2, void (*)(void*)> owned(table, [](void* memory) { FreeMibTable(memory); });
    for (ULONG i = 0; i < table->NumEntries; ++i) {
        std::array<wchar_t, 39> text{};
        if (table->Table[i].Type != IF_TYPE_SOFTWARE_LOOPBACK) {
            StringFromGUID2(table->Table[i].InterfaceGuid, text.data(), static_cast<int>(text.size()));
            result.insert(utils::narrow(text.data()));
        }
    }
    return result;
}

class LiveRequestTest : public testing::Test
{
protected:
    void SetUp() override
    {
        wmihost::compileMofFile(std::filesystem::path(ZERIX_MOF), repository);
        const wmihost::Namespace* const own = repository.findNamespace(L"root\\DCIM\\vexal");
        ASSERT_NE(own, nullptr);
        services = wmihost::ComPtr<wmihost::NamespaceServices>::adopt(new wmihost::NamespaceServices(repository, *own));
        *provider.out() = module.createProvider();
        utils::ComReference<IWbemProviderInit> init;
        provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()));
        std::wstring name = L"root\\DCIM\\vexal";
        init->Initialize(nullptr, 0, name.data(), nullptr, services.get(), &context, nullptr);
        module.captureLog();
    }

    std::vector<wmihost::ComPtr<IWbemClassObject>> enumerate(const char* className)
    {
        const auto response = std::make_shared<wmihost::Response>(nullptr);
        const auto sink = wmihost::ComPtr<wmihost::ResponseSink>::adopt(new wmihost::ResponseSink(response));
        const utils::ScopedBstr name(className);
        EXPECT_EQ(provider->CreateInstanceEnumAsync(name.get(), 0, &context, sink.get()), 0);
        EXPECT_EQ(response->status(), HRESULT{0});
        return response->takeObjects();
    }

    static std::string textOf(IWbemClassObject* object, const wchar_t* property)
    {
        utils::ScopedVariant value;
        object->Get(property, 0, value.address(), nullptr, nullptr);
        return value.get().vt == VT_BSTR ? utils::narrowBstr(value.get().bstrVal) : "";
    }

    ComApartment apartment;
    support::LogCapture log{1};
    support::CallLog calls;
    support::FakeContext context{calls};
    support::CallContext call{calls};
    ProviderModule module;
    wmihost::ClassRepository repository;
    wmihost::ComPtr<wmihost::NamespaceServices> services;
    utils::ComReference<IWbemServices> provider;
};

TEST_F(LiveRequestTest, ThePortsAreThisMachinesAdapters)
{
    std::set<std::string> identifiers;
    for (const wmihost::ComPtr<IWbemClassObject>& port : enumerate("Zerix_EthernetPort")) {
        identifiers.insert(textOf(port.get(), L"DeviceID"));
    }
    EXPECT_FALSE(identifiers.empty());
    EXPECT_EQ(identifiers, adapterIdentifiers());
    EXPECT_EQ(log.events(), support::Lines{});
}

TEST_F(LiveRequestTest, EachPortIsFoundAgainUnderItsPath)
{
    for (const wmihost::ComPtr<IWbemClassObject>& port : enumerate("Zerix_EthernetPort")) {
        const std::string path = textOf(port.get(), L"__RELPATH");
        const auto response = std::make_shared<wmihost::Response>(nullptr);
        const auto sink = wmihost::ComPtr<wmihost::ResponseSink>::adopt(new wmihost::ResponseSink(response));
        const utils::ScopedBstr text(path);
        EXPECT_EQ(provider->GetObjectAsync(text.get(), 0, &context, sink.get()), 0) << path;
        const auto objects = response->takeObjects();
        ASSERT_EQ(objects.size(), 1U);
        EXPECT_EQ(textOf(objects[0].get(), L"DeviceID"), textOf(port.get(), L"DeviceID"));
    }
    EXPECT_EQ(log.events(), support::Lines{});
}

TEST_F(LiveRequestTest, EveryClassIsEnumeratedWithoutAnErrorLine)
{
    for (const char* const name : {"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_IPProtocolEndpoint",
                                   "Zerix_PortImplementsEndpoint", "Zerix_IPConfiguration", "Zerix_PortIPConfiguration",
                                   "Zerix_SoftwareIdentity", "Zerix_AdapterSetting", "Zerix_ElementSettingData",
                                   "Zerix_DiagnosticSetting", "Zerix_ConcreteJob", "Zerix_DiagnosticResult"})
    {
        enumerate(name);
        EXPECT_EQ(log.events(), support::Lines{}) << name;
    }
}

}  // namespace
