// Lens-shading estimation: refusals, worked entries, the deliberate rules, the
// precision of every sum and the out-of-memory paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "lsc/estimate.hpp"
#include "lsc_support.hpp"
#include "zelvora.h"

namespace {

using zeltest::captured;
using lsctest::entry;
using zeltest::errorLine;
using lsctest::kOne;
using lsctest::Table;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// A refused request writes nothing; an accepted one of uniform frames (grey 90,
// dark 10 at 8 bits) gives gain 1.0 and offset 160 in exactly n entries.
TEST(LscEstimate, TableChecksInOrder) {
    const struct {
        int nulls;  // 1 input, 2 grey, 4 dark, 8 table
        uint32_t mode;
        int32_t width, height;
        int line;
        int32_t status;
    } cases[] = {
        {1, 0, 32, 32, 598, errInvalidParameter},
        {2, 0, 32, 32, 598, errInvalidParameter},
        {4, 0, 32, 32, 598, errInvalidParameter},
        {8, 2, 32, 32, 598, errInvalidParameter},
        {0, 2, 3, 32, 599, errUnsupportedOutput},
        {0, 0, 32, 31, 600, errBadImageSize},
        {0, 1, 31, 32, 600, errBadImageSize},
        {0, 0, 65536, 65536, 600, errBadImageSize},
        {0, 0, 33, 32, 601, errBadImageSize},
        {0, 1, 32, 35, 601, errBadImageSize},
        {0, 0, 32, 32, 0, 0},
        {0, 0, 32, 34, 0, 0},
        {0, 1, 34, 32, 0, 0},
    };
    const std::vector<float> grey(64 * 64, 90.0f), dark(64 * 64, 10.0f);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << " " << c.width << "x" << c.height << " nulls "
                                        << c.nulls);
        const ZelLSCInput in{
            c.mode, 8, c.width, c.height, c.nulls & 2 ? nullptr : grey.data(), c.nulls & 4 ? nullptr : dark.data()};
        Table table(64 * 64);
        const auto [status, out] = captured(
            [&] { return zelGetLSCParameter(c.nulls & 1 ? nullptr : &in, c.nulls & 8 ? nullptr : table.get()); });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, errorLine(c.line));
        std::vector<uint32_t> expected(table.words.size(), Table::kMarker);
        if (c.status == 0) {  // the header, then exactly n entries
            const size_t n = static_cast<size_t>(c.width) * c.height / (c.mode == 1 ? 1 : 4);
            std::fill_n(expected.begin(), 3 + n, entry(kOne, 160));
            expected[0] = c.mode, expected[1] = c.height, expected[2] = c.width;
        }
        EXPECT_EQ(table.words, expected);
    }
}

// Refusals, and the silent -107 for a region kind outside 2..4 or mode 1,
// which comes after the averages; none writes a byte. The accepted request,
// 100 x 40 with 32-column regions, has 3 x 2 regions: columns 96..99 and rows
// 32..39 belong to none and hold NaN; region (0, 0) is darker (40, not 80).
TEST(LscEstimate, RegionalChecksInOrder) {
    const struct {
        int nulls;  // 1 input, 2 grey, 4 output
        uint32_t mode, bitDepth, regionKind;
        int32_t width, height;
        uint32_t blockWidth, blockHeight;
        int line;
        int32_t status;
    } cases[] = {
        {1, 0, 8, 3, 32, 32, 16, 16, 501, errInvalidParameter},
        {2, 0, 8, 3, 32, 32, 16, 16, 501, errInvalidParameter},
        {4, 2, 8, 3, 32, 32, 16, 16, 501, errInvalidParameter},
        {0, 2, 8, 3, 3, 32, 16, 16, 502, errUnsupportedOutput},
        {0, 0, 9, 3, 32, 31, 16, 16, 503, errBadImageSize},
        {0, 0, 8, 3, 31, 32, 16, 16, 503, errBadImageSize},
        {0, 0, 9, 3, 32, 32, 8, 16, 504, errUnsupportedOutput},
        {0, 0, 16, 3, 32, 32, 16, 16, 504, errUnsupportedOutput},
        {0, 1, 8, 3, 32, 32, 8, 16, 505, errBadImageSize},
        {0, 0, 8, 3, 32, 32, 64, 16, 505, errBadImageSize},
        {0, 0, 8, 3, 32, 32, 16, 32, 505, errBadImageSize},
        {0, 0, 8, 1, 32, 32, 16, 16, 0, errUnsupportedOutput},
        {0, 0, 8, 5, 32, 32, 16, 16, 0, errUnsupportedOutput},
        {0, 1, 8, 3, 32, 32, 16, 16, 0, errUnsupportedOutput},
        {0, 0, 10, 4, 100, 40, 32, 16, 0, 0},
    };
    std::vector<float> grey(100 * 40, 80.0f);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 100; ++x) grey[y * 100 + x] = x >= 96 || y >= 32 ? kNaN : x < 32 && y < 16 ? 40.0f : 80.0f;
    // target (32 + 5 x 72) / 6; region (0, 0): k = 2.04 capped to 2.0 (8191),
    // offset (8 - 16) x 2; the others: k = 0.907407 (3717), offset
    // trunc((8 - 7.259) x 2 + 0.5) = 1
    std::vector<uint8_t> accepted{0xFF, 0xFF, 0xF0};
    for (int i = 0; i < 5; ++i) accepted.insert(accepted.end(), {0x74, 0x28, 0x01});
    accepted.resize(64, 0x5A);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "line " << c.line << " mode " << c.mode << " kind " << c.regionKind);
        const ZelBasicLSCInput in{c.mode,   c.bitDepth,   c.regionKind,  c.width,
                                  c.height, c.blockWidth, c.blockHeight, c.nulls & 2 ? nullptr : grey.data(),
                                  8.0f};
        std::vector<uint8_t> bytes(64, 0x5A);
        const auto [status, out] = captured(
            [&] { return zelGetBasicLSCParameter(c.nulls & 1 ? nullptr : &in, c.nulls & 4 ? nullptr : bytes.data()); });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, errorLine(c.line));
        EXPECT_EQ(bytes, status == 0 ? accepted : std::vector<uint8_t>(64, 0x5A));
    }
}

