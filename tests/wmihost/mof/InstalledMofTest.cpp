#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "wmihost/mof/MofCompiler.h"
#include "wmihost/session/ProviderRegistration.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::filesystem::path installed(const char* name)
{
    return std::filesystem::path(ZERIX_INSTALL_FOLDER) / name;
}

TEST(InstalledMof, EachClass_hasKeysDescriptionsAndProvider)
{
    ClassRepository repository;
    compileMofFile(installed("ZerixDRAVEv2.mof"), repository);
    int classes = 0;
    for (const Namespace* nameSpace : repository.namespaces()) {
        for (const ClassPointer& definition : nameSpace->classes()) {
            if (definition->name.starts_with(L"__")) {
                continue;
            }
            ++classes;
            const std::string name = toUtf8(definition->name);
            EXPECT_EQ(findRegistration(*nameSpace, *definition).name, L"ZerixDRAVEv2Provider") << name;
            EXPECT_TRUE(hasQualifier(definition->qualifiers, L"dynamic")) << name;
            EXPECT_NE(qualifierText(definition->qualifiers, L"Description"), L"") << name;
            int keys = 0;
            for (const Property& property : definition->properties) {
                keys += property.isKey() ? 1 : 0;
                // The standard defines the qualifier for properties only, and a reference is not one of them.
                EXPECT_EQ(hasQualifier(property.qualifiers, L"read"), property.type != CIM_REFERENCE)
                    << name << "." << toUtf8(property.name);
                EXPECT_NE(qualifierText(property.qualifiers, L"Description"), L"")
                    << name << "." << toUtf8(property.name);
            }
            EXPECT_GT(keys, 0) << name;
            for (const Method& method : definition->methods) {
                EXPECT_TRUE(hasQualifier(method.qualifiers, L"implemented")) << name;
                // The provider calls every method on an instance.
                EXPECT_FALSE(hasQualifier(method.qualifiers, L"static")) << name;
                // WMI passes no object for a method without inputs, and the provider refuses such a call.
                EXPECT_TRUE(method.in) << name << "." << toUtf8(method.name) << " can never be called";
            }
        }
    }
    EXPECT_EQ(classes, 17);
}

TEST(InstalledMof, ValueMap_hasAWordForEachNumber)
{
    ClassRepository repository;
    compileMofFile(installed("ZerixDRAVEv2.mof"), repository);
    const auto check = [](const Qualifiers& qualifiers, const std::wstring& where) {
        const Qualifier* words = findQualifier(qualifiers, L"Values");
        const Qualifier* numbers = findQualifier(qualifiers, L"ValueMap");
        ASSERT_EQ(words == nullptr, numbers == nullptr) << toUtf8(where);
        if (words != nullptr) {
            EXPECT_EQ(elementsOf(words->value.get()).size(), elementsOf(numbers->value.get()).size()) << toUtf8(where);
        }
    };
    for (const Namespace* nameSpace : repository.namespaces()) {
        for (const ClassPointer& definition : nameSpace->classes()) {
            for (const Property& property : definition->properties) {
                check(property.qualifiers, definition->name + L"." + property.name);
            }
            for (const Method& method : definition->methods) {
                check(method.qualifiers, definition->name + L"." + method.name);
            }
        }
    }
}

// Only the pragmas of WMI's compiler are outside the standard.
TEST(InstalledMof, Mof_keepsToTheStandardExceptWmisPragmas)
{
    static const std::regex pragma("the pragma '(autorecover|deleteclass|deleteinstance)' is not in the standard");
    ClassRepository repository;
    std::vector<std::string> others;
    for (const char* name : {"ZerixDRAVEv2.mof", "ZerixDRAVEv2-uninstall.mof"}) {
        const std::vector<std::string> violations = checkMofFile(installed(name), repository);
        EXPECT_FALSE(violations.empty()) << name;
        for (const std::string& violation : violations) {
            if (!std::regex_search(violation, pragma)) {
                others.push_back(violation.substr(violation.rfind(": ") + 2));
            }
        }
    }
    EXPECT_EQ(others, std::vector<std::string>{});
}

TEST(InstalledMof, Removal_deletesEveryInstalledClass)
{
    ClassRepository repository;
    compileMofFile(installed("ZerixDRAVEv2.mof"), repository);
    std::ifstream stream(installed("ZerixDRAVEv2-uninstall.mof"));
    const std::string removal{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    ClassRepository nothing;
    EXPECT_NO_THROW(compileMofText(removal, "removal.mof", nothing));
    for (const Namespace* nameSpace : repository.namespaces()) {
        for (const ClassPointer& definition : nameSpace->classes()) {
            if (!definition->name.starts_with(L"__")) {
                const std::string line = "#pragma deleteclass(\"" + toUtf8(definition->name) + "\", nofail)";
                EXPECT_NE(removal.find(line), std::string::npos) << line;
            }
        }
    }
}

}  // namespace
}  // namespace wmihost
