// Lens-shading estimation: refusals, worked entries, the deliberate rules and
// the out-of-memory paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "lsc/estimate.hpp"
#include "lsc_support.hpp"
#include "zelvora.h"

namespace {

using lsctest::captured;
using lsctest::errorLine;
using lsctest::Table;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr uint32_t entry(uint32_t gain, uint32_t offset) { return gain << 12 | offset; }

// Each case edits a valid request; line 0 means accepted without a message.
TEST(LscEstimate, TableChecksInOrder) {
    using Edit = void (*)(ZelLSCInput*&, ZelLSCTable*&);
    const struct {
        const char* name;
        Edit edit;
        int line;
        int32_t status;
    } cases[] = {
        {"nullInput", [](ZelLSCInput*& in, ZelLSCTable*&) { in = nullptr; }, 598, errInvalidParameter},
        {"nullGrey", [](ZelLSCInput*& in, ZelLSCTable*&) { in->grey = nullptr; }, 598, errInvalidParameter},
        {"nullDark", [](ZelLSCInput*& in, ZelLSCTable*&) { in->dark = nullptr; }, 598, errInvalidParameter},
        {"nullTable", [](ZelLSCInput*& in, ZelLSCTable*& t) { in->mode = 2, t = nullptr; }, 598, errInvalidParameter},
        {"mode2", [](ZelLSCInput*& in, ZelLSCTable*&) { in->mode = 2, in->width = 3; }, 599, errUnsupportedOutput},
        {"height31", [](ZelLSCInput*& in, ZelLSCTable*&) { in->height = 31; }, 600, errBadImageSize},
        {"width31", [](ZelLSCInput*& in, ZelLSCTable*&) { in->width = 31, in->mode = 1; }, 600, errBadImageSize},
        {"huge", [](ZelLSCInput*& in, ZelLSCTable*&) { in->width = in->height = 65536; }, 600, errBadImageSize},
        {"oddWidth", [](ZelLSCInput*& in, ZelLSCTable*&) { in->width = 33; }, 601, errBadImageSize},
        {"oddHeight", [](ZelLSCInput*& in, ZelLSCTable*&) { in->height = 35, in->mode = 1; }, 601, errBadImageSize},
        {"32x32", [](ZelLSCInput*&, ZelLSCTable*&) {}, 0, 0},
        {"32x34", [](ZelLSCInput*& in, ZelLSCTable*&) { in->height = 34; }, 0, 0},
        {"34x32PerPixel", [](ZelLSCInput*& in, ZelLSCTable*&) { in->width = 34, in->mode = 1; }, 0, 0},
    };
    const std::vector<float> grey(64 * 64, 90.0f), dark(64 * 64, 10.0f);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ZelLSCInput request{0, 8, 32, 32, grey.data(), dark.data()};
        ZelLSCInput* in = &request;
        Table table(64 * 64);
        ZelLSCTable* t = table.get();
        c.edit(in, t);
        const auto [status, out] = captured([&] { return zelGetLSCParameter(in, t); });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, c.line == 0 ? "" : errorLine(c.line));
        if (status != 0) {
            EXPECT_TRUE(table.untouched());
            continue;
        }
        // uniform frames: gain 1.0 everywhere, offset 10 x 16; nothing beyond n
        const size_t n = static_cast<size_t>(request.width) * request.height / (request.mode == 1 ? 1 : 4);
        EXPECT_EQ(table.words[0], request.mode);
        EXPECT_EQ(table.words[1], static_cast<uint32_t>(request.height));
        EXPECT_EQ(table.words[2], static_cast<uint32_t>(request.width));
        for (size_t i = 0; i < n; ++i) ASSERT_EQ(table.entry(i), entry(131072, 160)) << i;
        EXPECT_EQ(table.entry(n), Table::kMarker);
    }
}

