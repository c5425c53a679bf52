// 8-bit edge-directed demosaicing: the eight drivers in every layout and the
// method 2 cells of zelDemosaicing, against a plain per-pixel evaluation of
// the rules, plus hand-worked values for the rules' corner cases.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "edge_reference.hpp"
#include "zelvora.h"

namespace {

using edgeref::Geometry;
using edgeref::Reference;
using edgeref::Rgb;
using Bytes = std::vector<uint8_t>;

// ------------------------------------------------------------------ helpers

Bytes toBytes(const std::vector<int>& v) { return Bytes(v.begin(), v.end()); }

int luma(const Rgb& p, bool blueFirst) {
    const int wr = blueFirst ? 29 : 77;
    const int wb = blueFirst ? 77 : 29;
    return (wr * p.red + 150 * p.green + wb * p.blue + 128) >> 8;
}

// Expected bytes per layout. `swap` puts red in byte 0; four-byte pixels get
// `alpha` as byte 3.
Bytes interleaved(const std::vector<Rgb>& px, bool swap, int samples, const Bytes& alpha = {}) {
    Bytes out;
    for (size_t i = 0; i < px.size(); ++i) {
        const Rgb& p = px[i];
        out.push_back(uint8_t(swap ? p.red : p.blue));
        out.push_back(uint8_t(p.green));
        out.push_back(uint8_t(swap ? p.blue : p.red));
        if (samples == 4) out.push_back(alpha[i]);
    }
    return out;
}
Bytes planesOf(const std::vector<Rgb>& px, bool redFirst) {
    Bytes out(px.size() * 3);
    const size_t n = px.size();
    for (size_t i = 0; i < n; ++i) {
        out[i] = uint8_t(redFirst ? px[i].red : px[i].blue);
        out[n + i] = uint8_t(px[i].green);
        out[2 * n + i] = uint8_t(redFirst ? px[i].blue : px[i].red);
    }
    return out;
}
Bytes lumaOf(const std::vector<Rgb>& px, bool blueFirst) {
    Bytes out;
    for (const Rgb& p : px) out.push_back(uint8_t(luma(p, blueFirst)));
    return out;
}

// The two native phases of the drivers.
struct Drivers {
    const char* name;
    bool redRowFirst;
    int32_t (*bgr)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
    int32_t (*bgra)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
    int32_t (*planar)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*, uint8_t*);
    int32_t (*mono)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, uint8_t*);
    Geometry geometry() const { return redRowFirst ? edgeref::kRGGB : edgeref::kGBRG; }
};
void PrintTo(const Drivers& d, std::ostream* os) { *os << d.name; }

const Drivers kRG{"rg8", true, rg8ToBgr8_edge, rg8ToBgra8_edge, rg8ToBgr8P_edge, rg8ToMono8_edge};
const Drivers kGB{"gb8", false, gb8ToBgr8_edge, gb8ToBgra8_edge, gb8ToBgr8P_edge, gb8ToMono8_edge};

constexpr uint8_t kAlphaFill = 0xA5;

// Byte 3 of four-byte output: the caller's byte everywhere except where the
// carried green row (the last `width` bytes of the buffer) overlaps it. That
// row ends holding, at entry c, the green of column c's site in the last row
// of that site's colour.
Bytes expectedAlpha(const Reference& ref, int h, int w, const Geometry& g) {
    Bytes alpha(static_cast<size_t>(h) * w, kAlphaFill);
    const int lastRedRow = ((h - 1) & 1) == g.redRow ? h - 1 : h - 2;
    const int lastBlueRow = ((h - 1) & 1) == g.redRow ? h - 2 : h - 1;
    for (int c = 0; c < w; ++c) {
        const int entry = 4 * c + 3 - 3 * w;
        if (entry < 0) continue;
        const int row = (entry & 1) == g.redCol ? lastRedRow : lastBlueRow;
        alpha[static_cast<size_t>(h - 1) * w + c] = uint8_t(ref.green(row, entry));
    }
    return alpha;
}

