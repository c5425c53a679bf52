// The tool's pieces: format names and codes, raw bytes as samples, the demo's
// scene, and the pictures and files made from the library's output.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "picture.hpp"
#include "psnr.hpp"
#include "samples.hpp"
#include "scene.hpp"
#include "tool_test_support.hpp"
#include "writers.hpp"

using namespace zelvora;
using tooltest::Bytes;
using tooltest::ScratchDir;

// GigE Vision names in any case, and codes in hex with either case of x.
// The table holds exactly the codes the library classifies: the order of
// their 8-bit reduction, and a container depth of the library's shift plus 8.
TEST(ToolFormats, NamesCodesAndTheLibrary) {
    EXPECT_EQ(inputFormats().size(), 31u);
    for (const InputFormat& f : inputFormats()) {
        char upper[16], lower[16];
        std::snprintf(upper, sizeof upper, "0x%08X", f.code);
        std::snprintf(lower, sizeof lower, "0X%08x", f.code);
        for (const std::string_view text : {f.name, std::string_view(upper), std::string_view(lower)})
            EXPECT_EQ(&findInputFormat(text), &f) << text;
        ZelImage image{4, 4, f.code, nullptr, 4};
        ZelPixelType reduced = 0;
        int32_t shift = 0;
        ASSERT_EQ(demosaicDataInit(&image, nullptr, &reduced, &shift), 0) << f.name;
        EXPECT_EQ(shift, f.packing == Packing::Words ? f.bits - 8 : f.packing == Packing::Packed ? -1 : 0) << f.name;
        EXPECT_EQ(reduced, inputFormatFor(f.order, 8, Packing::Bytes).code) << f.name;
    }
    const std::pair<const char*, uint32_t> byHand[] = {
        {"Mono8", 0x01080001}, {"BayerGR8", 0x01080008}, {"bayerrg8", 0x01080009}, {"BAYERGB8", 0x0108000A},
        {"BayerBG8", 0x0108000B}, {"Mono14", 0x01100025}, {"bayerrg12packed", 0x010C002B}, {"0x0110000c", 0x0110000C},
    };
    for (const auto& [name, code] : byHand) EXPECT_EQ(findInputFormat(name).code, code) << name;
    for (const char* text : {"BayerRG14", "RGB8", "0x02180015", "0x", "0x1G", "12"})
        EXPECT_THROW(findInputFormat(text), UsageError) << text;
}

// The input bytes zelDemosaicing touches, worked by hand for each family and
// stride case; a frame in a buffer of exactly that many bytes converts (the
// sanitizer build catches a byte more).
TEST(ToolFormats, LibraryInputBytes) {
    // The format, the width, the stride and the bytes of a frame 4 rows high.
    const std::tuple<const char*, int32_t, int32_t, int64_t> cases[] = {
        {"BayerRG8", 6, 6, 24},    {"BayerRG8", 6, 9, 33},    {"BayerRG8", 6, 5, 24},  // compacted in place
        {"Mono12", 6, 12, 48},     {"BayerGB12", 6, 15, 54},  {"BayerGB12", 6, 8, 36},  // read past 4 strides
        {"BayerRG12Packed", 6, 9, 36}, {"BayerRG12Packed", 5, 7, 30},                   // one run of pairs
        {"BayerBG10Packed", 5, 9, 36}, {"BayerBG10Packed", 5, 8, 33},                   // whole pairs per row
    };
    for (const auto& [name, width, stride, bytes] : cases) {
        const InputFormat& f = findInputFormat(name);
        SCOPED_TRACE(std::string(name) + " stride " + std::to_string(stride));
        EXPECT_EQ(libraryInputBytes(f, width, 4, stride), bytes);
        Bytes exact(static_cast<size_t>(bytes));
        for (size_t i = 0; i < exact.size(); ++i) exact[i] = static_cast<uint8_t>(i * 37);
        Bytes out(static_cast<size_t>(width) * 4 * 3);
        Handle handle;
        ZelImage in{4, width, f.code, exact.data(), stride};
        ZelImage result{0, 0, 0, out.data(), 0};
        EXPECT_EQ(zelDemosaicing(handle.get(), &in, ZEL_DEMOSAIC_NEAREST, &result), 0);
    }
}

