// End to end: the built zelvora binary on good and bad command lines, its
// files compared with what the library makes when called directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <regex>
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
using tooltest::readBytes;
using tooltest::runTool;
using tooltest::ScratchDir;
using tooltest::writeBytes;
using zelvora::findInputFormat;
using Samples = std::vector<uint16_t>;

namespace {

constexpr int32_t kW = 64;
constexpr int32_t kH = 48;

// A frame of the demo scene, as a camera would deliver it.
Bytes sceneFrame(const char* format, int32_t width = kW, int32_t height = kH) {
    return zelvora::mosaic(zelvora::renderScene(width, height), findInputFormat(format));
}

Samples rgbFromBgr(Samples samples) {
    for (size_t i = 0; i < samples.size(); i += 3) std::swap(samples[i], samples[i + 2]);
    return samples;
}

// What the library, called directly, makes of a frame: the samples a picture
// of it holds, R, G, B (and alpha) or grey.
using Reference = Samples (*)(const Bytes& raw, const zelvora::InputFormat& f, int32_t w, int32_t h);

// zelDemosaicing into an 8-bit layout; pictures of four-byte layouts are
// opaque, whatever the library left in the fourth byte.
template <ZelPixelType layout, int bytes, int32_t method>
Samples library8(const Bytes& raw, const zelvora::InputFormat& f, int32_t w, int32_t h) {
    const auto stride = static_cast<int32_t>(zelvora::rowBytes(f, w));
    const Bytes out = tooltest::libraryOutput(raw, f.code, w, h, stride, layout, bytes, method);
    Samples samples(out.begin(), out.end());
    for (size_t i = 3; bytes == 4 && i < samples.size(); i += 4) samples[i] = 255;
    return bytes == 3 ? rgbFromBgr(samples) : samples;
}

// A 16-bit kernel (none for mono) on the frame's samples, widened to 16 bits.
template <auto kernel>
Samples deep(const Bytes& raw, const zelvora::InputFormat& f, int32_t w, int32_t h) {
    Samples out = zelvora::decodeSamples(raw.data(), f, w, h, zelvora::rowBytes(f, w));
    if constexpr (!std::is_null_pointer_v<decltype(kernel)>) {
        Samples bgr(out.size() * 3);
        kernel(out.data(), h, w, bgr.data());
        out = rgbFromBgr(bgr);
    }
    for (uint16_t& sample : out) sample = zelvora::widenTo16(sample, f.bits);
    return out;
}

// A flat field darkened towards the corners, on a black level, with a little
// deterministic ripple so that averaging frames matters.
Samples field(double level, int seed) {
    Samples s;
    for (int32_t i = 0; i < kW * kH; ++i) {
        const int32_t x = i % kW, y = i / kW;
        const double dx = x / (kW / 2.0) - 1, dy = y / (kH / 2.0) - 1;
        s.push_back(static_cast<uint16_t>(64 + level * (1 - 0.4 * (dx * dx + dy * dy)) + (x * 7 + y * 13 + seed * 5) % 9 -
                                          4));
    }
    return s;
}

}  // namespace

