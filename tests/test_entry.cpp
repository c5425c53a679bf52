// zelDemosaicing and zelDemosaicingRows beyond what the frame suite checks:
// every refusal of either entry with its status and printed number, the
// deliberate behaviours (unknown methods, in-place compaction, the scratch
// kept across frames). (Bands on several threads and handles at once: the
// README's threading example, run by rows_example_test.)
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace {

using zeltest::Handle;
using zeltest::kCanary;

enum Entries { kWhole = 1, kBands = 2, kBoth = 3 };

struct Refusal {
    const char* what;
    Entries entries;
    ZelImage in;  // data: 0 null, otherwise the test's buffer
    int nulls;    // 1 handle, 2 input record, 4 output record, 8 output data
    int32_t first, count, method;
    uint64_t layout;  // written into the handle without the configuration call
    int32_t status;
    int number;  // 0: nothing printed
};

constexpr uint32_t kRG8 = ZEL_PIX_BAYER_RG8;
constexpr uint64_t kBGR = ZEL_PIX_BGR8;
const ZelImage kGood{8, 8, ZEL_PIX_BAYER_RG12, reinterpret_cast<uint8_t*>(1), 16};

// Nothing is written and the output record stays as it was; the checks of
// the records, sizes and band come before any scratch is allocated.
TEST(Entries, RefusalsInOrder) {
    const Refusal cases[] = {
        {"null handle", kBoth, kGood, 1, 0, 8, 0, kBGR, errInvalidParameter, 94},
        {"null input", kBoth, kGood, 2, 0, 8, 0, kBGR, errInvalidParameter, 94},
        {"null output", kBoth, kGood, 4, 0, 8, 0, kBGR, errInvalidParameter, 94},
        {"null input data", kBoth, {8, 8, kRG8, nullptr, 8}, 0, 0, 8, 0, kBGR, errInvalidParameter, 95},
        {"null output data", kBoth, kGood, 8, 0, 8, 0, kBGR, errInvalidParameter, 95},
        {"height 3", kBoth, {3, 8, kRG8, kGood.data, 8}, 0, 0, 3, 0, kBGR, errBadImageSize, 96},
        {"width 3", kBoth, {8, 3, kRG8, kGood.data, 8}, 0, 0, 8, 0, kBGR, errBadImageSize, 96},
        {"stride 3", kBoth, {8, 8, kRG8, kGood.data, 3}, 0, 0, 8, 0, kBGR, errBadImageSize, 96},
        {"negative height", kBoth, {-5, 8, kRG8, kGood.data, 8}, 0, 0, 8, 0, kBGR, errBadImageSize, 96},
        {"size before code", kBoth, {3, 8, ZEL_PIX_BGR8, kGood.data, 8}, 0, 0, 3, 0, kBGR, errBadImageSize, 96},
        // 2^31 pixels; 65536 x 65537 wraps to a small positive 32-bit product
        {"pixel count", kBoth, {65536, 32768, kRG8, kGood.data, 32768}, 0, 0, 1, 0, kBGR, errBadImageSize, 104},
        {"wrapping count", kBoth, {65536, 65537, kRG8, kGood.data, 65537}, 0, 0, 1, 0, kBGR, errBadImageSize, 104},
        {"output code", kBoth, {8, 8, ZEL_PIX_BGR8, kGood.data, 24}, 0, 0, 8, 0, kBGR, errUnsupportedInput, 110},
        {"planar code", kBoth, {8, 8, ZEL_PIX_RGB8_PLANAR, kGood.data, 8}, 0, 0, 8, 0, kBGR, errUnsupportedInput, 110},
        {"14-bit Bayer", kBoth, {8, 8, 0x01100111, kGood.data, 16}, 0, 0, 8, 0, kBGR, errUnsupportedInput, 110},
        // a reduced frame beyond a signed 32-bit allocation, refused before it is read
        {"scratch", kBoth, {4, 500000000, ZEL_PIX_MONO16, kGood.data, 1000000000}, 0, 0, 4, 0, kBGR, errNoMemory, 119},
        // an output format the handle holds but the dispatch does not know: no message
        {"unknown layout", kBoth, kGood, 0, 0, 8, 0, 0x0000000102180015ull, errUnsupportedOutput, 0},
        {"unknown layout, mono", kBoth, {8, 8, ZEL_PIX_MONO8, kGood.data, 8}, 0, 0, 8, 1, 0x12345,
         errUnsupportedOutput, 0},
        {"8-bit stride short", kBands, {8, 8, kRG8, kGood.data, 7}, 0, 0, 8, 0, kBGR, errBadImageSize, 131},
        {"16-bit stride short", kBands, {8, 8, ZEL_PIX_MONO10, kGood.data, 15}, 0, 0, 8, 0, kBGR, errBadImageSize, 131},
        {"packed stride short", kBands, {8, 9, ZEL_PIX_BAYER_GB12_PACKED, kGood.data, 12}, 0, 0, 8, 0, kBGR,
         errBadImageSize, 131},
        {"negative first row", kBands, kGood, 0, -1, 2, 0, kBGR, errInvalidParameter, 133},
        {"zero rows", kBands, kGood, 0, 0, 0, 0, kBGR, errInvalidParameter, 133},
        {"negative count", kBands, kGood, 0, 2, -1, 0, kBGR, errInvalidParameter, 133},
        {"past the last row", kBands, kGood, 0, 7, 2, 0, kBGR, errInvalidParameter, 133},
        {"first row past the frame", kBands, kGood, 0, 8, 1, 0, kBGR, errInvalidParameter, 133},
        {"count overflowing", kBands, kGood, 0, 1, INT32_MAX, 0, kBGR, errInvalidParameter, 133},
        {"edge-directed below 6 rows", kBoth, {5, 8, ZEL_PIX_BAYER_GB8, kGood.data, 8}, 0, 0, 5, 2, ZEL_PIX_BGRA8,
         errBadImageSize, 7493},
    };
    std::vector<uint8_t> data(64 * 64 * 4, 100), out(64 * 64 * 4, kCanary);
    for (const Refusal& c : cases)
        for (Entries entry : {kWhole, kBands}) {
            if ((c.entries & entry) == 0) continue;
            SCOPED_TRACE(std::string(c.what) + (entry == kWhole ? ", whole frame" : ", band"));
            Handle h(ZEL_PIX_BGR8);
            h.h->outputFormat = c.layout;
            ZelImage in = c.in;
            if (in.data != nullptr) in.data = data.data();
            const ZelImage before{11, 12, 13, c.nulls & 8 ? nullptr : out.data(), 14};
            ZelImage record = before;
            ZelHandle* handle = c.nulls & 1 ? nullptr : h.h;
            const ZelImage* input = c.nulls & 2 ? nullptr : &in;
            ZelImage* output = c.nulls & 4 ? nullptr : &record;
            EXPECT_EQ(zeltest::captured([&] {
                          return entry == kWhole ? zelDemosaicing(handle, input, c.method, output)
                                                 : zelDemosaicingRows(handle, input, c.method, output, c.first, c.count);
                      }),
                      zeltest::outcome(c.status, c.number));
            EXPECT_TRUE(record.height == 11 && record.width == 12 && record.pixelFormat == 13 && record.stride == 14);
            EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == kCanary; }));
            if (c.number != 0 && c.number < 1000) {
                EXPECT_EQ(h.h->scratch.data, nullptr);
            }
        }
}

