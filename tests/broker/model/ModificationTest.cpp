#include "broker/model/Modification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "Utils/Exception.h"
#include "broker/ArgumentList.h"
#include "broker/Fakes.h"
#include "broker/Properties.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

    template <class Property, class Value>
    void put(const char* name, Value value)
    {
        auto* property = new Property(name);
        m_values->add(property);
        property->setValue(std::move(value));
    }

    template <class Property>
    void putNull(const char* name)
    {
        m_values->add(new Property(name));
    }

    const broker::InstanceStore::Record& record() const { return m_store.records()[0]; }

    std::string value(const char* name) const { return support::value(*record().instance, name); }

    // The exception of the put as text, or "done".
    std::string modify()
    {
        try {
            broker::modify(m_store, record(), m_values, *this, m_settings);
            return "done";
        } catch (const std::exception& exception) {
            return exception.what();
        }
    }

    template <class Property, class Value>
    std::string putAlone(const char* name, Value value)
    {
        m_values.startAnew();
        put<Property>(name, value);
        return modify();
    }

    bool holdSame(const core::CimProperty& left, const core::CimProperty& right)
    {
        return broker::holdSame(left, right, *this);
    }

    core::CimInstance* resolve(const std::string& path) override
    {
        return path == "the other" ? &m_other : path == "another" ? &m_another : nullptr;
    }

    core::CimInstance m_other{"Other"};
    core::CimInstance m_another{"Other"};
    Row m_row;
    broker::DescribedStore<Row> m_store{description};
    support::ArgumentList m_values;
    fakes::Storage m_storage;
    broker::SettingsStore m_settings{m_storage};
};

TEST_F(Modification, SameValues_areNoChange)
{
    put<core::CimPropertyString>("Id", std::string("x"));
    put<core::CimPropertyUint8>("Number8", std::uint8_t{8});
    put<core::CimPropertyUint16>("Number16", std::uint16_t{16});
    put<core::CimPropertyUint16_arr>("Numbers16", std::vector<std::uint16_t>{1, 2});
    put<core::CimPropertyUint32>("Number32", 32U);
    put<core::CimPropertyUint32_arr>("Numbers32", std::vector<std::uint32_t>{3, 4});
    put<core::CimPropertyUint64>("Number64", std::uint64_t{64});
    put<core::CimPropertyString>("Text", std::string("text"));
    put<core::CimPropertyString_arr>("Texts", std::vector<std::string>{"a", "b"});
    put<core::CimPropertyBool>("Truth", true);
    put<core::CimPropertyDatetime>("Time", utils::Time::timestamp(5'000'000));
    put<core::CimPropertyRef>("Other", std::string("the other"));
    put<core::CimPropertyUint16>("WritableNumber", std::uint16_t{1});
    put<core::CimPropertyString>("WritableText", std::string("one"));
    putNull<core::CimPropertyString>("Unset");
    EXPECT_EQ(modify(), "done");
    EXPECT_EQ(m_storage.changes, 0);
}

TEST_F(Modification, Changes_areStoredAndShown)
{
    put<core::CimPropertyUint16>("WritableNumber", std::uint16_t{2});
    put<core::CimPropertyString>("writabletext", std::string("two"));
    put<core::CimPropertyString>("Unset", std::string("set"));
    EXPECT_EQ(modify(), "done");
    EXPECT_THAT(m_storage.values("Key of x"), ElementsAre("Setting=Unset=set;WritableNumber=2;WritableText=two"));
    EXPECT_EQ(value("WritableNumber"), "2");
    EXPECT_EQ(value("WritableText"), "two");
    EXPECT_EQ(value("Unset"), "set");
}

