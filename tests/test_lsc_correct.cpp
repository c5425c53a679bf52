// Lens-shading correction: refusals, the bit depth by pixel type, worked
// samples on every path, odd sizes, in-place use and estimation round trips.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "lsc_support.hpp"
#include "zelvora.h"

namespace {

using lsctest::captured;
using lsctest::errorLine;

constexpr uint32_t entry(uint32_t gain, uint32_t offset) { return gain << 12 | offset; }
constexpr uint32_t kOne = 131072;  // gain 1.0

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

TEST(LscCorrect, ChecksInOrder) {
    const struct {
        const char* name;
        int nulls;  // 1 source, 2 destination, 4 table, 8 source data, 16 destination data
        uint32_t mode;
        int32_t tableHeight, tableWidth;
        int line;
        int32_t status;
    } cases[] = {
        {"nullSource", 1, 0, 480, 640, 692, errInvalidParameter},
        {"nullDestination", 2, 0, 480, 640, 692, errInvalidParameter},
        {"nullTable", 4 | 8, 0, 480, 640, 692, errInvalidParameter},
        {"nullSourceData", 8, 2, 480, 640, 693, errInvalidParameter},
        {"nullDestinationData", 16, 0, 480, 640, 693, errInvalidParameter},
        // a bad mode is -111 here, -107 in the estimation
        {"mode2", 0, 2, 640, 640, 694, errInvalidParameter},
        {"tableRows640", 0, 0, 640, 640, 695, errBadImageSize},
        {"tableColumns480", 0, 1, 480, 480, 695, errBadImageSize},
        {"accepted", 0, 1, 480, 640, 0, 0},
    };
    std::vector<uint8_t> src(640 * 480, 100);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<uint8_t> dst(640 * 480, 7);
        std::vector<uint32_t> table = uniformTable(c.mode, c.tableHeight, c.tableWidth, entry(2 * kOne, 0));
        const ZelImage source = image(480, 640, ZEL_PIX_BAYER_RG8, c.nulls & 8 ? nullptr : src.data());
        const ZelImage destination = image(480, 640, ZEL_PIX_BAYER_RG8, c.nulls & 16 ? nullptr : dst.data());
        const auto [status, out] = captured([&] {
            return zelLSCorrection(c.nulls & 1 ? nullptr : &source, c.nulls & 2 ? nullptr : &destination,
                                   c.nulls & 4 ? nullptr : view(table));
        });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out, c.line == 0 ? "" : errorLine(c.line));
        EXPECT_EQ(dst, std::vector<uint8_t>(640 * 480, c.status == 0 ? 200 : 7));
    }
}

TEST(LscCorrect, BitsByPixelType) {
    for (uint64_t code : {ZEL_PIX_MONO8, ZEL_PIX_BAYER_GR8, ZEL_PIX_BAYER_RG8, ZEL_PIX_BAYER_GB8, ZEL_PIX_BAYER_BG8})
        EXPECT_EQ(getBits(code), 8);
    for (uint64_t code :
         {ZEL_PIX_MONO10, ZEL_PIX_BAYER_GR10, ZEL_PIX_BAYER_RG10, ZEL_PIX_BAYER_GB10, ZEL_PIX_BAYER_BG10})
        EXPECT_EQ(getBits(code), 10);
    for (uint64_t code :
         {ZEL_PIX_MONO12, ZEL_PIX_BAYER_GR12, ZEL_PIX_BAYER_RG12, ZEL_PIX_BAYER_GB12, ZEL_PIX_BAYER_BG12})
        EXPECT_EQ(getBits(code), 12);
    for (uint64_t code : {0ull, 0x01100025ull, 0x01100007ull, 0x0110002Full, 0x010C0004ull, 0x010C002Aull,
                          0x02180015ull, 0x101080001ull, 0xFFFFFFFF81080001ull})
        EXPECT_EQ(getBits(code), errUnsupportedInput) << std::hex << code;
}

