#include "deep.hpp"

#include "error.hpp"
#include "zelvora.h"

namespace zelvora {
namespace {

using EdgeDriver = uint32_t (*)(const uint16_t*, int32_t, int32_t, uint16_t*);

EdgeDriver edgeDriver(Order order) {
    switch (order) {
        case Order::RG: return demosaicingEdgeRGGBU16;
        case Order::GR: return demosaicingEdgeGRBGU16;
        case Order::GB: return demosaicingEdgeGBRGU16;
        case Order::BG: return demosaicingEdgeBGGRU16;
        case Order::Mono: break;
    }
    return nullptr;
}

// The 16-bit edge-directed drivers check nothing; their border pieces and
// interior need at least this many rows and columns.
constexpr int32_t kEdgeMinimum = 8;

}  // namespace

std::string deepRefusal(Order order, const Method& method) {
    if (method.value == ZEL_DEMOSAIC_NEAREST)
        return "the library's 16-bit kernels are bilinear and edge-directed: use --deep with --method bilinear or edge";
    if (method.value == ZEL_DEMOSAIC_BILINEAR && order != Order::RG)
        return "the library's 16-bit bilinear kernel takes BayerRG mosaics only: use --method edge for Bayer" +
               std::string(orderName(order));
    return {};
}

std::vector<uint16_t> demosaicDeep(const std::vector<uint16_t>& mosaic, Order order, int32_t width, int32_t height,
                                   const Method& method, Diagnostics& diagnostics) {
    if (const std::string why = deepRefusal(order, method); !why.empty()) throw Failure(why);
    std::vector<uint16_t> out(mosaic.size() * 3);
    if (method.value == ZEL_DEMOSAIC_BILINEAR) {
        const int32_t status =
            diagnostics.run([&] { return zelDemosaicingBilinearU16(mosaic.data(), height, width, out.data()); });
        checkStatus("zelDemosaicingBilinearU16", status, diagnostics);
        return out;
    }
    if (width < kEdgeMinimum || height < kEdgeMinimum)
        throw Failure("the library's 16-bit edge-directed kernels need frames of at least " +
                      std::to_string(kEdgeMinimum) + "x" + std::to_string(kEdgeMinimum));
    edgeDriver(order)(mosaic.data(), height, width, out.data());
    return out;
}

std::vector<DeepKernel> deepKernels() {
    return {
        {"zelDemosaicingBilinearU16",
         [](const uint16_t* src, int32_t w, int32_t h, uint16_t* out) {
             return zelDemosaicingBilinearU16(src, h, w, out);
         }},
        {"zelDemosaicingBilinearU16P",
         [](const uint16_t* src, int32_t w, int32_t h, uint16_t* out) {
             const ptrdiff_t n = static_cast<ptrdiff_t>(w) * h;
             return zelDemosaicingBilinearU16P(src, h, w, out, out + n, out + 2 * n);
         }},
        {"demosaicingEdgeRGGBU16",
         [](const uint16_t* src, int32_t w, int32_t h, uint16_t* out) {
             return static_cast<int32_t>(demosaicingEdgeRGGBU16(src, h, w, out));
         }},
    };
}

}  // namespace zelvora
