// The 16-bit kernels and bitmap padding: the checked bilinear entries over
// any size (interleaved and planar output must agree sample for sample), the
// four edge-directed entries over frames of 8 x 8 and more, and zelBMPAdjust.
//
// Input: a DeepDesc, then the bytes that fill the frame.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using zelfuzz::Buffer;
using zelfuzz::DeepDesc;
using zelfuzz::Reader;

Buffer samples(Reader& in, int64_t count) {
    Buffer b(static_cast<size_t>(count > 0 ? 2 * count : 0));
    in.fill(b.data(), b.size);
    return b;
}

uint16_t* words(const Buffer& b) { return reinterpret_cast<uint16_t*>(b.data()); }

void bilinear(const DeepDesc& d, Reader& in) {
    const int32_t h = d.height;
    const int32_t w = d.width;
    const bool sized = h > 3 && w > 3;
    const int64_t n = sized ? int64_t{h} * w : 0;
    const Buffer src = samples(in, n);
    const Buffer dst(static_cast<size_t>(6 * n));
    const Buffer blue(static_cast<size_t>(2 * n)), green(static_cast<size_t>(2 * n)), red(static_cast<size_t>(2 * n));
    const uint16_t* s = d.variant == 250 ? nullptr : words(src);
    const int32_t a = zelDemosaicingBilinearU16(s, h, w, d.variant == 251 ? nullptr : words(dst));
    const int32_t b = zelDemosaicingBilinearU16P(s, h, w, words(blue), d.variant == 252 ? nullptr : words(green),
                                                 words(red));
    const bool bothRan = sized && (d.variant < 250 || d.variant > 252);
    if ((a == ZEL_OK) != (sized && d.variant != 250 && d.variant != 251) ||
        (b == ZEL_OK) != (sized && d.variant != 250 && d.variant != 252))
        std::abort();
    if (!bothRan) return;
    for (int64_t i = 0; i < n; ++i) {
        const uint16_t* pixel = words(dst) + 3 * i;
        if (pixel[0] != words(blue)[i] || pixel[1] != words(green)[i] || pixel[2] != words(red)[i]) {
            std::fprintf(stderr, "interleaved and planar 16-bit output differ at sample %lld\n",
                         static_cast<long long>(i));
            std::abort();
        }
    }
}

void edge(const DeepDesc& d, Reader& in) {
    // Unchecked kernels: only frames they are documented for.
    const int32_t h = 8 + (d.height & 63);
    const int32_t w = 8 + (d.width & 63);
    const Buffer src = samples(in, int64_t{h} * w);
    const Buffer dst(static_cast<size_t>(6 * h * w));
    using Kernel = uint32_t (*)(const uint16_t*, int32_t, int32_t, uint16_t*);
    static constexpr Kernel kKernels[] = {demosaicingEdgeRGGBU16, demosaicingEdgeGRBGU16, demosaicingEdgeGBRGU16,
                                          demosaicingEdgeBGGRU16};
    if (kKernels[d.variant % 4](words(src), h, w, words(dst)) != 0) std::abort();
}

void bitmap(const DeepDesc& d, Reader& in) {
    ZelHandle* handle = nullptr;
    if (zelCreate(&handle) != ZEL_OK) std::abort();
    const int32_t h = d.height;
    const int32_t w = d.width;
    const bool accepted = h > 3 && w > 3 && d.variant != 250 && d.variant != 251;
    const int64_t padded = (3 * int64_t{w} + 3) / 4 * 4;
    Buffer frame(accepted ? static_cast<size_t>(h * padded) : 0);
    in.fill(frame.data(), frame.size);
    ZelImage image{h, w, 0x02180015, d.variant == 250 ? nullptr : frame.data(), 3 * w};
    const int32_t status = zelBMPAdjust(d.variant == 251 ? nullptr : handle, &image);
    zelRelease(&handle);
    if ((status == ZEL_OK) != accepted) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    DeepDesc d;
    d.visit(in);
    switch (d.which % 3) {
        case 0: bilinear(d, in); break;
        case 1: edge(d, in); break;
        default: bitmap(d, in); break;
    }
    return 0;
}
