// End to end: the built zelvora binary on good and bad command lines, its
// files compared with what the library makes when called directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <type_traits>

#include "cli.hpp"
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

// The PNG and the TIFF hold what the library makes of the frame: 8-bit samples from
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
        {"BayerRG12Packed", "--method nearest --threads 3", kW, kH, rg12PackedNearest},
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
        const auto convert = [&](const char* out) {
            return tooltest::runTool("convert in.raw " + std::string(out) + " --format " + c.format + " --size " +
                                         std::to_string(c.width) + "x" + std::to_string(c.height) + " " + c.options,
                                     dir);
        };
        const Outcome run = convert("out.PNG");
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.err + run.out, "");
        const std::vector<uint16_t> expected = c.reference(raw, format, c.width, c.height);
        const int channels = static_cast<int>(expected.size() / static_cast<size_t>(c.width * c.height));
        const bool deep = c.reference != rg12PackedNearest;
        const tooltest::PngPicture png = tooltest::readPng(dir / "out.PNG");  // sBIT: depths below 16 bits
        EXPECT_EQ(png.shape(), (std::array{c.width, c.height, channels, deep ? 16 : 8, deep ? format.bits % 16 : 0}));
        EXPECT_EQ(png.samples, expected);
        // TIFF holds the same samples.
        ASSERT_EQ(convert("out.tif").exitCode, 0);
        const tooltest::PngPicture tiff = tooltest::readTiff(dir / "out.tif");
        EXPECT_EQ(tiff.shape(), (std::array{c.width, c.height, channels, deep ? 16 : 8, 0}));
        EXPECT_EQ(tiff.samples, expected);
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
    const std::string c = "convert in.raw out.png ";
    const std::string rg12p = c + "--format BayerRG12Packed --size 64x48 ";
    const std::string deep = c + "--size 64x36 --deep --format ";  // 4608 bytes of BayerRG12
    const std::string lsc = "lsc calibrate --grey in.raw --dark in.raw --out t.lsc --format ";
    const std::tuple<std::string, int, const char*> cases[] = {
        {c + "--size 64x48", 2, "option --format is required"},
        {c + "--format BayerRG12Pakked --size 64x48", 2, "unknown format 'BayerRG12Pakked'"},
        {c + "--format 0x02180015 --size 64x48", 2, "format 0x02180015 is not a raw input format"},
        {c + "--format BayerRG12Packed --size 64x47", 1, "'in.raw' holds 4608 bytes, not a whole number of frames of "
                                                         "BayerRG12Packed 64x47 with stride 96 (4512 bytes each)"},
        {rg12p + "--frames 3", 1, "takes 4608 and --frames asks for 3"},
        {rg12p + "--first 1", 2, "--first 1 skips every frame: 'in.raw' holds 1"},
        {rg12p + "-x", 2, "unknown option -x"},
        {rg12p + "--colour", 2, "unknown option --colour"},
        {rg12p + "--white-balance 1:2", 2, "--white-balance is gray-world or three factors R:G:B, not '1:2'"},
        {"convert in.raw out.raw --format BayerRG12Packed --size 64x48 --gamma srgb", 2, "raw output holds the library's"},
        {"convert in.raw in.raw out.png --format BayerRG12Packed --size 64x48", 2, "several inputs need --out-dir"},
        {rg12p + "--type raw", 2, "--type raw disagrees with the name 'out.png'"},
        {"convert in.raw out-%s.png --format BayerRG12Packed --size 64x48", 2, "may hold one %d (such as %04d)"},
        {c + "--format BayerRG8 --size 4x1152 --method edge", 1,
         "edge-directed needs at least 6x6; the frame is 4x1152: zelDemosaicingRows failed: errBadImageSize (-104), the "
         "library reports \"error line = [5661]\""},
        {c + "--format BayerRG8 --size 1536x3", 1, "bilinear needs at least 4x4; the frame is 1536x3: zelDemosaicingRows"},
        {rg12p + "--stride 95", 2, "stride 95 is shorter than one row of 64 BayerRG12Packed pixels (96 bytes)"},
        {c + "--format BayerRG12 --size 32x48 --stride 129", 2, "stride 129 is odd"},
        {c + "--format BayerRG12Packed --size 64by48", 2, "size must be WIDTHxHEIGHT"},
        {c + "--format BayerRG12Packed --size 64x0", 2, "height must be a positive integer up to 2147483647, not '0'"},
        {rg12p + "--method vng", 2, "unknown method 'vng'"},
        {rg12p + "--threads 0", 2, "threads must be a positive integer up to 256, not '0'"},
        {rg12p + "--layout bgr16", 2, "unknown layout 'bgr16'"},
        {rg12p + "--format", 2, "option --format needs a value"},
        {rg12p + "--method edge --method edge", 2, "option --method given twice"},
        {rg12p + "--deep=yes", 2, "option --deep takes no value"},
        {"convert in.raw out.jpg --format BayerRG12Packed --size 64x48", 2, "cannot tell the output format of"},
        {"convert in.raw out.pgm --format BayerRG12Packed --size 64x48 --layout rgb8", 2, "PGM holds grey pictures"},
        {"convert in.raw missing/out.png --format BayerRG12Packed --size 64x48", 1,
         "cannot write 'missing/out.png': No such file or directory"},
        {"convert none.raw out.png --format Mono8 --size 4x4", 1, "cannot read 'none.raw': No such file or directory"},
        {"convert . out.png --format Mono8 --size 4x4", 1, "cannot read '.': Is a directory"},
        {c + "--format BayerRG8 --size 64x72 --deep", 2, "--deep needs samples of more than 8 bits"},
        {deep + "BayerRG12 --method nearest", 2, "use --deep with --method bilinear or edge"},
        {deep + "BayerGB12 --method bilinear", 2, "BayerRG mosaics only: use --method edge for BayerGB"},
        {"convert in.raw out.bmp --size 64x36 --deep --format BayerRG12 --method edge", 2, "BMP holds 8-bit samples"},
        {c + "--format BayerBG12 --size 4x576 --method edge --deep", 1, "edge-directed --deep needs at least 8x8"},
        {c + "--format BayerBG12 --size 384x6 --method edge --deep", 1, "edge-directed --deep needs at least 8x8"},
        {"frobnicate", 2, "unknown command 'frobnicate'"},
        {"lsc measure", 2, "lsc takes 'calibrate' or 'apply'"},
        {lsc + "BayerRG16 --size 64x36", 2, "lens shading works on 8, 10 and 12-bit samples; BayerRG16 has 16"},
        {"lsc calibrate --format BayerRG8 --size 64x72 --dark in.raw --out t.lsc", 2, "needs at least one --grey file"},
        {lsc + "BayerRG8 --size 192x24", 1, "lens-shading frames must have even sizes of at least 32x32; the frames "
                                            "are 192x24: zelGetLSCParameter failed"},
        {"lsc apply short.lsc in.raw out.raw --format BayerRG8 --size 64x72", 1,
         "'short.lsc' is not a shading table: a mode 0 table of 0x0 holds 0 entries, the file 2"},
        {lsc + "BayerRG8 --size 64x72", 1,
         "implausible calibration, no table written: the flat field is not clearly brighter than the dark frames: "
         "grey frames average 114.4 and dark frames 114.4 (of 255); the gains range 0.000 to"},
        {"lsc apply empty.lsc in.raw out.ppm --format BayerRG8 --size 64x72", 2, "lsc apply writes raw frames"},
        {"lsc apply empty.lsc in.raw out.raw --format BayerRG8 --size 64x72", 1,
         "the table fits frames of 0x0; the frame is 64x72: zelLSCorrection failed"},
    };
    ScratchDir dir;
    tooltest::writeBytes(dir / "in.raw", sceneFrame("BayerRG12Packed"));
    tooltest::writeBytes(dir / "empty.lsc", Bytes(12, 0));  // a table for frames of 0x0
    tooltest::writeBytes(dir / "short.lsc", Bytes(20, 0));
    const std::vector<std::string> before = dir.list();
    for (const auto& [command, exitCode, says] : cases) {
        const Outcome run = tooltest::runTool(command, dir);
        SCOPED_TRACE(command);
        EXPECT_EQ(run.exitCode, exitCode);
        tooltest::expectMentions(run.err, {says});
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
            std::string(c.mode == 1 ? "lsc calibrate --grey=g1.raw --grey g23.raw --mode pixel"
                         : "lsc calibrate --grey g1.raw g23.raw --mode block") +
                " --dark dark.raw --out t.lsc" + common, dir);
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
        // A picture of the corrected mosaic: grey at the input's depth.
        ASSERT_EQ(tooltest::runTool("lsc apply t.lsc in.raw out.png --frames 2" + common, dir).exitCode, 0);
        const tooltest::PngPicture png = tooltest::readPng(dir / "out-0001.png");
        EXPECT_EQ(png.shape(), (std::array{kW, kH, 1, 16, 12}));
        for (size_t i = 0; i < frames[1].size(); ++i)
            ASSERT_EQ(png.samples[i], zelvora::widenTo16(frames[1][i], 12)) << i;
    }
}