// Runs every layout of one driver pair on a mosaic and checks it against the
// reference.
void checkAllLayouts(const Drivers& d, const std::vector<int>& mosaic, int h, int w) {
    SCOPED_TRACE(::testing::Message() << d.name << " " << w << "x" << h);
    const Bytes src = toBytes(mosaic);
    const Reference ref(mosaic, h, w, d.geometry(), 255);
    const std::vector<Rgb> px = ref.frame();
    const size_t n = static_cast<size_t>(h) * w;
    for (int swap = 0; swap <= 1; ++swap) {
        Bytes three(n * 3, 0x5A);
        ASSERT_EQ(d.bgr(src.data(), h, w, three.data(), swap), 0);
        EXPECT_TRUE(edgeref::sameSamples(three, interleaved(px, swap, 3), w, 3)) << "BGR swap " << swap;

        Bytes four(n * 4, kAlphaFill);
        ASSERT_EQ(d.bgra(src.data(), h, w, four.data(), swap), 0);
        EXPECT_TRUE(edgeref::sameSamples(four, interleaved(px, swap, 4, expectedAlpha(ref, h, w, d.geometry())), w, 4))
            << "BGRA swap " << swap;

        Bytes line(w, 0xEE);  // stale scratch content must not matter
        Bytes mono(n, 0x5A);
        ASSERT_EQ(d.mono(src.data(), h, w, mono.data(), swap, line.data()), 0);
        EXPECT_TRUE(edgeref::sameSamples(mono, lumaOf(px, swap), w, 1)) << "mono weight order " << swap;
    }
    Bytes planes(n * 3, 0x5A);
    Bytes line(w, 0x11);
    ASSERT_EQ(d.planar(src.data(), h, w, planes.data(), planes.data() + n, planes.data() + 2 * n, line.data()), 0);
    EXPECT_TRUE(edgeref::sameSamples(planes, planesOf(px, true), w, 1)) << "planar";
}

// ------------------------------------------------------------ every size

class EdgeSweep : public ::testing::TestWithParam<Drivers> {};

TEST_P(EdgeSweep, EverySizeFrom6x6To17x17MatchesThePerPixelRules) {
    for (int h = 6; h <= 17; ++h)
        for (int w = 6; w <= 17; ++w) checkAllLayouts(GetParam(), edgeref::noisyMosaic(h, w, 255, h * 100 + w), h, w);
}

TEST_P(EdgeSweep, LargerOddAndEvenFrames) {
    const int sizes[][2] = {{32, 31}, {31, 40}, {48, 47}};
    for (const auto& s : sizes) checkAllLayouts(GetParam(), edgeref::noisyMosaic(s[0], s[1], 255, 7), s[0], s[1]);
}

INSTANTIATE_TEST_SUITE_P(Phases, EdgeSweep, ::testing::Values(kRG, kGB),
                         [](const auto& info) { return std::string(info.param.name); });

// ----------------------------------------------------- hand-worked values

// A 10x10 RG-phase mosaic (red at even rows and columns) with a background
// per colour and a few samples set by hand; returns pixel (r, c) as B, G, R.
struct Worked {
    int red;
    int green;
    int blue;
    std::vector<std::pair<std::pair<int, int>, int>> samples;
};
Rgb workedPixel(const Worked& wk, int r, int c) {
    const int h = 10;
    const int w = 10;
    Bytes src(h * w);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            src[y * w + x] =
                uint8_t((y % 2 == 0) ? (x % 2 == 0 ? wk.red : wk.green) : (x % 2 == 0 ? wk.green : wk.blue));
    for (const auto& s : wk.samples) src[s.first.first * w + s.first.second] = uint8_t(s.second);
    Bytes out(h * w * 3);
    EXPECT_EQ(rg8ToBgr8_edge(src.data(), h, w, out.data(), 0), 0);
    const uint8_t* p = &out[(r * w + c) * 3];
    return {p[2], p[1], p[0]};
}

