// 16-bit edge-directed demosaicing: the four entries against the plain
// per-pixel evaluation of the rules, their clamp bounds, the corner rule of
// the RGGB entry, and the interior piece: its stop pair and what it writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "references.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using Samples = std::vector<uint16_t>;

struct Entry16 {
    const char* name;
    uint32_t (*run)(const uint16_t*, int32_t, int32_t, uint16_t*);
    ref::Geometry geometry;
    int maxValue;
};
void PrintTo(const Entry16& e, std::ostream* os) { *os << e.name; }

const Entry16 kRGGB{"RGGB", demosaicingEdgeRGGBU16, ref::kRGGB, 4095};
const Entry16 kGRBG{"GRBG", demosaicingEdgeGRBGU16, ref::kGRBG, 65535};
const Entry16 kGBRG{"GBRG", demosaicingEdgeGBRGU16, ref::kGBRG, 65535};
const Entry16 kBGGR{"BGGR", demosaicingEdgeBGGRU16, ref::kBGGR, 65535};

Samples demosaic(const Entry16& e, const std::vector<int>& mosaic, int h, int w) {
    const Samples src(mosaic.begin(), mosaic.end());
    Samples out(size_t(h) * w * 3, 0xDEAD);
    EXPECT_EQ(e.run(src.data(), h, w, out.data()), 0u);
    return out;
}

// Pixels as B, G, R by the per-pixel rules, except that red at (0, 0) forms
// its blue from the unclamped greens at (0, 0) and (1, 1) (RGGB entry only).
Samples expected(const Entry16& e, const std::vector<int>& mosaic, int h, int w) {
    const ref::Edge edge(mosaic, h, w, e.geometry, e.maxValue);
    Samples out = ref::interleaved<uint16_t>(edge.frame(), false);
    if (e.geometry.redRow == 0 && e.geometry.redCol == 0)
        out[0] =
            uint16_t(ref::clampTo(edge.unclampedGreen(0, 0) + mosaic[w + 1] - edge.unclampedGreen(1, 1), e.maxValue));
    return out;
}

class Edge16 : public ::testing::TestWithParam<Entry16> {};

TEST_P(Edge16, EverySizeMatchesThePerPixelRules) {
    std::vector<std::array<int, 2>> sizes = {{33, 40}, {64, 57}, {101, 102}};
    for (int h = 8; h <= 19; ++h)
        for (int w = 8; w <= 19; ++w) sizes.push_back({h, w});
    for (int range : {4095, 65535})
        for (const auto& [h, w] : sizes) {
            const auto mosaic = ref::noisyMosaic(h, w, range, h * 1000 + w + range);
            EXPECT_TRUE(
                zeltest::sameSamples(demosaic(GetParam(), mosaic, h, w), expected(GetParam(), mosaic, h, w), w, 3))
                << w << "x" << h << ", samples up to " << range;
        }
}

INSTANTIATE_TEST_SUITE_P(Orders, Edge16, ::testing::Values(kRGGB, kGRBG, kGBRG, kBGGR),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Edge16Corner, RGGBBlueAtTheOriginUsesTheUnclampedGreens) {
    // Reds 0 but 4095 at (0, 0), greens 4000, blues 100. Green at (0, 0) is
    // 4000 + 8190 / 4 = 6047 (clamped 4095); green at (1, 1) is 4000. Blue at
    // (0, 0) is 6047 + 100 - 4000; from the clamped green it would be 195.
    auto m = ref::flatMosaic(ref::kRGGB, 10, 10, {0, 4000, 100});
    m[0] = 4095;
    const Samples out = demosaic(kRGGB, m, 10, 10);
    EXPECT_EQ(Samples(out.begin(), out.begin() + 3), (Samples{2147, 4095, 4095}));
    EXPECT_EQ(expected(kRGGB, m, 10, 10)[0], 2147);
}

// The interior piece returns the column after its last step pair and the
// rows its pair loop covered; under two rows it produces nothing. The first
// two cases are heights 480 and 481 of the RGGB entry (last rows from 478).
TEST(Edge16Interior, StopPair) {
    const int cases[][5] = {
        // rows, width, column phase, stop column, stop row
        {476, 8, 2, 6, 476}, {477, 8, 2, 6, 476}, {4, 9, 3, 7, 4}, {5, 11, 2, 8, 4}, {2, 6, 3, 3, 2}, {1, 8, 2, 6, 0}};
    for (const auto& k : cases) {
        const Samples src(size_t(k[0] + 4) * k[1], 1234);
        Samples out(src.size() * 3, 7);
        const EdgeSecEnd end = edgeSecRGGBU16(src.data() + 2 * k[1], out.data() + 6 * k[1], k[0], k[1], k[2], 65535);
        EXPECT_EQ(end.stopColumn, k[3]) << k[0] << " rows, width " << k[1];
        EXPECT_EQ(end.stopRow, k[4]) << k[0] << " rows, width " << k[1];
        EXPECT_TRUE(k[4] != 0 || out == Samples(out.size(), 7)) << "nothing produced";
    }
}