// A method outside 0..2 succeeds without writing a pixel; the record is still
// filled as for a real frame.
TEST(Entries, UnknownMethodSucceedsWithoutWriting) {
    std::vector<uint8_t> data(80, 100), out(64 * 64, kCanary);
    for (int32_t method : {3, -1, 1000})
        for (Entries entry : {kWhole, kBands}) {
            const ZelImage in{8, 10, kRG8, data.data(), 10};
            ZelImage o{0, 0, 0, out.data(), 77};
            Handle h(ZEL_PIX_BGR8);
            EXPECT_EQ(zeltest::captured([&] {
                          return entry == kWhole ? zelDemosaicing(h.h, &in, method, &o)
                                                 : zelDemosaicingRows(h.h, &in, method, &o, 2, 3);
                      }),
                      zeltest::outcome(ZEL_OK, 0));
            EXPECT_TRUE(o.height == 8 && o.width == 10 && o.pixelFormat == ZEL_PIX_BGR8 && o.stride == 77);
            EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == kCanary; }));
        }
}

// Plain 8-bit input is used as it is. Padded 8-bit rows are packed together
// in the caller's own buffer, whose tail keeps its bytes.
TEST(Entries, PaddedEightBitInputIsCompactedInPlace) {
    for (const int stride : {8, 12}) {
        auto raw = zeltest::randomBytes(64 * 64, stride);
        const auto before = raw;
        const int h = 6, w = 8;
        const ZelImage in{h, w, kRG8, raw.data(), stride};
        std::vector<uint8_t> out(h * w * 3);
        ZelImage o{0, 0, 0, out.data(), 0};
        ASSERT_EQ(zelDemosaicing(Handle(ZEL_PIX_BGR8).h, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) ASSERT_EQ(raw[r * w + c], before[r * stride + c]);
        for (size_t i = h * w; i < raw.size(); ++i) ASSERT_EQ(raw[i], before[i]);
    }
}

TEST(Entries, ScratchIsReusedAcrossFramesOfOneGeometry) {
    std::vector<uint8_t> raw(64 * 64, 100), out(64 * 64 * 3);
    Handle handle(ZEL_PIX_BGR8);
    const ZelImage in{16, 16, ZEL_PIX_BAYER_GB12, raw.data(), 32};
    ZelImage o{0, 0, 0, out.data(), 0};
    ASSERT_EQ(zelDemosaicing(handle.h, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    const uint8_t* scratch = handle.h->scratch.data;
    EXPECT_EQ(handle.h->scratch.capacity, 16 * 17 + 64);
    ASSERT_EQ(zelDemosaicing(handle.h, &in, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    EXPECT_EQ(handle.h->scratch.data, scratch);
    const ZelImage small{8, 8, kRG8, raw.data(), 8};  // an 8-bit frame only needs one row
    ASSERT_EQ(zelDemosaicing(handle.h, &small, ZEL_DEMOSAIC_NEAREST, &o), ZEL_OK);
    EXPECT_EQ(handle.h->scratch.data, scratch);
}

// The converters behind the entry check the output format before the method.
TEST(Entries, ConvertersRefuseOtherOutputsWithoutWriting) {
    uint8_t frame[16] = {}, dst[64];
    std::memset(dst, kCanary, sizeof dst);
    EXPECT_EQ(mono8Convert(frame, dst, 4, 4, 0x0108000B), errUnsupportedOutput);
    for (auto convert : {rg8Convert, bg8Convert, gb8Convert, gr8Convert}) {
        EXPECT_EQ(convert(frame, dst, 4, 4, 0x01100007, 7, nullptr), errUnsupportedOutput);
        EXPECT_EQ(convert(frame, dst, 4, 4, ZEL_PIX_BGR8, 7, nullptr), ZEL_OK);
    }
    for (uint8_t b : dst) ASSERT_EQ(b, kCanary);
}

}  // namespace