TEST(LscCorrect, UnsupportedPixelTypeSucceedsWithoutWriting) {
    for (uint32_t format : {ZEL_PIX_MONO16, ZEL_PIX_MONO14, ZEL_PIX_BAYER_RG12_PACKED}) {
        std::vector<uint16_t> src(32 * 32, 500), dst(32 * 32, 7);
        const std::vector<uint32_t> table = uniformTable(1, 32, 32, entry(2 * kOne, 0));
        const ZelImage source = image(32, 32, format, src.data()), destination = image(32, 32, format, dst.data());
        const auto [status, out] = captured([&] { return zelLSCorrection(&source, &destination, view(table)); });
        EXPECT_EQ(status, 0);
        EXPECT_EQ(out, "");
        EXPECT_EQ(dst, std::vector<uint16_t>(32 * 32, 7));
    }
}

// One sample value through both modes: a 2 x 2 frame of four equal samples.
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
        const char* name;
        uint32_t format;
        uint16_t sample;
        uint32_t entry;
        uint16_t perPixel, perBlock;
    } cases[] = {
        // 8 bits: offset B >> 4, ((s - o) G + 2^16) >> 17, saturated to 0..255
        {"u8Identity", ZEL_PIX_MONO8, 201, entry(kOne, 0), 201, 201},
        {"u8AtOffset", ZEL_PIX_BAYER_GR8, 20, entry(3 * kOne, 20 * 16 + 15), 0, 0},
        {"u8BelowOffsetIsBlack", ZEL_PIX_BAYER_RG8, 10, entry(3 * kOne, 20 * 16), 0, 0},
        {"u8Gain1_5", ZEL_PIX_BAYER_GB8, 100, entry(196608, 320), 120, 120},
        {"u8HalfRoundsUp", ZEL_PIX_BAYER_BG8, 1, entry(65536, 0), 1, 1},
        {"u8BelowHalf", ZEL_PIX_MONO8, 1, entry(65535, 0), 0, 0},
        {"u8Saturates", ZEL_PIX_MONO8, 255, entry(2 * kOne, 0), 255, 255},
        {"u8LargestGain", ZEL_PIX_MONO8, 255, entry(0xFFFFF, 0), 255, 255},
        {"u8OffsetTruncated", ZEL_PIX_MONO8, 255, entry(kOne, 0xFFF), 0, 0},
        {"u8GainZero", ZEL_PIX_MONO8, 200, entry(0, 0), 0, 0},
        // 10 bits: offset B >> 2; 12 bits: offset B
        {"u10Identity", ZEL_PIX_MONO10, 1023, entry(kOne, 0), 1023, 1023},
        {"u10Offset400", ZEL_PIX_BAYER_GR10, 300, entry(kOne, 400), 200, 200},
        {"u10Saturates", ZEL_PIX_BAYER_BG10, 600, entry(2 * kOne, 0), 1023, 1023},
        {"u12Identity", ZEL_PIX_MONO12, 4095, entry(kOne, 0), 4095, 4095},
        {"u12Gain1_5", ZEL_PIX_BAYER_RG12, 1001, entry(196608, 1), 1500, 1500},
        {"u12Saturates", ZEL_PIX_BAYER_GB12, 4095, entry(0xFFFFF, 0), 4095, 4095},
        {"u12AboveDepth", ZEL_PIX_MONO12, 60000, entry(kOne, 0), 4095, 4095},
        // below the offset: black per pixel, white per block (unsigned difference) unless the gain is 0
        {"u12BelowOffset", ZEL_PIX_MONO12, 100, entry(kOne, 200), 0, 4095},
        {"u12BelowOffsetSmallGain", ZEL_PIX_BAYER_GR12, 199, entry(1, 200), 0, 4095},
        {"u12BelowOffsetGainZero", ZEL_PIX_BAYER_BG12, 100, entry(0, 200), 0, 0},
        {"u10BelowOffset", ZEL_PIX_BAYER_RG10, 99, entry(kOne, 400), 0, 1023},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
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
    const std::vector<uint8_t> src8(16, 9);
    const std::vector<uint16_t> src16(16, 9);
    std::vector<uint8_t> dst8(16, 0);
    std::vector<uint16_t> dst16(16, 0);
    LSCcorrect8_2x2(src8.data(), dst8.data(), 2, entries.data(), 4, 4);
    LSCcorrect8_2x2(src8.data(), dst8.data(), 1, entries.data(), 0, 4);
    LSCcorrect8_2x2(src8.data(), dst8.data(), 0, entries.data(), 4, 1);
    LSCcorrect16_2x2(src16.data(), dst16.data(), 3, entries.data(), 4, 4, 12);
    LSCcorrect16_2x2(src16.data(), dst16.data(), 1, entries.data(), 4, -4, 10);
    LSCcorrect16_2x2(src16.data(), dst16.data(), 0, entries.data(), 1, 4, 10);
    LSCcorrect16_2x2(src16.data(), dst16.data(), 1, entries.data(), 4, 4, 16);
    EXPECT_EQ(dst8, std::vector<uint8_t>(16, 0));
    EXPECT_EQ(dst16, std::vector<uint16_t>(16, 0));
}

