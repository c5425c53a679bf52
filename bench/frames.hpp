// Frames for the benchmarks: sizes and a deterministic pseudo-random mosaic.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

namespace zelbench {

// 1920x1080 (full HD) and 4096x3072 (12 MP), the sizes cameras deliver.
inline void frameSizes(benchmark::internal::Benchmark* b) {
    b->Args({1920, 1080})->Args({4096, 3072});
}

inline std::vector<uint8_t> mosaic(int width, int height, int bytesPerSample = 1) {
    std::vector<uint8_t> v(static_cast<size_t>(width) * height * bytesPerSample);
    uint32_t s = 12345u;
    for (auto& b : v) {
        s = s * 1664525u + 1013904223u;
        b = static_cast<uint8_t>(s >> 24);
    }
    return v;
}

// items_per_second is pixels per second.
inline void setPixelRate(benchmark::State& state, int width, int height) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(width) * height);
}

// Times `call(src, height, width, dst, line)` on a pseudo-random mosaic of
// samples T (each masked by sampleMask), with an output of samplesPerPixel
// samples per pixel and a one-row scratch line.
template <typename T = uint8_t, typename Call>
void timeFrames(benchmark::State& state, int samplesPerPixel, Call call, T sampleMask = static_cast<T>(~T{0})) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto bytes = mosaic(w, h, sizeof(T));
    std::vector<T> src(static_cast<size_t>(w) * h);
    std::memcpy(src.data(), bytes.data(), bytes.size());
    for (auto& s : src) s &= sampleMask;
    std::vector<T> dst(static_cast<size_t>(w) * h * samplesPerPixel), line(static_cast<size_t>(w));
    for (auto _ : state) {
        call(src.data(), h, w, dst.data(), line.data());
        benchmark::DoNotOptimize(dst.data());
    }
    setPixelRate(state, w, h);
}

}  // namespace zelbench