TEST(LscEstimate, RegionalChecksInOrder) {
    using Edit = void (*)(ZelBasicLSCInput*&, uint8_t*&);
    const struct {
        const char* name;
        Edit edit;
        int line;  // 0: no message
        int32_t status;
    } cases[] = {
        {"nullInput", [](ZelBasicLSCInput*& in, uint8_t*&) { in = nullptr; }, 501, errInvalidParameter},
        {"nullGrey", [](ZelBasicLSCInput*& in, uint8_t*&) { in->grey = nullptr; }, 501, errInvalidParameter},
        {"nullOutput", [](ZelBasicLSCInput*& in, uint8_t*& b) { in->mode = 2, b = nullptr; }, 501, errInvalidParameter},
        {"mode2", [](ZelBasicLSCInput*& in, uint8_t*&) { in->mode = 2, in->width = 3; }, 502, errUnsupportedOutput},
        {"height31", [](ZelBasicLSCInput*& in, uint8_t*&) { in->height = 31, in->bitDepth = 9; }, 503, errBadImageSize},
        {"width31", [](ZelBasicLSCInput*& in, uint8_t*&) { in->width = 31; }, 503, errBadImageSize},
        {"depth9", [](ZelBasicLSCInput*& in, uint8_t*&) { in->bitDepth = 9, in->blockWidth = 8; }, 504,
         errUnsupportedOutput},
        {"depth16", [](ZelBasicLSCInput*& in, uint8_t*&) { in->bitDepth = 16; }, 504, errUnsupportedOutput},
        {"blockWidth8", [](ZelBasicLSCInput*& in, uint8_t*&) { in->blockWidth = 8, in->mode = 1; }, 505,
         errBadImageSize},
        {"blockWidth64", [](ZelBasicLSCInput*& in, uint8_t*&) { in->blockWidth = 64; }, 505, errBadImageSize},
        {"blockHeight32", [](ZelBasicLSCInput*& in, uint8_t*&) { in->blockHeight = 32; }, 505, errBadImageSize},
        // refused silently after the averages: region kind outside 2..4, or mode 1
        {"regionKind1", [](ZelBasicLSCInput*& in, uint8_t*&) { in->regionKind = 1; }, 0, errUnsupportedOutput},
        {"regionKind5", [](ZelBasicLSCInput*& in, uint8_t*&) { in->regionKind = 5; }, 0, errUnsupportedOutput},
        {"mode1", [](ZelBasicLSCInput*& in, uint8_t*&) { in->mode = 1; }, 0, errUnsupportedOutput},
    };
    const std::vector<float> grey(64 * 64, 100.0f);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ZelBasicLSCInput request{0, 8, 3, 32, 32, 16, 16, grey.data(), 8.0f};
        ZelBasicLSCInput* in = &request;
        std::vector<uint8_t> bytes(64, 0x5A);
        uint8_t* out = bytes.data();
        c.edit(in, out);
        const auto [status, printed] = captured([&] { return zelGetBasicLSCParameter(in, out); });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(printed, c.line == 0 ? "" : errorLine(c.line));
        EXPECT_EQ(bytes, std::vector<uint8_t>(64, 0x5A));
    }
}

TEST(LscEstimate, TableEntries) {
    const struct {
        const char* name;
        float dark, grey;
        uint32_t bitDepth;
        double target;
        uint32_t expected;
    } cases[] = {
        // offset: dark x 2^(12 - bitDepth), rounded half up, saturated to 0..4095
        {"dark10_3at8bits", 10.3f, 10.3f, 8, 1.0, entry(0, 165)},
        {"offset8bits", 100.25f, 0.0f, 8, 1.0, entry(0, 1604)},
        {"offset10bits", 100.25f, 0.0f, 10, 1.0, entry(0, 401)},
        {"offset11bits", 100.25f, 0.0f, 11, 1.0, entry(0, 201)},
        {"offset12bits", 100.25f, 0.0f, 12, 1.0, entry(0, 100)},
        {"offset12bitsHalfUp", 100.5f, 0.0f, 12, 1.0, entry(0, 101)},
        {"offsetSaturates", 300.0f, 0.0f, 8, 1.0, entry(0, 4095)},
        {"offsetDepth0", 1.0f, 0.0f, 0, 1.0, entry(0, 4095)},
        {"negativeDark", -3.0f, 10.0f, 12, 13.0, entry(131072, 0)},
        // from 13 bits up the scale is 0
        {"offsetDepth13", 100.0f, 0.0f, 13, 1.0, entry(0, 0)},
        {"offsetDepth16", 100.0f, 0.0f, 16, 1.0, entry(0, 0)},
        {"offsetDepth44", 100.0f, 0.0f, 44, 1.0, entry(0, 0)},
        // gain: target / (grey - dark) over 2^17, rounded half up, saturated
        {"gain2", 0.0f, 50.0f, 12, 100.0, entry(262144, 0)},
        {"gainRoundsHalfUp", 0.0f, 1.0f, 12, 1.5 / 131072, entry(2, 0)},
        {"gainBelowHalf", 0.0f, 1.0f, 12, 1.49 / 131072, entry(1, 0)},
        {"gain8Saturates", 0.0f, 50.0f, 12, 400.0, entry(0xFFFFF, 0)},
        {"gainAbove8", 0.0f, 50.0f, 12, 5000.0, entry(0xFFFFF, 0)},
        {"negativeTarget", 0.0f, 50.0f, 12, -1.0, entry(0, 0)},
        {"nanTarget", 0.0f, 50.0f, 12, std::nan(""), entry(0, 0)},
        // grey not above dark: gain 0, the pixel goes black
        {"greyEqualsDark", 50.0f, 50.0f, 12, 100.0, entry(0, 50)},
        {"greyBelowDark", 60.0f, 50.0f, 12, 100.0, entry(0, 60)},
        // the difference is single precision: 2^24 - 0.5 rounds to 2^24, so
        // k x 2^17 = target / 128 = 1000000.49 (in double 1000000.52)
        {"floatDifference", 0.5f, 16777216.0f, 13, 128000062.72, entry(1000000, 0)},
    };
    for (const auto& c : cases) {
        uint32_t out = 0;
        EXPECT_EQ(getLSCKBMono(&c.dark, &c.grey, 1, c.bitDepth, &out, c.target), 0);
        EXPECT_EQ(out, c.expected) << c.name << std::hex << " " << out;
    }
}

