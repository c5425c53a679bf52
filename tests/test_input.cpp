// Input classification and the five converters to compact 8-bit frames.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace {

// (Every accepted code's reduction is checked against the tool's format
// table, an independent list of the GigE Vision codes, by the tool's suite;
// odd strides and the bytes packed triples keep, by the frame suite.)
TEST(Classify, RefusedCodesKeepTheWidenedCode) {
    // output layouts, Mono8 signed, 14-bit Bayer, YUV, and a code with its top bit set
    for (uint32_t code : {0x02180015u, 0x02180021u, 0x01080002u, 0x01100111u, 0x0110010Cu, 0x02100032u,
                          0x80000001u, 0u}) {
        ZelImage image{4, 4, code, nullptr, 4};
        ZelPixelType reduced = 0;
        int32_t shift = 99;
        EXPECT_EQ(demosaicDataInit(&image, nullptr, &reduced, &shift), errUnsupportedInput) << std::hex << code;
        EXPECT_EQ(reduced, static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(code))));
        EXPECT_EQ(shift, 0);
    }
}

std::vector<uint8_t> halfwords(std::initializer_list<uint16_t> values) {
    std::vector<uint8_t> bytes(values.size() * 2);
    std::memcpy(bytes.data(), std::data(values), bytes.size());
    return bytes;
}

struct ShiftCase {
    uint16_t sample;
    int shift;
    uint8_t expected;
};

TEST(DeepSamples, KeepTheLowByteOfTheShiftedValue) {
    const ShiftCase cases[] = {
        {0x0FFF, 4, 0xFF},  // Mono12 full scale
        {0x03FF, 2, 0xFF},  // Mono10 full scale
        {0xABCD, 8, 0xAB},  // Mono16: the high byte
        {0x3FFF, 6, 0xFF},  // Mono14
        {1 << 13, 4, 0x00}, // a Mono12 container holding 2^13 wraps, unclamped
        {0x1234, 4, 0x23},  // bits above 12 are simply dropped
        {0x0123, 2, 0x48},
    };
    for (const auto& c : cases) {
        const auto src = halfwords({c.sample, c.sample, c.sample, c.sample});
        uint8_t flat[4] = {}, rows[4] = {};
        u16Tou8_old(src.data(), 2, 2, c.shift, flat);
        u16Tou8(src.data(), 2, 2, 4, c.shift, rows);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(flat[i], c.expected) << std::hex << c.sample;
            EXPECT_EQ(rows[i], c.expected) << std::hex << c.sample;
        }
    }
}

// Output bytes come in pairs: an odd width spills one byte into the next row
// (overwritten by it) and one past the frame after the last row.
TEST(Packed, OddWidthsWriteOneByteBeyondEachRow) {
    const int h = 2, w = 3, stride = 7;
    const uint8_t src[] = {1, 0, 2, 3, 0, 4, 0xF0,  // row 0: pixels 1 2 3, then the spill 4
                           5, 0, 6, 7, 0, 8, 0xF1, 0xF2};
    uint8_t dst[8];
    std::memset(dst, 0xEE, sizeof dst);
    unpacked(src, h, w, stride, dst);
    const uint8_t expected[8] = {1, 2, 3, 5, 6, 7, 8, 0xEE};
    EXPECT_EQ(0, std::memcmp(dst, expected, 8));

    // The flat variant writes one byte past an odd product only.
    uint8_t flat[8];
    std::memset(flat, 0xEE, sizeof flat);
    const uint8_t run[] = {1, 0, 2, 3, 0, 4, 5, 0, 6, 7, 0, 8};
    unpacked_old(run, 1, 7, flat);
    const uint8_t expectedFlat[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(0, std::memcmp(flat, expectedFlat, 8));
    std::memset(flat, 0xEE, sizeof flat);
    unpacked_old(run, 2, 3, flat);
    EXPECT_EQ(flat[5], 6);
    EXPECT_EQ(flat[6], 0xEE);
}

}  // namespace
