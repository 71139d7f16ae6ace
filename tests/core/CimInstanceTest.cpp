#include "core/CimInstance.h"

#include <gmock/gmock.h>

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/CimPath.h"
#include "core/CimPropertyTypes.h"
#include "support/LockCount.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using testing::IsNull;

static_assert(!std::is_copy_constructible_v<core::CimInstance>);

void addKey(core::CimInstance& instance, const char* name, const char* value)
{
    auto* const property = new core::CimPropertyString(name, &instance);
    property->setValue(value);
    property->setKey(true);
}

TEST(CimInstanceTest, NewInstance_isEmptyAndNotMarked)
{
    core::CimInstance instance("Port");
    EXPECT_EQ(instance.getClassName(), "Port");
    EXPECT_FALSE(instance.isMarkedForDeletion());
    EXPECT_THAT(instance.propertyIterator().first(), IsNull());
}

TEST(CimInstanceTest, MarkForDeletion_storesItsArgument)
{
    core::CimInstance instance("Port");
    instance.markForDeletion(true);
    EXPECT_TRUE(instance.isMarkedForDeletion());
    instance.markForDeletion(false);
    EXPECT_FALSE(instance.isMarkedForDeletion());
}

TEST(CimInstanceTest, Property_joinsTheListAndSkipsAnEarlierOne)
{
    core::CimInstance instance("Port");
    const auto* const earlier = new core::CimPropertyString("Name", &instance);
    auto* const other = new core::CimPropertyUint8("Speed", &instance);
    auto* const later = new core::CimPropertyUint16("Name", &instance);
    EXPECT_TRUE(earlier->isOverriden());
    core::CimPropertyList::Iterator iterator = instance.propertyIterator();
    EXPECT_EQ(iterator.next(), other);
    EXPECT_EQ(iterator.next(), later);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(instance.getProperties().size(), 3U);
}

std::vector<std::unique_ptr<core::CimProperty>> threeProperties()
{
    std::vector<std::unique_ptr<core::CimProperty>> result;
    result.push_back(std::make_unique<core::CimPropertyString>("Name"));
    result.push_back(std::make_unique<core::CimPropertyUint8>("Speed"));
    result.push_back(std::make_unique<core::CimPropertyUint16>("Name"));
    return result;
}

TEST(CimInstanceTest, FilledInstance_isAsIfEachHadJoined)
{
    core::CimInstance instance("Port");
    auto properties = threeProperties();
    const core::CimProperty* earlier = properties[0].get();
    core::CimProperty* other = properties[1].get();
    core::CimProperty* later = properties[2].get();
    instance.fill(std::move(properties));
    EXPECT_TRUE(earlier->isOverriden());
    EXPECT_EQ(later->getOwner(), &instance);
    core::CimPropertyList::Iterator iterator = instance.propertyIterator();
    EXPECT_EQ(iterator.next(), other);
    EXPECT_EQ(iterator.next(), later);
    EXPECT_THAT(iterator.next(), IsNull());
    EXPECT_EQ(instance.getProperties().size(), 3U);
    EXPECT_EQ(instance.getProperties().findProperty("Name"), later);
}

TEST(CimInstanceTest, Fill_takesNoLock)
{
    core::CimInstance instance("Port");
    auto properties = threeProperties();
    EXPECT_EQ(support::locksTakenBy([&] { instance.fill(std::move(properties)); }), 0U);
}

std::vector<std::unique_ptr<core::CimProperty>> twoKeysAndMore()
{
    std::vector<std::unique_ptr<core::CimProperty>> result = threeProperties();
    for (const char* name : {"A", "B", "C", "D"}) {
        auto property = std::make_unique<core::CimPropertyUint8>(name);
        property->setKey(*name < 'C');
        result.push_back(std::move(property));
    }
    return result;
}