TEST(EdgeRules, EqualGradientsTakeTheVerticalEstimate) {
    // At the red site (4, 4): greens 50 | 70 across and 60 | 80 down, same-colour
    // neighbours flat: both gradients are 20; horizontal would give 60.
    const Worked wk{100, 100, 100, {{{4, 3}, 50}, {{4, 5}, 70}, {{3, 4}, 60}, {{5, 4}, 80}}};
    EXPECT_EQ(workedPixel(wk, 4, 4).green, 70);
}

TEST(EdgeRules, NegativeLaplacianQuartersAreFloored) {
    // Vertical greens 50 and 51 (mean 50), red below the site raised by k so
    // Lv = -k; the horizontal greens 0 | 100 keep the vertical direction.
    const int expected[][2] = {{1, 49}, {2, 49}, {3, 49}, {4, 49}, {5, 48}};
    for (const auto& e : expected) {
        const Worked wk{100, 100, 100, {{{4, 3}, 0}, {{4, 5}, 100}, {{3, 4}, 50}, {{5, 4}, 51}, {{6, 4}, 100 + e[0]}}};
        EXPECT_EQ(workedPixel(wk, 4, 4).green, e[1]) << "Lv = -" << e[0];
    }
}

TEST(EdgeRules, NegativeColourDifferenceMeansAreFloored) {
    // Red 98 at (4, 6) in flat 100 gets green 99 (both Laplacians -4, a tie):
    // D = -1; its neighbour (4, 4) has D = 0. Red at the green site between
    // is 100 + floor(-1 / 2) = 99.
    const Worked wk{100, 100, 100, {{{4, 6}, 98}}};
    EXPECT_EQ(workedPixel(wk, 4, 5).red, 99);
}

TEST(EdgeRules, GreenClampedAt255FeedsTheNeighboursClamped) {
    // Greens 250, red and blue 0, one red of 255 at (4, 4): its green
    // 250 + 510 / 4 = 377 clamps to 255 (D = 0, not -122). Its neighbour at
    // (4, 6) has green 250 (D = -250), so the red between is 250 - 125.
    const Worked wk{0, 250, 0, {{{4, 4}, 255}}};
    EXPECT_EQ(workedPixel(wk, 4, 4).green, 255);
    EXPECT_EQ(workedPixel(wk, 4, 5).red, 125);
}

TEST(EdgeRules, GreenClampedAt0FeedsTheNeighboursClamped) {
    // Greens 5, reds 255, one red of 0 at (4, 4): green 5 - 128 clamps to 0
    // (D = 0, not 123). Its neighbour (4, 6) has green 5 (D = 250), so the
    // red between is 5 + 125.
    const Worked wk{255, 5, 128, {{{4, 4}, 0}}};
    EXPECT_EQ(workedPixel(wk, 4, 4).green, 0);
    EXPECT_EQ(workedPixel(wk, 4, 5).red, 130);
}

// Uniform frames and stripes give grey: stripes along the columns make every
// vertical gradient 0, stripes of period four along the rows make every
// horizontal gradient 0 and every vertical one positive, so each green is
// taken along the stripe and every colour difference is 0.
struct GreyCase {
    const char* name;
    std::function<int(int, int)> value;
};
class EdgeGrey : public ::testing::TestWithParam<GreyCase> {};

