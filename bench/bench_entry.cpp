// zelDemosaicing on 8-bit, 16-bit container and packed 12-bit input, beside
// the 8-bit kernel alone: what the reduction to 8 bits adds to a frame.
#include <vector>

#include "frames.hpp"
#include "zelvora.h"

namespace {

template <uint32_t Format, int Method>
void entry(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const bool packed = Format == ZEL_PIX_BAYER_RG12_PACKED;
    const int stride = Format == ZEL_PIX_BAYER_RG8 ? w : packed ? w + w / 2 : 2 * w;
    auto src = zelbench::mosaic(stride, h + 1);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 3);
    ZelHandle* handle = nullptr;
    zelCreate(&handle);
    ZelImage in{h, w, Format, src.data(), stride};
    ZelImage out{0, 0, 0, dst.data(), 3 * w};
    for (auto _ : state) {
        zelDemosaicing(handle, &in, Method, &out);
        benchmark::DoNotOptimize(dst.data());
    }
    zelRelease(&handle);
    zelbench::setPixelRate(state, w, h);
}

BENCHMARK(entry<ZEL_PIX_BAYER_RG8, 1>)->Name("entry/bilinear/RG8")->Apply(zelbench::frameSizes);
BENCHMARK(entry<ZEL_PIX_BAYER_RG12, 1>)->Name("entry/bilinear/RG12")->Apply(zelbench::frameSizes);
BENCHMARK(entry<ZEL_PIX_BAYER_RG12_PACKED, 1>)->Name("entry/bilinear/RG12Packed")->Apply(zelbench::frameSizes);

}  // namespace
