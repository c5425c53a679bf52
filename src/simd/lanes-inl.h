// Vectors of lanes that the engines' per-site rules can run on as they run on
// plain integers: +, -, *, &, | and shifts by a count, so one definition of a
// rule serves the scalar engine and every instruction set.
//
// Included once per Highway target (see kernels.cpp).
#if defined(ZEL_SIMD_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_SIMD_LANES_INL_H_
#undef ZEL_SIMD_LANES_INL_H_
#else
#define ZEL_SIMD_LANES_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
struct Lanes {
    hn::Vec<D> v;

    friend inline HWY_ATTR Lanes operator+(Lanes a, Lanes b) { return {hn::Add(a.v, b.v)}; }
    friend inline HWY_ATTR Lanes operator-(Lanes a, Lanes b) { return {hn::Sub(a.v, b.v)}; }
    friend inline HWY_ATTR Lanes operator*(Lanes a, Lanes b) { return {a.v * b.v}; }
    friend inline HWY_ATTR Lanes operator&(Lanes a, Lanes b) { return {hn::And(a.v, b.v)}; }
    friend inline HWY_ATTR Lanes operator|(Lanes a, Lanes b) { return {hn::Or(a.v, b.v)}; }
    // The rules shift right by 1, 2 or 8: once inlined, those counts take
    // the immediate form, which on NEON needs no register of negated counts.
    friend inline HWY_ATTR Lanes operator>>(Lanes a, int k) {
        switch (k) {
            case 1: return {hn::ShiftRight<1>(a.v)};
            case 2: return {hn::ShiftRight<2>(a.v)};
            case 8: return {hn::ShiftRight<8>(a.v)};
            default: return {hn::ShiftRightSame(a.v, k)};
        }
    }
    friend inline HWY_ATTR Lanes operator<<(Lanes a, int k) { return {hn::ShiftLeftSame(a.v, k)}; }
    // The few rules that are not operators, for signed lanes: |a|, a clamped
    // to 0..max, and a < b ? yes : no.
    friend inline HWY_ATTR Lanes magnitude(Lanes a) { return {hn::Abs(a.v)}; }
    friend inline HWY_ATTR Lanes clampTo(Lanes a, Lanes max) { return {hn::Min(hn::Max(a.v, hn::Zero(D())), max.v)}; }
    friend inline HWY_ATTR Lanes pickIfLess(Lanes a, Lanes b, Lanes yes, Lanes no) {
        return {hn::IfThenElse(hn::Lt(a.v, b.v), yes.v, no.v)};
    }
};

// The unsigned lane twice as wide as a sample: sums of up to four samples and
// two neighbouring samples side by side fit in it.
template <typename T>
struct WideOf;
template <>
struct WideOf<uint8_t> {
    using type = uint16_t;
};
template <>
struct WideOf<uint16_t> {
    using type = uint32_t;
};

// Samples of type T read two at a time into wide lanes: lane k holds the
// samples at 2k (low half) and 2k + 1 (high half) from p. Little-endian.
template <typename T>
struct Pairs {
    using W = typename WideOf<T>::type;
    using DW = hn::ScalableTag<W>;
    using DT = hn::Repartition<T, DW>;
    using L = Lanes<DW>;
    static constexpr int kBits = 8 * sizeof(T);

    // How many sample pairs one vector holds.
    static HWY_INLINE size_t count() { return hn::Lanes(DW()); }

    struct Split {
        L even;  // samples 0, 2, 4, ...
        L odd;   // samples 1, 3, 5, ...
    };
    static HWY_INLINE Split load(const T* p) {
        const auto v = hn::BitCast(DW(), hn::LoadU(DT(), p));
        const auto mask = hn::Set(DW(), static_cast<W>((W{1} << kBits) - 1));
        return {L{hn::And(v, mask)}, L{hn::ShiftRight<kBits>(v)}};
    }
    // Lane values below 2^kBits, two to a sample pair in order: the inverse
    // of load.
    static HWY_INLINE hn::Vec<DT> join(L even, L odd) {
        return hn::BitCast(DT(), hn::Or(even.v, hn::ShiftLeft<kBits>(odd.v)));
    }
    static HWY_INLINE L splat(W value) { return L{hn::Set(DW(), value)}; }
};

// Runs body(c) for column pairs c, c + step, ... while c + step < width (the
// last column a step reads is c + step), then once more for the last such
// position of c's parity when pairs are left over: that step overlaps the
// one before and writes the same values again, which leaves the scalar loop
// at most one pair. Only for outputs that do not alias the input. Returns the
// first column not done.
template <typename Body>
HWY_INLINE ptrdiff_t overlappedSteps(ptrdiff_t c, ptrdiff_t step, int32_t width, Body&& body) {
    const ptrdiff_t start = c;
    for (; c + step < width; c += step) body(c);
    if (c == start || c + 2 >= width) return c;
    ptrdiff_t last = width - 1 - step;
    last -= (last - c) & 1;
    body(last);
    return last + step;
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
