#include "wmihost/objects/ClassObject.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr const char* MOF = R"(
class Base
{
    [key, Description("the name")] string Name;
    [read] uint16 Inherited = 5;
    uint8 Small = 1;
    [implemented] uint32 Old([in] uint16 Count);
};
[Description("a derived class")]
class Derived : Base
{
    uint8 Small = 2;
    uint32 Number;
    uint64 Large;
    boolean Flag;
    datetime When;
    Base ref Other;
    uint16 List[];
    [implemented] uint32 Start([in] uint16 Count, [in] string Text, [out] Base ref Job);
    void Nothing();
    uint32 OnlyResult();
};
class Keyless
{
    string Text;
};
)";

// The data for every row: the class Derived, an instance of it, and a place for results.
struct Scene
{
    ClassRepository repository = compiled(MOF);
    ComPtr<IWbemClassObject> definition = ClassObject::ofClass(classIn(repository, L"Derived"));
    ComPtr<IWbemClassObject> instance = instanceOf(repository, L"Derived");
    ComPtr<IWbemClassObject> object;
    ComPtr<IWbemClassObject> other;
    ComPtr<IWbemQualifierSet> qualifiers;
    Variant value;
    Bstr text;
    CIMTYPE type = 0;
    LONG flavor = -1;
};

struct Row
{
    const char* call;
    const char* state;
    const char* arguments;
    std::function<HRESULT(Scene&)> run;
    HRESULT expected;
};

void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.call << " | " << row.state << " | " << row.arguments;
}

class ClassObjectTable : public testing::TestWithParam<Row>
{
};

TEST_P(ClassObjectTable, AnswersWithTheDocumentedCode)
{
    Scene scene;
    EXPECT_EQ(GetParam().run(scene), GetParam().expected);
}

constexpr HRESULT OK = code(WBEM_S_NO_ERROR);
constexpr HRESULT INVALID = code(WBEM_E_INVALID_PARAMETER);
constexpr HRESULT NOT_FOUND = code(WBEM_E_NOT_FOUND);
constexpr HRESULT MISMATCH = code(WBEM_E_TYPE_MISMATCH);
constexpr HRESULT UNEXPECTED = code(WBEM_E_UNEXPECTED);
constexpr HRESULT NO_MORE = code(WBEM_S_NO_MORE_DATA);
constexpr HRESULT ILLEGAL = code(WBEM_E_ILLEGAL_OPERATION);
constexpr HRESULT UNSUPPORTED = code(WBEM_E_NOT_SUPPORTED);
constexpr HRESULT READ_ONLY = code(WBEM_E_READ_ONLY);

HRESULT begin(Scene& s, LONG flags)
{
    return s.instance->BeginEnumeration(flags);
}

