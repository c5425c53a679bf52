// Nearest-neighbour values worked by hand, which pin the per-pixel rule the
// frame suite checks every order, size and layout against.
#include <gtest/gtest.h>

#include <tuple>

#include "zelvora.h"

namespace {

// Worked values on a 4x4 RG frame whose samples are their own indices.
TEST(NearestWorked, RgFrameByHand) {
    uint8_t src[16];
    for (int i = 0; i < 16; ++i) src[i] = static_cast<uint8_t>(i);
    uint8_t out[48];
    rg8ToBgr8_nearest(src, 4, 4, out, 0);
    auto px = [&](int y, int x) { return std::tuple(out[(y * 4 + x) * 3 + 2], out[(y * 4 + x) * 3 + 1], out[(y * 4 + x) * 3]); };
    // (R, G, B) as listed row by row
    EXPECT_EQ(px(0, 0), std::tuple(0, 1, 5));     // red: green to the right
    EXPECT_EQ(px(0, 1), std::tuple(0, 1, 5));
    EXPECT_EQ(px(0, 2), std::tuple(2, 1, 5));
    EXPECT_EQ(px(0, 3), std::tuple(2, 3, 7));     // lone last column
    EXPECT_EQ(px(1, 0), std::tuple(0, 4, 5));
    EXPECT_EQ(px(1, 1), std::tuple(0, 4, 5));     // blue: green to the left
    EXPECT_EQ(px(2, 0), std::tuple(8, 4, 5));     // red in column 0: green from above
    EXPECT_EQ(px(2, 2), std::tuple(10, 9, 5));
    EXPECT_EQ(px(3, 3), std::tuple(10, 14, 15));  // last row of an even height
}

TEST(NearestWorked, GbFrameFirstRowsByHand) {
    uint8_t src[16];
    for (int i = 0; i < 16; ++i) src[i] = static_cast<uint8_t>(i);
    uint8_t planes[48];
    gb8ToBgr8P_nearest(src, 4, 4, planes, planes + 16, planes + 32);
    auto px = [&](int y, int x) { return std::tuple(planes[y * 4 + x], planes[16 + y * 4 + x], planes[32 + y * 4 + x]); };
    EXPECT_EQ(px(0, 0), std::tuple(4, 0, 1));
    EXPECT_EQ(px(0, 1), std::tuple(4, 0, 1));  // blue: green left, red below-left
    EXPECT_EQ(px(0, 2), std::tuple(6, 2, 1));
    EXPECT_EQ(px(1, 0), std::tuple(4, 0, 1));  // red in column 0: green above
    EXPECT_EQ(px(2, 1), std::tuple(4, 8, 9));
}

}  // namespace
