// Bilinear demosaicing engine, shared by the 8-bit kernels of every output
// layout and by the 16-bit RGGB kernels.
//
// The engine works in one geometry, R in the top-left corner of each 2x2
// cell: even rows hold R (even columns) and Gr (odd columns), odd rows Gb
// (even columns) and B (odd columns). "Red" and "blue" below are the colours
// at the R and B positions of that geometry; the writer decides where they go
// (layout.hpp).
//
// Interior formulas:
//   R site:  red s,                  green (N+S+W+E)>>2,  blue (NW+NE+SW+SE)>>2
//   Gr site: red (W+E)>>1,           green s,             blue (N+S)>>1
//   Gb site: red (N+S)>>1,           green s,             blue (W+E)>>1
//   B site:  red (NW+NE+SW+SE)>>2,   green (N+S+W+E)>>2,  blue s
// Border rule: a neighbour outside the frame is its mirror image through the
// pixel (row -1 reads row 1, row h reads row h-2, likewise for columns). The
// engine applies it by handing the formulas mirrored row pointers and column
// indices; the truncating shifts then give exactly the collapsed forms
// ((P+Q+2O)>>2, (P+Q)>>1, a copied sample) that a padded frame would.
//
// A frame is split into five regions that partition it, each written by one
// piece: first rows (row 0), first columns (column 0 below row 0), body,
// last rows (between column 0 and the last columns) and last columns (below
// row 0). The GR/GB orders are an RG frame from row 1 on, with rows 0 and 1
// written by their own first-rows piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "demosaic/layout.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace zel::bilinear {

// Sums of up to four samples. 32 bits hold four 16-bit samples (4 x 65535)
// without overflow.
using Sum = uint32_t;

// The swap flag of the pieces: only the value 1 counts as set.
constexpr bool swapIsSet(uint32_t swapRB) { return swapRB == 1; }

// Row and column kinds of the geometry (parity of the index in an RG frame).
enum class Kind : uint8_t { Even, Odd };
template <Kind K>
using KindTag = std::integral_constant<Kind, K>;

// The three source rows around a pixel's row, already mirrored at the top and
// bottom of the frame.
template <typename T>
struct Around {
    const T* up;
    const T* mid;
    const T* dn;
};

using Rgb = RgbOf<Sum>;

// A site's sample and its eight neighbours.
template <typename V>
struct Window {
    V nw, n, ne;
    V w, own, e;
    V sw, s, se;
};

// The formulas of the site at (row kind, column kind). V is a plain sum for
// the scalar engine or a vector of lanes for the row spans; both run this
// one definition.
template <Kind Row, Kind Col, typename V>
inline RgbOf<V> siteRule(const Window<V>& p) {
    if constexpr (Row == Col) {  // R (even, even) or B (odd, odd)
        const V cross = (p.n + p.s + p.w + p.e) >> 2;
        const V diagonal = (p.nw + p.ne + p.sw + p.se) >> 2;
        if constexpr (Row == Kind::Even) return {p.own, cross, diagonal};
        else return {diagonal, cross, p.own};
    } else {  // Gr (even row) or Gb (odd row)
        const V vertical = (p.n + p.s) >> 1;
        const V horizontal = (p.w + p.e) >> 1;
        if constexpr (Row == Kind::Even) return {horizontal, p.own, vertical};
        else return {vertical, p.own, horizontal};
    }
}

// The site at column x of a.mid with west and east neighbour columns l and r
// (mirrored at the frame's sides).
template <Kind Row, Kind Col, typename T>
inline Rgb site(const Around<T>& a, ptrdiff_t l, ptrdiff_t x, ptrdiff_t r) {
    return siteRule<Row, Col>(Window<Sum>{a.up[l], a.up[x], a.up[r], a.mid[l], a.mid[x], a.mid[r],
                                          a.dn[l], a.dn[x], a.dn[r]});
}

template <typename W>
inline void put(const W& out, ptrdiff_t i, const Rgb& p) {
    out.put(i, static_cast<int>(p.red), static_cast<int>(p.green), static_cast<int>(p.blue));
}

template <Kind Row, Kind Col, typename T, typename W>
inline void putSite(const W& out, ptrdiff_t i, const Around<T>& a, ptrdiff_t l, ptrdiff_t x, ptrdiff_t r) {
    put(out, i, site<Row, Col>(a, l, x, r));
}

