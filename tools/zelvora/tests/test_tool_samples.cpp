// Raw bytes to samples and back, against hand-packed bytes and against the
// library's own reduction to 8 bits.
#include <gtest/gtest.h>

#include "formats.hpp"
#include "samples.hpp"
#include "zelvora.h"

using namespace zelvora;

TEST(ToolSamples, GigEVisionPackingByHand) {
    struct Case {
        const char* format;
        uint16_t first;
        uint16_t second;
        std::vector<uint8_t> bytes;
    };
    // 12 bits: top bytes 0xAB and 0x12, low nibbles 0xC and 0x3 in byte 1.
    // 10 bits: 0x2AB = 1010101011b, 0x155 = 0101010101b.
    for (const Case& c : {Case{"Mono12Packed", 0xABC, 0x123, {0xAB, 0x3C, 0x12}},
                          Case{"BayerRG10Packed", 0x2AB, 0x155, {0xAA, 0x13, 0x55}}}) {
        const InputFormat& f = findInputFormat(c.format);
        const std::vector<uint16_t> samples{c.first, c.second};
        EXPECT_EQ(encodeSamples(samples, f, 2, 1), c.bytes) << c.format;
        EXPECT_EQ(decodeSamples(c.bytes.data(), f, 2, 1, 3), samples) << c.format;
    }
    const std::vector<uint8_t> words{0x34, 0x12, 0xFF, 0x0F};
    EXPECT_EQ(decodeSamples(words.data(), findInputFormat("Mono16"), 2, 1, 4), (std::vector<uint16_t>{0x1234, 0x0FFF}));
}

// Every format: encoding then decoding gives the samples back, odd widths and
// padded rows included.
TEST(ToolSamples, RoundTripEveryFormat) {
    const int32_t w = 5;
    const int32_t h = 3;
    for (const InputFormat& f : inputFormats()) {
        std::vector<uint16_t> samples(static_cast<size_t>(w * h));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<uint16_t>((i * 2654435761u >> 7) & ((1u << f.bits) - 1u));
        const std::vector<uint8_t> compact = encodeSamples(samples, f, w, h);
        ASSERT_EQ(compact.size(), static_cast<size_t>(rowBytes(f, w) * h)) << f.name;
        EXPECT_EQ(decodeSamples(compact.data(), f, w, h, rowBytes(f, w)), samples) << f.name;

        const int64_t stride = rowBytes(f, w) + 4;
        std::vector<uint8_t> padded(static_cast<size_t>(stride * h), 0xEE);
        for (int32_t y = 0; y < h; ++y)
            std::copy_n(compact.begin() + y * rowBytes(f, w), rowBytes(f, w), padded.begin() + y * stride);
        EXPECT_EQ(decodeSamples(padded.data(), f, w, h, stride), samples) << f.name;
    }
}

// The library keeps the top eight bits of what the tool packs.
TEST(ToolSamples, LibraryReadsTheTopBitsOfPackedSamples) {
    const int32_t w = 6;
    const int32_t h = 4;
    std::vector<uint16_t> samples(static_cast<size_t>(w * h));
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<uint16_t>(i * 170 % 4096);
    std::vector<uint8_t> packed = encodeSamples(samples, findInputFormat("BayerRG12Packed"), w, h);
    std::vector<uint8_t> reduced(static_cast<size_t>(w * h) + 1);
    unpacked(packed.data(), h, w, static_cast<int32_t>(rowBytes(findInputFormat("BayerRG12Packed"), w)),
             reduced.data());
    for (size_t i = 0; i < samples.size(); ++i) EXPECT_EQ(reduced[i], samples[i] >> 4) << i;
}
