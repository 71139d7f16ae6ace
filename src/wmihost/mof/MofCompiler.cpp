#include "wmihost/mof/MofCompiler.h"

#include <algorithm>
#include <cstddef>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "wmihost/mof/MofGrammar.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Node = mof::p::parse_tree::node;

std::string asText(const std::filesystem::path& path)
{
    return toUtf8(path.wstring());
}

[[noreturn]] void fail(const mof::p::position& where, std::string_view reason)
{
    throw MofError(where.source + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " +
                   std::string(reason));
}

[[noreturn]] void fail(const Node& node, std::string_view reason)
{
    fail(node.begin(), reason);
}

template <class Rule>
const Node* childOf(const Node& node)
{
    for (const auto& child : node.children) {
        if (child->is_type<Rule>()) {
            return child.get();
        }
    }
    return nullptr;
}

template <class Rule>
std::wstring nameIn(const Node& node)
{
    const Node* child = childOf<Rule>(node);
    return child == nullptr ? std::wstring() : toWide(child->string_view());
}

std::string named(std::wstring_view name)
{
    return "'" + toUtf8(name) + "'";
}

// The character behind an escape's backslash; `at` is moved to the escape's last character.
wchar_t escaped(std::wstring_view text, std::size_t& at)
{
    switch (text[at]) {
        case L'b':
            return L'\b';
        case L't':
            return L'\t';
        case L'n':
            return L'\n';
        case L'f':
            return L'\f';
        case L'r':
            return L'\r';
        case L'x':
        case L'X': {
            constexpr std::size_t most = 4;
            const std::size_t begin = at + 1;
            std::size_t end = begin;
            while (end < text.size() && end - begin < most && iswxdigit(text[end])) {
                ++end;
            }
            at = end - 1;
            return static_cast<wchar_t>(*parseUnsigned(L"0x" + std::wstring(text.substr(begin, end - begin))));
        }
        default:
            return text[at];
    }
}

std::wstring unescaped(std::wstring_view text)
{
    std::wstring result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && i + 1 < text.size()) {
            result += escaped(text, ++i);
        } else {
            result += text[i];
        }
    }
    return result;
}

// All pieces of a text literal as one text.
std::wstring textOf(const Node& node)
{
    std::wstring result;
    for (const auto& piece : node.children) {
        result += unescaped(toWide(piece->string_view()));
    }
    return result;
}

bool isInteger(const Node& node)
{
    return node.is_type<mof::decimal>() || node.is_type<mof::hexadecimal>() || node.is_type<mof::octal>() ||
           node.is_type<mof::binary>();
}

// An integer of any notation in decimal; the grammar has checked its digits.
std::wstring decimalText(const Node& node)
{
    std::wstring digits = toWide(node.string_view());
    std::wstring sign;
    if (digits[0] == L'-' || digits[0] == L'+') {
        sign = digits[0] == L'-' ? L"-" : L"";
        digits.erase(0, 1);
    }
    if (node.is_type<mof::decimal>()) {
        return sign + digits;
    }
    if (node.is_type<mof::hexadecimal>()) {
        const auto number = parseUnsigned(digits);
        return number ? sign + std::to_wstring(*number) : sign + digits;
    }
    const unsigned base = node.is_type<mof::binary>() ? 2 : 8;
    unsigned long long number = 0;
    for (const wchar_t digit : digits) {
        if (digit == L'b' || digit == L'B') {
            continue;
        }
        if (number > std::numeric_limits<unsigned long long>::max() / base) {
            // No type holds it; the digits as they stand are no number for any.
            return toWide(node.string_view());
        }
        number = number * base + static_cast<unsigned>(digit - L'0');
    }
    return sign + std::to_wstring(number);
}

