// Edge-directed row spans: the engine's green estimate and completion rules
// (edge.hpp) on vectors of column pairs. Included once per Highway target.
//
// A span works through blocks of columns in two sweeps. The first computes
// the greens of the new rows (red sites of row y, blue sites of row y+1),
// which depend on source samples only; the second completes rows y-1 and y
// from the old greens, the new ones and the source. The block's old and new
// greens are kept apart on the stack, so that both sweeps read the greens of
// neighbouring columns with plain unaligned loads; the new ones go to the
// store between the sweeps, exactly as the scalar steps put them.
#if defined(ZEL_DEMOSAIC_EDGE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_DEMOSAIC_EDGE_INL_H_
#undef ZEL_DEMOSAIC_EDGE_INL_H_
#else
#define ZEL_DEMOSAIC_EDGE_INL_H_
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "demosaic/edge.hpp"
#include "demosaic/layout-inl.h"
#include "hwy/highway.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// Samples of type T two at a time (Pairs), as signed lanes: the rules floor
// negative values and compare signed gradients.
template <typename T>
struct SignedPairs {
    using P = Pairs<T>;
    using DW = typename P::DW;
    using DS = hn::RebindToSigned<DW>;
    using S = Lanes<DS>;
    using L = typename P::L;

    struct Split {
        S even;
        S odd;
    };
    static HWY_INLINE Split load(const T* p) {
        const auto s = P::load(p);
        return {S{hn::BitCast(DS(), s.even.v)}, S{hn::BitCast(DS(), s.odd.v)}};
    }
    // Steps (column pairs) per vector, and the clamp's bound.
    static HWY_INLINE int count() { return static_cast<int>(P::count()); }
    static HWY_INLINE S maxOf(int maxValue) { return S{hn::Set(DS(), maxValue)}; }
    // Values already clamped to 0..maxValue.
    static HWY_INLINE L unsign(S v) { return L{hn::BitCast(DW(), v.v)}; }
    static HWY_INLINE RgbOf<L> unsign(const RgbOf<S>& v) { return {unsign(v.red), unsign(v.green), unsign(v.blue)}; }
    // Values of the even and odd columns from dst, interleaved.
    static HWY_INLINE void store(S even, S odd, T* dst) {
        hn::StoreU(P::join(unsign(even), unsign(odd)), typename P::DT(), dst);
    }
};

// The greens of the red sites (y, x + 2k) and the blue sites (y+1, x+1 + 2k),
// stored interleaved from dst (column x). SP reads a row's even and odd
// columns apart (SignedPairs, or NarrowPairs below) and stores the greens.
template <typename SP, typename T>
HWY_INLINE void newGreens(SP& pairs, const simd::EdgeRun<T>& run, int x, T* dst, typename SP::S maxValue) {
    using S = typename SP::S;
    const T* const* r = run.row;
    const auto a2 = pairs.load(r[2] + x - 2), b2 = pairs.load(r[2] + x), c2 = pairs.load(r[2] + x + 2);
    const auto a3 = pairs.load(r[3] + x - 2), b3 = pairs.load(r[3] + x), c3 = pairs.load(r[3] + x + 2);
    const auto v0 = pairs.load(r[0] + x), v1 = pairs.load(r[1] + x), v4 = pairs.load(r[4] + x);
    const auto v5 = pairs.load(r[5] + x);
    const S red = clampTo(edge::greenEstimate<S>(b2.even, a2.odd, b2.odd, a2.even, c2.even, v1.even, b3.even, v0.even,
                                                 v4.even),
                          maxValue);
    const S blue = clampTo(edge::greenEstimate<S>(b3.odd, b3.even, c3.even, a3.odd, c3.odd, b2.odd, v4.odd, v1.odd,
                                                  v5.odd),
                           maxValue);
    pairs.store(red, blue, dst);
}

