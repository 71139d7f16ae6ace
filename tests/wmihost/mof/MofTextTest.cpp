#include "wmihost/mof/MofText.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

constexpr const char* mof = R"(
class Base { [key] string Name; uint8 Kept = 1; };
[Description("say \"hi\""), Version(3): ToInstance]
class Derived : Base
{
    [read, ValueMap{"1"}] uint16 Numbers[] = {1, 2};
    Base ref Link;
    object:Base Inner;
    [implemented] uint32 Do([in] uint16 Count, [in, out] string Texts[], [out] Base ref Job);
    void Quiet();
};
)";

TEST(MofText, WritesWhatTheClassItselfDeclares)
{
    const ClassRepository repository = compiled(mof);
    EXPECT_EQ(classText(*classIn(repository, L"Derived"), false),
              L"[Description(\"say \\\"hi\\\"\"), Version(3)]\n"
              L"class Derived : Base\n"
              L"{\n"
              L"    [read, ValueMap{\"1\"}] uint16 Numbers[] = {1, 2};\n"
              L"    Base ref Link;\n"
              L"    object:Base Inner;\n"
              L"    [implemented] uint32 Do([in] uint16 Count, [in, out] string Texts[], [out] Base ref Job);\n"
              L"    void Quiet();\n"
              L"};\n");
}

TEST(MofText, WritesFlavorsOnDemand)
{
    const ClassRepository repository = compiled(mof);
    EXPECT_EQ(
        classText(*classIn(repository, L"Base"), true),
        L"class Base\n{\n    [key : DisableOverride ToInstance ToSubclass] string Name;\n    uint8 Kept = 1;\n};\n");
}

TEST(MofText, AnInstanceShowsThePropertiesThatHaveAValue)
{
    const ClassRepository repository = compiled(mof);
    InstanceData data(classIn(repository, L"Derived"));
    data.values[0] = Variant::ofText(L"n");
    EXPECT_EQ(instanceText(*data.definition, data.values),
              L"instance of Derived\n{\n    Name = \"n\";\n    Kept = 1;\n    Numbers = {1, 2};\n};\n");
}

}  // namespace
}  // namespace wmihost
