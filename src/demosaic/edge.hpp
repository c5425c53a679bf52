// Edge-directed demosaicing: one engine for 8-bit and 16-bit samples and for
// every output writer.
//
// The rules, for a site (r, c) with sample S:
//  * Green at a red or blue site follows the direction of the smaller
//    gradient: with Lh = 2S - S(r, c-2) - S(r, c+2) and Lv likewise,
//    Gh = |S(r, c-1) - S(r, c+1)| + |Lh|, Gv = |S(r-1, c) - S(r+1, c)| + |Lv|,
//    the estimate is floor(mean of the two greens) + floor(L / 4) along the
//    horizontal when Gh < Gv and along the vertical otherwise. The result is
//    clamped to 0..maxValue and only the clamped value is used afterwards.
//  * Red and blue come from colour differences D = S - green at the sites
//    that carry the missing colour: the green at the pixel plus the floored
//    mean of the two (horizontal or vertical) or four (diagonal) nearest
//    differences, clamped. A site's own sample is copied unchanged.
//  * Outside the frame, rows and columns are mirrored about the border row
//    or column (column -k reads column k); the mirror site has the same
//    colour, so the rules apply unchanged.
//
// Geometry: red rows (R G R G ...) alternate with blue rows (G B G B ...);
// `phase` is the parity of the columns that hold red in a red row (blue sits
// at the other parity in a blue row). The frame is walked in row pairs: a
// pass for the pair (y, y+1), y a red row, computes the greens at the red
// sites of row y and the blue sites of row y+1 and completes rows y-1 and y.
// Between passes only one row of greens is carried: entry c holds the green
// of the red or blue site in column c of the latest pair. A pass walks the
// columns in steps x (a red column), computing the greens at columns x and
// x+1 and completing columns x-1 and x; the steps near the left and right
// borders mirror, the interior steps (every column from x-2 to x+3 inside
// the frame) run without a single bounds test.
//
// Where the carried greens live is the Store's business: a separate row
// (LineStore; the 8-bit kernels, possibly inside their own output) or the
// green samples of the output rows themselves (PixelGreenStore; the 16-bit
// kernels, which read back what they have produced).
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "demosaic/layout.hpp"
#include "simd/dispatch.hpp"