// The steps x + 2k: pixels (y-1, x-1 + 2k), (y-1, x + 2k) when Upper, and
// (y, x-1 + 2k), (y, x + 2k) when Lower. oldG and newG hold the greens
// from column x-2 on. The window entries are columns x-2 .. x+1 (red, blue,
// red, blue); each row's pixels are stored before the entries only the other
// row needs are loaded, so that fewer values are alive at once than the
// registers of the narrower targets hold.
template <bool Upper, bool Lower, typename T, typename Store>
HWY_INLINE void completeSteps(const simd::EdgeRun<T>& run, const Store& store, int x,
                              const T* oldG, const T* newG, typename SignedPairs<T>::S maxValue) {
    using SP = SignedPairs<T>;
    using S = typename SP::S;
    using edge::difference;
    const T* const* r = run.row;
    const auto oa = SP::load(oldG), ob = SP::load(oldG + 2);
    const auto na = SP::load(newG), nb = SP::load(newG + 2);
    const auto r1a = SP::load(r[1] + x - 2), r1b = SP::load(r[1] + x);
    const auto r2a = SP::load(r[2] + x - 2), r2b = SP::load(r[2] + x);
    // What both rows use.
    edge::WindowOf<S> w;
    w.e[1].oldD = difference(r1a.odd, oa.odd);
    w.e[3].oldD = difference(r1b.odd, ob.odd);
    w.e[0].newD = difference(r2a.even, na.even);
    w.e[2].newD = difference(r2b.even, nb.even);
    if constexpr (Upper) {
        const auto r0a = SP::load(r[0] + x - 2), r0b = SP::load(r[0] + x);
        w.e[1].oldG = oa.odd;
        w.e[0].oldD = difference(r0a.even, oa.even);
        w.e[2].oldD = difference(r0b.even, ob.even);
        store.pairs(run.upper + x - 1, SP::unsign(edge::upperBlueRule<S>(w, r1a.odd, maxValue)),
                    SP::unsign(edge::upperGreenRule<S>(w, r1b.even, maxValue)));
    }
    if constexpr (Lower) {
        const auto r3a = SP::load(r[3] + x - 2), r3b = SP::load(r[3] + x);
        w.e[2].newG = nb.even;
        w.e[1].newD = difference(r3a.odd, na.odd);
        w.e[3].newD = difference(r3b.odd, nb.odd);
        store.pairs(run.lower + x - 1, SP::unsign(edge::lowerGreenRule<S>(w, r2a.odd, maxValue)),
                    SP::unsign(edge::lowerRedRule<S>(w, r2b.even, maxValue)));
    }
}

// body(j) for j = 0, step, ... while a whole vector of `step` columns fits in
// `cols` (at least one does), then once for the last vector, which may
// overlap the one before. The plain loop lets the compiler step its
// addresses instead of forming each anew.
template <typename Body>
HWY_INLINE void forVectors(int cols, int step, Body&& body) {
    int j = 0;
    for (; j + step <= cols; j += step) body(j);
    if (j < cols) body(cols - step);
}

// f.template operator()<Upper, Lower>() for the rows the pass completes (at
// least one): the completions choose them once per block, not per vector.
template <typename F>
HWY_INLINE void withRows(const edge::PassKind& kind, F&& f) {
    if (kind.upper && kind.lower)
        f.template operator()<true, true>();
    else if (kind.upper)
        f.template operator()<true, false>();
    else
        f.template operator()<false, true>();
}

// The pixels of a block of `cols` columns from x, in 32-bit lanes. Kept out
// of line, as the narrow completion; flattened as the span was, so that the
// lane operators are inlined on every target.
template <typename T, typename Store>
HWY_NOINLINE HWY_FLATTEN void completeBlock(const simd::EdgeRun<T>& run, const edge::PassKind& kind,
                                            const Store& store, int x, int cols, const T* oldG, const T* newG) {
    const int n = SignedPairs<T>::count();
    const auto maxValue = SignedPairs<T>::maxOf(run.maxValue);
    withRows(kind, [&]<bool Upper, bool Lower>() {
        forVectors(cols, 2 * n,
                   [&](int j) { completeSteps<Upper, Lower>(run, store, x + j, oldG + j, newG + j, maxValue); });
    });
}

