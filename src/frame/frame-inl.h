// Vector runs of the frame utilities: a grey frame into interleaved or
// planar colour, and 3 bytes per pixel widened to 4. Included once per
// Highway target.
#if defined(ZEL_FRAME_FRAME_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_FRAME_FRAME_INL_H_
#undef ZEL_FRAME_FRAME_INL_H_
#else
#define ZEL_FRAME_FRAME_INL_H_
#endif

#include "demosaic/layout-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
// Highway's one-lane scalar target gets no spans: the scalar engines serve.
#if HWY_TARGET != HWY_SCALAR
namespace zel::HWY_NAMESPACE {

// Each grey sample as red, green and blue, through the writer's store.
HWY_FLATTEN ptrdiff_t GreyRun(const uint8_t* grey, ptrdiff_t count, const VectorOut& out) {
    return withStore<uint8_t>(out, 0, [&](const auto& store) -> ptrdiff_t {
        if constexpr (std::remove_cvref_t<decltype(store)>::kind == VectorOut::Kind::Luma) {
            return 0;
        } else {
            const hn::ScalableTag<uint8_t> d8;
            const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(d8));
            ptrdiff_t i = 0;
            for (; i + n <= count; i += n) {
                const auto v = hn::LoadU(d8, grey + i);
                store.samples(i, v, v, v);
            }
            return i;
        }
    });
}

// Pixels of three samples into four, the fourth 0, samples kept in order.
HWY_FLATTEN ptrdiff_t WidenRun(const uint8_t* src, ptrdiff_t count, uint8_t* dst) {
    VectorOut out;
    out.kind = VectorOut::Kind::Four;
    out.dst = dst;
    const VectorStore<uint8_t, VectorOut::Kind::Four> store(out);
    const hn::ScalableTag<uint8_t> d8;
    const ptrdiff_t n = static_cast<ptrdiff_t>(hn::Lanes(d8));
    ptrdiff_t i = 0;
    for (; i + n <= count; i += n) {
        hn::Vec<decltype(d8)> s0, s1, s2;
        hn::LoadInterleaved3(d8, src + 3 * i, s0, s1, s2);
        store.samples(i, s2, s1, s0);  // sample 0 is the writer's "blue"
    }
    return i;
}

}  // namespace zel::HWY_NAMESPACE
#endif  // HWY_TARGET != HWY_SCALAR
HWY_AFTER_NAMESPACE();

#endif  // include guard
