// Lens-shading correction: refusals, the bit depth by pixel type, worked
// samples on every path and the block layout. (Tables estimated from frames
// are applied end to end by the tool's and the Python module's suites.)
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "lsc_support.hpp"
#include "zelvora.h"

namespace {

using zeltest::captured;
using lsctest::entry;
using zeltest::errorLine;
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

}  // namespace