TEST(ToolCli, DemoWritesPicturesAndTable) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool("demo pictures --size 64x48 --threads 3", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    tooltest::expectMentions(run.out, {"method     input            RG       BG       GB       GR", "nearest    8-bit",
                                       "nearest    12-packed", "bilinear   12-bit", "edge       8-bit"});
    const std::vector<std::string> files = dir.list("pictures");
    for (const char* name : {"scene.png", "rg8-nearest.png", "gr12-edge.png", "bg12p-bilinear.png", "bayer-rg12p.raw",
                             "compare.png", "balanced.png"})
        EXPECT_NE(std::find(files.begin(), files.end(), name), files.end()) << name;
    EXPECT_EQ(tooltest::readPng(dir / "pictures/scene.png").width, 64);
    // Crops of 16x12 zoomed 20 times: the scene and three methods, two rows.
    EXPECT_EQ(tooltest::readPng(dir / "pictures/compare.png").shape(), (std::array{4 + 4 * 324, 4 + 2 * 244, 3, 8, 0}));
}

TEST(ToolCli, BenchPrintsEveryLayout) {
    ScratchDir dir;
    const Outcome run = tooltest::runTool("bench --size 32x16 --min-time 0 --threads 3", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    tooltest::expectMentions(run.out, {"BayerRG8 input", "BayerRG12 input", "bgr8", "rgba8", "bgr8-planar", "mono8",
                                       "16-bit kernels", "BayerRG12 input to bgr8, in bands of rows",
                                       "method         1 thread 3 threads     ratio\nnearest "});
#ifdef ZELVORA_TOOL_OPENCV
    // Loaded at run time from the module built beside the program.
    tooltest::expectMentions(run.out, {"cv::cvtColor on the same frames", "16-bit edge-aware, BGR16"});
#endif
}

// Bare zelvora, help, --help, -h and the versions.
TEST(ToolCli, CommandLineConventions) {
    struct Case {
        const char* line;
        int exitCode;
        std::string out;
        const char* errStarts;
    };
    const std::string convertHelp = zelvora::commandHelp(zelvora::commandDef("convert"));
    const std::string version = zelvora::versionText() + "\n";
    const Case cases[] = {
        {"", 2, "", "usage: zelvora COMMAND"},
        {"help", 0, zelvora::usageText(), ""},
        {"help convert", 0, convertHelp, ""},
        {"convert --help", 0, convertHelp, ""},
        {"convert in.raw -h", 0, convertHelp, ""},
        {"lsc apply -h", 0, zelvora::commandHelp(zelvora::commandDef("lsc apply")), ""},
        {"--version", 0, version, ""},
        {"version", 0, version, ""},
        {"help frobnicate", 2, "", "zelvora: unknown command 'frobnicate'"},
    };
    ScratchDir dir;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        const Outcome run = tooltest::runTool(c.line, dir);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err.rfind(c.errStarts, 0), 0u) << run.err;
    }
    EXPECT_NE(version.find(PROJECT_VERSION), std::string::npos);
}