TEST(CimInstanceTest, PathOfAFilledInstance_endsAtItsLastKey)
{
    core::CimInstance instance("Port");
    instance.fill(twoKeysAndMore());
    // "Name" twice, one of them hidden, "Speed", and the two keys.
    EXPECT_EQ(support::locksTakenBy([&] { EXPECT_EQ(instance.toPathString(), "Port.A=0,B=0"); }), 5U);
}

TEST(CimInstanceTest, KeyThatJoinsAFilledInstance_isInItsPath)
{
    core::CimInstance instance("Port");
    instance.fill(twoKeysAndMore());
    addKey(instance, "Z", "z");
    EXPECT_EQ(instance.toPathString(), "Port.A=0,B=0,Z=\"z\"");
}

TEST(CimInstanceTest, HiddenLastKey_doesNotEndThePath)
{
    core::CimInstance instance("Port");
    auto properties = twoKeysAndMore();
    properties.push_back(std::make_unique<core::CimPropertyUint16>("B"));
    properties.push_back(std::make_unique<core::CimPropertyUint8>("E"));
    instance.fill(std::move(properties));
    EXPECT_EQ(instance.toPathString(), "Port.A=0");
}

TEST(CimInstanceTest, Fill_withoutAPropertyIsRefused)
{
    core::CimInstance instance("Port");
    std::vector<std::unique_ptr<core::CimProperty>> properties(1);
    EXPECT_THAT(support::thrownBy([&] { instance.fill(std::move(properties)); }),
                testing::HasSubstr("Assertion failed: 'newProperty != NULL'"));
}

TEST(CimInstanceTest, End_deletesHiddenPropertiesToo)
{
    class Counted : public core::CimPropertyUint8
    {
    public:
        Counted(core::CimInstance* owner, int* deletions) : CimPropertyUint8("Name", owner), m_deletions(deletions) {}
        ~Counted() override { ++*m_deletions; }

    private:
        int* m_deletions;
    };

    int deletions = 0;
    {
        core::CimInstance instance("Port");
        new Counted(&instance, &deletions);
        new Counted(&instance, &deletions);
    }
    EXPECT_EQ(deletions, 2);
}

TEST(CimInstanceTest, VirtualFunctions_haveFixedSlots)
{
    // The destructor occupies two entries, so the fourth declared function is at index 4.
    EXPECT_EQ(support::slotOf(&core::CimInstance::getProperties), 2U);
    EXPECT_EQ(support::slotOf(&core::CimInstance::isMarkedForDeletion), 3U);
    EXPECT_EQ(support::slotOf(&core::CimInstance::getClassName), 4U);
}

TEST(CimInstancePathTest, Texts_areQuoted_andNumbersBare)
{
    core::CimInstance instance("Port");
    addKey(instance, "Name", "a\"b");
    auto* const id = new core::CimPropertyUint32("Id", &instance);
    id->setValue(7);
    id->setKey(true);
    EXPECT_EQ(instance.toPathString(), R"(Port.Name="a\"b",Id=7)");
}

TEST(CimInstancePathTest, PathString_backslash_isNotEscaped)
{
    core::CimInstance instance("Port");
    addKey(instance, "Name", R"(a\b)");
    EXPECT_EQ(instance.toPathString(), R"(Port.Name="a\b")");
}

TEST(CimInstancePathTest, PathString_hasEachTypeWithAText)
{
    core::CimInstance instance("Port");
    auto* const uint8 = new core::CimPropertyUint8("a", &instance);
    auto* const uint16 = new core::CimPropertyUint16("b", &instance);
    auto* const uint32 = new core::CimPropertyUint32("c", &instance);
    auto* const uint64 = new core::CimPropertyUint64("d", &instance);
    uint8->setValue(255);
    uint16->setValue(65535);
    uint32->setValue(4294967295U);
    uint64->setValue(18446744073709551615U);
    for (core::CimProperty* property :
         {static_cast<core::CimProperty*>(uint8), static_cast<core::CimProperty*>(uint16),
          static_cast<core::CimProperty*>(uint32), static_cast<core::CimProperty*>(uint64)})
    {
        property->setKey(true);
    }
    EXPECT_EQ(instance.toPathString(), "Port.a=255,b=65535,c=-1,d=18446744073709551615");
}

