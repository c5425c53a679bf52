// 8-bit edge-directed drivers: the engine of edge.hpp over a whole mosaic,
// one driver pair (row 0 red, row 0 blue) per output layout.
//
// The only working memory is the row of carried greens. The interleaved
// layouts keep it in the last `width` bytes of their own output, which only
// the final pass overwrites, left to right, after reading each entry; the
// planar and mono layouts use the `width` bytes of scratch the caller gives.
#include <cstddef>
#include <cstdint>

#include "core/report.hpp"
#include "demosaic/edge.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace zel {
namespace {

constexpr int kMaxValue8 = 255;

// Smallest accepted frame: 6 x 6 (the rules reach two sites away and the
// row-pair walk needs a pair between the top and bottom pieces).
constexpr int32_t kMinSide = 6;

template <typename Writer>
int32_t edge8(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, const Writer& out,
              uint8_t* greenLine) {
    const auto w = edge::walk<edge::AllColumns>(edge::SourceRows<uint8_t>{src, width, height, true}, out,
                                                edge::LineStore<uint8_t>{greenLine}, 0, kMaxValue8);
    w.toBottom(w.top(redRowFirst));
    return ZEL_OK;
}

// Each driver refuses frames narrower or lower than 6 with its own number.
bool tooSmall(int32_t height, int32_t width) { return !(width >= kMinSide && height >= kMinSide); }

// The interleaved layouts' green row: the final `width` bytes of the output.
uint8_t* lineInOutput(uint8_t* dst, int32_t height, int32_t width, int bytesPerPixel) {
    return dst + static_cast<ptrdiff_t>(bytesPerPixel) * width * height - width;
}

int32_t bgr(bool redRowFirst, int check, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
            int32_t swapRB) {
    if (tooSmall(height, width)) return fail(check, errBadImageSize);
    return edge8(redRowFirst, src, height, width, Interleaved<uint8_t, 3>(dst, swapRB != 0),
                 lineInOutput(dst, height, width, 3));
}

// Byte 3 is never written (Alpha::Keep). Since the green row overlaps the
// last quarter of the last output row, byte 3 there ends up holding carried
// greens rather than the caller's content; accepted and kept.
int32_t bgra(bool redRowFirst, int check, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
             int32_t swapRB) {
    if (tooSmall(height, width)) return fail(check, errBadImageSize);
    return edge8(redRowFirst, src, height, width, Interleaved<uint8_t, 4, Alpha::Keep>(dst, swapRB != 0),
                 lineInOutput(dst, height, width, 4));
}

int32_t planes(bool redRowFirst, int check, const uint8_t* src, int32_t height, int32_t width, uint8_t* red,
               uint8_t* green, uint8_t* blue, uint8_t* greenLine) {
    if (tooSmall(height, width)) return fail(check, errBadImageSize);
    return edge8(redRowFirst, src, height, width, Planar<uint8_t>{red, green, blue}, greenLine);
}

int32_t mono(bool redRowFirst, int check, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
             int32_t swapRB, uint8_t* greenLine) {
    if (tooSmall(height, width)) return fail(check, errBadImageSize);
    return edge8(redRowFirst, src, height, width, lumaForSwap(dst, swapRB != 0), greenLine);
}

constexpr bool kRedRowFirst = true;
constexpr bool kBlueRowFirst = false;

}  // namespace
}  // namespace zel

using zel::kBlueRowFirst;
using zel::kRedRowFirst;

extern "C" {

ZEL_API int32_t rg8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgr(kRedRowFirst, 5661, src, height, width, dst, swapRB);
}
ZEL_API int32_t gb8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgr(kBlueRowFirst, 5606, src, height, width, dst, swapRB);
}
ZEL_API int32_t rg8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgra(kRedRowFirst, 7543, src, height, width, dst, swapRB);
}
ZEL_API int32_t gb8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgra(kBlueRowFirst, 7493, src, height, width, dst, swapRB);
}
ZEL_API int32_t rg8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine) {
    return zel::planes(kRedRowFirst, 9337, src, height, width, redPlane, greenPlane, bluePlane, greenLine);
}
ZEL_API int32_t gb8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine) {
    return zel::planes(kBlueRowFirst, 9284, src, height, width, redPlane, greenPlane, bluePlane, greenLine);
}
ZEL_API int32_t rg8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine) {
    return zel::mono(kRedRowFirst, 11112, src, height, width, dst, swapRB, greenLine);
}
ZEL_API int32_t gb8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine) {
    return zel::mono(kBlueRowFirst, 11063, src, height, width, dst, swapRB, greenLine);
}

}  // extern "C"