TEST_P(EdgeGrey, EveryLayoutIsGrey) {
    const int h = 11;
    const int w = 12;
    const size_t n = static_cast<size_t>(h) * w;
    Bytes src(n);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) src[r * w + c] = uint8_t(GetParam().value(r, c));
    for (const Drivers& d : {kRG, kGB}) {
        Bytes three(n * 3), four(n * 4, kAlphaFill), planes(n * 3), mono(n), line(w);
        ASSERT_EQ(d.bgr(src.data(), h, w, three.data(), 0), 0);
        ASSERT_EQ(d.bgra(src.data(), h, w, four.data(), 1), 0);
        ASSERT_EQ(d.planar(src.data(), h, w, planes.data(), planes.data() + n, planes.data() + 2 * n, line.data()), 0);
        ASSERT_EQ(d.mono(src.data(), h, w, mono.data(), 0, line.data()), 0);
        for (size_t i = 0; i < n; ++i) {
            const uint8_t v = src[i];
            ASSERT_TRUE(three[3 * i] == v && three[3 * i + 1] == v && three[3 * i + 2] == v) << d.name << " " << i;
            ASSERT_TRUE(four[4 * i] == v && four[4 * i + 1] == v && four[4 * i + 2] == v) << d.name << " " << i;
            ASSERT_TRUE(planes[i] == v && planes[n + i] == v && planes[2 * n + i] == v) << d.name << " " << i;
            ASSERT_EQ(mono[i], v) << d.name << " " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Frames, EdgeGrey,
                         ::testing::Values(GreyCase{"Uniform0", [](int, int) { return 0; }},
                                           GreyCase{"Uniform137", [](int, int) { return 137; }},
                                           GreyCase{"Uniform255", [](int, int) { return 255; }},
                                           GreyCase{"StripesDown", [](int, int c) { return (c / 2) % 2 ? 220 : 30; }},
                                           GreyCase{"RampAcross", [](int, int c) { return 20 * c; }},
                                           GreyCase{"StripesAcross",
                                                    [](int r, int) { return (r / 2) % 2 ? 240 : 10; }}),
                         [](const auto& info) { return std::string(info.param.name); });

// ------------------------------------------------------------- symmetries

// swapRB exchanges bytes 0 and 2 of every pixel (any nonzero value), and
// exchanged plane pointers exchange the planes; nothing else changes.
TEST(EdgeSymmetry, SwapRBAndPlaneOrder) {
    const int h = 9;
    const int w = 13;
    const size_t n = size_t(h) * w;
    const Bytes src = toBytes(edgeref::noisyMosaic(h, w, 255, 99));
    for (const Drivers& d : {kRG, kGB}) {
        for (int samples : {3, 4}) {
            Bytes plain(n * samples, 0x33), swapped(plain);
            auto run = samples == 3 ? d.bgr : d.bgra;
            ASSERT_EQ(run(src.data(), h, w, plain.data(), 0), 0);
            ASSERT_EQ(run(src.data(), h, w, swapped.data(), 7), 0);
            for (size_t i = 0; i < plain.size(); i += samples) std::swap(plain[i], plain[i + 2]);
            EXPECT_EQ(plain, swapped) << d.name << " " << samples << " bytes";
        }
        Bytes forward(3 * n), reverse(3 * n), line(w);
        ASSERT_EQ(d.planar(src.data(), h, w, forward.data(), &forward[n], &forward[2 * n], line.data()), 0);
        ASSERT_EQ(d.planar(src.data(), h, w, &reverse[2 * n], &reverse[n], reverse.data(), line.data()), 0);
        std::swap_ranges(forward.begin(), forward.begin() + n, forward.begin() + 2 * n);
        EXPECT_EQ(forward, reverse) << d.name;
    }
}

// ------------------------------------------------------------ refusals

struct Refusal {
    const char* name;
    int number;
    std::function<int32_t(const uint8_t*, int32_t, int32_t, uint8_t*)> run;
};

std::vector<Refusal> refusals() {
    return {
        {"rg8ToBgr8_edge", 5661, [](auto s, auto h, auto w, auto d) { return rg8ToBgr8_edge(s, h, w, d, 0); }},
        {"gb8ToBgr8_edge", 5606, [](auto s, auto h, auto w, auto d) { return gb8ToBgr8_edge(s, h, w, d, 0); }},
        {"rg8ToBgra8_edge", 7543, [](auto s, auto h, auto w, auto d) { return rg8ToBgra8_edge(s, h, w, d, 0); }},
        {"gb8ToBgra8_edge", 7493, [](auto s, auto h, auto w, auto d) { return gb8ToBgra8_edge(s, h, w, d, 0); }},
        {"rg8ToBgr8P_edge", 9337,
         [](auto s, auto h, auto w, auto d) { return rg8ToBgr8P_edge(s, h, w, d, d + 100, d + 200, d + 300); }},
        {"gb8ToBgr8P_edge", 9284,
         [](auto s, auto h, auto w, auto d) { return gb8ToBgr8P_edge(s, h, w, d, d + 100, d + 200, d + 300); }},
        {"rg8ToMono8_edge", 11112,
         [](auto s, auto h, auto w, auto d) { return rg8ToMono8_edge(s, h, w, d, 0, d + 300); }},
        {"gb8ToMono8_edge", 11063,
         [](auto s, auto h, auto w, auto d) { return gb8ToMono8_edge(s, h, w, d, 0, d + 300); }},
    };
}

TEST(EdgeRefusal, DimensionsOf5OrLessPrintTheDriversNumberAndWriteNothing) {
    const int sizes[][2] = {{5, 6}, {6, 5}, {5, 5}, {0, 8}, {8, -6}, {INT32_MIN, 8}};
    const Bytes src(64, 1);
    for (const Refusal& r : refusals()) {
        for (const auto& s : sizes) {
            Bytes out(512, 0x77);
            ::testing::internal::CaptureStdout();
            const int32_t status = r.run(src.data(), s[0], s[1], out.data());
            const std::string printed = ::testing::internal::GetCapturedStdout();
            EXPECT_EQ(status, errBadImageSize) << r.name << " " << s[0] << "x" << s[1];
            EXPECT_EQ(printed, "error line = [" + std::to_string(r.number) + "]") << r.name;
            EXPECT_EQ(out, Bytes(512, 0x77)) << r.name;
        }
    }
}

// ------------------------------------------------------ through the entry

struct Order {
    const char* name;
    uint32_t code8;
    uint32_t code12;
    Geometry geometry;
};
const Order kOrders[] = {{"RG", ZEL_PIX_BAYER_RG8, ZEL_PIX_BAYER_RG12, edgeref::kRGGB},
                         {"BG", ZEL_PIX_BAYER_BG8, ZEL_PIX_BAYER_BG12, edgeref::kBGGR},
                         {"GB", ZEL_PIX_BAYER_GB8, ZEL_PIX_BAYER_GB12, edgeref::kGBRG},
                         {"GR", ZEL_PIX_BAYER_GR8, ZEL_PIX_BAYER_GR12, edgeref::kGRBG}};

struct Output {
    uint32_t code;
    int bytesPerPixel;
    // The expected frame from the true colours, byte 3 of four-byte pixels
    // as the caller left it (kAlphaFill) outside the last row.
    std::function<Bytes(const std::vector<Rgb>&)> expected;
};
const Output kOutputs[] = {
    {ZEL_PIX_BGR8, 3, [](const auto& px) { return interleaved(px, false, 3); }},
    {ZEL_PIX_RGB8, 3, [](const auto& px) { return interleaved(px, true, 3); }},
    {ZEL_PIX_BGRA8, 4, [](const auto& px) { return interleaved(px, false, 4, Bytes(px.size(), kAlphaFill)); }},
    {ZEL_PIX_RGBA8, 4, [](const auto& px) { return interleaved(px, true, 4, Bytes(px.size(), kAlphaFill)); }},
    {ZEL_PIX_RGB8_PLANAR, 3, [](const auto& px) { return planesOf(px, true); }},
    {ZEL_PIX_BGR8_PLANAR, 3, [](const auto& px) { return planesOf(px, false); }},
    {ZEL_PIX_MONO8, 1, [](const auto& px) { return lumaOf(px, false); }},
};

// Runs zelDemosaicing with method 2 on `raw` (stride bytes per row).
int32_t demosaic(uint32_t code, uint32_t output, Bytes& raw, int h, int w, int stride, Bytes& out, ZelImage& result) {
    ZelHandle* handle = nullptr;
    EXPECT_EQ(zelCreate(&handle), 0);
    ZelPixelType format = output;
    EXPECT_EQ(zelDemosaicSetConfig(handle, &format), 0);
    const ZelImage in{h, w, code, raw.data(), stride};
    result = ZelImage{0, 0, 0, out.data(), 0};
    const int32_t status = zelDemosaicing(handle, &in, ZEL_DEMOSAIC_EDGE, &result);
    zelRelease(&handle);
    return status;
}

void checkEntry(const Order& order, const Output& output, int h, int w, bool deep) {
    SCOPED_TRACE(::testing::Message() << order.name << " -> 0x" << std::hex << output.code << std::dec << " " << w
                                      << "x" << h << (deep ? " (12-bit)" : ""));
    const std::vector<int> mosaic = edgeref::noisyMosaic(h, w, 255, h * 31 + w);
    Bytes raw;
    for (int v : mosaic) {
        if (deep) {  // 12-bit samples reduce to their top 8 bits
            raw.push_back(uint8_t((v << 4) & 0xFF));
            raw.push_back(uint8_t(v >> 4));
        } else {
            raw.push_back(uint8_t(v));
        }
    }
    const size_t n = size_t(h) * w;
    Bytes out(n * output.bytesPerPixel, kAlphaFill);
    ZelImage result{};
    ASSERT_EQ(demosaic(deep ? order.code12 : order.code8, output.code, raw, h, w, deep ? 2 * w : w, out, result), 0);
    EXPECT_EQ(result.pixelFormat, output.code);
    Bytes want = output.expected(Reference(mosaic, h, w, order.geometry, 255).frame());
    if (output.bytesPerPixel == 4)  // where the carried green row overlaps byte 3 (pinned above)
        for (int c = 0; c < w; ++c)
            if (4 * c + 3 >= 3 * w) want[4 * ((h - 1) * w + c) + 3] = out[4 * ((h - 1) * w + c) + 3];
    EXPECT_TRUE(edgeref::sameSamples(
        out, want, w,
        output.code == ZEL_PIX_RGB8_PLANAR || output.code == ZEL_PIX_BGR8_PLANAR ? 1 : output.bytesPerPixel));
}

TEST(EdgeEntry, EveryOrderAndLayoutMatchesTheRulesOnTheTrueColours) {
    for (const Order& order : kOrders)
        for (const Output& output : kOutputs)
            for (int h = 6; h <= 9; ++h)
                for (int w = 6; w <= 9; ++w) checkEntry(order, output, h, w, false);
}

TEST(EdgeEntry, DeepInputUsesTheScratchAfterTheReducedFrame) {
    for (const Order& order : kOrders)
        for (const Output& output : kOutputs) checkEntry(order, output, 10, 11, true);
}

TEST(EdgeEntry, TooSmallFramesReturnTheDriversStatusWithOneMessage) {
    // Columns of the dispatch table: the RG-phase number for RG and BG input,
    // the GB-phase one for GB and GR.
    const uint32_t layouts[] = {ZEL_PIX_BGR8,        ZEL_PIX_RGB8,        ZEL_PIX_BGRA8, ZEL_PIX_RGBA8,
                                ZEL_PIX_RGB8_PLANAR, ZEL_PIX_BGR8_PLANAR, ZEL_PIX_MONO8};
    const int rgNumbers[] = {5661, 5661, 7543, 7543, 9337, 9337, 11112};
    const int gbNumbers[] = {5606, 5606, 7493, 7493, 9284, 9284, 11063};
    for (const Order& order : kOrders) {
        const bool rgPhase = order.geometry.redRow == order.geometry.redCol;
        for (int k = 0; k < 7; ++k) {
            for (int side : {4, 5}) {
                Bytes raw(size_t(side) * side, 9), out(side * side * 4, 0x42);
                ZelImage result{};
                ::testing::internal::CaptureStdout();
                const int32_t status = demosaic(order.code8, layouts[k], raw, side, side, side, out, result);
                const std::string printed = ::testing::internal::GetCapturedStdout();
                EXPECT_EQ(status, errBadImageSize);
                EXPECT_EQ(printed, "error line = [" + std::to_string(rgPhase ? rgNumbers[k] : gbNumbers[k]) + "]")
                    << order.name << " layout " << k;
                EXPECT_EQ(result.height, 0);
                EXPECT_EQ(result.width, 0);
                EXPECT_EQ(result.pixelFormat, 0u);
                EXPECT_EQ(out, Bytes(side * side * 4, 0x42));
            }
        }
    }
}

}  // namespace
