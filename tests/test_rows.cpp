// zelDemosaicingRows: every band of every input family, method and layout
// holds exactly the bytes of one zelDemosaicing call and nothing is written
// outside it; bands run on several threads at once; the refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace {

using zeltest::errorLine;
using zeltest::printedBy;

constexpr uint8_t kCanary = 0xA5;
constexpr int kGuardBytes = 16;

// An input family: a code and the stride for a width (the plain row length
// of the layout, or padded).
struct Family {
    const char* name;
    uint32_t code;
    int32_t (*stride)(int32_t width);
};

const Family kFamilies[] = {
    {"Mono8", ZEL_PIX_MONO8, [](int32_t w) { return w; }},
    {"Mono16 padded", ZEL_PIX_MONO16, [](int32_t w) { return 2 * w + 3; }},
    {"Mono12Packed flat", ZEL_PIX_MONO12_PACKED, [](int32_t w) { return w + w / 2; }},
    {"RG8", ZEL_PIX_BAYER_RG8, [](int32_t w) { return w; }},
    {"GB8 padded", ZEL_PIX_BAYER_GB8, [](int32_t w) { return w + 3; }},
    {"BG8 padded", ZEL_PIX_BAYER_BG8, [](int32_t w) { return w + 1; }},
    {"GR8", ZEL_PIX_BAYER_GR8, [](int32_t w) { return w; }},
    {"BG12", ZEL_PIX_BAYER_BG12, [](int32_t w) { return 2 * w; }},
    {"GR10 padded", ZEL_PIX_BAYER_GR10, [](int32_t w) { return 2 * w + 3; }},
    {"RG12Packed flat", ZEL_PIX_BAYER_RG12_PACKED, [](int32_t w) { return w + w / 2; }},
    {"GB10Packed padded", ZEL_PIX_BAYER_GB10_PACKED, [](int32_t w) { return w + w / 2 + 2; }},
    {"GR12Packed flat", ZEL_PIX_BAYER_GR12_PACKED, [](int32_t w) { return w + w / 2; }},
};

const uint32_t kOutputs[] = {ZEL_PIX_BGR8,        ZEL_PIX_RGB8,        ZEL_PIX_BGRA8, ZEL_PIX_RGBA8,
                             ZEL_PIX_RGB8_PLANAR, ZEL_PIX_BGR8_PLANAR, ZEL_PIX_MONO8};

struct Frame {
    int32_t height, width;
    uint32_t outputCode;
    int bytesPerPixel() const {
        return outputCode == ZEL_PIX_MONO8 ? 1 : (outputCode == ZEL_PIX_BGRA8 || outputCode == ZEL_PIX_RGBA8) ? 4 : 3;
    }
    bool planar() const { return outputCode == ZEL_PIX_RGB8_PLANAR || outputCode == ZEL_PIX_BGR8_PLANAR; }
    size_t bytes() const { return static_cast<size_t>(height) * width * bytesPerPixel(); }
    // The output row a byte belongs to, -1 past the frame.
    int rowOf(size_t i) const {
        if (i >= bytes()) return -1;
        const size_t n = static_cast<size_t>(height) * width;
        return static_cast<int>(planar() ? (i % n) / width : i / (static_cast<size_t>(width) * bytesPerPixel()));
    }
};

struct Handle {
    ZelHandle* h = nullptr;
    explicit Handle(uint32_t outputCode) {
        zelCreate(&h);
        const ZelPixelType code = outputCode;
        zelDemosaicSetConfig(h, &code);
    }
    ~Handle() { zelRelease(&h); }
};

struct Result {
    int32_t status;
    std::string printed;
    std::vector<uint8_t> out;
};

// One zelDemosaicing call on a copy of the input (it may compact it).
Result whole(uint32_t outputCode, ZelImage in, int32_t method, const Frame& f) {
    std::vector<uint8_t> copy(in.data, in.data + static_cast<size_t>(in.height) * in.stride + kGuardBytes);
    in.data = copy.data();
    Result r{0, "", std::vector<uint8_t>(f.bytes() + kGuardBytes, kCanary)};
    ZelImage out{0, 0, 0, r.out.data(), 0};
    Handle h(outputCode);
    r.printed = printedBy([&] { r.status = zelDemosaicing(h.h, &in, method, &out); });
    return r;
}

// Random bands covering every row: some of one row, in random order.
std::vector<std::pair<int, int>> randomBands(int height, std::mt19937& rng) {
    std::vector<std::pair<int, int>> bands;
    for (int first = 0; first < height;) {
        const int count = std::min(height - first, rng() % 3 == 0 ? 1 : 1 + static_cast<int>(rng() % 5));
        bands.emplace_back(first, count);
        first += count;
    }
    std::shuffle(bands.begin(), bands.end(), rng);
    return bands;
}