// Lanes 1, 3, 5, ..., as a mask to form once before a loop: NEON's OddEven
// would fetch its constant anew for every vector.
template <class D>
HWY_INLINE hn::Mask<D> oddLanes(D d) {
    using T = hn::TFromD<D>;
    return hn::Ne(hn::And(hn::Iota(d, T{0}), hn::Set(d, T{1})), hn::Zero(d));
}

// 16-bit samples in column order, one to a signed 16-bit lane, for blocks
// whose samples lie below 4096 and whose greens lie below 8192: every value
// the completion rules then form lies within -32768..32767 (a sum of four
// colour differences is at least 4 * -8191), and the clamp's bound may be
// lowered to 32767. The colour differences of a block are formed once per
// column, in column order; each vector then completes consecutive pixels,
// every lane by the rule of its site, the lanes of the other kind of site
// discarded.
struct Narrow {
    using DU = hn::ScalableTag<uint16_t>;
    using DS = hn::ScalableTag<int16_t>;
    using S = Lanes<DS>;
    static constexpr uint16_t kSampleLimit = 1 << 12;
    static constexpr uint16_t kGreenLimit = 1 << 13;

    static HWY_INLINE S samples(const uint16_t* p) { return S{hn::BitCast(DS(), hn::LoadU(DU(), p))}; }
    static HWY_INLINE S differences(const int16_t* p) { return S{hn::LoadU(DS(), p)}; }
    // Every lane of v below limit.
    static HWY_INLINE bool allBelow(hn::Vec<DU> v, uint16_t limit) {
        return hn::AllTrue(DU(), hn::Lt(v, hn::Set(DU(), limit)));
    }
    // Lanes 0, 2, 4, ...
    static HWY_INLINE hn::Mask<DS> evenLanes() { return hn::Not(oddLanes(DS())); }
    static HWY_INLINE S maxOf(int maxValue) { return S{hn::Set(DS(), static_cast<int16_t>(std::min(maxValue, 32767)))}; }
    // Pixels from index i on: `a` where m holds, else `b`, both clamped.
    template <typename Store>
    static HWY_INLINE void put(const Store& store, ptrdiff_t i, hn::Mask<DS> m, const RgbOf<S>& a, const RgbOf<S>& b) {
        auto pick = [m](S u, S v) { return hn::BitCast(DU(), hn::IfThenElse(m, u.v, v.v)); };
        store.samples(i, pick(a.red, b.red), pick(a.green, b.green), pick(a.blue, b.blue));
    }
};

// newGreens' reader for 16-bit samples in signed 16-bit lanes: a row's even
// and odd columns apart, as many of each as a vector holds. Samples below
// 4096 keep every value the green estimate forms within -32768..32767;
// fits() says whether every sample read so far lies below 4096.
class NarrowPairs {
public:
    using S = Narrow::S;
    struct Split {
        S even;
        S odd;
    };
    HWY_INLINE NarrowPairs() : seen_(hn::Zero(Narrow::DU())) {}
    // Columns per vector of greens.
    static HWY_INLINE int columns() { return 2 * static_cast<int>(hn::Lanes(Narrow::DU())); }
    HWY_INLINE Split load(const uint16_t* p) {
        hn::Vec<Narrow::DU> even, odd;
        hn::LoadInterleaved2(Narrow::DU(), p, even, odd);
        seen_ = hn::Or(seen_, hn::Or(even, odd));
        return {S{hn::BitCast(Narrow::DS(), even)}, S{hn::BitCast(Narrow::DS(), odd)}};
    }
    static HWY_INLINE void store(S even, S odd, uint16_t* dst) {
        const Narrow::DU du;
        hn::StoreInterleaved2(hn::BitCast(du, even.v), hn::BitCast(du, odd.v), du, dst);
    }
    // The samples' bits together: all lie below 4096 when these do.
    HWY_INLINE bool fits() const { return Narrow::allBelow(seen_, Narrow::kSampleLimit); }

private:
    hn::Vec<Narrow::DU> seen_;
};

