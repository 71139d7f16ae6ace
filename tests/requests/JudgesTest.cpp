#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

#include "Utils/Utils.h"
#include "core/CimPropertyTypes.h"
#include "fakes/FakeBroker.h"
#include "fakes/ProviderModule.h"
#include "requests/LiveProvider.h"
#include "support/Describe.h"
#include "tests/wmihost/PlatformPath.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/objects/ClassObject.h"

// Compares the provider and its host with the platform: with its class objects, its adapters and its parser of paths.
// The platform's side shares no code with this product.
namespace wmihost {
namespace {

ComPtr<IWbemServices> platformNamespace()
{
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    EXPECT_EQ(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(locator.put())), S_OK);
    EXPECT_EQ(locator->ConnectServer(Bstr(L"root\\default").get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                     services.put()),
              S_OK);
    return services;
}

// The provider between the platform's namespace root\default, with the platform's registry class, and the test's
// broker.
class PlatformSignatureTest : public testing::Test
{
protected:
    PlatformSignatureTest()
    {
        module.useTheTestsBroker();
        provider = ComPtr<IWbemServices>::adopt(module.createProvider());
        ComPtr<IWbemProviderInit> init;
        EXPECT_EQ(provider->QueryInterface(IID_PPV_ARGS(init.put())), S_OK);
        EXPECT_EQ(CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(context.put())),
                  S_OK);
        compileMofText(R"(class StdRegProv
                          {
                              uint32 EnumKey([in] uint32 hDefKey, [in] string sSubKeyName);
                              uint32 GetStringValue([in] uint32 hDefKey, [in] string sSubKeyName,
                                                    [in] string sValueName);
                          };)",
                       "StdRegProv.mof", signatures);
        std::wstring name = L"root\\default";
        EXPECT_EQ(init->Initialize(nullptr, 0, name.data(), nullptr, platform.get(), context.get(), nullptr), 0);
    }

    // The host makes the arguments. Wine 8's objects list every property when only keys are requested, and the provider
    // passes no keys on, so it would find no argument in a platform object.
    ComPtr<IWbemClassObject> argumentsOf(const wchar_t* method) const
    {
        ComPtr<IWbemClassObject> signature;
        ComPtr<IWbemClassObject> arguments;
        const ClassPointer definition = signatures.findNamespace(L"root\\default")->findClass(L"StdRegProv");
        EXPECT_EQ(ClassObject::ofClass(definition)->GetMethod(method, 0, signature.put(), nullptr), S_OK);
        EXPECT_EQ(signature->SpawnInstance(0, arguments.put()), S_OK);
        return arguments;
    }

    // Runs the method. Returns the value of the only delivered object, which is the platform's.
    std::string outputOf(const wchar_t* method, IWbemClassObject* arguments, const wchar_t* name)
    {
        const auto response = std::make_shared<Response>(nullptr);
        auto sink = ComPtr<IWbemObjectSink>::adopt(new ResponseSink(response));
        {
            const CallScope security(Impersonation::IMPERSONATE);
            EXPECT_EQ(provider->ExecMethodAsync(Bstr(L"StdRegProv.Name=\"one\"").get(), Bstr(method).get(), 0,
                                                context.get(), arguments, sink.get()),
                      0);
        }
        EXPECT_EQ(response->status(), HRESULT{0});
        const auto objects = response->takeObjects();
        return objects.size() == 1 ? support::describe(valueOf(*objects[0].get(), name).get()) : "not one object";
    }

    const ComApartment apartment;
    support::CallLog calls;
    support::FakeBroker broker{calls};
    support::ProviderModule module;
    ClassRepository signatures;
    ComPtr<IWbemServices> platform = platformNamespace();
    ComPtr<IWbemContext> context;
    ComPtr<IWbemServices> provider;
};

// The return value is not compared: Wine 8's object accepts a uint32 only as VT_UI4, where WMI documents VT_I4. The
// broker finds it in its list with the object's value, 0, where WMI would have no value.
TEST_F(PlatformSignatureTest, ArrayOfTexts_reachesThePlatformsObject)
{
    const auto arguments = argumentsOf(L"EnumKey");
    EXPECT_EQ(arguments->Put(L"hDefKey", 0, Variant::ofLong(-2147483646).in(), 0), S_OK);
    EXPECT_EQ(arguments->Put(L"sSubKeyName", 0, Variant::ofText(L"Software\\Vexal").in(), 0), S_OK);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        dynamic_cast<core::CimPropertyString_arr&>(*out.findProperty("sNames")).setValue({"first", "the second"});
        return 0U;
    };
    EXPECT_EQ(outputOf(L"EnumKey", arguments.get(), L"sNames"), "VT_ARRAY|VT_BSTR {'first', 'the second'}");
    EXPECT_EQ(calls.take(),
              (std::vector<std::string>{"broker.invokeMethod(StdRegProv.Name=\"one\", EnumKey, {hDefKey = uint32 "
                                        "2147483650; sSubKeyName = string 'Software\\Vexal'}, {ReturnValue = uint32 0; "
                                        "sNames = string[] {}}, null)"}));
}

