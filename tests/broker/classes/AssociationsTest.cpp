#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The associations of a port, which share one implementation.
class Associations : public testing::Test
{
protected:
    Associations()
    {
        m_world.adapters.set({fakes::adapter(1), fakes::adapter(2)});
        m_world.adapters.set({fakes::address(2, "192.0.2.2"), fakes::address(1, "192.0.2.1"),
                              fakes::address(2, "fe80::2", broker::AddressFamily::IPV6)});
    }

    // The paths at one end of the class's instances.
    std::vector<std::string> ends(const std::string& className, const std::string& role)
    {
        std::vector<std::string> result;
        m_workspace.begin(className);
        for (const auto& record : m_workspace.instances(className)->records()) {
            result.push_back(support::value(*record.instance, role));
        }
        return result;
    }

    // The path of the class's n-th instance.
    std::string path(const std::string& className, std::size_t index)
    {
        m_workspace.begin(className);
        return m_workspace.instances(className)->records().at(index).instance->toPathString();
    }

    fakes::World m_world;
    broker::Workspace m_workspace{m_world.sources()};
};

TEST_F(Associations, Endpoint_belongsToItsPort)
{
    const std::string one = path("Zerix_EthernetPort", 0);
    const std::string two = path("Zerix_EthernetPort", 1);
    EXPECT_THAT(ends("Zerix_PortImplementsEndpoint", "Antecedent"), ElementsAre(two, one, two));
    EXPECT_THAT(ends("Zerix_PortImplementsEndpoint", "Dependent"),
                ElementsAre(path("Zerix_IPProtocolEndpoint", 0), path("Zerix_IPProtocolEndpoint", 1),
                            path("Zerix_IPProtocolEndpoint", 2)));
}

TEST_F(Associations, AddressOfAnUnlistedAdapter_hasNone)
{
    m_world.adapters.set({fakes::adapter(1)});
    EXPECT_EQ(ends("Zerix_PortImplementsEndpoint", "Dependent").size(), 1U);
}

TEST_F(Associations, EveryPort_conformsToTheProfile)
{
    const std::string profile = path("Zerix_RegisteredProfile", 0);
    EXPECT_THAT(ends("Zerix_ElementConformsToProfile", "ConformantStandard"), ElementsAre(profile, profile));
    EXPECT_THAT(ends("Zerix_ElementConformsToProfile", "ManagedElement"),
                ElementsAre(path("Zerix_EthernetPort", 0), path("Zerix_EthernetPort", 1)));
}

TEST_F(Associations, EveryPort_hasItsSetting)
{
    EXPECT_THAT(ends("Zerix_ElementSettingData", "ManagedElement"),
                ElementsAre(path("Zerix_EthernetPort", 0), path("Zerix_EthernetPort", 1)));
    EXPECT_THAT(ends("Zerix_ElementSettingData", "SettingData"),
                ElementsAre(path("Zerix_AdapterSetting", 0), path("Zerix_AdapterSetting", 1)));
}

TEST_F(Associations, EveryPort_hasItsCounters)
{
    EXPECT_THAT(ends("Zerix_ElementStatisticalData", "ManagedElement"),
                ElementsAre(path("Zerix_EthernetPort", 0), path("Zerix_EthernetPort", 1)));
    EXPECT_THAT(ends("Zerix_ElementStatisticalData", "Stats"),
                ElementsAre(path("Zerix_EthernetPortStatistics", 0), path("Zerix_EthernetPortStatistics", 1)));
}

TEST_F(Associations, EveryPort_isDiagnosedByTheSetting)
{
    const std::string setting = path("Zerix_DiagnosticSetting", 0);
    EXPECT_THAT(ends("Zerix_PortDiagnosticSetting", "ManagedElement"),
                ElementsAre(path("Zerix_EthernetPort", 0), path("Zerix_EthernetPort", 1)));
    EXPECT_THAT(ends("Zerix_PortDiagnosticSetting", "SettingData"), ElementsAre(setting, setting));
}

TEST_F(Associations, Job_leadsToItsPort)
{
    EXPECT_THAT(ends("Zerix_AffectedJobElement", "AffectedElement"), IsEmpty());
    m_world.jobs.startDiagnostic(fakes::adapter(2), {}, 1);
    m_world.jobs.startDiagnostic(fakes::adapter(1), {}, 1);
    const std::vector<std::string> jobs{path("Zerix_ConcreteJob", 0), path("Zerix_ConcreteJob", 1)};
    EXPECT_THAT(ends("Zerix_AffectedJobElement", "AffectedElement"),
                ElementsAre(path("Zerix_EthernetPort", 1), path("Zerix_EthernetPort", 0)));
    EXPECT_THAT(ends("Zerix_AffectedJobElement", "AffectingElement"), testing::ElementsAreArray(jobs));
    // The end of a job does not change them.
    m_world.machine.pass(std::chrono::seconds{2});
    m_world.thread.play();
    EXPECT_THAT(ends("Zerix_AffectedJobElement", "AffectingElement"), testing::ElementsAreArray(jobs));
}

TEST_F(Associations, JobOfAnAbsentAdapter_hasNone)
{
    m_world.jobs.startDiagnostic(fakes::adapter(2), {}, 1);
    m_world.adapters.set({fakes::adapter(1)});
    EXPECT_THAT(ends("Zerix_AffectedJobElement", "AffectedElement"), IsEmpty());
}

TEST_F(Associations, WithoutJobs_noAdapterIsRead)
{
    ends("Zerix_AffectedJobElement", "AffectedElement");
    EXPECT_EQ(m_world.adapters.adapterReads, 0);
}

TEST_F(Associations, ReplacedAdapter_isFollowed)
{
    ends("Zerix_ElementConformsToProfile", "ManagedElement");
    m_world.adapters.set({fakes::adapter(3), fakes::adapter(1)});
    EXPECT_THAT(ends("Zerix_ElementConformsToProfile", "ManagedElement"),
                ElementsAre(path("Zerix_EthernetPort", 0), path("Zerix_EthernetPort", 1)));
}

TEST_F(Associations, Reference_holdsTheKeysAlone)
{
    m_workspace.begin("Zerix_PortImplementsEndpoint");
    const auto& record = m_workspace.instances("Zerix_PortImplementsEndpoint")->records().at(0);
    for (const core::CimProperty* reference : record.properties) {
        core::CimInstance* target = static_cast<const core::CimPropertyRef*>(reference)->getValue();
        auto iterator = target->propertyIterator();
        while (const core::CimProperty* property = iterator.next()) {
            EXPECT_TRUE(property->isKey()) << property->getName();
        }
    }
}

}  // namespace
