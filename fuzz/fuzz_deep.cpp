// The 16-bit kernels and bitmap padding: the checked bilinear entries over
// any size (interleaved and planar output must agree sample for sample), the
// four edge-directed entries over frames of 8 x 8 and more, and zelBMPAdjust.
//
// Input: a DeepDesc, then the bytes that fill the frame.
#include <cstdint>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using namespace zelfuzz;

void bilinear(const DeepDesc& d, Reader& in) {
    const int32_t h = d.height, w = d.width;
    const bool sized = h > 3 && w > 3;
    const size_t n = sized ? static_cast<size_t>(h) * w : 0;
    const Buffer src(2 * n, in), dst(6 * n), blue(2 * n), green(2 * n), red(2 * n);
    const uint16_t* s = d.variant == 250 ? nullptr : src.as<uint16_t>();
    const int32_t a = zelDemosaicingBilinearU16(s, h, w, d.variant == 251 ? nullptr : dst.as<uint16_t>());
    const int32_t b = zelDemosaicingBilinearU16P(s, h, w, blue.as<uint16_t>(),
                                                 d.variant == 252 ? nullptr : green.as<uint16_t>(), red.as<uint16_t>());
    require((a == ZEL_OK) == (sized && d.variant != 250 && d.variant != 251), "zelDemosaicingBilinearU16's status");
    require((b == ZEL_OK) == (sized && d.variant != 250 && d.variant != 252), "zelDemosaicingBilinearU16P's status");
    if (a != ZEL_OK || b != ZEL_OK) return;
    for (size_t i = 0; i < n; ++i) {
        const uint16_t* pixel = dst.as<uint16_t>() + 3 * i;
        require(pixel[0] == blue.as<uint16_t>()[i] && pixel[1] == green.as<uint16_t>()[i] &&
                    pixel[2] == red.as<uint16_t>()[i],
                "interleaved and planar 16-bit output differ");
    }
}

void edge(const DeepDesc& d, Reader& in) {
    // Unchecked kernels: only frames they are documented for.
    const int32_t h = 8 + (d.height & 63), w = 8 + (d.width & 63);
    const Buffer src(2 * static_cast<size_t>(h * w), in), dst(6 * static_cast<size_t>(h * w));
    using Kernel = uint32_t (*)(const uint16_t*, int32_t, int32_t, uint16_t*);
    static constexpr Kernel kKernels[] = {demosaicingEdgeRGGBU16, demosaicingEdgeGRBGU16, demosaicingEdgeGBRGU16,
                                          demosaicingEdgeBGGRU16};
    require(kKernels[d.variant % 4](src.as<uint16_t>(), h, w, dst.as<uint16_t>()) == 0, "an edge kernel failed");
}

void bitmap(const DeepDesc& d, Reader& in) {
    ZelHandle* handle = nullptr;
    require(zelCreate(&handle) == ZEL_OK, "zelCreate failed");
    const int32_t h = d.height, w = d.width;
    const bool accepted = h > 3 && w > 3 && d.variant != 250 && d.variant != 251;
    const int64_t padded = (3 * int64_t{w} + 3) / 4 * 4;
    const Buffer frame(accepted ? static_cast<size_t>(h * padded) : 0, in);
    ZelImage image{h, w, ZEL_PIX_BGR8, d.variant == 250 ? nullptr : frame.data(), 3 * w};
    const int32_t status = zelBMPAdjust(d.variant == 251 ? nullptr : handle, &image);
    zelRelease(&handle);
    require((status == ZEL_OK) == accepted, "zelBMPAdjust's status");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    const auto d = in.take<DeepDesc>();
    static constexpr void (*kRuns[])(const DeepDesc&, Reader&) = {bilinear, edge, bitmap};
    kRuns[d.which % 3](d, in);
    return 0;
}