TEST(LscEstimate, RegionalEntries) {
    const struct {
        const char* name;
        float dark, grey, darkLevel;
        uint32_t bitDepth;
        double target;
        std::array<uint8_t, 3> expected;
    } cases[] = {
        // k = 2.0 exactly rounds to 8192 and is capped to 8191; offset (16 - 2 x 16) x 8
        {"gain2", 16.0f, 66.0f, 16.0f, 8, 100.0, {0xFF, 0xFF, 0x80}},
        {"gainAbove2", 16.0f, 56.0f, 16.0f, 8, 100.0, {0xFF, 0xFF, 0x80}},
        // grey not above dark: gain 1.0 (K = 4096), offset L - d
        {"greyEqualsDark", 16.0f, 16.0f, 16.0f, 8, 100.0, {0x80, 0x00, 0x00}},
        {"negativeTarget", 16.0f, 66.0f, 16.0f, 8, -5.0, {0x00, 0x00, 0x80}},
        {"nanTarget", 16.0f, 66.0f, 16.0f, 8, std::nan(""), {0x00, 0x00, 0x80}},
        {"gain1_5", 0.0f, 100.0f, 0.0f, 8, 150.0, {0xC0, 0x00, 0x00}},
        // offset scale: x2 at 10 bits, /2 at 12 bits, rounded half away from zero
        {"offset10bits", 5.0f, 5.0f, 16.0f, 10, 1.0, {0x80, 0x00, 22}},
        {"offset12bitsHalfUp", 5.0f, 5.0f, 16.0f, 12, 1.0, {0x80, 0x00, 6}},
        {"offset12bitsHalfDown", 27.0f, 27.0f, 16.0f, 12, 1.0, {0x80, 0x07, 0xFA}},
        // -1024 is representable; below it the 0xFC byte, even over K = 6149 (low bits 00101)
        {"offsetMinus1024", 144.0f, 100.0f, 16.0f, 8, 1.0, {0x80, 0x04, 0x00}},
        {"offsetMinus1025", 144.125f, 100.0f, 16.0f, 8, 1.0, {0x80, 0xFC, 0x00}},
        {"lowSaturationCoversGain", 200.0f, 300.0f, 16.0f, 8, 150.1220703125, {0xC0, 0xFC, 0x00}},
        {"offset1023", 0.0f, 0.0f, 127.875f, 8, 1.0, {0x80, 0x03, 0xFF}},
        {"offsetHighSaturates", 0.0f, 0.0f, 127.9375f, 8, 1.0, {0x80, 0x03, 0xFF}},
        {"offsetFarAbove", 0.0f, 0.0f, 3.0e38f, 8, 1.0, {0x80, 0x03, 0xFF}},
        // the offset keeps the unrounded k; v = -(1.25 - 2^-30) is rounded to
        // single precision (-1.25) before the x2, so r = -3, not -2
        {"offsetThroughFloat", 1.0f, 2.0f, 0.0f, 10, 1.25 - 0x1p-30, {0xA0, 0x07, 0xFD}},
    };
    for (const auto& c : cases) {
        std::array<uint8_t, 4> out{0, 0, 0, 0x77};
        EXPECT_EQ(getLSCKBMono_REGION(&c.dark, &c.grey, 1, c.bitDepth, out.data(), c.target, c.darkLevel), 0);
        EXPECT_EQ((std::array<uint8_t, 4>{c.expected[0], c.expected[1], c.expected[2], 0x77}), out) << c.name;
    }
}

