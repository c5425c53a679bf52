// zelvora bench [--size WxH] [--min-time SECONDS] [--threads N]: megapixels
// per second of every method and layout for 8-bit and 16-bit input, of the
// 16-bit kernels, of each method on one thread and on N, and of OpenCV's
// Bayer conversions when the build found OpenCV.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>

#include "args.hpp"
#include "bands.hpp"
#include "cli.hpp"
#include "commands.hpp"
#include "deep.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "scene.hpp"
#include "opencv_module.hpp"
#include "samples.hpp"

namespace zelvora {
namespace {

// Runs call at least three times and for at least minTime in all, keeping
// the shortest time of one call in best (the least disturbed measurement on
// a busy machine); returns the time spent.
template <typename Call>
double timeCalls(Call&& call, double minTime, double& best) {
    using Clock = std::chrono::steady_clock;
    double total = 0;
    for (int runs = 0; runs < 3 || total < minTime; ++runs) {
        const auto start = Clock::now();
        call();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, seconds);
        total += seconds;
    }
    return total;
}

template <typename Call>
double bestSeconds(Call&& call, double minTime) {
    double best = 1e30;
    timeCalls(call, minTime, best);
    return best;
}

// The shortest times of two calls measured in turn, in blocks of calls
// lasting a few milliseconds, so that both see the same load on a busy
// machine and each its steady state: band workers awake for the second, and
// asleep again for the first.
template <typename CallA, typename CallB>
std::pair<double, double> bestSecondsInTurn(CallA&& a, CallB&& b, double minTime) {
    constexpr double kBlock = 0.005;
    std::pair<double, double> best{1e30, 1e30};
    double total = 0;
    for (int rounds = 0; rounds < 3 || total < 2 * minTime; ++rounds) {
        total += timeCalls(a, kBlock, best.first);
        total += timeCalls(b, kBlock, best.second);
    }
    return best;
}

struct Bench {
    Size size;
    double minTime;
    int threads;
    double megapixels() const { return static_cast<double>(size.width) * size.height / 1e6; }
    double rate(double seconds) const { return megapixels() / seconds; }
};

void printRate(std::optional<double> rate) {
    if (rate) {
        std::printf(" %9.1f", *rate);
    } else {
        std::printf(" %9s", "n/a");
    }
}

// zelDemosaicing's rate for one input format, by layout and method; n/a where
// the library refuses. Returns the BGR8 rate of each method.
std::map<int32_t, double> benchEntry(const Bench& bench, const InputFormat& format, const std::vector<uint8_t>& raw,
                                     const char* title) {
    Handle handle;
    Diagnostics diagnostics;
    std::vector<uint8_t> out(static_cast<size_t>(bench.size.width) * static_cast<size_t>(bench.size.height) * 4);
    std::vector<uint8_t> input = raw;
    const auto stride = static_cast<int32_t>(rowBytes(format, bench.size.width));
    std::map<int32_t, double> bgr8;
    std::printf("\n%s\n%-13s", title, "layout");
    for (const Method& method : methods()) std::printf(" %9s", std::string(method.name).c_str());
    std::printf("\n");
    for (const OutputLayout& layout : outputLayouts()) {
        const ZelPixelType code = layout.code;
        checkStatus("zelDemosaicSetConfig", diagnostics.run([&] { return zelDemosaicSetConfig(handle.get(), &code); }),
                    diagnostics);
        std::printf("%-13s", std::string(layout.name).c_str());
        for (const Method& method : methods()) {
            ZelImage in{bench.size.height, bench.size.width, format.code, input.data(), stride};
            ZelImage result{0, 0, 0, out.data(), 0};
            const auto call = [&] { return zelDemosaicing(handle.get(), &in, method.value, &result); };
            std::optional<double> rate;
            if (diagnostics.run(call) == ZEL_OK) rate = bench.rate(bestSeconds(call, bench.minTime));
            if (rate && layout.code == ZEL_PIX_BGR8) bgr8[method.value] = *rate;
            printRate(rate);
            std::fflush(stdout);
        }
        std::printf("\n");
    }
    return bgr8;
}

// Each method into BGR8, the frame cut into bands of rows: on one thread
// and on bench.threads, with the ratio of the two speeds.
void benchThreads(const Bench& bench, const InputFormat& format, const std::vector<uint8_t>& raw) {
    BandRunner one(1);
    BandRunner many(bench.threads);
    Diagnostics diagnostics;
    for (BandRunner* runner : {&one, &many})
        checkStatus("zelDemosaicSetConfig", diagnostics.run([&] { return runner->setLayout(ZEL_PIX_BGR8); }),
                    diagnostics);
    std::vector<uint8_t> out(static_cast<size_t>(bench.size.width) * static_cast<size_t>(bench.size.height) * 3);
    // zelDemosaicingRows never writes its input.
    const ZelImage in{bench.size.height, bench.size.width, format.code, const_cast<uint8_t*>(raw.data()),
                      static_cast<int32_t>(rowBytes(format, bench.size.width))};
    const std::string label = std::to_string(bench.threads) + (bench.threads == 1 ? " thread" : " threads");
    std::printf("\nzelDemosaicingRows, %s input to bgr8, in bands of rows\n%-13s %9s %9s %9s\n",
                std::string(format.name).c_str(), "method", "1 thread", label.c_str(), "ratio");
    for (const Method& method : methods()) {
        ZelImage result{0, 0, 0, out.data(), 0};
        const auto run = [&](BandRunner& runner) { return runner.demosaic(in, method.value, result); };
        std::printf("%-13s", std::string(method.name).c_str());
        if (diagnostics.run([&] { return run(one) != ZEL_OK ? 1 : run(many); }) != ZEL_OK) {
            std::printf(" %9s\n", "n/a");
            continue;
        }
        const auto [single, parallel] = bestSecondsInTurn([&] { run(one); }, [&] { run(many); }, bench.minTime);
        std::printf(" %9.1f %9.1f %8.2fx\n", bench.rate(single), bench.rate(parallel), single / parallel);
        std::fflush(stdout);
    }
}

// The OpenCV comparison module: beside the program (in the build tree), or
// where it is installed relative to it; null when absent.
const ZelvoraOpenCvModule* loadOpenCvModule() {
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return nullptr;
    self[n] = '\0';
    std::string dir(self);
    dir.resize(dir.rfind('/') + 1);
    for (const std::string& path : {dir + "zelvora-opencv.so", dir + ZELVORA_MODULE_DIR "/zelvora-opencv.so"}) {
        if (void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
            if (const auto* entry = static_cast<const ZelvoraOpenCvModule*>(dlsym(module, "zelvoraOpenCvModule")))
                return entry;
            dlclose(module);
        }
    }
    return nullptr;
}

void benchOpenCv(const ZelvoraOpenCvModule& cv, const Bench& bench, const std::vector<uint8_t>& raw8,
                 const std::vector<uint16_t>& raw16, const std::map<int32_t, double>& zel8,
                 std::optional<double> zelDeepBilinear, std::optional<double> zelDeepEdge) {
    const int w = bench.size.width;
    const int h = bench.size.height;
    std::vector<uint16_t> dst(static_cast<size_t>(w) * static_cast<size_t>(h) * 3);
    struct Row {
        const char* name;
        const void* src;
        int sixteenBits;
        int edgeAware;
        std::optional<double> ours;
    };
    const auto ours8 = [&](int32_t method) -> std::optional<double> {
        const auto it = zel8.find(method);
        return it == zel8.end() ? std::nullopt : std::optional<double>(it->second);
    };
    const Row rows[] = {
        {"8-bit bilinear, BGR8", raw8.data(), 0, 0, ours8(ZEL_DEMOSAIC_BILINEAR)},
        {"8-bit edge-aware, BGR8", raw8.data(), 0, 1, ours8(ZEL_DEMOSAIC_EDGE)},
        {"16-bit bilinear, BGR16", raw16.data(), 1, 0, zelDeepBilinear},
        {"16-bit edge-aware, BGR16", raw16.data(), 1, 1, zelDeepEdge},
    };
    std::printf("\nOpenCV %s cv::cvtColor on the same frames (one thread)\n", cv.version);
    std::printf("%-26s %9s %9s %9s\n", "conversion", "OpenCV", "zelvora", "ratio");
    for (const Row& row : rows) {
        const auto call = [&] { return cv.convert(row.src, w, h, row.sixteenBits, row.edgeAware, dst.data()); };
        if (call() != 0) {
            std::printf("%-26s %9s\n", row.name, "failed");
            continue;
        }
        const double rate = bench.rate(bestSeconds(call, bench.minTime));
        std::printf("%-26s %9.1f", row.name, rate);
        printRate(row.ours);
        if (row.ours) {
            std::printf(" %8.2fx\n", *row.ours / rate);
        } else {
            std::printf(" %9s\n", "n/a");
        }
    }
}

}  // namespace