// The new greens of the columns x .. x + cols - 1 in narrow lanes; false,
// leaving them unfinished, when the block is narrower than one vector or a
// sample read reaches 4096.
HWY_NOINLINE bool narrowNewGreens(const simd::EdgeRun<uint16_t>& run, int x, int cols, uint16_t* dst, int maxValue) {
    const int step = NarrowPairs::columns();
    if (cols < step) return false;
    // Deeper frames mostly show it in their first samples: a cheap look first.
    if (!Narrow::allBelow(hn::LoadU(Narrow::DU(), run.row[2] + x), Narrow::kSampleLimit)) return false;
    NarrowPairs pairs;
    const Narrow::S max = Narrow::maxOf(maxValue);
    newGreens(pairs, run, x, dst, max);
    if (!pairs.fits()) return false;
    int j = step;
    for (; j + step <= cols; j += step) newGreens(pairs, run, x + j, dst + j, max);
    if (j < cols) newGreens(pairs, run, x + cols - step, dst + cols - step, max);
    return pairs.fits();
}

// The colour differences of the columns x-2 .. x + count - 3, entry k
// column x-2+k, red columns at even k: of the old rows (y-2 red, y-1 blue)
// against oldG and of the new rows (y red, y+1 blue) against newG. Returns
// false, leaving them unfinished, when a sample of rows y-2 .. y+1 reaches
// 4096 or a green 8192.
HWY_INLINE bool narrowDifferences(const simd::EdgeRun<uint16_t>& run, int x, int count, const uint16_t* oldG,
                                  const uint16_t* newG, int16_t* oldD, int16_t* newD) {
    const Narrow::DU du;
    const Narrow::DS ds;
    const int n = static_cast<int>(hn::Lanes(du));
    const auto red = hn::RebindMask(du, Narrow::evenLanes());
    const uint16_t* r0 = run.row[0] + x - 2;
    const uint16_t* r1 = run.row[1] + x - 2;
    const uint16_t* r2 = run.row[2] + x - 2;
    const uint16_t* r3 = run.row[3] + x - 2;
    auto samples = hn::Zero(du), greens = hn::Zero(du);
    auto at = [&](int k) {
        const auto s0 = hn::LoadU(du, r0 + k), s1 = hn::LoadU(du, r1 + k);
        const auto s2 = hn::LoadU(du, r2 + k), s3 = hn::LoadU(du, r3 + k);
        const auto so = hn::IfThenElse(red, s0, s1), sn = hn::IfThenElse(red, s2, s3);
        const auto go = hn::LoadU(du, oldG + k), gn = hn::LoadU(du, newG + k);
        // Every sample: the pixels also take the green samples of rows y-1
        // and y as they are.
        samples = hn::Max(samples, hn::Max(hn::Max(s0, s1), hn::Max(s2, s3)));
        greens = hn::Max(greens, hn::Max(go, gn));
        hn::StoreU(hn::BitCast(ds, hn::Sub(so, go)), ds, oldD + k);
        hn::StoreU(hn::BitCast(ds, hn::Sub(sn, gn)), ds, newD + k);
    };
    auto fits = [&] {
        return hn::AllTrue(du, hn::And(hn::Lt(samples, hn::Set(du, Narrow::kSampleLimit)),
                                       hn::Lt(greens, hn::Set(du, Narrow::kGreenLimit))));
    };
    // Deeper frames show it at once: their blocks stop after one vector.
    at(0);
    if (!fits()) return false;
    int k = n;
    for (; k + n <= count; k += n) at(k);
    if (k < count) at(count - n);
    return fits();
}

