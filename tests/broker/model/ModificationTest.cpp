#include "broker/model/Modification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "Utils/Exception.h"
#include "broker/Fakes.h"
#include "broker/Properties.h"
#include "broker/Sent.h"

namespace {

using support::null;
using support::Sent;
using support::sent;
using testing::ElementsAre;
using testing::IsEmpty;

using String = core::CimPropertyString;
using Strings = core::CimPropertyString_arr;
using Uint8 = core::CimPropertyUint8;
using Uint16 = core::CimPropertyUint16;
using Uint16s = core::CimPropertyUint16_arr;
using Uint32 = core::CimPropertyUint32;
using Uint32s = core::CimPropertyUint32_arr;
using Uint64 = core::CimPropertyUint64;
using Bool = core::CimPropertyBool;
using Datetime = core::CimPropertyDatetime;
using Ref = core::CimPropertyRef;

struct Row
{
    std::string id = "x";
    std::uint8_t number8 = 8;
    std::uint16_t number16 = 16;
    std::vector<std::uint16_t> numbers16{1, 2};
    std::uint32_t number32 = 32;
    std::vector<std::uint32_t> numbers32{3, 4};
    std::uint64_t number64 = 64;
    std::string text = "text";
    std::vector<std::string> texts{"a", "b"};
    bool truth = true;
    utils::Time time = utils::Time::timestamp(5'000'000);
    core::CimInstance* other = nullptr;
    std::uint64_t counter = 1;
    std::uint16_t writableNumber = 1;
    std::string writableText = "one";
    std::optional<std::string> unset;
};

void atMostTwo(core::CimProperty& property)
{
    static broker::RangeListener listener({0, 2});
    property.addListener(&listener);
}

constexpr std::array columns{
    broker::key<&Row::id>("Id"),
    broker::column<&Row::number8>("Number8"),
    broker::column<&Row::number16>("Number16"),
    broker::column<&Row::numbers16>("Numbers16"),
    broker::column<&Row::number32>("Number32"),
    broker::column<&Row::numbers32>("Numbers32"),
    broker::column<&Row::number64>("Number64"),
    broker::column<&Row::text>("Text"),
    broker::column<&Row::texts>("Texts"),
    broker::column<&Row::truth>("Truth"),
    broker::column<&Row::time>("Time"),
    broker::column<&Row::other>("Other"),
    broker::column<&Row::counter>("Counter", broker::PutRule::VOLATILE),
    broker::writable<&Row::writableNumber>("WritableNumber", &atMostTwo),
    broker::writable<&Row::writableText>("WritableText", nullptr),
    broker::writable<&Row::unset>("Unset", nullptr),
};

const broker::ClassDescription<Row> description{.name = "Class",
                                                .columns = columns,
                                                .id = [](const Row& row) { return row.id; },
                                                .rows = nullptr,
                                                .storageKey = [](const std::string& id) { return "Key of " + id; }};

class Modification : public testing::Test, public broker::ReferenceResolver
{
protected:
    Modification()
    {
        m_row.other = &m_other;
        m_store.show({m_row});
    }

    const broker::InstanceStore::Record& record() const { return m_store.records()[0]; }

    std::string value(const char* name) const { return support::value(*record().instance, name); }

    // The exception of a put of these values as text, or "done".
    std::string modify(const std::vector<Sent>& puts)
    {
        core::CimPropertyList values;
        support::add(values, puts);
        try {
            broker::modify(m_store, record(), values, *this, m_settings);
            return "done";
        } catch (const std::exception& exception) {
            return exception.what();
        }
    }

    core::CimInstance* resolve(const std::string& path) override
    {
        return path == "the other" ? &m_other : path == "another" ? &m_another : nullptr;
    }

