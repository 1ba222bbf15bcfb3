// The layout notation: splitting, trimming, name-value pairs, and the named
// layouts built from them.
#include <gtest/gtest.h>

#include "layout/layout_registry.h"
#include "layout/name_value_map.h"
#include "morva.h"

namespace {

using morva::CSTDNameValueMap;
using morva::splitString;

std::vector<std::string> split(const std::string& text, const std::string& delimiter, int max) {
    std::vector<std::string> tokens;
    const int count = splitString(text, delimiter, tokens, max);
    EXPECT_EQ(count, int(tokens.size()));
    return tokens;
}

TEST(SplitString, TokensAppearOnlyWhereADelimiterStands) {
    using V = std::vector<std::string>;
    EXPECT_EQ(split("a;b;", ";", 0), V({"a", "b"}));
    EXPECT_EQ(split("a", ";", 0), V());
    EXPECT_EQ(split(";a", ";", 0), V({"", "a"}));
    EXPECT_EQ(split("a:b:c", ":", 2), V({"a", "b", "c"}));
    EXPECT_EQ(split("a::b", ":", 0), V({"a", "", "b"}));
    EXPECT_EQ(split("x--y--", "--", 0), V({"x", "y"}));
    EXPECT_EQ(split("", ";", 0), V());
    EXPECT_EQ(split("a;b", "", 0), V());
}

TEST(TrimString, CutsOnlyTheGivenBlanks) {
    EXPECT_EQ(morva::trimString("  rows \t ", " "), "rows \t");
    EXPECT_EQ(morva::trimString("   ", " "), "");
    EXPECT_EQ(morva::trimString("", " "), "");
}

struct ParseCase {
    const char* text;
    bool result;
    std::vector<std::pair<std::string, std::string>> pairs;
};

class NameValueParse : public ::testing::TestWithParam<ParseCase> {};

TEST_P(NameValueParse, KeepsWellFormedPairs) {
    CSTDNameValueMap map;
    EXPECT_EQ(map.parse(GetParam().text, ";", ":", true), GetParam().result);
    for (const auto& [name, value] : GetParam().pairs) EXPECT_EQ(map.getValue(name), value) << name;
    // Nothing but the listed pairs was stored: an unknown name reads empty.
    for (const char* other : {"rows", "columns", "a", ""}) {
        bool listed = false;
        for (const auto& pair : GetParam().pairs) listed |= pair.first == other;
        if (!listed) {
            EXPECT_EQ(map.getValue(other), "") << other;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Notation, NameValueParse,
    ::testing::Values(ParseCase{"rows:2;columns:3;", true, {{"rows", "2"}, {"columns", "3"}}},
                      ParseCase{"rows:2;columns:3", true, {{"rows", "2"}, {"columns", "3"}}},
                      ParseCase{"rows:2", false, {}}, ParseCase{"rows:2;", true, {{"rows", "2"}}},
                      ParseCase{" rows : 2 ;", true, {{"rows", "2"}}},
                      ParseCase{"rows;", true, {}}, ParseCase{"rows:;", true, {}},
                      ParseCase{"a:b:c;", true, {}}, ParseCase{"a:b:;", true, {{"a", "b"}}},
                      ParseCase{":5;", true, {{"", "5"}}}, ParseCase{";", true, {}},
                      ParseCase{"Rows:2;ROWS:3;", true, {{"rows", "3"}}}));

TEST(NameValueMap, NamesIgnoreCaseAndReadsAddEntries) {
    CSTDNameValueMap map;
    map.parse("Width:50%;name:abc;big:99999999999;", ";", ":", true);
    EXPECT_EQ(map.getInt("WIDTH"), 50);
    EXPECT_EQ(map.getInt("name"), 0);
    EXPECT_EQ(map.getInt("big"), INT32_MAX);
    map.getValue("fresh") = "7";
    EXPECT_EQ(map.getInt("FRESH"), 7);
}

TEST(Layouts, DefineReplaceAndRemoveByName) {
    EXPECT_FALSE(morvaSetLayout(nullptr, "rows:2;"));
    EXPECT_FALSE(morvaSetLayout("", "rows:2;"));
    ASSERT_TRUE(morvaSetLayout("Grid", "rows:2;columns:3;width:50;margin-left:25;"));
    auto grid = morva::findLayout("GRID");
    ASSERT_TRUE(grid);
    EXPECT_EQ(grid->rows, 2);
    EXPECT_EQ(grid->columns, 3);
    EXPECT_TRUE(grid->width.present);
    EXPECT_EQ(grid->width.value, 50);
    EXPECT_EQ(grid->marginLeft.value, 25);
    EXPECT_FALSE(grid->height.present);

    // A redefinition keeps nothing of the earlier one.
    ASSERT_TRUE(morvaSetLayout("grid", "columns:4;width:;height:0;"));
    grid = morva::findLayout("Grid");
    EXPECT_EQ(grid->rows, 1);
    EXPECT_EQ(grid->columns, 4);
    EXPECT_FALSE(grid->width.present);
    EXPECT_TRUE(grid->height.present);
    EXPECT_EQ(grid->height.value, 0);
    EXPECT_FALSE(grid->marginLeft.present);

    // Text without a pair separator holds no pair: the defaults are stored.
    ASSERT_TRUE(morvaSetLayout("grid", "rows:2"));
    EXPECT_EQ(morva::findLayout("grid")->rows, 1);

    EXPECT_TRUE(morvaSetLayout("GRID", ""));
    EXPECT_FALSE(morva::findLayout("grid"));
    EXPECT_TRUE(morvaSetLayout("grid", nullptr));
    EXPECT_TRUE(morvaSetLayout("never-defined", nullptr));
}

}  // namespace
