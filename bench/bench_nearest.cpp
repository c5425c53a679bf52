// Nearest-neighbour demosaicing, 8-bit RG mosaics, per output layout.
#include "frames.hpp"
#include "zelvora.h"

namespace {

using zelbench::timeFrames;

template <int32_t (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t), int Bytes>
void interleaved(benchmark::State& s) {
    timeFrames(s, Bytes, [](auto src, int h, int w, auto dst, auto) { Kernel(src, h, w, dst, 0); });
}

void planar(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto) {
        const size_t n = static_cast<size_t>(w) * h;
        rg8ToBgr8P_nearest(src, h, w, dst, dst + n, dst + 2 * n);
    });
}

BENCHMARK(interleaved<rg8ToBgr8_nearest, 3>)->Name("nearest/rg8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<rg8ToBgra8_nearest, 4>)->Name("nearest/rg8ToBgra8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<rg8ToMono8_nearest, 1>)->Name("nearest/rg8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(planar)->Name("nearest/rg8ToBgr8P")->Apply(zelbench::frameSizes);

}  // namespace
