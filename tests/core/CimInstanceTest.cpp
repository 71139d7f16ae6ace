#include "core/CimInstance.h"

#include <gmock/gmock.h>

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "Utils/Utils.h"
#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"
#include "support/LockCount.h"
#include "support/SampleProperties.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using samples::add;
using samples::addKey;
using testing::ElementsAre;
using testing::IsNull;
using Properties = std::vector<std::unique_ptr<core::CimProperty>>;

static_assert(!std::is_copy_constructible_v<core::CimInstance>);

class CimInstanceTest : public testing::Test
{
protected:
    core::CimInstance m_instance{"Port"};
};

TEST_F(CimInstanceTest, NewInstance_isEmptyAndMayBeMarked)
{
    EXPECT_EQ(m_instance.getClassName(), "Port");
    EXPECT_THAT(m_instance.propertyIterator().first(), IsNull());
    EXPECT_FALSE(m_instance.isMarkedForDeletion());
    m_instance.markForDeletion(true);
    EXPECT_TRUE(m_instance.isMarkedForDeletion());
    m_instance.markForDeletion(false);
    EXPECT_FALSE(m_instance.isMarkedForDeletion());
}

Properties threeProperties()
{
    Properties result;
    result.push_back(std::make_unique<core::CimPropertyString>("Name"));
    result.push_back(std::make_unique<core::CimPropertyUint8>("Speed"));
    result.push_back(std::make_unique<core::CimPropertyUint16>("Name"));
    return result;
}

// The instance has the three properties, and the last one hides the first.
void expectThreeProperties(core::CimInstance& instance, const std::vector<core::CimProperty*>& properties)
{
    EXPECT_TRUE(properties[0]->isOverriden());
    core::CimPropertyList::Iterator iterator = instance.propertyIterator();
    EXPECT_EQ(iterator.next(), properties[1]);
    EXPECT_EQ(iterator.next(), properties[2]);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(instance.getProperties().size(), 3U);
    EXPECT_EQ(instance.getProperties().findProperty("Name"), properties[2]);
    EXPECT_EQ(properties[2]->getOwner(), &instance);
}

TEST_F(CimInstanceTest, Property_joinsTheListAndHidesAnother)
{
    expectThreeProperties(
        m_instance, {new core::CimPropertyString("Name", &m_instance), new core::CimPropertyUint8("Speed", &m_instance),
                     new core::CimPropertyUint16("Name", &m_instance)});
}

TEST_F(CimInstanceTest, FilledInstance_isAsIfEachHadJoined)
{
    Properties properties = threeProperties();
    const std::vector<core::CimProperty*> pointers{properties[0].get(), properties[1].get(), properties[2].get()};
    EXPECT_EQ(support::locksTakenBy([&] { m_instance.fill(std::move(properties)); }), 0U);
    expectThreeProperties(m_instance, pointers);
}

Properties twoKeysAndMore()
{
    Properties result = threeProperties();
    for (const char* name : {"A", "B", "C", "D"}) {
        auto property = std::make_unique<core::CimPropertyUint8>(name);
        property->setKey(*name < 'C');
        result.push_back(std::move(property));
    }
    return result;
}

TEST_F(CimInstanceTest, PathOfAFilledInstance_endsAtItsLastKey)
{
    m_instance.fill(twoKeysAndMore());
    // "Name" twice, one of them hidden, "Speed", and the two keys.
    EXPECT_EQ(support::locksTakenBy([&] { EXPECT_EQ(m_instance.toPathString(), "Port.A=0,B=0"); }), 5U);
    addKey(m_instance, "Z", "z");
    EXPECT_EQ(m_instance.toPathString(), "Port.A=0,B=0,Z=\"z\"") << "a key that joins later";
}

TEST_F(CimInstanceTest, HiddenLastKey_doesNotEndThePath)
{
    Properties properties = twoKeysAndMore();
    properties.push_back(std::make_unique<core::CimPropertyUint16>("B"));
    properties.push_back(std::make_unique<core::CimPropertyUint8>("E"));
    m_instance.fill(std::move(properties));
    EXPECT_EQ(m_instance.toPathString(), "Port.A=0");
}

