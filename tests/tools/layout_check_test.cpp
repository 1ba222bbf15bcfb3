#include <gtest/gtest.h>

#include "images.h"
#include "layout_check.h"

namespace morvatool {
namespace {

TEST(ToolLayoutText, ReadsPairsAsTheLibraryDoes) {
    GridLayout l = parseLayoutText(" Rows : 2 ;COLUMNS:3;rows:4;width:50%;margin-left:;");
    EXPECT_EQ(l.rows, 4);  // the later pair wins, names in any case
    EXPECT_EQ(l.columns, 3);
    EXPECT_EQ(l.width, 50);
    EXPECT_FALSE(l.marginLeft.has_value());  // an empty value is no value

    l = parseLayoutText("rows:2;columns:3");  // the last pair needs no ';'
    EXPECT_EQ(l.rows, 2);
    EXPECT_EQ(l.columns, 3);

    l = parseLayoutText("rows:2");  // without any ';' there is no pair
    EXPECT_EQ(l.rows, 1);

    l = parseLayoutText("rows:abc;columns:2:3;height:7:;margin-top:99999999999;");
    EXPECT_EQ(l.rows, 0);                   // no digits read as 0
    EXPECT_EQ(l.columns, 1);                // three parts: dropped
    EXPECT_EQ(l.height, 7);                 // a name separator at the very end still counts
    EXPECT_EQ(l.marginTop, INT32_MAX);      // bounded to 32 bits
}

TEST(ToolLayoutCells, FollowTheLibraryGeometry) {
    const GridLayout grid = parseLayoutText("rows:2;columns:3;");
    const CellRect c = cellOf(4, grid, 800, 600);
    EXPECT_EQ(c.x, 266);
    EXPECT_EQ(c.y, 300);
    EXPECT_EQ(c.width, 266);
    EXPECT_EQ(c.height, 300);

    const GridLayout corner = parseLayoutText("margin-right:10;margin-bottom:10;width:30;height:30;");
    const CellRect k = cellOf(0, corner, 1000, 500);
    EXPECT_EQ(k.width, 300);
    EXPECT_EQ(k.x, 1000 - 300 - 100);
    EXPECT_EQ(k.y, 500 - 150 - 50);

    // margin-left wins over margin-right; a row index is bounded by the column count.
    const CellRect m = cellOf(5, parseLayoutText("rows:3;columns:2;margin-left:-10;margin-right:50;"), 200, 300);
    EXPECT_EQ(m.x, 100 - 10);
    EXPECT_EQ(m.y, 100);
}

struct Placement {
    const char* layout;
    int count;
    const char* problem;  // empty: accepted
    friend void PrintTo(const Placement& p, std::ostream* out) { *out << p.layout << " x" << p.count; }
};

class ToolLayoutPlacement : public ::testing::TestWithParam<Placement> {};

TEST_P(ToolLayoutPlacement, RefusesWhatTheLibraryWouldMishandle) {
    const Placement& p = GetParam();
    if (std::string(p.problem).empty()) {
        EXPECT_NO_THROW(checkPlacement(p.layout, p.count, 1280, 720));
        return;
    }
    try {
        checkPlacement(p.layout, p.count, 1280, 720);
        FAIL() << "accepted " << p.layout;
    } catch (const UsageError& error) {
        EXPECT_NE(std::string(error.what()).find(p.problem), std::string::npos) << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToolLayoutPlacement,
    ::testing::Values(Placement{"rows:2;columns:2;", 4, ""}, Placement{"rows:2;columns:2;", 3, ""},
                      Placement{"rows:1;columns:1;width:100;height:100;", 1, ""},
                      Placement{"margin-right:10;margin-bottom:10;width:30;height:30;", 1, ""},
                      Placement{"rows:0;columns:2;", 1, "at least 1 row"},
                      Placement{"rows:2;columns:-1;", 1, "at least 1 row"},
                      Placement{"rows:2;columns:2;", 5, "4 cells for 5 inputs"},
                      Placement{"rows:2", 2, "1 cell for 2 inputs (pairs end in ';')"},
                      Placement{"rows:3;columns:1;", 2, "as many columns as rows"},
                      Placement{"rows:1;columns:2;width:250;", 1, "outside the 1280x720 target"},
                      Placement{"rows:1;columns:2;margin-left:60;", 2, "places input 2 outside"},
                      Placement{"margin-top:-5;", 1, "outside"}));

TEST(ToolLayoutDefault, IsAGridTheLibraryCanFill) {
    EXPECT_EQ(defaultLayoutText(1, 1280, 720, 4.0 / 3), "rows:1;columns:1;");
    EXPECT_EQ(defaultLayoutText(2, 1280, 720, 4.0 / 3), "rows:1;columns:2;");
    EXPECT_EQ(defaultLayoutText(4, 1280, 720, 4.0 / 3), "rows:2;columns:2;");
    EXPECT_EQ(defaultLayoutText(5, 1280, 720, 4.0 / 3), "rows:2;columns:3;");
    EXPECT_EQ(defaultLayoutText(8, 1280, 720, 4.0 / 3), "rows:2;columns:4;");
    for (int count = 1; count <= 40; ++count)
        for (auto [w, h] : {std::pair{1280, 720}, std::pair{720, 1280}, std::pair{4, 2}}) {
            const std::string text = defaultLayoutText(count, w, h, 1.5);
            EXPECT_NO_THROW(checkPlacement(text, count, w, h)) << text << " for " << count;
        }
}

}  // namespace
}  // namespace morvatool
