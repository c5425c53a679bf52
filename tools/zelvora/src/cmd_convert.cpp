// zelvora convert IN... [OUT]: raw frames to pictures through
// zelDemosaicingRows on every thread (or the 16-bit kernels with --deep), one
// frame in memory at a time.
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "args.hpp"
#include "bands.hpp"
#include "cli.hpp"
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

// One line on standard error that rewrites itself, only when someone watches.
class Progress {
public:
    Progress(bool wanted, size_t files) : files_(files), shown_(wanted && isatty(STDERR_FILENO) != 0) {}
    ~Progress() {
        if (drawn_) std::fprintf(stderr, "\n");
    }
    void step(size_t file, int64_t frame, std::optional<int64_t> frames) {
        if (!shown_ || (files_ == 1 && frames == 1)) return;
        std::string line = "\r";
        if (files_ > 1) line += "file " + std::to_string(file + 1) + " of " + std::to_string(files_) + ", ";
        line += "frame " + std::to_string(frame + 1);
        if (frames) line += " of " + std::to_string(*frames);
        std::fputs(line.c_str(), stderr);
        std::fflush(stderr);
        drawn_ = true;
    }

private:
    size_t files_;
    bool shown_;
    bool drawn_ = false;
};

// Where each frame goes: OUT (numbered when an input holds several frames),
// a pattern counted over every frame, or a file in --out-dir named after
// its input.
class Naming {
public:
    Naming(std::string out, std::optional<std::string> dir, FileKind kind, size_t inputs)
        : out_(std::move(out)), dir_(std::move(dir)), kind_(kind) {
        if (!dir_ && out_ != "-" && out_.find('%') != std::string::npos) {
            pattern_ = true;
            checkPattern(out_);
        }
        if (inputs > 1 && !dir_ && !pattern_ && out_ != "-")
            throw UsageError("several inputs need --out-dir DIR or an output pattern such as out-%04d.png");
    }
    std::string path(const std::string& input, int64_t frame, std::optional<int64_t> frames) {
        const int64_t index = counter_++;
        if (pattern_) {
            char name[4096];
            std::snprintf(name, sizeof name, out_.c_str(), static_cast<int>(index));
            return name;
        }
        if (out_ == "-" && !dir_) return out_;
        const int64_t count = frames.value_or(0);  // 0: unknown, numbered
        if (!dir_) return numberedPath(out_, frame, count);
        const std::string stem = input == "-" ? "stdin" : std::filesystem::path(input).stem().string();
        return numberedPath((std::filesystem::path(*dir_) / (stem + "." + std::string(fileKindExtension(kind_)))).string(),
                            frame, count);
    }

private:
    // One %d conversion, with an optional 0 flag and width; %% for a percent sign.
    static void checkPattern(const std::string& pattern) {
        int conversions = 0;
        for (size_t i = 0; i < pattern.size(); ++i) {
            if (pattern[i] != '%') continue;
            if (i + 1 < pattern.size() && pattern[i + 1] == '%') {
                ++i;
                continue;
            }
            size_t j = i + 1;
            while (j < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[j])) != 0 && j - i < 4) ++j;
            if (j >= pattern.size() || pattern[j] != 'd')
                throw UsageError("output pattern '" + pattern + "' may hold one %d (such as %04d) and %%, nothing else");
            ++conversions;
            i = j;
        }
        if (conversions != 1) throw UsageError("output pattern '" + pattern + "' needs exactly one %d");
    }
    std::string out_;
    std::optional<std::string> dir_;
    FileKind kind_;
    bool pattern_ = false;
    int64_t counter_ = 0;
};

std::string sizeRule(std::string_view what, int32_t least, Size size) {
    const std::string n = std::to_string(least);
    return std::string(what) + " needs at least " + n + "x" + n + "; the frame is " + std::to_string(size.width) +
           "x" + std::to_string(size.height);
}

struct Job {
    FrameGeometry geometry;
    FrameSelection selection;
    const Method* method;
    const OutputLayout* layout;  // null with --deep
    FileKind kind;
    Tone tone;
    int threads;
};