// What the narrow completion reads of a run besides the greens and
// differences, copied out of it so that the loop keeps them in registers
// (the run may be overwritten by any store, as far as the compiler knows).
struct NarrowRows {
    const uint16_t* upperOwn;  // row y-1
    const uint16_t* lowerOwn;  // row y
    ptrdiff_t upper;           // pixel index of (y-1, 0)
    ptrdiff_t lower;           // pixel index of (y, 0)
};

// The pixels of columns c .. c + Lanes - 1 of the rows the pass completes
// (row y-1 when Upper, row y when Lower), c a blue column; greens and
// differences point at column c.
template <bool Upper, bool Lower, typename Store>
HWY_INLINE void completeNarrow(const NarrowRows& rows, const Store& store, int c, const uint16_t* oldG,
                               const uint16_t* newG, const int16_t* oldD, const int16_t* newD,
                               hn::Mask<Narrow::DS> blueColumn, Narrow::S maxValue) {
    using N = Narrow;
    using S = N::S;
    // Lanes at blue columns see columns c-1, c, c+1 as window entries 0, 1,
    // 2; lanes at red columns as entries 1, 2, 3.
    edge::WindowOf<S> atBlue, atRed;
    atBlue.e[0].oldD = atRed.e[1].oldD = N::differences(oldD - 1);
    atBlue.e[1].oldD = atRed.e[2].oldD = N::differences(oldD);
    atBlue.e[2].oldD = atRed.e[3].oldD = N::differences(oldD + 1);
    atBlue.e[0].newD = atRed.e[1].newD = N::differences(newD - 1);
    atBlue.e[1].newD = atRed.e[2].newD = N::differences(newD);
    atBlue.e[2].newD = atRed.e[3].newD = N::differences(newD + 1);
    if constexpr (Upper) {
        const S own = N::samples(rows.upperOwn + c);
        atBlue.e[1].oldG = N::samples(oldG);
        N::put(store, rows.upper + c, blueColumn, edge::upperBlueRule<S>(atBlue, own, maxValue),
               edge::upperGreenRule<S>(atRed, own, maxValue));
    }
    if constexpr (Lower) {
        const S own = N::samples(rows.lowerOwn + c);
        atRed.e[2].newG = N::samples(newG);
        N::put(store, rows.lower + c, blueColumn, edge::lowerGreenRule<S>(atBlue, own, maxValue),
               edge::lowerRedRule<S>(atRed, own, maxValue));
    }
}

// The pixels of a block of `cols` columns from x (steps x, x+2, ...); the
// greens and differences from column x-2 on.
template <bool Upper, bool Lower, typename Store>
HWY_INLINE void completeNarrowColumns(const NarrowRows rows, const Store store, int x, int cols,
                                      const uint16_t* oldG, const uint16_t* newG, const int16_t* oldD,
                                      const int16_t* newD, Narrow::S maxValue) {
    const auto blueColumn = Narrow::evenLanes();
    // The steps of forVectors written out: through its lambda, GCC keeps
    // this loop's windows on the stack (41 instead of 25 instructions per
    // pixel on NEON).
    const int lanes = static_cast<int>(hn::Lanes(Narrow::DU()));
    int j = 0;
    for (; j + lanes <= cols; j += lanes)
        completeNarrow<Upper, Lower>(rows, store, x - 1 + j, oldG + 1 + j, newG + 1 + j, oldD + 1 + j,
                                     newD + 1 + j, blueColumn, maxValue);
    if (j < cols) {
        j = cols - lanes;
        completeNarrow<Upper, Lower>(rows, store, x - 1 + j, oldG + 1 + j, newG + 1 + j, oldD + 1 + j,
                                     newD + 1 + j, blueColumn, maxValue);
    }
}