// clang-format off: a table, read by columns
const std::vector<Row>& rows()
{
    static const std::vector<Row> table{
        {"Get", "instance", "null name",
         [](Scene& s) { return s.instance->Get(nullptr, 0, s.value.put(), nullptr, nullptr); }, INVALID},
        {"Get", "instance", "flags 1",
         [](Scene& s) { return s.instance->Get(L"Name", 1, s.value.put(), nullptr, nullptr); }, INVALID},
        {"Get", "instance", "unknown name",
         [](Scene& s) { return s.instance->Get(L"Nope", 0, s.value.put(), nullptr, nullptr); }, NOT_FOUND},
        {"Get", "instance", "unknown system name",
         [](Scene& s) { return s.instance->Get(L"__NOPE", 0, s.value.put(), nullptr, nullptr); }, NOT_FOUND},
        {"Get", "instance", "no outputs wanted",
         [](Scene& s) { return s.instance->Get(L"Name", 0, nullptr, nullptr, nullptr); }, OK},
        {"Get", "instance", "name in another case",
         [](Scene& s) { return s.instance->Get(L"nAME", 0, s.value.put(), nullptr, nullptr); }, OK},
        {"Put", "instance", "null name", [](Scene& s) { return s.instance->Put(nullptr, 0, s.value.in(), 0); },
         INVALID},
        {"Put", "instance", "flags 1", [](Scene& s) { return s.instance->Put(L"Name", 1, s.value.in(), 0); }, INVALID},
        {"Put", "instance", "unknown property", [](Scene& s) { return put(s.instance, L"Nope", Variant::ofLong(1)); },
         NOT_FOUND},
        {"Put", "instance", "a type is given",
         [](Scene& s) { return s.instance->Put(L"Number", 0, Variant::ofLong(1).in(), CIM_UINT32); }, INVALID},
        {"Put", "instance", "system property",
         [](Scene& s) { return put(s.instance, L"__PATH", Variant::ofText(L"x")); }, code(WBEM_E_READ_ONLY)},
        {"Put", "instance", "uint32, VT_I4 with the top bit",
         [](Scene& s) { return put(s.instance, L"Number", Variant::ofLong(-1)); }, OK},
        {"Put", "instance", "uint32, VT_I2", [](Scene& s) { return put(s.instance, L"Number", Variant::ofShort(1)); },
         MISMATCH},
        {"Put", "instance", "uint8, too large",
         [](Scene& s) { return put(s.instance, L"Small", Variant::ofLong(256)); }, MISMATCH},
        {"Put", "instance", "uint64, text that is no number",
         [](Scene& s) { return put(s.instance, L"Large", Variant::ofText(L"many")); }, MISMATCH},
        {"Put", "instance", "array to a scalar",
         [](Scene& s) { return put(s.instance, L"Number", Variant::ofArray(VT_I4, {})); }, MISMATCH},
        {"Put", "instance", "scalar to an array", [](Scene& s) { return put(s.instance, L"List", Variant::ofLong(1)); },
         MISMATCH},
        {"Put", "instance", "null pointer is no value",
         [](Scene& s) { return s.instance->Put(L"Small", 0, nullptr, 0); }, OK},
        {"Put", "class", "new property with a type",
         [](Scene& s) { return s.definition->Put(L"New", 0, nullptr, CIM_UINT16); }, OK},
        {"Put", "class", "new property without a type",
         [](Scene& s) { return s.definition->Put(L"New", 0, nullptr, 0); }, code(WBEM_E_INVALID_PROPERTY_TYPE)},
        {"Put", "class", "another type than the property's",
         [](Scene& s) { return s.definition->Put(L"Number", 0, nullptr, CIM_STRING); }, MISMATCH},
        {"Put", "class", "name of a class that has one",
         [](Scene& s) { return put(s.definition, L"__CLASS", Variant::ofText(L"X")); }, code(WBEM_E_READ_ONLY)},
        {"Put", "class", "new property that begins with an underscore",
         [](Scene& s) { return s.definition->Put(L"_New", 0, nullptr, CIM_UINT16); }, INVALID},
        {"Put", "class", "new property that ends with an underscore",
         [](Scene& s) { return s.definition->Put(L"New_", 0, nullptr, CIM_UINT16); }, INVALID},
        {"Put", "class", "new property that begins with a digit",
         [](Scene& s) { return s.definition->Put(L"1st", 0, nullptr, CIM_UINT16); }, INVALID},
        {"Put", "class", "new property with a blank",
         [](Scene& s) { return s.definition->Put(L"a b", 0, nullptr, CIM_UINT16); }, INVALID},
        {"Put", "class", "new property with a letter outside ASCII",
         [](Scene& s) { return s.definition->Put(L"Gr\u00F6\u00DFe", 0, nullptr, CIM_UINT16); }, OK},
        {"Put", "derived class", "a name that is not one",
         [](Scene& s) {
             s.definition->SpawnDerivedClass(0, s.object.put());
             return put(s.object, L"__CLASS", Variant::ofText(L"not a name"));
         },
         INVALID},
        {"GetObjectText", "class without a name", "",
         [](Scene& s) {
             s.definition->SpawnDerivedClass(0, s.object.put());
             return s.object->GetObjectText(0, s.text.put());
         },
         code(WBEM_E_INCOMPLETE_CLASS)},
        {"Delete", "instance", "null name", [](Scene& s) { return s.instance->Delete(nullptr); }, INVALID},
        {"Delete", "instance", "property", [](Scene& s) { return s.instance->Delete(L"Number"); },
         code(WBEM_E_INVALID_OPERATION)},
        {"Delete", "class", "own property", [](Scene& s) { return s.definition->Delete(L"Number"); }, OK},
        {"Delete", "class", "deleted property",
         [](Scene& s) {
             s.definition->Delete(L"Number");
             return s.definition->Delete(L"Number");
         },
         NOT_FOUND},
        {"Delete", "class", "inherited property", [](Scene& s) { return s.definition->Delete(L"Inherited"); },
         code(WBEM_E_PROPAGATED_PROPERTY)},
        {"Delete", "class", "overridden default", [](Scene& s) { return s.definition->Delete(L"Small"); },
         code(WBEM_S_RESET_TO_DEFAULT)},
        {"Delete", "class", "overridden default, again",
         [](Scene& s) {
             s.definition->Delete(L"Small");
             return s.definition->Delete(L"Small");
         },
         code(WBEM_E_PROPAGATED_PROPERTY)},
        {"Delete", "class", "unknown property", [](Scene& s) { return s.definition->Delete(L"Nope"); }, NOT_FOUND},
        {"Delete", "class", "system property", [](Scene& s) { return s.definition->Delete(L"__CLASS"); },
         code(WBEM_E_SYSTEM_PROPERTY)},
        {"BeginEnumeration", "instance", "keys and references at once",
         [](Scene& s) { return begin(s, WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY); }, INVALID},
        {"BeginEnumeration", "instance", "system and non-system at once",
         [](Scene& s) { return begin(s, WBEM_FLAG_SYSTEM_ONLY | WBEM_FLAG_NONSYSTEM_ONLY); }, INVALID},
        {"BeginEnumeration", "instance", "local and non-system at once",
         [](Scene& s) { return begin(s, WBEM_FLAG_LOCAL_ONLY | WBEM_FLAG_NONSYSTEM_ONLY); }, INVALID},
        {"BeginEnumeration", "instance", "unknown flag", [](Scene& s) { return begin(s, 0x1000); }, INVALID},
        {"BeginEnumeration", "instance", "class condition",
         [](Scene& s) { return begin(s, WBEM_FLAG_CLASS_OVERRIDES_ONLY); }, INVALID},
        {"BeginEnumeration", "instance", "keys, non-system",
         [](Scene& s) { return begin(s, WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_NONSYSTEM_ONLY); }, OK},
        {"BeginEnumeration", "enumerating", "again",
         [](Scene& s) {
             begin(s, 0);
             return begin(s, 0);
         },
         UNEXPECTED},
        {"BeginEnumeration", "enumeration ended", "again",
         [](Scene& s) {
             begin(s, 0);
             s.instance->EndEnumeration();
             return begin(s, 0);
         },
         OK},
        {"BeginEnumeration", "class", "both class conditions",
         [](Scene& s) { return s.definition->BeginEnumeration(WBEM_MASK_CLASS_CONDITION); }, INVALID},
        {"Next", "not enumerating", "",
         [](Scene& s) { return s.instance->Next(0, nullptr, nullptr, nullptr, nullptr); }, UNEXPECTED},
        {"Next", "enumerating", "flags 1",
         [](Scene& s) {
             begin(s, 0);
             return s.instance->Next(1, nullptr, nullptr, nullptr, nullptr);
         },
         INVALID},
        {"Next", "enumerating", "no outputs wanted",
         [](Scene& s) {
             begin(s, 0);
             return s.instance->Next(0, nullptr, nullptr, nullptr, nullptr);
         },
         OK},
        {"Next", "past the last", "",
         [](Scene& s) {
             begin(s, WBEM_FLAG_KEYS_ONLY);
             s.instance->Next(0, nullptr, nullptr, nullptr, nullptr);
             return s.instance->Next(0, nullptr, nullptr, nullptr, nullptr);
         },
         NO_MORE},
        {"Next", "enumeration ended", "",
         [](Scene& s) {
             begin(s, 0);
             s.instance->EndEnumeration();
             return s.instance->Next(0, nullptr, nullptr, nullptr, nullptr);
         },
         UNEXPECTED},
        {"EndEnumeration", "not enumerating", "", [](Scene& s) { return s.instance->EndEnumeration(); }, OK},
        {"GetQualifierSet", "class", "null output", [](Scene& s) { return s.definition->GetQualifierSet(nullptr); },
         INVALID},
        {"GetQualifierSet", "class", "", [](Scene& s) { return s.definition->GetQualifierSet(s.qualifiers.put()); },
         OK},
        {"GetPropertyQualifierSet", "class", "unknown property",
         [](Scene& s) { return s.definition->GetPropertyQualifierSet(L"Nope", s.qualifiers.put()); }, NOT_FOUND},
        {"GetPropertyQualifierSet", "class", "system property",
         [](Scene& s) { return s.definition->GetPropertyQualifierSet(L"__PATH", s.qualifiers.put()); },
         code(WBEM_E_SYSTEM_PROPERTY)},
        {"GetPropertyQualifierSet", "class", "property",
         [](Scene& s) { return s.definition->GetPropertyQualifierSet(L"name", s.qualifiers.put()); }, OK},
        {"GetMethodQualifierSet", "class", "unknown method",
         [](Scene& s) { return s.definition->GetMethodQualifierSet(L"Nope", s.qualifiers.put()); }, NOT_FOUND},
        {"GetMethodQualifierSet", "instance", "method",
         [](Scene& s) { return s.instance->GetMethodQualifierSet(L"Start", s.qualifiers.put()); }, ILLEGAL},
        {"GetMethod", "instance", "method",
         [](Scene& s) { return s.instance->GetMethod(L"Start", 0, nullptr, nullptr); }, ILLEGAL},
        {"GetMethod", "class", "null name",
         [](Scene& s) { return s.definition->GetMethod(nullptr, 0, nullptr, nullptr); }, INVALID},
        {"GetMethod", "class", "flags 1",
         [](Scene& s) { return s.definition->GetMethod(L"Start", 1, nullptr, nullptr); }, INVALID},
        {"GetMethod", "class", "unknown method",
         [](Scene& s) { return s.definition->GetMethod(L"Nope", 0, s.object.put(), s.other.put()); }, NOT_FOUND},
        {"GetMethod", "class", "name in another case",
         [](Scene& s) { return s.definition->GetMethod(L"sTART", 0, s.object.put(), s.other.put()); }, OK},
        {"BeginMethodEnumeration", "instance", "", [](Scene& s) { return s.instance->BeginMethodEnumeration(0); },
         ILLEGAL},
        {"BeginMethodEnumeration", "class", "unknown flag",
         [](Scene& s) { return s.definition->BeginMethodEnumeration(1); }, INVALID},
        {"BeginMethodEnumeration", "enumerating", "again",
         [](Scene& s) {
             s.definition->BeginMethodEnumeration(0);
             return s.definition->BeginMethodEnumeration(0);
         },
         UNEXPECTED},
        {"NextMethod", "not enumerating", "",
         [](Scene& s) { return s.definition->NextMethod(0, nullptr, nullptr, nullptr); }, UNEXPECTED},
        {"SpawnInstance", "class", "null output", [](Scene& s) { return s.definition->SpawnInstance(0, nullptr); },
         INVALID},
        {"SpawnInstance", "class", "flags 1", [](Scene& s) { return s.definition->SpawnInstance(1, s.object.put()); },
         INVALID},
        {"SpawnInstance", "class without a name", "",
         [](Scene& s) {
             s.definition->SpawnDerivedClass(0, s.other.put());
             return s.other->SpawnInstance(0, s.object.put());
         },
         code(WBEM_E_INCOMPLETE_CLASS)},
        {"SpawnDerivedClass", "instance", "", [](Scene& s) { return s.instance->SpawnDerivedClass(0, s.object.put()); },
         code(WBEM_E_INVALID_OPERATION)},
        {"SpawnDerivedClass", "class", "null output",
         [](Scene& s) { return s.definition->SpawnDerivedClass(0, nullptr); }, INVALID},
        {"Clone", "instance", "null output", [](Scene& s) { return s.instance->Clone(nullptr); }, INVALID},
        {"CompareTo", "instance", "null object", [](Scene& s) { return s.instance->CompareTo(0, nullptr); }, INVALID},
        {"CompareTo", "instance", "unknown flag",
         [](Scene& s) { return s.instance->CompareTo(0x40, s.instance.get()); }, INVALID},
        {"CompareTo", "instance", "itself", [](Scene& s) { return s.instance->CompareTo(0, s.instance.get()); },
         code(WBEM_S_SAME)},
        {"CompareTo", "instance", "its class", [](Scene& s) { return s.instance->CompareTo(0, s.definition.get()); },
         code(WBEM_S_DIFFERENT)},
        {"InheritsFrom", "class", "null name", [](Scene& s) { return s.definition->InheritsFrom(nullptr); }, INVALID},
        {"InheritsFrom", "class", "superclass in another case",
         [](Scene& s) { return s.definition->InheritsFrom(L"BASE"); }, OK},
        {"InheritsFrom", "class", "itself", [](Scene& s) { return s.definition->InheritsFrom(L"Derived"); }, OK},
        {"InheritsFrom", "class", "stranger", [](Scene& s) { return s.definition->InheritsFrom(L"Keyless"); },
         code(WBEM_S_FALSE)},
        {"GetObjectText", "instance", "null output", [](Scene& s) { return s.instance->GetObjectText(0, nullptr); },
         INVALID},
        {"GetObjectText", "instance", "unknown flag",
         [](Scene& s) { return s.instance->GetObjectText(2, s.text.put()); }, INVALID},
        {"GetPropertyOrigin", "class", "unknown property",
         [](Scene& s) { return s.definition->GetPropertyOrigin(L"Nope", s.text.put()); }, NOT_FOUND},
        {"GetMethodOrigin", "class", "unknown method",
         [](Scene& s) { return s.definition->GetMethodOrigin(L"Nope", s.text.put()); }, NOT_FOUND},
        {"GetNames", "instance", "null output",
         [](Scene& s) { return s.instance->GetNames(nullptr, 0, nullptr, nullptr); }, INVALID},
        {"Get", "class", "default of a property",
         [](Scene& s) { return s.definition->Get(L"Small", 0, s.value.put(), nullptr, nullptr); }, OK},
        {"Put", "instance", "unknown system property",
         [](Scene& s) { return put(s.instance, L"__NOPE", Variant::ofText(L"x")); }, NOT_FOUND},
        {"Put", "instance", "text to a reference",
         [](Scene& s) { return put(s.instance, L"Other", Variant::ofText(L"Base.Name=\"x\"")); }, OK},
        {"Put", "instance", "number to a reference",
         [](Scene& s) { return put(s.instance, L"Other", Variant::ofLong(1)); }, MISMATCH},
        {"Put", "instance", "text to an array of numbers, each a number",
         [](Scene& s) {
             return put(s.instance, L"List", Variant::ofTexts({L"1", L"2"}));
         },
         OK},
        {"Put", "class", "reference, which only a MOF can declare",
         [](Scene& s) { return s.definition->Put(L"New", 0, nullptr, CIM_REFERENCE); },
         code(WBEM_E_INVALID_PROPERTY_TYPE)},
        {"BeginEnumeration", "instance", "references, local",
         [](Scene& s) { return begin(s, WBEM_FLAG_REFS_ONLY | WBEM_FLAG_LOCAL_ONLY); }, OK},
        {"BeginEnumeration", "refused before", "again, consistent",
         [](Scene& s) {
             begin(s, WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY);
             return begin(s, WBEM_FLAG_KEYS_ONLY);
         },
         OK},
        {"GetQualifierSet", "instance", "", [](Scene& s) { return s.instance->GetQualifierSet(s.qualifiers.put()); },
         OK},
        {"GetPropertyQualifierSet", "class", "null name",
         [](Scene& s) { return s.definition->GetPropertyQualifierSet(nullptr, s.qualifiers.put()); }, INVALID},
        {"GetPropertyQualifierSet", "class", "null output",
         [](Scene& s) { return s.definition->GetPropertyQualifierSet(L"Name", nullptr); }, INVALID},
        {"GetMethodQualifierSet", "class", "method",
         [](Scene& s) { return s.definition->GetMethodQualifierSet(L"start", s.qualifiers.put()); }, OK},
        {"GetMethodQualifierSet", "class", "null name",
         [](Scene& s) { return s.definition->GetMethodQualifierSet(nullptr, s.qualifiers.put()); }, INVALID},
        {"GetMethod", "class", "no outputs wanted",
         [](Scene& s) { return s.definition->GetMethod(L"Start", 0, nullptr, nullptr); }, OK},
        {"NextMethod", "enumerating", "flags 1",
         [](Scene& s) {
             s.definition->BeginMethodEnumeration(0);
             return s.definition->NextMethod(1, nullptr, nullptr, nullptr);
         },
         INVALID},
        {"NextMethod", "past the last", "",
         [](Scene& s) {
             s.definition->BeginMethodEnumeration(WBEM_FLAG_PROPAGATED_ONLY);
             s.definition->NextMethod(0, nullptr, nullptr, nullptr);
             return s.definition->NextMethod(0, nullptr, nullptr, nullptr);
         },
         NO_MORE},
        {"NextMethod", "enumeration ended", "",
         [](Scene& s) {
             s.definition->BeginMethodEnumeration(0);
             s.definition->EndMethodEnumeration();
             return s.definition->NextMethod(0, nullptr, nullptr, nullptr);
         },
         UNEXPECTED},
        {"EndMethodEnumeration", "not enumerating", "", [](Scene& s) { return s.definition->EndMethodEnumeration(); },
         OK},
        {"SpawnInstance", "class", "", [](Scene& s) { return s.definition->SpawnInstance(0, s.object.put()); }, OK},
        {"SpawnDerivedClass", "class", "flags 1",
         [](Scene& s) { return s.definition->SpawnDerivedClass(1, s.object.put()); }, INVALID},
        {"SpawnDerivedClass", "class without a name", "",
         [](Scene& s) {
             s.definition->SpawnDerivedClass(0, s.other.put());
             return s.other->SpawnDerivedClass(0, s.object.put());
         },
         code(WBEM_E_INCOMPLETE_CLASS)},
        {"Clone", "class", "", [](Scene& s) { return s.definition->Clone(s.object.put()); }, OK},
        {"CompareTo", "class", "its clone",
         [](Scene& s) {
             s.definition->Clone(s.object.put());
             return s.definition->CompareTo(0, s.object.get());
         },
         code(WBEM_S_SAME)},
        {"InheritsFrom", "instance", "superclass of its class",
         [](Scene& s) { return s.instance->InheritsFrom(L"Base"); }, OK},
        {"GetObjectText", "class", "without flavors",
         [](Scene& s) { return s.definition->GetObjectText(WBEM_FLAG_NO_FLAVORS, s.text.put()); }, OK},
        {"GetPropertyOrigin", "class", "null output",
         [](Scene& s) { return s.definition->GetPropertyOrigin(L"Name", nullptr); }, INVALID},
        {"GetMethodOrigin", "class", "null name",
         [](Scene& s) { return s.definition->GetMethodOrigin(nullptr, s.text.put()); }, INVALID},
        {"PutMethod", "instance", "", [](Scene& s) { return s.instance->PutMethod(L"New", 0, nullptr, nullptr); },
         UNSUPPORTED},
        {"DeleteMethod", "class", "unknown method", [](Scene& s) { return s.definition->DeleteMethod(L"Nope"); },
         UNSUPPORTED},
        {"PutMethod", "class", "", [](Scene& s) { return s.definition->PutMethod(L"New", 0, nullptr, nullptr); },
         UNSUPPORTED},
        {"DeleteMethod", "class", "", [](Scene& s) { return s.definition->DeleteMethod(L"Start"); }, UNSUPPORTED},
        {"Put", "instance", "VT_NULL is no value", [](Scene& s) { return put(s.instance, L"Small", Variant()); }, OK},
        {"Put", "instance", "__RELPATH", [](Scene& s) { return put(s.instance, L"__RELPATH", Variant()); }, READ_ONLY},
        {"Put", "instance", "__CLASS", [](Scene& s) { return put(s.instance, L"__CLASS", Variant::ofText(L"Other")); },
         READ_ONLY},
        {"Put", "instance", "__GENUS", [](Scene& s) { return put(s.instance, L"__GENUS", Variant::ofLong(1)); },
         READ_ONLY},
        {"Put", "instance", "__PROPERTY_COUNT",
         [](Scene& s) { return put(s.instance, L"__PROPERTY_COUNT", Variant::ofLong(1)); }, READ_ONLY},
        {"Put", "instance", "__DERIVATION",
         [](Scene& s) { return put(s.instance, L"__DERIVATION", Variant::ofTexts({L"x"})); }, READ_ONLY},
        {"Put", "instance", "__SERVER", [](Scene& s) { return put(s.instance, L"__SERVER", Variant::ofText(L"far")); },
         READ_ONLY},
        {"Put", "instance", "__NAMESPACE",
         [](Scene& s) { return put(s.instance, L"__NAMESPACE", Variant::ofText(L"root")); }, READ_ONLY},
        {"BeginEnumeration", "instance", "KEYS_ONLY is 4", [](Scene& s) { return begin(s, 4); }, OK},
        {"BeginEnumeration", "instance", "REFS_ONLY is 8", [](Scene& s) { return begin(s, 8); }, OK},
        {"BeginEnumeration", "instance", "SYSTEM_ONLY is 0x30", [](Scene& s) { return begin(s, 0x30); }, OK},
        {"BeginEnumeration", "instance", "NONSYSTEM_ONLY is 0x40", [](Scene& s) { return begin(s, 0x40); }, OK},
        {"GetMethod", "class", "inherited method",
         [](Scene& s) { return s.definition->GetMethod(L"Old", 0, s.object.put(), s.other.put()); }, OK},
        {"QueryInterface", "instance", "an interface that it has not",
         [](Scene& s) {
             IWbemServices* services = nullptr;
             return s.instance->QueryInterface(IID_PPV_ARGS(&services));
         },
         E_NOINTERFACE},
        {"Put", "qualifiers of a class", "",
         [](Scene& s) {
             s.definition->GetQualifierSet(s.qualifiers.put());
             return s.qualifiers->Put(L"New", Variant::ofLong(1).in(), 0);
         },
         UNSUPPORTED},
        {"Delete", "qualifiers of a property", "",
         [](Scene& s) {
             s.definition->GetPropertyQualifierSet(L"Name", s.qualifiers.put());
             return s.qualifiers->Delete(L"Description");
         },
         UNSUPPORTED},
    };
    return table;
}
// clang-format on

