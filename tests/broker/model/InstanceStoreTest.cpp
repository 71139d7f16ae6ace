#include "broker/model/InstanceStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <stdexcept>

#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "support/LockCount.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct Row
{
    std::string id;
    std::uint16_t number = 0;
    core::CimInstance* other = nullptr;
    bool fails = false;
};

std::uint32_t value(const Row& row)
{
    if (row.fails) {
        throw std::runtime_error("unreadable");
    }
    return row.number * 10U;
}

constexpr std::array columns{broker::key<&Row::id>("Id"), broker::key<&Row::number>("Number"),
                             broker::key<&Row::other>("Other"), broker::column<&value>("Value")};

std::string id(const Row& row)
{
    return row.id;
}

// The rows that a workspace would read.
std::vector<Row> rowsNow;

std::vector<Row> rows(broker::Workspace& /*workspace*/)
{
    return rowsNow;
}

const broker::ClassDescription<Row> description{.name = "Class", .columns = columns, .id = &id, .rows = &rows};

class Resolver : public broker::ReferenceResolver
{
public:
    core::CimInstance* resolve(const std::string& path) override
    {
        ++calls;
        const auto found = instances.find(path);
        return found == instances.end() ? nullptr : found->second;
    }

    std::map<std::string, core::CimInstance*> instances;
    int calls = 0;
};

class InstanceStoreTest : public testing::Test
{
protected:
    InstanceStoreTest() { m_resolver.instances["it"] = &m_other; }

    // The property of each instance.
    std::vector<std::string> shown(const char* property) const
    {
        std::vector<std::string> result;
        for (const auto& record : m_store.records()) {
            result.push_back(support::value(*record.instance, property));
        }
        return result;
    }

    fakes::World m_world;
    broker::Workspace m_workspace{m_world.sources()};
    broker::DescribedStore<Row> m_store{description};
    core::CimInstance m_other{"Other"};
    core::CimInstance m_third{"Other"};
    Resolver m_resolver;
    const core::CimPath m_toB{"Class.Id=\"b\",Number=2,Other=\"it\""};
};

TEST_F(InstanceStoreTest, Instance_hasTheDescribedProperties)
{
    m_store.show({{"a", 4, &m_other}});
    ASSERT_EQ(m_store.records().size(), 1U);
    core::CimInstance& instance = *m_store.records()[0].instance;
    EXPECT_EQ(instance.getClassName(), "Class");
    EXPECT_THAT(support::values(instance), ElementsAre("Id=a", "Number=4", "Other=Other.", "Value=40"));
    EXPECT_EQ(instance.toPathString(), "Class.Id=\"a\",Number=4,Other=\"Other.\"");
    EXPECT_EQ(m_store.records()[0].id, "a");
    broker::DescribedStore<Row> keys(description, broker::Shape::KEYS);
    keys.show({{"a", 4, &m_other}});
    EXPECT_THAT(support::values(*keys.records()[0].instance), ElementsAre("Id=a", "Number=4", "Other=Other."));
}

TEST_F(InstanceStoreTest, Instances_ofKeptRows_getNewValues)
{
    m_store.show({{"a", 1}, {"b", 2}, {"c", 3}});
    const core::CimInstance* a = m_store.records()[0].instance.get();
    const core::CimInstance* c = m_store.records()[2].instance.get();
    m_store.show({{"c", 33}, {"d", 4}, {"a", 1}});
    ASSERT_THAT(shown("Id"), ElementsAre("c", "d", "a"));
    EXPECT_EQ(m_store.records()[0].instance.get(), c);
    EXPECT_EQ(m_store.records()[2].instance.get(), a);
    EXPECT_THAT(shown("Value"), ElementsAre("330", "40", "10"));
}

TEST_F(InstanceStoreTest, Update_fillsAllOrOne)
{
    rowsNow = {{"a", 1, &m_other}, {"b", 2, &m_other}};
    m_store.update(m_workspace);
    EXPECT_THAT(shown("Value"), ElementsAre("10", "20"));
    broker::DescribedStore<Row> store{description};
    const auto* const found = store.updateOne(m_workspace, m_toB, m_resolver);
    EXPECT_EQ(found, &store.records()[1]);
    EXPECT_EQ(support::value(*store.records()[0].instance, "Id"), "a");
    EXPECT_EQ(support::value(*store.records()[0].instance, "Value"), "null");
    EXPECT_EQ(support::value(*store.records()[1].instance, "Value"), "20");
    EXPECT_EQ(store.updateOne(m_workspace, core::CimPath("Class.Id=\"c\""), m_resolver), nullptr);
}

