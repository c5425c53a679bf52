// zelvora convert --deep: 16-bit pictures through the library's 16-bit kernels.
#include <gtest/gtest.h>

#include "formats.hpp"
#include "picture.hpp"
#include "samples.hpp"
#include "scene.hpp"
#include "tool_test_support.hpp"
#include "zelvora.h"

using tooltest::Outcome;
using tooltest::ScratchDir;

namespace {

constexpr int32_t kW = 48;
constexpr int32_t kH = 32;

struct Deep {
    const char* format;
    const char* method;
    // The library's own result for the mosaic: B, G, R per pixel.
    void (*reference)(const uint16_t* mosaic, uint16_t* bgr);
};

const Deep kCases[] = {
    {"BayerRG12", "bilinear", [](const uint16_t* m, uint16_t* o) { zelDemosaicingBilinearU16(m, kH, kW, o); }},
    {"BayerRG12Packed", "edge", [](const uint16_t* m, uint16_t* o) { demosaicingEdgeRGGBU16(m, kH, kW, o); }},
    {"BayerGR10", "edge", [](const uint16_t* m, uint16_t* o) { demosaicingEdgeGRBGU16(m, kH, kW, o); }},
    {"BayerGB12Packed", "edge", [](const uint16_t* m, uint16_t* o) { demosaicingEdgeGBRGU16(m, kH, kW, o); }},
    {"BayerBG16", "edge", [](const uint16_t* m, uint16_t* o) { demosaicingEdgeBGGRU16(m, kH, kW, o); }},
};

}  // namespace

// The 16-bit PNG holds the kernel's samples widened to 16 bits, with the
// input's depth in sBIT.
TEST(ToolDeep, PngHoldsTheKernelsSamples) {
    const zelvora::Scene scene = zelvora::renderScene(kW, kH);
    for (const Deep& c : kCases) {
        SCOPED_TRACE(c.format);
        ScratchDir dir;
        const zelvora::InputFormat& format = zelvora::findInputFormat(c.format);
        const std::vector<uint8_t> raw = zelvora::mosaic(scene, format);
        tooltest::writeBytes(dir / "in.raw", raw);
        const Outcome run = tooltest::runTool({"convert", dir / "in.raw", dir / "out.png", "--format", c.format,
                                               "--size", "48x32", "--method", c.method, "--deep"},
                                              dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const std::vector<uint16_t> mosaic =
            zelvora::decodeSamples(raw.data(), format, kW, kH, zelvora::rowBytes(format, kW));
        std::vector<uint16_t> bgr(mosaic.size() * 3);
        c.reference(mosaic.data(), bgr.data());
        const tooltest::PngPicture png = tooltest::readPng(dir / "out.png");
        ASSERT_EQ(png.bitDepth, 16);
        ASSERT_EQ(png.channels, 3);
        EXPECT_EQ(png.significantBits, format.bits == 16 ? 0 : format.bits);
        for (size_t i = 0; i < bgr.size(); i += 3) {
            ASSERT_EQ(png.samples[i], zelvora::widenTo16(bgr[i + 2], format.bits)) << i / 3;
            ASSERT_EQ(png.samples[i + 1], zelvora::widenTo16(bgr[i + 1], format.bits)) << i / 3;
            ASSERT_EQ(png.samples[i + 2], zelvora::widenTo16(bgr[i], format.bits)) << i / 3;
        }
    }
}

TEST(ToolDeep, RefusalsNameTheReason) {
    ScratchDir dir;
    tooltest::writeBytes(dir / "in.raw", std::vector<uint8_t>(kW * kH * 2, 0));
    struct Case {
        const char* format;
        const char* method;
        const char* out;
        const char* says;
    };
    for (const Case& c : {Case{"BayerRG12", "nearest", "o.png", "--method bilinear or edge"},
                          Case{"BayerGB12", "bilinear", "o.png", "BayerRG mosaics only: use --method edge for BayerGB"},
                          Case{"BayerRG12", "edge", "o.bmp", "BMP holds 8-bit samples"}}) {
        const Outcome run = tooltest::runTool({"convert", dir / "in.raw", dir / c.out, "--format", c.format, "--size",
                                               "48x32", "--method", c.method, "--deep"},
                                              dir);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    }
    EXPECT_EQ(dir.list(), std::vector<std::string>{"in.raw"});
    // The edge-directed drivers check nothing themselves; 8 x 8 is the least
    // they handle.
    for (const char* size : {"8x8", "7x8", "8x7"}) {
        tooltest::writeBytes(dir / "small.raw", std::vector<uint8_t>(2 * 7 * 8 + (size[2] == size[0] ? 16 : 0), 9));
        const Outcome run = tooltest::runTool({"convert", dir / "small.raw", dir / "s.png", "--format", "BayerBG12",
                                               "--size", size, "--method", "edge", "--deep"},
                                              dir);
        const bool large = std::string(size) == "8x8";
        EXPECT_EQ(run.exitCode, large ? 0 : 1) << size;
        EXPECT_EQ(run.err.find("at least 8x8") != std::string::npos, !large) << run.err;
    }
}

// Mono needs no demosaicing: the samples go out as they are, here as a
// 16-bit PGM whose maxval is the format's largest value.
TEST(ToolDeep, MonoSamplesGoOutUnchanged) {
    ScratchDir dir;
    const zelvora::InputFormat& format = zelvora::findInputFormat("Mono12Packed");
    const std::vector<uint8_t> raw = zelvora::mosaic(zelvora::renderScene(kW, kH), format);
    tooltest::writeBytes(dir / "in.raw", raw);
    const Outcome run = tooltest::runTool(
        {"convert", dir / "in.raw", dir / "out.pgm", "--format", "Mono12Packed", "--size", "48x32", "--deep"}, dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string pgm = tooltest::readText(dir / "out.pgm");
    const std::string header = "P5\n48 32\n4095\n";
    ASSERT_EQ(pgm.substr(0, header.size()), header);
    const std::vector<uint16_t> samples = zelvora::decodeSamples(raw.data(), format, kW, kH, 72);
    ASSERT_EQ(pgm.size(), header.size() + 2 * samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const auto hi = static_cast<uint8_t>(pgm[header.size() + 2 * i]);
        const auto lo = static_cast<uint8_t>(pgm[header.size() + 2 * i + 1]);
        ASSERT_EQ((hi << 8) | lo, samples[i]) << i;
    }
}
