#include "Os/Windows/ComScope.h"
#include "Utils/Exception.h"
#include "adapters/wmi/WmiConverter.h"
#include "support/Samples.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::assertionText;
using support::debugLine;
using support::describe;
using support::errorLine;
using support::Lines;
using support::thrownBy;
using support::withoutLine;

constexpr const char* EXTRACT = "wa::WmiConverter::extractProperties";
constexpr const char* RESULTS = "wa::WmiConverter::createResultsList";
constexpr const char* TEXT = "wa::StringPropertyConverter::variantToProperty";
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
        log.clear();
    }

    void createResultsList() { converter.createResultsList("Zerix_X", "Run", &wmiNamespace, &context, properties); }

    support::FakeClassObject object{calls, "object"};
    support::FakeClassObject classObject{calls, "Zerix_X"};
    support::FakeClassObject signature{calls, "Run.out"};
    core::CimPropertyList properties;
    wa::WmiConverter converter;
};

const Lines WALKED{"object.BeginEnumeration(0x4)", "object.EndEnumeration()", "object.BeginEnumeration(0x40)",
                   "object.EndEnumeration()"};

TEST_F(PropertyExtractionTest, EachWmiTypeGoesThroughItsConverter)
{
    object.add("String", samples::bstr("a"), CIM_STRING);
    object.add("Strings", samples::null(), CIM_STRING | CIM_FLAG_ARRAY);
    object.add("Uint8", samples::null(), CIM_UINT8);
    object.add("Uint16", samples::i4(70000), CIM_UINT16);
    object.add("Uint16s", samples::null(), CIM_UINT16 | CIM_FLAG_ARRAY);
    object.add("Uint32", samples::i4(-1), CIM_UINT32);
    object.add("Uint64", samples::bstr("12"), CIM_UINT64);
    object.add("Ref", samples::bstr("C.k=1"), CIM_REFERENCE);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties),
              "String = string 'a'; Strings = string[] null; Uint8 = uint8 null; Uint16 = uint16 4464; "
              "Uint16s = uint16[] null; Uint32 = uint32 4294967295; Uint64 = uint64 12; Ref = ref to 'C.k=1'");
    EXPECT_EQ(calls.take(), WALKED);
}

TEST_F(PropertyExtractionTest, BooleanDatetimeAndThirtyTwoBitArraysCannotBeTakenAndTheRestIs)
{
    object.add("Bool", samples::null(), CIM_BOOLEAN);
    object.add("Datetime", samples::bstr("19700101000000.000000+000"), CIM_DATETIME);
    object.add("Uint32s", samples::null(), CIM_UINT32 | CIM_FLAG_ARRAY);
    object.add("Name", samples::bstr("a"), CIM_STRING);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "Name = string 'a'");
    EXPECT_EQ(
        takeMessages(),
        (Lines{debugLine(EXTRACT, "Converting property Bool, 11"), errorLine(EXTRACT, "Property convert error"),
               debugLine(EXTRACT, "Converting property Datetime, 101"), errorLine(EXTRACT, "Property convert error"),
               debugLine(EXTRACT, "Converting property Uint32s, 8211"), errorLine(EXTRACT, "Property convert error"),
               debugLine(EXTRACT, "Converting property Name, 8"), debugLine(TEXT, "Property Name value is 'a'")}));
}

TEST_F(PropertyExtractionTest, ATypeWithoutAConverterIsSkippedAndTheRestIsApplied)
{
    object.add("Signed", samples::i4(1), CIM_SINT32);
    object.add("Name", samples::bstr("a"), CIM_STRING);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "Name = string 'a'");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(EXTRACT, "Converting property Signed, 3"),
                                     errorLine(EXTRACT, "No converter for property type 3"),
                                     debugLine(EXTRACT, "Converting property Name, 8"),
                                     debugLine(TEXT, "Property Name value is 'a'")}));
}

