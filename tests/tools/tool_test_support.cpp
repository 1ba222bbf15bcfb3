#include "tool_test_support.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace morvatool::testing {

void ScratchDirectory::SetUp() {
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name();
    for (char& c : name)
        if (c == '/') c = '_';
    directory_ = std::filesystem::path(::testing::TempDir()) / ("morva-tool-" + name);
    std::filesystem::remove_all(directory_);
    std::filesystem::create_directories(directory_);
}

void ScratchDirectory::TearDown() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace morvatool::testing