TEST_F(Modification, ReadOnlyProperty_ofAnyType_isForbidden)
{
    const auto refusal = [](const std::string& name) {
        return "DRAVEv2: EForbidden:Modyfying of " + name + " property is not allowed";
    };
    EXPECT_EQ(putAlone<core::CimPropertyUint8>("Number8", std::uint8_t{9}), refusal("Number8"));
    EXPECT_EQ(putAlone<core::CimPropertyUint16>("Number16", std::uint16_t{9}), refusal("Number16"));
    EXPECT_EQ(putAlone<core::CimPropertyUint64>("Number64", std::uint64_t{9}), refusal("Number64"));
    EXPECT_EQ(putAlone<core::CimPropertyString>("Text", std::string("other")), refusal("Text"));
    EXPECT_EQ(putAlone<core::CimPropertyUint16_arr>("Numbers16", std::vector<std::uint16_t>{2, 1}),
              refusal("Numbers16"));
    EXPECT_EQ(putAlone<core::CimPropertyUint32_arr>("Numbers32", std::vector<std::uint32_t>{3}), refusal("Numbers32"));
    EXPECT_EQ(putAlone<core::CimPropertyString_arr>("Texts", std::vector<std::string>{}), refusal("Texts"));
    EXPECT_EQ(putAlone<core::CimPropertyBool>("Truth", false), refusal("Truth"));
    EXPECT_EQ(putAlone<core::CimPropertyDatetime>("Time", utils::Time::timestamp(6'000'000)), refusal("Time"));
    EXPECT_EQ(putAlone<core::CimPropertyRef>("Other", std::string("another")), refusal("Other"));
    EXPECT_EQ(putAlone<core::CimPropertyUint32>("Number32", 9U), "DRAVEv2: EForbidden:Unsupported type: 8");
    EXPECT_EQ(m_storage.changes, 0);
}

TEST_F(Modification, NullOverReadOnlyValue_isForbidden)
{
    putNull<core::CimPropertyString>("Text");
    EXPECT_EQ(modify(), "DRAVEv2: EForbidden:Modyfying of Text property is not allowed");
}

TEST_F(Modification, NullOverWritableValue_isInvalid)
{
    putNull<core::CimPropertyString>("WritableText");
    EXPECT_EQ(modify(), "DRAVEv2: EInvalidParameter:Property WritableText cannot be a NULL");
}

TEST_F(Modification, AnotherType_isForbidden)
{
    EXPECT_EQ(putAlone<core::CimPropertyUint8>("WritableNumber", std::uint8_t{1}),
              "DRAVEv2: EForbidden:Property type 4 doesn't support assigning value from property type 0");
}

TEST_F(Modification, ValueOutOfRange_changesNothing)
{
    put<core::CimPropertyString>("WritableText", std::string("two"));
    put<core::CimPropertyUint16>("WritableNumber", std::uint16_t{3});
    EXPECT_EQ(modify(), "DRAVEv2: EInvalidParameter:Value of WritableNumber property has to be from 0 to 2");
    EXPECT_EQ(value("WritableText"), "one");
    EXPECT_EQ(m_storage.changes, 0);
}

TEST_F(Modification, ForbiddenProperty_changesNothing)
{
    put<core::CimPropertyString>("WritableText", std::string("two"));
    put<core::CimPropertyString>("Text", std::string("other"));
    EXPECT_EQ(modify(), "DRAVEv2: EForbidden:Modyfying of Text property is not allowed");
    EXPECT_EQ(value("WritableText"), "one");
    EXPECT_THAT(m_storage.values("Key of x"), IsEmpty());
}

TEST_F(Modification, UnknownProperty_withAValue_isInvalid)
{
    putNull<core::CimPropertyString>("Nothing");
    EXPECT_EQ(modify(), "done");
    EXPECT_EQ(putAlone<core::CimPropertyString>("Nothing", std::string("x")),
              "DRAVEv2: EInvalidParameter:Unknown property Nothing");
}

TEST_F(Modification, VolatileValue_isIgnored)
{
    EXPECT_EQ(putAlone<core::CimPropertyUint64>("Counter", std::uint64_t{77}), "done");
    EXPECT_EQ(value("Counter"), "1");
}