TEST(LscEstimate, BlockValues) {
    // 4 x 4 frames; the grey lower rows hold NaN and are never read.
    const float dark[16] = {1, 2, 5, 6, 3, 4, 7, 9, 0, 0, 0, 0, 0, 0, 1, 2};
    const float grey[16] = {1, 2, 10, 30, kNaN, kNaN, kNaN, kNaN, 4, 4, 0.5f, 0.25f, kNaN, kNaN, kNaN, kNaN};
    std::vector<float> blockDark(5, -1.0f), blockGrey(5, -1.0f);
    EXPECT_EQ(dataInit2x2(dark, grey, 4, 4, blockDark.data(), blockGrey.data()), 0);
    EXPECT_EQ(blockDark, (std::vector<float>{2.5f, 6.75f, 0.0f, 0.75f, -1.0f}));
    // the upper pair counted twice: (a + b + a + b) / 4
    EXPECT_EQ(blockGrey, (std::vector<float>{1.5f, 20.0f, 4.0f, 0.375f, -1.0f}));
}

TEST(LscEstimate, RegionAveragesSumRowByRowInSinglePrecision) {
    // Two regions of 2 columns by 16 rows in a 5-column frame. Region 0 has
    // 1e8 in row 0 column 1: added after one 1.0, every later 1.0 is lost in
    // single precision (a column-first sum would give 100000016).
    std::vector<float> grey(5 * 17, 1.0f);
    grey[1] = 1.0e8f;
    grey[5 * 16] = grey[4] = kNaN;  // row 16 and column 4 belong to no region
    float averages[3] = {0, 0, -1};
    EXPECT_EQ(grayDataInit(grey.data(), 17, 5, 2, 16, 1, 2, 4, averages), 0);
    EXPECT_EQ(averages[0], 1.0e8f / 4.0f);
    EXPECT_EQ(averages[1], 8.0f);
    EXPECT_EQ(averages[2], -1.0f);
}

TEST(LscEstimate, TargetSumsInDoublePrecision) {
    std::vector<float> grey(17, 1.0f), dark(17, 0.0f);
    grey[0] = 1.0e8f;  // in single precision the 1.0s would vanish beside it
    dark[16] = 0.5f;
    EXPECT_EQ(getTargetLSCMono(dark.data(), grey.data(), 17), (100000016.0 - 0.5) / 17.0);
    EXPECT_TRUE(std::isnan(getTargetLSCMono(dark.data(), grey.data(), 0)));
    EXPECT_TRUE(std::signbit(getTargetLSCMono(dark.data(), grey.data(), -3)));
}

// 32 x 32 frames, dark 0, grey 100 except pixel (0, 0) at 50; NaN in the
// lower row of block (0, 0), which the per-block grey level never reads.
TEST(LscEstimate, WholeTables) {
    std::vector<float> grey(32 * 32, 100.0f);
    grey[0] = 50.0f;
    const std::vector<float> dark(32 * 32, 0.0f);
    const struct {
        uint32_t mode, bitDepth;
        size_t n;
        uint32_t first, rest;
    } cases[] = {
        // target 102350 / 1024; gains 1.9990234375 and 0.99951171875
        {1, 12, 32 * 32, entry(262016, 0), entry(131008, 0)},
        // block (0, 0) grey (50 + 100 + 50 + 100) / 4 = 75; target 25575 / 256;
        // gains 1.33203125 and 0.9990234375
        {0, 8, 16 * 16, entry(174592, 0), entry(130944, 0)},
    };
    for (const auto& c : cases) {
        grey[32] = grey[33] = c.mode == 0 ? kNaN : 100.0f;
        const ZelLSCInput in{c.mode, c.bitDepth, 32, 32, grey.data(), dark.data()};
        Table table(c.n + 1);
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        EXPECT_EQ(table.entry(0), c.first);
        for (size_t i = 1; i < c.n; ++i) ASSERT_EQ(table.entry(i), c.rest) << i;
        EXPECT_EQ(table.entry(c.n), Table::kMarker);
    }
}

