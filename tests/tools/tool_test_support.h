// Shared helpers of the tool's tests: a scratch directory and whole-file I/O.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace morvatool::testing {

// A fresh directory per test, removed afterwards.
class ScratchDirectory : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    std::string path(const std::string& name) const { return (directory_ / name).string(); }

private:
    std::filesystem::path directory_;
};

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);

}  // namespace morvatool::testing
