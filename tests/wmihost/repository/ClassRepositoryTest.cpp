#include "wmihost/repository/ClassRepository.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

TEST(ClassRepository, Namespace_hasManySpellings)
{
    EXPECT_EQ(ClassRepository::plainName(L"\\\\.\\root\\a"), L"root\\a");
    EXPECT_EQ(ClassRepository::plainName(L"//server/root/a"), L"root\\a");
    EXPECT_EQ(ClassRepository::plainName(L"\\root"), L"root");
    EXPECT_EQ(ClassRepository::plainName(L"root/a"), L"root\\a");
    EXPECT_EQ(ClassRepository::plainName(L""), L"");
}

TEST(ClassRepository, Namespace_isOpenedOnce)
{
    ClassRepository repository;
    Namespace& first = repository.openNamespace(L"root\\a");
    EXPECT_EQ(&repository.openNamespace(L"\\\\.\\ROOT/A"), &first);
    EXPECT_EQ(repository.findNamespace(L"root\\b"), nullptr);
    repository.openNamespace(L"root\\b");
    ASSERT_EQ(repository.namespaces().size(), 2U);
    EXPECT_EQ(repository.namespaces()[1]->name(), L"root\\b");
}

TEST(ClassRepository, NewNamespace_hasTheRegistrationClasses)
{
    ClassRepository repository;
    const Namespace& created = repository.openNamespace(L"root\\a");
    for (const auto* name : {L"__NAMESPACE", L"__Win32Provider", L"__InstanceProviderRegistration",
                             L"__MethodProviderRegistration", L"__PARAMETERS"})
    {
        EXPECT_TRUE(created.findClass(name));
    }
    EXPECT_TRUE(created.findClass(L"__InstanceProviderRegistration")->inheritsFrom(L"__ProviderRegistration"));
    EXPECT_TRUE(created.findClass(L"__Win32Provider")->findProperty(L"Name")->isKey());
}

TEST(ClassRepository, ClassOfTheSameName_replacesTheFirst)
{
    const ClassRepository repository =
        compiled("class A { string First; };\nclass B { };\nclass a { string Second; };");
    const ClassPointer found = classIn(repository, L"A");
    EXPECT_EQ(found->findProperty(L"First"), nullptr);
    EXPECT_NE(found->findProperty(L"Second"), nullptr);
    int own = 0;
    for (const ClassPointer& definition : repository.findNamespace(L"root\\test")->classes()) {
        own += definition->name.starts_with(L"__") ? 0 : 1;
    }
    EXPECT_EQ(own, 2);
}

}  // namespace
}  // namespace wmihost
