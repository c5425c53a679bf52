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

// What a four-byte writer does with byte 3 of every pixel.
enum class Alpha : uint8_t {
    Zero,  // written as 0 (nearest and bilinear kernels)
    Keep,  // never touched (edge-directed kernels)
};

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
};

// One luma byte per pixel: (wRed * red + wGreen * green + wBlue * blue + 128) >> 8.
struct Luma {
    uint8_t* dst;
    uint32_t wRed;
    uint32_t wGreen;
    uint32_t wBlue;

    void put(ptrdiff_t i, int r, int g, int b) const {
        const uint32_t sum = wRed * static_cast<uint32_t>(r) + wGreen * static_cast<uint32_t>(g) +
                             wBlue * static_cast<uint32_t>(b) + 128u;
        dst[i] = static_cast<uint8_t>(sum >> 8);
    }
    Luma at(ptrdiff_t i) const { return {dst + i, wRed, wGreen, wBlue}; }
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
