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

// Source rows around an output row pair.
struct RowTriple {
    const uint8_t* above;  // the red row above the pair
    const uint8_t* first;  // the pair's blue row
    const uint8_t* below;  // the pair's red row
};

// Two output rows (blue row, red row) from three source rows.
template <typename Writer>
void body(const Writer& out, ptrdiff_t base, const RowTriple& rows, int32_t width) {
    blueRow(out, base, rows.first, rows.above, width);
    redRow(out, base + width, rows.below, rows.first, width, false);
}

// The final lone blue row of a frame.
template <typename Writer>
void lastRows(const Writer& out, ptrdiff_t base, const RowTriple& rows, int32_t width) {
    blueRow(out, base, rows.first, rows.above, width);
}

// Rows from `firstBlueRow` on, whose row above is a red row: pairs, then a
// lone last row when one is left.
template <typename Writer>
void pairsFrom(const Writer& out, const uint8_t* src, int32_t height, int32_t width, int32_t firstBlueRow) {
    int32_t y = firstBlueRow;
    for (; y < height - 1; y += 2) {
        const uint8_t* first = src + static_cast<ptrdiff_t>(y) * width;
        body(out, static_cast<ptrdiff_t>(y) * width, RowTriple{first - width, first, first + width}, width);
    }
    if (y < height) {
        const uint8_t* first = src + static_cast<ptrdiff_t>(y) * width;
        lastRows(out, static_cast<ptrdiff_t>(y) * width, RowTriple{first - width, first, nullptr}, width);
    }
}

// RG native order: row 0 is a red row paired with row 1.
template <typename Writer>
int32_t nearestRG(const Writer& out, const uint8_t* src, int32_t height, int32_t width) {
    redRow(out, 0, src, src + width, width, true);
    pairsFrom(out, src, height, width, 1);
    return ZEL_OK;
}

// GB native order: rows 0 (blue) and 1 (red) both take their blocks from
// rows 0 and 1; from row 1 on the mosaic is an RG mosaic.
template <typename Writer>
int32_t nearestGB(const Writer& out, const uint8_t* src, int32_t height, int32_t width) {
    blueRow(out, 0, src, src + width, width);
    redRow(out, width, src + width, src, width, false);
    pairsFrom(out, src, height, width, 2);
    return ZEL_OK;
}

template <typename Writer>
int32_t demosaicNearest(bool gbOrder, const Writer& out, const uint8_t* src, int32_t height, int32_t width) {
    return gbOrder ? nearestGB(out, src, height, width) : nearestRG(out, src, height, width);
}

}  // namespace
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
