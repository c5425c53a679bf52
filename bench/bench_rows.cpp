// The cost of cutting a frame into row bands: one zelDemosaicing call against
// zelDemosaicingRows over consecutive bands on one thread, 1920x1080, BGR8
// output. Arguments: method, band rows (0: the whole-frame call), input code.
// And the scaling: the frame as one band per thread, a handle each (wall
// time; threads are started for every frame).
#include <thread>

#include "frames.hpp"
#include "zelvora.h"

namespace {

void frame(benchmark::State& state) {
    const int32_t method = static_cast<int32_t>(state.range(0));
    const int32_t bandRows = static_cast<int32_t>(state.range(1));
    const auto code = static_cast<uint32_t>(state.range(2));
    const int w = 1920, h = 1080;
    const int bytesPerSample = code == ZEL_PIX_BAYER_RG8 ? 1 : 2;
    auto src = zelbench::mosaic(w, h, bytesPerSample);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 3);
    ZelHandle* handle = nullptr;
    zelCreate(&handle);
    const ZelImage in{h, w, code, src.data(), w * bytesPerSample};
    ZelImage out{0, 0, 0, dst.data(), 0};
    for (auto _ : state) {
        if (bandRows == 0) {
            zelDemosaicing(handle, &in, method, &out);
        } else {
            for (int first = 0; first < h; first += bandRows)
                zelDemosaicingRows(handle, &in, method, &out, first, first + bandRows <= h ? bandRows : h - first);
        }
        benchmark::DoNotOptimize(dst.data());
    }
    zelRelease(&handle);
    zelbench::setPixelRate(state, w, h);
}

void cases(benchmark::internal::Benchmark* b) {
    for (const int64_t code : {ZEL_PIX_BAYER_RG8, ZEL_PIX_BAYER_RG12})
        for (int64_t method = 0; method < 3; ++method)
            for (const int64_t rows : {0, 64, 256, 1080}) b->Args({method, rows, code});
}

BENCHMARK(frame)->Name("rows/method,bandRows,code")->Apply(cases);

void threads(benchmark::State& state) {
    const int32_t method = static_cast<int32_t>(state.range(0));
    const int count = static_cast<int>(state.range(1));
    const int w = 1920, h = 1080;
    auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 3);
    std::vector<ZelHandle*> handles(count);
    for (auto& handle : handles) zelCreate(&handle);
    const ZelImage in{h, w, ZEL_PIX_BAYER_RG8, src.data(), w};
    for (auto _ : state) {
        std::vector<std::thread> pool;
        for (int t = 0; t < count; ++t)
            pool.emplace_back([&, t] {
                ZelImage out{0, 0, 0, dst.data(), 0};
                const int first = h * t / count, end = h * (t + 1) / count;
                zelDemosaicingRows(handles[t], &in, method, &out, first, end - first);
            });
        for (auto& thread : pool) thread.join();
        benchmark::DoNotOptimize(dst.data());
    }
    for (auto& handle : handles) zelRelease(&handle);
    zelbench::setPixelRate(state, w, h);
}

BENCHMARK(threads)->Name("rows/threads/method,threads")->ArgsProduct({{0, 1, 2}, {1, 2}})->UseRealTime();

}  // namespace
