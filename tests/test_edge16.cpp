// 16-bit edge-directed demosaicing: the four entries against the plain
// per-pixel evaluation of the rules, their clamp bounds, the corner rule of
// the RGGB entry and the interior piece's stop pair.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "edge_reference.hpp"
#include "zelvora.h"

namespace {

using edgeref::Colour;
using Samples = std::vector<uint16_t>;

struct Entry16 {
    const char* name;
    uint32_t (*run)(const uint16_t*, int32_t, int32_t, uint16_t*);
    edgeref::Geometry geometry;
    int maxValue;
};
void PrintTo(const Entry16& e, std::ostream* os) { *os << e.name; }

const Entry16 kRGGB{"RGGB", demosaicingEdgeRGGBU16, edgeref::kRGGB, 4095};
const Entry16 kGRBG{"GRBG", demosaicingEdgeGRBGU16, edgeref::kGRBG, 65535};
const Entry16 kGBRG{"GBRG", demosaicingEdgeGBRGU16, edgeref::kGBRG, 65535};
const Entry16 kBGGR{"BGGR", demosaicingEdgeBGGRU16, edgeref::kBGGR, 65535};

Samples demosaic(const Entry16& e, const std::vector<int>& mosaic, int h, int w) {
    const Samples src(mosaic.begin(), mosaic.end());
    Samples out(size_t(h) * w * 3, 0xDEAD);
    EXPECT_EQ(e.run(src.data(), h, w, out.data()), 0u);
    return out;
}

// Pixels as B, G, R by the per-pixel rules, except that red at (0, 0) forms
// its blue from the unclamped greens at (0, 0) and (1, 1) (RGGB entry only).
Samples expected(const Entry16& e, const std::vector<int>& mosaic, int h, int w) {
    const edgeref::Reference ref(mosaic, h, w, e.geometry, e.maxValue);
    Samples out = edgeref::interleaved<uint16_t>(ref.frame(), false);
    if (e.geometry.redRow == 0 && e.geometry.redCol == 0)
        out[0] =
            uint16_t(edgeref::clampTo(ref.unclampedGreen(0, 0) + mosaic[w + 1] - ref.unclampedGreen(1, 1), e.maxValue));
    return out;
}

class Edge16 : public ::testing::TestWithParam<Entry16> {};

TEST_P(Edge16, EverySizeMatchesThePerPixelRules) {
    std::vector<std::array<int, 2>> sizes = {{33, 40}, {64, 57}, {101, 102}};
    for (int h = 8; h <= 19; ++h)
        for (int w = 8; w <= 19; ++w) sizes.push_back({h, w});
    for (int range : {4095, 65535})
        for (const auto& [h, w] : sizes) {
            const auto mosaic = edgeref::noisyMosaic(h, w, range, h * 1000 + w + range);
            EXPECT_TRUE(
                edgeref::sameSamples(demosaic(GetParam(), mosaic, h, w), expected(GetParam(), mosaic, h, w), w, 3))
                << w << "x" << h << ", samples up to " << range;
        }
}

// Samples copied from the mosaic keep their value; interpolated ones are
// limited to 12 bits by the RGGB entry only.
TEST_P(Edge16, UniformFramesKeepTheirValueUpToTheEntrysBound) {
    const Entry16& e = GetParam();
    for (int v : {0, 1000, 4095, 5000, 65535}) {
        const Samples out = demosaic(e, std::vector<int>(10 * 9, v), 10, 9);
        for (size_t i = 0; i < out.size(); ++i) {
            const Colour site = edgeref::colourOf(e.geometry, int(i / 27), int(i / 3 % 9));
            const bool copied = int(i % 3) == (site == Colour::Red ? 2 : (site == Colour::Blue ? 0 : 1));
            EXPECT_EQ(out[i], copied ? v : std::min(v, e.maxValue)) << v << ", pixel " << i / 3 << " value " << i % 3;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, Edge16, ::testing::Values(kRGGB, kGRBG, kGBRG, kBGGR),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Edge16Corner, RGGBBlueAtTheOriginUsesTheUnclampedGreens) {
    // Reds 0 but 4095 at (0, 0), greens 4000, blues 100. Green at (0, 0) is
    // 4000 + 8190 / 4 = 6047 (clamped 4095); green at (1, 1) is 4000. Blue at
    // (0, 0) is 6047 + 100 - 4000; from the clamped green it would be 195.
    auto m = edgeref::flatMosaic(edgeref::kRGGB, 10, 10, {0, 4000, 100});
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

}  // namespace
