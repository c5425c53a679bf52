// The dispatch table's cells: small adapters that turn one uniform call into
// the argument shape of an exported kernel, with the channel order, plane
// order or luma weights of that cell fixed at compile time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/formats.hpp"

namespace zel {

// Everything a dispatcher knows about the frame it is converting.
struct KernelCall {
    const uint8_t* frame;  // compact 8-bit mosaic, rows `width` bytes apart
    uint8_t* dst;          // the caller's output buffer
    int32_t height;
    int32_t width;
    uint8_t* greenLine;    // one row of scratch for the edge-directed kernels
};

using Launch = int32_t (*)(const KernelCall&);

// Bayer orders, in the order of the table's rows.
enum class Bayer : uint8_t { RG, BG, GB, GR, Count };
inline constexpr int kBayerCount = static_cast<int>(Bayer::Count);
inline constexpr int kMethodCount = 3;

// One method's cells: [Bayer order][output layout]. A null cell is a layout
// the method does not produce.
using LayoutRow = std::array<Launch, kLayoutCount>;
using MethodTable = std::array<LayoutRow, kBayerCount>;

// The cells of one pair of Bayer orders that differ only by the exchange of
// red and blue (RG and BG, GB and GR): index 0 serves data in the first
// order, index 1 data in the second. Each layout of the second order is the
// opposite-order cell of the first: BGR8 of one is RGB8 of the other, and the
// planes are handed over in the opposite order.
struct OrderPair {
    std::array<Launch, 2> bgr;     // BGR8 output; [1] is then RGB8 of the first order
    std::array<Launch, 2> bgra;    // BGRA8 likewise
    std::array<Launch, 2> planes;  // RGB8 planar; [1] is then BGR8 planar of the first order
    std::array<Launch, 2> mono;    // Mono8
};

constexpr LayoutRow rowOf(const OrderPair& k, int i) {
    const int other = 1 - i;
    // BGR8, RGB8, BGRA8, RGBA8, RGB8 planar, BGR8 planar, Mono8
    return {k.bgr[i], k.bgr[other], k.bgra[i], k.bgra[other], k.planes[i], k.planes[other], k.mono[i]};
}

// A whole method from its RG/BG and GB/GR pairs.
constexpr MethodTable methodTable(const OrderPair& rgBg, const OrderPair& gbGr) {
    return {rowOf(rgBg, 0), rowOf(rgBg, 1), rowOf(gbGr, 0), rowOf(gbGr, 1)};
}

extern const MethodTable kNearestTable;
extern const MethodTable kBilinearTable;
extern const MethodTable kEdgeTable;

// The order in which a cell hands the three planes of the output buffer to a
// planar kernel: (dst, dst + n, dst + 2n) or (dst + 2n, dst + n, dst).
enum class Planes : uint8_t { Forward, Reverse };

struct PlaneTriple {
    uint8_t* first;
    uint8_t* second;
    uint8_t* third;
};

inline PlaneTriple planesOf(const KernelCall& c, Planes order) {
    const ptrdiff_t n = static_cast<ptrdiff_t>(c.width) * c.height;
    uint8_t* p0 = c.dst;
    uint8_t* p2 = c.dst + 2 * n;
    return order == Planes::Forward ? PlaneTriple{p0, c.dst + n, p2} : PlaneTriple{p2, c.dst + n, p0};
}

// (frame, height, width, dst, swapRB): nearest and edge-directed interleaved
// and mono kernels without scratch.
template <auto Kernel, int32_t SwapRB>
int32_t withSwap(const KernelCall& c) {
    return Kernel(c.frame, c.height, c.width, c.dst, SwapRB);
}

// (frame, height, width, dst): bilinear interleaved kernels.
template <auto Kernel>
int32_t plain(const KernelCall& c) {
    return Kernel(c.frame, c.height, c.width, c.dst);
}

// (frame, height, width, plane, plane, plane): nearest and bilinear planar.
template <auto Kernel, Planes Order>
int32_t planar(const KernelCall& c) {
    const PlaneTriple p = planesOf(c, Order);
    return Kernel(c.frame, c.height, c.width, p.first, p.second, p.third);
}

// (frame, height, width, weights, dst): bilinear mono.
template <auto Kernel, const uint32_t* Weights>
int32_t weighted(const KernelCall& c) {
    return Kernel(c.frame, c.height, c.width, Weights, c.dst);
}

// (frame, height, width, dst, swapRB, greenLine): edge-directed mono.
template <auto Kernel, int32_t SwapRB>
int32_t withSwapAndLine(const KernelCall& c) {
    return Kernel(c.frame, c.height, c.width, c.dst, SwapRB, c.greenLine);
}

// (frame, height, width, plane, plane, plane, greenLine): edge-directed planar.
template <auto Kernel, Planes Order>
int32_t planarWithLine(const KernelCall& c) {
    const PlaneTriple p = planesOf(c, Order);
    return Kernel(c.frame, c.height, c.width, p.first, p.second, p.third, c.greenLine);
}

}  // namespace zel