// The library's 8-bit demosaicing of one frame, in bands of rows on every
// thread: the one place a frame meets the library's demosaicing.
class Demosaicer {
public:
    Demosaicer(const Job& job) : job_(job), runner_(job.threads) {
        const ZelPixelType code = job.layout->code;
        checkStatus("zelDemosaicSetConfig", diagnostics_.run([&] { return runner_.setLayout(code); }), diagnostics_);
        const Size size = job.geometry.size;
        out_.resize(static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
                    static_cast<size_t>(job.layout->bytesPerPixel));
        const bool mono = job.geometry.format->order == Order::Mono;
        const bool edge = job.method->value == ZEL_DEMOSAIC_EDGE && !mono;
        rule_ = sizeRule(edge ? "edge-directed" : job.method->name, edge ? 6 : 4, size);
        hint_ = "the library has no " + std::string(job.method->name) + " kernel for " +
                std::string(job.layout->name) + " output yet";
    }

    const std::vector<uint8_t>& run(uint8_t* frame) {
        const FrameGeometry& g = job_.geometry;
        ZelImage in{g.size.height, g.size.width, g.format->code, frame, static_cast<int32_t>(g.stride)};
        ZelImage result{0, 0, 0, out_.data(), 0};
        const int32_t status = diagnostics_.run([&] { return runner_.demosaic(in, job_.method->value, result); });
        checkStatus("zelDemosaicingRows", status, diagnostics_, hint_, rule_);
        return out_;
    }
    Handle& handle() { return handle_; }
    Diagnostics& diagnostics() { return diagnostics_; }

private:
    const Job& job_;
    BandRunner runner_;
    Handle handle_;  // for BMP rows
    Diagnostics diagnostics_;
    std::vector<uint8_t> out_;
    std::string rule_;
    std::string hint_;
};

void writeLittleEndian(const std::string& path, const std::vector<uint16_t>& samples) {
    std::vector<uint8_t> bytes(samples.size() * 2);
    for (size_t i = 0; i < samples.size(); ++i) {
        bytes[2 * i] = static_cast<uint8_t>(samples[i]);
        bytes[2 * i + 1] = static_cast<uint8_t>(samples[i] >> 8);
    }
    writeWholeFile(path, bytes);
}

void convertFile(const Job& job, const std::string& input, size_t file, Naming& naming, Progress& progress) {
    FrameSource source(input, job.geometry, job.selection);
    const Size size = job.geometry.size;
    const InputFormat& format = *job.geometry.format;
    std::optional<Demosaicer> demosaicer;
    Handle handle;  // for BMP rows with --deep
    Diagnostics diagnostics;
    if (job.layout != nullptr) demosaicer.emplace(job);
    std::vector<uint16_t> bgr;
    for (uint8_t* frame = source.next(); frame != nullptr; frame = source.next()) {
        const int64_t index = source.delivered() - 1;
        const std::string path = naming.path(input, index, source.total());
        if (demosaicer) {
            const std::vector<uint8_t>& out = demosaicer->run(frame);
            if (job.kind == FileKind::Raw) {
                writeWholeFile(path, out);
            } else {
                const Picture picture = pictureFromLayout(out.data(), size.width, size.height, *job.layout);
                writePicture(path, job.kind, toned(picture, job.tone), demosaicer->handle(),
                             demosaicer->diagnostics());
            }
        } else {
            const std::vector<uint16_t> samples =
                decodeSamples(frame, format, size.width, size.height, job.geometry.stride);
            Picture picture;
            if (format.order == Order::Mono) {
                picture = pictureFromSamples(samples.data(), size.width, size.height, 1, format.bits);
            } else {
                const int32_t least = job.method->value == ZEL_DEMOSAIC_EDGE ? 8 : 4;
                if (size.width < least || size.height < least)
                    throw Failure(sizeRule(std::string(job.method->value == ZEL_DEMOSAIC_EDGE ? "edge-directed"
                                                                                              : "bilinear") +
                                               " --deep",
                                           least, size));
                bgr = demosaicDeep(samples, format.order, size.width, size.height, *job.method, diagnostics);
                picture = pictureFromBgr16(bgr.data(), size.width, size.height, format.bits);
            }
            if (job.kind == FileKind::Raw) {
                writeLittleEndian(path, format.order == Order::Mono ? samples : bgr);
            } else {
                writePicture(path, job.kind, toned(picture, job.tone), handle, diagnostics);
            }
        }
        progress.step(file, index, source.total());
    }
}

}  // namespace

