// The 8-bit kernels called directly: edge-directed values worked by hand,
// pinning the per-pixel reference and the drivers; the deliberate reads of
// bilinear GR/GB frames of odd width; what the edge drivers' flags mean, and
// their refusals with each driver's number. (Every method, order and layout
// through zelDemosaicing is checked against the references by the frame
// suite.)
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "references.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using ref::Edge;
using ref::Rgb;
using Bytes = std::vector<uint8_t>;

// A 10x10 RG-phase mosaic, one value per colour and a few samples set; each
// value is checked in the per-pixel reference and in the driver's output.
struct Worked {
    const char* rule;
    Rgb background;
    std::vector<std::array<int, 3>> samples;  // row, column, value
    int row, col;
    int Rgb::*channel;
    int expected;
};
const Worked kWorked[] = {
    // Greens 50 | 70 across and 60 | 80 down the red site (4, 4) in a flat
    // frame: both gradients are 20; the horizontal estimate would be 60.
    {"tie", {100, 100, 100}, {{4, 3, 50}, {4, 5, 70}, {3, 4, 60}, {5, 4, 80}}, 4, 4, &Rgb::green, 70},
    // Vertical greens 50 | 51 (mean 50) and the red below raised to make
    // Lv = -1 or -5, floored to -1 and -2; greens 0 | 100 across keep the
    // vertical direction.
    {"Lv -1", {100, 100, 100}, {{4, 3, 0}, {4, 5, 100}, {3, 4, 50}, {5, 4, 51}, {6, 4, 101}}, 4, 4, &Rgb::green, 49},
    {"Lv -5", {100, 100, 100}, {{4, 3, 0}, {4, 5, 100}, {3, 4, 50}, {5, 4, 51}, {6, 4, 105}}, 4, 4, &Rgb::green, 48},
    // Red 98 at (4, 6) gets green 99 (a tie, both Laplacians -4): D = -1
    // beside D = 0 at (4, 4), so the red between is 100 + floor(-1 / 2).
    {"difference mean", {100, 100, 100}, {{4, 6, 98}}, 4, 5, &Rgb::red, 99},
    // Greens 250, reds and blues 0, red 255 at (4, 4): green 250 + 510 / 4
    // clamps to 255 (D = 0, not -122); with D = -250 at (4, 6) the red
    // between is 250 - 125.
    {"top clamp", {0, 250, 0}, {{4, 4, 255}}, 4, 4, &Rgb::green, 255},
    {"top clamp feeds", {0, 250, 0}, {{4, 4, 255}}, 4, 5, &Rgb::red, 125},
    // Greens 5, reds 255, red 0 at (4, 4): green 5 - 128 clamps to 0 (D = 0,
    // not 123); with D = 250 at (4, 6) the red between is 5 + 125.
    {"zero clamp", {255, 5, 128}, {{4, 4, 0}}, 4, 4, &Rgb::green, 0},
    {"zero clamp feeds", {255, 5, 128}, {{4, 4, 0}}, 4, 5, &Rgb::red, 130},
};

TEST(EdgeRules, HandWorkedValues) {
    for (const Worked& k : kWorked) {
        std::vector<int> m = ref::flatMosaic(ref::kRGGB, 10, 10, k.background);
        for (const auto& s : k.samples) m[s[0] * 10 + s[1]] = s[2];
        const Bytes src(m.begin(), m.end());
        Bytes out(300);
        ASSERT_EQ(rg8ToBgr8_edge(src.data(), 10, 10, out.data(), 1), 0);
        const uint8_t* p = &out[3 * (k.row * 10 + k.col)];
        EXPECT_EQ((Rgb{p[0], p[1], p[2]}.*k.channel), k.expected) << k.rule;
        EXPECT_EQ(Edge(m, 10, 10, ref::kRGGB, 255).at(k.row, k.col).*k.channel, k.expected) << k.rule;
    }
}