namespace zel::edge {

// ------------------------------------------------------------- arithmetic
//
// The rules below are templates over the value type: plain int for the
// scalar engine, a vector of signed lanes for the row spans (edge-inl.h),
// which provides its own magnitude, clampTo and pickIfLess.

// Halving and quartering are arithmetic shifts of signed values, so they
// floor: -1 halves to -1 and -3 quarters to -1.
template <typename V>
constexpr V floorHalf(V v) {
    return v >> 1;
}
template <typename V>
constexpr V floorQuarter(V v) {
    return v >> 2;
}
constexpr int magnitude(int v) { return v < 0 ? -v : v; }
constexpr int clampTo(int v, int maxValue) {
    const int low = v < 0 ? 0 : v;
    return low > maxValue ? maxValue : low;
}
// a < b ? yes : no, both already formed.
constexpr int pickIfLess(int a, int b, int yes, int no) { return a < b ? yes : no; }

// Green at a red or blue site with sample p before clamping; w1/e1 and n1/s1
// are the green neighbours, w2/e2 and n2/s2 the same-colour sites two away.
template <typename V>
constexpr V greenEstimate(V p, V w1, V e1, V w2, V e2, V n1, V s1, V n2, V s2) {
    const V lh = p + p - w2 - e2;
    const V lv = p + p - n2 - s2;
    const V gh = magnitude(w1 - e1) + magnitude(lh);
    const V gv = magnitude(n1 - s1) + magnitude(lv);
    // Both estimates are formed and one selected, which keeps the choice
    // free of branches. Equal gradients take the vertical estimate: there is
    // deliberately no third, averaged case.
    const V horizontal = floorHalf(w1 + e1) + floorQuarter(lh);
    const V vertical = floorHalf(n1 + s1) + floorQuarter(lv);
    return pickIfLess(gh, gv, horizontal, vertical);
}

// Index of the mirror image of i in 0..last, the border itself not repeated.
// One reflection covers the two-site reach of the rules.
constexpr int mirror(int i, int last) { return i < 0 ? -i : (i > last ? 2 * last - i : i); }

// --------------------------------------------------------------- pass kinds

// Where a pass takes each group of greens from.
enum class Src : uint8_t {
    Unused,   // not needed by this pass
    Store,    // read from the store (left there by an earlier pass)
    Compute,  // computed by this pass and written to the store
    Alias,    // the mirror image of the other group of the same colour
};

// Which interior steps also write what they already know of the pixels
// that a later step or pass completes (see aheadOfStep). A piece that stops
// before those later steps leaves that way every value its own steps
// determine; pixels written ahead are written again, whole, when completed.
enum class Ahead : uint8_t {
    None,       // no step: the same walk completes everything later
    LastStep,   // the last interior step: another piece completes column last+1
    EveryStep,  // every step: row y+1 too, when no pair of the walk follows
};

struct PassKind {
    Src oldRed;   // greens at the red sites of row y-2
    Src oldBlue;  // greens at the blue sites of row y-1
    Src newRed;   // greens at the red sites of row y
    Src newBlue;  // greens at the blue sites of row y+1
    bool upper;   // completes row y-1 (a blue row)
    bool lower;   // completes row y (a red row)
    Ahead ahead = Ahead::None;
};

// An interior pair.
inline constexpr PassKind kBody{Src::Store, Src::Store, Src::Compute, Src::Compute, true, true};
// Interior pairs of a piece that leaves the columns right of it, and for
// the last of its pairs row y+1 as well, to other pieces.
inline constexpr PassKind kBodyAheadLastStep{Src::Store, Src::Store, Src::Compute, Src::Compute, true, true,
                                             Ahead::LastStep};
inline constexpr PassKind kBodyAheadEveryStep{Src::Store, Src::Store, Src::Compute, Src::Compute, true, true,
                                              Ahead::EveryStep};
// y = 0 of a frame whose row 0 is red: row -1 is row 1.
inline constexpr PassKind kTopRed{Src::Unused, Src::Alias, Src::Compute, Src::Compute, false, true};
// y = -1 of a frame whose row 0 is blue: only the greens of row 0.
inline constexpr PassKind kTopBlueGreens{Src::Unused, Src::Unused, Src::Unused, Src::Compute, false, false};
// y = 1 of a frame whose row 0 is blue: row -1 is row 1.
inline constexpr PassKind kTopBlue{Src::Alias, Src::Store, Src::Compute, Src::Compute, true, true};
// Any pair, greens only: what a band's first pass would find in the store
// had the pass before it run.
inline constexpr PassKind kGreens{Src::Unused, Src::Unused, Src::Compute, Src::Compute, false, false};
// y = H, after the last red row H-2: completes the blue row H-1 (row H is H-2).
inline constexpr PassKind kBottomEven{Src::Store, Src::Store, Src::Alias, Src::Unused, true, false};
// y = H-1, the last row red: completes rows H-2 and H-1 (row H is H-2).
inline constexpr PassKind kBottomOdd{Src::Store, Src::Store, Src::Compute, Src::Alias, true, true};

// A pass kind that completes only those of its rows the flags keep. It still
// reads and computes every group of greens the full pass does, although the
// blue row y-1 alone needs the red greens of row y-2 and the red row y alone
// the blue greens of row y+1: the vector spans then take their plain path,
// and a band's split passes cost little more than whole ones.
constexpr PassKind keeping(PassKind k, bool upper, bool lower) {
    k.upper = k.upper && upper;
    k.lower = k.lower && lower;
    return k;
}

// ------------------------------------------------------------------ stores

// The two kinds of column: red columns hold the red sites of the red rows
// (y-2 and y), blue columns the blue sites of the blue rows (y-1 and y+1).
enum class Site : uint8_t { Red, Blue };

// The carried greens in one separate row of `width` samples, entry c holding
// the green of column c's red or blue site. Old entries are read before the
// new ones are written over them.
template <typename T>
struct LineStore {
    T* line;

