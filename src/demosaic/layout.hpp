// Output writers: where the (red, green, blue) values an engine computes for a
// pixel end up. Every demosaicing engine writes through one of these, so the
// arithmetic lives in the engine and the byte placement here.
//
// "red" and "blue" are always the engine's native red-position and
// blue-position colours; the writers decide which byte or plane gets which.
// Pixels are addressed by their index y * width + x in the frame.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zel {

// The three colours of a pixel (or of a vector of pixels).
template <typename V>
struct RgbOf {
    V red;
    V green;
    V blue;
};

// What a vectorised row span needs to know of a writer: its kind, where pixel
// 0 of the frame goes and the channel order. Every writer below describes
// itself this way (vectorOut); a writer with no vector form reports None and
// is served by the scalar code alone. The vector stores that honour these
// descriptions live in layout-inl.h.
struct VectorOut {
    enum class Kind : uint8_t { None, Three, Four, FourKeep, Planes, Luma };
    Kind kind = Kind::None;
    bool swapRB = false;        // red-position colour in sample 0 instead of 2
    void* dst = nullptr;        // interleaved pixels, the red plane, or luma
    void* green = nullptr;      // planes only
    void* blue = nullptr;       // planes only
    uint32_t weights[3] = {};   // luma: red-position colour, green, blue-position colour
};

// What a four-byte writer does with byte 3 of every pixel.
enum class Alpha : uint8_t {
    Zero,  // written as 0 (nearest and bilinear kernels)
    Keep,  // never touched (edge-directed kernels)
};

template <int N, Alpha A>
VectorOut interleavedOut(void* dst, bool swapRB) {
    using K = VectorOut::Kind;
    VectorOut v;
    v.kind = N == 3 ? K::Three : (A == Alpha::Zero ? K::Four : K::FourKeep);
    v.swapRB = swapRB;
    v.dst = dst;
    return v;
}

// Interleaved pixels of N samples of type T (N = 3, or 4 with an alpha byte).
// With swapRB clear the red-position colour goes to sample 2 and the
// blue-position colour to sample 0 (BGR order); set, the two are exchanged.
template <typename T, int N, Alpha A = Alpha::Zero>
struct Interleaved {
    static_assert(N == 3 || N == 4);
    T* dst;
    int redAt;
    int blueAt;

    Interleaved(T* d, bool swapRB) : dst(d), redAt(swapRB ? 0 : 2), blueAt(swapRB ? 2 : 0) {}

    // One pixel's samples at p.
    static void store(T* p, int redAt, int blueAt, int red, int green, int blue) {
        p[redAt] = static_cast<T>(red);
        p[1] = static_cast<T>(green);
        p[blueAt] = static_cast<T>(blue);
        if constexpr (N == 4 && A == Alpha::Zero) p[3] = 0;
    }
    void put(ptrdiff_t i, int red, int green, int blue) const { store(dst + i * N, redAt, blueAt, red, green, blue); }
    // Single samples, for engines that learn a pixel's values at different
    // times.
    void putGreen(ptrdiff_t i, int green) const { dst[i * N + 1] = static_cast<T>(green); }
    void putBlue(ptrdiff_t i, int blue) const { dst[i * N + blueAt] = static_cast<T>(blue); }
    // The same writer seen from another pixel origin (for engines that work
    // on a sub-frame starting at a later row).
    Interleaved at(ptrdiff_t i) const {
        Interleaved w = *this;
        w.dst += i * N;
        return w;
    }
    VectorOut vectorOut() const { return interleavedOut<N, A>(dst, redAt == 0); }
};

// Interleaved pixels with the channel order fixed at compile time: the same
// bytes as Interleaved<T, N, A>(dst, SwapRB), without indexed stores, for
// kernels whose order is known when they are built.
template <typename T, int N, bool SwapRB, Alpha A = Alpha::Zero>
struct FixedInterleaved {
    static constexpr int redAt = SwapRB ? 0 : 2;
    static constexpr int blueAt = SwapRB ? 2 : 0;
    T* dst;

    void put(ptrdiff_t i, int red, int green, int blue) const {
        Interleaved<T, N, A>::store(dst + i * N, redAt, blueAt, red, green, blue);
    }
    FixedInterleaved at(ptrdiff_t i) const { return {dst + i * N}; }
    VectorOut vectorOut() const { return interleavedOut<N, A>(dst, SwapRB); }
};

// Three planes, one sample per pixel each.
template <typename T>
struct Planar {
    T* red;
    T* green;
    T* blue;

    void put(ptrdiff_t i, int r, int g, int b) const {
        red[i] = static_cast<T>(r);
        green[i] = static_cast<T>(g);
        blue[i] = static_cast<T>(b);
    }
    Planar at(ptrdiff_t i) const { return {red + i, green + i, blue + i}; }
    VectorOut vectorOut() const {
        VectorOut v;
        v.kind = VectorOut::Kind::Planes;
        v.dst = red;
        v.green = green;
        v.blue = blue;
        return v;
    }
};

// The luma of one pixel, for plain unsigned values and for vector lanes alike.
// Sums wrap in the value's width, which is 32 bits for the scalar writer.
template <typename V>
inline V lumaOf(V wRed, V wGreen, V wBlue, V red, V green, V blue, V half) {
    return (wRed * red + wGreen * green + wBlue * blue + half) >> 8;
}

// One luma byte per pixel: (wRed * red + wGreen * green + wBlue * blue + 128) >> 8.
struct Luma {
    uint8_t* dst;
    uint32_t wRed;
    uint32_t wGreen;
    uint32_t wBlue;

    void put(ptrdiff_t i, int r, int g, int b) const {
        dst[i] = static_cast<uint8_t>(lumaOf<uint32_t>(wRed, wGreen, wBlue, static_cast<uint32_t>(r),
                                                       static_cast<uint32_t>(g), static_cast<uint32_t>(b), 128u));
    }
    Luma at(ptrdiff_t i) const { return {dst + i, wRed, wGreen, wBlue}; }
    VectorOut vectorOut() const {
        VectorOut v;
        v.kind = VectorOut::Kind::Luma;
        v.dst = dst;
        v.weights[0] = wRed;
        v.weights[1] = wGreen;
        v.weights[2] = wBlue;
        return v;
    }
};

// The two fixed luma weight triples, by the colour at the native red position.
inline constexpr uint32_t kLumaRedFirst[3] = {77, 150, 29};
inline constexpr uint32_t kLumaBlueFirst[3] = {29, 150, 77};

// Luma with red and blue weights exchanged when swapRB is set, as the nearest
// and edge-directed mono kernels choose them.
inline Luma lumaForSwap(uint8_t* dst, bool swapRB) {
    const uint32_t* w = swapRB ? kLumaBlueFirst : kLumaRedFirst;
    return {dst, w[0], w[1], w[2]};
}

}  // namespace zel