// PNG, TIFF and raw files hold what the library makes of the frame: 8-bit
// samples from zelDemosaicing, or with --deep the 16-bit kernels' samples,
// widened to 16 bits in pictures, the input's depth in PNG's sBIT (mono
// samples as they are), and as they are in raw files (little-endian B, G, R).
TEST(ToolCli, FilesMatchTheLibrary) {
    const std::tuple<const char*, const char*, int32_t, int32_t, Reference> cases[] = {
        {"BayerRG12Packed", "--method nearest --threads 3", kW, kH, library8<ZEL_PIX_BGR8, 3, ZEL_DEMOSAIC_NEAREST>},
        {"BayerGB8", "--method edge --layout rgba8", kW, kH, library8<ZEL_PIX_RGBA8, 4, ZEL_DEMOSAIC_EDGE>},
        {"Mono12Packed", "", kW, kH, library8<ZEL_PIX_MONO8, 1, ZEL_DEMOSAIC_BILINEAR>},
        {"BayerRG12", "--deep --method bilinear", kW, kH, deep<zelDemosaicingBilinearU16>},
        {"BayerRG12Packed", "--deep --method edge", kW, kH, deep<demosaicingEdgeRGGBU16>},
        {"BayerGR10", "--deep --method edge", kW, kH, deep<demosaicingEdgeGRBGU16>},
        {"BayerGB12Packed", "--deep --method edge", kW, kH, deep<demosaicingEdgeGBRGU16>},
        {"BayerBG16", "--deep --method edge", 8, 8, deep<demosaicingEdgeBGGRU16>},  // the least the kernels take
        {"Mono12Packed", "--deep", kW, kH, deep<nullptr>},
    };
    for (const auto& [name, options, width, height, reference] : cases) {
        SCOPED_TRACE(std::string(name) + " " + options);
        ScratchDir dir;
        const zelvora::InputFormat& format = findInputFormat(name);
        const Bytes raw = sceneFrame(name, width, height);
        writeBytes(dir / "in.raw", raw);
        const Samples expected = reference(raw, format, width, height);
        const int channels = static_cast<int>(expected.size() / static_cast<size_t>(width * height));
        const bool deep = std::strstr(options, "--deep") != nullptr;
        for (const std::string out : {"out.PNG", "out.tif", "out.raw"}) {
            if (!deep && out == "out.raw") continue;  // compared in FramesFilesAndStreams
            const Outcome run = runTool("convert in.raw " + out + " --format " + name + " --size " +
                                            std::to_string(width) + "x" + std::to_string(height) + " " + options, dir);
            ASSERT_EQ(run.exitCode, 0) << run.err;
            EXPECT_EQ(run.err + run.out, "");
            if (out == "out.raw") {
                const Bytes bytes = readBytes(dir / out);
                Samples words;
                for (size_t i = 0; i + 1 < bytes.size(); i += 2)
                    words.push_back(zelvora::widenTo16(static_cast<uint16_t>(bytes[i] | bytes[i + 1] << 8), format.bits));
                EXPECT_EQ(channels == 3 ? rgbFromBgr(words) : words, expected);
                continue;
            }
            const bool png = out == "out.PNG";
            const tooltest::PngPicture picture = png ? tooltest::readPng(dir / out) : tooltest::readTiff(dir / out);
            EXPECT_EQ(picture.shape(), (std::array{width, height, channels, deep ? 16 : 8,
                                                   deep && png ? format.bits % 16 : 0}));
            EXPECT_EQ(picture.samples, expected);
        }
    }
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
    writeBytes(dir / "in.raw", sceneFrame("BayerRG12Packed"));
    writeBytes(dir / "empty.lsc", Bytes(12, 0));  // a table for frames of 0x0
    writeBytes(dir / "short.lsc", Bytes(20, 0));
    const std::vector<std::string> before = dir.list();
    for (const auto& [command, exitCode, says] : cases) {
        const Outcome run = runTool(command, dir);
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
    // The format, its 16-bit container format of the same order, and the mode
    // (0: an entry per 2x2 block, 1: per pixel).
    const std::tuple<const char*, uint32_t, uint32_t> cases[] = {
        {"BayerRG12", ZEL_PIX_BAYER_RG12, 0},
        {"BayerRG12", ZEL_PIX_BAYER_RG12, 1},
        {"BayerGB12Packed", ZEL_PIX_BAYER_GB12, 0}};
    for (const auto& [format, container, mode] : cases) {
        SCOPED_TRACE(std::string(format) + " mode " + std::to_string(mode));
        ScratchDir dir;
        const auto bytesOf = [&](std::initializer_list<Samples> frames) {
            Samples all;
            for (const Samples& f : frames) all.insert(all.end(), f.begin(), f.end());
            return zelvora::encodeSamples(all, findInputFormat(format), kW, static_cast<int32_t>(all.size() / kW));
        };
        const Samples g1 = field(2000, 1), g2 = field(2000, 2), g3 = field(2000, 3), d = field(0, 4);
        writeBytes(dir / "g1.raw", bytesOf({g1}));
        writeBytes(dir / "g23.raw", bytesOf({g2, g3}));
        writeBytes(dir / "dark.raw", bytesOf({d}));
        const std::string common = std::string(" --format ") + format + " --size 64x48";
        Outcome run = runTool(std::string(mode == 1 ? "lsc calibrate --grey=g1.raw --grey g23.raw --mode pixel"
                                                      : "lsc calibrate --grey g1.raw g23.raw --mode block") +
                                  " --dark dark.raw --out t.lsc" + common, dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;

        std::vector<float> grey(g1.size()), dark(d.begin(), d.end());
        for (size_t i = 0; i < grey.size(); ++i)
            grey[i] = static_cast<float>((static_cast<double>(g1[i]) + g2[i] + g3[i]) / 3.0);
        std::vector<uint32_t> words(3 + (mode == 1 ? grey.size() : grey.size() / 4));
        auto* table = reinterpret_cast<ZelLSCTable*>(words.data());
        const ZelLSCInput input{mode, 12, kW, kH, grey.data(), dark.data()};
        ASSERT_EQ(zelGetLSCParameter(&input, table), 0);
        const auto* tableBytes = reinterpret_cast<const uint8_t*>(words.data());  // little-endian words
        EXPECT_EQ(readBytes(dir / "t.lsc"), Bytes(tableBytes, tableBytes + words.size() * 4));

        Samples frames[] = {field(1000, 5), field(500, 7)};
        writeBytes(dir / "in.raw", bytesOf({frames[0], frames[1]}));
        run = runTool("lsc apply t.lsc in.raw out.raw --frames 2" + common, dir);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        for (Samples& frame : frames) {
            ZelImage image{kH, kW, container, reinterpret_cast<uint8_t*>(frame.data()), 2 * kW};
            ASSERT_EQ(zelLSCorrection(&image, &image, table), 0);
        }
        EXPECT_EQ(readBytes(dir / "out.raw"), bytesOf({frames[0], frames[1]}));
        // A picture of the corrected mosaic: grey at the input's depth.
        ASSERT_EQ(runTool("lsc apply t.lsc in.raw out.png --frames 2" + common, dir).exitCode, 0);
        const tooltest::PngPicture png = tooltest::readPng(dir / "out-0001.png");
        EXPECT_EQ(png.shape(), (std::array{kW, kH, 1, 16, 12}));
        for (uint16_t& sample : frames[1]) sample = zelvora::widenTo16(sample, 12);
        EXPECT_EQ(png.samples, frames[1]);
    }
}

TEST(ToolCli, DemoAndBenchReport) {
    ScratchDir dir;
    Outcome run = runTool("demo pictures --size 64x48 --threads 3", dir);
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

    run = runTool("bench --size 32x16 --min-time 0 --threads 3", dir);
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
    const std::string convertHelp = zelvora::commandHelp(zelvora::commandDef("convert"));
    const std::string version = zelvora::versionText() + "\n";
    // The line, the exit status, standard output and the start of standard error.
    const std::tuple<const char*, int, std::string, const char*> cases[] = {
        {"", 2, "", "usage: zelvora COMMAND"},
        {"help", 0, zelvora::usageText(), ""},
        {"help convert", 0, convertHelp, ""},
        {"convert in.raw --help", 0, convertHelp, ""},
        {"lsc apply -h", 0, zelvora::commandHelp(zelvora::commandDef("lsc apply")), ""},
        {"--version", 0, version, ""},
        {"version", 0, version, ""},
        {"help frobnicate", 2, "", "zelvora: unknown command 'frobnicate'"},
    };
    ScratchDir dir;
    for (const auto& [line, exitCode, out, errStarts] : cases) {
        SCOPED_TRACE(line);
        const Outcome run = runTool(line, dir);
        EXPECT_EQ(run.exitCode, exitCode);
        EXPECT_EQ(run.out, out);
        EXPECT_EQ(run.err.rfind(errStarts, 0), 0u) << run.err;
    }
    EXPECT_NE(version.find(PROJECT_VERSION), std::string::npos);
}

// The README shows every command's synopsis as the option list makes it.
TEST(ToolCli, ReadmeSynopsesMatchTheOptionList) {
    const auto collapse = [](const std::string& text) { return std::regex_replace(text, std::regex(R"(\s+)"), " "); };
    const std::string readme = collapse(tooltest::readText(ZELVORA_README));
    ASSERT_FALSE(readme.empty());
    for (const zelvora::CommandDef& command : zelvora::commandDefs())
        EXPECT_NE(readme.find(collapse(zelvora::synopsis(command))), std::string::npos) << zelvora::synopsis(command);
    EXPECT_NE(readme.find("Smallest frames"), std::string::npos);
}

// Frames are read one at a time and pictures written a row at a time: the
// peak resident size of converting four frames to BMP stays near one input
// frame plus one output frame (9 + 27 MB), far from the whole file. A
// conversion killed while it writes leaves no temporary file and dies of the
// signal (status 128 + N in a shell).
TEST(ToolCli, BigFramesMemoryAndSignals) {
    ScratchDir dir;
    Bytes frames(size_t{3000} * 3000 * 4);
    for (size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<uint8_t>((i * 2654435761u) >> 24);
    writeBytes(dir / "in.raw", frames);
    frames = {};
    const Outcome run = runTool("convert in.raw out.bmp --format BayerRG8 --size 3000x3000", dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
#if defined(__SANITIZE_ADDRESS__)
    constexpr long kLimit = 240 * 1024;  // the sanitizer's own bookkeeping on top
#else
    constexpr long kLimit = 90 * 1024;
#endif
    EXPECT_LT(run.peakKilobytes, kLimit);
    EXPECT_EQ(readBytes(dir / "out-0003.bmp").size(), 54u + 9000u * 3000u);
    const std::vector<std::string> files = dir.list();
    for (int number : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(number);
        const pid_t pid = tooltest::spawnTool("convert in.raw out.png --format BayerRG8 --size 3000x3000", dir);
        // .stdout, .stderr and the temporary out-0000.png.XXXXXX besides
        for (int waited = 0; dir.list().size() < files.size() + 3 && waited < 60000; ++waited) usleep(1000);
        ASSERT_EQ(dir.list().size(), files.size() + 3) << "the output never started";
        kill(pid, number);
        const Outcome killed = tooltest::finishTool(pid, dir);
        EXPECT_TRUE(WIFSIGNALED(killed.status) && WTERMSIG(killed.status) == number) << killed.status;
        EXPECT_EQ(dir.list(), files);
    }
}

// Raw output is the library's buffer byte for byte, read with the given
// stride; the frames of a file get numbers; several inputs go into a
// directory or through a pattern; --first and --count pick frames; standard
// input and output work.
TEST(ToolCli, FramesFilesAndStreams) {
    ScratchDir dir;
    const Bytes a = sceneFrame("BayerRG12Packed"), b(a.rbegin(), a.rend());
    Bytes aba = a, padded;
    aba.insert(aba.end(), b.begin(), b.end());
    aba.insert(aba.end(), a.begin(), a.end());
    for (auto row = a.begin(); row != a.end(); row += 96) {
        padded.insert(padded.end(), row, row + 96);
        padded.insert(padded.end(), 4, 0xEE);
    }
    writeBytes(dir / "a.raw", a);
    writeBytes(dir / "aba.raw", aba);
    writeBytes(dir / "padded.raw", padded);
    const auto rgba = [](const Bytes& frame) {
        return tooltest::libraryOutput(frame, ZEL_PIX_BAYER_RG12_PACKED, kW, kH, 96, ZEL_PIX_RGBA8, 4);
    };
    const std::string common = " --format BayerRG12Packed --size 64x48 --method nearest --layout rgba8";
    const Outcome run = runTool("convert aba.raw out.raw --frames 3" + common, dir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");  // no progress line when nobody watches
    EXPECT_EQ(readBytes(dir / "out-0000.raw"), rgba(a));
    EXPECT_EQ(readBytes(dir / "out-0001.raw"), rgba(b));
    ASSERT_EQ(runTool("convert padded.raw padded-out.raw --stride 100" + common, dir).exitCode, 0);
    EXPECT_EQ(readBytes(dir / "padded-out.raw"), rgba(a));
    ASSERT_EQ(runTool("convert a.raw aba.raw --out-dir pics --type raw" + common, dir).exitCode, 0);
    EXPECT_EQ(dir.list("pics"), (std::vector<std::string>{"a.raw", "aba-0000.raw", "aba-0001.raw", "aba-0002.raw"}));
    ASSERT_EQ(runTool("convert a.raw aba.raw p-%03d.raw" + common, dir).exitCode, 0);
    EXPECT_EQ(readBytes(dir / "p-002.raw"), rgba(b));
    ASSERT_EQ(runTool("convert aba.raw one.raw --first 1 --count 1" + common, dir).exitCode, 0);
    EXPECT_EQ(readBytes(dir / "one.raw"), rgba(b));
    EXPECT_EQ(dir.list(), (std::vector<std::string>{"a.raw", "aba.raw", "one.raw", "out-0000.raw", "out-0001.raw",
                                                    "out-0002.raw", "p-000.raw", "p-001.raw", "p-002.raw", "p-003.raw",
                                                    "padded-out.raw", "padded.raw", "pics"}));
    const Outcome piped = runTool("convert - - --type ppm" + common + " <aba.raw", dir);
    ASSERT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_EQ(piped.out.size(), 3 * (13 + 64 * 48 * 3u));
    EXPECT_EQ(piped.out.substr(0, 13), "P6\n64 48\n255\n");
}
