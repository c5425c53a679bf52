// Lens-shading correction: refusals, the bit depth by pixel type, worked
// samples on every path, the block layout, and tables estimated from frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

#include "lsc_support.hpp"
#include "zelvora.h"

namespace {

using lsctest::captured;
using lsctest::entry;
using lsctest::errorLine;
using lsctest::kOne;

ZelImage image(int32_t height, int32_t width, uint32_t format, void* data) {
    return ZelImage{height, width, format, static_cast<uint8_t*>(data), 0};
}

// A table of one mode and size whose entries are all `e`.
std::vector<uint32_t> uniformTable(uint32_t mode, int32_t height, int32_t width, uint32_t e) {
    std::vector<uint32_t> words{mode, static_cast<uint32_t>(height), static_cast<uint32_t>(width)};
    words.resize(3 + static_cast<size_t>(height) * width, e);
    return words;
}
const ZelLSCTable* view(const std::vector<uint32_t>& words) {
    return reinterpret_cast<const ZelLSCTable*>(words.data());
}

// Refusals in order, then a 640 x 480 frame corrected with gain 2.0; pixel
// types without an 8, 10 or 12-bit depth succeed without writing anything.
TEST(LscCorrect, ChecksInOrder) {
    const struct {
        int nulls;  // 1 source, 2 destination, 4 table, 8 source data, 16 destination data
        uint32_t format, mode;
        int32_t tableHeight, tableWidth;
        int line;
        int32_t status;
    } cases[] = {
        {1, ZEL_PIX_BAYER_RG8, 0, 480, 640, 692, errInvalidParameter},
        {2, ZEL_PIX_BAYER_RG8, 0, 480, 640, 692, errInvalidParameter},
        {4 | 8, ZEL_PIX_BAYER_RG8, 0, 480, 640, 692, errInvalidParameter},
        {8, ZEL_PIX_BAYER_RG8, 2, 480, 640, 693, errInvalidParameter},
        {16, ZEL_PIX_BAYER_RG8, 0, 480, 640, 693, errInvalidParameter},
        {0, ZEL_PIX_BAYER_RG8, 2, 640, 640, 694, errInvalidParameter},  // -107 in the estimation
        {0, ZEL_PIX_BAYER_RG8, 0, 640, 640, 695, errBadImageSize},
        {0, ZEL_PIX_BAYER_RG8, 1, 480, 480, 695, errBadImageSize},
        {0, ZEL_PIX_BAYER_RG8, 1, 480, 640, 0, 0},
        {0, ZEL_PIX_MONO16, 1, 480, 640, 0, 0},
        {0, ZEL_PIX_MONO14, 0, 480, 640, 0, 0},
        {0, ZEL_PIX_BAYER_RG12_PACKED, 1, 480, 640, 0, 0},
    };
    std::vector<uint8_t> src(2 * 640 * 480, 100);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "line " << c.line << " format " << std::hex << c.format);
        std::vector<uint8_t> dst(src.size(), 7);
        const std::vector<uint32_t> table = uniformTable(c.mode, c.tableHeight, c.tableWidth, entry(2 * kOne, 0));
        const ZelImage source = image(480, 640, c.format, c.nulls & 8 ? nullptr : src.data());
        const ZelImage destination = image(480, 640, c.format, c.nulls & 16 ? nullptr : dst.data());
        const auto [status, out] = captured([&] {
            return zelLSCorrection(c.nulls & 1 ? nullptr : &source, c.nulls & 2 ? nullptr : &destination,
                                   c.nulls & 4 ? nullptr : view(table));
        });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, errorLine(c.line));
        const bool written = status == 0 && c.format == ZEL_PIX_BAYER_RG8;
        EXPECT_EQ(std::count(dst.begin(), dst.end(), 200), written ? 640 * 480 : 0);
        EXPECT_EQ(std::count(dst.begin(), dst.end(), 7), written ? 640 * 480 : 2 * 640 * 480);
    }
}

