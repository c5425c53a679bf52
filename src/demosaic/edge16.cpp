// 16-bit edge-directed demosaicing: the engine of edge.hpp on 16-bit samples,
// writing interleaved B, G, R 16-bit pixels and reading the greens of rows
// it has produced back from the output (so source and output are separate
// buffers).
//
// Every Bayer order is walked as red rows and blue rows with red at an even
// or odd column phase. A frame is produced by five pieces, in this order:
//   first rows   rows above the first interior pair, every column;
//   first cols   the columns left of the interior, every later row;
//   interior     the pairs that need no mirrored row, the columns that need
//                no mirrored column; returns where it stopped, having written
//                ahead what it knows of the column and the row after it;
//   last rows    the rows below the interior, interior columns;
//   last cols    the columns right of the interior, every row after the first.
// The first and last column pieces work on the frame from its first red row
// on; the rows above belong to the first-rows piece.
#include <cstddef>
#include <cstdint>

#include "demosaic/edge.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace zel {
namespace {

// Interpolated values of the RGGB entry are limited to 12 bits, those of the
// other three orders to the full 16 bits. The asymmetry is deliberate.
constexpr int32_t kMaxValueRGGB = 4095;
constexpr int32_t kMaxValueOtherOrders = 65535;

// The column phase of the pieces' arguments: 2 when red lies in even columns,
// 3 when in odd ones (the first interior column).
int phaseOf(int32_t columnPhase) { return columnPhase & 1; }

// The widest frame whose interior piece carries its greens on the stack.
constexpr int32_t kCarriedColumns = 8192;

// A frame whose bottom no piece of that kind reaches.
constexpr int kNoBottom = INT32_MAX / 4;

template <typename Plan>
auto walk16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width, bool mirrorTop, int phase,
            int32_t maxValue, Plan plan = {}) {
    return edge::walk<Plan>(edge::SourceRows<uint16_t>{src, width, rows, mirrorTop},
                            Interleaved<uint16_t, 3>(dst, false), edge::PixelGreenRows<uint16_t>{dst, width}, phase,
                            maxValue, plan);
}

// The top-left corner when red sits at (0, 0): its blue is formed from the
// greens at (0, 0) and (1, 1) before they are clamped, whereas everywhere
// else the clamped greens enter the colour differences. Deliberate, kept.
void cornerBlueFromUnclampedGreens(const uint16_t* src, uint16_t* dst, int32_t width, int32_t maxValue) {
    auto s = [src, width](int r, int c) -> int { return src[static_cast<ptrdiff_t>(r) * width + c]; };
    // Rows and columns -1 and -2 mirror to 1 and 2.
    const int g00 =
        edge::greenEstimate(s(0, 0), s(0, 1), s(0, 1), s(0, 2), s(0, 2), s(1, 0), s(1, 0), s(2, 0), s(2, 0));
    const int g11 =
        edge::greenEstimate(s(1, 1), s(1, 0), s(1, 2), s(1, 1), s(1, 3), s(0, 1), s(2, 1), s(1, 1), s(3, 1));
    dst[0] = static_cast<uint16_t>(edge::clampTo(g00 + s(1, 1) - g11, maxValue));
}

// One Bayer order: whether row 0 is a red row, the column phase, the clamp.
struct Order16 {
    bool redRowFirst;
    int32_t columnPhase;
    int32_t maxValue;
};

uint32_t demosaic16(const Order16& order, const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    const int32_t skip = order.redRowFirst ? 0 : 1;  // rows above the first red row
    const int32_t coreRow = 2 + skip;
    const ptrdiff_t w = width;
    const uint16_t* redSrc = src + skip * w;
    uint16_t* redDst = dst + skip * 3 * w;
    const int32_t column = order.columnPhase;
    const int32_t max = order.maxValue;

    if (order.redRowFirst)
        edgeFirstRowsRGGBU16(src, dst, width, column, max);
    else
        edgeFirstRowsGBRGU16(src, dst, width, column, max);
    if (phaseOf(column) == 0)
        edgeFirstColsRGGBU16(redSrc, redDst, height - skip, width, max);
    else
        edgeFirstColsGRBGU16(redSrc, redDst, height - skip, width, max);
    const EdgeSecEnd end =
        edgeSecRGGBU16(src + coreRow * w, dst + coreRow * 3 * w, height - 4 - skip, width, column, max);
    edgeLastRowsRGGBU16(src, dst, height, width, end.stopRow + coreRow, column, max);
    edgeLastColsRGGBU16(redSrc, redDst, height - skip, width, end.stopColumn, max);
    return 0;
}

}  // namespace
}  // namespace zel