// Two samples in three bytes: the top eight bits of each in bytes 0 and 2,
// the low bits side by side in byte 1. The library's own reduction to 8 bits
// keeps those top bits.
TEST(ToolSamples, PackingByHandAndRoundTrips) {
    // 12 bits: top bytes 0xAB and 0x12, low nibbles 0xC and 0x3 in byte 1.
    // 10 bits: 0x2AB = 1010101011b, 0x155 = 0101010101b.
    const std::tuple<const char*, std::vector<uint16_t>, Bytes> cases[] = {
        {"Mono12Packed", {0xABC, 0x123}, {0xAB, 0x3C, 0x12}}, {"BayerRG10Packed", {0x2AB, 0x155}, {0xAA, 0x13, 0x55}}};
    for (const auto& [name, samples, bytes] : cases) {
        EXPECT_EQ(encodeSamples(samples, findInputFormat(name), 2, 1), bytes) << name;
        EXPECT_EQ(decodeSamples(bytes.data(), findInputFormat(name), 2, 1, 3), samples) << name;
        Bytes reduced(3);
        unpacked(bytes.data(), 1, 2, 3, reduced.data());
        EXPECT_EQ(reduced, (Bytes{bytes[0], bytes[2], 0})) << name;
    }
    // Every format: encoding then decoding gives the samples back, odd
    // widths and padded rows included.
    const int32_t w = 5;
    const int32_t h = 3;
    for (const InputFormat& f : inputFormats()) {
        std::vector<uint16_t> samples(static_cast<size_t>(w * h));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<uint16_t>((i * 2654435761u >> 7) & ((1u << f.bits) - 1u));
        const int64_t row = rowBytes(f, w);
        EXPECT_EQ(row, f.packing == Packing::Bytes ? 5 : f.packing == Packing::Words ? 10 : 9) << f.name;
        const Bytes compact = encodeSamples(samples, f, w, h);
        ASSERT_EQ(compact.size(), static_cast<size_t>(row * h)) << f.name;
        EXPECT_EQ(decodeSamples(compact.data(), f, w, h, row), samples) << f.name;
        Bytes padded(static_cast<size_t>((row + 4) * h), 0xEE);
        for (int32_t y = 0; y < h; ++y) std::copy_n(compact.begin() + y * row, row, padded.begin() + y * (row + 4));
        EXPECT_EQ(decodeSamples(padded.data(), f, w, h, row + 4), samples) << f.name;
    }
}

// Each mosaic sample is the scene's value, rounded to the depth, of the colour
// its site samples: channels at (0,0), (1,0), (0,1), (1,1), repeating.
TEST(ToolScene, MosaicSamplesTheSceneInEachOrder) {
    EXPECT_EQ((std::array{quantise(0.5f, 8), quantise(1.0f, 12), quantise(-0.25f, 12), quantise(2.0f, 8)}),
              (std::array<uint16_t, 4>{128, 4095, 0, 255}));
    const Scene scene = renderScene(32, 24);
    const std::pair<const char*, std::array<int, 4>> orders[] = {
        {"BayerRG12Packed", {0, 1, 1, 2}}, {"BayerBG8", {2, 1, 1, 0}}, {"BayerGB12", {1, 2, 0, 1}},
        {"BayerGR10Packed", {1, 0, 2, 1}}};
    for (const auto& [name, channels] : orders) {
        const InputFormat& f = findInputFormat(name);
        const Bytes raw = mosaic(scene, f);
        const std::vector<uint16_t> samples = decodeSamples(raw.data(), f, 32, 24, rowBytes(f, 32));
        for (int32_t y = 0; y < 24; ++y) {
            for (int32_t x = 0; x < 32; ++x) {
                const int channel = channels[static_cast<size_t>((y % 2) * 2 + x % 2)];
                ASSERT_EQ(cfaChannel(f.order, x, y), channel) << name;
                ASSERT_EQ(samples[static_cast<size_t>(y * 32 + x)], quantise(scene.at(x, y, channel), f.bits))
                    << name << " at " << x << "," << y;
            }
        }
    }
}

TEST(ToolScene, PsnrWorkedValues) {
    const Bytes zeros{0, 0};
    EXPECT_TRUE(std::isinf(psnr(zeros, zeros)));
    // One sample off by the full range in two: MSE is half the peak squared.
    EXPECT_NEAR(psnr(Bytes{0, 255}, zeros), 10.0 * std::log10(2.0), 1e-12);
    // Errors 1 and 2: MSE 2.5, 10 log10(65025 / 2.5) = 10 log10(26010).
    EXPECT_NEAR(psnr(Bytes{11, 22}, Bytes{10, 20}), 44.1514, 1e-4);
}