int runBench(std::span<const std::string> words) {
    const Args args(words, commandDef("bench").options);
    if (!args.positional().empty()) throw UsageError("bench takes no file arguments");
    Bench bench{args.has("size") ? parseSize(*args.value("size")) : Size{1920, 1080},
                args.has("min-time") ? parseSeconds(*args.value("min-time"), "--min-time") : 0.2, threadsFrom(args)};
    if (bench.size.width < 16 || bench.size.height < 16 || bench.size.width % 2 != 0 || bench.size.height % 2 != 0)
        throw UsageError("bench needs an even size of at least 16x16");

    // The demo scene makes the frames: real edges, so that edge-directed
    // decisions go both ways as they would on a camera's pictures.
    const Scene scene = renderScene(bench.size.width, bench.size.height);
    const InputFormat& rg8 = findInputFormat("BayerRG8");
    const InputFormat& rg12 = findInputFormat("BayerRG12");
    const std::vector<uint8_t> raw8 = mosaic(scene, rg8);
    const std::vector<uint8_t> raw12 = mosaic(scene, rg12);

    std::printf("zelvora bench: %dx%d frames, megapixels per second (best single call; n/a: not in this library)\n",
                bench.size.width, bench.size.height);
    const auto zel8 = benchEntry(bench, rg8, raw8, "zelDemosaicing, BayerRG8 input");
    benchEntry(bench, rg12, raw12, "zelDemosaicing, BayerRG12 input (16-bit samples reduced to 8 bits)");

    std::printf("\n16-bit kernels, BayerRG12 samples kept at 16 bits\n");
    const std::vector<uint16_t> samples12 = decodeSamples(raw12.data(), rg12, bench.size.width, bench.size.height,
                                                          rowBytes(rg12, bench.size.width));
    std::vector<uint16_t> out16(samples12.size() * 3);
    std::optional<double> deepBilinear;
    std::optional<double> deepEdge;
    const std::vector<DeepKernel> kernels = deepKernels();
    if (kernels.empty()) std::printf("not available in this build of the library\n");
    for (const DeepKernel& kernel : kernels) {
        const auto call = [&] { return kernel.run(samples12.data(), bench.size.width, bench.size.height, out16.data()); };
        const double rate = bench.rate(bestSeconds(call, bench.minTime));
        std::printf("%-32s %9.1f\n", kernel.name, rate);
        const std::string name = kernel.name;
        if (name == "zelDemosaicingBilinearU16") deepBilinear = rate;
        if (name == "demosaicingEdgeRGGBU16") deepEdge = rate;
    }
    benchThreads(bench, rg8, raw8);
    benchThreads(bench, rg12, raw12);
    if (const ZelvoraOpenCvModule* cv = loadOpenCvModule()) {
        benchOpenCv(*cv, bench, raw8, samples12, zel8, deepBilinear, deepEdge);
    } else {
        std::printf("\n(no OpenCV comparison: the zelvora-opencv.so module is not installed)\n");
    }
    return 0;
}

}  // namespace zelvora
