// 16-bit edge-directed demosaicing: the four entries against a plain
// per-pixel evaluation of the rules, the clamp asymmetry, the corner rule of
// the RGGB entry and the interior piece's stop pair.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "edge_reference.hpp"
#include "zelvora.h"

namespace {

using edgeref::Geometry;
using edgeref::Reference;
using Samples = std::vector<uint16_t>;

struct Entry16 {
    const char* name;
    uint32_t (*run)(const uint16_t*, int32_t, int32_t, uint16_t*);
    Geometry geometry;
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

// Pixels as B, G, R. Red at (0, 0) forms its blue from the unclamped greens
// at (0, 0) and (1, 1) (the RGGB entry only).
Samples expected(const Entry16& e, const std::vector<int>& mosaic, int h, int w) {
    const Reference ref(mosaic, h, w, e.geometry, e.maxValue);
    Samples out;
    for (const edgeref::Rgb& p : ref.frame())
        out.insert(out.end(), {uint16_t(p.blue), uint16_t(p.green), uint16_t(p.red)});
    if (e.geometry.redRow == 0 && e.geometry.redCol == 0)
        out[0] =
            uint16_t(edgeref::clampTo(ref.unclampedGreen(0, 0) + mosaic[w + 1] - ref.unclampedGreen(1, 1), e.maxValue));
    return out;
}

class Edge16 : public ::testing::TestWithParam<Entry16> {};

TEST_P(Edge16, EverySizeFrom8x8To19x19MatchesThePerPixelRules) {
    const Entry16& e = GetParam();
    for (int range : {4095, 65535})
        for (int h = 8; h <= 19; ++h)
            for (int w = 8; w <= 19; ++w) {
                const auto mosaic = edgeref::noisyMosaic(h, w, range, h * 1000 + w + range);
                EXPECT_TRUE(edgeref::sameSamples(demosaic(e, mosaic, h, w), expected(e, mosaic, h, w), w, 3))
                    << w << "x" << h << ", samples up to " << range;
            }
}

TEST_P(Edge16, LargerFrames) {
    const int sizes[][2] = {{33, 40}, {64, 57}, {101, 6 * 17}};
    for (const auto& s : sizes) {
        const auto mosaic = edgeref::noisyMosaic(s[0], s[1], 65535, 11);
        const Samples want = expected(GetParam(), mosaic, s[0], s[1]);
        EXPECT_TRUE(edgeref::sameSamples(demosaic(GetParam(), mosaic, s[0], s[1]), want, s[1], 3))
            << s[1] << "x" << s[0];
    }
}

TEST_P(Edge16, UniformFramesGiveTheValueInAllThreeChannels) {
    const Entry16& e = GetParam();
    for (int v : {0, 1000, 4095, 65535}) {
        if (v > e.maxValue) continue;
        const Samples out = demosaic(e, std::vector<int>(10 * 9, v), 10, 9);
        EXPECT_EQ(out, Samples(out.size(), uint16_t(v))) << v;
    }
}

TEST_P(Edge16, RedLandsInValue2AndBlueInValue0) {
    const Entry16& e = GetParam();
    const int h = 11;
    const int w = 12;
    const auto mosaic = edgeref::noisyMosaic(h, w, 65535, 5);
    const Reference sites(mosaic, h, w, e.geometry, e.maxValue);
    const Samples out = demosaic(e, mosaic, h, w);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) {
            const size_t i = size_t(r) * w + c;
            if (sites.isRed(r, c)) {
                EXPECT_EQ(out[3 * i + 2], mosaic[i]) << r << ", " << c;
            } else if (sites.isBlue(r, c)) {
                EXPECT_EQ(out[3 * i], mosaic[i]) << r << ", " << c;
            }
        }
}

// Only the RGGB entry limits interpolated values to 12 bits: a uniform 5000
// keeps 5000 in the samples copied from the mosaic and 4095 elsewhere there,
// and 5000 everywhere in the other orders.
TEST_P(Edge16, InterpolatedValuesAreClampedTo4095OnlyInTheRGGBEntry) {
    const Entry16& e = GetParam();
    const int h = 9;
    const int w = 10;
    const std::vector<int> mosaic(h * w, 5000);
    const Reference sites(mosaic, h, w, e.geometry, e.maxValue);
    const Samples out = demosaic(e, mosaic, h, w);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) {
            const int copied = sites.isRed(r, c) ? 2 : (sites.isBlue(r, c) ? 0 : 1);
            for (int k = 0; k < 3; ++k)
                EXPECT_EQ(out[3 * (size_t(r) * w + c) + k], k == copied || e.maxValue > 5000 ? 5000 : 4095)
                    << r << ", " << c << " value " << k;
        }
}