TEST_F(PropertyExtractionTest, NoOtherWmiTypeHasAConverter)
{
    const std::vector<CIMTYPE> others{CIM_SINT8,
                                      CIM_SINT16,
                                      CIM_SINT32,
                                      CIM_SINT64,
                                      CIM_REAL32,
                                      CIM_REAL64,
                                      CIM_CHAR16,
                                      CIM_OBJECT,
                                      CIM_UINT8 | CIM_FLAG_ARRAY,
                                      CIM_UINT64 | CIM_FLAG_ARRAY,
                                      CIM_BOOLEAN | CIM_FLAG_ARRAY,
                                      CIM_DATETIME | CIM_FLAG_ARRAY,
                                      CIM_REFERENCE | CIM_FLAG_ARRAY,
                                      CIM_ILLEGAL};
    Lines expected;
    for (const CIMTYPE type : others) {
        object.add("Other", samples::null(), type);
        expected.push_back(debugLine(EXTRACT, "Converting property Other, " + std::to_string(type)));
        expected.push_back(errorLine(EXTRACT, "No converter for property type " + std::to_string(type)));
    }
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "");
    EXPECT_EQ(takeMessages(), expected);
}

TEST_F(PropertyExtractionTest, KeysAndSystemPropertiesStayOutAndTheKeyTestComesFirst)
{
    object.add("InstanceID", samples::bstr("i"), CIM_STRING, 0, true);
    object.add("__GENUS", samples::i4(2), CIM_SINT32, SYSTEM);
    object.add("__KEY", samples::bstr("k"), CIM_STRING, SYSTEM | 1, true);
    object.add("Name", samples::bstr("a"), CIM_STRING, WBEM_FLAVOR_ORIGIN_PROPAGATED);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "Name = string 'a'");
    EXPECT_EQ(
        takeMessages(),
        (Lines{debugLine(EXTRACT, "Converting property InstanceID, 8"), debugLine(EXTRACT, "Ignoring key property"),
               debugLine(EXTRACT, "Converting property __GENUS, 3"), debugLine(EXTRACT, "This is system property"),
               debugLine(EXTRACT, "Converting property __KEY, 8"), debugLine(EXTRACT, "Ignoring key property"),
               debugLine(EXTRACT, "Converting property Name, 8"), debugLine(TEXT, "Property Name value is 'a'")}));
}

TEST_F(PropertyExtractionTest, KeysThatCannotBeEnumeratedAreTakenLikeTheRest)
{
    object.add("InstanceID", samples::bstr("i"), CIM_STRING, 0, true);
    object.beginKeysStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "InstanceID = string 'i'");
    EXPECT_EQ(calls.take(),
              (Lines{"object.BeginEnumeration(0x4)", "object.BeginEnumeration(0x40)", "object.EndEnumeration()"}));
}

TEST_F(PropertyExtractionTest, AnObjectThatCannotBeEnumeratedLeavesTheListUnchanged)
{
    object.add("Name", samples::bstr("a"), CIM_STRING);
    object.beginStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "");
    EXPECT_EQ(calls.take(),
              (Lines{"object.BeginEnumeration(0x4)", "object.EndEnumeration()", "object.BeginEnumeration(0x40)"}));
    EXPECT_EQ(takeMessages(), Lines{debugLine(EXTRACT, "Problem with properties enumeration 80041001")});
}

TEST_F(PropertyExtractionTest, AnEnumerationThatBeginsWithASuccessCodeIsWalked)
{
    object.add("Name", samples::bstr("a"), CIM_STRING);
    object.beginStatus = 1;
    converter.extractProperties(properties, &object);
    EXPECT_EQ(describe(properties), "Name = string 'a'");
    EXPECT_EQ(calls.take(), WALKED);
}

TEST_F(PropertyExtractionTest, TheWalkEndsWithAnyAnswerButZero)
{
    object.add("Name", samples::bstr("a"), CIM_STRING);
    for (const HRESULT end : {HRESULT{1}, static_cast<HRESULT>(WBEM_E_UNEXPECTED), HRESULT{WBEM_S_NO_MORE_DATA}}) {
        object.endOfEnumeration = end;
        core::CimPropertyList list;
        list.setOwnsElements(true);
        converter.extractProperties(list, &object);
        EXPECT_EQ(describe(list), "Name = string 'a'");
        EXPECT_EQ(calls.take(), WALKED);
    }
}

