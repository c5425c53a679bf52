// Reduction of deep and packed input to compact 8-bit frames.
#pragma once

#include <cstdint>

namespace zel {

// sampleShift of the packed layouts (10- and 12-bit packing alike).
inline constexpr int32_t kSampleShiftPacked = -1;

// A deep sample shifted down to 8 significant bits. Only the low byte of the
// result is kept, unclamped on purpose: a sample with bits above its stated
// depth wraps.
template <typename V>
inline V reducedSample(V sample, int32_t shift) {
    return sample >> shift;
}

// A packed pair: two pixels in three bytes, the top 8 bits of each in bytes
// 0 and 2 (byte 1 holds the low bits of both).
template <typename V>
struct PackedPair {
    V first;
    V second;
};
template <typename V>
inline PackedPair<V> packedPair(V byte0, V /*byte1*/, V byte2) {
    return {byte0, byte2};
}

}  // namespace zel