// The block's pixels of the rows the pass completes, at least one. Kept out
// of line: its registers are then its own (inlined, GCC spills the windows).
template <typename Store>
HWY_NOINLINE void completeNarrowBlock(const simd::EdgeRun<uint16_t>& run, const edge::PassKind& kind,
                                      const Store& store, int x, int cols, const uint16_t* oldG,
                                      const uint16_t* newG, const int16_t* oldD, const int16_t* newD) {
    const NarrowRows rows{run.row[1], run.row[2], run.upper, run.lower};
    const Narrow::S maxValue = Narrow::maxOf(run.maxValue);
    // withRows written out: through its lambda, GCC made the 16-bit count
    // on NEON 19.9 instead of 19.4 instructions per pixel.
    if (kind.upper && kind.lower)
        completeNarrowColumns<true, true>(rows, store, x, cols, oldG, newG, oldD, newD, maxValue);
    else if (kind.upper)
        completeNarrowColumns<true, false>(rows, store, x, cols, oldG, newG, oldD, newD, maxValue);
    else
        completeNarrowColumns<false, true>(rows, store, x, cols, oldG, newG, oldD, newD, maxValue);
}

// Where blocks of 12-bit samples take the narrow greens and completion:
// NEON, whose 32-bit lanes cost twice the instructions. On x86 the narrow
// path measured slower than the 32-bit lanes (a 1920x1080 frame of 12-bit
// samples took 2.0 times as long with AVX-512, 2.3 times with AVX2), so
// those targets keep the wide lanes for both.
constexpr bool narrowLanes() { return HWY_TARGET == HWY_NEON; }

// Where the pass takes each group of greens from: [0] red, [1] blue.
struct GreenSources {
    edge::Src from[2];
    edge::Src to[2];
    explicit GreenSources(const edge::PassKind& k) : from{k.oldRed, k.oldBlue}, to{k.newRed, k.newBlue} {}
};

// Greens kept in sample 1 of three-sample pixels (the 16-bit kernels'
// output rows), a vector of columns at a time. `red` and `blue` point at the
// green of column 0 of the rows that hold the red and the blue sites; column
// x + j is a red site for even j. Both return the columns done, a whole
// number of vectors (so always an even number).
template <typename T>
HWY_INLINE int greensOfPixels(const T* red, const T* blue, int x, int count, T* dst) {
    const hn::ScalableTag<T> d;
    const int n = static_cast<int>(hn::Lanes(d));
    const auto blueSite = oddLanes(d);
    int j = 0;
    for (; j + n <= count; j += n) {
        hn::Vec<decltype(d)> s0, fromRed, fromBlue, s2;
        hn::LoadInterleaved3(d, red + 3 * (x + j) - 1, s0, fromRed, s2);
        hn::LoadInterleaved3(d, blue + 3 * (x + j) - 1, s0, fromBlue, s2);
        hn::StoreU(hn::IfThenElse(blueSite, fromBlue, fromRed), d, dst + j);
    }
    return j;
}
// Writes the greens src[j] of the blue sites (odd j) into sample 1 of the
// pixels of `line`; the pixels' other samples are stored back as they were
// read.
template <typename T>
HWY_INLINE int blueGreensIntoPixels(T* line, int x, int count, const T* src) {
    const hn::ScalableTag<T> d;
    const int n = static_cast<int>(hn::Lanes(d));
    const auto blueSite = oddLanes(d);
    int j = 0;
    for (; j + n <= count; j += n) {
        T* p = line + 3 * (x + j) - 1;
        hn::Vec<decltype(d)> s0, green, s2;
        hn::LoadInterleaved3(d, p, s0, green, s2);
        green = hn::IfThenElse(blueSite, hn::LoadU(d, src + j), green);
        hn::StoreInterleaved3(s0, green, s2, d, p);
    }
    return j;
}