INSTANTIATE_TEST_SUITE_P(Rows, ClassObjectTable, testing::ValuesIn(rows()),
                         [](const auto& row) { return std::string(row.param.call) + std::to_string(row.index); });

// The second table: the result of a call or its effect, as a text.
struct Delivery
{
    const char* call;
    const char* state;
    const char* arguments;
    std::function<std::string(Scene&)> run;
    const char* expected;
};

void PrintTo(const Delivery& row, std::ostream* stream)
{
    *stream << row.call << " | " << row.state << " | " << row.arguments;
}

class ClassObjectDeliveries : public testing::TestWithParam<Delivery>
{
};

TEST_P(ClassObjectDeliveries, AreTheDocumentedOnes)
{
    Scene scene;
    EXPECT_EQ(GetParam().run(scene), GetParam().expected);
}

std::string shown(const Variant& value, CIMTYPE type)
{
    static const std::map<int, const char*> names{{VT_NULL, "VT_NULL"}, {VT_UI1, "VT_UI1"},   {VT_I2, "VT_I2"},
                                                  {VT_I4, "VT_I4"},     {VT_BOOL, "VT_BOOL"}, {VT_BSTR, "VT_BSTR"}};
    const std::string literal = toUtf8(mofLiteral(value.get(), type));
    return (value.isArray() ? "VT_ARRAY|" : "") + std::string(names.at(value.type() & ~VT_ARRAY)) +
           (value.isNull() ? "" : " " + literal);
}