TEST(LscEstimate, DarkEqualToGreyGivesGainZeroEverywhere) {
    // Per block, dark and grey levels only agree when each block's lower pair
    // sums like its upper pair (the grey level reads the upper pair only), so
    // the frame repeats every row once.
    std::vector<float> frame = lsctest::noisyFrame(32, 32, 64.0f, 8.0f, 7);
    for (int y = 1; y < 32; y += 2) std::copy_n(&frame[(y - 1) * 32], 32, &frame[y * 32]);
    for (uint32_t mode : {0u, 1u}) {
        const ZelLSCInput in{mode, 10, 32, 32, frame.data(), frame.data()};
        Table table(32 * 32);
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        for (size_t i = 0; i < (mode == 1 ? 32 * 32 : 16 * 16); ++i) ASSERT_EQ(table.entry(i) >> 12, 0u) << i;
    }
}

TEST(LscEstimate, RegionalTableIgnoresPartialRegions) {
    // 100 x 40 with 32-column regions: 3 x 2 regions; columns 96..99 and rows
    // 32..39 belong to none and hold NaN. Region (0, 0) is darker.
    std::vector<float> grey(100 * 40, 80.0f);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 100; ++x)
            if (x >= 96 || y >= 32) grey[y * 100 + x] = kNaN;
    for (int y = 0; y < 16; ++y) std::fill_n(&grey[y * 100], 32, 40.0f);
    const ZelBasicLSCInput in{0, 10, 4, 100, 40, 32, 16, grey.data(), 8.0f};
    std::vector<uint8_t> bytes(19, 0x5A);
    ASSERT_EQ(zelGetBasicLSCParameter(&in, bytes.data()), 0);
    // target (32 + 5 x 72) / 6; region (0, 0): k = 2.04 capped to 2.0 (8191),
    // offset (8 - 16) x 2; the others: k = 0.907407 (3717), offset
    // trunc((8 - 7.259) x 2 + 0.5) = 1
    const std::vector<uint8_t> expected{0xFF, 0xFF, 0xF0, 0x74, 0x28, 0x01, 0x74, 0x28, 0x01, 0x74,
                                        0x28, 0x01, 0x74, 0x28, 0x01, 0x74, 0x28, 0x01, 0x5A};
    EXPECT_EQ(bytes, expected);
}

// FNV-1a over the little-endian bytes of the values: the tables must be the
// same bits on every platform.
template <typename T>
uint32_t fingerprint(const std::vector<T>& v) {
    uint32_t h = 2166136261u;
    for (T x : v)
        for (size_t b = 0; b < sizeof(T); ++b) h = (h ^ static_cast<uint8_t>(uint32_t{x} >> (8 * b))) * 16777619u;
    return h;
}

TEST(LscEstimate, SameBitsOnEveryPlatform) {
    const int w = 96, h = 64;
    std::vector<float> grey = lsctest::noisyFrame(w, h, 700.0f, 600.0f, 11);
    const std::vector<float> dark = lsctest::noisyFrame(w, h, 60.0f, 40.0f, 13);
    for (int i = 0; i < w * h; i += 37) grey[i] = dark[i] - 1.0f;  // some dark pixels
    const struct {
        uint32_t mode, depth, hash;
    } tables[] = {{1, 8, 891403997u}, {1, 12, 1509195786u}, {0, 10, 3529511820u}, {0, 12, 922908794u}};
    for (const auto& c : tables) {
        const ZelLSCInput in{c.mode, c.depth, w, h, grey.data(), dark.data()};
        Table table(static_cast<size_t>(w) * h);
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        EXPECT_EQ(fingerprint(table.words), c.hash) << "mode " << c.mode << " depth " << c.depth;
    }
    const struct {
        uint32_t blockWidth, depth, hash;
    } regional[] = {{16, 8, 2665018844u}, {32, 10, 513575830u}, {16, 12, 527518280u}};
    for (const auto& c : regional) {
        const ZelBasicLSCInput in{0, c.depth, 3, w, h, c.blockWidth, 16, grey.data(), 300.0f};
        std::vector<uint8_t> bytes(3 * (w / 16) * (h / 16));
        ASSERT_EQ(zelGetBasicLSCParameter(&in, bytes.data()), 0);
        EXPECT_EQ(fingerprint(bytes), c.hash) << "block width " << c.blockWidth << " depth " << c.depth;
    }
}

