// Bilinear row spans: the engine's site rule (bilinear.hpp) on vectors of
// column pairs. Included once per Highway target.
#if defined(ZEL_DEMOSAIC_BILINEAR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_DEMOSAIC_BILINEAR_INL_H_
#undef ZEL_DEMOSAIC_BILINEAR_INL_H_
#else
#define ZEL_DEMOSAIC_BILINEAR_INL_H_
#endif

#include "demosaic/bilinear.hpp"
#include "demosaic/layout-inl.h"
#include "hwy/highway.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// Column pairs (c, c+1), c odd, a vector of them at a time while the east
// neighbour of the last one, column c + 2n, is inside the row: exactly the
// samples the scalar loop reads, none beyond. The last vector may overlap
// the one before it (overlappedSteps).
template <bilinear::Kind Row, typename T>
HWY_FLATTEN ptrdiff_t BilinearSpan(const T* up, const T* mid, const T* dn, ptrdiff_t c, int32_t width, const VectorOut& out,
                       ptrdiff_t base) {
    using P = Pairs<T>;
    using L = typename P::L;
    using bilinear::Kind;
    return withStore<T>(out, c, [&](const auto& store) {
        const ptrdiff_t step = 2 * static_cast<ptrdiff_t>(P::count());
        return overlappedSteps(c, step, width, [&](ptrdiff_t x) {
            // West halves hold columns x-1, x+1, ...; east halves x, x+2, ...
            const auto uw = P::load(up + x - 1), ue = P::load(up + x + 1);
            const auto mw = P::load(mid + x - 1), me = P::load(mid + x + 1);
            const auto dw = P::load(dn + x - 1), de = P::load(dn + x + 1);
            const bilinear::Window<L> first{uw.even, uw.odd, ue.even, mw.even, mw.odd, me.even,
                                            dw.even, dw.odd, de.even};
            const bilinear::Window<L> second{uw.odd, ue.even, ue.odd, mw.odd, me.even, me.odd,
                                             dw.odd, de.even, de.odd};
            store.pairs(base + x, bilinear::siteRule<Row, Kind::Odd>(first),
                        bilinear::siteRule<Row, Kind::Even>(second));
        });
    });
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