// Type and value of a property as Get returns them, "VT_I4 5 of type 18".
std::string got(Scene& s, const ComPtr<IWbemClassObject>& object, const wchar_t* name)
{
    EXPECT_EQ(object->Get(name, 0, s.value.put(), &s.type, nullptr), OK);
    return shown(s.value, s.type) + " of type " + std::to_string(s.type);
}

// The same after a Put. If the Put fails, its status.
std::string after(Scene& s, const wchar_t* name, const Variant& value)
{
    const HRESULT status = put(s.instance, name, value);
    return (status == OK ? "" : "refused; ") + got(s, s.instance, name);
}

// The names of the parameters in both signatures.
std::string signatures(Scene& s, const wchar_t* method)
{
    IWbemClassObject* in = s.instance.get();
    IWbemClassObject* out = s.instance.get();
    s.definition->GetMethod(method, 0, &in, &out);
    std::string text;
    for (IWbemClassObject* signature : {in, out}) {
        text += text.empty() ? "" : "; ";
        if (signature == nullptr) {
            text += "null";
            continue;
        }
        const auto owned = ComPtr<IWbemClassObject>::adopt(signature);
        std::vector<NamedValue> parameters;
        EXPECT_EQ(readProperties(*owned.get(), parameters), OK);
        for (const NamedValue& parameter : parameters) {
            text += (text.empty() || text.ends_with(' ') ? "" : " ") + toUtf8(parameter.name);
        }
    }
    return text;
}

