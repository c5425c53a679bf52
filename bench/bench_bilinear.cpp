// Bilinear demosaicing per output layout: 8-bit RG and GB mosaics, and 16-bit
// RGGB mosaics into interleaved and planar samples.
#include "frames.hpp"
#include "zelvora.h"

namespace {

using zelbench::timeFrames;

template <int32_t (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*), int Bytes>
void interleaved(benchmark::State& s) {
    timeFrames(s, Bytes, [](auto src, int h, int w, auto dst, auto) { Kernel(src, h, w, dst); });
}

template <int32_t (*Kernel)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*)>
void planar(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto) {
        const size_t n = static_cast<size_t>(w) * h;
        Kernel(src, h, w, dst, dst + n, dst + 2 * n);
    });
}

constexpr uint32_t kWeights[3] = {77, 150, 29};

template <int32_t (*Kernel)(const uint8_t*, int32_t, int32_t, const uint32_t*, uint8_t*)>
void mono(benchmark::State& s) {
    timeFrames(s, 1, [](auto src, int h, int w, auto dst, auto) { Kernel(src, h, w, kWeights, dst); });
}

// 12-bit samples in 16-bit words.
constexpr uint16_t kTwelveBits = 0x0FFF;

void interleaved16(benchmark::State& s) {
    timeFrames<uint16_t>(
        s, 3, [](auto src, int h, int w, auto dst, auto) { zelDemosaicingBilinearU16(src, h, w, dst); }, kTwelveBits);
}

void planar16(benchmark::State& s) {
    timeFrames<uint16_t>(
        s, 3,
        [](auto src, int h, int w, auto dst, auto) {
            const size_t n = static_cast<size_t>(w) * h;
            zelDemosaicingBilinearU16P(src, h, w, dst, dst + n, dst + 2 * n);
        },
        kTwelveBits);
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