TEST(LscEstimate, TableEntries) {
    const struct {
        float dark, grey;
        uint32_t bitDepth;
        double target;
        uint32_t expected;
    } cases[] = {
        // offset: dark x 2^(12 - bitDepth), rounded half up, saturated to 0..4095
        {10.3f, 10.3f, 8, 1.0, entry(0, 165)},
        {100.25f, 0.0f, 10, 1.0, entry(0, 401)},
        {100.25f, 0.0f, 12, 1.0, entry(0, 100)},
        {100.5f, 0.0f, 12, 1.0, entry(0, 101)},
        {300.0f, 0.0f, 8, 1.0, entry(0, 4095)},
        {-3.0f, 10.0f, 12, 13.0, entry(kOne, 0)},
        // from 13 bits up the scale is 0
        {100.0f, 0.0f, 13, 1.0, entry(0, 0)},
        {100.0f, 0.0f, 44, 1.0, entry(0, 0)},
        // gain: target / (grey - dark) over 2^17, rounded half up, saturated from 8.0
        {0.0f, 50.0f, 12, 100.0, entry(2 * kOne, 0)},
        {0.0f, 1.0f, 12, 1.5 / 131072, entry(2, 0)},
        {0.0f, 1.0f, 12, 1.49 / 131072, entry(1, 0)},
        {0.0f, 50.0f, 12, 400.0, entry(0xFFFFF, 0)},
        {0.0f, 50.0f, 12, 5000.0, entry(0xFFFFF, 0)},
        {0.0f, 50.0f, 12, -1.0, entry(0, 0)},
        {0.0f, 50.0f, 12, std::nan(""), entry(0, 0)},
        // grey not above dark: gain 0, the pixel goes black
        {50.0f, 50.0f, 12, 100.0, entry(0, 50)},
        {60.0f, 50.0f, 12, 100.0, entry(0, 60)},
        // the difference is single precision: 2^24 - 0.5 rounds to 2^24, so
        // k x 2^17 = target / 128 = 1000000.49 (in double 1000000.52)
        {0.5f, 16777216.0f, 13, 128000062.72, entry(1000000, 0)},
    };
    for (const auto& c : cases) {
        uint32_t out = 0;
        EXPECT_EQ(getLSCKBMono(&c.dark, &c.grey, 1, c.bitDepth, &out, c.target), 0);
        EXPECT_EQ(out, c.expected) << "dark " << c.dark << " grey " << c.grey << " target " << c.target;
    }
}

