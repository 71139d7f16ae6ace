#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::describe;
using support::Lines;
using support::refusalOf;

constexpr long SYSTEM = WBEM_FLAVOR_ORIGIN_SYSTEM;

class PropertyExtractionTest : public WmiTest
{
protected:
    ~PropertyExtractionTest() override
    {
        EXPECT_EQ(object.references(), 0);
        EXPECT_EQ(classObject.references(), 0);
        EXPECT_EQ(signature.references(), 0);
        EXPECT_EQ(signature.spawnedReferences(), 0);
    }

    void SetUp() override
    {
        properties.setOwnsElements(true);
        wmiNamespace.classes["Zerix_X"] = &classObject;
        classObject.methods["Run"] = &signature;
    }

    support::FakeClassObject object{calls, "object"};
    support::FakeClassObject classObject{calls, "Zerix_X"};
    support::FakeClassObject signature{calls, "Run.out"};
    core::CimPropertyList properties;
    wa::WmiConverter converter;
};

const Lines WALKED{"object.BeginEnumeration(0x4)", "object.EndEnumeration()", "object.BeginEnumeration(0x40)",
                   "object.EndEnumeration()"};

TEST_F(PropertyExtractionTest, SystemAndOtherTypes_areNotTaken)
{
    object.add("__KEY", samples::bstr("k"), CIM_STRING, SYSTEM | 1, true);
    object.add("__GENUS", samples::i4(2), CIM_UINT16, SYSTEM | 1);
    object.add("Name", samples::bstr("a"), CIM_STRING, WBEM_FLAVOR_ORIGIN_PROPAGATED);
    for (const CIMTYPE type :
         {CIM_SINT8, CIM_SINT16, CIM_SINT32, CIM_SINT64, CIM_REAL32, CIM_REAL64, CIM_CHAR16, CIM_OBJECT, CIM_ILLEGAL})
    {
        object.add("Other", samples::null(), type);
    }
    for (const CIMTYPE elements : {CIM_UINT8, CIM_UINT64, CIM_BOOLEAN, CIM_DATETIME, CIM_REFERENCE}) {
        object.add("Others", samples::null(), elements | CIM_FLAG_ARRAY);
    }
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "Name = string 'a'");
}

TEST_F(PropertyExtractionTest, UnreadKeys_areTakenLikeTheRest)
{
    object.add("InstanceID", samples::bstr("i"), CIM_STRING, 0, true);
    object.beginKeysStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "InstanceID = string 'i'");
    EXPECT_EQ(calls.take(),
              (Lines{"object.BeginEnumeration(0x4)", "object.BeginEnumeration(0x40)", "object.EndEnumeration()"}));
}

TEST_F(PropertyExtractionTest, Walk_endsAtAnyStatusButZero)
{
    object.add("Name", samples::bstr("a"), CIM_STRING);
    object.beginStatus = 1;
    for (const HRESULT end : {HRESULT{1}, static_cast<HRESULT>(WBEM_E_UNEXPECTED), HRESULT{WBEM_S_NO_MORE_DATA}}) {
        object.endOfEnumeration = end;
        core::CimPropertyList list;
        list.setOwnsElements(true);
        converter.extractProperties(list, &object);
        EXPECT_EQ(describe(list), "Name = string 'a'");
        EXPECT_EQ(calls.take(), WALKED);
    }
}

TEST_F(PropertyExtractionTest, ImpossibleValue_endsTheEnumeration)
{
    object.add("Before", samples::bstr("a"), CIM_STRING);
    object.add("Wrong", samples::bstr("not a number"), CIM_UINT16);
    EXPECT_EQ(refusalOf([&] { converter.extractProperties(properties, &object); }),
              "variant->vt == VT_I4 || variant->vt == VT_NULL");
    EXPECT_EQ(describe(properties), "Before = string 'a'");
    EXPECT_EQ(calls.take(), WALKED);
}

TEST_F(PropertyExtractionTest, Results_includeKeysAndSystemProperties)
{
    signature.add("Done", samples::null(), CIM_BOOLEAN);
    signature.add("Signed", samples::null(), CIM_SINT32);
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Key", samples::bstr("k"), CIM_STRING, 0, true);
    signature.add("__SYSTEM", samples::i4(7), CIM_UINT16, SYSTEM);
    converter.createResultsList("Zerix_X", "Run", &wmiNamespace, &context, properties);
    EXPECT_EQ(describe(properties), "ReturnValue = uint32 null; Key = string 'k'; __SYSTEM = uint16 7");
}

}  // namespace
