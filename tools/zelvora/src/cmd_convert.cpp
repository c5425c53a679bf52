// zelvora convert IN OUT --format NAME --size WxH [--stride BYTES]
//   [--method nearest|bilinear|edge] [--layout NAME] [--deep] [--frames N]
#include <unistd.h>

#include <cstdio>

#include "args.hpp"
#include "commands.hpp"
#include "deep.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "picture.hpp"
#include "rawinput.hpp"
#include "samples.hpp"
#include "writers.hpp"

namespace zelvora {
namespace {

constexpr OptionDef kOptions[] = {
    {"format"}, {"size"}, {"stride"}, {"method"}, {"layout"}, {"frames"}, {"deep", false},
};

struct Job {
    RawInput input;
    std::string outPath;
    FileKind kind;
    const OutputLayout* layout;
    const Method* method;
};

// One line that rewrites itself, only when someone is watching.
class Progress {
public:
    explicit Progress(int64_t total) : total_(total), shown_(total > 1 && isatty(STDOUT_FILENO) != 0) {}
    ~Progress() {
        if (shown_ && done_ > 0) std::printf("\n");
    }
    void step() {
        ++done_;
        if (!shown_) return;
        std::printf("\rframe %lld of %lld", static_cast<long long>(done_), static_cast<long long>(total_));
        std::fflush(stdout);
    }

private:
    int64_t total_;
    bool shown_;
    int64_t done_ = 0;
};

std::span<const uint8_t> littleEndianBytes(const std::vector<uint16_t>& samples, std::vector<uint8_t>& bytes) {
    bytes.resize(samples.size() * 2);
    for (size_t i = 0; i < samples.size(); ++i) {
        bytes[2 * i] = static_cast<uint8_t>(samples[i]);
        bytes[2 * i + 1] = static_cast<uint8_t>(samples[i] >> 8);
    }
    return bytes;
}

void convertEightBit(Job& job) {
    Handle handle;
    Diagnostics diagnostics;
    const ZelPixelType layoutCode = job.layout->code;
    checkStatus("zelDemosaicSetConfig",
                diagnostics.run([&] { return zelDemosaicSetConfig(handle.get(), &layoutCode); }), diagnostics);
    const Size size = job.input.size;
    std::vector<uint8_t> out(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
                             static_cast<size_t>(job.layout->bytesPerPixel));
    const std::string hint = "the library has no " + std::string(job.method->name) + " kernel for " +
                             std::string(job.layout->name) + " output yet";
    Progress progress(job.input.frames);
    for (int64_t i = 0; i < job.input.frames; ++i) {
        ZelImage in{size.height, size.width, job.input.format->code, job.input.frame(i),
                    static_cast<int32_t>(job.input.stride)};
        ZelImage result{0, 0, 0, out.data(), 0};
        const int32_t status =
            diagnostics.run([&] { return zelDemosaicing(handle.get(), &in, job.method->value, &result); });
        checkStatus("zelDemosaicing", status, diagnostics, hint);
        const std::string path = numberedPath(job.outPath, i, job.input.frames);
        if (job.kind == FileKind::Raw) {
            writeWholeFile(path, out);
        } else {
            writePicture(path, pictureFromLayout(out.data(), size.width, size.height, *job.layout), handle,
                         diagnostics);
        }
        progress.step();
    }
}

void convertDeep(Job& job) {
    const InputFormat& format = *job.input.format;
    const Size size = job.input.size;
    Handle handle;
    Diagnostics diagnostics;
    // The RG-order 16-bit edge-directed kernel limits its results to 12 bits
    // on purpose; deeper data comes out clipped.
    if (format.order == Order::RG && format.bits > 12 && job.method->value == ZEL_DEMOSAIC_EDGE)
        std::fprintf(stderr, "zelvora: note: the library's BayerRG 16-bit edge-directed kernel clips its results "
                             "to 4095\n");
    Progress progress(job.input.frames);
    std::vector<uint8_t> rawBytes;
    for (int64_t i = 0; i < job.input.frames; ++i) {
        const std::vector<uint16_t> samples =
            decodeSamples(job.input.frame(i), format, size.width, size.height, job.input.stride);
        Picture picture;
        std::vector<uint16_t> bgr;
        if (format.order == Order::Mono) {
            picture = Picture{size.width, size.height, 1, format.bits, samples};
        } else {
            bgr = demosaicDeep(samples, format.order, size.width, size.height, *job.method, diagnostics);
            picture = pictureFromBgr16(bgr.data(), size.width, size.height, format.bits);
        }
        const std::string path = numberedPath(job.outPath, i, job.input.frames);
        if (job.kind == FileKind::Raw) {
            writeWholeFile(path, littleEndianBytes(format.order == Order::Mono ? samples : bgr, rawBytes));
        } else {
            writePicture(path, picture, handle, diagnostics);
        }
        progress.step();
    }
}

}  // namespace

std::string numberedPath(const std::string& path, int64_t index, int64_t count) {
    if (count == 1) return path;
    const size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = path.size();
    char number[32];
    std::snprintf(number, sizeof number, "-%04lld", static_cast<long long>(index));
    return path.substr(0, dot) + number + path.substr(dot);
}

int runConvert(std::span<const std::string> words) {
    const Args args(words, kOptions);
    if (args.positional().size() != 2) throw UsageError("convert takes an input file and an output file");
    const std::string& inPath = args.positional()[0];
    const std::string& outPath = args.positional()[1];

    // Everything the command line decides is checked before the input is read.
    const InputFormat& format = findInputFormat(args.require("format"));
    parseSize(args.require("size"));
    const FileKind kind = fileKindOf(outPath);
    const Method& method = findMethod(args.value("method").value_or("bilinear"));
    const bool deep = args.has("deep");
    const OutputLayout* layout = nullptr;
    if (deep) {
        if (args.has("layout")) throw UsageError("--deep writes 16-bit B, G, R samples; --layout does not apply");
        if (format.bits == 8) throw UsageError("--deep needs samples of more than 8 bits; " +
                                               std::string(format.name) + " has 8");
        if (kind == FileKind::Bmp) throw UsageError("BMP holds 8-bit samples; write PNG or PPM with --deep");
        if (kind == FileKind::Pgm && format.order != Order::Mono)
            throw UsageError("PGM holds grey pictures; write PNG or PPM for colour");
        if (format.order != Order::Mono) {
            if (const std::string why = deepRefusal(format.order, method); !why.empty()) throw UsageError(why);
        }
    } else {
        layout = &findOutputLayout(args.value("layout").value_or(kind == FileKind::Pgm ? "mono8" : "bgr8"));
        if (kind == FileKind::Pgm && layout->code != ZEL_PIX_MONO8)
            throw UsageError("PGM holds grey pictures: use --layout mono8, or write PPM or PNG");
    }

    Job job{loadRawInput(inPath, args), outPath, kind, layout, &method};
    if (deep) {
        convertDeep(job);
    } else {
        convertEightBit(job);
    }
    return 0;
}

}  // namespace zelvora