// All six colour layouts of one frame are the same picture, whose red sample
// at (0, 0) of an RG mosaic is the frame's first byte; four-byte layouts add
// opaque alpha whatever the library left in their fourth byte.
TEST(ToolPicture, ColourLayoutsGiveOnePicture) {
    Bytes frame(24);
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(10 * i + 3);
    // The channel count, every sample, and the R, G, B samples.
    const auto pictureOf = [&](const OutputLayout& layout) {
        const Bytes out = tooltest::libraryOutput(frame, ZEL_PIX_BAYER_RG8, 6, 4, 6, layout.code, layout.bytesPerPixel);
        const Picture p = pictureFromLayout(out.data(), 6, 4, layout);
        return std::tuple{p.channels, allSamples(p), p.channels == 1 ? std::vector<uint16_t>{}
                                                                      : allSamples(withChannels(p, 3))};
    };
    const auto reference = std::get<1>(pictureOf(findOutputLayout("rgb8")));
    EXPECT_EQ(reference[0], 3);
    for (const OutputLayout& layout : outputLayouts()) {
        const auto [channels, samples, rgb] = pictureOf(layout);
        EXPECT_EQ(channels, layout.code == ZEL_PIX_MONO8 ? 1 : layout.bytesPerPixel) << layout.name;
        if (channels == 1) continue;
        EXPECT_EQ(rgb, reference) << layout.name;
        for (size_t i = 3; channels == 4 && i < samples.size(); i += 4) EXPECT_EQ(samples[i], 255) << layout.name;
    }
}

// The value's bits repeated below it: the largest value of any depth becomes
// 65535; values above the depth count as its largest.
TEST(ToolPicture, WideningFillsTheSixteenBits) {
    const std::tuple<uint16_t, int, uint16_t> cases[] = {
        {255, 8, 0xFFFF}, {0x80, 8, 0x8080}, {0xABC, 12, 0xABCA}, {4095, 12, 0xFFFF}, {5000, 12, 0xFFFF},
        {1023, 10, 0xFFFF}, {0x200, 10, 0x8020}, {0, 12, 0}, {1234, 16, 1234}};
    for (const auto& [value, bits, wide] : cases) EXPECT_EQ(widenTo16(value, bits), wide) << value << " at " << bits;
}

// Factors, gray-world gains (means of red and blue brought to green's) and
// the sRGB curve, clamped at the top of the depth.
TEST(ToolPicture, WhiteBalanceAndGamma) {
    const uint16_t rgb[] = {40, 100, 200, 60, 100, 0};  // red means half of green
    const auto tone = [&](const char* balance, const char* gamma) {
        const std::string b = balance, g = gamma;
        return allSamples(toned(pictureFromSamples(rgb, 2, 1, 3, 8), parseTone(b.empty() ? nullptr : &b,
                                                                             g.empty() ? nullptr : &g)));
    };
    EXPECT_EQ(tone("2:1:1.5", ""), (std::vector<uint16_t>{80, 100, 255, 120, 100, 0}));
    EXPECT_EQ(tone("gray-world", ""), (std::vector<uint16_t>{80, 100, 200, 120, 100, 0}));
    EXPECT_EQ(tone("", "srgb"), (std::vector<uint16_t>{110, 168, 229, 133, 168, 0}));
    EXPECT_EQ(tone("", "2"), (std::vector<uint16_t>{101, 160, 226, 124, 160, 0}));
    EXPECT_THROW(tone("", "-1"), UsageError);
}

// BMP: 5 pixels of 3 bytes pad to 16 bytes a row; rows bottom-up, B, G, R.
// Grey PPM repeats each sample into R, G, B; PGM above 8 bits holds
// big-endian pairs, clamped to the depth's maxval.
TEST(ToolWriters, FilesByHand) {
    ScratchDir dir;
    Handle handle;
    Diagnostics diagnostics;
    std::vector<uint16_t> samples;
    for (uint16_t i = 0; i < 60; ++i) samples.push_back(i);
    writePicture(dir / "p.bmp", pictureFromSamples(samples.data(), 5, 4, 3, 8), handle, diagnostics);
    const Bytes bmp = tooltest::readBytes(dir / "p.bmp");
    ASSERT_EQ(bmp.size(), 54u + 16u * 4u);
    EXPECT_EQ(std::string(bmp.begin(), bmp.begin() + 3), "BM\x76");
    EXPECT_EQ(bmp[10], 54);
    for (size_t row = 0; row < 4; ++row) {
        for (size_t x = 0; x < 16; ++x) {
            const size_t pixel = (3 - row) * 5 + x / 3;
            EXPECT_EQ(bmp[54 + 16 * row + x], x == 15 ? 0 : samples[pixel * 3 + 2 - x % 3]) << row << "," << x;
        }
    }
    const uint16_t grey[] = {5, 200};
    writePicture(dir / "p.ppm", pictureFromSamples(grey, 2, 1, 1, 8), handle, diagnostics);
    EXPECT_EQ(tooltest::readText(dir / "p.ppm"), "P6\n2 1\n255\n\x05\x05\x05\xC8\xC8\xC8");
    const uint16_t deep[] = {0xABC, 1, 5000, 0x100};
    writePicture(dir / "p.pgm", pictureFromSamples(deep, 2, 2, 1, 12), handle, diagnostics);
    EXPECT_EQ(tooltest::readText(dir / "p.pgm"), std::string("P5\n2 2\n4095\n\x0A\xBC\x00\x01\x0F\xFF\x01\x00", 20));
}
