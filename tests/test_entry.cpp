// zelDemosaicing's refusals with their statuses and printed numbers, and the
// deliberate behaviours of the entry: unknown methods, in-place compaction,
// the scratch kept across frames.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace {

using zeltest::errorLine;
using zeltest::printedBy;

constexpr uint8_t kCanary = 0x5A;

// ---------------------------------------------------------------- refusals

struct EntryTest : testing::Test {
    ZelHandle* handle = nullptr;
    std::vector<uint8_t> raw = std::vector<uint8_t>(64 * 64 * 2, 100);
    std::vector<uint8_t> out = std::vector<uint8_t>(64 * 64 * 4, kCanary);
    void SetUp() override { ASSERT_EQ(zelCreate(&handle), ZEL_OK); }
    void TearDown() override { zelRelease(&handle); }

    ZelImage input(int h, int w, int stride, uint32_t code = ZEL_PIX_BAYER_RG8) {
        return ZelImage{h, w, code, raw.data(), stride};
    }
    // Runs the entry and checks what it printed and that the output record and
    // buffer were left alone.
    void expectRefused(ZelHandle* h, const ZelImage* in, ZelImage* o, int line, int32_t status) {
        ZelImage before = o ? *o : ZelImage{};
        int32_t got = 0;
        const std::string printed = printedBy([&] { got = zelDemosaicing(h, in, ZEL_DEMOSAIC_NEAREST, o); });
        EXPECT_EQ(printed, errorLine(line));
        EXPECT_EQ(got, status);
        if (o) {
            EXPECT_EQ(0, std::memcmp(&before, o, sizeof before));
        }
        for (uint8_t b : out) ASSERT_EQ(b, kCanary);
    }
};

TEST_F(EntryTest, RecordChecksInOrder) {
    ZelImage in = input(8, 8, 8);
    ZelImage o{1, 2, 3, out.data(), 4};
    ZelImage noOut{1, 2, 3, nullptr, 4};
    ZelImage noIn{8, 8, ZEL_PIX_BAYER_RG8, nullptr, 8};
    expectRefused(nullptr, &in, &o, 94, errInvalidParameter);
    expectRefused(handle, nullptr, &o, 94, errInvalidParameter);
    expectRefused(handle, &in, nullptr, 94, errInvalidParameter);
    expectRefused(handle, &noIn, &o, 95, errInvalidParameter);
    expectRefused(handle, &in, &noOut, 95, errInvalidParameter);
    expectRefused(handle, &noIn, &noOut, 95, errInvalidParameter);
}

TEST_F(EntryTest, SizeChecks) {
    ZelImage o{1, 2, 3, out.data(), 4};
    const std::tuple<int, int, int> tooSmall[] = {{3, 8, 8}, {8, 3, 8}, {8, 8, 3}, {0, 0, 0}, {-5, 8, 8}};
    for (const auto& [h, w, stride] : tooSmall) {
        ZelImage in = input(h, w, stride);
        expectRefused(handle, &in, &o, 96, errBadImageSize);
    }
    // A bad code with a bad size reports the size.
    ZelImage both = input(3, 8, 8, 0x02180015);
    expectRefused(handle, &both, &o, 96, errBadImageSize);
    // 65536 x 32768 is 2^31 pixels; 65536 x 65537 wraps to a small positive
    // 32-bit product and is refused all the same.
    ZelImage overflow = input(65536, 32768, 32768);
    expectRefused(handle, &overflow, &o, 104, errBadImageSize);
    ZelImage wraps = input(65536, 65537, 65537);
    expectRefused(handle, &wraps, &o, 104, errBadImageSize);
    EXPECT_EQ(handle->scratch.data, nullptr);
}

TEST_F(EntryTest, UnsupportedInputLeavesTheScratchAlone) {
    ZelImage o{1, 2, 3, out.data(), 4};
    for (uint32_t code : {0x02180015u, 0x02180021u, 0x01100111u}) {
        ZelImage in = input(8, 8, 8, code);
        expectRefused(handle, &in, &o, 110, errUnsupportedInput);
    }
    EXPECT_EQ(handle->scratch.data, nullptr);
    EXPECT_EQ(handle->scratch.capacity, 0);
}