// The valid pixel types are covered by the tests below; these codes, some
// with bits above 32, have no depth.
TEST(LscCorrect, OtherPixelTypesHaveNoDepth) {
    for (uint64_t code : {0ull, 0x01100025ull, 0x01100007ull, 0x0110002Full, 0x010C0004ull, 0x010C002Aull,
                          0x02180015ull, 0x101080001ull, 0x101100003ull, 0xFFFFFFFF81080001ull})
        EXPECT_EQ(getBits(code), errUnsupportedInput) << std::hex << code;
}

// One sample value through one mode: a 2 x 2 frame of four equal samples.
template <typename T>
std::vector<T> correctQuad(uint32_t format, uint32_t mode, T sample, uint32_t e) {
    std::vector<T> src(4, sample), dst(4, 0x55);
    const std::vector<uint32_t> table = uniformTable(mode, 2, 2, e);
    const ZelImage source = image(2, 2, format, src.data()), destination = image(2, 2, format, dst.data());
    EXPECT_EQ(zelLSCorrection(&source, &destination, view(table)), 0);
    return dst;
}

TEST(LscCorrect, WorkedSamples) {
    const struct {
        uint32_t format;
        uint16_t sample;
        uint32_t entry;
        uint16_t perPixel, perBlock;
    } cases[] = {
        // 8 bits: offset B >> 4, ((s - o) G + 2^16) >> 17, saturated to 0..255
        {ZEL_PIX_MONO8, 201, entry(kOne, 0), 201, 201},
        {ZEL_PIX_BAYER_GR8, 20, entry(3 * kOne, 20 * 16 + 15), 0, 0},
        {ZEL_PIX_BAYER_RG8, 10, entry(3 * kOne, 20 * 16), 0, 0},
        {ZEL_PIX_BAYER_GB8, 100, entry(196608, 320), 120, 120},
        {ZEL_PIX_BAYER_BG8, 1, entry(65536, 0), 1, 1},
        {ZEL_PIX_MONO8, 1, entry(65535, 0), 0, 0},
        {ZEL_PIX_MONO8, 255, entry(2 * kOne, 0), 255, 255},
        {ZEL_PIX_MONO8, 255, entry(0xFFFFF, 0), 255, 255},
        {ZEL_PIX_MONO8, 255, entry(kOne, 0xFFF), 0, 0},
        {ZEL_PIX_MONO8, 200, entry(0, 0), 0, 0},
        // 10 bits: offset B >> 2; 12 bits: offset B
        {ZEL_PIX_MONO10, 1023, entry(kOne, 0), 1023, 1023},
        {ZEL_PIX_BAYER_GR10, 300, entry(kOne, 400), 200, 200},
        {ZEL_PIX_BAYER_BG10, 600, entry(2 * kOne, 0), 1023, 1023},
        {ZEL_PIX_MONO12, 4095, entry(kOne, 0), 4095, 4095},
        {ZEL_PIX_BAYER_RG12, 1001, entry(196608, 1), 1500, 1500},
        {ZEL_PIX_BAYER_GB12, 4095, entry(0xFFFFF, 0), 4095, 4095},
        {ZEL_PIX_MONO12, 60000, entry(kOne, 0), 4095, 4095},
        // below the offset: black per pixel, white per block (unsigned difference) unless the gain is 0
        {ZEL_PIX_MONO12, 100, entry(kOne, 200), 0, 4095},
        {ZEL_PIX_BAYER_GR12, 199, entry(1, 200), 0, 4095},
        {ZEL_PIX_BAYER_BG12, 100, entry(0, 200), 0, 0},
        {ZEL_PIX_BAYER_RG10, 99, entry(kOne, 400), 0, 1023},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "sample " << c.sample << " entry " << std::hex << c.entry);
        if (getBits(c.format) == 8) {
            const auto s = static_cast<uint8_t>(c.sample);
            EXPECT_EQ(correctQuad<uint8_t>(c.format, 1, s, c.entry), std::vector<uint8_t>(4, c.perPixel));
            EXPECT_EQ(correctQuad<uint8_t>(c.format, 0, s, c.entry), std::vector<uint8_t>(4, c.perBlock));
        } else {
            EXPECT_EQ(correctQuad<uint16_t>(c.format, 1, c.sample, c.entry), std::vector<uint16_t>(4, c.perPixel));
            EXPECT_EQ(correctQuad<uint16_t>(c.format, 0, c.sample, c.entry), std::vector<uint16_t>(4, c.perBlock));
        }
    }
}

