// The band runner: a frame on several threads holds the bytes of one
// zelDemosaicing call; a refusal is reported once, with its status.
#include <gtest/gtest.h>

#include <vector>

#include "bands.hpp"

using zelvora::BandRunner;

TEST(ToolBands, ThreadsGiveTheWholeFrameAndRefuseOnce) {
    const int32_t h = 37, w = 200;  // wide enough for the vector spans
    std::vector<uint8_t> raw(static_cast<size_t>(h) * w);
    for (size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<uint8_t>(i * 2654435761u >> 11);
    for (const int threads : {1, 3, 50}) {
        BandRunner runner(threads);
        ASSERT_EQ(runner.setLayout(ZEL_PIX_BGRA8), ZEL_OK);
        for (int32_t method = 0; method < 3; ++method) {
            const ZelImage in{h, w, ZEL_PIX_BAYER_GB8, raw.data(), w};
            std::vector<uint8_t> whole(static_cast<size_t>(h) * w * 4), banded(whole.size());
            zelvora::Handle handle;
            const ZelPixelType layout = ZEL_PIX_BGRA8;
            zelDemosaicSetConfig(handle.get(), &layout);
            ZelImage out{0, 0, 0, whole.data(), 0};
            ASSERT_EQ(zelDemosaicing(handle.get(), &in, method, &out), ZEL_OK);
            ZelImage outBands{0, 0, 0, banded.data(), 0};
            for (int frame = 0; frame < 2; ++frame) ASSERT_EQ(runner.demosaic(in, method, outBands), ZEL_OK);
            EXPECT_EQ(banded, whole) << threads << " threads, method " << method;
            EXPECT_EQ(outBands.height, h);
            EXPECT_EQ(outBands.pixelFormat, ZEL_PIX_BGRA8);
        }
        const ZelImage tiny{5, w, ZEL_PIX_BAYER_GB8, raw.data(), w};
        ZelImage out{0, 0, 0, raw.data(), 0};
        testing::internal::CaptureStdout();
        EXPECT_EQ(runner.demosaic(tiny, ZEL_DEMOSAIC_EDGE, out), errBadImageSize);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "error line = [7493]");
    }
}
