#include "wmihost/repository/ClassRepository.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace wmihost
