// Nearest-neighbour demosaicing, 8-bit RG mosaics, per output layout.
#include <vector>

#include "frames.hpp"
#include "zelvora.h"

namespace {

template <int (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t), int Bytes>
void interleaved(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * Bytes);
    for (auto _ : state) {
        Kernel(src.data(), h, w, dst.data(), 0);
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

void planar(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 3);
    const size_t n = static_cast<size_t>(w) * h;
    for (auto _ : state) {
        rg8ToBgr8P_nearest(src.data(), h, w, dst.data(), dst.data() + n, dst.data() + 2 * n);
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

BENCHMARK(interleaved<rg8ToBgr8_nearest, 3>)->Name("nearest/rg8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<rg8ToBgra8_nearest, 4>)->Name("nearest/rg8ToBgra8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<rg8ToMono8_nearest, 1>)->Name("nearest/rg8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(planar)->Name("nearest/rg8ToBgr8P")->Apply(zelbench::frameSizes);

}  // namespace