// The old greens of columns x .. x + count - 1 (red sites at even offsets)
// that the store holds; zero for groups the pass does not use. Passes at the
// frame's edges use one group only; they go a group at a time, never testing
// the group of each column, so that they cost little more than a plain pass.
template <typename T>
HWY_INLINE void readOldGreens(const simd::EdgeRun<T>& run, const GreenSources& g, int x, int count, T* dst) {
    const bool red = g.from[0] == edge::Src::Store;
    const bool blue = g.from[1] == edge::Src::Store;
    if (!red && !blue) {
        std::memset(dst, 0, count * sizeof(T));
        return;
    }
    if (red && blue && run.carry.takeOld) {
        std::memcpy(dst, run.carry.line + x, count * sizeof(T));
        return;
    }
    if (red && blue && run.greenStep == 1 && run.greens[0] == run.greens[1]) {
        std::memcpy(dst, run.greens[0] + x, count * sizeof(T));
        return;
    }
    if constexpr (sizeof(T) == 2) {
        if (red && blue && run.greenStep == 3) {
            const int j = greensOfPixels(run.greens[0], run.greens[1], x, count, dst);
            for (int k = j; k < count; ++k) dst[k] = run.greens[k & 1][3 * (x + k)];
            return;
        }
    }
    for (int site = 0; site < 2; ++site) {
        const T* line = run.greens[site] + run.greenStep * x;
        if (g.from[site] == edge::Src::Store) {
            for (int j = site; j < count; j += 2) dst[j] = line[run.greenStep * j];
        } else {
            for (int j = site; j < count; j += 2) dst[j] = T{0};
        }
    }
}
// The new greens the pass computes, into the store. Greens kept in the
// output pixels (greenStep 3) of a row the pass completes (the red sites'
// row y, when lowerDone) are not written here: the pixels of that row are
// stored whole right after, their greens the same values. The blue sites'
// row y+1 waits for the next pass and takes its greens a vector at a time,
// unless they are carried: the next pass then reads them from the line and
// stores its blue pixels whole, and of this block only the last column (a
// blue site) goes to the output now, for a piece right of the span that
// reads it there.
template <typename T>
HWY_INLINE void writeNewGreens(const simd::EdgeRun<T>& run, const GreenSources& g, bool lowerDone, int x, int count,
                               const T* src) {
    const bool oneLine = run.greenStep == 1 && run.greens[2] == run.greens[3];
    if (oneLine && g.to[0] == edge::Src::Compute && g.to[1] == edge::Src::Compute) {
        std::memcpy(run.greens[2] + x, src, count * sizeof(T));
        return;
    }
    const bool put[2] = {g.to[0] == edge::Src::Compute && !(lowerDone && run.greenStep == 3),
                         g.to[1] == edge::Src::Compute};
    int done[2] = {0, 0};  // columns already written
    if (run.carry.keepNew) {
        std::memcpy(run.carry.line + x, src, count * sizeof(T));
        done[1] = count - 2;
    } else if constexpr (sizeof(T) == 2) {
        if (run.greenStep == 3 && put[1]) done[1] = blueGreensIntoPixels(run.greens[3], x, count, src);
    }
    for (int site = 0; site < 2; ++site) {
        if (!put[site]) continue;
        T* line = run.greens[2 + site] + run.greenStep * x;
        for (int j = site + done[site]; j < count; j += 2) line[run.greenStep * j] = src[j];
    }
}
// Groups that mirror the other group of their colour (the first and last
// rows of a frame).
template <typename T>
HWY_INLINE void aliasGreens(const GreenSources& g, int count, T* oldG, T* newG) {
    for (int site = 0; site < 2; ++site) {
        if (g.from[site] == edge::Src::Alias)
            for (int j = site; j < count; j += 2) oldG[j] = newG[j];
        if (g.to[site] == edge::Src::Alias)
            for (int j = site; j < count; j += 2) newG[j] = oldG[j];
    }
}