// The interior piece on its own: given what the earlier pieces leave (every
// value above its first row and left of its first column), it writes every
// value its steps determine, including those of column stop-1 and of the last
// pair's lower row that the last-columns and last-rows pieces complete, and
// nothing outside the rows it covers.
constexpr uint16_t kSentinel = 0xBEEF;

struct PieceFrame {
    int height;
    int width;
    int columnPhase;
};
void PrintTo(const PieceFrame& f, std::ostream* os) { *os << f.width << "x" << f.height << ", phase " << f.columnPhase; }

class Edge16InteriorPiece : public ::testing::TestWithParam<PieceFrame> {};

TEST_P(Edge16InteriorPiece, WritesEveryValueOfItsStepsAndNothingBeyondItsRows) {
    const auto [h, w, c0] = GetParam();
    const int start = 2;  // red in even rows
    const auto mosaic = ref::noisyMosaic(h, w, 65535, h * 100 + w + c0);
    const ref::Edge edge(mosaic, h, w, c0 == 2 ? ref::kRGGB : ref::kGRBG, 65535);
    auto want = [&](int r, int c, int k) {
        const ref::Rgb p = edge.at(r, c);
        return k == 0 ? p.blue : (k == 1 ? p.green : p.red);
    };
    const std::vector<uint16_t> src(mosaic.begin(), mosaic.end());
    std::vector<uint16_t> out(size_t(h) * w * 3, kSentinel);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            for (int k = 0; k < 3; ++k)
                if (r < start || c < c0) out[(size_t(r) * w + c) * 3 + k] = uint16_t(want(r, c, k));
    const std::vector<uint16_t> before = out;

    const int rows = h - 4;
    const EdgeSecEnd end = edgeSecRGGBU16(src.data() + start * w, out.data() + start * 3 * w, rows, w, c0, 65535);
    ASSERT_EQ(end.stopRow, ((rows - 2) & ~1) + 2);
    ASSERT_EQ(end.stopColumn, c0 + 2 + 2 * ((w - 4 - c0) / 2));

    // Value k of (r, c) must be the reference value.
    auto expectWritten = [&](int r, int c, int k) {
        EXPECT_EQ(out[(size_t(r) * w + c) * 3 + k], want(r, c, k)) << "(" << r << ", " << c << ") value " << k;
    };
    for (int y = start; y < start + rows - 1; y += 2)
        for (int x = c0; x <= w - 4; x += 2) {
            for (int k = 0; k < 3; ++k) expectWritten(y, x, k);  // red site: green, raw red, blue
            expectWritten(y + 1, x + 1, 1);                      // blue site: green, raw blue
            expectWritten(y + 1, x + 1, 0);
            expectWritten(y, x + 1, 1);  // green sites: raw green and blue
            expectWritten(y, x + 1, 0);
            expectWritten(y + 1, x, 1);
            expectWritten(y + 1, x, 0);
            expectWritten(y - 1, x - 1, 2);  // reds completed one step or pair late
            expectWritten(y - 1, x, 2);
            expectWritten(y, x - 1, 2);
        }
    // Whatever else changed is right, and rows outside start-1 .. start+stopRow-1 are untouched.
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            for (int k = 0; k < 3; ++k) {
                const size_t i = (size_t(r) * w + c) * 3 + k;
                if (out[i] == before[i]) continue;
                EXPECT_TRUE(r >= start - 1 && r < start + end.stopRow) << "row " << r << " written";
                EXPECT_EQ(out[i], want(r, c, k)) << "(" << r << ", " << c << ") value " << k;
            }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Edge16InteriorPiece,
                         ::testing::Values(PieceFrame{10, 12, 2}, PieceFrame{10, 12, 3}, PieceFrame{11, 13, 2},
                                           PieceFrame{11, 13, 3}, PieceFrame{8, 8, 2}, PieceFrame{9, 9, 3},
                                           PieceFrame{7, 10, 2}, PieceFrame{15, 17, 3}, PieceFrame{16, 16, 2},
                                           PieceFrame{6, 7, 3}));

}  // namespace