TEST(Rows, EveryBandHoldsTheWholeFrameBytesAndNothingElse) {
    const int sizes[][2] = {{4, 4}, {4, 5}, {5, 4}, {6, 6}, {7, 9}, {8, 7}, {11, 10}, {13, 13}};
    std::mt19937 rng(12);
    for (const Family& family : kFamilies)
        for (const auto& size : sizes)
            for (const uint32_t outputCode : kOutputs)
                for (int32_t method = 0; method < 3; ++method) {
                    const Frame f{size[0], size[1], outputCode};
                    const int32_t stride = family.stride(f.width);
                    const auto original = zeltest::randomBytes(
                        static_cast<size_t>(f.height) * stride + kGuardBytes, rng());
                    auto input = original;
                    const ZelImage in{f.height, f.width, family.code, input.data(), stride};
                    SCOPED_TRACE(std::string(family.name) + " " + std::to_string(f.height) + "x" +
                                 std::to_string(f.width) + " output " + std::to_string(outputCode) + " method " +
                                 std::to_string(method));
                    const Result ref = whole(outputCode, in, method, f);
                    Handle h(outputCode);  // one handle for every band: stale scratch must not matter
                    for (const auto& [first, count] : randomBands(f.height, rng)) {
                        std::vector<uint8_t> out(f.bytes() + kGuardBytes, kCanary);
                        ZelImage outRecord{0, 0, 0, out.data(), 77};
                        int32_t status = 0;
                        const std::string printed = printedBy(
                            [&] { status = zelDemosaicingRows(h.h, &in, method, &outRecord, first, count); });
                        ASSERT_EQ(status, ref.status) << "band " << first << "+" << count;
                        ASSERT_EQ(printed, ref.printed);
                        if (status == ZEL_OK) {
                            ASSERT_EQ(outRecord.height, f.height);
                            ASSERT_EQ(outRecord.width, f.width);
                            ASSERT_EQ(outRecord.pixelFormat, outputCode);
                            ASSERT_EQ(outRecord.stride, 77);
                        }
                        for (size_t i = 0; i < out.size(); ++i) {
                            const int row = f.rowOf(i);
                            const bool inside = status == ZEL_OK && row >= first && row < first + count;
                            ASSERT_EQ(out[i], inside ? ref.out[i] : kCanary)
                                << "band " << first << "+" << count << " byte " << i << " row " << row;
                        }
                    }
                    ASSERT_EQ(input, original);
                }
}

TEST(Rows, BandsOnSeveralThreadsAndHandlesAtOnce) {
    const Frame f{67, 64, ZEL_PIX_BGRA8};
    const int32_t strides[] = {2 * f.width + 2, f.width + 5};
    const uint32_t codes[] = {ZEL_PIX_BAYER_GB10, ZEL_PIX_BAYER_RG8};
    for (int k = 0; k < 2; ++k)
        for (int32_t method = 0; method < 3; ++method) {
            auto input = zeltest::randomBytes(static_cast<size_t>(f.height) * strides[k] + kGuardBytes, 40 + k);
            const ZelImage in{f.height, f.width, codes[k], input.data(), strides[k]};
            const Result ref = whole(f.outputCode, in, method, f);
            std::vector<uint8_t> out(f.bytes() + kGuardBytes, kCanary);
            constexpr int kThreads = 4, kBandRows = 5;
            std::vector<std::thread> threads;
            std::vector<int32_t> statuses(kThreads, -1);
            for (int t = 0; t < kThreads; ++t)
                threads.emplace_back([&, t] {
                    Handle h(f.outputCode);
                    ZelImage outRecord{0, 0, 0, out.data(), 0};
                    int32_t status = ZEL_OK;
                    for (int first = t * kBandRows; first < f.height && status == ZEL_OK;
                         first += kThreads * kBandRows)
                        status = zelDemosaicingRows(h.h, &in, method, &outRecord, first,
                                                    std::min(kBandRows, f.height - first));
                    statuses[t] = status;
                });
            for (auto& t : threads) t.join();
            EXPECT_EQ(statuses, std::vector<int32_t>(kThreads, ZEL_OK));
            EXPECT_EQ(out, ref.out) << "family " << k << " method " << method;
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
        int32_t status = 0;
        const std::string printed =
            printedBy([&] { status = zelDemosaicingRows(h.h, &c.in, 2, &outRecord, c.first, c.count); });
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(printed, c.number ? errorLine(c.number) : "");
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
