// zelDemosaicing end to end: every accepted input code, plain, padded and
// packed, through method 0 into all seven layouts; every refusal with its
// status and printed number; the deliberate behaviours of the entry.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "nearest_reference.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using zeltest::errorLine;
using zeltest::printedBy;
using zeltest::Rgb;

constexpr uint8_t kCanary = 0x5A;

struct Input {
    const char* name;
    uint32_t code;
    int depth;    // significant bits; 0 for the packed layouts
    char order;   // 'M' mono, or the Bayer order R(G), B(G), G(B), g (GR)
};

const Input kInputs[] = {
    {"Mono8", 0x01080001, 8, 'M'},          {"Mono10", 0x01100003, 10, 'M'},
    {"Mono12", 0x01100005, 12, 'M'},        {"Mono14", 0x01100025, 14, 'M'},
    {"Mono16", 0x01100007, 16, 'M'},        {"Mono10Packed", 0x010C0004, 0, 'M'},
    {"Mono12Packed", 0x010C0006, 0, 'M'},   {"BayerGR8", 0x01080008, 8, 'g'},
    {"BayerGR10", 0x0110000C, 10, 'g'},     {"BayerGR12", 0x01100010, 12, 'g'},
    {"BayerGR16", 0x0110002E, 16, 'g'},     {"BayerGR10Packed", 0x010C0026, 0, 'g'},
    {"BayerGR12Packed", 0x010C002A, 0, 'g'}, {"BayerRG8", 0x01080009, 8, 'R'},
    {"BayerRG10", 0x0110000D, 10, 'R'},     {"BayerRG12", 0x01100011, 12, 'R'},
    {"BayerRG16", 0x0110002F, 16, 'R'},     {"BayerRG10Packed", 0x010C0027, 0, 'R'},
    {"BayerRG12Packed", 0x010C002B, 0, 'R'}, {"BayerGB8", 0x0108000A, 8, 'G'},
    {"BayerGB10", 0x0110000E, 10, 'G'},     {"BayerGB12", 0x01100012, 12, 'G'},
    {"BayerGB16", 0x01100030, 16, 'G'},     {"BayerGB10Packed", 0x010C0028, 0, 'G'},
    {"BayerGB12Packed", 0x010C002C, 0, 'G'}, {"BayerBG8", 0x0108000B, 8, 'B'},
    {"BayerBG10", 0x0110000F, 10, 'B'},     {"BayerBG12", 0x01100013, 12, 'B'},
    {"BayerBG16", 0x01100031, 16, 'B'},     {"BayerBG10Packed", 0x010C0029, 0, 'B'},
    {"BayerBG12Packed", 0x010C002D, 0, 'B'},
};

struct Output {
    const char* name;
    uint32_t code;
};

const Output kOutputs[] = {{"BGR8", 0x02180015},  {"RGB8", 0x02180014},       {"BGRA8", 0x02200017},
                           {"RGBA8", 0x02200016}, {"RGBPlanar", 0x02180021}, {"BGRPlanar", 0x02180025},
                           {"Mono8", 0x01080001}};

// Builds the raw buffer of `in` whose 8-bit reduction is exactly `v8`: deep
// samples get random bits below their top eight, packed triples a random
// middle byte, and row padding random bytes. `padding` 0 gives the plain
// stride of the layout.
struct Raw {
    std::vector<uint8_t> bytes;
    int32_t stride;
};

Raw makeRaw(const Input& in, const std::vector<uint8_t>& v8, int h, int w, int padding) {
    const auto noise = zeltest::randomBytes(v8.size() * 2 + 64, in.code);
    size_t k = 0;
    Raw raw;
    if (in.depth == 8) {
        raw.stride = w + padding;
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride, 7);
        for (int r = 0; r < h; ++r) std::memcpy(&raw.bytes[r * raw.stride], &v8[r * w], w);
    } else if (in.depth > 8) {
        const int shift = in.depth - 8;
        raw.stride = 2 * w + padding;
        const int rowStep = raw.stride & ~1;  // rows of halfwords start on even offsets
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride + 2, 8);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) {
                const uint16_t sample = static_cast<uint16_t>((v8[r * w + c] << shift) | (noise[k++] & ((1 << shift) - 1)));
                std::memcpy(&raw.bytes[r * rowStep + 2 * c], &sample, 2);
            }
    } else {
        const int pairBytes = 3 * ((w + 1) / 2);
        raw.stride = padding == 0 ? w + w / 2 : pairBytes + padding;
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride + pairBytes + 3, 9);
        auto put = [&](size_t at, size_t pixel) {
            raw.bytes[at] = v8[pixel];
            raw.bytes[at + 1] = noise[k++];
            raw.bytes[at + 2] = pixel + 1 < v8.size() ? v8[pixel + 1] : noise[k++];
        };
        if (padding == 0) {  // the plain stride: one run of pairs over the whole frame
            for (size_t p = 0; p < v8.size(); p += 2) put(3 * (p / 2), p);
        } else {
            for (int r = 0; r < h; ++r)
                for (int c = 0; c < w; c += 2) {
                    raw.bytes[r * raw.stride + 3 * (c / 2)] = v8[r * w + c];
                    raw.bytes[r * raw.stride + 3 * (c / 2) + 1] = noise[k++];
                    if (c + 1 < w) raw.bytes[r * raw.stride + 3 * (c / 2) + 2] = v8[r * w + c + 1];
                }
        }
    }
    return raw;
}