TEST_F(Modification, VolatileValue_ofAnotherType_isRefused)
{
    EXPECT_EQ(putAlone<core::CimPropertyString>("Counter", std::string("many")),
              "DRAVEv2: EForbidden:Modyfying of Counter property is not allowed");
    EXPECT_EQ(value("Counter"), "1");
}

TEST_F(Modification, FailedStore_changesNothing)
{
    m_storage.firstFailing = 1;
    m_storage.lastFailing = 2;
    put<core::CimPropertyUint16>("WritableNumber", std::uint16_t{2});
    put<core::CimPropertyString>("WritableText", std::string("two"));
    EXPECT_EQ(modify(), "DRAVEv2: Setting Key of x could not be stored");
    EXPECT_EQ(value("WritableNumber"), "1");
    EXPECT_EQ(value("WritableText"), "one");
    EXPECT_THAT(m_storage.values("Key of x"), IsEmpty());
    m_storage.failure = broker::StoreResult::ACCESS_DENIED;
    EXPECT_EQ(modify(), "DRAVEv2: EForbidden:Setting Key of x could not be stored: access denied");
}

// A property with the value, or with null.
template <class Property>
struct Made : Property
{
    template <class... Value>
    explicit Made(Value... value) : Property("Any")
    {
        (this->setValue(value), ...);
    }
};

TEST_F(Modification, NullAndEmptyTexts_areTheSame)
{
    using Texts = core::CimPropertyString_arr;
    const std::vector<std::string> none;
    const std::vector<std::string> one{""};
    EXPECT_TRUE(holdSame(Made<Texts>(), Made<Texts>(none)));
    EXPECT_TRUE(holdSame(Made<Texts>(none), Made<Texts>()));
    EXPECT_TRUE(holdSame(Made<Texts>(), Made<Texts>()));
    EXPECT_FALSE(holdSame(Made<Texts>(), Made<Texts>(one)));
    EXPECT_FALSE(holdSame(Made<Texts>(one), Made<Texts>(none)));
    EXPECT_FALSE(holdSame(Made<Texts>(), Made<core::CimPropertyUint16_arr>()));
}

TEST_F(Modification, NullAndEmptyNumbers_differ)
{
    using Numbers = core::CimPropertyUint16_arr;
    EXPECT_FALSE(holdSame(Made<Numbers>(), Made<Numbers>(std::vector<std::uint16_t>())));
}

TEST_F(Modification, Nulls_ofTwoTypes_differ)
{
    EXPECT_FALSE(holdSame(Made<core::CimPropertyUint8>(), Made<core::CimPropertyUint16>()));
    EXPECT_TRUE(holdSame(Made<core::CimPropertyUint8>(), Made<core::CimPropertyUint8>()));
}

TEST_F(Modification, Datetimes_areComparedToTheSecond)
{
    const auto five = Made<core::CimPropertyDatetime>(utils::Time::timestamp(5'000'000));
    EXPECT_TRUE(holdSame(five, Made<core::CimPropertyDatetime>(utils::Time::timestamp(5'999'999))));
    EXPECT_FALSE(holdSame(five, Made<core::CimPropertyDatetime>(utils::Time::timestamp(6'000'000))));
    EXPECT_FALSE(holdSame(five, Made<core::CimPropertyDatetime>(utils::Time::period(5'000'000))));
}

TEST_F(Modification, References_areComparedByTheirTargets)
{
    using Reference = core::CimPropertyRef;
    const auto toOther = Made<Reference>(&m_other);
    EXPECT_TRUE(holdSame(toOther, Made<Reference>(std::string("the other"))));
    EXPECT_FALSE(holdSame(toOther, Made<Reference>(std::string("another"))));
    EXPECT_FALSE(holdSame(toOther, Made<Reference>(std::string("nothing"))));
    const auto toNothing = Made<Reference>(static_cast<core::CimInstance*>(nullptr));
    EXPECT_FALSE(holdSame(toNothing, Made<Reference>(std::string("nothing"))));
}

}  // namespace
