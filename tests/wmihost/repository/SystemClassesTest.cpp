#include "wmihost/repository/SystemClasses.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/ExpectedFile.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

TEST(SystemClasses, EachClass_isDeclaredAsByWmi)
{
    Namespace nameSpace(L"root\\test");
    addSystemClasses(nameSpace);
    std::wstring texts;
    for (const ClassPointer& definition : nameSpace.classes()) {
        texts += classText(*definition, true);
        EXPECT_EQ(definition->nameSpace, L"root\\test");
        if (!definition->ancestors.empty()) {
            const ClassPointer superclass = nameSpace.findClass(definition->ancestors.front());
            ASSERT_TRUE(superclass) << toUtf8(definition->name);
            std::vector<std::wstring> lineage = superclass->ancestors;
            lineage.insert(lineage.begin(), superclass->name);
            EXPECT_EQ(definition->ancestors, lineage) << toUtf8(definition->name);
        }
        for (const Property& property : definition->properties) {
            EXPECT_TRUE(property.className.empty() || nameSpace.findClass(property.className))
                << toUtf8(property.className);
        }
    }
    expectFile(ZERIX_SYSTEM_CLASSES, toUtf8(texts));
}

}  // namespace
}  // namespace wmihost
