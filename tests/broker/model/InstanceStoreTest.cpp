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

constexpr std::array namedColumns{broker::keyWithoutCase<&Row::id>("Id")};

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
    std::vector<std::string> ids() const
    {
        std::vector<std::string> result;
        for (const auto& record : m_store.records()) {
            result.push_back(support::value(*record.instance, "Id"));
        }
        return result;
    }

    broker::DescribedStore<Row> m_store{description};
    core::CimInstance m_other{"Other"};
    core::CimInstance m_third{"Other"};
    Resolver m_resolver;
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
}

TEST_F(InstanceStoreTest, Instances_areInTheOrderOfTheRows)
{
    m_store.show({{"b"}, {"a"}, {"c"}});
    EXPECT_THAT(ids(), ElementsAre("b", "a", "c"));
    m_store.show({{"c"}, {"b"}, {"a"}});
    EXPECT_THAT(ids(), ElementsAre("c", "b", "a"));
}

TEST_F(InstanceStoreTest, Instances_ofKeptRows_getNewValues)
{
    m_store.show({{"a", 1}, {"b", 2}, {"c", 3}});
    const core::CimInstance* a = m_store.records()[0].instance.get();
    const core::CimInstance* c = m_store.records()[2].instance.get();
    m_store.show({{"c", 33}, {"d", 4}, {"a", 1}});
    ASSERT_THAT(ids(), ElementsAre("c", "d", "a"));
    EXPECT_EQ(m_store.records()[0].instance.get(), c);
    EXPECT_EQ(m_store.records()[2].instance.get(), a);
    EXPECT_EQ(support::value(*m_store.records()[0].instance, "Value"), "330");
    EXPECT_EQ(support::value(*m_store.records()[1].instance, "Value"), "40");
}

TEST_F(InstanceStoreTest, NoRows_leaveNoInstances)
{
    m_store.show({{"a"}});
    m_store.show({});
    EXPECT_THAT(m_store.records(), IsEmpty());
}

TEST_F(InstanceStoreTest, FailedUpdate_leavesItEmpty)
{
    fakes::World world;
    broker::Workspace workspace(world.sources());
    rowsNow = {{"a"}, {"b"}};
    m_store.update(workspace);
    EXPECT_THAT(ids(), ElementsAre("a", "b"));
    rowsNow = {{"a"}, {"b", 0, nullptr, true}};
    EXPECT_THROW(m_store.update(workspace), std::runtime_error);
    EXPECT_THAT(m_store.records(), IsEmpty());
    EXPECT_EQ(m_store.withId("a"), nullptr);
    rowsNow = {{"b"}};
    m_store.update(workspace);
    EXPECT_THAT(ids(), ElementsAre("b"));
}

TEST_F(InstanceStoreTest, UpdateOfOne_leavesOnlyKeysToTheRest)
{
    fakes::World world;
    broker::Workspace workspace(world.sources());
    m_resolver.instances["it"] = &m_other;
    rowsNow = {{"a", 1, &m_other}, {"b", 2, &m_other}};
    const core::CimPath path("Class.Id=\"b\",Number=2,Other=\"it\"");
    const broker::InstanceStore::Record* const found = m_store.updateOne(workspace, path, m_resolver);
    EXPECT_EQ(found, &m_store.records()[1]);
    EXPECT_THAT(ids(), ElementsAre("a", "b"));
    EXPECT_EQ(support::value(*m_store.records()[0].instance, "Value"), "null");
    EXPECT_EQ(support::value(*m_store.records()[1].instance, "Value"), "20");
    EXPECT_EQ(m_store.updateOne(workspace, core::CimPath("Class.Id=\"c\""), m_resolver), nullptr);
}

TEST_F(InstanceStoreTest, FailedUpdateOfOne_leavesItEmpty)
{
    fakes::World world;
    broker::Workspace workspace(world.sources());
    m_resolver.instances["it"] = &m_other;
    rowsNow = {{"a", 1, &m_other}, {"b", 2, &m_other, true}};
    const core::CimPath path("Class.Id=\"b\",Number=2,Other=\"it\"");
    EXPECT_THROW(m_store.updateOne(workspace, path, m_resolver), std::runtime_error);
    EXPECT_THAT(m_store.records(), IsEmpty());
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
    ASSERT_THAT(ids(), ElementsAre("a", "a", "b"));
    EXPECT_EQ(support::value(*m_store.records()[1].instance, "Value"), "40");
}

