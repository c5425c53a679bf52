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

// Where the frames are when a call starts: the same frame every call (in
// the caches as far as it fits, the usual benchmark), or a different one
// each call from frames that together exceed any last-level cache, as
// frames arrive from a camera.
enum class Frames { Warm, FromMemory };
constexpr size_t kBeyondCaches = size_t{512} << 20;

// Times `call(src, height, width, dst, line)` on a pseudo-random mosaic of
// samples T (each masked by sampleMask), with an output of samplesPerPixel
// samples per pixel and a one-row scratch line.
template <typename T = uint8_t, typename Call>
void timeFrames(benchmark::State& state, int samplesPerPixel, Call call, T sampleMask = static_cast<T>(~T{0}),
                Frames frames = Frames::Warm) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const size_t pixels = static_cast<size_t>(w) * h;
    const auto bytes = mosaic(w, h, sizeof(T));
    std::vector<T> first(pixels);
    std::memcpy(first.data(), bytes.data(), bytes.size());
    for (auto& s : first) s &= sampleMask;
    const size_t frameBytes = pixels * sizeof(T) * (1 + samplesPerPixel);
    const size_t count = frames == Frames::Warm ? 1 : kBeyondCaches / frameBytes + 1;
    std::vector<std::vector<T>> src(count, first), dst(count, std::vector<T>(pixels * samplesPerPixel));
    std::vector<T> line(static_cast<size_t>(w));
    size_t i = 0;
    for (auto _ : state) {
        call(src[i].data(), h, w, dst[i].data(), line.data());
        benchmark::DoNotOptimize(dst[i].data());
        i = i + 1 == count ? 0 : i + 1;
    }
    setPixelRate(state, w, h);
}

}  // namespace zelbench