std::optional<long> flavorBit(std::wstring_view name)
{
    static const std::map<std::wstring, long> flavors{{L"TOINSTANCE", WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE},
                                                      {L"TOSUBCLASS", WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS},
                                                      {L"DISABLEOVERRIDE", WBEM_FLAVOR_NOT_OVERRIDABLE},
                                                      {L"AMENDED", WBEM_FLAVOR_AMENDED},
                                                      // These say what holds anyway when the bits above are not set.
                                                      {L"ENABLEOVERRIDE", 0},
                                                      {L"NOTTOINSTANCE", 0},
                                                      {L"NOTTOSUBCLASS", 0},
                                                      {L"RESTRICTED", 0},
                                                      // Texts in several languages, of which this compiler has one.
                                                      {L"TRANSLATABLE", 0}};
    const auto found = flavors.find(foldName(name));
    return found == flavors.end() ? std::nullopt : std::optional(found->second);
}

// Whether qualifiers may be declared for elements of that kind.
bool isScope(std::wstring_view word)
{
    static const std::set<std::wstring> words{L"ANY",       L"ASSOCIATION", L"CLASS",     L"INDICATION", L"METHOD",
                                              L"PARAMETER", L"PROPERTY",    L"QUALIFIER", L"REFERENCE",  L"SCHEMA"};
    return words.count(foldName(word)) != 0;
}

// What the declaration of a qualifier says about each use of it.
struct QualifierDeclaration
{
    CIMTYPE type = CIM_BOOLEAN;
    Variant defaultValue;
    long flavor = 0;
};

// An alias that no instance has taken so far.
struct UndefinedAlias
{
    const Node& node;
};

class MofCompiler
{
public:
    explicit MofCompiler(ClassRepository& repository) : m_repository(repository) {}

    void compileFile(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            throw MofError(asText(file) + ": the file cannot be opened");
        }
        m_open.insert(identityOf(file));
        std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        constexpr std::string_view utf16Mark = "\xFF\xFE";
        constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
        if (text.starts_with(utf16Mark)) {
            std::wstring wide;
            for (std::size_t i = utf16Mark.size(); i + 1 < text.size(); i += 2) {
                wide += static_cast<wchar_t>(static_cast<unsigned char>(text[i]) |
                                             (static_cast<unsigned char>(text[i + 1]) << 8));
            }
            text = toUtf8(wide);
        } else if (text.starts_with(utf8Mark)) {
            text.erase(0, utf8Mark.size());
        }
        compileText(text, file);
        m_open.erase(identityOf(file));
    }

    void compileText(std::string_view text, const std::filesystem::path& name)
    {
        // cppcheck-suppress invalidLifetime ; the text is the caller's and lives until this call returns
        mof::p::memory_input input(text.data(), text.data() + text.size(), asText(name));
        try {
            const auto root = mof::p::parse_tree::parse<mof::file, mof::selector, mof::p::nothing, mof::control>(input);
            std::vector<PostponedInstance> before = std::exchange(m_postponed, {});
            for (const auto& node : root->children) {
                statement(*node, name);
            }
            declarePostponed();
            m_postponed = std::move(before);
        } catch (const mof::p::parse_error& error) {
            fail(error.positions().front(), error.message());
        }
    }

