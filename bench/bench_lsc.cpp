// Lens-shading correction of whole frames (8-bit and 12-bit, per pixel and
// per 2x2 block), and the estimation of a table from float frames.
#include <optional>
#include <vector>

#include "frames.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace {

// A table of varying gains around 1.0 and small offsets.
std::vector<uint32_t> table(uint32_t mode, int w, int h) {
    const size_t n = mode == 1 ? static_cast<size_t>(w) * h : static_cast<size_t>(w / 2) * (h / 2);
    std::vector<uint32_t> words{mode, static_cast<uint32_t>(h), static_cast<uint32_t>(w)};
    for (size_t i = 0; i < n; ++i) words.push_back((100000u + static_cast<uint32_t>(i % 60000)) << 12 | (i % 256));
    return words;
}

// Runs with the scalar table for the span of one benchmark, then restores
// the processor's best: the vector runs and the scalar engine in one run.
struct ScalarOnly {
    ScalarOnly() { zel::simd::useKernels(*zel::simd::supportedKernels().back()); }
    ~ScalarOnly() { zel::simd::useKernels(*zel::simd::supportedKernels().front()); }
};

template <uint32_t Format, int BytesPerSample, uint32_t Mode, bool Scalar = false>
void correction(benchmark::State& state) {
    std::optional<ScalarOnly> scalar;
    if (Scalar) scalar.emplace();
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    auto src = zelbench::mosaic(w, h, BytesPerSample);
    if (BytesPerSample == 2)
        for (size_t i = 1; i < src.size(); i += 2) src[i] &= 0x0F;  // 12-bit samples
    std::vector<uint8_t> dst(src.size());
    const auto words = table(Mode, w, h);
    const ZelImage source{h, w, Format, src.data(), w * BytesPerSample};
    const ZelImage destination{h, w, Format, dst.data(), w * BytesPerSample};
    const auto* t = reinterpret_cast<const ZelLSCTable*>(words.data());
    for (auto _ : state) {
        zelLSCorrection(&source, &destination, t);
        benchmark::DoNotOptimize(dst.data());
    }
    zelbench::setPixelRate(state, w, h);
}

template <uint32_t Mode>
void estimation(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto bytes = zelbench::mosaic(w, h);
    std::vector<float> grey(bytes.size()), dark(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        grey[i] = 2000.0f + bytes[i];
        dark[i] = 64.0f + static_cast<float>(bytes[i] & 15);
    }
    std::vector<uint32_t> words(3 + grey.size());
    const ZelLSCInput in{Mode, 12, w, h, grey.data(), dark.data()};
    for (auto _ : state) {
        zelGetLSCParameter(&in, reinterpret_cast<ZelLSCTable*>(words.data()));
        benchmark::DoNotOptimize(words.data());
    }
    zelbench::setPixelRate(state, w, h);
}

BENCHMARK(correction<ZEL_PIX_BAYER_RG8, 1, 1>)->Name("lsc/correct8/perPixel")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG8, 1, 0>)->Name("lsc/correct8/perBlock")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG12, 2, 1>)->Name("lsc/correct12/perPixel")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG12, 2, 0>)->Name("lsc/correct12/perBlock")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG8, 1, 1, true>)->Name("lsc/correct8/perPixel/scalar")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG8, 1, 0, true>)->Name("lsc/correct8/perBlock/scalar")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG12, 2, 1, true>)->Name("lsc/correct12/perPixel/scalar")->Apply(zelbench::frameSizes);
BENCHMARK(correction<ZEL_PIX_BAYER_RG12, 2, 0, true>)->Name("lsc/correct12/perBlock/scalar")->Apply(zelbench::frameSizes);
BENCHMARK(estimation<1>)->Name("lsc/estimate/perPixel")->Apply(zelbench::frameSizes);
BENCHMARK(estimation<0>)->Name("lsc/estimate/perBlock")->Apply(zelbench::frameSizes);

}  // namespace