    int old(Site, int c) const { return line[c]; }
    int fresh(Site, int c) const { return line[c]; }
    void put(Site, int c, int v) const { line[c] = static_cast<T>(v); }
    void vectorGreens(simd::EdgeRun<T>& r) const {
        r.greens[0] = r.greens[1] = r.greens[2] = r.greens[3] = line;
        r.greenStep = 1;
    }
};

// The carried greens read back from sample 1 of interleaved three-sample
// output rows: old rows y-2 (red sites) and y-1 (blue sites), new rows y and
// y+1.
template <typename T>
struct PixelGreenStore {
    T* oldRows[2];
    T* newRows[2];
    simd::GreenCarry<T> carry;

    int old(Site s, int c) const { return oldRows[static_cast<int>(s)][3 * c]; }
    int fresh(Site s, int c) const { return newRows[static_cast<int>(s)][3 * c]; }
    void put(Site s, int c, int v) const { newRows[static_cast<int>(s)][3 * c] = static_cast<T>(v); }
    void vectorGreens(simd::EdgeRun<T>& r) const {
        r.greens[0] = oldRows[0], r.greens[1] = oldRows[1], r.greens[2] = newRows[0], r.greens[3] = newRows[1];
        r.greenStep = 3;
        r.carry = carry;
    }
};

// --------------------------------------------------------------- the frame

// The source rows a piece sees: row r of its frame, with rows below `count`
// mirrored about the last one and, when mirrorTop is set, rows above 0
// mirrored about row 0 (a piece that starts inside a larger frame reads the
// real rows above it instead). Row r lies at base + (r - baseRow) * stride:
// rows `width` apart from row 0 on, unless a band reads padded rows where
// they are or only its own rows of a reduced frame.
template <typename T>
struct SourceRows {
    const T* base;
    int width;
    int count;
    bool mirrorTop;
    ptrdiff_t stride = width;
    int baseRow = 0;

