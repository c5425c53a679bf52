// zelvora lsc calibrate | apply: lens-shading tables from grey and dark
// reference frames, and their application to raw frames.
//
//   lsc calibrate --format NAME --size WxH [--stride BYTES] --grey FILE...
//                 --dark FILE... [--mode block|pixel] --out TABLE
//   lsc apply TABLE IN OUT --format NAME --size WxH [--stride BYTES] [--frames N]
//
// A table file holds the library's ZelLSCTable words as they are in memory
// on a little-endian machine: mode, height, width, then the entries.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "args.hpp"
#include "cli.hpp"
#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "rawinput.hpp"
#include "rawio.hpp"
#include "samples.hpp"
#include "writers.hpp"

namespace zelvora {
namespace {

constexpr size_t kHeaderWords = 3;

// Shading works on 8, 10 and 12-bit samples; the library keeps the depth in
// the table's offsets.
void requireShadingDepth(const InputFormat& format) {
    if (format.bits != 8 && format.bits != 10 && format.bits != 12)
        throw UsageError("lens shading works on 8, 10 and 12-bit samples; " + std::string(format.name) + " has " +
                         std::to_string(format.bits));
}

// Entries a table of this mode and size holds.
int64_t entryCount(uint32_t mode, int64_t height, int64_t width) {
    return mode == 1 ? height * width : (height / 2) * (width / 2);
}

// The mean of every frame in every file, sample by sample, in the sample
// units of the format (0..4095 for 12 bits).
std::vector<float> averageFrames(const std::vector<std::string>& paths, const FrameGeometry& geometry) {
    const Size size = geometry.size;
    const size_t n = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    std::vector<double> sum;
    int64_t count = 0;
    for (const std::string& path : paths) {
        // Each file may hold several frames; they all count.
        FrameSource source(path, geometry);
        // Only a file that holds frames of this size justifies the sums.
        sum.resize(n, 0.0);
        for (const uint8_t* frame = source.next(); frame != nullptr; frame = source.next()) {
            const std::vector<uint16_t> samples =
                decodeSamples(frame, *geometry.format, size.width, size.height, geometry.stride);
            for (size_t i = 0; i < n; ++i) sum[i] += samples[i];
            ++count;
        }
    }
    std::vector<float> mean(n);
    for (size_t i = 0; i < n; ++i) mean[i] = static_cast<float>(sum[i] / static_cast<double>(count));
    return mean;
}

double meanOf(const std::vector<float>& values) {
    double sum = 0;
    for (float v : values) sum += v;
    return values.empty() ? 0.0 : sum / static_cast<double>(values.size());
}

std::string figure(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// A flat field must stand clearly above the dark level, or every gain comes
// out 0 (grey not above dark) or meaningless: refuse with the figures. Entries
// of gain 0 or at the cap in an otherwise sound table are only worth a warning.
void checkCalibration(const std::vector<float>& grey, const std::vector<float>& dark, const InputFormat& format,
                      const std::vector<uint32_t>& words32) {
    const double fullScale = static_cast<double>((1u << format.bits) - 1u);
    const double greyMean = meanOf(grey);
    const double darkMean = meanOf(dark);
    uint32_t least = UINT32_MAX;
    uint32_t most = 0;
    size_t zero = 0;
    size_t capped = 0;
    for (size_t i = kHeaderWords; i < words32.size(); ++i) {
        const uint32_t gain = words32[i] >> 12;
        least = std::min(least, gain);
        most = std::max(most, gain);
        zero += gain == 0;
        capped += gain == 0xFFFFF;
    }
    const size_t entries = words32.size() - kHeaderWords;
    const std::string figures = "grey frames average " + figure(greyMean, 1) + " and dark frames " +
                                figure(darkMean, 1) + " (of " + figure(fullScale, 0) + "); the gains range " +
                                figure(least / 131072.0, 3) + " to " + figure(most / 131072.0, 3);
    if (greyMean - darkMean < fullScale / 32)
        throw Failure("implausible calibration, no table written: the flat field is not clearly brighter than the "
                      "dark frames: " + figures);
    if (zero > 0 || capped > 0)
        std::fprintf(stderr, "zelvora: warning: %zu of %zu entries have gain 0 (grey not above dark: corrected to "
                             "black) and %zu the largest gain; %s\n",
                     zero, entries, capped, figures.c_str());
}

}  // namespace

int runLscCalibrate(std::span<const std::string> words) {
    const Args args(words, commandDef("lsc calibrate").options);
    if (!args.positional().empty()) throw UsageError("lsc calibrate takes its files as --grey, --dark and --out");
    const InputFormat& format = findInputFormat(args.require("format"));
    requireShadingDepth(format);
    const FrameGeometry geometry = geometryFrom(args);
    const Size size = geometry.size;
    const std::string modeName = args.value("mode").value_or("block");
    if (modeName != "block" && modeName != "pixel") throw UsageError("--mode is block or pixel, not '" + modeName + "'");
    const std::string outPath = args.require("out");
    for (const char* what : {"grey", "dark"})
        if (args.values(what).empty()) throw UsageError(std::string("lsc calibrate needs at least one --") + what + " file");

    const std::vector<float> grey = averageFrames(args.values("grey"), geometry);
    const std::vector<float> dark = averageFrames(args.values("dark"), geometry);
    const uint32_t mode = modeName == "pixel" ? 1 : 0;
    const ZelLSCInput input{mode, static_cast<uint32_t>(format.bits), size.width, size.height, grey.data(),
                            dark.data()};
    std::vector<uint32_t> words32(kHeaderWords + static_cast<size_t>(entryCount(mode, size.height, size.width)));
    auto* table = reinterpret_cast<ZelLSCTable*>(words32.data());
    Diagnostics diagnostics;
    checkStatus("zelGetLSCParameter", diagnostics.run([&] { return zelGetLSCParameter(&input, table); }),
                diagnostics, {},
                "lens-shading frames must have even sizes of at least 32x32; the frames are " +
                    std::to_string(size.width) + "x" + std::to_string(size.height));
    checkCalibration(grey, dark, format, words32);
    std::vector<uint8_t> bytes(words32.size() * 4);
    for (size_t i = 0; i < words32.size(); ++i)
        for (int b = 0; b < 4; ++b) bytes[4 * i + static_cast<size_t>(b)] = static_cast<uint8_t>(words32[i] >> (8 * b));
    writeWholeFile(outPath, bytes);
    return 0;
}

namespace {

// The table file as words, checked against its own header.
std::vector<uint32_t> readTable(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path);
    if (bytes.size() < 4 * kHeaderWords || bytes.size() % 4 != 0)
        throw Failure("'" + path + "' is not a shading table (" + std::to_string(bytes.size()) + " bytes)");
    std::vector<uint32_t> words32(bytes.size() / 4);
    for (size_t i = 0; i < words32.size(); ++i)
        for (int b = 0; b < 4; ++b) words32[i] |= static_cast<uint32_t>(bytes[4 * i + static_cast<size_t>(b)]) << (8 * b);
    const uint32_t mode = words32[0];
    const auto height = static_cast<int32_t>(words32[1]);
    const auto width = static_cast<int32_t>(words32[2]);
    // A mode the library does not know is left for it to refuse.
    if (mode <= 1 && (height < 0 || width < 0 ||
                      static_cast<int64_t>(words32.size() - kHeaderWords) != entryCount(mode, height, width)))
        throw Failure("'" + path + "' is not a shading table: a mode " + std::to_string(mode) + " table of " +
                      std::to_string(width) + "x" + std::to_string(height) + " holds " +
                      std::to_string(entryCount(mode, height, width)) + " entries, the file " +
                      std::to_string(words32.size() - kHeaderWords));
    return words32;
}

}  // namespace

int runLscApply(std::span<const std::string> words) {
    const Args args(words, commandDef("lsc apply").options);
    if (args.positional().size() != 3) throw UsageError("lsc apply takes a table, an input file and an output file");
    const std::string& tablePath = args.positional()[0];
    const std::string& inPath = args.positional()[1];
    const std::string& outPath = args.positional()[2];
    const FrameGeometry geometry = geometryFrom(args);
    const InputFormat& format = *geometry.format;
    requireShadingDepth(format);
    const FileKind kind = fileKindOf(outPath);
    if (kind == FileKind::Bmp || kind == FileKind::Ppm)
        throw UsageError("lsc apply writes raw frames (.raw, .bin) or grey pictures of the mosaic (.png, .tif, .pgm)");

    std::vector<uint32_t> tableWords = readTable(tablePath);
    const auto* table = reinterpret_cast<const ZelLSCTable*>(tableWords.data());
    FrameSource source(inPath, geometry, selectionFrom(args));
    const Size size = geometry.size;
    const std::string rule = "the table fits frames of " + std::to_string(table->width) + "x" +
                             std::to_string(table->height) + "; the frame is " + std::to_string(size.width) + "x" +
                             std::to_string(size.height);
    // The library reads rows of samples without gaps, one byte each at 8 bits
    // and 16-bit containers above; packed frames are corrected unpacked.
    const InputFormat& working =
        format.packing == Packing::Packed ? inputFormatFor(format.order, format.bits, Packing::Words) : format;
    Diagnostics diagnostics;
    Handle handle;
    std::optional<OutputFile> raw;
    if (kind == FileKind::Raw) raw.emplace(outPath);
    for (const uint8_t* input = source.next(); input != nullptr; input = source.next()) {
        const std::vector<uint16_t> samples = decodeSamples(input, format, size.width, size.height, geometry.stride);
        std::vector<uint8_t> frame = encodeSamples(samples, working, size.width, size.height);
        ZelImage image{size.height, size.width, working.code, frame.data(),
                       static_cast<int32_t>(rowBytes(working, size.width))};
        checkStatus("zelLSCorrection", diagnostics.run([&] { return zelLSCorrection(&image, &image, table); }),
                    diagnostics, {}, rule);
        const std::vector<uint16_t> corrected =
            decodeSamples(frame.data(), working, size.width, size.height, rowBytes(working, size.width));
        if (raw) {
            raw->write(&working != &format ? encodeSamples(corrected, format, size.width, size.height) : frame);
        } else {
            const Picture picture = pictureFromSamples(corrected.data(), size.width, size.height, 1, format.bits);
            writePicture(numberedPath(outPath, source.delivered() - 1, source.total().value_or(0)), kind, picture,
                         handle, diagnostics);
        }
    }
    if (raw) raw->commit();
    return 0;
}

int runLsc(std::span<const std::string> words) {
    if (!words.empty() && words[0] == "calibrate") return runLscCalibrate(words.subspan(1));
    if (!words.empty() && words[0] == "apply") return runLscApply(words.subspan(1));
    throw UsageError("lsc takes 'calibrate' or 'apply'");
}

}  // namespace zelvora