// clang-format off: a table, read by columns
const std::vector<Delivery>& deliveries()
{
    static const std::vector<Delivery> table{
        {"Get", "instance", "null value: VT_NULL, and the type all the same",
         [](Scene& s) { return got(s, s.instance, L"Number"); }, "VT_NULL of type 19"},
        {"Get", "instance", "unknown name: the VARIANT is untouched",
         [](Scene& s) {
             s.value = Variant::ofLong(4711);
             EXPECT_EQ(s.instance->Get(L"Nope", 0, s.value.in(), &s.type, nullptr), NOT_FOUND);
             return shown(s.value, CIM_SINT32) + " of type " + std::to_string(s.type);
         },
         "VT_I4 4711 of type 0"},
        {"Get", "instance", "uint8", [](Scene& s) { return got(s, s.instance, L"Small"); }, "VT_UI1 2 of type 17"},
        {"Get", "instance", "uint16", [](Scene& s) { return got(s, s.instance, L"Inherited"); }, "VT_I4 5 of type 18"},
        {"Put", "instance", "null pointer",
         [](Scene& s) {
             EXPECT_EQ(s.instance->Put(L"Small", 0, nullptr, 0), OK);
             return got(s, s.instance, L"Small");
         },
         "VT_NULL of type 17"},
        {"Put", "instance", "VT_NULL", [](Scene& s) { return after(s, L"Small", Variant()); }, "VT_NULL of type 17"},
        {"Put", "instance", "uint32, all bits", [](Scene& s) { return after(s, L"Number", Variant::ofLong(-1)); },
         "VT_I4 4294967295 of type 19"},
        {"Put", "instance", "uint32, VT_I2", [](Scene& s) { return after(s, L"Number", Variant::ofShort(1)); },
         "refused; VT_NULL of type 19"},
        {"Put", "instance", "uint32, text", [](Scene& s) { return after(s, L"Number", Variant::ofText(L"7")); },
         "VT_I4 7 of type 19"},
        {"Put", "instance", "uint64, text", [](Scene& s) { return after(s, L"Large", Variant::ofText(L"007")); },
         "VT_BSTR 7 of type 21"},
        {"Put", "instance", "uint64, VT_I4", [](Scene& s) { return after(s, L"Large", Variant::ofLong(7)); },
         "VT_BSTR 7 of type 21"},
        {"Put", "instance", "boolean, VT_I4", [](Scene& s) { return after(s, L"Flag", Variant::ofLong(2)); },
         "VT_BOOL TRUE of type 11"},
        {"Put", "instance", "string, VT_I4", [](Scene& s) { return after(s, L"Name", Variant::ofLong(42)); },
         "VT_BSTR \"42\" of type 8"},
        {"Put", "instance", "string, bytes that are no words",
         [](Scene& s) {
             const std::wstring text = L"\xD800 \x1\xFFFF\t";
             EXPECT_EQ(put(s.instance, L"Name", Variant::ofText(text)), OK);
             EXPECT_EQ(s.instance->Get(L"Name", 0, s.value.put(), nullptr, nullptr), OK);
             return std::string(viewOf(s.value.get().bstrVal) == text ? "the same" : "others");
         },
         "the same"},
        {"Put", "instance", "array of texts to numbers",
         [](Scene& s) {
             return after(s, L"List", Variant::ofTexts({L"1", L"2"}));
         },
         "VT_ARRAY|VT_I4 {1, 2} of type 8210"},
        {"Put", "instance", "array with one text that is no number",
         [](Scene& s) {
             return after(s, L"List", Variant::ofTexts({L"1", L"x"}));
         },
         "refused; VT_NULL of type 8210"},
        {"Next", "enumerating twice", "a new BSTR each time",
         [](Scene& s) {
             Bstr first;
             begin(s, WBEM_FLAG_KEYS_ONLY);
             s.instance->Next(0, first.put(), nullptr, nullptr, nullptr);
             s.instance->EndEnumeration();
             begin(s, WBEM_FLAG_KEYS_ONLY);
             s.instance->Next(0, s.text.put(), nullptr, nullptr, nullptr);
             return toUtf8(first.view()) + (first.get() == s.text.get() ? ", the same " : ", another ") +
                    toUtf8(s.text.view());
         },
         "Name, another Name"},
        {"Next", "enumerating system properties", "flavor",
         [](Scene& s) {
             begin(s, WBEM_FLAG_SYSTEM_ONLY);
             s.instance->Next(0, s.text.put(), nullptr, nullptr, &s.flavor);
             return toUtf8(s.text.view()) + " " + std::to_string(s.flavor);
         },
         "__GENUS 64"},
        {"GetMethod", "class", "inputs and outputs", [](Scene& s) { return signatures(s, L"Start"); },
         "Count Text; Job ReturnValue"},
        {"GetMethod", "class", "no inputs", [](Scene& s) { return signatures(s, L"OnlyResult"); }, "null; ReturnValue"},
        {"GetMethod", "class", "neither", [](Scene& s) { return signatures(s, L"Nothing"); }, "null; null"},
        {"GetMethod", "class", "unknown method: both null", [](Scene& s) { return signatures(s, L"Nope"); },
         "null; null"},
        {"SpawnInstance", "class", "default of the class",
         [](Scene& s) {
             s.definition->SpawnInstance(0, s.object.put());
             return got(s, s.object, L"Small");
         },
         "VT_UI1 2 of type 17"},
        {"SpawnInstance", "class", "no default",
         [](Scene& s) {
             s.definition->SpawnInstance(0, s.object.put());
             return got(s, s.object, L"When");
         },
         "VT_NULL of type 101"},
        {"SpawnInstance", "class", "error: the output is untouched",
         [](Scene& s) {
             IWbemClassObject* out = s.definition.get();
             EXPECT_EQ(s.definition->SpawnInstance(1, &out), INVALID);
             return std::string(out == s.definition.get() ? "untouched" : "touched");
         },
         "untouched"},
        {"Get", "instance without all keys", "__PATH", [](Scene& s) { return got(s, s.instance, L"__PATH"); },
         "VT_NULL of type 8"},
        {"Get", "instance without all keys", "__RELPATH", [](Scene& s) { return got(s, s.instance, L"__RELPATH"); },
         "VT_NULL of type 8"},
        {"Get", "instance with its key", "__RELPATH",
         [](Scene& s) {
             put(s.instance, L"Name", Variant::ofText(L"one"));
             return got(s, s.instance, L"__RELPATH");
         },
         "VT_BSTR \"Derived.Name=\\\"one\\\"\" of type 8"},
        {"Get", "instance", "__PROPERTY_COUNT", [](Scene& s) { return got(s, s.instance, L"__PROPERTY_COUNT"); },
         "VT_I4 9 of type 3"},
        {"Get", "instance", "__GENUS", [](Scene& s) { return got(s, s.instance, L"__GENUS"); }, "VT_I4 2 of type 3"},
        {"Get", "class", "__GENUS", [](Scene& s) { return got(s, s.definition, L"__GENUS"); }, "VT_I4 1 of type 3"},
        {"Get", "instance", "__DERIVATION", [](Scene& s) { return got(s, s.instance, L"__DERIVATION"); },
         "VT_ARRAY|VT_BSTR {\"Base\"} of type 8200"},
        {"Get", "instance", "__NAMESPACE", [](Scene& s) { return got(s, s.instance, L"__NAMESPACE"); },
         "VT_BSTR \"root\\\\test\" of type 8"},
    };
    return table;
}
// clang-format on

INSTANTIATE_TEST_SUITE_P(Rows, ClassObjectDeliveries, testing::ValuesIn(deliveries()),
                         [](const auto& row) { return std::string(row.param.call) + std::to_string(row.index); });

class ClassObjectTest : public testing::Test
{
protected:
    std::vector<std::wstring> enumerate(IWbemClassObject& object, LONG flags)
    {
        std::vector<std::wstring> names;
        EXPECT_EQ(object.BeginEnumeration(flags), OK);
        Bstr name;
        while (object.Next(0, name.put(), nullptr, nullptr, nullptr) == OK) {
            names.emplace_back(name.view());
        }
        object.EndEnumeration();
        return names;
    }

    std::wstring textOf(IWbemClassObject& object, const wchar_t* name)
    {
        Variant value;
        EXPECT_EQ(object.Get(name, 0, value.put(), nullptr, nullptr), OK);
        return value.type() == VT_BSTR ? std::wstring(viewOf(value.get().bstrVal)) : L"(no text)";
    }

    Scene s;
};

TEST_F(ClassObjectTest, AnUnknownNameLeavesTheVariantUntouched)
{
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = 4711;
    EXPECT_EQ(s.instance->Get(L"Nope", 0, &value, &s.type, &s.flavor), NOT_FOUND);
    EXPECT_EQ(value.vt, VT_I4);
    EXPECT_EQ(value.lVal, 4711);
    EXPECT_EQ(s.type, 0);
    EXPECT_EQ(s.flavor, -1);
}

TEST_F(ClassObjectTest, ANullValueIsVtNullAndHasItsType)
{
    EXPECT_EQ(s.instance->Get(L"Number", 0, s.value.put(), &s.type, &s.flavor), OK);
    EXPECT_EQ(s.value.type(), VT_NULL);
    EXPECT_EQ(s.type, CIM_UINT32);
    EXPECT_EQ(s.flavor, WBEM_FLAVOR_ORIGIN_LOCAL);
}

TEST_F(ClassObjectTest, AnInheritedPropertySaysSo)
{
    EXPECT_EQ(s.instance->Get(L"Inherited", 0, s.value.put(), &s.type, &s.flavor), OK);
    EXPECT_EQ(s.flavor, WBEM_FLAVOR_ORIGIN_PROPAGATED);
}

TEST_F(ClassObjectTest, PutCopiesTheValue)
{
    Variant text = Variant::ofText(L"first");
    EXPECT_EQ(put(s.instance, L"Name", text), OK);
    text.get().bstrVal[0] = L'x';
    EXPECT_EQ(textOf(*s.instance.get(), L"Name"), L"first");
}