    int map(int r) const {
        if (mirrorTop && r < 0) r = -r;
        return r > count - 1 ? 2 * (count - 1) - r : r;
    }
    const T* row(int r) const { return base + static_cast<ptrdiff_t>(map(r) - baseRow) * stride; }
};

// The two kinds of store, bound to the rows of one pair.
template <typename T>
LineStore<T> bindStore(const LineStore<T>& s, const SourceRows<T>&, int) {
    return s;
}

// Output rows of three samples whose sample 1 holds the greens; the vector
// spans may carry theirs between passes (see GreenCarry), the scalar steps
// always use the pixels.
template <typename T>
struct PixelGreenRows {
    T* out;  // pixel (0, 0) of the piece's frame
    int width;
    simd::GreenCarry<T> carry{};
};

template <typename T>
PixelGreenStore<T> bindStore(const PixelGreenRows<T>& s, const SourceRows<T>& rows, int y) {
    auto green = [&](int r) { return s.out + static_cast<ptrdiff_t>(rows.map(r)) * 3 * s.width + 1; };
    return {{green(y - 2), green(y - 1)}, {green(y), green(y + 1)}, s.carry};
}

// Everything one pass reads and writes.
template <typename T, typename Writer, typename Store>
struct Pair {
    const T* row[6];  // source rows y-2 .. y+3, already mirrored
    Writer out;
    Store greens;
    ptrdiff_t upper;  // pixel index of (y-1, 0)
    ptrdiff_t lower;  // pixel index of (y, 0)
    int width;
    int phase;
    int maxValue;
};

// ------------------------------------------------------------ column steps

// The greens and colour differences of four consecutive columns x-2 .. x+1
// (red, blue, red, blue) in the old rows (y-2, y-1) and the new rows (y, y+1).
// No member initialisers: the vector windows fill only the entries their
// rules read (GCC would otherwise clear them with memset), and the scalar
// walks start from a zeroed Window{}.
template <typename V>
struct EntryOf {
    V oldG;
    V oldD;
    V newG;
    V newD;
};
template <typename V>
struct WindowOf {
    EntryOf<V> e[4];
};
using Entry = EntryOf<int>;
using Window = WindowOf<int>;

// The colour difference at a red or blue site.
template <typename V>
constexpr V difference(V sample, V green) {
    return sample - green;
}

struct Inside {
    int operator()(int c) const { return c; }
};
struct Mirrored {
    int last;
    int operator()(int c) const { return mirror(c, last); }
};

// The parts of an entry that mirror the other group of the same colour.
inline void settleAliases(Entry& e, Src from, Src to) {
    if (from == Src::Alias) e.oldG = e.newG, e.oldD = e.newD;
    if (to == Src::Alias) e.newG = e.oldG, e.newD = e.oldD;
}

// Fills the window entry of column c: the old green and difference (rows y-2
// or y-1), the new ones (rows y or y+1). Resume reads the new greens from the
// store instead of computing them (a piece continuing another's work).
template <PassKind K, Site S, bool Resume, typename P, typename Cols>
inline void fill(const P& p, Entry& e, int c, Cols cols) {
    constexpr int o = S == Site::Red ? 0 : 1;  // old row row[o], new row row[o + 2]
    constexpr Src from = S == Site::Red ? K.oldRed : K.oldBlue;
    constexpr Src to = S == Site::Red ? K.newRed : K.newBlue;
    if constexpr (from == Src::Store) {
        e.oldG = p.greens.old(S, c);
        e.oldD = difference<int>(p.row[o][c], e.oldG);
    }
    if constexpr (to == Src::Compute) {
        const auto* r = p.row[o + 2];
        if constexpr (Resume) {
            e.newG = p.greens.fresh(S, c);
        } else {
            e.newG = clampTo(greenEstimate<int>(r[c], r[cols(c - 1)], r[cols(c + 1)], r[cols(c - 2)], r[cols(c + 2)],
                                           p.row[o + 1][c], p.row[o + 3][c], p.row[o][c], p.row[o + 4][c]),
                             p.maxValue);
            p.greens.put(S, c, e.newG);
        }
        e.newD = difference<int>(r[c], e.newG);
    }
    settleAliases(e, from, to);
}

// A missing red or blue: the base (the sample at a green site, the green at
// a red or blue site) plus the floored mean of the two or four nearest colour
// differences, clamped.
template <typename V>
constexpr V fromTwo(V base, V d1, V d2, V maxValue) {
    return clampTo(base + floorHalf(d1 + d2), maxValue);
}
template <typename V>
constexpr V fromFour(V base, V d1, V d2, V d3, V d4, V maxValue) {
    return clampTo(base + floorQuarter(d1 + d2 + d3 + d4), maxValue);
}

// Completion of the four pixels of a step, given each pixel's own sample;
// column x-1 is window entry 1, x entry 2. Row y-1 is a blue row, row y a
// red row.
template <typename V>
constexpr RgbOf<V> upperBlueRule(const WindowOf<V>& w, V own, V maxValue) {
    const V g = w.e[1].oldG;
    return {fromFour(g, w.e[0].oldD, w.e[2].oldD, w.e[0].newD, w.e[2].newD, maxValue), g, own};
}
template <typename V>
constexpr RgbOf<V> upperGreenRule(const WindowOf<V>& w, V own, V maxValue) {
    return {fromTwo(own, w.e[2].oldD, w.e[2].newD, maxValue), own, fromTwo(own, w.e[1].oldD, w.e[3].oldD, maxValue)};
}
template <typename V>
constexpr RgbOf<V> lowerGreenRule(const WindowOf<V>& w, V own, V maxValue) {
    return {fromTwo(own, w.e[0].newD, w.e[2].newD, maxValue), own, fromTwo(own, w.e[1].oldD, w.e[1].newD, maxValue)};
}
template <typename V>
constexpr RgbOf<V> lowerRedRule(const WindowOf<V>& w, V own, V maxValue) {
    const V g = w.e[2].newG;
    return {own, g, fromFour(g, w.e[1].oldD, w.e[3].oldD, w.e[1].newD, w.e[3].newD, maxValue)};
}

template <typename W>
inline void put(const W& out, ptrdiff_t i, const RgbOf<int>& v) {
    out.put(i, v.red, v.green, v.blue);
}
template <typename P>
inline void upperBlueSite(const P& p, const Window& w, int c) {
    put(p.out, p.upper + c, upperBlueRule<int>(w, p.row[1][c], p.maxValue));
}
template <typename P>
inline void upperGreenSite(const P& p, const Window& w, int c) {
    put(p.out, p.upper + c, upperGreenRule<int>(w, p.row[1][c], p.maxValue));
}
template <typename P>
inline void lowerGreenSite(const P& p, const Window& w, int c) {
    put(p.out, p.lower + c, lowerGreenRule<int>(w, p.row[2][c], p.maxValue));
}
template <typename P>
inline void lowerRedSite(const P& p, const Window& w, int c) {
    put(p.out, p.lower + c, lowerRedRule<int>(w, p.row[2][c], p.maxValue));
}

// Writing ahead at step x: the values of (y, x+1), (y+1, x) and (y+1, x+1)
// that need no difference beyond column x+1 or row y+1. The blue sample at
// (y+1, x+1); the green samples and the blues of (y, x+1) (vertical pair,
// column x+1) and (y+1, x) (horizontal pair, row y+1). Their reds wait for
// step x+2 or the next pair. The green of (y+1, x+1) is written by the store,
// so writing ahead is for walks whose store is the output (PixelGreenStore).
template <typename P>
inline void aheadOfStep(const P& p, const Window& w, int x) {
    const ptrdiff_t below = p.lower + p.width;  // pixel index of (y+1, 0)
    const int right = p.row[2][x + 1];
    const int under = p.row[3][x];
    p.out.putGreen(p.lower + x + 1, right);
    p.out.putBlue(p.lower + x + 1, fromTwo<int>(right, w.e[3].oldD, w.e[3].newD, p.maxValue));
    p.out.putGreen(below + x, under);
    p.out.putBlue(below + x, fromTwo<int>(under, w.e[1].newD, w.e[3].newD, p.maxValue));
    p.out.putBlue(below + x + 1, p.row[3][x + 1]);
}

// One interior step: every column from x-2 to x+3 lies inside the frame.
template <PassKind K, typename P>
inline void interiorStep(const P& p, Window& w, int x) {
    w.e[0] = w.e[2];
    w.e[1] = w.e[3];
    fill<K, Site::Red, false>(p, w.e[2], x, Inside{});
    fill<K, Site::Blue, false>(p, w.e[3], x + 1, Inside{});
    if constexpr (K.upper) {
        upperBlueSite(p, w, x - 1);
        upperGreenSite(p, w, x);
    }
    if constexpr (K.lower) {
        lowerGreenSite(p, w, x - 1);
        lowerRedSite(p, w, x);
    }
    if constexpr (K.ahead == Ahead::EveryStep) aheadOfStep(p, w, x);
}

// One step near the left or right border: columns outside the frame are
// skipped or taken from their mirror image.
template <PassKind K, typename P>
void borderStep(const P& p, Window& w, int x) {
    const int last = p.width - 1;
    auto inside = [last](int c) { return c >= 0 && c <= last; };
    w.e[0] = w.e[2];
    w.e[1] = w.e[3];
    if (inside(x)) fill<K, Site::Red, false>(p, w.e[2], x, Mirrored{last});
    if (inside(x + 1)) fill<K, Site::Blue, false>(p, w.e[3], x + 1, Mirrored{last});
    for (int k = 0; k < 4; ++k) {
        const int c = x - 2 + k;
        const int j = mirror(c, last) - (x - 2);
        if (!inside(c) && j >= 0 && j < 4) w.e[k] = w.e[j];
    }
    if (inside(x - 1)) {
        if constexpr (K.upper) upperBlueSite(p, w, x - 1);
        if constexpr (K.lower) lowerGreenSite(p, w, x - 1);
    }
    if (inside(x)) {
        if constexpr (K.upper) upperGreenSite(p, w, x);
        if constexpr (K.lower) lowerRedSite(p, w, x);
    }
}

// ---------------------------------------------------------- column plans

// The interior steps x = first, first + 2, ..., last (last < first when the
// frame is too narrow for any); the right border steps start at last + 2.
struct InteriorSpan {
    int first;
    int last;
};
constexpr InteriorSpan interiorSpan(int width, int phase) {
    const int first = phase + 2;
    const int room = width - 4 - first;
    return {first, room < 0 ? first - 2 : first + 2 * (room / 2)};
}

template <PassKind K, typename P>
void leftSteps(const P& p, Window& w) {
    if (p.phase != 0) borderStep<K>(p, w, p.phase - 2);
    borderStep<K>(p, w, p.phase);
}

// Continues a pass whose columns before x another piece has produced: the
// entries of columns x-2 and x-1 come from the store.
template <PassKind K, typename P>
void resumeAt(const P& p, Window& w, int x) {
    fill<K, Site::Red, true>(p, w.e[2], x - 2, Inside{});
    fill<K, Site::Blue, true>(p, w.e[3], x - 1, Inside{});
}

// The leading interior steps from x that the processor's vector span takes,
// if the writer has a vector form; returns the first step left to the
// scalar loop, with the window as the scalar steps would have left it.
template <PassKind K, typename P>
int vectorSteps(const P& p, Window& w, int x, int last) {
    using T = std::remove_cvref_t<decltype(*p.row[0])>;
    const VectorOut v = simd::vectorOutOf(p.out);
    if (v.kind == VectorOut::Kind::None) return x;
    const simd::Kernels& k = simd::kernels();
    simd::EdgeSpan<T> span;
    if constexpr (sizeof(T) == 1) span = k.edge8;
    else span = k.edge16;
    if (span == nullptr) return x;
    simd::EdgeRun<T> run{{p.row[0], p.row[1], p.row[2], p.row[3], p.row[4], p.row[5]}, {}, 0, v, p.upper, p.lower,
                         p.maxValue};
    p.greens.vectorGreens(run);
    return span(run, K, w, x, last);
}

// Writing ahead for the steps from .. to that a vector span took, their
// blue entries read back from the store. The span has already stored every
// pixel of theirs; what this writes again it writes with the same values.
template <PassKind K, typename P>
void aheadOfSteps(const P& p, int from, int to) {
    Window w{};
    fill<K, Site::Blue, true>(p, w.e[3], from - 1, Inside{});
    for (int x = from; x <= to; x += 2) {
        w.e[1] = w.e[3];
        fill<K, Site::Blue, true>(p, w.e[3], x + 1, Inside{});
        aheadOfStep(p, w, x);
    }
}

template <PassKind K, typename P>
void interiorSteps(const P& p, Window& w, InteriorSpan span) {
    int x = vectorSteps<K>(p, w, span.first, span.last);
    if constexpr (K.ahead == Ahead::EveryStep) aheadOfSteps<K>(p, span.first, x - 2);
    for (; x <= span.last; x += 2) interiorStep<K>(p, w, x);
    if constexpr (K.ahead == Ahead::LastStep) {
        if (span.last >= span.first) aheadOfStep(p, w, span.last);
    }
}

template <PassKind K, typename P>
void rightSteps(const P& p, Window& w, int from) {
    for (int x = from; x <= p.width; x += 2) borderStep<K>(p, w, x);
}

// Every column of the pair.
struct AllColumns {
    template <PassKind K, typename P>
    void run(const P& p) const {
        Window w{};
        const InteriorSpan span = interiorSpan(p.width, p.phase);
        leftSteps<K>(p, w);
        interiorSteps<K>(p, w, span);
        rightSteps<K>(p, w, span.last + 2);
    }
};

// The columns left of the interior (up to the phase column and the one after).
struct LeftColumns {
    template <PassKind K, typename P>
    void run(const P& p) const {
        Window w{};
        leftSteps<K>(p, w);
    }
};

// The interior steps only, after LeftColumns has run for the same pair.
struct InteriorColumns {
    template <PassKind K, typename P>
    void run(const P& p) const {
        Window w{};
        const InteriorSpan span = interiorSpan(p.width, p.phase);
        if (span.last < span.first) return;
        resumeAt<K>(p, w, span.first);
        interiorSteps<K>(p, w, span);
    }
};

// The greens from column `from` on and the pixels from column from-1 on,
// after the columns before have been produced.
struct RightColumns {
    int from;
    template <PassKind K, typename P>
    void run(const P& p) const {
        Window w{};
        resumeAt<K>(p, w, from);
        rightSteps<K>(p, w, from);
    }
};

// ------------------------------------------------------------- row walks

// Runs passes over a frame with one column plan.
template <typename T, typename Writer, typename Store, typename Plan>
struct Walk {
    SourceRows<T> src;
    Writer out;
    Store store;
    int phase;
    int maxValue;
    Plan plan;

