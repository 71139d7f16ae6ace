#include "broker/model/Workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>

#include "broker/Fakes.h"
#include "broker/Properties.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Workspace : public testing::Test
{
protected:
    Workspace()
    {
        m_adapters.set({fakes::adapter(1), fakes::adapter(2)});
        m_adapters.set({fakes::address(2, "192.0.2.2"), fakes::address(1, "192.0.2.1"),
                        fakes::address(2, "fe80::2", broker::AddressFamily::IPV6)});
        m_workspace.begin("");
    }

    std::vector<std::string> valuesOf(const std::string& className, const std::string& property)
    {
        std::vector<std::string> result;
        for (const auto& record : m_workspace.instances(className)->records()) {
            result.push_back(support::value(*record.instance, property));
        }
        return result;
    }

    core::CimInstance* find(const std::string& path)
    {
        const auto* record = m_workspace.find(core::CimPath(path));
        return record == nullptr ? nullptr : record->instance.get();
    }

    // The path of the n-th instance of the class.
    std::string pathOf(const std::string& className, std::size_t index)
    {
        return m_workspace.instances(className)->records().at(index).instance->toPathString();
    }

    fakes::World m_world;
    fakes::Adapters& m_adapters = m_world.adapters;
    broker::Workspace m_workspace{m_world.sources()};
};

TEST_F(Workspace, Request_readsOnceAndOnlyWhatIsNeeded)
{
    // The reads of adapters and addresses so far, after the request has used these classes too.
    const auto readsAfter = [this](const std::vector<const char*>& classNames) {
        for (const char* className : classNames) {
            m_workspace.instances(className);
        }
        return std::pair<int, int>(m_adapters.adapterReads, m_adapters.addressReads);
    };
    EXPECT_THAT(readsAfter({"Zerix_SoftwareIdentity", "Zerix_RegisteredProfile"}), Pair(0, 0));
    EXPECT_THAT(readsAfter({"Zerix_EthernetPort", "Zerix_EthernetPortStatistics", "Zerix_ElementConformsToProfile"}),
                Pair(1, 0));
    EXPECT_THAT(readsAfter({"Zerix_PortImplementsEndpoint", "Zerix_IPProtocolEndpoint"}), Pair(1, 1));
    readsAfter({"Zerix_PortIPConfiguration"});
    EXPECT_EQ(m_adapters.ipConfigurationReads, 1);
    m_workspace.begin("");
    EXPECT_THAT(readsAfter({"Zerix_IPProtocolEndpoint"}), Pair(1, 2));
}

TEST_F(Workspace, HiddenAdapters_areInNoTable)
{
    m_adapters.set({fakes::ipConfiguration(1), fakes::ipConfiguration(2)});
    m_workspace.instances("Zerix_PortImplementsEndpoint");
    m_workspace.instances("Zerix_PortIPConfiguration");
    m_adapters.hidden = {fakes::adapter(1).guid};
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "Name"), ElementsAre("eth1", "eth2"));
    EXPECT_EQ(m_adapters.hiddenReads, 1);
    m_workspace.begin("");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "Name"), ElementsAre("eth2"));
    EXPECT_THAT(valuesOf("Zerix_IPProtocolEndpoint", "IPv4Address"), ElementsAre("192.0.2.2", "null"));
    EXPECT_THAT(valuesOf("Zerix_IPConfiguration", "InstanceID"),
                ElementsAre("Vexal:IPConfiguration:" + fakes::adapter(2).guid));
    EXPECT_EQ(m_adapters.hiddenReads, 2);
}

TEST_F(Workspace, Instances_stayUntilTheNextRequest)
{
    const auto* ports = m_workspace.instances("Zerix_EthernetPort");
    const core::CimInstance* second = ports->records()[1].instance.get();
    broker::Adapter changed = fakes::adapter(2);
    changed.mtu = 9000;
    m_adapters.set({changed});
    EXPECT_THAT(valuesOf("Zerix_DiagnosticSetting", "SampleCount"), ElementsAre("10"));
    m_world.storage.set("Diagnostics", "Setting", "SampleCount=20");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "ActiveMaximumTransmissionUnit"), ElementsAre("1500", "1500"));
    EXPECT_THAT(valuesOf("Zerix_DiagnosticSetting", "SampleCount"), ElementsAre("10"));
    m_workspace.begin("");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "ActiveMaximumTransmissionUnit"), ElementsAre("9000"));
    EXPECT_THAT(valuesOf("Zerix_DiagnosticSetting", "SampleCount"), ElementsAre("20"));
    EXPECT_EQ(ports->records()[0].instance.get(), second);
}