TEST_F(PlatformSignatureTest, Text_reachesThePlatformsObject)
{
    const auto arguments = argumentsOf(L"GetStringValue");
    EXPECT_EQ(arguments->Put(L"sValueName", 0, Variant::ofText(L"Label").in(), 0), S_OK);
    broker.onInvoke = [](core::CimPropertyList& out, core::CimInstance*&) {
        dynamic_cast<core::CimPropertyString&>(*out.findProperty("sValue")).setValue("a \"quoted\" text");
        return 0U;
    };
    EXPECT_EQ(outputOf(L"GetStringValue", arguments.get(), L"sValue"), "VT_BSTR 'a \"quoted\" text'");
    EXPECT_EQ(calls.take(),
              (std::vector<std::string>{"broker.invokeMethod(StdRegProv.Name=\"one\", GetStringValue, {hDefKey = "
                                        "uint32 null; sSubKeyName = string null; sValueName = string 'Label'}, "
                                        "{ReturnValue = uint32 0; sValue = string ''}, null)"}));
}

using LiveJudgesTest = requests::LiveProvider;

TEST_F(LiveJudgesTest, Ports_areThePlatformsAdapters)
{
    // The GUID, the index and the address.
    using Adapter = std::tuple<std::wstring, std::wstring, std::wstring>;
    constexpr ULONG FLAGS =
        GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    ULONG size = 0;
    ASSERT_EQ(GetAdaptersAddresses(AF_UNSPEC, FLAGS, nullptr, nullptr, &size), ULONG{ERROR_BUFFER_OVERFLOW});
    std::vector<IP_ADAPTER_ADDRESSES> buffer(size / sizeof(IP_ADAPTER_ADDRESSES) + 1);
    ASSERT_EQ(GetAdaptersAddresses(AF_UNSPEC, FLAGS, nullptr, buffer.data(), &size), ULONG{NO_ERROR});
    std::set<Adapter> expected;
    for (const IP_ADAPTER_ADDRESSES* one = buffer.data(); one != nullptr; one = one->Next) {
        if (one->IfType != IF_TYPE_SOFTWARE_LOOPBACK) {
            std::string address;
            for (ULONG i = 0; i < one->PhysicalAddressLength; ++i) {
                address += utils::format("%02X", one->PhysicalAddress[i]);
            }
            expected.emplace(toWide(one->AdapterName), std::to_wstring(one->IfIndex), toWide(address));
        }
    }
    std::set<Adapter> ports;
    for (const auto& port : enumerate(L"Zerix_EthernetPort").objects) {
        ports.emplace(textOf(*port.get(), L"DeviceID"), textOf(*port.get(), L"InterfaceIndex"),
                      textOf(*port.get(), L"PermanentAddress"));
    }
    EXPECT_FALSE(ports.empty());
    EXPECT_EQ(ports, expected);
}

// Compares the platform's reading of a path with the host's.
void expectSameReading(const std::wstring& text)
{
    const ObjectPath own = ObjectPath::parse(text);
    const PlatformPath platforms = parsedByPlatform(text);
    EXPECT_EQ(platforms.server, own.server) << toUtf8(text);
    EXPECT_EQ(platforms.nameSpace, own.nameSpace) << toUtf8(text);
    EXPECT_EQ(platforms.className, own.className) << toUtf8(text);
    EXPECT_EQ(platforms.relative, text.substr(text.find(own.className))) << toUtf8(text);
    // Wine 8's parser takes a comma between quotes for the end of a key. Only the keys of associations, which are
    // paths, contain commas. Joined again, the parts are still equal.
    const auto hasComma = [](const PathKey& key) { return key.value.find(L',') != std::wstring::npos; };
    if (std::none_of(own.keys.begin(), own.keys.end(), hasComma)) {
        EXPECT_EQ(platforms.keyCount, own.keys.size()) << toUtf8(text);
    }
}

// Returns the paths of the object and those in its references.
std::vector<std::wstring> pathsIn(IWbemClassObject& object)
{
    std::vector<std::wstring> paths{textOf(object, L"__PATH")};
    // If a key of a relative path is a path, Wine 8's parser takes everything up to the colon of the key's path for
    // a namespace. Such a path is compared only as a part of the full one.
    if (const std::wstring relative = textOf(object, L"__RELPATH"); relative.find(L'\\') == std::wstring::npos) {
        paths.push_back(relative);
    }
    std::vector<NamedValue> properties;
    EXPECT_EQ(readProperties(object, properties), 0);
    for (const NamedValue& property : properties) {
        if (property.type == CIM_REFERENCE && !property.value.isNull()) {
            paths.emplace_back(scalarText(property.value.get(), CIM_REFERENCE));
        }
    }
    return paths;
}

TEST_F(LiveJudgesTest, Paths_areReadAlikeByThePlatform)
{
    // Jobs exist only after a method has started one.
    const RequestResult ports = enumerate(L"Zerix_EthernetPort");
    ASSERT_FALSE(ports.objects.empty());
    const auto arguments = nullArguments(L"Zerix_EthernetPort", L"RunLinkDiagnostic");
    const RequestResult started = session().execMethod(textOf(*ports.objects.front().get(), L"__RELPATH"),
                                                       L"RunLinkDiagnostic", arguments.get(), {});
    ASSERT_EQ(started.objects.size(), 1U);
    const std::wstring job = textOf(*started.objects.front().get(), L"Job");
    ASSERT_NE(job, L"");
    expectSameReading(job);

    for (const ClassTarget& target : workspace.classes(L"")) {
        const RequestResult all = enumerate(target.definition->name);
        // The job has no result while it runs. The paths of a result have the form of the job's and the port's.
        EXPECT_TRUE(!all.objects.empty() || target.definition->name == L"Zerix_DiagnosticResult")
            << target.definition->name;
        for (const auto& object : all.objects) {
            for (const std::wstring& path : pathsIn(*object.get())) {
                expectSameReading(path);
            }
        }
    }
    EXPECT_EQ(session().remove(job, {}).status, 0);
}

}  // namespace
}  // namespace wmihost