TEST_F(ClassObjectTest, PutKeepsABooleanByteForByte)
{
    Variant flag = Variant::ofBool(true);
    flag.in()->boolVal = 1;
    EXPECT_EQ(put(s.instance, L"Flag", flag), OK);
    EXPECT_EQ(s.instance->Get(L"Flag", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().boolVal, 1);
}

TEST_F(ClassObjectTest, ARefusedPutLeavesTheOldValue)
{
    EXPECT_EQ(put(s.instance, L"Small", Variant::ofByte(9)), OK);
    EXPECT_EQ(put(s.instance, L"Small", Variant::ofText(L"x")), MISMATCH);
    EXPECT_EQ(s.instance->Get(L"Small", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().bVal, 9);
}

TEST_F(ClassObjectTest, ASpawnedInstanceHasTheDefaultsOfItsClass)
{
    ASSERT_EQ(s.definition->SpawnInstance(0, s.object.put()), OK);
    EXPECT_EQ(s.object->Get(L"Small", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().bVal, 2);
    EXPECT_EQ(s.object->Get(L"Inherited", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().lVal, 5);
    EXPECT_EQ(s.object->Get(L"Large", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_TRUE(s.value.isNull());
}

TEST_F(ClassObjectTest, AFailedSpawnLeavesTheOutputUntouched)
{
    IWbemClassObject* marker = s.instance.get();
    IWbemClassObject* out = marker;
    EXPECT_EQ(s.definition->SpawnInstance(1, &out), INVALID);
    EXPECT_EQ(out, marker);
}

TEST_F(ClassObjectTest, ThePathsHaveNoValueUntilAllKeysHaveOne)
{
    EXPECT_EQ(textOf(*s.instance.get(), L"__PATH"), L"(no text)");
    EXPECT_EQ(textOf(*s.instance.get(), L"__RELPATH"), L"(no text)");
    put(s.instance, L"Name", Variant::ofText(L"a\"b\\c"));
    EXPECT_EQ(textOf(*s.instance.get(), L"__RELPATH"), L"Derived.Name=\"a\\\"b\\\\c\"");
    EXPECT_EQ(textOf(*s.instance.get(), L"__PATH"),
              L"\\\\" + serverName() + L"\\root\\test:Derived.Name=\"a\\\"b\\\\c\"");
}

TEST_F(ClassObjectTest, AnInstanceOfAClassWithoutKeysHasNoPath)
{
    EXPECT_EQ(textOf(*instanceOf(s.repository, L"Keyless").get(), L"__PATH"), L"(no text)");
}

TEST_F(ClassObjectTest, SystemPropertiesDescribeTheObject)
{
    EXPECT_EQ(textOf(*s.instance.get(), L"__CLASS"), L"Derived");
    EXPECT_EQ(textOf(*s.instance.get(), L"__SUPERCLASS"), L"Base");
    EXPECT_EQ(textOf(*s.instance.get(), L"__DYNASTY"), L"Base");
    EXPECT_EQ(textOf(*s.instance.get(), L"__NAMESPACE"), L"root\\test");
    EXPECT_EQ(textOf(*s.instance.get(), L"__SERVER"), serverName());
    EXPECT_EQ(s.instance->Get(L"__GENUS", 0, s.value.put(), nullptr, &s.flavor), OK);
    EXPECT_EQ(s.value.get().lVal, WBEM_GENUS_INSTANCE);
    EXPECT_EQ(s.flavor, WBEM_FLAVOR_ORIGIN_SYSTEM);
    EXPECT_EQ(s.definition->Get(L"__genus", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().lVal, WBEM_GENUS_CLASS);
    EXPECT_EQ(s.instance->Get(L"__PROPERTY_COUNT", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().lVal, 9);
    EXPECT_EQ(s.instance->Get(L"__DERIVATION", 0, s.value.put(), &s.type, nullptr), OK);
    EXPECT_TRUE(sameValue(s.value.get(), Variant::ofTexts({L"Base"}).get()));
    EXPECT_EQ(s.type, CIM_STRING | CIM_FLAG_ARRAY);
}

TEST_F(ClassObjectTest, EnumeratesWhatTheFlagsSelect)
{
    using Names = std::vector<std::wstring>;
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_KEYS_ONLY), (Names{L"Name"}));
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_REFS_ONLY), (Names{L"Other"}));
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_SYSTEM_ONLY),
              (Names{L"__GENUS", L"__CLASS", L"__SUPERCLASS", L"__DYNASTY", L"__RELPATH", L"__PROPERTY_COUNT",
                     L"__DERIVATION", L"__SERVER", L"__NAMESPACE", L"__PATH"}));
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_NONSYSTEM_ONLY),
              (Names{L"Name", L"Inherited", L"Small", L"Number", L"Large", L"Flag", L"When", L"Other", L"List"}));
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_PROPAGATED_ONLY), (Names{L"Name", L"Inherited"}));
    EXPECT_EQ(enumerate(*s.instance.get(), WBEM_FLAG_LOCAL_ONLY),
              (Names{L"Small", L"Number", L"Large", L"Flag", L"When", L"Other", L"List"}));
    EXPECT_EQ(enumerate(*s.definition.get(), WBEM_FLAG_CLASS_OVERRIDES_ONLY), (Names{L"Small"}));
    EXPECT_EQ(enumerate(*s.definition.get(), WBEM_FLAG_CLASS_LOCAL_AND_OVERRIDES).size(), 7U);
    EXPECT_EQ(enumerate(*s.instance.get(), 0).size(), 19U);
}

TEST_F(ClassObjectTest, NextDeliversANewTextAndTheValue)
{
    put(s.instance, L"Name", Variant::ofText(L"n"));
    ASSERT_EQ(s.instance->BeginEnumeration(WBEM_FLAG_KEYS_ONLY), OK);
    ASSERT_EQ(s.instance->Next(0, s.text.put(), s.value.put(), &s.type, &s.flavor), OK);
    EXPECT_EQ(s.text.view(), L"Name");
    EXPECT_EQ(viewOf(s.value.get().bstrVal), L"n");
    EXPECT_EQ(s.type, CIM_STRING);
}

TEST_F(ClassObjectTest, GetNamesFiltersByQualifier)
{
    const auto names = [this](const wchar_t* qualifier, LONG flags, VARIANT* value) {
        Variant result;
        VARIANT* slot = result.put();
        EXPECT_EQ(s.definition->GetNames(qualifier, flags, value, &slot->parray), OK);
        slot->vt = VT_ARRAY | VT_BSTR;
        std::vector<std::wstring> texts;
        for (const Variant& element : elementsOf(result.get())) {
            texts.emplace_back(viewOf(element.get().bstrVal));
        }
        return texts;
    };
    using Names = std::vector<std::wstring>;
    constexpr LONG PLAIN = WBEM_FLAG_NONSYSTEM_ONLY;
    EXPECT_EQ(names(L"key", WBEM_FLAG_ONLY_IF_TRUE | PLAIN, nullptr), (Names{L"Name"}));
    EXPECT_EQ(names(L"key", WBEM_FLAG_ONLY_IF_FALSE | PLAIN, nullptr).size(), 8U);
    EXPECT_EQ(names(L"CIMTYPE", WBEM_FLAG_ONLY_IF_IDENTICAL | PLAIN, Variant::ofText(L"uint64").in()),
              (Names{L"Large"}));
    EXPECT_EQ(names(nullptr, PLAIN, nullptr).size(), 9U);
    SAFEARRAY* none = nullptr;
    EXPECT_EQ(s.definition->GetNames(nullptr, WBEM_FLAG_ONLY_IF_TRUE, nullptr, &none), INVALID);
    EXPECT_EQ(s.definition->GetNames(L"key", WBEM_FLAG_ONLY_IF_IDENTICAL, nullptr, &none), INVALID);
}

TEST_F(ClassObjectTest, AnEnumeratedSystemPropertySaysThatItIsOne)
{
    ASSERT_EQ(s.instance->BeginEnumeration(WBEM_FLAG_SYSTEM_ONLY), OK);
    ASSERT_EQ(s.instance->Next(0, s.text.put(), s.value.put(), &s.type, &s.flavor), OK);
    EXPECT_EQ(s.text.view(), L"__GENUS");
    EXPECT_EQ(s.flavor, 0x40);
}