// Entry k of a block table carries gain (k + 1) / 64 and no offset; on samples
// of 64 the output names the entry that served it (k + 1). The last row or
// column of an odd frame is left unwritten (0).
template <typename T>
void checkBlockLayout(uint32_t format, int32_t height, int32_t width) {
    const int32_t rows = height / 2, columns = width / 2;
    std::vector<uint32_t> words{0, static_cast<uint32_t>(height), static_cast<uint32_t>(width)};
    for (int32_t k = 0; k < rows * columns; ++k) words.push_back(entry(2048 * static_cast<uint32_t>(k + 1), 0));
    std::vector<T> src(static_cast<size_t>(height) * width, 64), dst(src.size(), 0);
    const ZelImage source = image(height, width, format, src.data()),
                   destination = image(height, width, format, dst.data());
    ASSERT_EQ(zelLSCorrection(&source, &destination, view(words)), 0);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            ASSERT_EQ(dst[static_cast<size_t>(y) * width + x],
                      y < 2 * rows && x < 2 * columns ? (y / 2) * columns + (x / 2) + 1 : 0)
                << width << "x" << height << " at " << x << "," << y;
}

TEST(LscCorrect, BlockEntriesCoverTheirQuadsAndOddEdgesStayUnwritten) {
    for (auto [w, h] : {std::pair{6, 4}, std::pair{7, 4}, std::pair{6, 5}, std::pair{7, 9}, std::pair{1, 8}}) {
        checkBlockLayout<uint8_t>(ZEL_PIX_BAYER_RG8, h, w);
        checkBlockLayout<uint16_t>(ZEL_PIX_BAYER_GB12, h, w);
    }
}

TEST(LscCorrect, KernelsWriteNothingForOtherModesSizesAndDepths) {
    const std::vector<uint32_t> entries(16, entry(kOne, 0));
    const std::vector<uint16_t> src(16, 9);
    std::vector<uint16_t> dst(16, 0);
    const auto* src8 = reinterpret_cast<const uint8_t*>(src.data());
    auto* dst8 = reinterpret_cast<uint8_t*>(dst.data());
    for (auto [mode, h, w] : {std::tuple{2u, 4, 4}, std::tuple{1u, 0, 4}, std::tuple{0u, 4, 1}})
        LSCcorrect8_2x2(src8, dst8, mode, entries.data(), h, w);
    for (auto [mode, h, w, bits] : {std::tuple{3u, 4, 4, 12}, std::tuple{1u, 4, -4, 10}, std::tuple{0u, 1, 4, 10},
                                    std::tuple{1u, 4, 4, 16}, std::tuple{1u, 4, 4, 0}})
        LSCcorrect16_2x2(src.data(), dst.data(), mode, entries.data(), h, w, bits);
    EXPECT_EQ(dst, std::vector<uint16_t>(16, 0));
}

// A vignetted flat field over a dark frame of one integer level per 2x2
// block: grey - dark is `peak` in the centre, 60% of it in the corners. With
// `blockFlat` every block takes its centre's value.
void vignette(int w, int h, float scale, bool blockFlat, std::vector<float>& grey, std::vector<float>& dark) {
    const float cx = 0.5f * static_cast<float>(w - 1), cy = 0.5f * static_cast<float>(h - 1);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const float px = blockFlat ? static_cast<float>(x | 1) - 0.5f : static_cast<float>(x);
            const float py = blockFlat ? static_cast<float>(y | 1) - 0.5f : static_cast<float>(y);
            const float r2 = ((px - cx) * (px - cx) + (py - cy) * (py - cy)) / (cx * cx + cy * cy);
            dark.push_back(scale * static_cast<float>(10 + ((y / 2) * 5 + x / 2) % 7));
            grey.push_back(dark.back() + 180.0f * scale * (1.0f - 0.4f * r2));
        }
    }
}