    template <PassKind K>
    void pass(int y) const {
        const ptrdiff_t w = src.width;
        const Pair<T, Writer, decltype(bindStore(store, src, y))> p{
            {src.row(y - 2), src.row(y - 1), src.row(y), src.row(y + 1), src.row(y + 2), src.row(y + 3)},
            out,
            bindStore(store, src, y),
            (y - 1) * w,
            y * w,
            src.width,
            phase,
            maxValue};
        plan.template run<K>(p);
    }

    // The top pairs: a red row 0 is one pair (rows 0 and 1, row 0 complete);
    // a blue row 0 takes the greens of row 0 and then the pair (1, 2),
    // completing rows 0 and 1. Returns the first row of the next pair.
    int top(bool redRowFirst) const {
        if (redRowFirst) {
            pass<kTopRed>(0);
            return 2;
        }
        pass<kTopBlueGreens>(-1);
        pass<kTopBlue>(1);
        return 3;
    }

    // Pairs from the red row y to the bottom, then the end the height's
    // parity asks for: the lone blue row H-1, or the lone red row H-1.
    void toBottom(int y) const {
        const int h = src.count;
        for (; y <= h - 2; y += 2) pass<kBody>(y);
        if (y == h)
            pass<kBottomEven>(y);
        else if (y == h - 1)
            pass<kBottomOdd>(y);
    }

