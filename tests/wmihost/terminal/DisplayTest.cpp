#include "wmihost/terminal/Display.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

class DisplayTest : public testing::Test
{
protected:
    std::string shown(const wchar_t* property, const Variant& value) const
    {
        return displayText(*classIn(repository, L"A")->findProperty(property), value.get());
    }

    const ClassRepository repository = compiled(R"(
        class A
        {
            [ValueMap{"2", "3"}, Values{"Enabled", "Disabled"}] uint16 State;
            [ValueMap{"2", "3"}, Values{"Enabled", "Disabled"}] uint16 States[];
            [Units("Bits per Second")] uint64 Speed;
            boolean Flag; datetime Time; A ref Link; string Text; uint32 Number; string Texts[];
        };)");
};

TEST_F(DisplayTest, Value_hasTheWordOfItsMap)
{
    EXPECT_EQ(shown(L"State", Variant::ofLong(2)), "Enabled");
    EXPECT_EQ(shown(L"State", Variant::ofLong(9)), "9");
    EXPECT_EQ(shown(L"States", Variant::ofArray(VT_I4, {Variant::ofLong(3), Variant::ofLong(7)})), "Disabled, 7");
}

TEST_F(DisplayTest, Value_isSpelledForPeople)
{
    EXPECT_EQ(shown(L"Speed", Variant::ofText(L"10000000000")), "10 Gbit/s");
    EXPECT_EQ(shown(L"Speed", Variant::ofText(L"0")), "0 bit/s");
    EXPECT_EQ(shown(L"Flag", Variant::ofBool(true)), "yes");
    EXPECT_EQ(shown(L"Flag", Variant::ofBool(false)), "no");
    EXPECT_EQ(shown(L"Time", Variant::ofText(L"20261121094145.000000+000")), "2026-11-21 09:41:45 UTC");
    EXPECT_EQ(shown(L"Time", Variant::ofText(L"20261121094145.000000-060")), "2026-11-21 09:41:45 -060 min");
    EXPECT_EQ(shown(L"Time", Variant::ofText(L"00000001010203.000000:000")), "1 d 01:02:03");
    EXPECT_EQ(shown(L"Time", Variant::ofText(L"00000000010203.000000:000")), "01:02:03");
    EXPECT_EQ(shown(L"Link", Variant::ofText(L"\\\\H\\root\\test:A.k=\"x:y\"")), "A.k=\"x:y\"");
    EXPECT_EQ(shown(L"Link", Variant::ofText(L"A.k=\"x:y\"")), "A.k=\"x:y\"");
    EXPECT_EQ(shown(L"Number", Variant::ofLong(-1)), "4294967295");
    EXPECT_EQ(shown(L"Texts", Variant::ofTexts({L"a", L"b"})), "a, b");
    EXPECT_EQ(shown(L"Text", Variant()), "");
}

TEST_F(DisplayTest, Numbers_standToTheRight)
{
    const ClassPointer definition = classIn(repository, L"A");
    EXPECT_TRUE(isNumber(*definition->findProperty(L"Number")));
    EXPECT_TRUE(isNumber(*definition->findProperty(L"Speed")));
    EXPECT_FALSE(isNumber(*definition->findProperty(L"State")));
    EXPECT_FALSE(isNumber(*definition->findProperty(L"States")));
    EXPECT_FALSE(isNumber(*definition->findProperty(L"Text")));
}

TEST(Display, Rate_isShortened)
{
    EXPECT_EQ(rateText(0, "B/s"), "0 B/s");
    EXPECT_EQ(rateText(999, "B/s"), "999 B/s");
    EXPECT_EQ(rateText(1500, "B/s"), "1.5 kB/s");
    EXPECT_EQ(rateText(2.5e9, "bit/s"), "2.5 Gbit/s");
}

}  // namespace
}  // namespace wmihost