private:
    struct PostponedInstance
    {
        const Node* node;
        const Node* alias;  // the one it waits for
        Namespace* nameSpace;
    };

    // One file has many names: "a.mof", "sub/../A.mof".
    static std::wstring identityOf(const std::filesystem::path& file)
    {
        return foldName(file.lexically_normal().wstring());
    }

    void statement(const Node& node, const std::filesystem::path& file)
    {
        if (node.is_type<mof::pragma>()) {
            pragma(node, file);
        } else if (node.is_type<mof::include>()) {
            include(*node.children.front(), file);
        } else if (node.is_type<mof::qualifier_declaration>()) {
            qualifierDeclaration(node);
        } else {
            const Node& declared = *node.children.back();
            if (declared.is_type<mof::class_declaration>()) {
                declareClass(declared, childOf<mof::qualifiers>(node));
            } else {
                declareInstance(declared);
            }
        }
    }

    void declareClass(const Node& node, const Node* classQualifiers)
    {
        try {
            classDeclaration(node, classQualifiers);
        } catch (const UndefinedAlias& alias) {
            fail(alias.node, "the alias " + std::string(alias.node.string_view()) + " is not defined above");
        }
    }

    // An instance may use the alias of one that stands further down in the file; it waits until the file is read.
    void declareInstance(const Node& node)
    {
        try {
            instanceDeclaration(node);
        } catch (const UndefinedAlias& alias) {
            m_postponed.push_back({&node, &alias.node, m_namespace});
        }
    }

    // Instances may wait for each other. Once no round gets any further, an alias is missing for good.
    void declarePostponed()
    {
        Namespace* const current = m_namespace;
        while (!m_postponed.empty()) {
            const std::vector<PostponedInstance> round = std::exchange(m_postponed, {});
            for (const PostponedInstance& instance : round) {
                m_namespace = instance.nameSpace;
                declareInstance(*instance.node);
            }
            if (m_postponed.size() == round.size()) {
                const Node& alias = *m_postponed.front().alias;
                fail(alias, "no instance has the alias " + std::string(alias.string_view()));
            }
        }
        m_namespace = current;
    }

    // Pragmas that this compiler has no use for are skipped, as MOF demands.
    void pragma(const Node& node, const std::filesystem::path& file)
    {
        const std::wstring name = nameIn<mof::pragma_name>(node);
        const Node* argument = childOf<mof::text>(node);
        if (sameName(name, L"namespace")) {
            if (argument == nullptr) {
                fail(node, "expected a namespace between quotes after #pragma namespace");
            }
            m_namespace = &m_repository.openNamespace(textOf(*argument));
        } else if (sameName(name, L"include")) {
            if (argument == nullptr) {
                fail(node, "expected the name of a file between quotes after #pragma include");
            }
            include(*argument, file);
        }
    }

    void include(const Node& name, const std::filesystem::path& from)
    {
        const std::filesystem::path path = from.parent_path() / textOf(name);
        if (!std::filesystem::exists(path)) {
            fail(name, "the included file '" + asText(path) + "' does not exist");
        }
        if (m_open.count(identityOf(path)) != 0) {
            fail(name, "the file '" + asText(path) + "' includes itself");
        }
        compileFile(path);
    }

    // ----- values

    Variant value(const Node& node, CIMTYPE type)
    {
        if (node.is_type<mof::kw_null>()) {
            return Variant();
        }
        if (!node.is_type<mof::list>()) {
            if (isArray(type)) {
                fail(node, "expected a list of values between { and }");
            }
            return scalar(node, type);
        }
        if (!isArray(type)) {
            fail(node, "expected a single value, not a list");
        }
        std::vector<Variant> elements;
        for (const auto& element : node.children) {
            elements.push_back(scalar(*element, elementTypeOf(type)));
        }
        return Variant::ofArray(infoOf(type).variant, elements);
    }

    Variant scalar(const Node& node, CIMTYPE type)
    {
        const std::string misfit = "expected a value of type " + toUtf8(infoOf(type).name);
        try {
            if (node.is_type<mof::text>()) {
                if (type != CIM_STRING && type != CIM_DATETIME && type != CIM_REFERENCE) {
                    fail(node, misfit);
                }
                return valueFromText(textOf(node), type);
            }
            if (node.is_type<mof::alias>()) {
                if (type != CIM_REFERENCE && type != CIM_STRING) {
                    fail(node, misfit);
                }
                return Variant::ofText(aliasPath(node));
            }
            if (node.is_type<mof::kw_true>() || node.is_type<mof::kw_false>()) {
                if (type != CIM_BOOLEAN) {
                    fail(node, misfit);
                }
                return Variant::ofBool(node.is_type<mof::kw_true>());
            }
            if (node.is_type<mof::character>()) {
                if (type != CIM_CHAR16) {
                    fail(node, misfit);
                }
                return Variant::ofShort(static_cast<short>(characterOf(node)));
            }
            if (node.is_type<mof::kw_null>() || type == CIM_BOOLEAN || type == CIM_STRING || type == CIM_DATETIME ||
                type == CIM_REFERENCE || type == CIM_OBJECT)
            {
                fail(node, misfit);
            }
            if (isInteger(node)) {
                return valueFromText(decimalText(node), type);
            }
            if (type != CIM_REAL32 && type != CIM_REAL64) {
                fail(node, misfit);
            }
            return valueFromText(toWide(node.string_view()), type);
        } catch (const ValueError& error) {
            fail(node, error.what());
        }
    }

    static wchar_t characterOf(const Node& node)
    {
        const std::wstring text = toWide(node.string_view());
        const std::size_t end = text.rfind(L'\'');
        return unescaped(std::wstring_view(text).substr(1, end - 1)).front();
    }

    const std::wstring& aliasPath(const Node& node)
    {
        const auto found = m_aliases.find(foldName(toWide(node.string_view())));
        if (found == m_aliases.end()) {
            throw UndefinedAlias{node};
        }
        return found->second;
    }

    // ----- qualifiers

    // Where a qualifier may stand is read and not enforced, as with the platform's own compiler.
    void qualifierDeclaration(const Node& node)
    {
        const std::wstring name = nameIn<mof::declared_qualifier>(node);
        const Node& typeNode = *childOf<mof::qualifier_type>(node);
        const CimTypeInfo* info = findCimType(toWide(typeNode.string_view()));
        if (info == nullptr || info->type == CIM_OBJECT) {
            fail(typeNode, "a qualifier is of a simple type, not of '" + std::string(typeNode.string_view()) + "'");
        }
        QualifierDeclaration result;
        result.type = info->type;
        if (childOf<mof::array_mark>(node) != nullptr) {
            result.type |= CIM_FLAG_ARRAY;
        }
        if (const Node* defaultNode = childOf<mof::default_value>(node)) {
            result.defaultValue = value(*defaultNode->children.front(), result.type);
        }
        // Without the word Restricted, derived classes inherit the qualifier.
        result.flavor = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
        for (const auto& child : node.children) {
            if (child->is_type<mof::scope_word>() && !isScope(toWide(child->string_view()))) {
                fail(*child, "the scope '" + std::string(child->string_view()) + "' is unknown");
            }
            if (child->is_type<mof::flavor>()) {
                if (sameName(toWide(child->string_view()), L"restricted")) {
                    result.flavor &= ~WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
                }
                result.flavor |= flavorOf(*child);
            }
        }
        if (!m_declarations.emplace(foldName(name), std::move(result)).second) {
            fail(*childOf<mof::declared_qualifier>(node), "the qualifier " + named(name) + " is declared twice");
        }
    }

    static long flavorOf(const Node& node)
    {
        const auto bit = flavorBit(toWide(node.string_view()));
        if (!bit) {
            fail(node, "the flavor '" + std::string(node.string_view()) + "' is unknown");
        }
        return *bit;
    }

    Qualifiers qualifierList(const Node* list, Qualifiers result = {})
    {
        if (list == nullptr) {
            return result;
        }
        std::set<std::wstring> seen;
        for (const auto& node : list->children) {
            Qualifier next = qualifier(*node);
            if (!seen.insert(foldName(next.name)).second) {
                fail(*node, "the qualifier " + named(next.name) + " stands here twice");
            }
            const auto same = [&next](const Qualifier& q) { return sameName(q.name, next.name); };
            const auto inherited = std::find_if(result.begin(), result.end(), same);
            if (inherited == result.end()) {
                result.push_back(std::move(next));
                continue;
            }
            const bool fixed = (inherited->flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) != 0;
            if (fixed && !sameValue(inherited->value.get(), next.value.get())) {
                fail(*node, "the qualifier " + named(next.name) + " of the superclass cannot be overridden");
            }
            if (!fixed) {
                *inherited = std::move(next);
            }
        }
        return result;
    }

    Qualifier qualifier(const Node& node)
    {
        Qualifier result;
        result.name = nameIn<mof::qualifier_name>(node);
        result.value = Variant::ofBool(true);
        const auto declared = m_declarations.find(foldName(result.name));
        const bool isDeclared = declared != m_declarations.end();
        if (isDeclared) {
            result.flavor = declared->second.flavor;
            result.type = declared->second.type;
            // A boolean that merely stands there is true, whatever holds where it does not stand.
            if (result.type != CIM_BOOLEAN) {
                result.value = declared->second.defaultValue;
            }
        }
        // WMI gives these their flavor in every MOF; without it, instances would have no keys.
        static const std::set<std::wstring> fixed{L"KEY", L"IN", L"OUT", L"ID"};
        if (fixed.count(foldName(result.name)) != 0) {
            result.flavor |= keyQualifier().flavor;
        }
        for (const auto& child : node.children) {
            if (child->is_type<mof::flavor>()) {
                result.flavor |= flavorOf(*child);
            } else if (!child->is_type<mof::qualifier_name>()) {
                result.type = isDeclared ? result.type : literalType(*child);
                result.value = value(*child, result.type);
            }
        }
        return result;
    }

    // The value of a qualifier that is not declared decides its type.
    CIMTYPE literalType(const Node& node) const
    {
        if (node.is_type<mof::list>()) {
            return (node.children.empty() ? CIMTYPE{CIM_STRING} : literalType(*node.children.front())) | CIM_FLAG_ARRAY;
        }
        if (node.is_type<mof::kw_true>() || node.is_type<mof::kw_false>()) {
            return CIM_BOOLEAN;
        }
        if (node.is_type<mof::real>()) {
            return CIM_REAL64;
        }
        if (node.is_type<mof::character>()) {
            return CIM_CHAR16;
        }
        if (isInteger(node)) {
            const auto number = parseSigned(decimalText(node));
            const bool small = number && *number >= LONG_MIN && *number <= LONG_MAX;
            return small ? CIM_SINT32 : CIM_SINT64;
        }
        return CIM_STRING;
    }

    // ----- classes

    // The type that stands before the name of a property, a method or a parameter.
    static void readType(const Node& node, CIMTYPE& type, std::wstring& className)
    {
        const Node& typeNode = *childOf<mof::type_name>(node);
        const std::wstring typeName = toWide(typeNode.string_view());
        const CimTypeInfo* info = findCimType(typeName);
        if (const Node* embedded = childOf<mof::type_class>(node)) {
            if (info == nullptr || info->type != CIM_OBJECT) {
                fail(typeNode, "only 'object' may be followed by : and a class");
            }
            className = nameIn<mof::type_name>(*embedded);
        }
        if (childOf<mof::ref_mark>(node) != nullptr) {
            type = CIM_REFERENCE;
            className = info != nullptr && info->type == CIM_OBJECT ? std::wstring() : typeName;
            if (info != nullptr && info->type != CIM_OBJECT) {
                fail(typeNode, "a reference is to a class, not to the type " + named(typeName));
            }
            return;
        }
        if (info == nullptr) {
            // A class as a type is an embedded object of that class.
            type = CIM_OBJECT;
            className = typeName;
            return;
        }
        type = info->type;
    }

    void classDeclaration(const Node& node, const Node* classQualifiers)
    {
        const std::wstring name = nameIn<mof::class_name>(node);
        ClassDefinition definition;
        if (const Node* superNode = childOf<mof::superclass_name>(node)) {
            const ClassPointer superclass = currentNamespace().findClass(toWide(superNode->string_view()));
            if (!superclass) {
                fail(*superNode, "the superclass '" + std::string(superNode->string_view()) + "' is not declared in " +
                                     toUtf8(currentNamespace().name()));
            }
            definition = derivedFrom(*superclass, name);
        }
        definition.name = name;
        definition.nameSpace = currentNamespace().name();
        definition.qualifiers = qualifierList(classQualifiers, std::move(definition.qualifiers));
        for (const auto& child : node.children) {
            if (!child->is_type<mof::member>()) {
                continue;
            }
            if (const Node* parameters = childOf<mof::parameters>(*child)) {
                method(*child, *parameters, definition);
            } else {
                property(*child, definition);
            }
        }
        currentNamespace().addClass(std::make_shared<const ClassDefinition>(std::move(definition)));
    }

    void property(const Node& node, ClassDefinition& definition)
    {
        const Node& nameNode = *childOf<mof::member_name>(node);
        Property result;
        result.name = toWide(nameNode.string_view());
        readType(node, result.type, result.className);
        if (childOf<mof::array_mark>(node) != nullptr) {
            result.type |= CIM_FLAG_ARRAY;
        }
        result.origin = definition.name;
        result.qualifiers = standardQualifiers(result.type, result.className);

        const int place = definition.indexOf(result.name);
        if (place >= 0) {
            const Property& inherited = definition.properties[static_cast<std::size_t>(place)];
            if (inherited.local) {
                fail(nameNode, "the property " + named(result.name) + " is declared twice");
            }
            if (inherited.type != result.type) {
                fail(nameNode, "the property " + named(result.name) + " of the superclass has another type");
            }
            result.origin = inherited.origin;
            result.defaultValue = inherited.defaultValue;
            result.qualifiers = inherited.qualifiers;
            result.overridden = std::make_shared<const Property>(inherited);
        }
        result.qualifiers = qualifierList(childOf<mof::qualifiers>(node), std::move(result.qualifiers));
        if (const Node* defaultNode = childOf<mof::default_value>(node)) {
            result.defaultValue = value(*defaultNode->children.front(), result.type);
        }
        if (place >= 0) {
            definition.properties[static_cast<std::size_t>(place)] = std::move(result);
        } else {
            definition.properties.push_back(std::move(result));
        }
    }

    void method(const Node& node, const Node& parameters, ClassDefinition& definition)
    {
        const Node& nameNode = *childOf<mof::member_name>(node);
        Method result;
        result.name = toWide(nameNode.string_view());
        result.origin = definition.name;
        result.qualifiers = qualifierList(childOf<mof::qualifiers>(node));

        ClassDefinition in = signature();
        ClassDefinition out = signature();
        long id = 0;
        for (const auto& child : parameters.children) {
            parameter(*child, id++, in, out);
        }
        const std::wstring returnType = nameIn<mof::type_name>(node);
        if (!sameName(returnType, L"void")) {
            Property returnValue;
            returnValue.name = L"ReturnValue";
            readType(node, returnValue.type, returnValue.className);
            returnValue.origin = out.name;
            returnValue.qualifiers = standardQualifiers(returnValue.type, returnValue.className);
            returnValue.qualifiers.push_back(flag(L"out"));
            out.properties.push_back(std::move(returnValue));
        }
        if (!in.properties.empty()) {
            result.in = std::make_shared<const ClassDefinition>(std::move(in));
        }
        if (!out.properties.empty()) {
            result.out = std::make_shared<const ClassDefinition>(std::move(out));
        }

        const auto same = [&result](const Method& m) { return sameName(m.name, result.name); };
        const auto inherited = std::find_if(definition.methods.begin(), definition.methods.end(), same);
        if (inherited == definition.methods.end()) {
            definition.methods.push_back(std::move(result));
            return;
        }
        if (inherited->local) {
            fail(nameNode, "the method " + named(result.name) + " is declared twice");
        }
        result.origin = inherited->origin;
        *inherited = std::move(result);
    }

    void parameter(const Node& node, long id, ClassDefinition& in, ClassDefinition& out)
    {
        Property result;
        result.name = nameIn<mof::parameter_name>(node);
        readType(node, result.type, result.className);
        if (childOf<mof::array_mark>(node) != nullptr) {
            result.type |= CIM_FLAG_ARRAY;
        }
        result.origin = in.name;
        result.qualifiers =
            qualifierList(childOf<mof::qualifiers>(node), standardQualifiers(result.type, result.className));
        if (findQualifier(result.qualifiers, L"ID") == nullptr) {
            result.qualifiers.push_back({L"ID", CIM_SINT32, Variant::ofLong(id), keyQualifier().flavor});
        }
        const bool isIn = hasQualifier(result.qualifiers, L"in");
        const bool isOut = hasQualifier(result.qualifiers, L"out");
        if (!isIn && !isOut) {
            fail(node, "the parameter " + named(result.name) + " is neither [in] nor [out]");
        }
        if ((isIn && in.indexOf(result.name) >= 0) || (isOut && out.indexOf(result.name) >= 0)) {
            fail(node, "the parameter " + named(result.name) + " is declared twice");
        }
        if (isIn) {
            in.properties.push_back(result);
        }
        if (isOut) {
            out.properties.push_back(std::move(result));
        }
    }

    ClassDefinition signature()
    {
        ClassDefinition result;
        result.name = L"__PARAMETERS";
        result.nameSpace = currentNamespace().name();
        result.qualifiers.push_back(
            {L"abstract", CIM_BOOLEAN, Variant::ofBool(true), WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE});
        return result;
    }

    static Qualifier flag(const wchar_t* name)
    {
        return {name, CIM_BOOLEAN, Variant::ofBool(true), keyQualifier().flavor};
    }

    // ----- instances

    void instanceDeclaration(const Node& node)
    {
        const Node& classNode = *childOf<mof::class_name>(node);
        const ClassPointer definition = currentNamespace().findClass(toWide(classNode.string_view()));
        if (!definition) {
            fail(classNode, "the class '" + std::string(classNode.string_view()) + "' is not declared in " +
                                toUtf8(currentNamespace().name()));
        }
        InstanceData instance(definition);
        std::set<int> assigned;
        for (const auto& child : node.children) {
            if (!child->is_type<mof::assignment>()) {
                continue;
            }
            const Node& nameNode = *childOf<mof::property_name>(*child);
            const int place = definition->indexOf(toWide(nameNode.string_view()));
            if (place < 0) {
                fail(nameNode, "the class " + named(definition->name) + " has no property '" +
                                   std::string(nameNode.string_view()) + "'");
            }
            if (!assigned.insert(place).second) {
                fail(nameNode, "the property '" + std::string(nameNode.string_view()) + "' gets a value a second time");
            }
            const auto index = static_cast<std::size_t>(place);
            instance.values[index] = value(*child->children.back(), definition->properties[index].type);
        }
        const auto path = relativePath(*definition, instance.values);
        if (!path) {
            fail(classNode, "an instance of " + named(definition->name) + " needs a value for each of its keys");
        }
        if (const Node* aliasNode = childOf<mof::instance_alias>(node)) {
            const std::wstring prefix = L"\\\\.\\" + currentNamespace().name() + L":";
            if (!m_aliases.emplace(foldName(toWide(aliasNode->string_view())), prefix + *path).second) {
                fail(*aliasNode, "the alias " + std::string(aliasNode->string_view()) + " is defined twice");
            }
        }
        if (sameName(definition->name, L"__NAMESPACE")) {
            m_repository.openNamespace(currentNamespace().name() + L"\\" + scalarText(nameOf(instance), CIM_STRING));
            return;
        }
        currentNamespace().addInstance(std::move(instance));
    }

    static const VARIANT& nameOf(const InstanceData& instance)
    {
        return instance.values[static_cast<std::size_t>(instance.definition->indexOf(L"Name"))].get();
    }

    Namespace& currentNamespace()
    {
        if (m_namespace == nullptr) {
            m_namespace = &m_repository.openNamespace(L"root\\default");
        }
        return *m_namespace;
    }

    ClassRepository& m_repository;
    Namespace* m_namespace = nullptr;
    std::map<std::wstring, QualifierDeclaration> m_declarations;  // by folded name
    std::map<std::wstring, std::wstring> m_aliases;               // folded, with the $ -> path
    std::vector<PostponedInstance> m_postponed;                   // of the file that is being read
    std::set<std::wstring> m_open;                                // the identities of the files that are being read
};

}  // namespace

void compileMofFile(const std::filesystem::path& file, ClassRepository& repository)
{
    MofCompiler(repository).compileFile(file);
}

void compileMofText(std::string_view text, const std::filesystem::path& name, ClassRepository& repository)
{
    MofCompiler(repository).compileText(text, name);
}

}  // namespace wmihost