// ---------------------------------------------------------------- along a row
// `base` is the writer index of the row's column 0.

// Column 0: its west neighbour is column 1.
template <Kind Row, typename T, typename W>
inline void rowStart(const W& out, ptrdiff_t base, const Around<T>& a) {
    putSite<Row, Kind::Even>(out, base, a, 1, 0, 1);
}

// The (odd, even) column pair starting at odd column c, both interior. Both
// pixels are computed before either is stored, so that a store (which may
// alias the source, as far as the compiler knows) forces no reloads.
template <Kind Row, typename T, typename W>
inline void columnPair(const W& out, ptrdiff_t base, const Around<T>& a, ptrdiff_t c) {
    const Rgb odd = site<Row, Kind::Odd>(a, c - 1, c, c + 1);
    const Rgb even = site<Row, Kind::Even>(a, c, c + 1, c + 2);
    put(out, base + c, odd);
    put(out, base + c + 1, even);
}

// The leading column pairs of a row interior that the vector span takes, if
// the writer has a vector form and the processor a span for this sample
// type; returns the first column left to the scalar loop.
template <Kind Row, typename T, typename W>
inline ptrdiff_t vectorSpan(const W& out, ptrdiff_t base, const Around<T>& a, ptrdiff_t c, int32_t width) {
    const VectorOut v = simd::vectorOutOf(out);
    if (v.kind == VectorOut::Kind::None) return c;
    const simd::Kernels& k = simd::kernels();
    simd::BilinearSpan<T> span;
    if constexpr (sizeof(T) == 1) span = k.bilinear8[Row == Kind::Odd];
    else span = k.bilinear16[Row == Kind::Odd];
    return span == nullptr ? c : span(a.up, a.mid, a.dn, c, width, v, base);
}

// Columns 1 to lastColsStart-1: the column pairs (1,2), (3,4), ... that have
// both neighbours inside the frame; none when width < 4.
template <Kind Row, typename T, typename W>
inline void rowInterior(const W& out, ptrdiff_t base, const Around<T>& a, int32_t width) {
    ptrdiff_t c = 1;
    c = vectorSpan<Row>(out, base, a, c, width);
    for (; c + 2 < width; c += 2) columnPair<Row>(out, base, a, c);
}

// The columns from startCol to the right edge: one odd-kind column, or an
// odd-kind and an even-kind column, the last one's east neighbour mirrored.
// Any other distance to the edge writes nothing.
template <Kind Row, typename T, typename W>
inline void rowEnd(const W& out, ptrdiff_t base, const Around<T>& a, int32_t width, uint32_t startCol) {
    const ptrdiff_t k = static_cast<ptrdiff_t>(startCol);
    const int64_t left = static_cast<int64_t>(width) - startCol;
    if (left == 1) {
        putSite<Row, Kind::Odd>(out, base + k, a, k - 1, k, k - 1);
    } else if (left == 2) {
        putSite<Row, Kind::Odd>(out, base + k, a, k - 1, k, k + 1);
        putSite<Row, Kind::Even>(out, base + k + 1, a, k, k + 1, k);
    }
}

// ---------------------------------------------------------------- down a column

// Calls f(KindTag, row, Around) for the rows from startRow (odd kind) to the
// bottom when one or two are left: the last row's south neighbour mirrored.
template <typename T, typename F>
inline void leftoverRows(const T* src, int32_t height, int32_t width, uint32_t startRow, F&& f) {
    const int64_t left = static_cast<int64_t>(height) - startRow;
    if (left != 1 && left != 2) return;
    const ptrdiff_t y = static_cast<ptrdiff_t>(startRow);
    const T* above = src + (y - 1) * width;
    const T* row = above + width;
    if (left == 1) {
        f(KindTag<Kind::Odd>{}, y, Around<T>{above, row, above});
    } else {
        const T* below = row + width;
        f(KindTag<Kind::Odd>{}, y, Around<T>{above, row, below});
        f(KindTag<Kind::Even>{}, y + 1, Around<T>{row, below, row});
    }
}

