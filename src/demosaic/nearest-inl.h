// Nearest-neighbour row spans: the engine's pair rules (nearest.hpp) on
// vectors of column pairs. Included once per Highway target.
#if defined(ZEL_DEMOSAIC_NEAREST_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_DEMOSAIC_NEAREST_INL_H_
#undef ZEL_DEMOSAIC_NEAREST_INL_H_
#else
#define ZEL_DEMOSAIC_NEAREST_INL_H_
#endif

#include "demosaic/layout-inl.h"
#include "demosaic/nearest.hpp"
#include "hwy/highway.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// Pairs (x, x+1), x odd, a vector of them at a time while column x + 2n (the
// last one the loads touch) is inside the row; the last vector may overlap
// the one before it (overlappedSteps).
template <bool RedRow>
HWY_FLATTEN ptrdiff_t NearestSpan(const uint8_t* own, const uint8_t* companion, ptrdiff_t x, int32_t width,
                      const VectorOut& out, ptrdiff_t base) {
    using P = Pairs<uint8_t>;
    using L = P::L;
    return withStore<uint8_t>(out, x, [&](const auto& store) {
        const ptrdiff_t step = 2 * static_cast<ptrdiff_t>(P::count());
        return overlappedSteps(x, step, width, [&](ptrdiff_t at) {
            const auto ow = P::load(own + at - 1), oe = P::load(own + at + 1);
            const auto cw = P::load(companion + at - 1), ce = P::load(companion + at + 1);
            const nearest::Taps<L> t{ow.even, ow.odd, oe.even, cw.even, cw.odd, ce.even};
            const nearest::PixelPair<L> p = RedRow ? nearest::redPair(t) : nearest::bluePair(t);
            store.pairs(base + at, p.first, p.second);
        });
    });
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
