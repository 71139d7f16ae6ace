#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
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

void forEachClass(const ClassRepository& repository,
                  const std::function<void(const Namespace&, const ClassDefinition&)>& visit)
{
    for (const Namespace* nameSpace : repository.namespaces()) {
        for (const ClassPointer& definition : nameSpace->classes()) {
            if (!definition->name.starts_with(L"__")) {
                visit(*nameSpace, *definition);
            }
        }
    }
}

TEST(InstalledMof, EachClass_hasKeysDescriptionsAndProvider)
{
    ClassRepository repository;
    compileMofFile(installed("ZerixDRAVEv2.mof"), repository);
    int classes = 0;
    forEachClass(repository, [&classes](const Namespace& nameSpace, const ClassDefinition& definition) {
        ++classes;
        SCOPED_TRACE(toUtf8(definition.name));
        EXPECT_EQ(findRegistration(nameSpace, definition).name, L"ZerixDRAVEv2Provider");
        EXPECT_TRUE(hasQualifier(definition.qualifiers, L"dynamic"));
        EXPECT_NE(qualifierText(definition.qualifiers, L"Description"), L"");
        int keys = 0;
        for (const Property& property : definition.properties) {
            keys += property.isKey() ? 1 : 0;
            // The standard defines the qualifier for properties only, and a reference is not one of them.
            EXPECT_EQ(hasQualifier(property.qualifiers, L"read"), property.type != CIM_REFERENCE)
                << toUtf8(property.name);
            EXPECT_NE(qualifierText(property.qualifiers, L"Description"), L"") << toUtf8(property.name);
        }
        EXPECT_GT(keys, 0);
        for (const Method& method : definition.methods) {
            EXPECT_TRUE(hasQualifier(method.qualifiers, L"implemented")) << toUtf8(method.name);
            // The provider calls every method on an instance.
            EXPECT_FALSE(hasQualifier(method.qualifiers, L"static")) << toUtf8(method.name);
            // WMI passes no object for a method without inputs, and the provider refuses such a call.
            EXPECT_TRUE(method.in) << toUtf8(method.name) << " can never be called";
        }
    });
    EXPECT_EQ(classes, 17);
}

TEST(InstalledMof, ValueMap_hasAWordForEachNumber)
{
    ClassRepository repository;
    compileMofFile(installed("ZerixDRAVEv2.mof"), repository);
    forEachClass(repository, [](const Namespace&, const ClassDefinition& definition) {
        const auto check = [&definition](const auto& member) {
            SCOPED_TRACE(toUtf8(definition.name + L"." + member.name));
            const Qualifier* words = findQualifier(member.qualifiers, L"Values");
            const Qualifier* numbers = findQualifier(member.qualifiers, L"ValueMap");
            ASSERT_EQ(words == nullptr, numbers == nullptr);
            if (words != nullptr) {
                EXPECT_EQ(elementsOf(words->value.get()).size(), elementsOf(numbers->value.get()).size());
            }
        };
        std::for_each(definition.properties.begin(), definition.properties.end(), check);
        std::for_each(definition.methods.begin(), definition.methods.end(), check);
    });
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
    forEachClass(repository, [&removal](const Namespace&, const ClassDefinition& definition) {
        const std::string line = "#pragma deleteclass(\"" + toUtf8(definition.name) + "\", nofail)";
        EXPECT_NE(removal.find(line), std::string::npos) << line;
    });
}

}  // namespace
}  // namespace wmihost
