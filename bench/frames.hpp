// Frames for the benchmarks: sizes and a deterministic pseudo-random mosaic.
#pragma once

#include <cstdint>
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

}  // namespace zelbench