TEST(LscEstimate, RegionalEntries) {
    const struct {
        float dark, grey, darkLevel;
        uint32_t bitDepth;
        double target;
        std::array<uint8_t, 3> expected;
    } cases[] = {
        // k = 2.0 exactly rounds to 8192 and is capped to 8191, as is k above 2;
        // offset (16 - 2 x 16) x 8
        {16.0f, 66.0f, 16.0f, 8, 100.0, {0xFF, 0xFF, 0x80}},
        {16.0f, 56.0f, 16.0f, 8, 100.0, {0xFF, 0xFF, 0x80}},
        // grey not above dark: gain 1.0 (K = 4096), offset L - d
        {16.0f, 16.0f, 16.0f, 8, 100.0, {0x80, 0x00, 0x00}},
        {16.0f, 66.0f, 16.0f, 8, -5.0, {0x00, 0x00, 0x80}},
        {16.0f, 66.0f, 16.0f, 8, std::nan(""), {0x00, 0x00, 0x80}},
        {0.0f, 100.0f, 0.0f, 8, 150.0, {0xC0, 0x00, 0x00}},
        // offset scale: x2 at 10 bits, /2 at 12 bits, rounded half away from zero
        {5.0f, 5.0f, 16.0f, 10, 1.0, {0x80, 0x00, 22}},
        {5.0f, 5.0f, 16.0f, 12, 1.0, {0x80, 0x00, 6}},
        {27.0f, 27.0f, 16.0f, 12, 1.0, {0x80, 0x07, 0xFA}},
        // -1024 is representable; below it the 0xFC byte, even over K = 6149 (low bits 00101)
        {144.0f, 100.0f, 16.0f, 8, 1.0, {0x80, 0x04, 0x00}},
        {144.125f, 100.0f, 16.0f, 8, 1.0, {0x80, 0xFC, 0x00}},
        {200.0f, 300.0f, 16.0f, 8, 150.1220703125, {0xC0, 0xFC, 0x00}},
        {0.0f, 0.0f, 127.875f, 8, 1.0, {0x80, 0x03, 0xFF}},
        {0.0f, 0.0f, 127.9375f, 8, 1.0, {0x80, 0x03, 0xFF}},
        {0.0f, 0.0f, 3.0e38f, 8, 1.0, {0x80, 0x03, 0xFF}},
        // the offset keeps the unrounded k; v = -(1.25 - 2^-30) is rounded to
        // single precision (-1.25) before the x2, so r = -3, not -2
        {1.0f, 2.0f, 0.0f, 10, 1.25 - 0x1p-30, {0xA0, 0x07, 0xFD}},
    };
    for (const auto& c : cases) {
        std::array<uint8_t, 4> out{0, 0, 0, 0x77};
        EXPECT_EQ(getLSCKBMono_REGION(&c.dark, &c.grey, 1, c.bitDepth, out.data(), c.target, c.darkLevel), 0);
        EXPECT_EQ((std::array<uint8_t, 4>{c.expected[0], c.expected[1], c.expected[2], 0x77}), out)
            << "dark " << c.dark << " grey " << c.grey << " level " << c.darkLevel << " target " << c.target;
    }
}

// Block, region and target averages: which samples, in which order, in which
// precision.
TEST(LscEstimate, Averages) {
    // 4 x 4 frames. Dark blocks add their four samples in row order in single
    // precision: block (1, 0) sums ((1e8 + 1) - 1e8) + 1 = 1, where a pairwise
    // sum gives 0. Grey blocks count their upper pair twice; the lower rows
    // hold NaN and are never read.
    const float dark[16] = {1, 2, 5, 6, 3, 4, 7, 9, 1e8f, 1, 0, 0, -1e8f, 1, 1, 2};
    const float grey[16] = {1, 2, 10, 30, kNaN, kNaN, kNaN, kNaN, 4, 4, 0.5f, 0.25f, kNaN, kNaN, kNaN, kNaN};
    std::vector<float> blockDark(5, -1.0f), blockGrey(5, -1.0f);
    EXPECT_EQ(dataInit2x2(dark, grey, 4, 4, blockDark.data(), blockGrey.data()), 0);
    EXPECT_EQ(blockDark, (std::vector<float>{2.5f, 6.75f, 0.25f, 0.75f, -1.0f}));
    EXPECT_EQ(blockGrey, (std::vector<float>{1.5f, 20.0f, 4.0f, 0.375f, -1.0f}));

    // Two regions of 2 columns by 16 rows in a 5-column frame, summed row by
    // row in single precision: after 1 + 1e8 every later 1.0 is lost (a
    // column-first or double sum gives more). Row 16 and column 4 belong to
    // no region.
    std::vector<float> frame(5 * 17, 1.0f);
    frame[1] = 1.0e8f;
    frame[5 * 16] = frame[4] = kNaN;
    float averages[3] = {0, 0, -1};
    EXPECT_EQ(grayDataInit(frame.data(), 17, 5, 2, 16, 1, 2, 4, averages), 0);
    EXPECT_EQ(averages[0], 1.0e8f / 4.0f);
    EXPECT_EQ(averages[1], 8.0f);
    EXPECT_EQ(averages[2], -1.0f);

    // The target sums in double precision, where the 1.0s beside 1e8 survive.
    std::vector<float> g(17, 1.0f), d(17, 0.0f);
    g[0] = 1.0e8f;
    d[16] = 0.5f;
    EXPECT_EQ(getTargetLSCMono(d.data(), g.data(), 17), (100000016.0 - 0.5) / 17.0);
    EXPECT_TRUE(std::isnan(getTargetLSCMono(d.data(), g.data(), 0)));
    EXPECT_TRUE(std::signbit(getTargetLSCMono(d.data(), g.data(), -3)));
}