// The README shows every command's synopsis as the option list makes it.
TEST(ToolCli, ReadmeSynopsesMatchTheOptionList) {
    const auto collapse = [](const std::string& text) {
        std::string out;
        for (char ch : text) {
            if (std::isspace(static_cast<unsigned char>(ch)) == 0) {
                out += ch;
            } else if (!out.empty() && out.back() != ' ') {
                out += ' ';
            }
        }
        return out;
    };
    const std::string readme = collapse(tooltest::readText(ZELVORA_README));
    ASSERT_FALSE(readme.empty());
    for (const zelvora::CommandDef& command : zelvora::commandDefs())
        EXPECT_NE(readme.find(collapse(zelvora::synopsis(command))), std::string::npos) << zelvora::synopsis(command);
    EXPECT_NE(readme.find(collapse("Smallest frames")), std::string::npos);
}

// Four-byte layouts come out opaque in PNG, whatever the library left in the
// fourth byte; mono input makes a grey PNG.
TEST(ToolCli, PicturesAreOpaqueAndMonoIsGrey) {
    ScratchDir dir;
    tooltest::writeBytes(dir / "in.raw", sceneFrame("BayerGB8"));
    tooltest::writeBytes(dir / "mono.raw", sceneFrame("Mono12Packed"));
    const std::pair<const char*, const char*> cases[] = {{"edge", "rgba8"}, {"edge", "bgra8"}, {"bilinear", "bgra8"}};
    for (const auto& [method, layout] : cases) {
        SCOPED_TRACE(std::string(method) + " " + layout);
        const std::string common = " --format BayerGB8 --size 64x48 --method " + std::string(method);
        ASSERT_EQ(tooltest::runTool("convert in.raw a.png --layout " + std::string(layout) + common, dir).exitCode, 0);
        ASSERT_EQ(tooltest::runTool("convert in.raw b.png --layout rgb8" + common, dir).exitCode, 0);
        const tooltest::PngPicture rgba = tooltest::readPng(dir / "a.png");
        const tooltest::PngPicture rgb = tooltest::readPng(dir / "b.png");
        ASSERT_EQ(rgba.channels, 4);
        for (size_t i = 0; i < rgb.samples.size() / 3; ++i) {
            ASSERT_EQ(rgba.samples[4 * i + 3], 255) << i;
            ASSERT_EQ(rgba.samples[4 * i], rgb.samples[3 * i]) << i;
        }
    }
    ASSERT_EQ(tooltest::runTool("convert mono.raw m.png --format Mono12Packed --size 64x48", dir).exitCode, 0);
    EXPECT_EQ(tooltest::readPng(dir / "m.png").channels, 1);
}

