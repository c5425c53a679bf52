// 16-bit bilinear demosaicing of RGGB mosaics: the bilinear engine on 16-bit
// samples, into interleaved B, G, R samples or three planes. No value is
// scaled or clamped; sums are formed in 32 bits.
#include <cstdint>

#include "core/report.hpp"
#include "demosaic/bilinear.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace {

namespace bl = zel::bilinear;

using Planes16 = zel::Planar<uint16_t>;

// Runs `piece` with the interleaved writer of the flag's channel order.
template <typename Piece>
auto interleaved(uint16_t* dst, uint32_t swapRB, Piece&& piece) {
    if (bl::swapIsSet(swapRB)) return piece(zel::FixedInterleaved<uint16_t, 3, true>{dst});
    return piece(zel::FixedInterleaved<uint16_t, 3, false>{dst});
}

Planes16 planes(uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed) { return Planes16{pRed, pGreen, pBlue}; }

}  // namespace

using zel::fail;

extern "C" {

ZEL_API void bilinearFirstRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t width, uint32_t swapRB) {
    interleaved(dst, swapRB, [&](const auto& out) { bl::firstRows(src, out, width); });
}
ZEL_API void bilinearFirstColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                      uint32_t swapRB) {
    interleaved(dst, swapRB, [&](const auto& out) { bl::firstCols(src, out, height, width); });
}
ZEL_API BilinearBodyEnd bilinearBodyRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                            uint32_t swapRB) {
    return interleaved(dst, swapRB, [&](const auto& out) { return bl::body(src, out, height, width); });
}
ZEL_API void bilinearLastRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     uint32_t startRow, uint32_t swapRB) {
    interleaved(dst, swapRB, [&](const auto& out) { bl::lastRows(src, out, height, width, startRow); });
}
ZEL_API void bilinearLastColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     uint32_t startCol, uint32_t swapRB) {
    interleaved(dst, swapRB, [&](const auto& out) { bl::lastCols(src, out, height, width, startCol); });
}

// The planar pieces' trailing flag has no effect: the planes fix the order.
ZEL_API void bilinearFirstRowsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                       int32_t width) {
    bl::firstRows(src, planes(pBlue, pGreen, pRed), width);
}
ZEL_API void bilinearFirstColsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                       int32_t height, int32_t width) {
    bl::firstCols(src, planes(pBlue, pGreen, pRed), height, width);
}
ZEL_API BilinearBodyEnd bilinearBodyRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                             int32_t height, int32_t width, uint32_t /*swapRB*/) {
    return bl::body(src, planes(pBlue, pGreen, pRed), height, width);
}
ZEL_API void bilinearLastRowsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                      int32_t height, int32_t width, uint32_t startRow, uint32_t /*swapRB*/) {
    bl::lastRows(src, planes(pBlue, pGreen, pRed), height, width, startRow);
}
ZEL_API void bilinearLastColsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                      int32_t height, int32_t width, uint32_t startCol, uint32_t /*swapRB*/) {
    bl::lastCols(src, planes(pBlue, pGreen, pRed), height, width, startCol);
}

ZEL_API int32_t demosaicingBilinearRGGBU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    bilinearFirstRowsRGGBU16(src, dst, width, 0);
    bilinearFirstColsRGGBU16(src, dst, height, width, 0);
    const BilinearBodyEnd end = bilinearBodyRGGBU16(src, dst, height, width, 0);
    bilinearLastRowsRGGBU16(src, dst, height, width, end.lastRowsStart, 0);
    bilinearLastColsRGGBU16(src, dst, height, width, end.lastColsStart, 0);
    return ZEL_OK;
}

ZEL_API int32_t demosaicingBilinearRGGBU16P(const uint16_t* src, int32_t height, int32_t width, uint16_t* pBlue,
                                            uint16_t* pGreen, uint16_t* pRed) {
    bilinearFirstRowsRGGBU16P(src, pBlue, pGreen, pRed, width);
    bilinearFirstColsRGGBU16P(src, pBlue, pGreen, pRed, height, width);
    const BilinearBodyEnd end = bilinearBodyRGGBU16P(src, pBlue, pGreen, pRed, height, width, 0);
    bilinearLastRowsRGGBU16P(src, pBlue, pGreen, pRed, height, width, end.lastRowsStart, 0);
    bilinearLastColsRGGBU16P(src, pBlue, pGreen, pRed, height, width, end.lastColsStart, 0);
    return ZEL_OK;
}

ZEL_API int32_t zelDemosaicingBilinearU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    if (dst == nullptr || src == nullptr) return fail(196, errInvalidParameter);
    if (!(width > 3 && height > 3)) return fail(197, errBadImageSize);
    return demosaicingBilinearRGGBU16(src, height, width, dst);
}

ZEL_API int32_t zelDemosaicingBilinearU16P(const uint16_t* src, int32_t height, int32_t width, uint16_t* pBlue,
                                           uint16_t* pGreen, uint16_t* pRed) {
    if (pBlue == nullptr || src == nullptr || pRed == nullptr || pGreen == nullptr)
        return fail(217, errInvalidParameter);
    if (!(width > 3 && height > 3)) return fail(218, errBadImageSize);
    return demosaicingBilinearRGGBU16P(src, height, width, pBlue, pGreen, pRed);
}

}  // extern "C"
