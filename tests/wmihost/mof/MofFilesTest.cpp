#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "wmihost/mof/MofCompiler.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/terminal/Text.h"

// Each .mof of a folder stands beside what it compiles to, its .expected. ZERIX_ACCEPT_BASELINES=1 writes those.

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

// Everything that a repository declares, as MOF that compiles on its own.
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

// What a file compiles to; its mistake, without the folder, if it has one.
std::string outcome(const fs::path& file)
{
    ClassRepository repository;
    try {
        compileMofFile(file, repository);
        return written(repository);
    } catch (const MofError& error) {
        const std::string folder = toUtf8((file.parent_path() / "").wstring());
        const std::string message = error.what();
        return message.substr(message.starts_with(folder) ? folder.size() : 0) + "\n";
    }
}

void expectContent(const fs::path& expected, const std::string& content)
{
    const char* const accept = std::getenv("ZERIX_ACCEPT_BASELINES");
    if (accept != nullptr && accept == std::string("1")) {
        std::ofstream(expected, std::ios::binary) << content;
    }
    std::ifstream stream(expected, std::ios::binary);
    ASSERT_TRUE(stream.good()) << expected << " is missing; ZERIX_ACCEPT_BASELINES=1 writes it";
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()}), content);
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

TEST_P(MofCase, CompilesToWhatIsExpected)
{
    expectContent(fs::path(GetParam()).replace_extension(".expected"), outcome(GetParam()));
}

TEST_P(MofCase, WhatItWrites_compilesToTheSame)
{
    ClassRepository first;
    try {
        compileMofFile(GetParam(), first);
    } catch (const MofError&) {
        GTEST_SKIP() << "the file is one that is refused";
    }
    const std::string text = written(first);
    ClassRepository second;
    ASSERT_NO_THROW(compileMofText(text, "written.mof", second)) << text;
    EXPECT_EQ(written(second), text);
}

INSTANTIATE_TEST_SUITE_P(Files, MofCase, testing::ValuesIn(mofFilesIn(ZERIX_MOF_CASES)), testName);

class StrictMofCase : public testing::TestWithParam<fs::path>
{
};

TEST_P(StrictMofCase, ViolatesWhatIsExpected)
{
    ClassRepository repository;
    std::string content;
    const std::string folder = toUtf8((GetParam().parent_path() / "").wstring());
    for (const std::string& violation : checkMofFile(GetParam(), repository)) {
        content += violation.substr(folder.size()) + "\n";
    }
    expectContent(fs::path(GetParam()).replace_extension(".expected"), content);
}

INSTANTIATE_TEST_SUITE_P(Files, StrictMofCase, testing::ValuesIn(mofFilesIn(ZERIX_MOF_STRICT_CASES)), testName);

// Whole schemas of others, which this tree may not hold: ZERIX_MOF_CORPUS names a folder, and each .mof that lies
// directly in it compiles on its own, with what it includes.
TEST(MofCorpus, EachFile_compilesAndIsReadBackEqual)
{
    const char* const folder = std::getenv("ZERIX_MOF_CORPUS");
    if (folder == nullptr) {
        GTEST_SKIP() << "ZERIX_MOF_CORPUS names no folder";
    }
    const std::vector<fs::path> files = mofFilesIn(folder);
    EXPECT_FALSE(files.empty()) << folder << " holds no .mof";
    for (const fs::path& file : files) {
        ClassRepository first;
        EXPECT_NO_THROW(compileMofFile(file, first)) << file;
        const std::string text = written(first);
        ClassRepository second;
        EXPECT_NO_THROW(compileMofText(text, "written.mof", second)) << file;
        EXPECT_EQ(written(second), text) << file;
    }
}

}  // namespace
}  // namespace wmihost