// A deep frame whose reduced copy and green row would not fit a signed 32-bit
// allocation is refused before anything is allocated or read.
TEST_F(EntryTest, ScratchBeyondThirtyTwoBitsIsRefused) {
    ZelImage o{1, 2, 3, out.data(), 4};
    ZelImage in = input(4, 500000000, 1000000000, ZEL_PIX_MONO16);
    expectRefused(handle, &in, &o, 119, errNoMemory);
    EXPECT_EQ(handle->scratch.data, nullptr);
}

TEST_F(EntryTest, UnknownOutputFormatInTheHandleIsPassedOnSilently) {
    handle->outputFormat = 0x0000000102180015ull;  // written without the configuration call
    ZelImage o{1, 2, 3, out.data(), 4};
    ZelImage bayer = input(8, 8, 8);
    expectRefused(handle, &bayer, &o, 0, errUnsupportedOutput);
    ZelImage mono = input(8, 8, 8, ZEL_PIX_MONO8);
    expectRefused(handle, &mono, &o, 0, errUnsupportedOutput);
}

// A method outside 0..2 succeeds without writing a pixel; the record is still
// filled as for a real frame.
TEST_F(EntryTest, UnknownMethodSucceedsWithoutWriting) {
    for (int32_t method : {3, -1, 1000}) {
        ZelImage in = input(8, 10, 10);
        ZelImage o{0, 0, 0, out.data(), 77};
        std::string printed = printedBy([&] { EXPECT_EQ(zelDemosaicing(handle, &in, method, &o), ZEL_OK); });
        EXPECT_EQ(printed, "");
        EXPECT_EQ(o.height, 8);
        EXPECT_EQ(o.width, 10);
        EXPECT_EQ(o.pixelFormat, static_cast<uint32_t>(ZEL_PIX_BGR8));
        EXPECT_EQ(o.stride, 77);
        for (uint8_t b : out) ASSERT_EQ(b, kCanary);
    }
}

TEST_F(EntryTest, UnpaddedEightBitInputIsUsedAsItIs) {
    raw = zeltest::randomBytes(raw.size(), 4);
    const auto before = raw;
    ZelImage in = input(6, 6, 6);
    ZelImage o{0, 0, 0, out.data(), 0};
    ASSERT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    EXPECT_EQ(raw, before);
}

// Padded 8-bit rows are packed together in the caller's own buffer; the rest
// of the buffer keeps its bytes.
TEST_F(EntryTest, PaddedEightBitInputIsCompactedInPlace) {
    raw = zeltest::randomBytes(raw.size(), 5);
    const auto before = raw;
    const int h = 6, w = 8, stride = 12;
    ZelImage in = input(h, w, stride);
    ZelImage o{0, 0, 0, out.data(), 0};
    ASSERT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) ASSERT_EQ(raw[r * w + c], before[r * stride + c]);
    for (size_t i = h * w; i < raw.size(); ++i) ASSERT_EQ(raw[i], before[i]);
}

TEST_F(EntryTest, ScratchIsReusedAcrossFramesOfOneGeometry) {
    ZelImage in = input(16, 16, 32, ZEL_PIX_BAYER_GB12);
    ZelImage o{0, 0, 0, out.data(), 0};
    ASSERT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    const uint8_t* scratch = handle->scratch.data;
    EXPECT_EQ(handle->scratch.capacity, 16 * 17 + 64);
    ASSERT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    EXPECT_EQ(handle->scratch.data, scratch);
    ZelImage small = input(8, 8, 8);  // an 8-bit frame only needs one row
    ASSERT_EQ(zelDemosaicing(handle, &small, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    EXPECT_EQ(handle->scratch.data, scratch);
}

TEST(Mono8Convert, RefusesOtherOutputsWithoutWriting) {
    uint8_t frame[16] = {}, dst[64];
    std::memset(dst, kCanary, sizeof dst);
    EXPECT_EQ(mono8Convert(frame, dst, 4, 4, 0x0108000B), errUnsupportedOutput);
    for (uint8_t b : dst) ASSERT_EQ(b, kCanary);
}

TEST(BayerDispatch, OutputFormatIsCheckedBeforeTheMethod) {
    uint8_t frame[16] = {}, dst[64];
    for (auto convert : {rg8Convert, bg8Convert, gb8Convert, gr8Convert}) {
        EXPECT_EQ(convert(frame, dst, 4, 4, 0x01100007, 7, nullptr), errUnsupportedOutput);
        EXPECT_EQ(convert(frame, dst, 4, 4, ZEL_PIX_BGR8, 7, nullptr), ZEL_OK);
    }
}

}  // namespace
