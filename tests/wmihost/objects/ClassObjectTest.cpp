#include "wmihost/objects/ClassObject.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <sstream>

#include "support/Baseline.h"
#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/StatusText.h"
#include "wmihost/commands/Shell.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr HRESULT OK = code(WBEM_S_NO_ERROR);

std::string classesMof()
{
    std::ifstream stream(ZERIX_CLASS_OBJECTS ".mof", std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// The objects of a case.
struct Scene
{
    ClassRepository repository = compiled(classesMof());
    ComPtr<IWbemClassObject> definition = ClassObject::ofClass(classIn(repository, L"Derived"));
    ComPtr<IWbemClassObject> instance = instanceOf(repository, L"Derived");
    std::map<std::string, ComPtr<IWbemClassObject>> objects{{"class", definition},
                                                            {"instance", instance},
                                                            {"keyless", instanceOf(repository, L"Keyless")},
                                                            {"types", instanceOf(repository, L"Types")},
                                                            {"map", instanceOf(repository, L"Map")},
                                                            {"point", instanceOf(repository, L"Point")},
                                                            {"place", instanceOf(repository, L"Place")}};
};

// The value that a word stands for: "I4:5", "BSTR[]:a,b", "OBJ:point", "EMPTY" or "NULL".
Variant valueFrom(const Scene& scene, const std::string& word)
{
    if (word == "NULL") {
        return {};
    }
    if (word == "EMPTY") {
        return Variant(VARIANT{});
    }
    const std::string type = word.substr(0, word.find(':'));
    const std::string text = word.substr(type.size() + 1);
    if (type.ends_with("[]")) {
        const std::string elementType = type.substr(0, type.size() - 2);
        std::vector<Variant> elements;
        std::istringstream stream(text);
        for (std::string element; std::getline(stream, element, ',');) {
            elements.push_back(valueFrom(scene, elementType + ":" + element));
        }
        return Variant::ofArray(elementType == "BSTR" ? VT_BSTR : elementType == "OBJ" ? VT_UNKNOWN : VT_I4, elements);
    }
    return type == "BSTR"  ? Variant::ofText(toWide(text))
           : type == "OBJ" ? Variant::ofObject(scene.objects.at(text))
           : type == "I2"  ? Variant::ofShort(static_cast<short>(std::stoi(text)))
           : type == "UI1" ? Variant::ofByte(static_cast<unsigned char>(std::stoi(text)))
                           : Variant::ofLong(std::stol(text));
}

// A value as its VARIANT type and its literal, in one line.
std::string shown(const Variant& value, CIMTYPE type)
{
    static const std::map<int, const char*> names{
        {VT_NULL, "VT_NULL"}, {VT_UI1, "VT_UI1"},   {VT_I2, "VT_I2"},     {VT_I4, "VT_I4"},          {VT_R4, "VT_R4"},
        {VT_R8, "VT_R8"},     {VT_BOOL, "VT_BOOL"}, {VT_BSTR, "VT_BSTR"}, {VT_UNKNOWN, "VT_UNKNOWN"}};
    static const std::regex lineEnd("\n *");
    const std::string literal = std::regex_replace(toUtf8(mofLiteral(value.get(), type)), lineEnd, " ");
    return (value.isArray() ? "VT_ARRAY|" : "") + std::string(names.at(value.type() & ~VT_ARRAY)) +
           (value.isNull() ? "" : " " + literal);
}

// A call of a line: its arguments and the places for what it delivers. Places that stay as they were are not shown.
class Call
{
public:
    Call(Scene& scene, const std::vector<std::string>& words)
        : object(*scene.objects.at(words[0]).get()), m_scene(scene)
    {
        for (std::size_t i = 2; i < words.size(); ++i) {
            if (words[i].starts_with("flags:")) {
                flags = std::stol(words[i].substr(6), nullptr, 0);
            } else if (words[i].starts_with("type:")) {
                type = std::stol(words[i].substr(5));
            } else if (words[i] == "nowhere") {
                m_nowhere = true;
            } else if (!m_name) {
                m_name = toWide(words[i]);
            } else if (words[i] != "-") {
                m_given = valueFrom(scene, words[i]);
            }
        }
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    IWbemClassObject& object;
    LONG flags = 0;
    CIMTYPE type = 0;
    const wchar_t* name() const { return !m_name || *m_name == L"-" ? nullptr : m_name->c_str(); }
    VARIANT* given() const { return m_given ? m_given->in() : nullptr; }
    IWbemClassObject* other() const { return name() == nullptr ? nullptr : m_scene.objects.at(toUtf8(name())).get(); }

    VARIANT* value() { return to(m_value.in()); }
    CIMTYPE* valueType() { return to(&m_type); }
    LONG* flavor() { return to(&m_flavor); }
    BSTR* text() { return to(m_text.put()); }
    IWbemQualifierSet** qualifiers() { return to(m_qualifiers.put()); }
    IWbemClassObject** result() { return to(&m_result); }
    IWbemClassObject** second() { return to(&m_second); }
    // Lists what `next` stores in text() until it delivers no more.
    template <class Next>
    HRESULT list(Next next)
    {
        HRESULT status = next();
        for (; status == OK; status = next()) {
            m_list += " " + toUtf8(m_text.view());
        }
        m_text.put();
        return status;
    }
    HRESULT listNames()
    {
        SAFEARRAY* names = nullptr;
        const HRESULT status = object.GetNames(name(), flags, given(), to(&names));
        if (names != nullptr) {
            Variant owner;
            owner.put()->parray = names;
            owner.in()->vt = VT_ARRAY | VT_BSTR;
            for (const Variant& element : elementsOf(owner.get())) {
                m_list += " " + toUtf8(viewOf(element.get().bstrVal));
            }
        }
        return status;
    }

    // The status and what was delivered. The objects become those of the scene.
    std::string outcome(HRESULT status)
    {
        std::string line(statusInfo(status).name);
        line += m_list;
        line += m_text.get() == nullptr ? "" : " " + toUtf8(mofQuoted(m_text.view()));
        const bool untouched = m_value.type() == VT_I4 && m_value.get().lVal == UNTOUCHED;
        line += untouched ? "" : " " + shown(m_value, m_type);
        if (m_value.type() == VT_UNKNOWN) {
            m_value.get().punkVal->QueryInterface(IID_PPV_ARGS(m_scene.objects["embedded"].put()));
        }
        line += m_type == -1 ? "" : ", type " + std::to_string(m_type);
        line += m_flavor == -1 ? "" : ", flavor " + std::to_string(m_flavor);
        if (m_qualifiers) {
            line += " qualifiers";
            m_qualifiers->BeginEnumeration(0);
            LONG flavor = 0;
            for (Bstr one; m_qualifiers->Next(0, one.put(), nullptr, &flavor) == OK;) {
                line += " " + toUtf8(one.view());
                line += (flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0 ? "(propagated)" : "";
            }
        }
        return line + delivered("result", m_result) + delivered("second", m_second);
    }

private:
    static constexpr long UNTOUCHED = 4711;

    template <class Output>
    Output* to(Output* output) const
    {
        return m_nowhere ? nullptr : output;
    }

    std::string delivered(const char* name, IWbemClassObject* result)
    {
        if (result == m_scene.instance.get() || result == nullptr) {
            return result == nullptr ? " null" : "";
        }
        m_scene.objects[name] = ComPtr<IWbemClassObject>::adopt(result);
        std::string line = " " + toUtf8(textOf(*result, L"__CLASS")) + "{";
        std::vector<NamedValue> properties;
        EXPECT_EQ(readProperties(*result, properties), OK);
        for (const NamedValue& property : properties) {
            line += (line.ends_with("{") ? "" : " ") + toUtf8(property.name);
        }
        return line + "}";
    }

    Scene& m_scene;
    std::optional<std::wstring> m_name;
    std::optional<Variant> m_given;
    bool m_nowhere = false;
    Variant m_value = Variant::ofLong(UNTOUCHED);
    CIMTYPE m_type = -1;
    LONG m_flavor = -1;
    Bstr m_text;
    std::string m_list;
    ComPtr<IWbemQualifierSet> m_qualifiers;
    IWbemClassObject* m_result = m_scene.instance.get();
    IWbemClassObject* m_second = m_scene.instance.get();
};

HRESULT listProperties(Call& c)
{
    const HRESULT begun = c.object.BeginEnumeration(c.flags);
    const auto next = [&c] { return c.object.Next(0, c.text(), nullptr, nullptr, nullptr); };
    return begun == OK ? c.list(next) : begun;
}

HRESULT listMethods(Call& c)
{
    const HRESULT begun = c.object.BeginMethodEnumeration(c.flags);
    const auto next = [&c] { return c.object.NextMethod(0, c.text(), nullptr, nullptr); };
    return begun == OK ? c.list(next) : begun;
}

// clang-format off: a table, read by columns
const std::map<std::string, HRESULT (*)(Call&)>& methods()
{
    static const std::map<std::string, HRESULT (*)(Call&)> table{
        {"properties", listProperties},
        {"methods", listMethods},
        {"Get", [](Call& c) { return c.object.Get(c.name(), c.flags, c.value(), c.valueType(), c.flavor()); }},
        {"Put", [](Call& c) { return c.object.Put(c.name(), c.flags, c.given(), c.type); }},
        {"Delete", [](Call& c) { return c.object.Delete(c.name()); }},
        {"GetNames", [](Call& c) { return c.listNames(); }},
        {"BeginEnumeration", [](Call& c) { return c.object.BeginEnumeration(c.flags); }},
        {"Next", [](Call& c) { return c.object.Next(c.flags, c.text(), c.value(), c.valueType(), c.flavor()); }},
        {"EndEnumeration", [](Call& c) { return c.object.EndEnumeration(); }},
        {"GetQualifierSet", [](Call& c) { return c.object.GetQualifierSet(c.qualifiers()); }},
        {"GetPropertyQualifierSet", [](Call& c) { return c.object.GetPropertyQualifierSet(c.name(), c.qualifiers()); }},
        {"GetMethodQualifierSet", [](Call& c) { return c.object.GetMethodQualifierSet(c.name(), c.qualifiers()); }},
        {"GetMethod", [](Call& c) { return c.object.GetMethod(c.name(), c.flags, c.result(), c.second()); }},
        {"BeginMethodEnumeration", [](Call& c) { return c.object.BeginMethodEnumeration(c.flags); }},
        {"NextMethod", [](Call& c) { return c.object.NextMethod(c.flags, c.text(), c.result(), c.second()); }},
        {"EndMethodEnumeration", [](Call& c) { return c.object.EndMethodEnumeration(); }},
        {"PutMethod", [](Call& c) { return c.object.PutMethod(c.name(), c.flags, nullptr, nullptr); }},
        {"DeleteMethod", [](Call& c) { return c.object.DeleteMethod(c.name()); }},
        {"SpawnInstance", [](Call& c) { return c.object.SpawnInstance(c.flags, c.result()); }},
        {"SpawnDerivedClass", [](Call& c) { return c.object.SpawnDerivedClass(c.flags, c.result()); }},
        {"Clone", [](Call& c) { return c.object.Clone(c.result()); }},
        {"CompareTo", [](Call& c) { return c.object.CompareTo(c.flags, c.other()); }},
        {"InheritsFrom", [](Call& c) { return c.object.InheritsFrom(c.name()); }},
        {"GetObjectText", [](Call& c) { return c.object.GetObjectText(c.flags, c.text()); }},
        {"GetPropertyOrigin", [](Call& c) { return c.object.GetPropertyOrigin(c.name(), c.text()); }},
        {"GetMethodOrigin", [](Call& c) { return c.object.GetMethodOrigin(c.name(), c.text()); }},
    };
    return table;
}
// clang-format on

class ClassObjectTest : public testing::Test
{
protected:
    Scene s;
    Variant value;
    Bstr text;
};

// The head of the file explains its lines.
TEST_F(ClassObjectTest, Calls_answerAsDocumented)
{
    std::vector<std::string> lines;
    std::optional<Scene> scene;
    for (const std::string& line : support::readBaseline(ZERIX_CLASS_OBJECTS ".cases")) {
        if (line.empty() || line.starts_with('#')) {
            lines.push_back(line);
            continue;
        }
        if (!line.starts_with(' ')) {
            scene.emplace();
        }
        const std::string call = line.substr(0, line.find(" -> "));
        const std::vector<std::string> words = splitWords(call);
        Call made(*scene, words);
        lines.push_back(call + " -> " + made.outcome(methods().at(words[1])(made)));
    }
    ASSERT_TRUE(scene) << "no case in " ZERIX_CLASS_OBJECTS ".cases";
    support::expectBaseline(ZERIX_CLASS_OBJECTS ".cases", lines);
}

TEST_F(ClassObjectTest, Path_namesTheMachine)
{
    put(s.instance, L"Name", Variant::ofText(L"x"));
    EXPECT_EQ(textOf(*s.instance.get(), L"__SERVER"), serverName());
    EXPECT_EQ(textOf(*s.instance.get(), L"__PATH"), L"\\\\" + serverName() + L"\\root\\test:Derived.Name=\"x\"");
}

TEST_F(ClassObjectTest, Put_copiesTheValue)
{
    Variant given = Variant::ofText(L"first");
    EXPECT_EQ(put(s.instance, L"Name", given), OK);
    given.get().bstrVal[0] = L'x';
    EXPECT_EQ(textOf(*s.instance.get(), L"Name"), L"first");
}

TEST_F(ClassObjectTest, Put_keepsTextsAndBooleansByteForByte)
{
    const std::wstring bytes = L"\xD800 \x1\xFFFF\t";
    EXPECT_EQ(put(s.instance, L"Name", Variant::ofText(bytes)), OK);
    EXPECT_EQ(textOf(*s.instance.get(), L"Name"), bytes);
    Variant flag = Variant::ofBool(true);
    flag.in()->boolVal = 1;
    EXPECT_EQ(put(s.instance, L"Flag", flag), OK);
    EXPECT_EQ(s.instance->Get(L"Flag", 0, value.put(), nullptr, nullptr), OK);
    EXPECT_EQ(value.get().boolVal, 1);
}

TEST_F(ClassObjectTest, Next_deliversANewTextEachTime)
{
    Bstr first;
    for (BSTR* const name : {first.put(), text.put()}) {
        EXPECT_EQ(s.instance->BeginEnumeration(WBEM_FLAG_KEYS_ONLY), OK);
        EXPECT_EQ(s.instance->Next(0, name, nullptr, nullptr, nullptr), OK);
        EXPECT_EQ(s.instance->EndEnumeration(), OK);
    }
    EXPECT_EQ(first.view(), text.view());
    EXPECT_NE(first.get(), text.get());
}

TEST_F(ClassObjectTest, OtherInterface_isNoValue)
{
    ComPtr<IWbemQualifierSet> qualifiers;
    ASSERT_EQ(s.definition->GetQualifierSet(qualifiers.put()), OK);
    VARIANT other;
    other.vt = VT_UNKNOWN;
    other.punkVal = qualifiers.get();
    EXPECT_EQ(s.objects.at("map")->Put(L"Any", 0, &other, 0), code(WBEM_E_TYPE_MISMATCH));
}

}  // namespace
}  // namespace wmihost