// 32 x 32 frames through the public operation: dark 0, grey 100 except pixel
// (0, 0) at 50. Per pixel: target 102350 / 1024, gains 1.9990234375 and
// 0.99951171875. Per block: block (0, 0) is (50 + 100 + 50 + 100) / 4 = 75
// whatever its lower row holds (NaN here); target 25575 / 256, gains
// 1.33203125 and 0.9990234375.
TEST(LscEstimate, WholeTables) {
    std::vector<float> grey(32 * 32, 100.0f);
    const std::vector<float> dark(32 * 32, 0.0f);
    grey[0] = 50.0f;
    for (const auto& [mode, first, others] : {std::tuple{1u, 262016u, 131008u}, std::tuple{0u, 174592u, 130944u}}) {
        const size_t n = mode == 1 ? 32 * 32 : 16 * 16;
        grey[32] = grey[33] = mode == 1 ? 100.0f : kNaN;
        const ZelLSCInput in{mode, 8, 32, 32, grey.data(), dark.data()};
        Table table(n + 1);
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        EXPECT_EQ(table.entry(0), entry(first, 0)) << "mode " << mode;
        for (size_t i = 1; i < n; ++i) ASSERT_EQ(table.entry(i), entry(others, 0)) << "mode " << mode << " " << i;
        EXPECT_EQ(table.entry(n), Table::kMarker);
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
};

TEST(LscEstimate, TemporaryArraysTakenAndReleasedInOrder) {
    // "创建blockGrey内存空间失败" and "创建blockDark内存空间失败" in GBK (创 B4B4,
    // 建 BDA8, 内 C4DA, 存 B4E6, 空 BFD5, 间 BCE4, 失 CAA7, 败 B0DC), with the
    // newline of puts.
    auto message = [](const char* name) {
        return "\xB4\xB4\xBD\xA8" + std::string(name) + "\xC4\xDA\xB4\xE6\xBF\xD5\xBC\xE4\xCA\xA7\xB0\xDC\n";
    };
    const std::string grey = message("blockGrey"), dark = message("blockDark");
    const struct {
        uint32_t mode;        // 0 or 1: the table; 2: regional
        uint32_t regionKind;  // regional only
        int failAt;
        int32_t status;
        std::string printed, log;
    } cases[] = {
        // blockGrey is taken first and blockDark second; blockDark is released first
        {0, 0, 0, 0, "", "alloc256;alloc256;free2;free1;"},
        {0, 0, 1, errNoMemory, grey, "fail;"},
        {0, 0, 2, errNoMemory, dark, "alloc256;fail;free1;"},
        {1, 0, 1, 0, "", ""},  // per pixel: nothing taken
        {2, 2, 0, 0, "", "alloc4;alloc4;free2;free1;"},
        {2, 2, 1, errNoMemory, grey, "fail;"},
        {2, 2, 2, errNoMemory, dark, "alloc4;fail;free1;"},
        // the silent refusal comes after the arrays are taken: no memory is reported first
        {2, 9, 0, errUnsupportedOutput, "", "alloc4;alloc4;free2;free1;"},
        {2, 9, 2, errNoMemory, dark, "alloc4;fail;free1;"},
    };
    const std::vector<float> greyFrame(32 * 32, 90.0f), darkFrame(32 * 32, 10.0f);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << " kind " << c.regionKind << " failAt " << c.failAt);
        Recorder::log.clear();
        Recorder::taken.clear();
        Recorder::failAt = c.failAt;
        const zel::lsc::FloatArrays arrays{Recorder::allocate, Recorder::release};
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
