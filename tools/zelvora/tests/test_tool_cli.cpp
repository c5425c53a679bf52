// End to end: the built zelvora binary on good and bad command lines, its
// files compared with what the library makes when called directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>

#include "formats.hpp"
#include "picture.hpp"
#include "samples.hpp"
#include "scene.hpp"
#include "tool_test_support.hpp"
#include "zelvora.h"

using tooltest::Bytes;
using tooltest::Outcome;
using tooltest::ScratchDir;
using zelvora::findInputFormat;

namespace {

constexpr int32_t kW = 64;
constexpr int32_t kH = 48;

// A frame of the demo scene, as a camera would deliver it.
Bytes sceneFrame(const char* format, int32_t width = kW, int32_t height = kH) {
    return zelvora::mosaic(zelvora::renderScene(width, height), findInputFormat(format));
}

// What the library, called directly, makes of a frame: the R, G, B (or grey)
// samples a PNG of it holds.
using Reference = std::vector<uint16_t> (*)(const Bytes& raw, const zelvora::InputFormat& f, int32_t w, int32_t h);

std::vector<uint16_t> rgbFromBgr(std::vector<uint16_t> samples) {
    for (size_t i = 0; i < samples.size(); i += 3) std::swap(samples[i], samples[i + 2]);
    return samples;
}

// zelDemosaicing of a BayerRG12Packed frame with the nearest method into BGR8.
std::vector<uint16_t> rg12PackedNearest(const Bytes& raw, const zelvora::InputFormat&, int32_t w, int32_t h) {
    const Bytes bgr = tooltest::libraryOutput(raw, ZEL_PIX_BAYER_RG12_PACKED, w, h, w * 3 / 2, ZEL_PIX_BGR8, 3);
    return rgbFromBgr({bgr.begin(), bgr.end()});
}

// A 16-bit kernel (none for mono) on the frame's samples, widened to 16 bits.
template <auto kernel>
std::vector<uint16_t> deep(const Bytes& raw, const zelvora::InputFormat& f, int32_t w, int32_t h) {
    std::vector<uint16_t> out = zelvora::decodeSamples(raw.data(), f, w, h, zelvora::rowBytes(f, w));
    if constexpr (!std::is_null_pointer_v<decltype(kernel)>) {
        std::vector<uint16_t> bgr(out.size() * 3);
        kernel(out.data(), h, w, bgr.data());
        out = rgbFromBgr(bgr);
    }
    for (uint16_t& sample : out) sample = zelvora::widenTo16(sample, f.bits);
    return out;
}

// A flat field darkened towards the corners, on a black level, with a little
// deterministic ripple so that averaging frames matters.
std::vector<uint16_t> field(double level, int seed) {
    std::vector<uint16_t> s;
    for (int32_t y = 0; y < kH; ++y) {
        for (int32_t x = 0; x < kW; ++x) {
            const double dx = (x - kW / 2.0) / (kW / 2.0);
            const double dy = (y - kH / 2.0) / (kH / 2.0);
            s.push_back(static_cast<uint16_t>(64 + level * (1 - 0.4 * (dx * dx + dy * dy)) +
                                              (x * 7 + y * 13 + seed * 5) % 9 - 4));
        }
    }
    return s;
}

}  // namespace

// The PNG holds what the library makes of the frame: 8-bit samples from
// zelDemosaicing, or with --deep the 16-bit kernels' samples widened to 16
// bits, the input's depth in sBIT (mono samples as they are).
TEST(ToolCli, PngMatchesTheLibrary) {
    struct Case {
        const char* format;
        const char* options;
        int32_t width, height;
        Reference reference;
    };
    const Case cases[] = {
        {"BayerRG12Packed", "--method nearest", kW, kH, rg12PackedNearest},
        {"BayerRG12", "--deep --method bilinear", kW, kH, deep<zelDemosaicingBilinearU16>},
        {"BayerRG12Packed", "--deep --method edge", kW, kH, deep<demosaicingEdgeRGGBU16>},
        {"BayerGR10", "--deep --method edge", kW, kH, deep<demosaicingEdgeGRBGU16>},
        {"BayerGB12Packed", "--deep --method edge", kW, kH, deep<demosaicingEdgeGBRGU16>},
        {"BayerBG16", "--deep --method edge", 8, 8, deep<demosaicingEdgeBGGRU16>},  // the least the kernels take
        {"Mono12Packed", "--deep", kW, kH, deep<nullptr>},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " " + c.options);
        ScratchDir dir;
        const zelvora::InputFormat& format = findInputFormat(c.format);
        const Bytes raw = sceneFrame(c.format, c.width, c.height);
        tooltest::writeBytes(dir / "in.raw", raw);
        const Outcome run = tooltest::runTool("convert in.raw out.PNG --format " + std::string(c.format) + " --size " +
                                                  std::to_string(c.width) + "x" + std::to_string(c.height) + " " +
                                                  c.options, dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.err + run.out, "");
        const std::vector<uint16_t> expected = c.reference(raw, format, c.width, c.height);
        const int channels = static_cast<int>(expected.size() / static_cast<size_t>(c.width * c.height));
        const bool deep = c.reference != rg12PackedNearest;
        const tooltest::PngPicture png = tooltest::readPng(dir / "out.PNG");  // sBIT: depths below 16 bits
        EXPECT_EQ(png.shape(), (std::array{c.width, c.height, channels, deep ? 16 : 8, deep ? format.bits % 16 : 0}));
        EXPECT_EQ(png.samples, expected);
    }
}

