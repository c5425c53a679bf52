// Vector runs of the reductions to 8 bits. Included once per Highway target.
#if defined(ZEL_INPUT_REDUCE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_INPUT_REDUCE_INL_H_
#undef ZEL_INPUT_REDUCE_INL_H_
#else
#define ZEL_INPUT_REDUCE_INL_H_
#endif

#include "hwy/highway.h"
#include "input/reduce.hpp"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// 16-bit containers, a vector of 8-bit results at a time. The low byte of
// each shifted sample is kept, which is the wrap the scalar run has.
HWY_FLATTEN ptrdiff_t ShiftRun(const uint8_t* src, ptrdiff_t count, int32_t shift, uint8_t* dst) {
    using P = Pairs<uint8_t>;
    const P::DT d8;
    const P::DW d16;
    const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(d8));
    ptrdiff_t i = 0;
    for (; i + n <= count; i += n) {
        const P::L lo{hn::BitCast(d16, hn::LoadU(d8, src + 2 * i))};
        const P::L hi{hn::BitCast(d16, hn::LoadU(d8, src + 2 * i + n))};
        const auto low = hn::BitCast(d8, reducedSample(lo, shift).v);
        const auto high = hn::BitCast(d8, reducedSample(hi, shift).v);
        hn::StoreU(hn::ConcatEven(d8, high, low), d8, dst + i);
    }
    return i;
}

// Packed pairs, a vector of pairs at a time while every pair is whole.
HWY_FLATTEN ptrdiff_t UnpackRun(const uint8_t* src, ptrdiff_t count, uint8_t* dst) {
    const hn::ScalableTag<uint8_t> d8;
    const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(d8));
    ptrdiff_t k = 0;
    for (; 2 * (k + n) <= count; k += n) {
        hn::Vec<decltype(d8)> b0, b1, b2;
        hn::LoadInterleaved3(d8, src + 3 * k, b0, b1, b2);
        const PackedPair<hn::Vec<decltype(d8)>> p = packedPair(b0, b1, b2);
        hn::StoreInterleaved2(p.first, p.second, d8, dst + 2 * k);
    }
    return 2 * k;
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