// A 5x4 GB frame: the green at (0, 3) reads s(0,0) where s(0,2) belongs, the
// row-0 colour at (1, 3) and (1, 4) reads s(2,1) where s(2,3) belongs, and
// mono output exchanges the weights of green and red on those pixels.
TEST(Bilinear8, GrOddWidthReadsAndWeightSwap) {
    const Bytes src{0,  90, 200, 30, 60,    //
                    10, 20, 30,  40, 50,    //
                    70, 240, 80, 100, 110,  //
                    1,  2,  3,   4,  5};
    Bytes bgr(60), mono(20);
    const uint32_t weights[3] = {77, 150, 29};
    gb8ToBgr8_bilinear(src.data(), 4, 5, bgr.data());
    gr8ToMono8_bilinear(src.data(), 4, 5, weights, mono.data());
    EXPECT_EQ(bgr[3 * 3 + 1], (0 + 60 + 2 * 40) >> 2);       // not (200 + 60 + 80) >> 2
    EXPECT_EQ(bgr[3 * 8], (30 + 240) >> 1);                 // not (30 + 100) >> 1
    EXPECT_EQ(bgr[3 * 9], (30 + 240) >> 1);
    for (int i : {3, 4, 8, 9, 5}) {
        const uint32_t b = bgr[3 * i], g = bgr[3 * i + 1], r = bgr[3 * i + 2];
        const bool swapped = i != 5;
        EXPECT_EQ(mono[i], (77 * b + (swapped ? 29 : 150) * g + (swapped ? 150 : 29) * r + 128) >> 8) << i;
    }
}

using Flagged = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
using Planes = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*, uint8_t*);
using Mono = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, uint8_t*);

// Each driver on a w x h frame with a flag (swapRB or weight order; the
// planar drivers take no flag) into `out`, green row after it.
struct Driver {
    int number;  // what a refusal prints
    std::function<int32_t(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t)> run;
};
Driver flagged(Flagged f, int number) {
    return {number, [f](const uint8_t* s, int32_t h, int32_t w, uint8_t* d, int32_t flag) { return f(s, h, w, d, flag); }};
}
Driver planes(Planes f, int number) {
    return {number, [f](const uint8_t* s, int32_t h, int32_t w, uint8_t* d, int32_t) {
                const size_t n = size_t(h > 0 ? h : 0) * (w > 0 ? w : 0);
                return f(s, h, w, d, d + n, d + 2 * n, d + 3 * n);
            }};
}
Driver mono(Mono f, int number) {
    return {number, [f](const uint8_t* s, int32_t h, int32_t w, uint8_t* d, int32_t flag) {
                return f(s, h, w, d, flag, d + size_t(h > 0 ? h : 0) * (w > 0 ? w : 0));
            }};
}
const Driver kDrivers[] = {flagged(rg8ToBgr8_edge, 5661),  flagged(gb8ToBgr8_edge, 5606),
                           flagged(rg8ToBgra8_edge, 7543), flagged(gb8ToBgra8_edge, 7493),
                           planes(rg8ToBgr8P_edge, 9337),  planes(gb8ToBgr8P_edge, 9284),
                           mono(rg8ToMono8_edge, 11112),   mono(gb8ToMono8_edge, 11063)};

// Any nonzero flag counts as set.
TEST(EdgeDrivers, EveryNonzeroFlagCountsAsSet) {
    const int h = 9, w = 11;
    const Bytes src = zeltest::randomBytes(h * w, 3);
    for (const Driver& d : kDrivers) {
        Bytes one(h * w * 5, 0xEE), other(h * w * 5, 0xEE);
        ASSERT_EQ(d.run(src.data(), h, w, one.data(), 1), 0);
        for (int32_t flag : {7, -1, INT32_MIN}) {
            ASSERT_EQ(d.run(src.data(), h, w, other.data(), flag), 0);
            EXPECT_EQ(one, other) << d.number << ", flag " << flag;
        }
    }
}

// A width or height of 5 or less is refused with the driver's own number and
// -104, writing nothing.
TEST(EdgeDrivers, SmallFramesAreRefusedWithTheDriversNumber) {
    const int sizes[][2] = {{5, 6}, {6, 5}, {5, 5}, {4, 9}, {0, 8}, {8, -6}, {INT32_MIN, 8}};
    const Bytes src(64, 1), untouched(512, 0x77);
    for (const Driver& d : kDrivers)
        for (const auto& s : sizes) {
            Bytes out = untouched;
            EXPECT_EQ(zeltest::captured([&] { return d.run(src.data(), s[0], s[1], out.data(), 0); }),
                      zeltest::outcome(errBadImageSize, d.number))
                << s[1] << "x" << s[0];
            EXPECT_EQ(out, untouched);
        }
}

}  // namespace