// Raw output is the library's buffer byte for byte; frames get numbers.
TEST(ToolCli, RawOutputAndNumberedFrames) {
    ScratchDir dir;
    const Bytes first = sceneFrame("BayerRG12Packed");
    Bytes frames = first;
    frames.insert(frames.end(), first.rbegin(), first.rend());
    tooltest::writeBytes(dir / "in.raw", frames);
    const Outcome run = tooltest::runTool(
        "convert in.raw out.raw --format BayerRG12Packed --size 64x48 --method nearest --frames 2 --layout rgba8", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");  // no progress line when nobody watches
    EXPECT_EQ(dir.list(), (std::vector<std::string>{"in.raw", "out-0000.raw", "out-0001.raw"}));
    const auto rgba = [](Bytes frame) {
        return tooltest::libraryOutput(frame, ZEL_PIX_BAYER_RG12_PACKED, kW, kH, 96, ZEL_PIX_RGBA8, 4);
    };
    EXPECT_EQ(tooltest::readBytes(dir / "out-0000.raw"), rgba(first));
    EXPECT_EQ(tooltest::readBytes(dir / "out-0001.raw"), rgba(Bytes(first.rbegin(), first.rend())));
}

// Every refusal: one line on standard error naming the reason, exit status 2
// for a command line the tool cannot make sense of and 1 for a failure while
// running, and no file written at all. in.raw holds 4608 bytes: a 64x48
// BayerRG12Packed frame, a 64x72 BayerRG8 one, a 4x576 BayerBG12 one...
TEST(ToolCli, BadInputIsRefusedInOneLine) {
    struct Case {
        std::string command;
        int exitCode;
        const char* says;
    };
    const std::string c = "convert in.raw out.png ";
    const std::string rg12p = c + "--format BayerRG12Packed --size 64x48 ";
    const std::string deep = c + "--size 64x36 --deep --format ";  // 4608 bytes of BayerRG12
    const Case cases[] = {
        {c + "--size 64x48", 2, "option --format is required"},
        {c + "--format BayerRG12Pakked --size 64x48", 2, "unknown format 'BayerRG12Pakked'"},
        {c + "--format 0x02180015 --size 64x48", 2, "format 0x02180015 is not a raw input format"},
        {c + "--format BayerRG12Packed --size 64x47", 1,
         "'in.raw' holds 4608 bytes, but a frame of BayerRG12Packed 64x47 with stride 96 takes 4512"},
        {c + "--format BayerRG12Packed --size 64x24", 1, "(the file holds 2 frames: add --frames 2)"},
        {rg12p + "--frames 3", 1, "takes 4608 and --frames asks for 3"},
        {rg12p + "--stride 100", 1, "with stride 100 takes 4800"},
        {rg12p + "--stride 95", 2, "stride 95 is shorter than one row of 64 BayerRG12Packed pixels (96 bytes)"},
        {c + "--format BayerRG12 --size 32x48 --stride 129", 2, "stride 129 is odd"},
        {c + "--format BayerRG12Packed --size 64by48", 2, "size must be WIDTHxHEIGHT"},
        {c + "--format BayerRG12Packed --size 2147483648x1", 2, "width must be a positive integer up to 2147483647"},
        {c + "--format BayerRG12Packed --size 64x0", 2, "height must be a positive integer up to 2147483647, not '0'"},
        {rg12p + "--method vng", 2, "unknown method 'vng'"},
        {rg12p + "--layout bgr16", 2, "unknown layout 'bgr16'"},
        {rg12p + "--colour", 2, "unknown option --colour"},
        {rg12p + "--format", 2, "option --format needs a value"},
        {rg12p + "--method edge --method edge", 2, "option --method given twice"},
        {rg12p + "--deep=yes", 2, "option --deep takes no value"},
        {"convert in.raw out.jpg --format BayerRG12Packed --size 64x48", 2, "cannot tell the output format of"},
        {"convert in.raw out.pgm --format BayerRG12Packed --size 64x48 --layout rgb8", 2, "PGM holds grey pictures"},
        {"convert in.raw missing/out.png --format BayerRG12Packed --size 64x48", 1,
         "cannot write 'missing/out.png': No such file or directory"},
        {"convert none.raw out.png --format Mono8 --size 4x4", 1, "cannot read 'none.raw': No such file or directory"},
        {"convert . out.png --format Mono8 --size 4x4", 1, "cannot read '.': Is a directory"},
        {c + "--format BayerRG8 --size 1536x3", 1,
         "zelDemosaicing failed: errBadImageSize (-104), the library reports \"error line = [96]\""},
        {c + "--format BayerRG8 --size 64x72 --deep", 2, "--deep needs samples of more than 8 bits"},
        {deep + "BayerRG12 --method nearest", 2, "use --deep with --method bilinear or edge"},
        {deep + "BayerGB12 --method bilinear", 2, "BayerRG mosaics only: use --method edge for BayerGB"},
        {"convert in.raw out.bmp --size 64x36 --deep --format BayerRG12 --method edge", 2, "BMP holds 8-bit samples"},
        {"convert in.raw out.png --format BayerBG12 --size 4x576 --method edge --deep", 1, "at least 8x8"},
        {"convert in.raw out.png --format BayerBG12 --size 384x6 --method edge --deep", 1, "at least 8x8"},
        {"frobnicate", 2, "unknown command 'frobnicate'"},
        {"lsc measure", 2, "lsc takes 'calibrate' or 'apply'"},
        {"lsc calibrate --format BayerRG16 --size 64x36 --grey in.raw --dark in.raw --out t.lsc", 2,
         "lens shading works on 8, 10 and 12-bit samples; BayerRG16 has 16"},
        {"lsc calibrate --format BayerRG8 --size 64x72 --dark in.raw --out t.lsc", 2, "needs at least one --grey file"},
        {"lsc calibrate --format BayerRG8 --size 64x48 --grey in.raw --dark in.raw --out t.lsc", 1,
         "'in.raw' holds 4608 bytes, not a whole number of frames of BayerRG8 64x48 with stride 64 (3072 bytes each)"},
        {"lsc calibrate --format BayerRG8 --size 192x24 --grey in.raw --dark in.raw --out t.lsc", 1,
         "zelGetLSCParameter failed: errBadImageSize (-104), the library reports \"error line = [600]\""},
        {"lsc apply empty.lsc in.raw out.raw --format Mono14 --size 64x36", 2, "Mono14 has 14"},
        {"lsc apply short.lsc in.raw out.raw --format BayerRG8 --size 64x72", 1,
         "'short.lsc' is not a shading table: a mode 0 table of 0x0 holds 0 entries, the file 2"},
        {"lsc apply empty.lsc in.raw out.raw --format BayerRG8 --size 64x72", 1,
         "zelLSCorrection failed: errBadImageSize (-104), the library reports \"error line = [695]\""},
    };
    ScratchDir dir;
    tooltest::writeBytes(dir / "in.raw", sceneFrame("BayerRG12Packed"));
    tooltest::writeBytes(dir / "empty.lsc", Bytes(12, 0));  // a table for frames of 0x0
    tooltest::writeBytes(dir / "short.lsc", Bytes(20, 0));
    const std::vector<std::string> before = dir.list();
    for (const Case& k : cases) {
        const Outcome run = tooltest::runTool(k.command, dir);
        SCOPED_TRACE(k.command);
        EXPECT_EQ(run.exitCode, k.exitCode);
        tooltest::expectMentions(run.err, {k.says});
        EXPECT_EQ(run.err.rfind("zelvora: ", 0), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(dir.list(), before);
    }
}

// The table file is what zelGetLSCParameter makes of the averaged grey and
// dark frames (two files, one of two frames), and each corrected frame what
// zelLSCorrection makes of it with that table. Packed frames are corrected
// as their unpacked samples and packed again.
TEST(ToolLsc, CalibrateAndApplyMatchTheLibrary) {
    struct Case {
        const char* format;
        uint32_t libraryFormat;  // the 16-bit container format of the same order
        uint32_t mode;           // 0: an entry per 2x2 block, 1: per pixel
    };
    for (const Case& c : {Case{"BayerRG12", ZEL_PIX_BAYER_RG12, 0}, Case{"BayerRG12", ZEL_PIX_BAYER_RG12, 1},
                          Case{"BayerGB12Packed", ZEL_PIX_BAYER_GB12, 0}}) {
        SCOPED_TRACE(std::string(c.format) + " mode " + std::to_string(c.mode));
        ScratchDir dir;
        const auto bytesOf = [&](const std::vector<std::vector<uint16_t>>& frames) {
            Bytes bytes;
            for (const auto& f : frames) {
                for (uint8_t b : zelvora::encodeSamples(f, findInputFormat(c.format), kW, kH)) bytes.push_back(b);
            }
            return bytes;
        };
        const auto g1 = field(2000, 1), g2 = field(2000, 2), g3 = field(2000, 3), d = field(0, 4);
        tooltest::writeBytes(dir / "g1.raw", bytesOf({g1}));
        tooltest::writeBytes(dir / "g23.raw", bytesOf({g2, g3}));
        tooltest::writeBytes(dir / "dark.raw", bytesOf({d}));
        const std::string common = std::string(" --format ") + c.format + " --size 64x48";
        tooltest::Outcome run = tooltest::runTool(
            "lsc calibrate --grey=g1.raw --grey g23.raw --dark dark.raw --out t.lsc" + common +
                (c.mode == 1 ? " --mode pixel" : " --mode block"), dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;

        std::vector<float> grey(g1.size()), dark(d.begin(), d.end());
        for (size_t i = 0; i < grey.size(); ++i)
            grey[i] = static_cast<float>((static_cast<double>(g1[i]) + g2[i] + g3[i]) / 3.0);
        std::vector<uint32_t> words(3 + (c.mode == 1 ? grey.size() : grey.size() / 4));
        auto* table = reinterpret_cast<ZelLSCTable*>(words.data());
        const ZelLSCInput input{c.mode, 12, kW, kH, grey.data(), dark.data()};
        ASSERT_EQ(zelGetLSCParameter(&input, table), 0);
        const auto* tableBytes = reinterpret_cast<const uint8_t*>(words.data());  // little-endian words
        EXPECT_EQ(tooltest::readBytes(dir / "t.lsc"), Bytes(tableBytes, tableBytes + words.size() * 4));

        std::vector<std::vector<uint16_t>> frames{field(1000, 5), field(500, 7)};
        tooltest::writeBytes(dir / "in.raw", bytesOf(frames));
        run = tooltest::runTool("lsc apply t.lsc in.raw out.raw --frames 2" + common, dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        for (auto& frame : frames) {
            ZelImage image{kH, kW, c.libraryFormat, reinterpret_cast<uint8_t*>(frame.data()), 2 * kW};
            ASSERT_EQ(zelLSCorrection(&image, &image, table), 0);
        }
        EXPECT_EQ(tooltest::readBytes(dir / "out.raw"), bytesOf(frames));
    }
}

TEST(ToolCli, DemoWritesPicturesAndTable) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool("demo pictures --size 64x48", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    tooltest::expectMentions(run.out, {"method     input            RG       BG       GB       GR", "nearest    8-bit",
                                       "nearest    12-packed", "bilinear   12-bit", "edge       8-bit"});
    const std::vector<std::string> files = dir.list("pictures");
    for (const char* name : {"scene.png", "rg8-nearest.png", "gr12-edge.png", "bg12p-bilinear.png", "bayer-rg12p.raw"})
        EXPECT_NE(std::find(files.begin(), files.end(), name), files.end()) << name;
    EXPECT_EQ(tooltest::readPng(dir / "pictures/scene.png").width, 64);
}

TEST(ToolCli, BenchPrintsEveryLayout) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool("bench --size 32x16 --min-time 0", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    tooltest::expectMentions(run.out, {"BayerRG8 input", "BayerRG12 input", "bgr8", "rgba8", "bgr8-planar", "mono8",
                                       "16-bit kernels"});
}