// Every step from x to last when there are at least as many as one vector
// holds; the last vector of a block may overlap the one before, which then
// computes the same values twice. Greens the pass does not compute are
// computed all the same (every source row pointer is valid) and not used.
template <typename T>
HWY_FLATTEN int EdgeSpan(const simd::EdgeRun<T>& run, const edge::PassKind& kind, edge::Window& w, int x, int last) {
    using SP = SignedPairs<T>;
    using S = typename SP::S;
    const int n = SP::count();  // steps per vector
    if (x + 2 * (n - 1) > last) return x;
    return static_cast<int>(withStore<T>(run.out, x, [&](const auto& store) -> ptrdiff_t {
        // Columns per block: a few kilobytes of stack at most.
        constexpr int kBlock = 512;
        T oldG[2 + kBlock];
        T newG[2 + kBlock];
        // Colour differences of 16-bit blocks that complete in narrow lanes.
        constexpr int kDifferences = sizeof(T) == 2 && narrowLanes() ? 2 + kBlock : 1;
        [[maybe_unused]] int16_t oldD[kDifferences];
        [[maybe_unused]] int16_t newD[kDifferences];
        const GreenSources g(kind);
        const S maxValue = SP::maxOf(run.maxValue);
        const int blockSteps = kBlock / 2 / n * n;  // at least two vectors
        for (int left = (last - x) / 2 + 1; left > 0;) {
            // A block of whole vectors, or all that is left; never leave
            // fewer steps than one vector for the last block.
            const int steps = left <= blockSteps ? left : std::min(blockSteps, left - n);
            const int cols = 2 * steps;
            // Entries 0 and 1 are columns x-2 and x-1, from the window.
            oldG[0] = static_cast<T>(w.e[2].oldG), oldG[1] = static_cast<T>(w.e[3].oldG);
            newG[0] = static_cast<T>(w.e[2].newG), newG[1] = static_cast<T>(w.e[3].newG);
            readOldGreens(run, g, x, cols, oldG + 2);
            bool narrowGreens = false;
            if constexpr (sizeof(T) == 2 && narrowLanes())
                narrowGreens = narrowNewGreens(run, x, cols, newG + 2, run.maxValue);
            // Kept inline: moved into a function of its own, GCC 12.2 made
            // the 8-bit AVX-512 greens differ from the scalar ones (at 68x7,
            // for one); clang 14 made the same bytes. The vector checker
            // catches it.
            if (!narrowGreens)
                forVectors(cols, 2 * n, [&](int j) {
                    SP pairs;
                    newGreens(pairs, run, x + j, newG + 2 + j, maxValue);
                });
            aliasGreens(g, cols, oldG + 2, newG + 2);
            // The store before the pixels: a green row that shares the last
            // output row is overwritten by its pixels, as in the scalar walk.
            writeNewGreens(run, g, kind.lower, x, cols, newG + 2);
            // A pass that only carries greens to a band completes no pixel.
            if (kind.upper || kind.lower) {
                bool narrow = false;
                if constexpr (sizeof(T) == 2 && narrowLanes()) {
                    // Entry k of the differences is column x-2+k.
                    const int lanes = static_cast<int>(hn::Lanes(Narrow::DU()));
                    narrow = cols >= lanes && narrowDifferences(run, x, cols + 2, oldG, newG, oldD, newD);
                    if (narrow) completeNarrowBlock(run, kind, store, x, cols, oldG, newG, oldD, newD);
                }
                if (!narrow) completeBlock(run, kind, store, x, cols, oldG, newG);
            }
            // The window of the last step done: columns x + cols - 4 .. x + cols - 1.
            for (int k = 0; k < 4; ++k) {
                const int c = x + cols - 4 + k;
                const int site = k & 1;  // red, blue, red, blue
                edge::Entry& e = w.e[k];
                if (g.from[site] == edge::Src::Store) {
                    e.oldG = oldG[2 + cols - 4 + k];
                    e.oldD = edge::difference<int>(run.row[site][c], e.oldG);
                }
                if (g.to[site] == edge::Src::Compute) {
                    e.newG = newG[2 + cols - 4 + k];
                    e.newD = edge::difference<int>(run.row[2 + site][c], e.newG);
                }
                edge::settleAliases(e, g.from[site], g.to[site]);
            }
            x += cols;
            left -= steps;
        }
        return x;
    }));
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
