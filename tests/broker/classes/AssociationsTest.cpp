#include "broker/ClassTest.h"

namespace {

const std::vector<const char*> ASSOCIATIONS{"Zerix_PortImplementsEndpoint", "Zerix_ElementConformsToProfile",
                                            "Zerix_ElementSettingData",     "Zerix_ElementStatisticalData",
                                            "Zerix_PortDiagnosticSetting",  "Zerix_PortIPConfiguration",
                                            "Zerix_AffectedJobElement"};

class Associations : public testing::Test
{
protected:
    Associations()
    {
        m_world.adapters.set({fakes::adapter(1), fakes::adapter(2)});
        m_world.adapters.set({fakes::address(2, "192.0.2.2"), fakes::address(1, "192.0.2.1"),
                              fakes::address(2, "fe80::2", broker::AddressFamily::IPV6)});
        // Adapter 3 appeared after the ports were read, so its configuration has no port yet.
        m_world.adapters.set({fakes::ipConfiguration(3), fakes::ipConfiguration(1)});
    }

    const std::vector<broker::InstanceStore::Record>& records(const std::string& className)
    {
        m_workspace.begin(className);
        return m_workspace.instances(className)->records();
    }

    // Adds both ends of each instance of the classes to the lines.
    void show(const std::string& state, const std::vector<const char*>& classNames = ASSOCIATIONS)
    {
        m_lines.push_back("== " + state);
        for (const char* className : classNames) {
            m_lines.emplace_back(className);
            for (const auto& record : records(className)) {
                for (const std::string& end : support::values(*record.instance)) {
                    m_lines.push_back("    " + end);
                }
            }
        }
    }

    fakes::World m_world;
    broker::Workspace m_workspace{m_world.sources()};
    std::vector<std::string> m_lines;
};

TEST_F(Associations, Ends_followAdaptersAndJobs)
{
    show("two ports with three addresses");
    m_world.jobs.startDiagnostic(fakes::adapter(2), {}, 1);
    m_world.jobs.startDiagnostic(fakes::adapter(1), {}, 1);
    show("two jobs", {"Zerix_AffectedJobElement"});
    m_world.work(2);
    show("the jobs have ended", {"Zerix_AffectedJobElement"});
    m_world.adapters.set({fakes::adapter(3), fakes::adapter(1)});
    show("port 3 in place of port 2");
    support::expectBaseline(ZERIX_SOURCE_DIR "/tests/broker/classes/Associations.txt", m_lines);
}

TEST_F(Associations, Ends_haveThePathsOfTheirInstances)
{
    m_world.jobs.startDiagnostic(fakes::adapter(2), {}, 1);
    for (const char* className : ASSOCIATIONS) {
        std::vector<std::string> targets;
        for (const auto& record : records(className)) {
            for (const core::CimProperty* end : record.properties) {
                targets.push_back(support::valueText(*end));
            }
        }
        EXPECT_FALSE(targets.empty()) << className;
        for (const std::string& target : targets) {
            m_workspace.begin("");
            EXPECT_NE(m_workspace.find(core::CimPath(target)), nullptr) << target;
        }
    }
}

TEST_F(Associations, WithoutJobs_noAdapterIsRead)
{
    EXPECT_TRUE(records("Zerix_AffectedJobElement").empty());
    EXPECT_EQ(m_world.adapters.adapterReads, 0);
}

TEST_F(Associations, Reference_holdsTheKeysAlone)
{
    for (const core::CimProperty* reference : records("Zerix_PortImplementsEndpoint").at(0).properties) {
        core::CimInstance* target = static_cast<const core::CimPropertyRef*>(reference)->getValue();
        auto iterator = target->propertyIterator();
        while (const core::CimProperty* property = iterator.next()) {
            EXPECT_TRUE(property->isKey()) << property->getName();
        }
    }
}

}  // namespace