TEST_F(CimInstanceTest, Fill_withoutAPropertyIsRefused)
{
    Properties properties(1);
    EXPECT_THAT(support::assertionOf([&] { m_instance.fill(std::move(properties)); }),
                testing::EndsWith(": newProperty != NULL"));
}

TEST(CimInstanceEndTest, End_deletesHiddenPropertiesToo)
{
    int deletions = 0;
    {
        core::CimInstance instance("Port");
        new samples::CountedProperty(deletions, &instance);
        new samples::CountedProperty(deletions, &instance);
    }
    EXPECT_EQ(deletions, 2);
}

TEST_F(CimInstanceTest, VirtualFunctions_haveFixedSlots)
{
    // The destructor occupies two entries, so the fourth declared function is at index 4.
    EXPECT_THAT(support::slotsOf(&core::CimInstance::getProperties, &core::CimInstance::isMarkedForDeletion,
                                 &core::CimInstance::getClassName),
                ElementsAre(2, 3, 4));
}

using CimInstancePathTest = CimInstanceTest;

TEST_F(CimInstancePathTest, Texts_areQuoted_andNumbersBare)
{
    addKey(m_instance, "Name", "a\"b");
    addKey(m_instance, "Backslash", R"(a\b)");
    addKey(m_instance, "Comma", "a,");
    add<core::CimPropertyUint8>(m_instance, "a", std::uint8_t{255})->setKey(true);
    add<core::CimPropertyUint16>(m_instance, "b", std::uint16_t{65535})->setKey(true);
    add<core::CimPropertyUint32>(m_instance, "c", 4294967295U)->setKey(true);
    add<core::CimPropertyUint64>(m_instance, "d", 18446744073709551615U)->setKey(true);
    const std::string path = R"(Port.Name="a\"b",Backslash="a\b",Comma="a,",a=255,b=65535,c=-1,d=18446744073709551615)";
    EXPECT_EQ(m_instance.toPathString(), path);
    core::CimInstance named("Port");
    addKey(named, "Name", "a");
    core::CimInstance association("Conforms");
    add<core::CimPropertyRef>(association, "Port", &named)->setKey(true);
    EXPECT_EQ(association.toPathString(), R"(Conforms.Port="Port.Name=\"a\"")");
}

TEST_F(CimInstancePathTest, PathString_hasKeysInListOrder)
{
    addKey(m_instance, "z", "1");
    addKey(m_instance, "a", "2");
    new core::CimPropertyString("plain", &m_instance);
    addKey(m_instance, "z", "3");
    m_instance.getProperties().findProperty("a")->setNull();
    EXPECT_EQ(m_instance.toPathString(), R"(Port.a="2",z="3")") << "a null key has its value";
}

TEST_F(CimInstancePathTest, Path_withoutKeys_isNoneThatParses)
{
    EXPECT_EQ(m_instance.toPathString(), "Port.");
    EXPECT_EQ(support::thrownBy<utils::ESyntaxError>([&] { core::CimPath(m_instance.toPathString()); }),
              "DRAVEv2: ESyntaxError:no properties: 'Port.");
}

TEST_F(CimInstancePathTest, PathString_keyWithoutText_isRefused)
{
    (new core::CimPropertyBool("Flag", &m_instance))->setKey(true);
    EXPECT_EQ(support::thrownBy<utils::ENotSupported>([&] { m_instance.toPathString(); }), "ENotSupported:");
}

TEST_F(CimInstancePathTest, PathString_isParsedToTheSameKeys)
{
    addKey(m_instance, "Name", R"(a "quoted", b=c.d:e)");
    addKey(m_instance, "Other", "plain");
    const core::CimPath path(m_instance.toPathString());
    EXPECT_EQ(path.getClassName(), "Port");
    EXPECT_EQ(*path.find("Name"), R"(a "quoted", b=c.d:e)");
    EXPECT_EQ(*path.find("Other"), "plain");
}

}  // namespace
