// Vector runs of the lens-shading correction: the rules of lsc/rule.hpp on
// 32-bit lanes. Included once per Highway target.
#if defined(ZEL_LSC_CORRECT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_LSC_CORRECT_INL_H_
#undef ZEL_LSC_CORRECT_INL_H_
#else
#define ZEL_LSC_CORRECT_INL_H_
#endif

#include "hwy/highway.h"
#include "lsc/rule.hpp"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE::lsc {

using DI = hn::ScalableTag<int32_t>;
using VI = Lanes<DI>;

// The rules' operations on signed 32-bit lanes. For 8-bit samples the
// product fits 32 bits as it is. For deeper ones (a difference of up to 17
// bits times a gain of 20) the gain is split into two 10-bit halves:
// d * G = (d * Gh) * 2^10 + d * Gl, and with d * Gh = q * 2^7 + r (0 <= r <
// 2^7) the rounded product is q + ((r * 2^10 + d * Gl + 2^16) >> 17), every
// term within 32 bits.
template <bool Deep>
struct VectorOps {
    static inline VI splat(int32_t v) { return {hn::Set(DI(), v)}; }
    static inline VI roundedProduct(VI difference, VI gain) {
        const VI half = splat(zel::lsc::kRoundingHalf);
        if constexpr (!Deep) {
            return (difference * gain + half) >> zel::lsc::kGainFractionBits;
        } else {
            const VI high = difference * VI{hn::ShiftRight<10>(gain.v)};
            const VI low = difference * (gain & splat(1023));
            const VI rest = (((high & splat(127)) << 10) + low + half) >> zel::lsc::kGainFractionBits;
            return (high >> 7) + rest;
        }
    }
    static inline VI saturate(VI v, VI max) { return {hn::Min(hn::Max(v.v, hn::Zero(DI())), max.v)}; }
    static inline VI zero() { return {hn::Zero(DI())}; }
    static inline VI ifZero(VI v, VI yes, VI no) { return {hn::IfThenElse(hn::Eq(v.v, zero().v), yes.v, no.v)}; }
    static inline VI ifLess(VI a, VI b, VI yes, VI no) { return {hn::IfThenElse(hn::Lt(a.v, b.v), yes.v, no.v)}; }
};

// Samples of type T as 32-bit lanes, read and written as bytes (a 16-bit
// frame may start at an odd address).
template <typename T>
struct SampleLanes {
    using DT = hn::Rebind<T, DI>;
    using DB = hn::Repartition<uint8_t, DT>;
    static HWY_INLINE VI load(const uint8_t* p) { return {hn::PromoteTo(DI(), hn::BitCast(DT(), hn::LoadU(DB(), p)))}; }
    static HWY_INLINE void store(VI v, uint8_t* p) { hn::StoreU(hn::BitCast(DB(), hn::DemoteTo(DT(), v.v)), DB(), p); }
};

// Offsets (at the sample depth) and gains of a vector of entries.
struct Decoded {
    VI offset;
    VI gain;
};
HWY_INLINE Decoded decode(hn::Vec<hn::RebindToUnsigned<DI>> entries, int offsetShift) {
    const hn::RebindToUnsigned<DI> du;
    const auto offset = hn::ShiftRightSame(hn::And(entries, hn::Set(du, zel::lsc::kOffsetMask)), offsetShift);
    return {VI{hn::BitCast(DI(), offset)}, VI{hn::BitCast(DI(), hn::ShiftRight<zel::lsc::kGainShift>(entries))}};
}

template <typename T>
HWY_INLINE VI corrected(const Decoded& e, VI sample, VI max) {
    using Ops = VectorOps<sizeof(T) == 2>;
    if constexpr (sizeof(T) == 2) return zel::lsc::unsignedDifference<Ops>(sample, e.offset, e.gain, max);
    else return zel::lsc::signedDifference<Ops>(sample, e.offset, e.gain, max);
}

// Mode 1: sample i by entry i, for the leading whole vectors of `count`.
// Every sample is read before its vector is written, so src may be dst.
template <typename T>
HWY_FLATTEN ptrdiff_t PixelRun(const uint8_t* src, uint8_t* dst, const uint32_t* entries, ptrdiff_t count,
                               int32_t bits) {
    const hn::RebindToUnsigned<DI> du;
    const zel::lsc::Depth depth = zel::lsc::depthOf(bits);
    const VI max = VectorOps<false>::splat(depth.max);
    const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(DI()));
    ptrdiff_t i = 0;
    for (; i + n <= count; i += n) {
        const Decoded e = decode(hn::LoadU(du, entries + i), depth.offsetShift);
        const uint8_t* s = src + i * static_cast<ptrdiff_t>(sizeof(T));
        const VI v = zel::lsc::signedDifference<VectorOps<sizeof(T) == 2>>(SampleLanes<T>::load(s), e.offset,
                                                                         e.gain, max);
        SampleLanes<T>::store(v, dst + i * static_cast<ptrdiff_t>(sizeof(T)));
    }
    return i;
}

// Mode 0: the blocks of one row pair (rows starting at element `upper` and
// `lower`), entry j for columns 2j and 2j+1, for the leading whole vectors
// of entries. Returns the blocks done.
template <typename T>
HWY_FLATTEN ptrdiff_t BlockRun(const uint8_t* src, uint8_t* dst, const uint32_t* entries, ptrdiff_t upper,
                               ptrdiff_t lower, int32_t columns, int32_t bits) {
    const hn::RebindToUnsigned<DI> du;
    const zel::lsc::Depth depth = zel::lsc::depthOf(bits);
    const VI max = VectorOps<false>::splat(depth.max);
    const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(DI()));
    // Each entry twice in a row: lanes 0..n-1 take entries 0..n/2-1, and
    // lanes n..2n-1 entries n/2..n-1.
    const auto pairIndex = hn::ShiftRight<1>(hn::Iota(du, 0));
    const auto firstHalf = hn::IndicesFromVec(du, pairIndex);
    const auto secondHalf = hn::IndicesFromVec(du, hn::Add(pairIndex, hn::Set(du, static_cast<uint32_t>(n / 2))));
    constexpr ptrdiff_t size = sizeof(T);
    ptrdiff_t j = 0;
    for (; j + n <= columns; j += n) {
        const auto words = hn::LoadU(du, entries + j);
        const Decoded halves[2] = {decode(hn::TableLookupLanes(words, firstHalf), depth.offsetShift),
                                   decode(hn::TableLookupLanes(words, secondHalf), depth.offsetShift)};
        for (const ptrdiff_t row : {upper, lower}) {
            for (int h = 0; h < 2; ++h) {
                const ptrdiff_t at = (row + 2 * j + h * n) * size;
                SampleLanes<T>::store(corrected<T>(halves[h], SampleLanes<T>::load(src + at), max), dst + at);
            }
        }
    }
    return j;
}

}  // namespace zel::HWY_NAMESPACE::lsc
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
