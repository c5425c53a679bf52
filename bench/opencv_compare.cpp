// Our kernels beside OpenCV's cvtColor on the same frames, one thread, in one
// run: the ratios the performance figures quote. Built only when OpenCV is
// found; the library never needs it.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

#include "frames.hpp"
#include "zelvora.h"

namespace {

// OpenCV names a Bayer pattern by its second row's second and third pixels:
// its "BG" codes are for data whose first row starts R G, as ours here.
template <int Code, int Depth, int Channels>
void opencv(benchmark::State& state) {
    cv::setNumThreads(1);
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    auto bytes = zelbench::mosaic(w, h, Depth == CV_16U ? 2 : 1);
    const cv::Mat src(h, w, Depth, bytes.data());
    cv::Mat dst(h, w, CV_MAKETYPE(Depth, Channels));
    for (auto _ : state) {
        cv::cvtColor(src, dst, Code);
        benchmark::DoNotOptimize(dst.data);
    }
    zelbench::setPixelRate(state, w, h);
}

template <int32_t Method, uint32_t Layout>
void ours(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    auto src = zelbench::mosaic(w, h);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 4);
    ZelHandle* handle = nullptr;
    zelCreate(&handle);
    const ZelPixelType layout = Layout;
    zelDemosaicSetConfig(handle, &layout);
    ZelImage in{h, w, ZEL_PIX_BAYER_RG8, src.data(), w};
    ZelImage out{0, 0, 0, dst.data(), 0};
    for (auto _ : state) {
        zelDemosaicing(handle, &in, Method, &out);
        benchmark::DoNotOptimize(dst.data());
    }
    zelRelease(&handle);
    zelbench::setPixelRate(state, w, h);
}

void ours16(benchmark::State& state) {
    zelbench::timeFrames<uint16_t>(state, 3, [](const uint16_t* s, int h, int w, uint16_t* d, uint16_t*) {
        zelDemosaicingBilinearU16(s, h, w, d);
    });
}
void ours16Edge(benchmark::State& state) {
    zelbench::timeFrames<uint16_t>(state, 3, [](const uint16_t* s, int h, int w, uint16_t* d, uint16_t*) {
        demosaicingEdgeRGGBU16(s, h, w, d);
    });
}
void oursNearest(benchmark::State& state) {
    zelbench::timeFrames(state, 3, [](const uint8_t* s, int h, int w, uint8_t* d, uint8_t*) {
        rg8ToBgr8_nearest(s, h, w, d, 0);
    });
}

void sizes(benchmark::internal::Benchmark* b) { b->Args({1920, 1080}); }

BENCHMARK(opencv<cv::COLOR_BayerBG2BGR, CV_8U, 3>)->Name("opencv/bilinear/BGR8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_BGR8>)->Name("ours/bilinear/BGR8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_RGB8>)->Name("ours/bilinear/RGB8")->Apply(sizes);
BENCHMARK(opencv<cv::COLOR_BayerBG2BGRA, CV_8U, 4>)->Name("opencv/bilinear/BGRA8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_BGRA8>)->Name("ours/bilinear/BGRA8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_RGBA8>)->Name("ours/bilinear/RGBA8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_RGB8_PLANAR>)->Name("ours/bilinear/RGB8planar")->Apply(sizes);
BENCHMARK(opencv<cv::COLOR_BayerBG2GRAY, CV_8U, 1>)->Name("opencv/bilinear/Mono8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_BILINEAR, ZEL_PIX_MONO8>)->Name("ours/bilinear/Mono8")->Apply(sizes);
BENCHMARK(oursNearest)->Name("ours/nearest/BGR8 kernel")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_NEAREST, ZEL_PIX_BGR8>)->Name("ours/nearest/BGR8")->Apply(sizes);
BENCHMARK(opencv<cv::COLOR_BayerBG2BGR_EA, CV_8U, 3>)->Name("opencv/edge/BGR8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_BGR8>)->Name("ours/edge/BGR8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_RGB8>)->Name("ours/edge/RGB8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_BGRA8>)->Name("ours/edge/BGRA8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_RGBA8>)->Name("ours/edge/RGBA8")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_RGB8_PLANAR>)->Name("ours/edge/RGB8planar")->Apply(sizes);
BENCHMARK(ours<ZEL_DEMOSAIC_EDGE, ZEL_PIX_MONO8>)->Name("ours/edge/Mono8")->Apply(sizes);
BENCHMARK(opencv<cv::COLOR_BayerBG2BGR, CV_16U, 3>)->Name("opencv/bilinear16/BGR16")->Apply(sizes);
BENCHMARK(ours16)->Name("ours/bilinear16/BGR16")->Apply(sizes);
BENCHMARK(opencv<cv::COLOR_BayerBG2BGR_EA, CV_16U, 3>)->Name("opencv/edge16/BGR16")->Apply(sizes);
BENCHMARK(ours16Edge)->Name("ours/edge16/BGR16")->Apply(sizes);

}  // namespace