// Calls f(KindTag, row, Around) for rows 1 to height-1: pairs (odd, even)
// while both have a row below them, then one or two leftover rows.
template <typename T, typename F>
inline void walkRows(const T* src, int32_t height, int32_t width, F&& f) {
    ptrdiff_t y = 1;
    for (; y + 2 < height; y += 2) {
        const T* above = src + (y - 1) * width;
        const T* row = above + width;
        const T* below = row + width;
        f(KindTag<Kind::Odd>{}, y, Around<T>{above, row, below});
        f(KindTag<Kind::Even>{}, y + 1, Around<T>{row, below, below + width});
    }
    leftoverRows(src, height, width, static_cast<uint32_t>(y), f);
}

// ---------------------------------------------------------------- the pieces

// The first column of the last-columns region: ((width-4) & ~1) + 3, which
// equals width - 1 - (width & 1) for every width >= 4 (the last column, or
// the last two for odd widths), and 1 for narrower frames.
inline uint32_t lastColsStart(int32_t width) {
    return width >= 4 ? ((static_cast<uint32_t>(width) - 4) & ~1u) + 3 : 1u;
}

// The first row of the last-rows region: height - 1 - (height & 1).
inline uint32_t lastRowsStart(int32_t height) {
    const uint32_t h = static_cast<uint32_t>(height);
    return h - 1 - (h & 1);
}

// One row pair, columns 1 to lastColsStart-1: a B/Gb row at writer index
// `base` over source rows (r0, r1, r2), then the Gr/R row below it over
// (r1, r2, r3). Each row is a straight run of (odd, even) column pairs with
// fixed site formulas and no border tests. The two rows are walked one after
// the other rather than cell by cell: with planar output a cell walk touches
// four source rows and six plane rows at once, and on frames whose rows are
// a power of two apart those streams overrun the cache's associativity.
template <typename T, typename W>
inline void rowPair(const W& out, ptrdiff_t base, const T* r0, const T* r1, const T* r2, const T* r3,
                    int32_t width) {
    rowInterior<Kind::Odd>(out, base, Around<T>{r0, r1, r2}, width);
    rowInterior<Kind::Even>(out, base + width, Around<T>{r1, r2, r3}, width);
}

// Row 0, every column; row -1 is row 1.
template <typename T, typename W>
void firstRows(const T* src, const W& out, int32_t width) {
    const Around<T> a{src + width, src, src + width};
    rowStart<Kind::Even>(out, 0, a);
    rowInterior<Kind::Even>(out, 0, a, width);
    rowEnd<Kind::Even>(out, 0, a, width, lastColsStart(width));
}

// Column 0, rows 1 to height-1.
template <typename T, typename W>
void firstCols(const T* src, const W& out, int32_t height, int32_t width) {
    walkRows(src, height, width, [&](auto kind, ptrdiff_t y, const Around<T>& a) {
        rowStart<decltype(kind)::value>(out, y * width, a);
    });
}

// Rows 1 to lastRowsStart-1, columns 1 to lastColsStart-1. Nothing is
// written when height < 4 or width < 4.
template <typename T, typename W>
BilinearBodyEnd body(const T* src, const W& out, int32_t height, int32_t width) {
    for (ptrdiff_t y = 1; y + 2 < height; y += 2) {
        const T* r0 = src + (y - 1) * width;
        rowPair(out, y * width, r0, r0 + width, r0 + 2 * width, r0 + 3 * width, width);
    }
    return BilinearBodyEnd{lastColsStart(width), lastRowsStart(height)};
}

// Rows startRow to height-1 (one odd-kind row, or an odd and an even one),
// columns 1 to lastColsStart-1.
template <typename T, typename W>
void lastRows(const T* src, const W& out, int32_t height, int32_t width, uint32_t startRow) {
    leftoverRows(src, height, width, startRow, [&](auto kind, ptrdiff_t y, const Around<T>& a) {
        rowInterior<decltype(kind)::value>(out, y * width, a, width);
    });
}

// Columns startCol to width-1 (one odd-kind column, or an odd and an even
// one), rows 1 to height-1, bottom-right corner included.
template <typename T, typename W>
void lastCols(const T* src, const W& out, int32_t height, int32_t width, uint32_t startCol) {
    walkRows(src, height, width, [&](auto kind, ptrdiff_t y, const Around<T>& a) {
        rowEnd<decltype(kind)::value>(out, y * width, a, width, startCol);
    });
}

// ---------------------------------------------------------------- GR/GB rows 0 and 1
//
// Row 0 of a GR or GB mosaic is a B/Gb row (row -1 mirrored onto row 1), row 1
// an R/Gr row between rows 0 and 2; the same formulas and column walk as any
// other row, except at the right end of odd-width frames.

