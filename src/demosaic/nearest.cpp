// Nearest-neighbour demosaicing: every output pixel takes its red, green and
// blue from one 2x2 block of the mosaic (rows y-1 and y, columns x-1 and x;
// row 0 and column 0 use rows 0-1 and columns 0-1 instead).
//
// Seen from any row, the mosaic has two kinds of rows: "red rows" (R G R G ...)
// and "blue rows" (G B G B ...). Each output row is produced from its own
// source row and one companion row of the other kind (the row above it, or
// row 1 for row 0). Both native orders are walks over these two row kinds:
// RG is a red row 0 followed by (blue, red) pairs; GB is a blue row 0 and a
// red row 1 followed by the same pairs.
#include <cstddef>
#include <cstdint>

#include "demosaic/band.hpp"
#include "demosaic/layout.hpp"
#include "demosaic/nearest.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace zel {
namespace {

using nearest::PixelPair;
using nearest::Taps;
using nearest::bluePair;
using nearest::redPair;

// A red-position pixel in column 0 takes its green from the row above
// (the companion row) in every row but row 0, where it takes the green to its
// right like every other red pixel. The asymmetry is deliberate.
inline uint8_t redColumn0Green(const uint8_t* own, const uint8_t* companion, bool isRow0) {
    return isRow0 ? own[1] : companion[0];
}

// One output row from a red row `own` (R at even columns) and a blue row
// `companion` (B at odd columns). Column 0, then pairs (x, x+1) from x = 1,
// then the lone last column when the width is even.
// The pairs (x, x+1) from odd column x while x + 1 is inside the row, by
// `rule`; the leading ones through the vector span when there is one. The
// lone last column of an even width is the first pixel of a pair whose
// second pixel would lie outside the row. Returns that column, or width.
template <typename Writer>
int32_t pairs(const Writer& out, ptrdiff_t base, const uint8_t* own, const uint8_t* companion, int32_t width,
              simd::NearestSpan span, PixelPair<int> (*rule)(const Taps<int>&)) {
    ptrdiff_t x = 1;
    if (const VectorOut v = simd::vectorOutOf(out); span != nullptr && v.kind != VectorOut::Kind::None)
        x = span(own, companion, x, width, v, base);
    for (; x < width - 1; x += 2) {
        const PixelPair<int> p = rule(Taps<int>{own[x - 1], own[x], own[x + 1], companion[x - 1], companion[x],
                                                companion[x + 1]});
        out.put(base + x, p.first.red, p.first.green, p.first.blue);
        out.put(base + x + 1, p.second.red, p.second.green, p.second.blue);
    }
    if (x < width) {
        // Only the first pixel's samples exist; the missing east column is
        // never read by it.
        const PixelPair<int> p = rule(Taps<int>{own[x - 1], own[x], 0, companion[x - 1], companion[x], 0});
        out.put(base + x, p.first.red, p.first.green, p.first.blue);
    }
    return static_cast<int32_t>(x);
}

template <typename Writer>
void redRow(const Writer& out, ptrdiff_t base, const uint8_t* own, const uint8_t* companion, int32_t width,
            bool isRow0) {
    out.put(base, own[0], redColumn0Green(own, companion, isRow0), companion[1]);
    pairs(out, base, own, companion, width, simd::kernels().nearestRed, redPair<int>);
}

// One output row from a blue row `own` (B at odd columns) and a red row
// `companion` (R at even columns), walked the same way.
template <typename Writer>
void blueRow(const Writer& out, ptrdiff_t base, const uint8_t* own, const uint8_t* companion, int32_t width) {
    out.put(base, companion[0], own[0], own[1]);
    pairs(out, base, own, companion, width, simd::kernels().nearestBlue, bluePair<int>);
}

// Output rows first .. first+count-1. Row y is produced from its own source
// row and a companion row: the row above it, or row 1 for row 0. A red row
// 0 is the one row that takes the green of column 0 from its right.
template <typename Writer>
void nearestRows(bool gbOrder, const Writer& out, const RowSource& src, int32_t width, int32_t first,
                 int32_t count) {
    for (int32_t y = first; y < first + count; ++y) {
        const uint8_t* own = src.row(y);
        const uint8_t* companion = src.row(y == 0 ? 1 : y - 1);
        const ptrdiff_t base = static_cast<ptrdiff_t>(y) * width;
        if (((y & 1) == 0) != gbOrder)
            redRow(out, base, own, companion, width, y == 0);
        else
            blueRow(out, base, own, companion, width);
    }
}

// The whole frame: RG is a red row 0 followed by (blue, red) pairs; GB a blue
// row 0 and a red row 1, both from rows 0 and 1, followed by the same pairs.
template <typename Writer>
int32_t demosaicNearest(bool gbOrder, const Writer& out, const uint8_t* src, int32_t height, int32_t width) {
    nearestRows(gbOrder, out, RowSource{src, width, 0}, width, 0, height);
    return ZEL_OK;
}

// Bands of any output layout, the channel order chosen at run time as the
// exported kernels choose it.
struct NearestBands {
    static constexpr Alpha kAlpha = Alpha::Zero;
    static constexpr bool kFixedOrder = false;
    template <typename Writer>
    static int32_t band(bool redRowFirst, const Writer& out, const BandCall& c) {
        nearestRows(!redRowFirst, out, c.src, c.width, c.first, c.count);
        return ZEL_OK;
    }
};

}  // namespace

const BandTable kNearestBands = bandTable<NearestBands>();

}  // namespace zel

using Bgr8 = zel::Interleaved<uint8_t, 3>;
using Bgra8 = zel::Interleaved<uint8_t, 4>;
using zel::demosaicNearest;

extern "C" {

// One line per exported kernel: native order (RG or GB) and output writer.
#define ZEL_NEAREST_FLAGGED(name, gbOrder, makeWriter)                                                 \
    ZEL_API int32_t name(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) { \
        return demosaicNearest(gbOrder, makeWriter(dst, swapRB != 0), src, height, width);                        \
    }
#define ZEL_NEAREST_PLANAR(name, gbOrder)                                                                \
    ZEL_API int32_t name(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,            \
                         uint8_t* greenPlane, uint8_t* bluePlane) {                                         \
        return demosaicNearest(gbOrder, zel::Planar<uint8_t>{redPlane, greenPlane, bluePlane}, src, height, width); \
    }
ZEL_NEAREST_FLAGGED(rg8ToBgr8_nearest, false, Bgr8)
ZEL_NEAREST_FLAGGED(gb8ToBgr8_nearest, true, Bgr8)
ZEL_NEAREST_FLAGGED(rg8ToBgra8_nearest, false, Bgra8)
ZEL_NEAREST_FLAGGED(gb8ToBgra8_nearest, true, Bgra8)
ZEL_NEAREST_FLAGGED(rg8ToMono8_nearest, false, zel::lumaForSwap)
ZEL_NEAREST_FLAGGED(gb8ToMono8_nearest, true, zel::lumaForSwap)
ZEL_NEAREST_PLANAR(rg8ToBgr8P_nearest, false)
ZEL_NEAREST_PLANAR(gb8ToBgr8P_nearest, true)
#undef ZEL_NEAREST_FLAGGED
#undef ZEL_NEAREST_PLANAR

}  // extern "C"
