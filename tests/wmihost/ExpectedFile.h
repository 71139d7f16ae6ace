#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/Baseline.h"

namespace wmihost {

// Expects that the file holds exactly that content. ZERIX_ACCEPT_BASELINES=1 writes it.
inline void expectFile(const std::filesystem::path& file, const std::string& content)
{
    if (support::acceptsBaselines()) {
        std::ofstream(file, std::ios::binary) << content;
    }
    std::ifstream stream(file, std::ios::binary);
    ASSERT_TRUE(stream.good()) << file << " is missing; ZERIX_ACCEPT_BASELINES=1 writes it";
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()}), content);
}

}  // namespace wmihost