TEST_F(ClassObjectTest, EachTypeHasItsVariantType)
{
    const ClassRepository types = compiled(R"(
        class Types
        {
            sint8 a = 1; uint8 b = 1; sint16 c = 1; uint16 d = 1; sint32 e = 1; uint32 f = 1; sint64 g = 1;
            uint64 h = 1; real32 i = 1.5; real64 j = 1.5; boolean k = TRUE; string l = "1"; char16 m = '1';
            datetime n = "00000001010101.000000:000"; Types ref o = "Types"; uint8 aa[] = {1}; uint32 bb[] = {1};
            uint64 cc[] = {1}; boolean dd[] = {TRUE}; string ee[] = {"1"};
        };)");
    const auto object = instanceOf(types, L"Types");
    const auto check = [this, &object](const wchar_t* name, CIMTYPE type, int variant) {
        EXPECT_EQ(object->Get(name, 0, s.value.put(), &s.type, nullptr), OK);
        EXPECT_EQ(s.type, type) << toUtf8(name);
        EXPECT_EQ(s.value.type(), variant) << toUtf8(name);
    };
    check(L"a", CIM_SINT8, VT_I2);
    check(L"b", CIM_UINT8, VT_UI1);
    check(L"c", CIM_SINT16, VT_I2);
    check(L"d", CIM_UINT16, VT_I4);
    check(L"e", CIM_SINT32, VT_I4);
    check(L"f", CIM_UINT32, VT_I4);
    check(L"g", CIM_SINT64, VT_BSTR);
    check(L"h", CIM_UINT64, VT_BSTR);
    check(L"i", CIM_REAL32, VT_R4);
    check(L"j", CIM_REAL64, VT_R8);
    check(L"k", CIM_BOOLEAN, VT_BOOL);
    check(L"l", CIM_STRING, VT_BSTR);
    check(L"m", CIM_CHAR16, VT_I2);
    check(L"n", CIM_DATETIME, VT_BSTR);
    check(L"o", CIM_REFERENCE, VT_BSTR);
    check(L"aa", CIM_UINT8 | CIM_FLAG_ARRAY, VT_UI1 | VT_ARRAY);
    check(L"bb", CIM_UINT32 | CIM_FLAG_ARRAY, VT_I4 | VT_ARRAY);
    check(L"cc", CIM_UINT64 | CIM_FLAG_ARRAY, VT_BSTR | VT_ARRAY);
    check(L"dd", CIM_BOOLEAN | CIM_FLAG_ARRAY, VT_BOOL | VT_ARRAY);
    check(L"ee", CIM_STRING | CIM_FLAG_ARRAY, VT_BSTR | VT_ARRAY);
}

TEST_F(ClassObjectTest, DeletedOverride_restoresTheDefault)
{
    EXPECT_EQ(s.definition->Delete(L"Small"), code(WBEM_S_RESET_TO_DEFAULT));
    EXPECT_EQ(s.definition->Get(L"Small", 0, s.value.put(), nullptr, &s.flavor), OK);
    EXPECT_EQ(s.value.get().bVal, 1);
    EXPECT_EQ(s.flavor, WBEM_FLAVOR_ORIGIN_PROPAGATED);
    EXPECT_EQ(s.definition->Put(L"Small", 0, Variant::ofByte(7).in(), 0), OK);
    EXPECT_EQ(enumerate(*s.definition.get(), WBEM_FLAG_CLASS_OVERRIDES_ONLY), (std::vector<std::wstring>{L"Small"}));
    EXPECT_EQ(s.definition->Delete(L"Small"), code(WBEM_S_RESET_TO_DEFAULT));
}

TEST_F(ClassObjectTest, APropertyOfANewDerivedClassIsItsOwn)
{
    ASSERT_EQ(s.definition->SpawnDerivedClass(0, s.object.put()), OK);
    EXPECT_EQ(s.object->Put(L"New", 0, nullptr, CIM_UINT16), OK);
    EXPECT_EQ(put(s.object, L"__CLASS", Variant::ofText(L"Third")), OK);
    EXPECT_EQ(s.object->GetPropertyOrigin(L"New", s.text.put()), OK);
    EXPECT_EQ(s.text.view(), L"Third");
    EXPECT_EQ(s.object->Delete(L"New"), OK);
}

TEST_F(ClassObjectTest, AMethodHasItsSignatures)
{
    ASSERT_EQ(s.definition->GetMethod(L"Start", 0, s.object.put(), s.other.put()), OK);
    EXPECT_EQ(textOf(*s.object.get(), L"__CLASS"), L"__PARAMETERS");
    EXPECT_EQ(enumerate(*s.object.get(), WBEM_FLAG_NONSYSTEM_ONLY), (std::vector<std::wstring>{L"Count", L"Text"}));
    EXPECT_EQ(enumerate(*s.other.get(), WBEM_FLAG_NONSYSTEM_ONLY), (std::vector<std::wstring>{L"Job", L"ReturnValue"}));
    EXPECT_EQ(s.other->Get(L"ReturnValue", 0, nullptr, &s.type, nullptr), OK);
    EXPECT_EQ(s.type, CIM_UINT32);
}

TEST_F(ClassObjectTest, Method_withoutInputs_hasNoInSignature)
{
    ASSERT_EQ(s.definition->GetMethod(L"OnlyResult", 0, s.object.put(), s.other.put()), OK);
    EXPECT_FALSE(s.object);
    EXPECT_TRUE(s.other);
    ASSERT_EQ(s.definition->GetMethod(L"Nothing", 0, s.object.put(), s.other.put()), OK);
    EXPECT_FALSE(s.object);
    EXPECT_FALSE(s.other);
}

TEST_F(ClassObjectTest, AnUnknownMethodNullsBothSignatures)
{
    IWbemClassObject* in = s.instance.get();
    IWbemClassObject* out = s.instance.get();
    EXPECT_EQ(s.definition->GetMethod(L"Nope", 0, &in, &out), NOT_FOUND);
    EXPECT_EQ(in, nullptr);
    EXPECT_EQ(out, nullptr);
}

TEST_F(ClassObjectTest, EnumeratesMethodsByOrigin)
{
    const auto names = [this](LONG flags) {
        std::vector<std::wstring> result;
        EXPECT_EQ(s.definition->BeginMethodEnumeration(flags), OK);
        Bstr name;
        while (s.definition->NextMethod(0, name.put(), s.object.put(), s.other.put()) == OK) {
            result.emplace_back(name.view());
        }
        s.definition->EndMethodEnumeration();
        return result;
    };
    using Names = std::vector<std::wstring>;
    EXPECT_EQ(names(0), (Names{L"Old", L"Start", L"Nothing", L"OnlyResult"}));
    EXPECT_EQ(names(WBEM_FLAG_PROPAGATED_ONLY), (Names{L"Old"}));
    EXPECT_EQ(names(WBEM_FLAG_LOCAL_ONLY), (Names{L"Start", L"Nothing", L"OnlyResult"}));
}

TEST_F(ClassObjectTest, OriginsNameTheDeclaringClass)
{
    EXPECT_EQ(s.definition->GetPropertyOrigin(L"small", s.text.put()), OK);
    EXPECT_EQ(s.text.view(), L"Base");
    EXPECT_EQ(s.definition->GetPropertyOrigin(L"__PATH", s.text.put()), OK);
    EXPECT_EQ(s.text.view(), L"___SYSTEM");
    EXPECT_EQ(s.definition->GetMethodOrigin(L"old", s.text.put()), OK);
    EXPECT_EQ(s.text.view(), L"Base");
}

TEST_F(ClassObjectTest, ACloneLivesOnItsOwn)
{
    put(s.instance, L"Name", Variant::ofText(L"one"));
    ASSERT_EQ(s.instance->Clone(s.object.put()), OK);
    put(s.object, L"Name", Variant::ofText(L"two"));
    EXPECT_EQ(textOf(*s.instance.get(), L"Name"), L"one");
    EXPECT_EQ(s.instance->CompareTo(0, s.object.get()), WBEM_S_DIFFERENT);
}

TEST_F(ClassObjectTest, CompareToIgnoresWhatItIsToldTo)
{
    put(s.instance, L"Name", Variant::ofText(L"one"));
    ASSERT_EQ(s.instance->Clone(s.object.put()), OK);
    EXPECT_EQ(s.instance->CompareTo(0, s.object.get()), WBEM_S_SAME);
    put(s.object, L"Name", Variant::ofText(L"ONE"));
    EXPECT_EQ(s.instance->CompareTo(0, s.object.get()), WBEM_S_DIFFERENT);
    EXPECT_EQ(s.instance->CompareTo(WBEM_FLAG_IGNORE_CASE, s.object.get()), WBEM_S_SAME);
    ASSERT_EQ(s.definition->Clone(s.other.put()), OK);
    s.other->Put(L"Number", 0, Variant::ofLong(3).in(), 0);
    EXPECT_EQ(s.definition->CompareTo(0, s.other.get()), WBEM_S_DIFFERENT);
    EXPECT_EQ(s.definition->CompareTo(WBEM_FLAG_IGNORE_DEFAULT_VALUES, s.other.get()), WBEM_S_SAME);
}