    core::CimInstance m_other{"Other"};
    core::CimInstance m_another{"Other"};
    Row m_row;
    broker::DescribedStore<Row> m_store{description};
    fakes::Storage m_storage;
    broker::SettingsStore m_settings{m_storage};
};

TEST_F(Modification, SameValues_areNoChange)
{
    EXPECT_EQ(
        modify({sent<String>("Id", "x"), sent<Uint8>("Number8", 8), sent<Uint16>("Number16", 16),
                sent<Uint16s>("Numbers16", {1, 2}), sent<Uint32>("Number32", 32), sent<Uint32s>("Numbers32", {3, 4}),
                sent<Uint64>("Number64", 64), sent<String>("Text", "text"), sent<Strings>("Texts", {"a", "b"}),
                sent<Bool>("Truth", true), sent<Datetime>("Time", utils::Time::timestamp(5'999'999)),
                sent<Ref, std::string>("Other", "the other"), sent<Uint16>("WritableNumber", 1),
                sent<String>("WritableText", "one"), null<String>("Unset"), null<String>("Nothing")}),
        "done");
    EXPECT_EQ(m_storage.changes, 0);
}

TEST_F(Modification, Changes_areStoredAndShown)
{
    EXPECT_EQ(
        modify({sent<Uint16>("WritableNumber", 2), sent<String>("writabletext", "two"), sent<String>("Unset", "set")}),
        "done");
    EXPECT_THAT(m_storage.values("Key of x"), ElementsAre("Setting=Unset=set;WritableNumber=2;WritableText=two"));
    EXPECT_EQ(m_storage.changes, 1);
    EXPECT_EQ(value("WritableNumber"), "2");
    EXPECT_EQ(value("WritableText"), "two");
    EXPECT_EQ(value("Unset"), "set");
}

TEST_F(Modification, ReadOnlyProperty_ofAnyType_isForbidden)
{
    for (const Sent& put : {sent<Uint8>("Number8", 9), sent<Uint16>("Number16", 9), sent<Uint64>("Number64", 9),
                            sent<String>("Text", "other"), null<String>("Text"), sent<Uint16s>("Numbers16", {2, 1}),
                            sent<Uint32s>("Numbers32", {3}), sent<Strings>("Texts", {}), sent<Bool>("Truth", false),
                            sent<Datetime>("Time", utils::Time::timestamp(6'000'000)),
                            sent<Datetime>("Time", utils::Time::period(5'000'000)),
                            sent<Ref, std::string>("Other", "another"), sent<Ref, std::string>("Other", "nothing"),
                            // A volatile value of another type.
                            sent<String>("Counter", "many")})
    {
        EXPECT_EQ(modify({put}), "DRAVEv2: EForbidden:Modyfying of " + put->getName() + " property is not allowed");
    }
    EXPECT_EQ(modify({sent<Uint32>("Number32", 9)}), "DRAVEv2: EForbidden:Unsupported type: 8");
    EXPECT_EQ(m_storage.changes, 0);
}

TEST_F(Modification, Refusal_changesNothing)
{
    const Sent good = sent<String>("WritableText", "two");
    EXPECT_EQ(modify({good, sent<Uint16>("WritableNumber", 3)}),
              "DRAVEv2: EInvalidParameter:Value of WritableNumber property has to be from 0 to 2");
    EXPECT_EQ(modify({good, sent<String>("Text", "other")}),
              "DRAVEv2: EForbidden:Modyfying of Text property is not allowed");
    EXPECT_EQ(modify({good, sent<String>("Nothing", "x")}), "DRAVEv2: EInvalidParameter:Unknown property Nothing");
    EXPECT_EQ(modify({null<String>("WritableText")}),
              "DRAVEv2: EInvalidParameter:Property WritableText cannot be a NULL");
    EXPECT_EQ(modify({sent<Uint8>("WritableNumber", 1)}),
              "DRAVEv2: EForbidden:Property type 4 doesn't support assigning value from property type 0");
    m_storage.firstFailing = m_storage.lastFailing = 1;
    EXPECT_EQ(modify({good, sent<Uint16>("WritableNumber", 2)}), "DRAVEv2: Setting Key of x could not be stored");
    EXPECT_EQ(value("WritableNumber"), "1");
    EXPECT_EQ(value("WritableText"), "one");
    EXPECT_THAT(m_storage.values("Key of x"), IsEmpty());
}

TEST_F(Modification, VolatileValue_isIgnored)
{
    EXPECT_EQ(modify({sent<Uint64>("Counter", 77)}), "done");
    EXPECT_EQ(value("Counter"), "1");
}

TEST_F(Modification, EmptyValues_areComparedByType)
{
    struct Pair
    {
        const char* name;
        Sent left;
        Sent right;
        bool areSame;
    };
    for (const Pair& pair :
         {Pair{"null and no texts", null<Strings>("A"), sent<Strings>("A", {}), true},
          Pair{"no texts and null", sent<Strings>("A", {}), null<Strings>("A"), true},
          Pair{"null texts", null<Strings>("A"), null<Strings>("A"), true},
          Pair{"null and an empty text", null<Strings>("A"), sent<Strings>("A", {""}), false},
          Pair{"an empty text and no texts", sent<Strings>("A", {""}), sent<Strings>("A", {}), false},
          Pair{"null texts and null numbers", null<Strings>("A"), null<Uint16s>("A"), false},
          Pair{"null and no numbers", null<Uint16s>("A"), sent<Uint16s>("A", {}), false},
          Pair{"null numbers", null<Uint8>("A"), null<Uint8>("A"), true},
          Pair{"null numbers of two types", null<Uint8>("A"), null<Uint16>("A"), false},
          Pair{"two references to nothing", sent<Ref>("A", nullptr), sent<Ref, std::string>("A", "-"), false}})
    {
        EXPECT_EQ(broker::holdSame(*pair.left, *pair.right, *this), pair.areSame) << pair.name;
    }
}

}  // namespace
