// Bilinear demosaicing per output layout: 8-bit RG and GB mosaics, and 16-bit
// RGGB mosaics into interleaved and planar samples.
#include <cstring>
#include <vector>

#include "frames.hpp"
#include "zelvora.h"

namespace {

template <int (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*), int Bytes>
void interleaved(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * Bytes);
    for (auto _ : state) {
        Kernel(src.data(), h, w, dst.data());
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

template <int (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*)>
void planar(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = zelbench::mosaic(w, h);
    const size_t n = static_cast<size_t>(w) * h;
    std::vector<uint8_t> dst(3 * n);
    for (auto _ : state) {
        Kernel(src.data(), h, w, dst.data(), dst.data() + n, dst.data() + 2 * n);
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

template <int (*Kernel)(const uint8_t*, int32_t, int32_t, const uint32_t*, uint8_t*)>
void mono(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h);
    const uint32_t weights[3] = {77, 150, 29};
    for (auto _ : state) {
        Kernel(src.data(), h, w, weights, dst.data());
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

// 12-bit samples in 16-bit words.
std::vector<uint16_t> mosaic16(int w, int h) {
    const auto bytes = zelbench::mosaic(w, h, 2);
    std::vector<uint16_t> v(static_cast<size_t>(w) * h);
    std::memcpy(v.data(), bytes.data(), bytes.size());
    for (auto& s : v) s &= 0x0FFF;
    return v;
}

void interleaved16(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = mosaic16(w, h);
    std::vector<uint16_t> dst(static_cast<size_t>(w) * h * 3);
    for (auto _ : state) {
        zelDemosaicingBilinearU16(src.data(), h, w, dst.data());
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

void planar16(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto src = mosaic16(w, h);
    const size_t n = static_cast<size_t>(w) * h;
    std::vector<uint16_t> dst(3 * n);
    for (auto _ : state) {
        zelDemosaicingBilinearU16P(src.data(), h, w, dst.data(), dst.data() + n, dst.data() + 2 * n);
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

BENCHMARK(interleaved<rg8ToBgr8_bilinear, 3>)->Name("bilinear/rg8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<gb8ToBgr8_bilinear, 3>)->Name("bilinear/gb8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved<rg8ToBgra8_bilinear, 4>)->Name("bilinear/rg8ToBgra8")->Apply(zelbench::frameSizes);
BENCHMARK(planar<rg8ToBgr8P_bilinear>)->Name("bilinear/rg8ToBgr8P")->Apply(zelbench::frameSizes);
BENCHMARK(mono<rg8ToMono8_bilinear>)->Name("bilinear/rg8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(mono<gr8ToMono8_bilinear>)->Name("bilinear/gr8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(interleaved16)->Name("bilinear/U16")->Apply(zelbench::frameSizes);
BENCHMARK(planar16)->Name("bilinear/U16P")->Apply(zelbench::frameSizes);

}  // namespace