TEST(LscCorrect, InPlaceMatchesSeparateBuffers) {
    const int w = 34, h = 32;
    for (uint32_t format : {ZEL_PIX_BAYER_RG8, ZEL_PIX_MONO10, ZEL_PIX_BAYER_BG12}) {
        const int bits = getBits(format);
        const float scale = std::ldexp(1.0f, bits - 8);
        // tables from noisy frames, so gains and offsets vary
        const std::vector<float> grey = lsctest::noisyFrame(w, h, 128.0f * scale, 90.0f * scale, 3);
        const std::vector<float> dark = lsctest::noisyFrame(w, h, 16.0f * scale, 8.0f * scale, 5);
        std::vector<uint16_t> samples(static_cast<size_t>(w) * h);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<uint16_t>((i * 2654435761u) >> (32 - bits));
        std::vector<uint8_t> src(samples.size() * (bits > 8 ? 2 : 1));
        if (bits > 8)
            std::memcpy(src.data(), samples.data(), src.size());
        else
            std::copy(samples.begin(), samples.end(), src.begin());
        for (uint32_t mode : {0u, 1u}) {
            lsctest::Table table(static_cast<size_t>(w) * h);
            const ZelLSCInput in{mode, static_cast<uint32_t>(bits), w, h, grey.data(), dark.data()};
            ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
            std::vector<uint8_t> separate(src.size(), 0), inPlace(src);
            const ZelImage a = image(h, w, format, src.data()), b = image(h, w, format, separate.data());
            const ZelImage c = image(h, w, format, inPlace.data());
            ASSERT_EQ(zelLSCorrection(&a, &b, table.get()), 0);
            ASSERT_EQ(zelLSCorrection(&c, &c, table.get()), 0);
            EXPECT_EQ(inPlace, separate) << std::hex << format << " mode " << mode;
            EXPECT_NE(separate, src);
        }
    }
}

TEST(LscCorrect, SixteenBitFrameAtAnOddAddress) {
    std::vector<uint8_t> buffer(1 + 2 * 16);
    for (uint16_t i = 0; i < 16; ++i) {
        const uint16_t v = static_cast<uint16_t>(100 * i);
        std::memcpy(&buffer[1 + 2 * i], &v, 2);
    }
    const std::vector<uint32_t> table = uniformTable(1, 4, 4, entry(2 * kOne, 0));
    const ZelImage frame = image(4, 4, ZEL_PIX_MONO12, buffer.data() + 1);
    ASSERT_EQ(zelLSCorrection(&frame, &frame, view(table)), 0);
    for (int i = 0; i < 16; ++i) {
        uint16_t v = 0;
        std::memcpy(&v, &buffer[1 + 2 * i], 2);
        EXPECT_EQ(v, std::min(200 * i, 4095));
    }
}

// A vignetted flat field: `peak` above the dark level in the centre, 60% of it
// in the corners. With `blockFlat` every 2x2 block takes its centre's value.
std::vector<float> vignette(int w, int h, float dark, float peak, bool blockFlat) {
    std::vector<float> v(static_cast<size_t>(w) * h);
    const float cx = 0.5f * static_cast<float>(w - 1), cy = 0.5f * static_cast<float>(h - 1);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const float px = blockFlat ? static_cast<float>(x | 1) - 0.5f : static_cast<float>(x);
            const float py = blockFlat ? static_cast<float>(y | 1) - 0.5f : static_cast<float>(y);
            const float r2 = ((px - cx) * (px - cx) + (py - cy) * (py - cy)) / (cx * cx + cy * cy);
            v[static_cast<size_t>(y) * w + x] = dark + peak * (1.0f - 0.4f * r2);
        }
    }
    return v;
}