std::string inTheOtherCase(std::string path)
{
    for (char& c : path) {
        c = static_cast<char>(std::isalpha(static_cast<unsigned char>(c)) != 0 ? c ^ 0x20 : c);
    }
    return path;
}

TEST_F(Workspace, OnlyGuidsAndNames_matchInAnyCase)
{
    m_adapters.set({fakes::address(1, "fe80::ab", broker::AddressFamily::IPV6)});
    for (const auto& [className, ignoresCase] : {std::pair{"Zerix_EthernetPort", true},
                                                 {"Zerix_IPProtocolEndpoint", true},
                                                 {"Zerix_EthernetPortStatistics", false},
                                                 {"Zerix_SoftwareIdentity", false},
                                                 {"Zerix_RegisteredProfile", false},
                                                 {"Zerix_AdapterSetting", false},
                                                 {"Zerix_DiagnosticSetting", false}})
    {
        EXPECT_EQ(find(inTheOtherCase(pathOf(className, 0))) != nullptr, ignoresCase) << className;
    }
}

TEST_F(Workspace, Association_isFoundByFullReferences)
{
    const std::string quotedPort = "{00000002-0000-0000-0000-000000000000}";
    const std::string port =
        R"(Zerix_EthernetPort.SystemCreationClassName=\"Win32_ComputerSystem\",SystemName=\"HOST\",)"
        R"(CreationClassName=\"Zerix_EthernetPort\",DeviceID=\")" +
        quotedPort + R"(\")";
    const std::string profile = R"(Zerix_RegisteredProfile.InstanceID=\"Vexal:Profile:EthernetPort\")";
    const auto association = [](const std::string& standard, const std::string& element) {
        return "Zerix_ElementConformsToProfile.ManagedElement=\"" + element + "\",ConformantStandard=\"" + standard +
               "\"";
    };
    core::CimInstance* expected =
        m_workspace.instances("Zerix_ElementConformsToProfile")->records().at(1).instance.get();
    EXPECT_EQ(find(association(profile, port)), expected);
    EXPECT_EQ(find(association(R"(\\HOST\root\interop:)" + profile, R"(\\HOST\root\DCIM\vexal:)" + port)), expected);
    EXPECT_EQ(find(association(R"(\\\\HOST\\root\\interop:)" + profile, port)), expected);
    EXPECT_EQ(find(association(port, profile)), nullptr);
    EXPECT_EQ(find(association(profile, "no path")), nullptr);
}

TEST_F(Workspace, Resolve_otherPaths_areNull)
{
    EXPECT_EQ(m_workspace.resolve(pathOf("Zerix_EthernetPort", 1)),
              m_workspace.references("Zerix_EthernetPort").records()[1].instance.get());
    EXPECT_EQ(m_workspace.resolve("Zerix_RegisteredProfile.InstanceID=\"another\""), nullptr);
    EXPECT_EQ(m_workspace.resolve("Zerix_Nothing.Id=1"), nullptr);
    EXPECT_EQ(m_workspace.resolve(""), nullptr);
}

TEST_F(Workspace, JobsAndResults_areShown)
{
    EXPECT_THAT(m_workspace.instances("Zerix_ConcreteJob")->records(), IsEmpty());
    EXPECT_THAT(m_workspace.instances("Zerix_DiagnosticResult")->records(), IsEmpty());
    // No adapter was requested.
    EXPECT_EQ(m_adapters.adapterReads, 0);
    const std::string id = m_world.jobs.startDiagnostic(fakes::adapter(2), {}, 1).id;
    m_world.work(2);
    m_workspace.begin("");
    EXPECT_THAT(valuesOf("Zerix_ConcreteJob", "InstanceID"), ElementsAre(id));
    EXPECT_EQ(m_workspace.job("another"), nullptr);
    EXPECT_THAT(valuesOf("Zerix_DiagnosticResult", "JobInstanceID"), ElementsAre(id));
    EXPECT_THAT(valuesOf("Zerix_DiagnosticResult", "ManagedElement"), ElementsAre(pathOf("Zerix_EthernetPort", 1)));
}

