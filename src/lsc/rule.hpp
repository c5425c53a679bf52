// The correction of one sample by one table entry, written once for the
// scalar engine and the vector runs. V is the value type (a wide integer, or
// 32-bit vector lanes); Ops supplies the few operations that differ between
// them: the rounded product in a width that holds it, saturation and
// selection.
#pragma once

#include <cstdint>

#include "lsc/table.hpp"

namespace zel::lsc {

inline constexpr int32_t kRoundingHalf = 1 << (kGainFractionBits - 1);

// How an entry's 12-bit offset and the saturation bound fit the sample depth.
struct Depth {
    int offsetShift;  // 12 - bits: the offset keeps its top `bits` bits
    int32_t max;      // 2^bits - 1
};

constexpr Depth depthOf(int bits) { return {12 - bits, (1 << bits) - 1}; }

// ((s - o) * G + 2^16) >> 17 with a signed difference and a flooring shift,
// saturated to 0..max.
template <typename Ops, typename V>
inline V signedDifference(V sample, V offset, V gain, V max) {
    return Ops::saturate(Ops::roundedProduct(sample - offset, gain), max);
}

// The 10/12-bit per-block path takes s - o as an unsigned 32-bit value and
// multiplies in unsigned 64 bits, so a sample below its block's offset comes
// out as max whenever the gain is not 0, and as 0 when it is. This differs on
// purpose from the per-pixel and 8-bit paths, which give 0.
template <typename Ops, typename V>
inline V unsignedDifference(V sample, V offset, V gain, V max) {
    const V below = Ops::ifZero(gain, Ops::zero(), max);
    return Ops::ifLess(sample, offset, below, signedDifference<Ops>(sample, offset, gain, max));
}

// The operations on plain integers of type Wide: 32 bits hold the product
// for 8-bit samples, 64 bits for deeper ones.
template <typename Wide>
struct ScalarOps {
    static Wide roundedProduct(Wide difference, Wide gain) {
        return (difference * gain + kRoundingHalf) >> kGainFractionBits;
    }
    static Wide saturate(Wide v, Wide max) { return v < 0 ? 0 : v > max ? max : v; }
    static Wide zero() { return 0; }
    static Wide ifZero(Wide v, Wide yes, Wide no) { return v == 0 ? yes : no; }
    static Wide ifLess(Wide a, Wide b, Wide yes, Wide no) { return a < b ? yes : no; }
};

}  // namespace zel::lsc