// The frame the camera records of the flat field, corrected with the table
// estimated from it, comes out flat at the target level to within rounding:
// |(s - g) k| <= 0.5 / 0.6, plus the final rounding.
TEST(LscCorrect, EstimatedTableFlattensTheVignette) {
    const std::pair<uint32_t, uint32_t> cases[] = {{ZEL_PIX_MONO8, 1},  {ZEL_PIX_BAYER_RG8, 0},
                                                   {ZEL_PIX_MONO10, 1}, {ZEL_PIX_BAYER_GB10, 0},
                                                   {ZEL_PIX_MONO12, 1}, {ZEL_PIX_BAYER_BG12, 0}};
    for (const auto& [format, mode] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << format << " mode " << mode);
        const int w = 64, h = 48, bits = getBits(format);
        const float scale = std::ldexp(1.0f, bits - 8);
        const std::vector<float> grey = vignette(w, h, 12.0f * scale, 180.0f * scale, mode == 0);
        const std::vector<float> dark(grey.size(), 12.0f * scale);
        lsctest::Table table(grey.size());
        const ZelLSCInput in{mode, static_cast<uint32_t>(bits), w, h, grey.data(), dark.data()};
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        double target = 0.0;
        for (size_t i = 0; i < grey.size(); ++i) target += grey[i] - dark[i];
        target /= static_cast<double>(grey.size());

        std::vector<uint16_t> recorded(grey.size()), corrected(grey.size());
        for (size_t i = 0; i < grey.size(); ++i) recorded[i] = static_cast<uint16_t>(std::lround(grey[i]));
        std::vector<uint8_t> recorded8(recorded.begin(), recorded.end()), corrected8(grey.size());
        const bool eight = bits == 8;
        const ZelImage source = image(h, w, format, eight ? static_cast<void*>(recorded8.data()) : recorded.data());
        const ZelImage destination =
            image(h, w, format, eight ? static_cast<void*>(corrected8.data()) : corrected.data());
        ASSERT_EQ(zelLSCorrection(&source, &destination, table.get()), 0);
        if (eight) corrected.assign(corrected8.begin(), corrected8.end());
        const auto [low, high] = std::minmax_element(corrected.begin(), corrected.end());
        EXPECT_GE(*low, target - 1.35) << "target " << target;
        EXPECT_LE(*high, target + 1.35) << "target " << target;
        const auto [recordedLow, recordedHigh] = std::minmax_element(recorded.begin(), recorded.end());
        EXPECT_GT(*recordedHigh - *recordedLow, 60 * scale);  // far from flat before
    }
}

TEST(LscCorrect, DarkFrameRoundTrip) {
    // Correcting the dark frame itself gives black; one below the dark level
    // gives black per pixel but white in 12-bit blocks.
    const int w = 32, h = 32;
    const std::vector<float> grey(w * h, 3000.0f);
    std::vector<float> dark(w * h);
    for (int y = 0; y < h; ++y)  // one dark level per block, so block offsets are exact too
        for (int x = 0; x < w; ++x) dark[y * w + x] = static_cast<float>(100 + ((y / 2) * 5 + x / 2) % 7);
    for (uint32_t mode : {0u, 1u}) {
        const ZelLSCInput in{mode, 12, w, h, grey.data(), dark.data()};
        lsctest::Table table(w * h);
        ASSERT_EQ(zelGetLSCParameter(&in, table.get()), 0);
        std::vector<uint16_t> frame(dark.begin(), dark.end()), below(w * h), out(w * h);
        for (int i = 0; i < w * h; ++i) below[i] = static_cast<uint16_t>(frame[i] - 1);
        const ZelImage src = image(h, w, ZEL_PIX_MONO12, frame.data()), dst = image(h, w, ZEL_PIX_MONO12, out.data());
        ASSERT_EQ(zelLSCorrection(&src, &dst, table.get()), 0);
        EXPECT_EQ(out, std::vector<uint16_t>(w * h, 0)) << "mode " << mode;
        const ZelImage low = image(h, w, ZEL_PIX_MONO12, below.data());
        ASSERT_EQ(zelLSCorrection(&low, &dst, table.get()), 0);
        EXPECT_EQ(out, std::vector<uint16_t>(w * h, mode == 0 ? 4095 : 0)) << "mode " << mode;
    }
}

}  // namespace
