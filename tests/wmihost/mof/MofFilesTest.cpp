#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "tests/wmihost/ExpectedFile.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/terminal/Text.h"

// Each .mof of a folder has a file .expected beside it, with the result of compiling it.

namespace wmihost {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> mofFilesIn(const fs::path& folder)
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string extension = entry.path().extension().string();
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (extension == ".mof") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Nothing is written for a file that is refused.
std::vector<fs::path> acceptedFilesIn(const fs::path& folder)
{
    std::vector<fs::path> files = mofFilesIn(folder);
    std::erase_if(files, [](const fs::path& file) { return file.stem().string().starts_with("refused-"); });
    return files;
}

// Everything that a repository declares, as a MOF that can be compiled alone.
std::string written(const ClassRepository& repository)
{
    std::wstring text;
    for (const Namespace* nameSpace : repository.namespaces()) {
        text += L"#pragma namespace(" + mofQuoted(L"\\\\.\\" + nameSpace->name()) + L")\n";
        for (const ClassPointer& definition : nameSpace->classes()) {
            if (definition->name.starts_with(L"__")) {
                continue;
            }
            text += classText(*definition, true);
        }
        for (const ClassPointer& definition : nameSpace->classes()) {
            for (const InstanceData* instance : nameSpace->instancesOf(definition->name)) {
                text += instanceText(*definition, instance->values);
            }
        }
    }
    return toUtf8(text);
}

// The result of compiling a file, or the message of its mistake without the folder of the cases.
std::string outcome(const fs::path& file)
{
    ClassRepository repository;
    try {
        compileMofFile(file, repository);
        return written(repository);
    } catch (const MofError& error) {
        const std::string folder = toUtf8((file.parent_path() / "").wstring());
        std::string message = error.what();
        for (std::size_t at = message.find(folder); at != std::string::npos; at = message.find(folder)) {
            message.erase(at, folder.size());
        }
        return message + "\n";
    }
}

// Compares the classes and instances as objects, because they have more data than their texts show.
void expectSameObjects(const Namespace& left, const Namespace& right)
{
    const auto expectSame = [](const ComPtr<IWbemClassObject>& one, const ComPtr<IWbemClassObject>& other,
                               std::wstring_view name) {
        EXPECT_EQ(one->CompareTo(WBEM_COMPARISON_INCLUDE_ALL, other.get()), WBEM_S_SAME) << toUtf8(name);
    };
    for (const ClassPointer& definition : left.classes()) {
        const ClassPointer other = right.findClass(definition->name);
        ASSERT_TRUE(other) << toUtf8(definition->name);
        expectSame(ClassObject::ofClass(definition), ClassObject::ofClass(other), definition->name);
        const auto instances = left.instancesOf(definition->name);
        const auto others = right.instancesOf(definition->name);
        ASSERT_EQ(instances.size(), others.size()) << toUtf8(definition->name);
        for (std::size_t i = 0; i < instances.size(); ++i) {
            expectSame(ClassObject::ofInstance(*instances[i]), ClassObject::ofInstance(*others[i]), definition->name);
        }
    }
}

// Compiles a file, and then compiles the result.
void expectReadBackEqual(const fs::path& file)
{
    ClassRepository first;
    ASSERT_NO_THROW(compileMofFile(file, first)) << file;
    const std::string text = written(first);
    ClassRepository second;
    ASSERT_NO_THROW(compileMofText(text, "written.mof", second)) << file << "\n" << text;
    EXPECT_EQ(written(second), text) << file;
    for (const Namespace* nameSpace : first.namespaces()) {
        const Namespace* const other = second.findNamespace(nameSpace->name());
        ASSERT_NE(other, nullptr) << toUtf8(nameSpace->name());
        expectSameObjects(*nameSpace, *other);
    }
}

std::string testName(const testing::TestParamInfo<fs::path>& info)
{
    std::string name = info.param.stem().string();
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class MofCase : public testing::TestWithParam<fs::path>
{
};

TEST_P(MofCase, File_compilesToWhatIsExpected)
{
    expectFile(fs::path(GetParam()).replace_extension(".expected"), outcome(GetParam()));
}

class AcceptedMofCase : public testing::TestWithParam<fs::path>
{
};

TEST_P(AcceptedMofCase, WhatItWrites_compilesToTheSame)
{
    expectReadBackEqual(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Files, MofCase, testing::ValuesIn(mofFilesIn(ZERIX_MOF_CASES)), testName);
INSTANTIATE_TEST_SUITE_P(Files, AcceptedMofCase, testing::ValuesIn(acceptedFilesIn(ZERIX_MOF_CASES)), testName);
// Whole schemas with the layout of real ones: a root file that includes others from subfolders.
INSTANTIATE_TEST_SUITE_P(Schemas, MofCase, testing::ValuesIn(mofFilesIn(ZERIX_MOF_SCHEMAS)), testName);
INSTANTIATE_TEST_SUITE_P(Schemas, AcceptedMofCase, testing::ValuesIn(acceptedFilesIn(ZERIX_MOF_SCHEMAS)), testName);

class StrictMofCase : public testing::TestWithParam<fs::path>
{
};

TEST_P(StrictMofCase, File_violatesWhatIsExpected)
{
    ClassRepository repository;
    std::string content;
    const std::string folder = toUtf8((GetParam().parent_path() / "").wstring());
    for (const std::string& violation : checkMofFile(GetParam(), repository)) {
        content += violation.substr(folder.size()) + "\n";
    }
    expectFile(fs::path(GetParam()).replace_extension(".expected"), content);
}

INSTANTIATE_TEST_SUITE_P(Files, StrictMofCase, testing::ValuesIn(mofFilesIn(ZERIX_MOF_STRICT_CASES)), testName);

// Whole schemas of other authors, which this project may not distribute. ZERIX_MOF_CORPUS names a folder; each .mof
// directly in it is compiled alone, together with its includes.
TEST(MofCorpus, EachFile_compilesAndIsReadBackEqual)
{
    const char* const folder = std::getenv("ZERIX_MOF_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "ZERIX_MOF_CORPUS names no folder";
    }
    const std::vector<fs::path> files = mofFilesIn(folder);
    EXPECT_FALSE(files.empty()) << folder << " holds no .mof";
    for (const fs::path& file : files) {
        expectReadBackEqual(file);
    }
}

}  // namespace
}  // namespace wmihost