// Many adapters, each with one address.
void setManyAdapters(fakes::Adapters& adapters)
{
    std::vector<broker::Adapter> many;
    std::vector<broker::Address> addresses;
    for (unsigned number = 1; number <= 20; ++number) {
        many.push_back(fakes::adapter(number));
        addresses.push_back(fakes::address(number, "192.0.2." + std::to_string(number)));
    }
    adapters.set(many);
    adapters.set(addresses);
}

TEST_F(Workspace, Begin_deletesWhatItsRequestDoesNotNeed)
{
    setManyAdapters(m_adapters);
    m_workspace.begin("Zerix_EthernetPort");
    const auto& ports = m_workspace.instances("Zerix_EthernetPort")->records();
    EXPECT_EQ(ports.size(), 20U);
    m_workspace.begin("Zerix_EthernetPortStatistics");
    EXPECT_THAT(ports, IsEmpty());
    const auto& statistics = m_workspace.instances("Zerix_EthernetPortStatistics")->records();
    EXPECT_EQ(statistics.size(), 20U);
    m_workspace.begin("Zerix_Nothing");
    EXPECT_THAT(statistics, IsEmpty());
}

TEST_F(Workspace, Begin_keepsTheClassAndWhatItRefersTo)
{
    setManyAdapters(m_adapters);
    m_workspace.begin("Zerix_PortImplementsEndpoint");
    const auto kept = [this] {
        return std::vector{m_workspace.instances("Zerix_PortImplementsEndpoint")->records()[7].instance.get(),
                           m_workspace.references("Zerix_EthernetPort").records()[7].instance.get(),
                           m_workspace.references("Zerix_IPProtocolEndpoint").records()[7].instance.get()};
    };
    const auto before = kept();
    const std::string path = pathOf("Zerix_PortImplementsEndpoint", 7);
    for (int get = 0; get < 2; ++get) {
        m_workspace.begin("zerix_portimplementsendpoint");
        EXPECT_EQ(find(path), before[0]);
        EXPECT_EQ(m_workspace.references("Zerix_EthernetPort").records()[7].instance.get(), before[1]);
    }
    m_workspace.begin("zerix_portimplementsendpoint");
    EXPECT_EQ(kept(), before);
}

TEST_F(Workspace, GetOrList_afterAGet_hasEveryValue)
{
    const std::string first = pathOf("Zerix_EthernetPort", 0);
    const std::string second = pathOf("Zerix_EthernetPort", 1);
    broker::Adapter changed = fakes::adapter(2);
    changed.mtu = 9000;
    m_adapters.set({fakes::adapter(1), changed});
    m_workspace.begin("Zerix_EthernetPort");
    EXPECT_NE(find(first), nullptr);
    EXPECT_EQ(support::value(*find(second), "ActiveMaximumTransmissionUnit"), "9000");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "ActiveMaximumTransmissionUnit"), ElementsAre("1500", "9000"));
}

TEST_F(Workspace, Begin_keepsAHandful)
{
    const auto& ports = m_workspace.instances("Zerix_EthernetPort")->records();
    m_workspace.begin("Zerix_SoftwareIdentity");
    EXPECT_EQ(ports.size(), 2U);
}

TEST_F(Workspace, GoneAdaptersSetting_isListedUntilRemoved)
{
    const std::string gone = fakes::adapter(9).guid;
    m_world.storage.set("Adapters\\" + gone, "Setting", "Tag=7");
    m_world.storage.set("Adapters\\nothing in it", "Setting", "");
    EXPECT_THAT(valuesOf("Zerix_AdapterSetting", "Tag"), ElementsAre("null", "null", "7"));
    EXPECT_EQ(m_workspace.instances("Zerix_ElementSettingData")->records().size(), 2U);
    m_world.settings.restoreDefaults("Adapters\\" + gone, {});
    m_workspace.begin("Zerix_AdapterSetting");
    EXPECT_THAT(valuesOf("Zerix_AdapterSetting", "Tag"), ElementsAre("null", "null"));
}

TEST_F(Workspace, PortsShow_whenTheirLabelsCannotBeRead)
{
    m_world.storage.set("Adapters\\" + fakes::adapter(1).guid, "Setting", "ElementName=Uplink");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "ElementName"), ElementsAre("Uplink", "eth2"));
    m_world.storage.set("Adapters\\" + fakes::adapter(1).guid, "Setting", "ElementName=Other");
    m_world.storage.isReadable = false;
    m_workspace.begin("Zerix_EthernetPort");
    EXPECT_THAT(valuesOf("Zerix_EthernetPort", "ElementName"), ElementsAre("eth1", "eth2"));
}

}  // namespace