TEST(CimInstancePathTest, PathString_reference_isQuoted)
{
    core::CimInstance port("Port");
    addKey(port, "Name", "a");
    core::CimInstance association("Conforms");
    auto* const reference = new core::CimPropertyRef("ManagedElement", &association);
    reference->setValue(&port);
    reference->setKey(true);
    EXPECT_EQ(association.toPathString(), R"(Conforms.ManagedElement="Port.Name=\"a\"")");
}

TEST(CimInstancePathTest, PathString_hasKeysInListOrder)
{
    core::CimInstance instance("Port");
    addKey(instance, "z", "1");
    addKey(instance, "a", "2");
    new core::CimPropertyString("plain", &instance);
    addKey(instance, "z", "3");
    EXPECT_EQ(instance.toPathString(), R"(Port.a="2",z="3")");
}

TEST(CimInstancePathTest, PathString_nullKey_hasItsValue)
{
    core::CimInstance instance("Port");
    addKey(instance, "Name", "a");
    instance.getProperties().findProperty("Name")->setNull();
    EXPECT_EQ(instance.toPathString(), R"(Port.Name="a")");
}

TEST(CimInstancePathTest, Path_withoutKeys_isNoneThatParses)
{
    core::CimInstance instance("Port");
    EXPECT_EQ(instance.toPathString(), "Port.");
    EXPECT_EQ(support::thrownBy<utils::ESyntaxError>([&] { core::CimPath(instance.toPathString()); }),
              "DRAVEv2: ESyntaxError:no properties: 'Port.");
}

TEST(CimInstancePathTest, PathString_commaAtTheEnd_isKept)
{
    core::CimInstance instance("Port");
    addKey(instance, "Name", "a,");
    EXPECT_EQ(instance.toPathString(), R"(Port.Name="a,")");
}

TEST(CimInstancePathTest, PathString_keyWithoutText_isRefused)
{
    core::CimInstance instance("Port");
    (new core::CimPropertyBool("Flag", &instance))->setKey(true);
    EXPECT_EQ(support::thrownBy<utils::ENotSupported>([&] { instance.toPathString(); }), "ENotSupported:");
}

TEST(CimInstancePathTest, PathString_isParsedToTheSameKeys)
{
    core::CimInstance instance("Port");
    addKey(instance, "Name", R"(a "quoted", b=c.d:e)");
    addKey(instance, "Other", "plain");
    const core::CimPath path(instance.toPathString());
    EXPECT_EQ(path.getClassName(), "Port");
    EXPECT_EQ(*path.find("Name"), R"(a "quoted", b=c.d:e)");
    EXPECT_EQ(*path.find("Other"), "plain");
}

// The operations before getClassName belong to the broker. The provider must not call them.
class Trapping : public core::CimInstance
{
public:
    using CimInstance::CimInstance;

    core::CimPropertyList& getProperties() override
    {
        if (armed) {
            ADD_FAILURE() << "getProperties was called";
        }
        return CimInstance::getProperties();
    }
    bool isMarkedForDeletion() const override
    {
        ADD_FAILURE() << "isMarkedForDeletion was called";
        return false;
    }

    bool armed = false;
};

TEST(CimInstanceTest, Operations_callNoneOfTheFirstSlots)
{
    Trapping instance("Port");
    addKey(instance, "Name", "a");
    instance.armed = true;
    EXPECT_EQ(instance.getClassName(), "Port");
    EXPECT_EQ(instance.propertyIterator().first()->getName(), "Name");
    EXPECT_EQ(instance.toPathString(), "Port.Name=\"a\"");
    instance.markForDeletion(true);
    instance.armed = false;
}

}  // namespace
