// Vector stores for the writers of layout.hpp: the same byte placement, a
// whole vector of pixels at a time. Included once per Highway target.
#if defined(ZEL_DEMOSAIC_LAYOUT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_DEMOSAIC_LAYOUT_INL_H_
#undef ZEL_DEMOSAIC_LAYOUT_INL_H_
#else
#define ZEL_DEMOSAIC_LAYOUT_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "demosaic/layout.hpp"
#include "hwy/highway.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// Stores of one writer kind K for samples of type T, the red-position colour
// in sample 0 when Swap is set (interleaved kinds only).
template <typename T, VectorOut::Kind K, bool Swap = false>
struct VectorStore {
    using P = Pairs<T>;
    using L = typename P::L;
    using VT = hn::Vec<typename P::DT>;

    static constexpr VectorOut::Kind kind = K;
    // Copies of the description's fields: the stores below write bytes,
    // which as far as the compiler knows may alias anything they could be
    // read from again.
    T* const dst;
    T* const green;
    T* const blue;
    const uint32_t weights[3];

    explicit VectorStore(const VectorOut& out)
        : dst(static_cast<T*>(out.dst)),
          green(static_cast<T*>(out.green)),
          blue(static_cast<T*>(out.blue)),
          weights{out.weights[0], out.weights[1], out.weights[2]} {}

    // One sample vector per colour for the pixels from index i on.
    HWY_INLINE void samples(ptrdiff_t i, VT red, VT green, VT blue) const {
        using Kind = VectorOut::Kind;
        const typename P::DT d;
        if constexpr (K == Kind::Three || K == Kind::Four || K == Kind::FourKeep) {
            const VT first = Swap ? red : blue;
            const VT third = Swap ? blue : red;
            T* p = dst + i * (K == Kind::Three ? 3 : 4);
            if constexpr (K == Kind::Three) {
                hn::StoreInterleaved3(first, green, third, d, p);
            } else if constexpr (K == Kind::Four) {
                hn::StoreInterleaved4(first, green, third, hn::Zero(d), d, p);
            } else {
                // Byte 3 is never written: the pixels are formed with a zero
                // there and stored through a mask that leaves it out.
                constexpr size_t kMax = hn::MaxLanes(typename P::DT());
                HWY_ALIGN T formed[4 * kMax];
                hn::StoreInterleaved4(first, green, third, hn::Zero(d), d, formed);
                const auto three = hn::Set(d, T{3});
                const auto keep = hn::Ne(hn::And(hn::Iota(d, 0), three), three);
                const size_t n = hn::Lanes(d);
                for (size_t k = 0; k < 4; ++k) hn::BlendedStore(hn::Load(d, formed + k * n), keep, d, p + k * n);
            }
        } else if constexpr (K == Kind::Planes) {
            hn::StoreU(red, d, dst + i);
            hn::StoreU(green, d, this->green + i);
            hn::StoreU(blue, d, this->blue + i);
        } else {
            static_assert(K == Kind::Three, "no sample store for this kind");
        }
    }

    // Pixel pairs from index i on: `a` holds the first pixel of every pair,
    // `b` the second.
    HWY_FLATTEN void pairs(ptrdiff_t i, const RgbOf<L>& a, const RgbOf<L>& b) const {
        if constexpr (K == VectorOut::Kind::Luma) {
            const L wRed = P::splat(weights[0]);
            const L wGreen = P::splat(weights[1]);
            const L wBlue = P::splat(weights[2]);
            const L half = P::splat(128);
            const L first = lumaOf(wRed, wGreen, wBlue, a.red, a.green, a.blue, half);
            const L second = lumaOf(wRed, wGreen, wBlue, b.red, b.green, b.blue, half);
            hn::StoreU(P::join(first, second), typename P::DT(), dst + i);
        } else {
            samples(i, P::join(a.red, b.red), P::join(a.green, b.green), P::join(a.blue, b.blue));
        }
    }
};

// Calls f(store) with the store of out's kind and returns its result, or
// returns `unhandled` for a kind that has no vector store for T (luma of
// 16-bit samples). Luma of 8-bit samples takes any weights: its byte is bits
// 8 to 15 of the sum, which 16-bit lanes hold exactly even where the scalar
// writer's 32-bit sum goes beyond them.
template <typename T, typename F>
HWY_INLINE ptrdiff_t withStore(const VectorOut& out, ptrdiff_t unhandled, F&& f) {
    using Kind = VectorOut::Kind;
    switch (out.kind) {
        case Kind::Three:
            return out.swapRB ? f(VectorStore<T, Kind::Three, true>(out)) : f(VectorStore<T, Kind::Three>(out));
        case Kind::Four:
            return out.swapRB ? f(VectorStore<T, Kind::Four, true>(out)) : f(VectorStore<T, Kind::Four>(out));
        case Kind::FourKeep:
            return out.swapRB ? f(VectorStore<T, Kind::FourKeep, true>(out)) : f(VectorStore<T, Kind::FourKeep>(out));
        case Kind::Planes: return f(VectorStore<T, Kind::Planes>(out));
        case Kind::Luma:
            if constexpr (sizeof(T) == 1) return f(VectorStore<T, Kind::Luma>(out));
            return unhandled;
        default: return unhandled;
    }
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