using zel::edge::AllColumns;
using zel::edge::InteriorColumns;
using zel::edge::LeftColumns;
using zel::edge::RightColumns;

extern "C" {

ZEL_API uint32_t demosaicingEdgeRGGBU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    return zel::demosaic16({true, 2, zel::kMaxValueRGGB}, src, height, width, dst);
}
ZEL_API uint32_t demosaicingEdgeGRBGU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    return zel::demosaic16({true, 3, zel::kMaxValueOtherOrders}, src, height, width, dst);
}
ZEL_API uint32_t demosaicingEdgeGBRGU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    return zel::demosaic16({false, 2, zel::kMaxValueOtherOrders}, src, height, width, dst);
}
ZEL_API uint32_t demosaicingEdgeBGGRU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst) {
    return zel::demosaic16({false, 3, zel::kMaxValueOtherOrders}, src, height, width, dst);
}

ZEL_API uint32_t edgeFirstRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t width, int32_t columnPhase,
                                      int32_t maxValue) {
    zel::walk16<AllColumns>(src, dst, zel::kNoBottom, width, true, zel::phaseOf(columnPhase), maxValue).top(true);
    if (zel::phaseOf(columnPhase) == 0) zel::cornerBlueFromUnclampedGreens(src, dst, width, maxValue);
    return 0;
}
ZEL_API uint32_t edgeFirstRowsGBRGU16(const uint16_t* src, uint16_t* dst, int32_t width, int32_t columnPhase,
                                      int32_t maxValue) {
    zel::walk16<AllColumns>(src, dst, zel::kNoBottom, width, true, zel::phaseOf(columnPhase), maxValue).top(false);
    return 0;
}

ZEL_API uint32_t edgeFirstColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                      int32_t maxValue) {
    zel::walk16<LeftColumns>(src, dst, rows, width, true, 0, maxValue).toBottom(2);
    return 0;
}
ZEL_API uint32_t edgeFirstColsGRBGU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                      int32_t maxValue) {
    zel::walk16<LeftColumns>(src, dst, rows, width, true, 1, maxValue).toBottom(2);
    return 0;
}

ZEL_API EdgeSecEnd edgeSecRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width, int32_t columnPhase,
                                  int32_t maxValue) {
    const int phase = zel::phaseOf(columnPhase);
    // The rows above `src` are the caller's: nothing is mirrored here.
    auto walk = zel::walk16<InteriorColumns>(src, dst, rows + 2, width, false, phase, maxValue);
    // The vector spans carry their greens from pass to pass in a line on the
    // stack (up to 16 KiB) rather than through the output pixels; the last
    // pass leaves its blue row's greens in the pixels, for the pieces below.
    uint16_t line[zel::kCarriedColumns];
    zel::simd::GreenCarry<uint16_t>& carry = walk.store.carry;
    if (width <= zel::kCarriedColumns) carry.line = line;
    // Column stop-1 and the last pair's row y+1 are completed by the last
    // columns and last rows pieces; what this piece's steps determine of them
    // it writes ahead, so that it leaves every value of its steps on its own.
    int32_t k = 0;
    for (; k + 2 < rows - 1; k += 2) {
        carry.keepNew = carry.line != nullptr;
        walk.pass<zel::edge::kBodyAheadLastStep>(k);
        carry.takeOld = carry.keepNew;
    }
    carry.keepNew = false;
    if (k < rows - 1) walk.pass<zel::edge::kBodyAheadEveryStep>(k);
    const int32_t stopRow = rows - 1 < 1 ? 0 : ((rows - 2) & ~1) + 2;
    return {zel::edge::interiorSpan(width, phase).last + 2, stopRow};
}

ZEL_API uint32_t edgeLastRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     int32_t firstRow, int32_t columnPhase, int32_t maxValue) {
    zel::walk16<InteriorColumns>(src, dst, height, width, true, zel::phaseOf(columnPhase), maxValue).toBottom(firstRow);
    return 0;
}

ZEL_API uint32_t edgeLastColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                     int32_t firstColumn, int32_t maxValue) {
    zel::walk16<RightColumns>(src, dst, rows, width, true, firstColumn & 1, maxValue, RightColumns{firstColumn})
        .toBottom(2);
    return 0;
}

}  // extern "C"
