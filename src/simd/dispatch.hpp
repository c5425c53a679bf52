// The vectorised row spans and the table that selects them.
//
// Every scalar engine stays the reference and does the borders and tails; a
// span function takes the interior of one row from a given column, runs the
// engine's own per-site rule on vectors of lanes, and returns the first
// column (or element) it did not finish. A null entry means no vector form:
// the scalar code does the whole row.
//
// One table is compiled per instruction set Highway targets on this machine
// (kernels.cpp). On x86 the best table the processor supports is chosen once
// per process; on 32-bit ARM NEON is the only, static, choice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "demosaic/layout.hpp"

namespace zel::edge {
template <typename V>
struct WindowOf;
struct PassKind;
}  // namespace zel::edge

namespace zel::simd {

// A row span of a bilinear engine: the row `mid` between `up` and `dn` (all
// already mirrored), column pairs from odd column c while both neighbours
// are inside the frame; pixel base + x of `out` is column x. Index 0 of the
// table's pair is the even row kind (R/Gr), 1 the odd one (Gb/B).
template <typename T>
using BilinearSpan = ptrdiff_t (*)(const T* up, const T* mid, const T* dn, ptrdiff_t c, int32_t width,
                                   const VectorOut& out, ptrdiff_t base);

// A row span of the nearest-neighbour engine: `own` and `companion` rows,
// column pairs (x, x+1) from odd column x.
using NearestSpan = ptrdiff_t (*)(const uint8_t* own, const uint8_t* companion, ptrdiff_t x, int32_t width,
                                  const VectorOut& out, ptrdiff_t base);

// Greens a walk carries from one pass's span to the next in a line of its
// own, column c at line[c], instead of reading them back from output pixels
// (interleaved loads and stores of every third sample). The span's columns
// are the same in every pass of a walk, so what one pass keeps is what the
// next takes.
template <typename T>
struct GreenCarry {
    T* line = nullptr;     // none: the greens stay in the store only
    bool takeOld = false;  // the old greens are in line, kept by the pass before
    bool keepNew = false;  // the new greens go to line for the next pass (see writeNewGreens)
};

// The interior steps of an edge-directed pass of `kind` for the pair (y, y+1):
// steps x, x+2, ... up to `last` (see edge.hpp), continuing from the window
// the scalar steps left in `w` and leaving it as they would have. Returns
// the first step not done.
template <typename T>
struct EdgeRun {
    const T* row[6];      // source rows y-2 .. y+3
    T* greens[4];         // carried greens: old red (y-2), old blue (y-1), new red (y), new blue (y+1)
    ptrdiff_t greenStep;  // samples from one column's green to the next
    VectorOut out;
    ptrdiff_t upper;  // pixel index of (y-1, 0)
    ptrdiff_t lower;  // pixel index of (y, 0)
    int maxValue;
    GreenCarry<T> carry{};
};
template <typename T>
using EdgeSpan = int (*)(const EdgeRun<T>& run, const edge::PassKind& kind, edge::WindowOf<int>& w, int x, int last);

// Element runs: the first `count` elements, returning how many were done.
using ShiftRun = ptrdiff_t (*)(const uint8_t* src, ptrdiff_t count, int32_t shift, uint8_t* dst);
using UnpackRun = ptrdiff_t (*)(const uint8_t* src, ptrdiff_t count, uint8_t* dst);
using GreyRun = ptrdiff_t (*)(const uint8_t* grey, ptrdiff_t count, const VectorOut& out);
using WidenRun = ptrdiff_t (*)(const uint8_t* src, ptrdiff_t count, uint8_t* dst);

// Lens-shading correction of samples of one type at depth `bits`: the first
// `count` samples each by its own entry (returns samples done), or the 2x2
// blocks of the row pair at elements `upper` and `lower` by entries 0 to
// columns-1 (returns blocks done).
using LscPixelRun = ptrdiff_t (*)(const uint8_t* src, uint8_t* dst, const uint32_t* entries, ptrdiff_t count,
                                  int32_t bits);
using LscBlockRun = ptrdiff_t (*)(const uint8_t* src, uint8_t* dst, const uint32_t* entries, ptrdiff_t upper,
                                  ptrdiff_t lower, int32_t columns, int32_t bits);

struct Kernels {
    const char* target;  // "scalar", "SSE4", "AVX2", "AVX3", "NEON", ...
    BilinearSpan<uint8_t> bilinear8[2];
    BilinearSpan<uint16_t> bilinear16[2];
    EdgeSpan<uint8_t> edge8;
    EdgeSpan<uint16_t> edge16;
    NearestSpan nearestRed;   // red row (R G R G) over its blue companion
    NearestSpan nearestBlue;  // blue row (G B G B) over its red companion
    ShiftRun shift16;         // 16-bit containers to 8 bits
    UnpackRun unpack;         // packed pairs to 8 bits
    GreyRun grey;             // a grey frame into any layout
    WidenRun widen;           // 3 bytes per pixel to 4
    LscPixelRun lscPixel[2];  // 8-bit, 16-bit samples
    LscBlockRun lscBlock[2];
};

// The table in use. Safe to call from any thread at any time.
const Kernels& kernels();

// Every table this processor can run, best first, then the scalar table
// (all entries null). For checkers and benchmarks.
std::span<const Kernels* const> supportedKernels();

// Makes `k` the table in use, for checkers and benchmarks that compare
// targets. Not for production callers: it changes the process-wide choice.
void useKernels(const Kernels& k);

// The description of a writer's output for the vector stores, or None.
template <typename W>
VectorOut vectorOutOf(const W& w) {
    if constexpr (requires { w.vectorOut(); }) return w.vectorOut();
    else return VectorOut{};
}

}  // namespace zel::simd
