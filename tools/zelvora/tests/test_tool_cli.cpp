// End to end: the built zelvora binary on good and bad command lines.
#include <gtest/gtest.h>

#include <algorithm>

#include "formats.hpp"
#include "scene.hpp"
#include "tool_test_support.hpp"
#include "zelvora.h"

using tooltest::Outcome;
using tooltest::ScratchDir;

namespace {

constexpr int32_t kW = 64;
constexpr int32_t kH = 48;

// A BayerRG12Packed frame of the demo scene, as a camera would deliver it.
std::vector<uint8_t> packedFrame() {
    return zelvora::mosaic(zelvora::renderScene(kW, kH), zelvora::findInputFormat("BayerRG12Packed"));
}

std::vector<uint8_t> libraryOutput(const std::vector<uint8_t>& frame, ZelPixelType layout, int bytesPerPixel) {
    return tooltest::libraryOutput(frame, ZEL_PIX_BAYER_RG12_PACKED, kW, kH, kW * 3 / 2, layout, bytesPerPixel);
}

std::vector<std::string> convertArgs(const ScratchDir& dir, const std::string& out, std::vector<std::string> extra) {
    std::vector<std::string> args{"convert", dir / "in.raw", dir / out, "--format", "BayerRG12Packed",
                                  "--size", "64x48", "--method", "nearest"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

}  // namespace

TEST(ToolCli, Rg12PackedFrameToPngMatchesTheLibrary) {
    ScratchDir dir;
    tooltest::writeBytes(dir / "in.raw", packedFrame());
    const Outcome run = tooltest::runTool(convertArgs(dir, "out.png", {}), dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const tooltest::PngPicture png = tooltest::readPng(dir / "out.png");
    ASSERT_EQ(png.width, kW);
    ASSERT_EQ(png.height, kH);
    ASSERT_EQ(png.channels, 3);
    ASSERT_EQ(png.bitDepth, 8);
    const std::vector<uint8_t> bgr = libraryOutput(packedFrame(), ZEL_PIX_BGR8, 3);
    for (size_t i = 0; i < bgr.size(); i += 3) {
        ASSERT_EQ(png.samples[i], bgr[i + 2]) << "red of pixel " << i / 3;
        ASSERT_EQ(png.samples[i + 1], bgr[i + 1]) << "green of pixel " << i / 3;
        ASSERT_EQ(png.samples[i + 2], bgr[i]) << "blue of pixel " << i / 3;
    }
}

// Raw output is the library's buffer byte for byte; frames get numbers.
TEST(ToolCli, RawOutputAndNumberedFrames) {
    ScratchDir dir;
    std::vector<uint8_t> frames = packedFrame();
    std::vector<uint8_t> second = packedFrame();
    std::reverse(second.begin(), second.end());
    frames.insert(frames.end(), second.begin(), second.end());
    tooltest::writeBytes(dir / "in.raw", frames);
    const Outcome run = tooltest::runTool(convertArgs(dir, "out.raw", {"--frames", "2", "--layout", "rgba8"}), dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");  // no progress line when nobody watches
    EXPECT_EQ(dir.list(), (std::vector<std::string>{"in.raw", "out-0000.raw", "out-0001.raw"}));
    const auto expected = [](const std::vector<uint8_t>& frame) {
        const std::vector<uint8_t> out = libraryOutput(frame, ZEL_PIX_RGBA8, 4);
        return std::string(out.begin(), out.end());
    };
    EXPECT_EQ(tooltest::readText(dir / "out-0000.raw"), expected(packedFrame()));
    EXPECT_EQ(tooltest::readText(dir / "out-0001.raw"), expected(second));
}

// Every refusal: one line on standard error, the right exit status, the
// reason named, and no output file at all.
TEST(ToolCli, BadInputIsRefusedInOneLine) {
    struct Case {
        std::vector<std::string> args;  // after "convert IN OUT"; replaces the defaults when they clash
        int exitCode;
        const char* says;
        const char* out = "out.png";
    };
    const Case cases[] = {
        {{"--format", "BayerRG12Pakked"}, 2, "unknown format 'BayerRG12Pakked'"},
        {{"--format", "0x02180015"}, 2, "format 0x02180015 is not a raw input format"},
        {{"--size", "64x47"}, 1, "holds 4608 bytes, but a frame of BayerRG12Packed 64x47 with stride 96 takes 4512"},
        {{"--size", "64x24"}, 1, "add --frames 2"},
        {{"--stride", "100"}, 1, "with stride 100 takes 4800"},
        {{"--stride", "95"}, 2, "stride 95 is shorter than one row of 64 BayerRG12Packed pixels (96 bytes)"},
        {{"--size", "64by48"}, 2, "size must be WIDTHxHEIGHT"},
        {{"--method", "vng"}, 2, "unknown method 'vng'"},
        {{"--layout", "bgr16"}, 2, "unknown layout 'bgr16'"},
        {{"--colour"}, 2, "unknown option --colour"},
        {{}, 2, "cannot tell the output format of", "out.jpg"},
        {{"--layout", "rgb8"}, 2, "PGM holds grey pictures", "out.pgm"},
        {{}, 1, "cannot write", "missing/out.png"},
        {{"--deep", "--format", "BayerRG8", "--size", "96x48"}, 2, "--deep needs samples of more than 8 bits"},
        // 4608 bytes are also a 1536x3 BayerRG8 frame, too small for the library.
        {{"--format", "BayerRG8", "--size", "1536x3"}, 1,
         "zelDemosaicing failed: errBadImageSize (-104), the library reports \"error line = [96]\""},
    };
    for (const Case& c : cases) {
        ScratchDir dir;
        tooltest::writeBytes(dir / "in.raw", packedFrame());
        std::vector<std::string> args = convertArgs(dir, c.out, {});
        for (size_t i = 0; i < c.args.size(); ++i) {
            const auto known = std::find(args.begin() + 3, args.end(), c.args[i]);
            const bool takesValue = i + 1 < c.args.size() && c.args[i + 1].rfind("--", 0) != 0;
            if (known != args.end() && takesValue) {
                *(known + 1) = c.args[++i];
            } else {
                args.push_back(c.args[i]);
                if (takesValue) args.push_back(c.args[++i]);
            }
        }
        const Outcome run = tooltest::runTool(args, dir);
        SCOPED_TRACE(c.says);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(run.err.rfind("zelvora: ", 0), 0u) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(dir.list(), std::vector<std::string>{"in.raw"});
    }
}

TEST(ToolCli, UnreadableInputAndUnknownCommand) {
    ScratchDir dir;
    Outcome run = tooltest::runTool({"convert", dir / "none.raw", dir / "o.png", "--format", "Mono8", "--size", "4x4"}, dir);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("cannot read '" + (dir / "none.raw") + "': No such file or directory"), std::string::npos)
        << run.err;
    run = tooltest::runTool({"convert", dir / "", dir / "o.png", "--format", "Mono8", "--size", "4x4"}, dir);
    EXPECT_NE(run.err.find("Is a directory"), std::string::npos) << run.err;
    run = tooltest::runTool({"frobnicate"}, dir);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_NE(run.err.find("unknown command 'frobnicate'"), std::string::npos) << run.err;
}

TEST(ToolCli, DemoWritesPicturesAndTable) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool({"demo", dir / "pictures", "--size", "64x48"}, dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* line : {"method     input            RG       BG       GB       GR", "nearest    8-bit",
                             "nearest    12-packed", "bilinear   12-bit", "edge       8-bit"}) {
        EXPECT_NE(run.out.find(line), std::string::npos) << line << "\n" << run.out;
    }
    const std::vector<std::string> files = ScratchDir::listOf(dir / "pictures");
    for (const char* name : {"scene.png", "rg8-nearest.png", "gr12-nearest.png", "bg12p-nearest.png",
                             "bayer-rg12p.raw"}) {
        EXPECT_NE(std::find(files.begin(), files.end(), name), files.end()) << name;
    }
    EXPECT_EQ(tooltest::readPng(dir / "pictures/scene.png").width, 64);
}

TEST(ToolCli, BenchPrintsEveryLayout) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool({"bench", "--size", "32x16", "--min-time", "0"}, dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* name : {"BayerRG8 input", "BayerRG12 input", "bgr8", "rgba8", "bgr8-planar", "mono8",
                             "16-bit kernels"}) {
        EXPECT_NE(run.out.find(name), std::string::npos) << name << "\n" << run.out;
    }
}
