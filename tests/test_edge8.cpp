// 8-bit edge-directed demosaicing: every driver with either flag against the
// plain per-pixel evaluation of the rules, hand-worked values pinning that
// evaluation, and the refusals with each driver's number.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "edge_reference.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using edgeref::Geometry;
using edgeref::Reference;
using edgeref::Rgb;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t kAlphaFill = 0xA5;

// The drivers' output families. `swapped` stands for swapRB, for the plane
// pointers given red first and for weight order 1: red in byte 0 or in the
// first plane, red weighted 29 in the luma.
enum class Kind { Three, Four, Planes, Mono };

int bytesPerPixel(Kind k) { return k == Kind::Four ? 4 : (k == Kind::Mono ? 1 : 3); }
int samplesPerPixel(Kind k) { return k == Kind::Planes ? 1 : bytesPerPixel(k); }

Bytes expectedBytes(Kind kind, const std::vector<Rgb>& px, bool swapped, const Bytes& alpha) {
    if (kind == Kind::Three || kind == Kind::Four)
        return edgeref::interleaved<uint8_t>(px, swapped, bytesPerPixel(kind), alpha);
    Bytes out;
    if (kind == Kind::Mono) {
        const int wr = swapped ? 29 : 77;  // the blue weight is 106 - wr
        for (const Rgb& p : px) out.push_back(uint8_t((wr * p.red + 150 * p.green + (106 - wr) * p.blue + 128) >> 8));
        return out;
    }
    for (int plane = 0; plane < 3; ++plane)
        for (const Rgb& p : px)
            out.push_back(uint8_t(plane == 1 ? p.green : ((plane == 0) == swapped ? p.red : p.blue)));
    return out;
}

// The drivers of one native phase.
struct Drivers {
    Geometry geometry;
    int32_t (*three)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
    int32_t (*four)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
    int32_t (*planes)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*, uint8_t*);
    int32_t (*mono)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, uint8_t*);

    // swapRB and weight order are 7 when swapped: any nonzero value counts.
    int32_t run(Kind kind, bool swapped, const uint8_t* src, int32_t h, int32_t w, Bytes& out, uint8_t* line) const {
        uint8_t* p = out.data();
        const size_t n = out.size() / 3;
        if (kind == Kind::Three) return three(src, h, w, p, swapped ? 7 : 0);
        if (kind == Kind::Four) return four(src, h, w, p, swapped ? 7 : 0);
        if (kind == Kind::Mono) return mono(src, h, w, p, swapped ? 7 : 0, line);
        return swapped ? planes(src, h, w, p, p + n, p + 2 * n, line) : planes(src, h, w, p + 2 * n, p + n, p, line);
    }
};
const Drivers kRG{edgeref::kRGGB, rg8ToBgr8_edge, rg8ToBgra8_edge, rg8ToBgr8P_edge, rg8ToMono8_edge};
const Drivers kGB{edgeref::kGBRG, gb8ToBgr8_edge, gb8ToBgra8_edge, gb8ToBgr8P_edge, gb8ToMono8_edge};

// The Bayer orders: RG and BG data reach the rg8 drivers, GB and GR the gb8.
struct Order {
    const char* name;
    uint32_t code8;
    Geometry geometry;
    const Drivers* drivers;
};
const Order kOrders[] = {{"RG", ZEL_PIX_BAYER_RG8, edgeref::kRGGB, &kRG},
                         {"BG", ZEL_PIX_BAYER_BG8, edgeref::kBGGR, &kRG},
                         {"GB", ZEL_PIX_BAYER_GB8, edgeref::kGBRG, &kGB},
                         {"GR", ZEL_PIX_BAYER_GR8, edgeref::kGRBG, &kGB}};

// The output layouts in true colours (mono always weighs the true red 77).
struct Output {
    uint32_t code;
    Kind kind;
    bool swapped;
};
const Output kOutputs[] = {{ZEL_PIX_BGR8, Kind::Three, false},        {ZEL_PIX_RGB8, Kind::Three, true},
                           {ZEL_PIX_BGRA8, Kind::Four, false},        {ZEL_PIX_RGBA8, Kind::Four, true},
                           {ZEL_PIX_RGB8_PLANAR, Kind::Planes, true}, {ZEL_PIX_BGR8_PLANAR, Kind::Planes, false},
                           {ZEL_PIX_MONO8, Kind::Mono, false}};

// Runs zelDemosaicing with method 2 on `raw` (stride bytes per row).
int32_t demosaic(uint32_t code, uint32_t output, Bytes& raw, int h, int w, int stride, ZelImage& result) {
    ZelHandle* handle = nullptr;
    EXPECT_EQ(zelCreate(&handle), 0);
    ZelPixelType format = output;
    EXPECT_EQ(zelDemosaicSetConfig(handle, &format), 0);
    const ZelImage in{h, w, code, raw.data(), stride};
    const int32_t status = zelDemosaicing(handle, &in, ZEL_DEMOSAIC_EDGE, &result);
    zelRelease(&handle);
    return status;
}

