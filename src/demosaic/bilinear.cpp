// 8-bit bilinear kernels: thin wrappers choosing the engine's frame order
// (RG geometry on the whole frame, or GR/GB rows 0-1 plus an RG frame from
// row 1) and the writer of the output layout.
//
// Interleaved kernels exist for all four native orders: BG is the RG
// geometry with red and blue exchanged, GR the GB composition exchanged.
// Planar and mono kernels exist for RG and GR; the caller orders the planes
// or the weights.
#include <cstdint>

#include "demosaic/band.hpp"
#include "demosaic/bilinear.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace {

using zel::Luma;
using zel::Planar;
using zel::bilinear::demosaicGR;
using zel::bilinear::demosaicRG;

// The red position's colour in byte 2 (false) or byte 0 (true).
template <bool SwapRB>
using Bgr8 = zel::FixedInterleaved<uint8_t, 3, SwapRB>;
template <bool SwapRB>
using Bgra8 = zel::FixedInterleaved<uint8_t, 4, SwapRB>;

// The whole frame in the RG geometry, or in the GR/GB composition.
template <typename W>
int32_t rg(const uint8_t* src, int32_t height, int32_t width, const W& out) {
    demosaicRG(src, out, height, width);
    return ZEL_OK;
}
template <typename W>
int32_t gr(const uint8_t* src, int32_t height, int32_t width, const W& out) {
    demosaicGR(src, out, height, width);
    return ZEL_OK;
}

// Bands of any output layout: the RG geometry or the GR/GB composition cut
// into rows.
struct BilinearBands {
    static constexpr zel::Alpha kAlpha = zel::Alpha::Zero;
    static constexpr bool kFixedOrder = true;
    template <typename W>
    static int32_t band(bool redRowFirst, const W& out, const zel::BandCall& c) {
        zel::bilinear::bandRows<uint8_t>(redRowFirst, c.src, out, c.height, c.width, c.first, c.count);
        return ZEL_OK;
    }
};

}  // namespace

const zel::BandTable zel::kBilinearBands = zel::bandTable<BilinearBands>();

extern "C" {

// The eight interleaved kernels differ only in composition and writer.
#define ZEL_BILINEAR_INTERLEAVED(name, compose, Writer)                                  \
    ZEL_API int32_t name(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst) { \
        return compose(src, height, width, Writer{dst});                                \
    }
ZEL_BILINEAR_INTERLEAVED(rg8ToBgr8_bilinear, rg, Bgr8<false>)
ZEL_BILINEAR_INTERLEAVED(bg8ToBgr8_bilinear, rg, Bgr8<true>)
ZEL_BILINEAR_INTERLEAVED(gb8ToBgr8_bilinear, gr, Bgr8<false>)
ZEL_BILINEAR_INTERLEAVED(gr8ToBgr8_bilinear, gr, Bgr8<true>)
ZEL_BILINEAR_INTERLEAVED(rg8ToBgra8_bilinear, rg, Bgra8<false>)
ZEL_BILINEAR_INTERLEAVED(bg8ToBgra8_bilinear, rg, Bgra8<true>)
ZEL_BILINEAR_INTERLEAVED(gb8ToBgra8_bilinear, gr, Bgra8<false>)
ZEL_BILINEAR_INTERLEAVED(gr8ToBgra8_bilinear, gr, Bgra8<true>)
#undef ZEL_BILINEAR_INTERLEAVED

// pRed receives the colour at even rows and columns.
ZEL_API int32_t rg8ToBgr8P_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* pRed,
                                    uint8_t* pGreen, uint8_t* pBlue) {
    return rg(src, height, width, Planar<uint8_t>{pRed, pGreen, pBlue});
}
// pTop receives the colour that shares row 0 with green, pBottom the colour of
// row 1 (the engine's red position from row 1 on).
ZEL_API int32_t gr8ToBgr8P_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* pTop,
                                    uint8_t* pGreen, uint8_t* pBottom) {
    return gr(src, height, width, Planar<uint8_t>{pBottom, pGreen, pTop});
}

// weights: red-position colour, green, blue-position colour.
ZEL_API int32_t rg8ToMono8_bilinear(const uint8_t* src, int32_t height, int32_t width, const uint32_t* weights,
                                    uint8_t* dst) {
    return rg(src, height, width, Luma{dst, weights[0], weights[1], weights[2]});
}
// weights: colour of row 0, green, colour of row 1.
ZEL_API int32_t gr8ToMono8_bilinear(const uint8_t* src, int32_t height, int32_t width, const uint32_t* weights,
                                    uint8_t* dst) {
    return gr(src, height, width, Luma{dst, weights[2], weights[1], weights[0]});
}

}  // extern "C"