TEST_F(ClassObjectTest, CompareToLeavesTheEnumerationOfTheOtherAlone)
{
    ASSERT_EQ(s.instance->Clone(s.object.put()), OK);
    ASSERT_EQ(s.object->BeginEnumeration(WBEM_FLAG_KEYS_ONLY), OK);
    EXPECT_EQ(s.instance->CompareTo(0, s.object.get()), WBEM_S_SAME);
    EXPECT_EQ(s.object->Next(0, s.text.put(), nullptr, nullptr, nullptr), OK);
    EXPECT_EQ(s.text.view(), L"Name");
}

TEST_F(ClassObjectTest, ADerivedClassGetsItsNameOnce)
{
    ASSERT_EQ(s.definition->SpawnDerivedClass(0, s.object.put()), OK);
    EXPECT_EQ(textOf(*s.object.get(), L"__CLASS"), L"(no text)");
    EXPECT_EQ(put(s.object, L"__CLASS", Variant::ofText(L"Third")), OK);
    EXPECT_EQ(put(s.object, L"__CLASS", Variant::ofText(L"Fourth")), code(WBEM_E_READ_ONLY));
    EXPECT_EQ(textOf(*s.object.get(), L"__CLASS"), L"Third");
    EXPECT_EQ(textOf(*s.object.get(), L"__SUPERCLASS"), L"Derived");
    EXPECT_EQ(s.object->InheritsFrom(L"Base"), OK);
    EXPECT_EQ(enumerate(*s.object.get(), WBEM_FLAG_LOCAL_ONLY), std::vector<std::wstring>());
}

TEST_F(ClassObjectTest, AChangedClassLeavesOthersAsTheyWere)
{
    ASSERT_EQ(s.definition->Clone(s.object.put()), OK);
    EXPECT_EQ(s.object->Put(L"New", 0, Variant::ofLong(3).in(), CIM_UINT16), OK);
    EXPECT_EQ(s.definition->Get(L"New", 0, nullptr, nullptr, nullptr), NOT_FOUND);
    EXPECT_EQ(s.instance->Get(L"New", 0, nullptr, nullptr, nullptr), NOT_FOUND);
    ASSERT_EQ(s.object->SpawnInstance(0, s.other.put()), OK);
    EXPECT_EQ(s.other->Get(L"New", 0, s.value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(s.value.get().lVal, 3);
}

TEST_F(ClassObjectTest, TheTextOfAnObjectIsMofThatCompilesAgain)
{
    ASSERT_EQ(s.definition->GetObjectText(0, s.text.put()), OK);
    ClassRepository second = compiled(MOF);
    compileMofText("#pragma namespace(\"root\\\\test\")\n" + toUtf8(s.text.view()), "again.mof", second);
    const auto again = ClassObject::ofClass(classIn(second, L"Derived"));
    EXPECT_EQ(s.definition->CompareTo(0, again.get()), WBEM_S_SAME);

    put(s.instance, L"Name", Variant::ofText(L"a\"b\\c"));
    put(s.instance, L"List", Variant::ofArray(VT_I4, {Variant::ofLong(1), Variant::ofLong(2)}));
    ASSERT_EQ(s.instance->GetObjectText(0, s.text.put()), OK);
    EXPECT_EQ(s.text.view(),
              L"instance of Derived\n{\n    Name = \"a\\\"b\\\\c\";\n    Inherited = 5;\n    Small = 2;\n"
              L"    List = {1, 2};\n};\n");
}

class EmbeddedObjectTest : public testing::Test
{
protected:
    static Variant objectVariant(const ComPtr<IWbemClassObject>& object) { return Variant::ofObject(object); }

    static ComPtr<IWbemClassObject> objectIn(const ComPtr<IWbemClassObject>& holder, const wchar_t* name)
    {
        const Variant value = valueOf(*holder.get(), name);
        ComPtr<IWbemClassObject> object;
        if (value.type() == VT_UNKNOWN) {
            value.get().punkVal->QueryInterface(IID_PPV_ARGS(object.put()));
        }
        return object;
    }

    ClassRepository repository = compiled(R"(
        class Point { sint32 X; };
        class Place : Point { string Name; };
        class Other { sint32 X; };
        class Map { object Any; object:Point Start; object:Point Corners[]; };)");
    const ComPtr<IWbemClassObject> map = instanceOf(repository, L"Map");
    const ComPtr<IWbemClassObject> point = instanceOf(repository, L"Point");
};

TEST_F(EmbeddedObjectTest, Put_storesACopy)
{
    put(point, L"X", Variant::ofLong(1));
    ASSERT_EQ(put(map, L"Start", objectVariant(point)), OK);
    put(point, L"X", Variant::ofLong(2));
    EXPECT_EQ(valueOf(*objectIn(map, L"Start").get(), L"X").get().lVal, 1);
}

TEST_F(EmbeddedObjectTest, Get_handsOutACopy)
{
    put(point, L"X", Variant::ofLong(1));
    ASSERT_EQ(put(map, L"Start", objectVariant(point)), OK);
    put(objectIn(map, L"Start"), L"X", Variant::ofLong(2));
    EXPECT_EQ(valueOf(*objectIn(map, L"Start").get(), L"X").get().lVal, 1);
}

TEST_F(EmbeddedObjectTest, ObjectOfAnotherClass_isRefused)
{
    const auto place = instanceOf(repository, L"Place");
    const auto other = instanceOf(repository, L"Other");
    EXPECT_EQ(put(map, L"Start", objectVariant(place)), OK);
    EXPECT_EQ(put(map, L"Start", objectVariant(other)), MISMATCH);
    EXPECT_EQ(put(map, L"Any", objectVariant(other)), OK);
    EXPECT_EQ(put(map, L"Corners", Variant::ofArray(VT_UNKNOWN, {objectVariant(point), objectVariant(place)})), OK);
    EXPECT_EQ(put(map, L"Corners", Variant::ofArray(VT_UNKNOWN, {objectVariant(point), objectVariant(other)})),
              MISMATCH);
}

TEST_F(EmbeddedObjectTest, InterfaceThatIsNoClassObject_isRefused)
{
    ComPtr<IWbemQualifierSet> qualifiers;
    ASSERT_EQ(map->GetQualifierSet(qualifiers.put()), OK);
    VARIANT value;
    value.vt = VT_UNKNOWN;
    value.punkVal = qualifiers.get();
    EXPECT_EQ(map->Put(L"Any", 0, &value, 0), MISMATCH);
}

TEST_F(EmbeddedObjectTest, CompareTo_looksIntoEmbeddedObjects)
{
    put(map, L"Start", objectVariant(point));
    ComPtr<IWbemClassObject> copy;
    ASSERT_EQ(map->Clone(copy.put()), OK);
    EXPECT_EQ(map->CompareTo(0, copy.get()), WBEM_S_SAME);
    put(point, L"X", Variant::ofLong(5));
    put(copy, L"Start", objectVariant(point));
    EXPECT_EQ(map->CompareTo(0, copy.get()), WBEM_S_DIFFERENT);
}

TEST_F(EmbeddedObjectTest, GetObjectText_compilesAgain)
{
    put(point, L"X", Variant::ofLong(1));
    put(map, L"Start", objectVariant(point));
    put(map, L"Corners", Variant::ofArray(VT_UNKNOWN, {objectVariant(point)}));
    Bstr text;
    ASSERT_EQ(map->GetObjectText(0, text.put()), OK);
    compileMofText("#pragma namespace(\"root\\\\test\")\n" + toUtf8(text.view()), "again.mof", repository);
    const auto stored = repository.findNamespace(L"root\\test")->instancesOf(L"Map");
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(map->CompareTo(0, ClassObject::ofInstance(*stored.front()).get()), WBEM_S_SAME);
}

TEST_F(EmbeddedObjectTest, GetObjectText_ofAnEmbeddedClass_compilesAgain)
{
    put(map, L"Any", objectVariant(ClassObject::ofClass(classIn(repository, L"Place"))));
    Bstr text;
    ASSERT_EQ(map->GetObjectText(0, text.put()), OK);
    compileMofText("#pragma namespace(\"root\\\\test\")\n" + toUtf8(text.view()), "again.mof", repository);
    const auto stored = repository.findNamespace(L"root\\test")->instancesOf(L"Map");
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(map->CompareTo(0, ClassObject::ofInstance(*stored.front()).get()), WBEM_S_SAME);
}

}  // namespace
}  // namespace wmihost