// The frame the camera records of the flat field, corrected with the table
// estimated from it, comes out flat at the target level to within rounding:
// |(s - g) k| <= 0.5 / 0.6, plus the final rounding. Corrected in place, in a
// buffer at an odd address, it gives the same samples. The dark frame itself
// comes out black; one below it black too, except in 10- and 12-bit blocks,
// where the unsigned difference makes it white.
template <typename T>
void roundTrip(uint32_t format, uint32_t mode) {
    SCOPED_TRACE(testing::Message() << std::hex << format << " mode " << mode);
    const int w = 64, h = 48, bits = getBits(format);
    const size_t n = static_cast<size_t>(w) * h, bytes = n * sizeof(T);
    const float scale = std::ldexp(1.0f, bits - 8);
    std::vector<float> grey, dark;
    vignette(w, h, scale, mode == 0, grey, dark);
    lsctest::Table table(n);
    const ZelLSCInput in{mode, static_cast<uint32_t>(bits), w, h, grey.data(), dark.data()};
    ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
    double target = 0.0;
    for (size_t i = 0; i < n; ++i) target += grey[i] - dark[i];
    target /= static_cast<double>(n);

    std::vector<T> recorded(n), corrected(n), darkFrame(dark.begin(), dark.end()), below(n);
    for (size_t i = 0; i < n; ++i) recorded[i] = static_cast<T>(std::lround(grey[i])), below[i] = darkFrame[i] - 1;
    std::vector<uint8_t> shifted(1 + bytes);
    std::memcpy(shifted.data() + 1, recorded.data(), bytes);
    auto correct = [&](std::vector<T>& src, void* dst) {
        const ZelImage source = image(h, w, format, src.data()), destination = image(h, w, format, dst);
        EXPECT_EQ(zelLSCorrection(&source, &destination, table.get()), 0);
    };
    const ZelImage odd = image(h, w, format, shifted.data() + 1);
    ASSERT_EQ(zelLSCorrection(&odd, &odd, table.get()), 0);
    correct(recorded, corrected.data());
    EXPECT_EQ(std::memcmp(shifted.data() + 1, corrected.data(), bytes), 0);
    const auto [low, high] = std::minmax_element(corrected.begin(), corrected.end());
    EXPECT_GE(*low, target - 1.35) << "target " << target;
    EXPECT_LE(*high, target + 1.35) << "target " << target;
    const auto [recordedLow, recordedHigh] = std::minmax_element(recorded.begin(), recorded.end());
    EXPECT_GT(*recordedHigh - *recordedLow, 60 * scale);  // far from flat before

    correct(darkFrame, corrected.data());
    EXPECT_EQ(corrected, std::vector<T>(n, 0));
    correct(below, corrected.data());
    EXPECT_EQ(corrected, std::vector<T>(n, mode == 0 && bits > 8 ? (1 << bits) - 1 : 0));
}

TEST(LscCorrect, EstimatedTableFlattensTheVignetteAndBlackensTheDarkFrame) {
    roundTrip<uint8_t>(ZEL_PIX_MONO8, 1);
    roundTrip<uint8_t>(ZEL_PIX_BAYER_RG8, 0);
    roundTrip<uint16_t>(ZEL_PIX_MONO10, 1);
    roundTrip<uint16_t>(ZEL_PIX_BAYER_GB10, 0);
    roundTrip<uint16_t>(ZEL_PIX_MONO12, 1);
    roundTrip<uint16_t>(ZEL_PIX_BAYER_BG12, 0);
}

}  // namespace
