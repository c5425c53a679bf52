// Edge-directed demosaicing: the 8-bit drivers per output layout and phase,
// and the 16-bit entries of every order. opencv_compare times them beside
// OpenCV.
#include "frames.hpp"
#include "zelvora.h"

namespace {

using zelbench::timeFrames;

void rgBgr(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto) { rg8ToBgr8_edge(src, h, w, dst, 0); });
}
void gbBgr(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto) { gb8ToBgr8_edge(src, h, w, dst, 0); });
}
void rgRgb(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto) { rg8ToBgr8_edge(src, h, w, dst, 1); });
}
void rgBgra(benchmark::State& s) {
    timeFrames(s, 4, [](auto src, int h, int w, auto dst, auto) { rg8ToBgra8_edge(src, h, w, dst, 0); });
}
void rgRgba(benchmark::State& s) {
    timeFrames(s, 4, [](auto src, int h, int w, auto dst, auto) { rg8ToBgra8_edge(src, h, w, dst, 1); });
}
void rgPlanar(benchmark::State& s) {
    timeFrames(s, 3, [](auto src, int h, int w, auto dst, auto line) {
        const size_t n = static_cast<size_t>(w) * h;
        rg8ToBgr8P_edge(src, h, w, dst, dst + n, dst + 2 * n, line);
    });
}
void rgMono(benchmark::State& s) {
    timeFrames(s, 1, [](auto src, int h, int w, auto dst, auto line) { rg8ToMono8_edge(src, h, w, dst, 0, line); });
}

void rggb16(benchmark::State& s) {
    timeFrames<uint16_t>(s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeRGGBU16(src, h, w, dst); });
}
// 12-bit samples in 16-bit containers, the most common deep sensor output.
void rggb16Twelve(benchmark::State& s) {
    timeFrames<uint16_t>(
        s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeRGGBU16(src, h, w, dst); }, uint16_t{0x0FFF});
}
void grbg16(benchmark::State& s) {
    timeFrames<uint16_t>(s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeGRBGU16(src, h, w, dst); });
}
void gbrg16(benchmark::State& s) {
    timeFrames<uint16_t>(s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeGBRGU16(src, h, w, dst); });
}
void bggr16(benchmark::State& s) {
    timeFrames<uint16_t>(s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeBGGRU16(src, h, w, dst); });
}
// A new frame from memory every call, for the cost per pixel without the
// help of the caches that hold a 1920x1080 frame between calls.
void rgBgrFromMemory(benchmark::State& s) {
    timeFrames(
        s, 3, [](auto src, int h, int w, auto dst, auto) { rg8ToBgr8_edge(src, h, w, dst, 0); }, uint8_t{0xFF},
        zelbench::Frames::FromMemory);
}
void rgMonoFromMemory(benchmark::State& s) {
    timeFrames(
        s, 1, [](auto src, int h, int w, auto dst, auto line) { rg8ToMono8_edge(src, h, w, dst, 0, line); },
        uint8_t{0xFF}, zelbench::Frames::FromMemory);
}
void rggb16TwelveFromMemory(benchmark::State& s) {
    timeFrames<uint16_t>(
        s, 3, [](auto src, int h, int w, auto dst, auto) { demosaicingEdgeRGGBU16(src, h, w, dst); }, uint16_t{0x0FFF},
        zelbench::Frames::FromMemory);
}

BENCHMARK(rgBgr)->Name("edge/rg8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(gbBgr)->Name("edge/gb8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(rgRgb)->Name("edge/rg8ToRgb8")->Apply(zelbench::frameSizes);
BENCHMARK(rgBgra)->Name("edge/rg8ToBgra8")->Apply(zelbench::frameSizes);
BENCHMARK(rgRgba)->Name("edge/rg8ToRgba8")->Apply(zelbench::frameSizes);
BENCHMARK(rgPlanar)->Name("edge/rg8ToBgr8P")->Apply(zelbench::frameSizes);
BENCHMARK(rgMono)->Name("edge/rg8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(rggb16)->Name("edge/demosaicingEdgeRGGBU16")->Apply(zelbench::frameSizes);
BENCHMARK(rggb16Twelve)->Name("edge/demosaicingEdgeRGGBU16_12bit")->Apply(zelbench::frameSizes);
BENCHMARK(grbg16)->Name("edge/demosaicingEdgeGRBGU16")->Apply(zelbench::frameSizes);
BENCHMARK(gbrg16)->Name("edge/demosaicingEdgeGBRGU16")->Apply(zelbench::frameSizes);
BENCHMARK(bggr16)->Name("edge/demosaicingEdgeBGGRU16")->Apply(zelbench::frameSizes);
BENCHMARK(rgBgrFromMemory)->Name("edge/fromMemory/rg8ToBgr8")->Apply(zelbench::frameSizes);
BENCHMARK(rgMonoFromMemory)->Name("edge/fromMemory/rg8ToMono8")->Apply(zelbench::frameSizes);
BENCHMARK(rggb16TwelveFromMemory)->Name("edge/fromMemory/demosaicingEdgeRGGBU16_12bit")->Apply(zelbench::frameSizes);

}  // namespace