TEST_F(InstanceStoreTest, FailedUpdate_leavesItEmpty)
{
    const std::vector<Row> readable{{"a", 1, &m_other}, {"b", 2, &m_other}};
    for (const bool isOne : {false, true}) {
        rowsNow = readable;
        m_store.update(m_workspace);
        EXPECT_THAT(m_store.records(), SizeIs(2));
        rowsNow[1].fails = true;
        EXPECT_THROW(isOne ? void(m_store.updateOne(m_workspace, m_toB, m_resolver)) : m_store.update(m_workspace),
                     std::runtime_error);
        EXPECT_THAT(m_store.records(), IsEmpty());
        EXPECT_EQ(m_store.withId("a"), nullptr);
    }
}

TEST_F(InstanceStoreTest, Record_isFoundByItsId)
{
    m_store.show({{"b"}, {"a"}});
    EXPECT_EQ(m_store.withId("a"), &m_store.records()[1]);
    EXPECT_EQ(m_store.withId("c"), nullptr);
    m_store.show({{"a"}});
    EXPECT_EQ(m_store.withId("a"), m_store.records().data());
    EXPECT_EQ(m_store.withId("b"), nullptr);
    m_store.clear();
    EXPECT_EQ(m_store.withId("a"), nullptr);
}

TEST_F(InstanceStoreTest, TwoRowsOfOneId_areTwoInstances)
{
    m_store.show({{"a", 1}, {"a", 2}});
    m_store.show({{"a", 3}, {"a", 4}, {"b", 5}});
    EXPECT_THAT(shown("Id"), ElementsAre("a", "a", "b"));
    EXPECT_THAT(shown("Value"), ElementsAre("30", "40", "50"));
}

TEST_F(InstanceStoreTest, InstancesAreMadeAndShown_withoutALock)
{
    EXPECT_EQ(support::locksTakenBy([this] { m_store.show({{"a", 1}, {"b", 2}}); }), 0U);
}

TEST_F(InstanceStoreTest, Path_namesOneInstanceOrNone)
{
    m_store.show({{"a", 1, &m_other}, {"b", 2, &m_other}, {"c", 3, nullptr}});
    m_resolver.instances = {{"one way", &m_other}, {"another way", &m_other}, {"elsewhere", &m_third}};
    // The keys of a path, and the id of the instance that it names.
    struct Path
    {
        const char* name;
        const char* keys;
        const char* id;
    };
    for (const Path& path :
         {Path{"in order", R"(Id="b",Number=2,Other="one way")", "b"},
          Path{"in another order and case", R"(OTHER="one way",number=2,iD="b")", "b"},
          Path{"by another way to its reference", R"(Id="b",Number=2,Other="another way")", "b"},
          Path{"with a value in another case", R"(Id="B",Number=2,Other="one way")", "none"},
          Path{"with another form of a number", R"(Id="b",Number=02,Other="one way")", "none"},
          Path{"without a key", R"(Id="b",Number=2)", "none"},
          Path{"with a property that is not a key", R"(Id="b",Number=2,Other="one way",Value=20)", "none"},
          Path{"with a key twice", R"(Id="b",ID="b",Number=2,Other="one way")", "none"},
          Path{"with an unknown key", R"(Id="b",Number=2,Another="one way")", "none"},
          Path{"to another reference", R"(Id="b",Number=2,Other="elsewhere")", "none"},
          Path{"to no reference", R"(Id="b",Number=2,Other="nowhere")", "none"},
          Path{"of a null reference", R"(Id="c",Number=3,Other="nowhere")", "none"}})
    {
        const auto* found = m_store.find(core::CimPath(std::string("Class.") + path.keys), m_resolver);
        EXPECT_EQ(found == nullptr ? "none" : found->id, path.id) << path.name;
    }
}

TEST_F(InstanceStoreTest, Find_resolvesAReferenceOnce)
{
    m_store.show({{"a", 1, &m_third}, {"a", 1, &m_third}, {"a", 1, &m_third}});
    m_store.find(core::CimPath("Class.Id=\"a\",Number=1,Other=\"it\""), m_resolver);
    EXPECT_EQ(m_resolver.calls, 1);
}

}  // namespace