// Every driver of the frame's native phase, with either flag, against the
// reference; output buffers and green rows start with stale content.
// (zelDemosaicing's cells are checked by the frame suite.)
void checkDrivers(const Order& order, int h, int w) {
    SCOPED_TRACE(::testing::Message() << order.name << " " << w << "x" << h);
    const std::vector<int> mosaic = edgeref::noisyMosaic(h, w, 255, h * 100 + w);
    const Reference ref(mosaic, h, w, order.geometry, 255);
    const std::vector<Rgb> px = ref.frame();
    const Bytes alpha = ref.fourthBytes(kAlphaFill);
    const Bytes src(mosaic.begin(), mosaic.end());
    for (Kind kind : {Kind::Three, Kind::Four, Kind::Planes, Kind::Mono})
        for (bool swapped : {false, true}) {
            Bytes out(px.size() * bytesPerPixel(kind), kAlphaFill), line(w, 0xEE);
            ASSERT_EQ(order.drivers->run(kind, swapped, src.data(), h, w, out, line.data()), 0);
            EXPECT_TRUE(edgeref::sameSamples(out, expectedBytes(kind, px, swapped, alpha), w, samplesPerPixel(kind)))
                << "driver family " << int(kind) << (swapped ? ", swapped" : "");
        }
}

TEST(EdgeDrivers, EveryFamilyMatchesThePerPixelRules) {
    for (const Order* order : {&kOrders[0], &kOrders[2]}) {
        for (int h = 6; h <= 11; ++h)
            for (int w = 6; w <= 11; ++w) checkDrivers(*order, h, w);
        const int larger[][2] = {{32, 31}, {17, 70}, {12, 133}};
        for (const auto& s : larger) checkDrivers(*order, s[0], s[1]);
    }
}

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
        std::vector<int> m = edgeref::flatMosaic(edgeref::kRGGB, 10, 10, k.background);
        for (const auto& s : k.samples) m[s[0] * 10 + s[1]] = s[2];
        const Bytes src(m.begin(), m.end());
        Bytes out(300);
        ASSERT_EQ(rg8ToBgr8_edge(src.data(), 10, 10, out.data(), 1), 0);
        const uint8_t* p = &out[3 * (k.row * 10 + k.col)];
        EXPECT_EQ((Rgb{p[0], p[1], p[2]}.*k.channel), k.expected) << k.rule;
        EXPECT_EQ(Reference(m, 10, 10, edgeref::kRGGB, 255).at(k.row, k.col).*k.channel, k.expected) << k.rule;
    }
}

// Each driver refuses a width or height of 5 or less with its own number and
// -104, writing nothing; every cell of zelDemosaicing that reaches it passes
// the status on with no further message and the output record untouched.
struct Refusal {
    const Drivers* drivers;
    Kind kind;
    int number;
};
const Refusal kRefusals[] = {{&kRG, Kind::Three, 5661}, {&kGB, Kind::Three, 5606},  {&kRG, Kind::Four, 7543},
                             {&kGB, Kind::Four, 7493},  {&kRG, Kind::Planes, 9337}, {&kGB, Kind::Planes, 9284},
                             {&kRG, Kind::Mono, 11112}, {&kGB, Kind::Mono, 11063}};

// A call that must refuse the frame: the driver's number printed once, -104.
void expectRefused(const std::function<int32_t()>& call, int number) {
    EXPECT_EQ(zeltest::captured(call), zeltest::outcome(errBadImageSize, number));
}

TEST(EdgeRefusal, SmallFramesPrintTheDriversNumberAlsoThroughTheEntry) {
    const int sizes[][2] = {{5, 6}, {6, 5}, {5, 5}, {4, 9}, {0, 8}, {8, -6}, {INT32_MIN, 8}};
    const Bytes src(64, 1), untouched(512, 0x77);
    for (const Refusal& r : kRefusals)
        for (const auto& s : sizes) {
            SCOPED_TRACE(::testing::Message() << r.number << ", " << s[1] << "x" << s[0]);
            Bytes out = untouched;
            expectRefused([&] { return r.drivers->run(r.kind, false, src.data(), s[0], s[1], out, out.data()); },
                          r.number);
            for (const Order& order : kOrders)
                for (const Output& output : kOutputs) {
                    if (order.drivers != r.drivers || output.kind != r.kind || s[0] <= 3 || s[1] <= 3) continue;
                    Bytes raw(size_t(s[0]) * s[1], 9);
                    ZelImage result{11, 12, 13, out.data(), 14};
                    expectRefused([&] { return demosaic(order.code8, output.code, raw, s[0], s[1], s[1], result); },
                                  r.number);
                    EXPECT_TRUE(result.height == 11 && result.width == 12 && result.pixelFormat == 13 &&
                                result.data == out.data() && result.stride == 14)
                        << order.name;
                }
            EXPECT_EQ(out, untouched);
        }
}

}  // namespace