TEST_F(InstanceStoreTest, KeysShape_leavesOutTheRest)
{
    broker::DescribedStore<Row> keys(description, broker::Shape::KEYS);
    keys.show({{"a", 4, &m_other}});
    EXPECT_THAT(support::values(*keys.records()[0].instance), ElementsAre("Id=a", "Number=4", "Other=Other."));
}

TEST_F(InstanceStoreTest, InstancesAreMadeAndShown_withoutALock)
{
    EXPECT_EQ(support::locksTakenBy([this] { m_store.show({{"a", 1}, {"b", 2}}); }), 0U);
}

TEST_F(InstanceStoreTest, KeyWithoutCase_matchesInAnyCase)
{
    const broker::ClassDescription<Row> named{.name = "Class", .columns = namedColumns, .id = &id, .rows = &rows};
    broker::DescribedStore<Row> store(named);
    store.show({{"Host-A"}});
    EXPECT_NE(store.find(core::CimPath("Class.Id=\"hOST-a\""), m_resolver), nullptr);
    EXPECT_EQ(store.find(core::CimPath("Class.Id=\"Host-B\""), m_resolver), nullptr);
    EXPECT_EQ(store.find(core::CimPath("Class.Id=\"Host-\""), m_resolver), nullptr);
}

// A path after the class's name, and the id of the instance that it names.
struct Path
{
    const char* name;
    const char* keys;
    const char* id;
};

constexpr std::array PATHS{
    Path{"InOrder", R"(Id="b",Number=2,Other="one way")", "b"},
    Path{"InAnotherOrderAndCase", R"(OTHER="one way",number=2,iD="b")", "b"},
    Path{"ByAnotherWayToItsReference", R"(Id="b",Number=2,Other="another way")", "b"},
    Path{"WithAValueInAnotherCase", R"(Id="B",Number=2,Other="one way")", nullptr},
    Path{"WithAnotherFormOfANumber", R"(Id="b",Number=02,Other="one way")", nullptr},
    Path{"WithoutAKey", R"(Id="b",Number=2)", nullptr},
    Path{"WithAPropertyThatIsNoKey", R"(Id="b",Number=2,Other="one way",Value=20)", nullptr},
    Path{"WithAKeyTwice", R"(Id="b",ID="b",Number=2,Other="one way")", nullptr},
    Path{"WithAnUnknownKey", R"(Id="b",Number=2,Another="one way")", nullptr},
    Path{"ToAnotherReference", R"(Id="b",Number=2,Other="elsewhere")", nullptr},
    Path{"ToNoReference", R"(Id="b",Number=2,Other="nowhere")", nullptr},
    Path{"OfANullReference", R"(Id="c",Number=3,Other="nowhere")", nullptr},
};

class InstanceStoreFind : public InstanceStoreTest, public testing::WithParamInterface<Path>
{
};

TEST_P(InstanceStoreFind, Path_namesOneInstanceOrNone)
{
    m_store.show({{"a", 1, &m_other}, {"b", 2, &m_other}, {"c", 3, nullptr}});
    m_resolver.instances = {{"one way", &m_other}, {"another way", &m_other}, {"elsewhere", &m_third}};
    const auto* found = m_store.find(core::CimPath(std::string("Class.") + GetParam().keys), m_resolver);
    EXPECT_EQ(found == nullptr ? "none" : found->id, GetParam().id == nullptr ? "none" : GetParam().id);
}

INSTANTIATE_TEST_SUITE_P(Paths, InstanceStoreFind, testing::ValuesIn(PATHS),
                         [](const auto& row) { return row.param.name; });

TEST_F(InstanceStoreTest, Find_resolvesAReferenceOnce)
{
    m_store.show({{"a", 1, &m_third}, {"a", 1, &m_third}, {"a", 1, &m_third}});
    m_resolver.instances["it"] = &m_other;
    m_store.find(core::CimPath("Class.Id=\"a\",Number=1,Other=\"it\""), m_resolver);
    EXPECT_EQ(m_resolver.calls, 1);
}

TEST_F(InstanceStoreTest, PutRules_areTheColumns)
{
    EXPECT_EQ(m_store.putRule(0), broker::PutRule::READ_ONLY);
    EXPECT_EQ(m_store.putRule(3), broker::PutRule::READ_ONLY);
}

}  // namespace