// The expected pixels in real colours: the nearest rule runs in the RG or GB
// geometry, and BG and GR data have their red and blue positions exchanged.
std::vector<Rgb> expectedColours(const Input& in, const std::vector<uint8_t>& v8, int h, int w) {
    if (in.order == 'M') {
        std::vector<Rgb> out;
        for (uint8_t v : v8) out.push_back({v, v, v});
        return out;
    }
    const bool gb = in.order == 'G' || in.order == 'g';
    const bool swapped = in.order == 'B' || in.order == 'g';
    auto out = zeltest::nearestFrame(v8.data(), h, w, gb);
    if (swapped)
        for (auto& p : out) std::swap(p.r, p.b);
    return out;
}

void expectLayout(uint32_t code, const std::vector<Rgb>& px, const std::vector<uint8_t>& out, bool monoInput) {
    const size_t n = px.size();
    for (size_t i = 0; i < n; ++i) {
        const Rgb& p = px[i];
        switch (code) {
            case 0x02180015: ASSERT_EQ(std::tuple(out[3 * i], out[3 * i + 1], out[3 * i + 2]), std::tuple(p.b, p.g, p.r)) << i; break;
            case 0x02180014: ASSERT_EQ(std::tuple(out[3 * i], out[3 * i + 1], out[3 * i + 2]), std::tuple(p.r, p.g, p.b)) << i; break;
            case 0x02200017: ASSERT_EQ(std::tuple(out[4 * i], out[4 * i + 1], out[4 * i + 2], out[4 * i + 3]), std::tuple(p.b, p.g, p.r, 0)) << i; break;
            case 0x02200016: ASSERT_EQ(std::tuple(out[4 * i], out[4 * i + 1], out[4 * i + 2], out[4 * i + 3]), std::tuple(p.r, p.g, p.b, 0)) << i; break;
            case 0x02180021: ASSERT_EQ(std::tuple(out[i], out[n + i], out[2 * n + i]), std::tuple(p.r, p.g, p.b)) << i; break;
            case 0x02180025: ASSERT_EQ(std::tuple(out[i], out[n + i], out[2 * n + i]), std::tuple(p.b, p.g, p.r)) << i; break;
            case 0x01080001: ASSERT_EQ(out[i], monoInput ? p.g : zeltest::luma(p, 77, 150, 29)) << i; break;
        }
    }
}

size_t outputBytes(uint32_t code, size_t n) {
    return code == 0x01080001 ? n : (code == 0x02200016 || code == 0x02200017) ? 4 * n : 3 * n;
}

// (input, output layout, height, width, padding)
class EveryInput : public testing::TestWithParam<std::tuple<Input, Output, int, int, int>> {};

TEST_P(EveryInput, NearestMatchesTheRule) {
    const auto [in, layout, h, w, padding] = GetParam();
    const size_t n = static_cast<size_t>(h) * w;
    const auto v8 = zeltest::randomBytes(n, in.code ^ (h * 31 + w));
    Raw raw = makeRaw(in, v8, h, w, padding);

    ZelHandle* handle = nullptr;
    ASSERT_EQ(zelCreate(&handle), ZEL_OK);
    const ZelPixelType format = layout.code;
    ASSERT_EQ(zelDemosaicSetConfig(handle, &format), ZEL_OK);
    const size_t bytes = outputBytes(layout.code, n);
    std::vector<uint8_t> out(bytes + 16, kCanary);
    ZelImage input{h, w, in.code, raw.bytes.data(), raw.stride};
    ZelImage output{0, 0, 0, out.data(), 12345};
    ASSERT_EQ(zelDemosaicing(handle, &input, ZEL_DEMOSAIC_NEAREST, &output), ZEL_OK);
    zelRelease(&handle);

    EXPECT_EQ(output.height, h);
    EXPECT_EQ(output.width, w);
    EXPECT_EQ(output.pixelFormat, layout.code);
    EXPECT_EQ(output.stride, 12345);
    expectLayout(layout.code, expectedColours(in, v8, h, w), out, in.order == 'M');
    for (size_t i = bytes; i < out.size(); ++i) ASSERT_EQ(out[i], kCanary) << "written past the output";
}

std::string caseName(const testing::TestParamInfo<EveryInput::ParamType>& info) {
    const auto& [in, layout, h, w, padding] = info.param;
    return std::string(in.name) + "_" + layout.name + "_" + std::to_string(h) + "x" + std::to_string(w) + "_pad" +
           std::to_string(padding);
}

INSTANTIATE_TEST_SUITE_P(Plain, EveryInput,
                         testing::Combine(testing::ValuesIn(kInputs), testing::ValuesIn(kOutputs), testing::Values(6),
                                          testing::Values(8), testing::Values(0)),
                         caseName);
INSTANTIATE_TEST_SUITE_P(OddSizesAndPadding, EveryInput,
                         testing::Combine(testing::ValuesIn(kInputs), testing::ValuesIn(kOutputs), testing::Values(5, 7),
                                          testing::Values(5, 9), testing::Values(0, 3)),
                         caseName);

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
        EXPECT_EQ(printed, line ? errorLine(line) : "");
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
