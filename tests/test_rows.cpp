// zelDemosaicingRows beyond what the frame suite checks: bands on several
// threads and handles at once, and the refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace {

using zeltest::errorLine;
using zeltest::printedBy;

using zeltest::Handle;
using zeltest::kCanary;

// Bands of 5 rows dealt out to 4 threads, each with its own handle, hold
// the bytes of one whole-frame call.
TEST(Rows, BandsOnSeveralThreadsAndHandlesAtOnce) {
    constexpr int h = 67, w = 64, kThreads = 4, kBandRows = 5;
    const size_t bytes = size_t{h} * w * 4;
    const int32_t strides[] = {2 * w + 2, w + 5};
    const uint32_t codes[] = {ZEL_PIX_BAYER_GB10, ZEL_PIX_BAYER_RG8};
    for (int k = 0; k < 2; ++k)
        for (int32_t method = 0; method < 3; ++method) {
            auto input = zeltest::randomBytes(size_t{h} * strides[k], 40 + k);
            auto copy = input;  // the whole-frame call may compact its input
            const ZelImage in{h, w, codes[k], input.data(), strides[k]};
            ZelImage wholeIn{h, w, codes[k], copy.data(), strides[k]};
            std::vector<uint8_t> whole(bytes, kCanary), out(bytes, kCanary);
            ZelImage wholeOut{0, 0, 0, whole.data(), 0};
            ASSERT_EQ(zelDemosaicing(Handle(ZEL_PIX_BGRA8).h, &wholeIn, method, &wholeOut), ZEL_OK);
            std::vector<std::thread> threads;
            std::vector<int32_t> statuses(kThreads, -1);
            for (int t = 0; t < kThreads; ++t)
                threads.emplace_back([&, t] {
                    Handle handle(ZEL_PIX_BGRA8);
                    ZelImage outRecord{0, 0, 0, out.data(), 0};
                    int32_t status = ZEL_OK;
                    for (int first = t * kBandRows; first < h && status == ZEL_OK; first += kThreads * kBandRows)
                        status = zelDemosaicingRows(handle.h, &in, method, &outRecord, first,
                                                    std::min(kBandRows, h - first));
                    statuses[t] = status;
                });
            for (auto& t : threads) t.join();
            EXPECT_EQ(statuses, std::vector<int32_t>(kThreads, ZEL_OK));
            EXPECT_EQ(out, whole) << "family " << k << " method " << method;
        }
}

TEST(Rows, Refusals) {
    std::vector<uint8_t> data(64 * 64 * 4), out(64 * 64 * 4, kCanary);
    const ZelImage good{8, 8, ZEL_PIX_BAYER_RG12, data.data(), 16};
    struct Case {
        const char* what;
        ZelImage in;
        int32_t first, count;
        int32_t status;
        int number;  // 0: nothing printed
    };
    const Case cases[] = {
        {"null input data", {8, 8, ZEL_PIX_BAYER_RG8, nullptr, 8}, 0, 8, errInvalidParameter, 95},
        {"height 3", {3, 8, ZEL_PIX_BAYER_RG8, data.data(), 8}, 0, 3, errBadImageSize, 96},
        {"stride 3", {8, 8, ZEL_PIX_BAYER_RG8, data.data(), 3}, 0, 8, errBadImageSize, 96},
        {"pixel count", {65536, 32768, ZEL_PIX_BAYER_RG8, data.data(), 32768}, 0, 1, errBadImageSize, 104},
        {"input code", {8, 8, ZEL_PIX_BGR8, data.data(), 24}, 0, 8, errUnsupportedInput, 110},
        {"8-bit stride short", {8, 8, ZEL_PIX_BAYER_RG8, data.data(), 7}, 0, 8, errBadImageSize, 131},
        {"16-bit stride short", {8, 8, ZEL_PIX_MONO10, data.data(), 15}, 0, 8, errBadImageSize, 131},
        {"packed stride short", {8, 9, ZEL_PIX_BAYER_GB12_PACKED, data.data(), 12}, 0, 8, errBadImageSize, 131},
        {"negative first row", good, -1, 2, errInvalidParameter, 133},
        {"zero rows", good, 0, 0, errInvalidParameter, 133},
        {"negative count", good, 2, -1, errInvalidParameter, 133},
        {"past the last row", good, 7, 2, errInvalidParameter, 133},
        {"first row past the frame", good, 8, 1, errInvalidParameter, 133},
        {"count overflowing", good, 1, INT32_MAX, errInvalidParameter, 133},
        {"edge-directed below 6 rows", {5, 8, ZEL_PIX_BAYER_GB8, data.data(), 8}, 0, 5, errBadImageSize, 7493},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Handle h(ZEL_PIX_BGRA8);
        ZelImage outRecord{0, 0, 0, out.data(), 0};
        EXPECT_EQ(zeltest::captured([&] { return zelDemosaicingRows(h.h, &c.in, 2, &outRecord, c.first, c.count); }),
                  zeltest::outcome(c.status, c.number));
        EXPECT_EQ(outRecord.height, 0);
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == kCanary; }));
    }

    // Null records; an output format the dispatch does not know (-107, no
    // message); a method outside 0..2 succeeds, writes nothing and fills the
    // record, as the whole-frame call does.
    Handle h(ZEL_PIX_BGR8);
    ZelImage outRecord{0, 0, 0, out.data(), 0};
    auto bands = [&](ZelHandle* handle, ZelImage* record, int32_t method, int32_t status) {
        return printedBy([&] { EXPECT_EQ(zelDemosaicingRows(handle, &good, method, record, 2, 3), status); });
    };
    EXPECT_EQ(bands(nullptr, &outRecord, 1, errInvalidParameter), errorLine(94));
    EXPECT_EQ(bands(h.h, nullptr, 1, errInvalidParameter), errorLine(94));
    EXPECT_EQ(bands(h.h, &outRecord, 3, ZEL_OK), "");
    EXPECT_EQ(outRecord.height, 8);
    EXPECT_EQ(outRecord.pixelFormat, ZEL_PIX_BGR8);
    h.h->outputFormat = 0x12345;
    EXPECT_EQ(bands(h.h, &outRecord, 1, errUnsupportedOutput), "");
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == kCanary; }));
}

}  // namespace