// An allocator that logs what it does, numbering allocations from 1, and
// fails the allocation numbered `failAt` (0: none).
struct Recorder {
    static inline std::string log;
    static inline int failAt = 0;
    static inline std::vector<float*> taken;

    static float* allocate(size_t count) {
        if (static_cast<int>(taken.size()) + 1 == failAt) return log += "fail;", nullptr;
        taken.push_back(static_cast<float*>(std::malloc(count * sizeof(float))));
        log += "alloc" + std::to_string(count) + ";";
        return taken.back();
    }
    static void release(float* p) {
        log += "free" + std::to_string(std::find(taken.begin(), taken.end(), p) - taken.begin() + 1) + ";";
        std::free(p);
    }
    static zel::lsc::FloatArrays reset(int failing) {
        log.clear();
        taken.clear();
        failAt = failing;
        return {allocate, release};
    }
};

TEST(LscEstimate, TemporaryArraysTakenAndReleasedInOrder) {
    // "创建blockGrey内存空间失败" and "创建blockDark内存空间失败" in GBK (创 B4B4,
    // 建 BDA8, 内 C4DA, 存 B4E6, 空 BFD5, 间 BCE4, 失 CAA7, 败 B0DC), with the
    // newline of puts.
    const std::string grey =
        "\xB4\xB4\xBD\xA8"
        "blockGrey"
        "\xC4\xDA\xB4\xE6\xBF\xD5\xBC\xE4\xCA\xA7\xB0\xDC\n";
    const std::string dark =
        "\xB4\xB4\xBD\xA8"
        "blockDark"
        "\xC4\xDA\xB4\xE6\xBF\xD5\xBC\xE4\xCA\xA7\xB0\xDC\n";
    const struct {
        const char* name;
        uint32_t mode;        // 0 or 1: the table; 2: regional
        uint32_t regionKind;  // regional only
        int failAt;
        int32_t status;
        std::string printed, log;
    } cases[] = {
        // blockGrey is taken first and blockDark second; blockDark is released first
        {"perBlock", 0, 0, 0, 0, "", "alloc256;alloc256;free2;free1;"},
        {"perBlockGreyFails", 0, 0, 1, errNoMemory, grey, "fail;"},
        {"perBlockDarkFails", 0, 0, 2, errNoMemory, dark, "alloc256;fail;free1;"},
        {"perPixelTakesNothing", 1, 0, 1, 0, "", ""},
        {"regional", 2, 2, 0, 0, "", "alloc4;alloc4;free2;free1;"},
        {"regionalGreyFails", 2, 2, 1, errNoMemory, grey, "fail;"},
        {"regionalDarkFails", 2, 2, 2, errNoMemory, dark, "alloc4;fail;free1;"},
        // the silent refusal comes after the arrays are taken: no memory is reported first
        {"regionalLateRefusal", 2, 9, 0, errUnsupportedOutput, "", "alloc4;alloc4;free2;free1;"},
        {"regionalLateRefusalNoMemory", 2, 9, 2, errNoMemory, dark, "alloc4;fail;free1;"},
    };
    const std::vector<float> greyFrame(32 * 32, 90.0f), darkFrame(32 * 32, 10.0f);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const zel::lsc::FloatArrays arrays = Recorder::reset(c.failAt);
        Table table(32 * 32);
        std::vector<uint8_t> bytes(3 * 4, 0x5A);
        const ZelLSCInput in{c.mode, 8, 32, 32, greyFrame.data(), darkFrame.data()};
        const ZelBasicLSCInput basic{0, 8, c.regionKind, 32, 32, 16, 16, greyFrame.data(), 10.0f};
        const auto [status, out] = captured([&] {
            return c.mode == 2 ? zel::lsc::getBasicLSCParameter(&basic, bytes.data(), arrays)
                               : zel::lsc::getLSCParameter(&in, table.get(), arrays);
        });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, c.printed);
        EXPECT_EQ(Recorder::log, c.log);
        if (status != 0) {
            EXPECT_TRUE(table.untouched() && bytes == std::vector<uint8_t>(3 * 4, 0x5A));
        }
    }
}

}  // namespace