TEST_F(PropertyExtractionTest, AValueOfAnImpossibleTypeThrowsAndTheEnumerationIsEnded)
{
    object.add("Before", samples::bstr("a"), CIM_STRING);
    object.add("Wrong", samples::bstr("not a number"), CIM_UINT16);
    EXPECT_EQ(withoutLine(thrownBy([&] { converter.extractProperties(properties, &object); })),
              assertionText("variant->vt == VT_I4 || variant->vt == VT_NULL"));
    EXPECT_EQ(describe(properties), "Before = string 'a'");
    EXPECT_EQ(calls.take(), WALKED);
}

TEST_F(PropertyExtractionTest, AResultsListHasAnEntryPerOutputParameterKeysAndSystemPropertiesIncluded)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.add("Key", samples::bstr("k"), CIM_STRING, 0, true);
    signature.add("__SYSTEM", samples::i4(7), CIM_UINT16, SYSTEM);
    createResultsList();
    EXPECT_EQ(describe(properties), "ReturnValue = uint32 null; Key = string 'k'; __SYSTEM = uint16 7");
    EXPECT_EQ(calls.take(),
              (Lines{"namespace.GetObject(Zerix_X, 0, context, out, null)", "Zerix_X.GetMethod(Run, 0, null, out)",
                     "Run.out.SpawnInstance(0)", "Run.out#1.BeginEnumeration(0x40)", "Run.out#1.EndEnumeration()",
                     "Run.out#1 released", "Run.out released", "Zerix_X released"}));
    EXPECT_EQ(takeMessages(),
              (Lines{debugLine(RESULTS, "Here"), debugLine(RESULTS, "Get object for Zerix_X"),
                     debugLine(RESULTS, "Get method Run"), debugLine(RESULTS, "Obtaining property ReturnValue, 19"),
                     debugLine("wa::Uint32PropertyConverter::variantToProperty", "Property ReturnValue value is NULL"),
                     debugLine(RESULTS, "Obtaining property Key, 8"), debugLine(TEXT, "Property Key value is 'k'"),
                     debugLine(RESULTS, "Obtaining property __SYSTEM, 18"),
                     debugLine("wa::Uint16PropertyConverter::variantToProperty", "Property __SYSTEM value is '7'")}));
}

TEST_F(PropertyExtractionTest, AnOutputParameterThatCannotBeTakenHasNoEntry)
{
    signature.add("Done", samples::null(), CIM_BOOLEAN);
    signature.add("Signed", samples::null(), CIM_SINT32);
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    createResultsList();
    EXPECT_EQ(describe(properties), "ReturnValue = uint32 null");
    EXPECT_EQ(
        takeMessages(),
        (Lines{debugLine(RESULTS, "Here"), debugLine(RESULTS, "Get object for Zerix_X"),
               debugLine(RESULTS, "Get method Run"), debugLine(RESULTS, "Obtaining property Done, 11"),
               errorLine(RESULTS, "Property convert error"), debugLine(RESULTS, "Obtaining property Signed, 3"),
               errorLine(RESULTS, "No converter for property type 3"),
               debugLine(RESULTS, "Obtaining property ReturnValue, 19"),
               debugLine("wa::Uint32PropertyConverter::variantToProperty", "Property ReturnValue value is NULL")}));
}

TEST_F(PropertyExtractionTest, AResultsListStaysEmptyWhereTheClassIsNotGiven)
{
    wmiNamespace.classes.clear();
    createResultsList();
    EXPECT_EQ(describe(properties), "");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(RESULTS, "Here"), debugLine(RESULTS, "Get object for Zerix_X"),
                                     errorLine(RESULTS, "pNamespace->GetObject() error 0x80041002")}));
}

TEST_F(PropertyExtractionTest, AResultsListStaysEmptyWhereTheOutputCannotBeEnumerated)
{
    signature.add("ReturnValue", samples::null(), CIM_UINT32);
    signature.beginStatus = static_cast<HRESULT>(WBEM_E_FAILED);
    createResultsList();
    EXPECT_EQ(describe(properties), "");
    EXPECT_EQ(takeMessages(), (Lines{debugLine(RESULTS, "Here"), debugLine(RESULTS, "Get object for Zerix_X"),
                                     debugLine(RESULTS, "Get method Run"),
                                     debugLine(RESULTS, "Problem with properties enumeration 80041001")}));
}

}  // namespace
