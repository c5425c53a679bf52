// The nearest-neighbour engine's per-pair rules: which samples of a row and
// of its companion row give the colours of the pixel pair (x, x+1), x odd.
// V is a plain sample for the scalar engine or a vector of lanes for the row
// spans; both run these definitions.
#pragma once

#include "demosaic/layout.hpp"

namespace zel::nearest {

// The samples one pair reads: columns x-1, x and x+1 of the pair's own row,
// and the same columns of its companion row.
template <typename V>
struct Taps {
    V ownW, own, ownE;
    V compW, comp, compE;
};

template <typename V>
struct PixelPair {
    RgbOf<V> first;   // column x
    RgbOf<V> second;  // column x+1
};

// A red row (R at even columns) over a blue companion (B at odd columns):
// a green-position pixel, then a red-position one.
template <typename V>
inline PixelPair<V> redPair(const Taps<V>& t) {
    return {{t.ownW, t.own, t.comp}, {t.ownE, t.own, t.comp}};
}

// A blue row (B at odd columns) over a red companion (R at even columns):
// a blue-position pixel, then a green-position one.
template <typename V>
inline PixelPair<V> bluePair(const Taps<V>& t) {
    return {{t.compW, t.ownW, t.own}, {t.compE, t.ownE, t.own}};
}

}  // namespace zel::nearest