    template <PassKind K>
    void passWithin(int y, bool upper, bool lower) const {
        if (upper && lower)
            pass<K>(y);
        else if (upper)
            pass<keeping(K, true, false)>(y);
        else
            pass<keeping(K, false, true)>(y);
    }

    // Rows first .. last of a whole frame (row 0 red or blue): the passes of
    // top() and toBottom() that complete them, each completing only its rows
    // inside the band. A red row is completed by its own pass, a blue row by
    // the pass of the red row below. The pass before the first, greens only,
    // leaves in the store what the first reads; with first = 0 and last =
    // H-1 this is exactly top() followed by toBottom(). The store ends as
    // the whole walk leaves it whenever the band reaches the last row.
    void band(bool redRowFirst, int first, int last) const {
        const int h = src.count;
        const int redParity = redRowFirst ? 0 : 1;
        auto passOf = [redParity](int r) { return r + ((r - redParity) & 1); };
        const int from = passOf(first);
        if (!redRowFirst && from == 1)
            pass<kTopBlueGreens>(-1);
        else if (from > 0)
            pass<kGreens>(from - 2);
        for (int y = from; y <= passOf(last); y += 2) {
            const bool upper = y - 1 >= first;
            const bool lower = y <= last;
            if (redRowFirst && y == 0)
                passWithin<kTopRed>(y, upper, lower);
            else if (!redRowFirst && y == 1)
                passWithin<kTopBlue>(y, upper, lower);
            else if (y == h)
                passWithin<kBottomEven>(y, upper, lower);
            else if (y == h - 1)
                passWithin<kBottomOdd>(y, upper, lower);
            else
                passWithin<kBody>(y, upper, lower);
        }
    }
};

template <typename Plan, typename T, typename Writer, typename Store>
Walk<T, Writer, Store, Plan> walk(SourceRows<T> src, Writer out, Store store, int phase, int maxValue,
                                  Plan plan = {}) {
    return {src, out, store, phase, maxValue, plan};
}

}  // namespace zel::edge