std::string numberedPath(const std::string& path, int64_t index, int64_t count) {
    if (count == 1 || path == "-") return path;
    const size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = path.size();
    char number[32];
    std::snprintf(number, sizeof number, "-%04lld", static_cast<long long>(index));
    return path.substr(0, dot) + number + path.substr(dot);
}

int runConvert(std::span<const std::string> words) {
    const Args args(words, commandDef("convert").options);
    std::vector<std::string> inputs = args.positional();
    const std::optional<std::string> outDir = args.value("out-dir");
    std::string out = "-";
    if (!outDir) {
        if (inputs.size() < 2) throw UsageError("convert takes input files and an output file (or --out-dir DIR)");
        out = inputs.back();
        inputs.pop_back();
    } else if (inputs.empty()) {
        throw UsageError("convert takes input files");
    }

    // Everything the command line decides is checked before any input is read.
    Job job{geometryFrom(args), selectionFrom(args), &findMethod(args.value("method").value_or("bilinear")), nullptr,
            FileKind::Png, {}, threadsFrom(args)};
    const InputFormat& format = *job.geometry.format;
    if (const auto type = args.value("type")) {
        job.kind = fileKindNamed(*type);
        // A name must not promise another format than its contents.
        const auto named = outDir ? std::nullopt : fileKindByExtension(out);
        if (named && *named != job.kind) throw UsageError("--type " + *type + " disagrees with the name '" + out + "'");
    } else if (!outDir && out != "-") {
        job.kind = fileKindOf(out);
    }
    const auto whiteBalance = args.value("white-balance");
    const auto gamma = args.value("gamma");
    job.tone = parseTone(whiteBalance ? &*whiteBalance : nullptr, gamma ? &*gamma : nullptr);
    if (job.tone.active() && job.kind == FileKind::Raw)
        throw UsageError("raw output holds the library's own bytes; --white-balance and --gamma apply to pictures");
    if (args.has("deep")) {
        if (args.has("layout")) throw UsageError("--deep writes 16-bit B, G, R samples; --layout does not apply");
        if (format.bits == 8) throw UsageError("--deep needs samples of more than 8 bits; " +
                                               std::string(format.name) + " has 8");
        if (job.kind == FileKind::Bmp) throw UsageError("BMP holds 8-bit samples; write PNG, TIFF or PPM with --deep");
        if (job.kind == FileKind::Pgm && format.order != Order::Mono)
            throw UsageError("PGM holds grey pictures; write PNG, TIFF or PPM for colour");
        if (format.order != Order::Mono) {
            if (const std::string why = deepRefusal(format.order, *job.method); !why.empty()) throw UsageError(why);
        }
    } else {
        const bool grey = job.kind == FileKind::Pgm || format.order == Order::Mono;
        job.layout = &findOutputLayout(args.value("layout").value_or(grey ? "mono8" : "bgr8"));
        if (job.kind == FileKind::Pgm && job.layout->code != ZEL_PIX_MONO8)
            throw UsageError("PGM holds grey pictures: use --layout mono8, or write PPM or PNG");
    }
    if (job.kind == FileKind::Tiff && out == "-" && !outDir)
        throw UsageError("TIFF cannot be written to standard output; write PNG or PPM");

    Naming naming(out, outDir, job.kind, inputs.size());
    if (outDir) {
        std::error_code error;
        std::filesystem::create_directories(*outDir, error);
        if (error) throw Failure("cannot create directory '" + *outDir + "': " + error.message());
    }
    Progress progress(!args.has("quiet"), inputs.size());
    for (size_t i = 0; i < inputs.size(); ++i) convertFile(job, inputs[i], i, naming, progress);
    return 0;
}

}  // namespace zelvora
