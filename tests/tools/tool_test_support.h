// Shared helpers of the tool's tests: a scratch directory, whole-file I/O and
// the message of a refusal.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "images.h"

namespace morvatool::testing {

// A fresh directory per test, named after the process, removed afterwards.
class ScratchDirectory : public ::testing::Test {
protected:
    void SetUp() override {
        directory_ = std::filesystem::path(::testing::TempDir()) / ("morva-tool-" + std::to_string(::getpid()));
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directories(directory_);
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    std::string path(const std::string& name) const { return (directory_ / name).string(); }

private:
    std::filesystem::path directory_;
};

inline void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The message of the ToolError a call throws, or "accepted" when it throws none.
template <class Call>
std::string refusal(Call&& call) {
    try {
        call();
    } catch (const ToolError& error) {
        return error.what();
    }
    return "accepted";
}

}  // namespace morvatool::testing