// A 10x10 frame with a background per colour and one red site changed at
// (4 or 5, 4 or 5), the red site nearest the centre whatever the order.
struct Site {
    int r;
    int c;
};
Site centreRed(const Geometry& g) { return {4 + g.redRow, 4 + g.redCol}; }

std::vector<int> background(const Geometry& g, int red, int green, int blue) {
    std::vector<int> m(100);
    const Reference sites(m, 10, 10, g, 65535);
    for (int r = 0; r < 10; ++r)
        for (int c = 0; c < 10; ++c) m[r * 10 + c] = sites.isRed(r, c) ? red : (sites.isBlue(r, c) ? blue : green);
    return m;
}

TEST_P(Edge16, NegativeGreensClampTo0) {
    // Red 0 among reds of 60000 and greens of 100: 100 + (-120000 / 4) < 0.
    const Entry16& e = GetParam();
    auto m = background(e.geometry, 60000, 100, 60000);
    const Site s = centreRed(e.geometry);
    m[s.r * 10 + s.c] = 0;
    EXPECT_EQ(demosaic(e, m, 10, 10)[3 * (s.r * 10 + s.c) + 1], 0);
}

TEST_P(Edge16, EqualGradientsTakeTheVerticalEstimate) {
    // Greens 500 | 700 across and 600 | 800 down a red site in a flat frame:
    // both gradients are 200; vertical gives 700, horizontal would give 600.
    const Entry16& e = GetParam();
    auto m = background(e.geometry, 1000, 1000, 1000);
    const Site s = centreRed(e.geometry);
    const int at = s.r * 10 + s.c;
    m[at - 1] = 500;
    m[at + 1] = 700;
    m[at - 10] = 600;
    m[at + 10] = 800;
    EXPECT_EQ(demosaic(e, m, 10, 10)[3 * at + 1], 700);
}

INSTANTIATE_TEST_SUITE_P(Orders, Edge16, ::testing::Values(kRGGB, kGRBG, kGBRG, kBGGR),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Edge16Corner, RGGBBlueAtTheOriginUsesTheUnclampedGreens) {
    // Reds 0 but 4095 at (0, 0), greens 4000, blues 100. Green at (0, 0) is
    // 4000 + 8190 / 4 = 6047 (clamped 4095); green at (1, 1) is 4000. Blue at
    // (0, 0) is 6047 + 100 - 4000; from the clamped green it would be 195.
    auto m = background(edgeref::kRGGB, 0, 4000, 100);
    m[0] = 4095;
    const Samples out = demosaic(kRGGB, m, 10, 10);
    EXPECT_EQ(out[0], 2147);
    EXPECT_EQ(out[1], 4095);
    EXPECT_EQ(out[2], 4095);
}

// The interior piece returns (stop column, stop row): the column after its
// last step pair and the rows its pair loop covered.
TEST(Edge16Interior, StopPair) {
    struct Case {
        int rows;
        int width;
        int columnPhase;
        int stopColumn;
        int stopRow;
    };
    const Case cases[] = {
        {476, 8, 2, 6, 476},  // height 480, RGGB: last rows start at 478
        {477, 8, 2, 6, 476},  // height 481: last rows 478 to 480
        {4, 9, 3, 7, 4},     {5, 11, 2, 8, 4}, {2, 6, 3, 3, 2}, {1, 8, 2, 6, 0},
    };
    for (const Case& k : cases) {
        const int h = k.rows + 4;
        const Samples src(size_t(h) * k.width, 1234);
        Samples out(size_t(h) * k.width * 3, 7);
        const EdgeSecEnd end =
            edgeSecRGGBU16(src.data() + 2 * k.width, out.data() + 6 * k.width, k.rows, k.width, k.columnPhase, 65535);
        EXPECT_EQ(end.stopColumn, k.stopColumn) << k.rows << " rows, width " << k.width;
        EXPECT_EQ(end.stopRow, k.stopRow) << k.rows << " rows, width " << k.width;
        if (k.stopRow == 0) {
            EXPECT_EQ(out, Samples(out.size(), 7)) << "nothing produced";
        }
    }
}

}  // namespace