// A conversion killed while it writes leaves no temporary file and dies of
// the signal (status 128 + N in a shell).
TEST(ToolCli, SignalsRemoveTheTemporaryFile) {
    constexpr int32_t w = 4000, h = 3000;
    ScratchDir dir;
    Bytes frame(static_cast<size_t>(w) * h);
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>((i * 2654435761u) >> 24);
    tooltest::writeBytes(dir / "in.raw", frame);
    for (int number : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(number);
        const pid_t pid = tooltest::spawnTool("convert in.raw out.png --format BayerRG8 --size 4000x3000", dir);
        const auto temporaries = [&] {
            std::vector<std::string> found;
            for (const std::string& name : dir.list())
                if (name.rfind("out.png.", 0) == 0) found.push_back(name);
            return found;
        };
        for (int waited = 0; temporaries().empty() && waited < 60000; ++waited) usleep(1000);
        ASSERT_FALSE(temporaries().empty()) << "the output never started";
        kill(pid, number);
        const Outcome done = tooltest::finishTool(pid, dir);
        EXPECT_TRUE(WIFSIGNALED(done.status) && WTERMSIG(done.status) == number) << done.status;
        EXPECT_EQ(dir.list(), std::vector<std::string>{"in.raw"});
    }
}

// Frames are read one at a time and pictures written a row at a time: the
// peak resident size of converting four frames to BMP stays near one input
// frame plus one output frame (9 + 27 MB), far from the whole file.
TEST(ToolCli, MemoryStaysNearOneFrame) {
    constexpr int32_t w = 3000, h = 3000;
    ScratchDir dir;
    Bytes frames(static_cast<size_t>(w) * h * 4);
    for (size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<uint8_t>(i / 7);
    tooltest::writeBytes(dir / "in.raw", frames);
    frames = {};
    const Outcome done = tooltest::runTool("convert in.raw out.bmp --format BayerRG8 --size 3000x3000", dir);
    ASSERT_EQ(done.exitCode, 0) << done.err;
#if defined(__SANITIZE_ADDRESS__)
    constexpr long kLimit = 240 * 1024;  // the sanitizer's own bookkeeping on top
#else
    constexpr long kLimit = 90 * 1024;
#endif
    EXPECT_LT(done.peakKilobytes, kLimit);
    EXPECT_EQ(tooltest::readBytes(dir / "out-0003.bmp").size(), 54u + 9000u * 3000u);
}

// Several inputs into a directory or through a pattern, frames picked with
// --first and --count, standard input and output.
TEST(ToolCli, SeveralInputsPatternsAndStreams) {
    ScratchDir dir;
    const Bytes a = sceneFrame("BayerRG8");
    Bytes b = a;
    std::reverse(b.begin(), b.end());
    Bytes ab = a;
    ab.insert(ab.end(), b.begin(), b.end());
    tooltest::writeBytes(dir / "a.raw", a);
    tooltest::writeBytes(dir / "ab.raw", ab);
    const std::string common = " --format BayerRG8 --size 64x48 --method nearest";
    ASSERT_EQ(tooltest::runTool("convert a.raw ab.raw --out-dir pics --type raw" + common, dir).exitCode, 0);
    EXPECT_EQ(dir.list("pics"), (std::vector<std::string>{"a.raw", "ab-0000.raw", "ab-0001.raw"}));
    ASSERT_EQ(tooltest::runTool("convert a.raw ab.raw p-%03d.raw" + common, dir).exitCode, 0);
    EXPECT_EQ(tooltest::readBytes(dir / "p-002.raw"), tooltest::readBytes(dir / "pics/ab-0001.raw"));
    ASSERT_EQ(tooltest::runTool("convert ab.raw one.raw --first 1 --count 1" + common, dir).exitCode, 0);
    EXPECT_EQ(tooltest::readBytes(dir / "one.raw"), tooltest::readBytes(dir / "p-002.raw"));
    const Outcome piped = tooltest::runTool("convert - - --type ppm" + common + " <ab.raw", dir);
    ASSERT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_EQ(piped.out.size(), 2 * (13 + 64 * 48 * 3u));
    EXPECT_EQ(piped.out.substr(0, 13), "P6\n64 48\n255\n");
}
