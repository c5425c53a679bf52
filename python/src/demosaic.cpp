// demosaic (through zelDemosaicing, in row bands on several threads where
// the library offers them) and demosaic16 (the 16-bit kernels).
#include <algorithm>
#include <climits>
#include <cstring>
#include <system_error>
#include <thread>

#include "api.hpp"
#include "capture.hpp"
#include "rawframe.hpp"
#include "zelvora.h"

namespace zelvora::py {
namespace {

// Bands shorter than this cost more in handles and threads than they save.
constexpr int32_t kMinBandRows = 64;

// Demosaics the whole frame, or only output rows [first, first + count),
// with a handle of its own: bands may run on several threads at once.
Outcome runBand(ZelImage input, ZelPixelType layout, int32_t method, uint8_t* out, int32_t first, int32_t count,
                bool whole) {
    Capture capture;
    ZelHandle* handle = nullptr;
    const char* operation = "zelCreate";
    int32_t status = zelCreate(&handle);
    if (status == ZEL_OK) {
        operation = "zelDemosaicSetConfig";
        status = zelDemosaicSetConfig(handle, &layout);
    }
    if (status == ZEL_OK) {
        ZelImage output{0, 0, 0, out, 0};
        if (whole) {
            operation = "zelDemosaicing";
            status = zelDemosaicing(handle, &input, method, &output);
        } else {
            operation = "zelDemosaicingRows";
            status = zelDemosaicingRows(handle, &input, method, &output, first, count);
        }
    }
    zelRelease(&handle);
    return {operation, status, capture.take()};
}

// Runs `bands` bands, band 0 on this thread; the first failure wins.
Outcome runBands(const ZelImage& input, ZelPixelType layout, int32_t method, uint8_t* out, int32_t bands) {
    if (bands <= 1) return runBand(input, layout, method, out, 0, input.height, true);
    std::vector<Outcome> outcomes(static_cast<size_t>(bands));
    auto run = [&](int32_t band) {
        // Band edges on even rows keep each band's Bayer phase.
        auto edge = [&](int32_t b) {
            return b == bands ? input.height : static_cast<int32_t>(int64_t{input.height} * b / bands) & ~1;
        };
        outcomes[static_cast<size_t>(band)] =
            runBand(input, layout, method, out, edge(band), edge(band + 1) - edge(band), false);
    };
    std::vector<std::thread> workers;
    for (int32_t band = 1; band < bands; ++band) {
        try {
            workers.emplace_back(run, band);
        } catch (const std::system_error&) {
            run(band);  // no thread to be had: this one does the band
        }
    }
    run(0);
    for (std::thread& worker : workers) worker.join();
    for (const Outcome& outcome : outcomes) {
        if (outcome.status != ZEL_OK) return outcome;
    }
    return outcomes[0];
}

struct Kernel16 {
    const char* order;
    const char* name;
    uint32_t (*edge)(const uint16_t*, int32_t, int32_t, uint16_t*);
};

constexpr Kernel16 kKernels16[] = {
    {"RG", "demosaicingEdgeRGGBU16", demosaicingEdgeRGGBU16},
    {"GR", "demosaicingEdgeGRBGU16", demosaicingEdgeGRBGU16},
    {"GB", "demosaicingEdgeGBRGU16", demosaicingEdgeGBRGU16},
    {"BG", "demosaicingEdgeBGGRU16", demosaicingEdgeBGGRU16},
};

// The 16-bit edge-directed kernels check nothing; their border pieces and
// interior need at least this many rows and columns.
constexpr int32_t kEdge16Minimum = 8;

const Kernel16& kernel16(std::string order) {
    std::transform(order.begin(), order.end(), order.begin(), [](unsigned char c) { return std::toupper(c); });
    for (const Kernel16& kernel : kKernels16) {
        if (order == kernel.order) return kernel;
    }
    throw pyb::value_error("order is RG, GR, GB or BG, not '" + order + "'");
}

int32_t pixelCount(int32_t width, int32_t height) {
    if (int64_t{width} * height > INT32_MAX)
        throw pyb::value_error("a frame of " + std::to_string(width) + "x" + std::to_string(height) +
                               " has more pixels than the library counts");
    return width * height;
}

}  // namespace

int32_t bandCount(int64_t threads, int32_t height) {
    if (threads < 1) throw pyb::value_error("threads must be at least 1, not " + std::to_string(threads));
    return static_cast<int32_t>(std::clamp<int64_t>(height / kMinBandRows, 1, threads));
}

pyb::array demosaic(const pyb::buffer& raw, int64_t width, int64_t height, const pyb::object& format,
                    const std::string& method, const std::string& layout, std::optional<int64_t> stride,
                    int64_t threads) {
    const InputFormat& input = resolveFormat(format);
    const Method& how = resolveMethod(method);
    const OutputLayout& into = resolveLayout(layout);
    const int32_t w = checkedDimension(width, "width");
    const int32_t h = checkedDimension(height, "height");
    pixelCount(w, h);
    const int32_t bands = bandCount(threads, h);

    // The library compacts padded 8-bit rows in place and its packed readers
    // fetch whole pairs: it gets a private copy as long as it reads.
    std::vector<uint8_t> frame;
    RawGeometry geometry{};
    {
        const ElementView view(raw, "raw");
        if (view.element() == Element::U16 && input.packing != Packing::Words)
            throw pyb::type_error("raw holds uint16 elements, but " + std::string(input.name) +
                                  " is not a format of 16-bit containers; pass its bytes");
        geometry = rawGeometry(input, w, h, stride, view);
        frame.assign(static_cast<size_t>(std::max<int64_t>(geometry.extent, 1)), 0);
        view.copyTo(frame.data(), geometry.extent);
    }

    std::vector<pyb::ssize_t> shape;
    if (into.planar) {
        shape = {3, h, w};
    } else if (into.bytesPerPixel == 1) {
        shape = {h, w};
    } else {
        shape = {h, w, into.bytesPerPixel};
    }
    pyb::array_t<uint8_t> result(shape);
    uint8_t* out = result.mutable_data();
    // The edge-directed four-byte kernels never write the fourth byte: it is
    // 0 from here on, as in a cleared C buffer.
    std::memset(out, 0, static_cast<size_t>(result.nbytes()));
    const ZelImage in{h, w, input.code, frame.data(), static_cast<int32_t>(geometry.stride)};
    Outcome outcome;
    {
        pyb::gil_scoped_release unlocked;
        outcome = runBands(in, into.code, how.value, out, bands);
    }
    outcome.check();
    return result;
}

pyb::array demosaic16(const pyb::buffer& frame, const std::string& order, const std::string& method) {
    const Kernel16& kernel = kernel16(order);
    const Method& how = resolveMethod(method);
    if (how.value == ZEL_DEMOSAIC_NEAREST)
        throw pyb::value_error("the 16-bit kernels are bilinear (RG order) and edge-directed (every order)");
    const bool bilinear = how.value == ZEL_DEMOSAIC_BILINEAR;
    if (bilinear && std::string(kernel.order) != "RG")
        throw pyb::value_error(std::string("the 16-bit bilinear kernel takes RG mosaics only; use method='edge' for ") +
                               kernel.order);

    std::vector<uint16_t> src;
    int32_t w = 0;
    int32_t h = 0;
    {
        const ElementView view(frame, "frame", 2, 2);
        if (view.element() != Element::U16) throw pyb::type_error("frame must hold uint16 samples");
        h = checkedDimension(view.dim(0), "height");
        w = checkedDimension(view.dim(1), "width");
        const int32_t n = pixelCount(w, h);
        if (!bilinear && (w < kEdge16Minimum || h < kEdge16Minimum))
            throw pyb::value_error("the 16-bit edge-directed kernels need frames of at least 8x8, not " +
                                   std::to_string(w) + "x" + std::to_string(h));
        src.assign(static_cast<size_t>(std::max(n, 1)), 0);
        view.copyTo(reinterpret_cast<uint8_t*>(src.data()), int64_t{2} * n);
    }
    pyb::array_t<uint16_t> result({pyb::ssize_t{h}, pyb::ssize_t{w}, pyb::ssize_t{3}});
    uint16_t* out = result.mutable_data();
    Outcome outcome;
    {
        pyb::gil_scoped_release unlocked;
        outcome = bilinear ? capture("zelDemosaicingBilinearU16",
                                     [&] { return zelDemosaicingBilinearU16(src.data(), h, w, out); })
                           : capture(kernel.name, [&] { return kernel.edge(src.data(), h, w, out); });
    }
    outcome.check();
    return result;
}

}  // namespace zelvora::py
