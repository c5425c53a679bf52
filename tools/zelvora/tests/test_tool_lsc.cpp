// zelvora lsc calibrate and apply, against the library called directly.
#include <gtest/gtest.h>

#include "formats.hpp"
#include "samples.hpp"
#include "tool_test_support.hpp"
#include "zelvora.h"

using tooltest::Outcome;
using tooltest::ScratchDir;
using zelvora::findInputFormat;

namespace {

constexpr int32_t kW = 40;
constexpr int32_t kH = 32;

// A flat field darkened towards the corners, on a black level, with a little
// deterministic ripple so that averaging frames matters.
std::vector<uint16_t> field(double level, int seed) {
    std::vector<uint16_t> s(static_cast<size_t>(kW * kH));
    for (int32_t y = 0; y < kH; ++y) {
        for (int32_t x = 0; x < kW; ++x) {
            const double dx = (x - kW / 2.0) / (kW / 2.0);
            const double dy = (y - kH / 2.0) / (kH / 2.0);
            const double ripple = ((x * 7 + y * 13 + seed * 5) % 9) - 4;
            s[static_cast<size_t>(y * kW + x)] = static_cast<uint16_t>(64 + level * (1 - 0.4 * (dx * dx + dy * dy)) + ripple);
        }
    }
    return s;
}

std::vector<uint8_t> bytesOf(const std::vector<uint16_t>& samples, const char* format) {
    return zelvora::encodeSamples(samples, findInputFormat(format), kW, kH);
}

std::vector<uint8_t> concat(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<std::string> calibrateArgs(const ScratchDir& dir, const char* format, const char* mode) {
    return {"lsc", "calibrate", "--format", format, "--size", "40x32", "--grey", dir / "g1.raw", "--grey",
            dir / "g23.raw", "--dark", dir / "dark.raw", "--mode", mode, "--out", dir / "t.lsc"};
}

void writeReferences(const ScratchDir& dir, const char* format) {
    tooltest::writeBytes(dir / "g1.raw", bytesOf(field(2000, 1), format));
    tooltest::writeBytes(dir / "g23.raw", concat(bytesOf(field(2000, 2), format), bytesOf(field(2000, 3), format)));
    tooltest::writeBytes(dir / "dark.raw", bytesOf(field(0, 4), format));
}

}  // namespace

// The table file is what zelGetLSCParameter makes of the averaged frames, and
// the corrected frame what zelLSCorrection makes with it.
TEST(ToolLsc, CalibrateAndApplyMatchTheLibrary) {
    for (const char* mode : {"block", "pixel"}) {
        ScratchDir dir;
        writeReferences(dir, "BayerRG12");
        Outcome run = tooltest::runTool(calibrateArgs(dir, "BayerRG12", mode), dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;

        std::vector<float> grey(static_cast<size_t>(kW * kH)), dark(grey.size());
        const auto g1 = field(2000, 1), g2 = field(2000, 2), g3 = field(2000, 3), d = field(0, 4);
        for (size_t i = 0; i < grey.size(); ++i) {
            grey[i] = static_cast<float>((static_cast<double>(g1[i]) + g2[i] + g3[i]) / 3.0);
            dark[i] = d[i];
        }
        const uint32_t m = std::string(mode) == "pixel" ? 1 : 0;
        const size_t n = m == 1 ? grey.size() : grey.size() / 4;
        std::vector<uint32_t> words(3 + n);
        auto* table = reinterpret_cast<ZelLSCTable*>(words.data());
        const ZelLSCInput input{m, 12, kW, kH, grey.data(), dark.data()};
        ASSERT_EQ(zelGetLSCParameter(&input, table), 0);
        EXPECT_EQ(tooltest::readText(dir / "t.lsc"),
                  std::string(reinterpret_cast<const char*>(words.data()), words.size() * 4))
            << mode;

        std::vector<uint16_t> frame = field(1000, 5);
        tooltest::writeBytes(dir / "in.raw", bytesOf(frame, "BayerRG12"));
        run = tooltest::runTool({"lsc", "apply", dir / "t.lsc", dir / "in.raw", dir / "out.raw", "--format",
                                 "BayerRG12", "--size", "40x32"},
                                dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        ZelImage image{kH, kW, ZEL_PIX_BAYER_RG12, reinterpret_cast<uint8_t*>(frame.data()), 2 * kW};
        ASSERT_EQ(zelLSCorrection(&image, &image, table), 0);
        EXPECT_EQ(tooltest::readText(dir / "out.raw"),
                  std::string(reinterpret_cast<const char*>(frame.data()), frame.size() * 2))
            << mode;
    }
}

// Packed frames are corrected as their unpacked samples and packed again.
TEST(ToolLsc, PackedFramesAreCorrectedLikeUnpackedOnes) {
    ScratchDir dir;
    writeReferences(dir, "BayerGB12Packed");
    ASSERT_EQ(tooltest::runTool(calibrateArgs(dir, "BayerGB12Packed", "block"), dir).exitCode, 0);
    const std::vector<uint16_t> frame = field(1000, 6);
    tooltest::writeBytes(dir / "p.raw", concat(bytesOf(frame, "BayerGB12Packed"), bytesOf(field(500, 7), "BayerGB12Packed")));
    tooltest::writeBytes(dir / "u.raw", bytesOf(frame, "BayerGB12"));
    const auto apply = [&](const char* in, const char* out, const char* format, const char* frames) {
        return tooltest::runTool({"lsc", "apply", dir / "t.lsc", dir / in, dir / out, "--format", format, "--size",
                                  "40x32", "--frames", frames},
                                 dir);
    };
    ASSERT_EQ(apply("p.raw", "p-out.raw", "BayerGB12Packed", "2").exitCode, 0);
    ASSERT_EQ(apply("u.raw", "u-out.raw", "BayerGB12", "1").exitCode, 0);
    const std::string packedOut = tooltest::readText(dir / "p-out.raw");
    ASSERT_EQ(packedOut.size(), 2u * 60u * 32u);
    const std::string unpackedOut = tooltest::readText(dir / "u-out.raw");
    const std::vector<uint16_t> corrected =
        zelvora::decodeSamples(reinterpret_cast<const uint8_t*>(unpackedOut.data()), findInputFormat("BayerGB12"), kW,
                               kH, 2 * kW);
    const std::vector<uint8_t> repacked = bytesOf(corrected, "BayerGB12Packed");
    EXPECT_EQ(packedOut.substr(0, repacked.size()), std::string(repacked.begin(), repacked.end()));
}

TEST(ToolLsc, RefusalsAreOneLine) {
    ScratchDir dir;
    writeReferences(dir, "BayerRG12");
    ASSERT_EQ(tooltest::runTool(calibrateArgs(dir, "BayerRG12", "block"), dir).exitCode, 0);
    tooltest::writeBytes(dir / "short.lsc", std::vector<uint8_t>(20, 0));
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        const char* says;
    };
    const std::string t = dir / "t.lsc", in = dir / "g1.raw", out = dir / "out.raw";
    const Case cases[] = {
        {{"lsc", "calibrate", "--format", "BayerRG16", "--size", "40x32", "--out", out}, 2,
         "lens shading works on 8, 10 and 12-bit samples; BayerRG16 has 16"},
        {{"lsc", "calibrate", "--format", "BayerRG12", "--size", "40x32", "--dark", in, "--out", out}, 2,
         "needs at least one --grey file"},
        {{"lsc", "calibrate", "--format", "BayerRG12", "--size", "40x16", "--grey", in, "--dark", in, "--out", out}, 1,
         "zelGetLSCParameter failed: errBadImageSize (-104), the library reports \"error line = [600]\""},
        {{"lsc", "apply", t, in, out, "--format", "BayerRG12", "--size", "20x64"}, 1,
         "zelLSCorrection failed: errBadImageSize (-104), the library reports \"error line = [695]\""},
        {{"lsc", "apply", dir / "short.lsc", in, out, "--format", "BayerRG12", "--size", "40x32"}, 1,
         "is not a shading table: a mode 0 table of 0x0 holds 0 entries, the file 2"},
        {{"lsc", "apply", t, in, out, "--format", "Mono14", "--size", "40x32"}, 2, "Mono14 has 14"},
        {{"lsc", "measure"}, 2, "lsc takes 'calibrate' or 'apply'"},
    };
    for (const Case& c : cases) {
        const Outcome run = tooltest::runTool(c.args, dir);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.says;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(out));
}