// Deliberate, and kept exactly: the two-leftover branch of these rows (odd
// width, columns k = width-2 and k+1) reads two samples from the start of the
// rows instead of column k-1 and column k:
//  - the green at (0, k), a B site, is (s(0,0) + s(0,k+1) + 2 s(1,k)) >> 2:
//    s(0,0) stands where its west neighbour s(0,k-1) belongs;
//  - the row-0 colour ("blue") at (1, k) and (1, k+1) is (s(0,k) + s(2,1)) >> 1:
//    s(2,1) stands where s(2,k) belongs.
// With width 3 these are the expected samples; from width 5 on they are not.
template <typename T>
inline Sum oddWidthRow0Green(const T* src, int32_t width, ptrdiff_t k) {
    return (Sum{src[0]} + src[k + 1] + 2 * Sum{src[width + k]}) >> 2;
}
template <typename T>
inline Sum oddWidthRow1Blue(const T* src, int32_t width, ptrdiff_t k) {
    return (Sum{src[k]} + src[2 * width + 1]) >> 1;
}

// Deliberate as well, for mono output only: on the four pixels of that
// branch the luma weights of green and of the colour of row 1 ("red") are
// exchanged. Every other writer is used as it is.
template <typename W>
inline const W& oddWidthEndWriter(const W& out) {
    return out;
}
inline Luma oddWidthEndWriter(const Luma& out) {
    return Luma{out.dst, out.wGreen, out.wRed, out.wBlue};
}

// Rows 0 and 1, every column (reads row 2).
template <typename T, typename W>
void grFirstRows(const T* src, const W& out, int32_t width) {
    const T* row0 = src;
    const T* row1 = src + width;
    const T* row2 = row1 + width;
    const Around<T> a0{row1, row0, row1};
    const Around<T> a1{row0, row1, row2};
    rowStart<Kind::Odd>(out, 0, a0);
    rowStart<Kind::Even>(out, width, a1);
    rowPair(out, 0, row1, row0, row1, row2, width);

    const uint32_t k = lastColsStart(width);
    if ((width & 1) == 0) {
        rowEnd<Kind::Odd>(out, 0, a0, width, k);
        rowEnd<Kind::Even>(out, width, a1, width, k);
        return;
    }
    if (width - static_cast<int64_t>(k) != 2) return;  // width < 3
    const ptrdiff_t c = k;
    const auto& end = oddWidthEndWriter(out);
    Rgb p = site<Kind::Odd, Kind::Odd>(a0, c - 1, c, c + 1);
    p.green = oddWidthRow0Green(src, width, c);
    put(end, c, p);
    putSite<Kind::Odd, Kind::Even>(end, c + 1, a0, c, c + 1, c);
    p = site<Kind::Even, Kind::Odd>(a1, c - 1, c, c + 1);
    p.blue = oddWidthRow1Blue(src, width, c);
    put(end, width + c, p);
    p = site<Kind::Even, Kind::Even>(a1, c, c + 1, c);
    p.blue = oddWidthRow1Blue(src, width, c);
    put(end, width + c + 1, p);
}

// ---------------------------------------------------------------- whole frames

// An RG-geometry frame: the five pieces in order.
template <typename T, typename W>
void demosaicRG(const T* src, const W& out, int32_t height, int32_t width) {
    firstRows(src, out, width);
    firstCols(src, out, height, width);
    const BilinearBodyEnd end = body(src, out, height, width);
    lastRows(src, out, height, width, end.lastRowsStart);
    lastCols(src, out, height, width, end.lastColsStart);
}

// A GR/GB frame: rows 0 and 1 by their own piece, the rest as the RG frame of
// height-1 rows starting at row 1. The last rows run on the whole frame, so
// their start row is shifted by one.
template <typename T, typename W>
void demosaicGR(const T* src, const W& out, int32_t height, int32_t width) {
    grFirstRows(src, out, width);
    const T* sub = src + width;
    const W subOut = out.at(width);
    firstCols(sub, subOut, height - 1, width);
    const BilinearBodyEnd end = body(sub, subOut, height - 1, width);
    lastRows(src, out, height, width, end.lastRowsStart + 1);
    lastCols(sub, subOut, height - 1, width, end.lastColsStart);
}

}  // namespace zel::bilinear
