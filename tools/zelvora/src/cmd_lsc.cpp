// zelvora lsc calibrate | apply: lens-shading tables from grey and dark
// reference frames, and their application to raw frames.
//
//   lsc calibrate --format NAME --size WxH [--stride BYTES] --grey FILE...
//                 --dark FILE... [--mode block|pixel] --out TABLE
//   lsc apply TABLE IN OUT --format NAME --size WxH [--stride BYTES] [--frames N]
//
// A table file holds the library's ZelLSCTable words as they are in memory
// on a little-endian machine: mode, height, width, then the entries.
#include <cstring>

#include "args.hpp"
#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "rawinput.hpp"
#include "rawio.hpp"
#include "samples.hpp"

namespace zelvora {
namespace {

constexpr OptionDef kCalibrateOptions[] = {
    {"format"}, {"size"}, {"stride"}, {"grey", true, true}, {"dark", true, true}, {"mode"}, {"out"},
};
constexpr OptionDef kApplyOptions[] = {{"format"}, {"size"}, {"stride"}, {"frames"}};

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
std::vector<float> averageFrames(const std::vector<std::string>& paths, const InputFormat& format, Size size,
                                 std::optional<int64_t> stride, const char* what) {
    if (paths.empty()) throw UsageError(std::string("lsc calibrate needs at least one --") + what + " file");
    const size_t n = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    std::vector<double> sum;
    int64_t count = 0;
    for (const std::string& path : paths) {
        // Each file may hold several frames; they all count.
        RawInput input = loadAllFrames(path, format, size, stride);
        // Only a file that holds frames of this size justifies the sums.
        sum.resize(n, 0.0);
        for (int64_t f = 0; f < input.frames; ++f) {
            const std::vector<uint16_t> samples =
                decodeSamples(input.frame(f), format, size.width, size.height, input.stride);
            for (size_t i = 0; i < n; ++i) sum[i] += samples[i];
            ++count;
        }
    }
    std::vector<float> mean(n);
    for (size_t i = 0; i < n; ++i) mean[i] = static_cast<float>(sum[i] / static_cast<double>(count));
    return mean;
}

int calibrate(std::span<const std::string> words) {
    const Args args(words, kCalibrateOptions);
    if (!args.positional().empty()) throw UsageError("lsc calibrate takes its files as --grey, --dark and --out");
    const InputFormat& format = findInputFormat(args.require("format"));
    requireShadingDepth(format);
    const Size size = parseSize(args.require("size"));
    std::optional<int64_t> stride;
    if (auto s = args.value("stride")) stride = parsePositive(*s, "stride");
    const std::string modeName = args.value("mode").value_or("block");
    if (modeName != "block" && modeName != "pixel") throw UsageError("--mode is block or pixel, not '" + modeName + "'");
    const std::string outPath = args.require("out");

    const std::vector<float> grey = averageFrames(args.values("grey"), format, size, stride, "grey");
    const std::vector<float> dark = averageFrames(args.values("dark"), format, size, stride, "dark");
    const uint32_t mode = modeName == "pixel" ? 1 : 0;
    const ZelLSCInput input{mode, static_cast<uint32_t>(format.bits), size.width, size.height, grey.data(),
                            dark.data()};
    std::vector<uint32_t> words32(kHeaderWords + static_cast<size_t>(entryCount(mode, size.height, size.width)));
    auto* table = reinterpret_cast<ZelLSCTable*>(words32.data());
    Diagnostics diagnostics;
    checkStatus("zelGetLSCParameter", diagnostics.run([&] { return zelGetLSCParameter(&input, table); }),
                diagnostics);
    std::vector<uint8_t> bytes(words32.size() * 4);
    for (size_t i = 0; i < words32.size(); ++i)
        for (int b = 0; b < 4; ++b) bytes[4 * i + static_cast<size_t>(b)] = static_cast<uint8_t>(words32[i] >> (8 * b));
    writeWholeFile(outPath, bytes);
    return 0;
}

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

int apply(std::span<const std::string> words) {
    const Args args(words, kApplyOptions);
    if (args.positional().size() != 3) throw UsageError("lsc apply takes a table, an input file and an output file");
    const std::string& tablePath = args.positional()[0];
    const std::string& inPath = args.positional()[1];
    const std::string& outPath = args.positional()[2];
    const InputFormat& format = findInputFormat(args.require("format"));
    requireShadingDepth(format);

    std::vector<uint32_t> tableWords = readTable(tablePath);
    const auto* table = reinterpret_cast<const ZelLSCTable*>(tableWords.data());
    RawInput input = loadRawInput(inPath, args);
    const Size size = input.size;
    // The library reads rows of samples without gaps, one byte each at 8 bits
    // and 16-bit containers above; packed frames are corrected unpacked.
    const InputFormat& working =
        format.packing == Packing::Packed ? inputFormatFor(format.order, format.bits, Packing::Words) : format;
    Diagnostics diagnostics;
    std::vector<uint8_t> out;
    for (int64_t f = 0; f < input.frames; ++f) {
        const std::vector<uint16_t> samples =
            decodeSamples(input.frame(f), format, size.width, size.height, input.stride);
        std::vector<uint8_t> frame = encodeSamples(samples, working, size.width, size.height);
        ZelImage image{size.height, size.width, working.code, frame.data(), static_cast<int32_t>(rowBytes(working, size.width))};
        checkStatus("zelLSCorrection", diagnostics.run([&] { return zelLSCorrection(&image, &image, table); }),
                    diagnostics);
        if (&working != &format) {
            const std::vector<uint16_t> corrected =
                decodeSamples(frame.data(), working, size.width, size.height, rowBytes(working, size.width));
            frame = encodeSamples(corrected, format, size.width, size.height);
        }
        out.insert(out.end(), frame.begin(), frame.end());
    }
    writeWholeFile(outPath, out);
    return 0;
}

}  // namespace

int runLsc(std::span<const std::string> words) {
    if (!words.empty() && words[0] == "calibrate") return calibrate(words.subspan(1));
    if (!words.empty() && words[0] == "apply") return apply(words.subspan(1));
    throw UsageError("lsc takes 'calibrate' or 'apply'");
}

}  // namespace zelvora
