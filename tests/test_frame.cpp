// Bitmap row padding and BGR to BGRA widening.
#include <gtest/gtest.h>

#include <vector>

#include "support.hpp"
#include "zelvora.h"

using zeltest::errorLine;

namespace {

struct PadCase {
    int width;
    int pad;
};

class BmpAdjust : public testing::TestWithParam<PadCase> {};

TEST_P(BmpAdjust, PadsEveryRowToFourBytes) {
    const auto [width, pad] = GetParam();
    const int height = 5, row = 3 * width;
    auto original = zeltest::randomBytes(static_cast<size_t>(height) * row, width);
    std::vector<uint8_t> buffer(static_cast<size_t>(height) * (row + pad), 0xEE);
    std::copy(original.begin(), original.end(), buffer.begin());

    ZelHandle handle{};
    ZelImage image{height, width, ZEL_PIX_BGR8, buffer.data(), row};
    ASSERT_EQ(zelBMPAdjust(&handle, &image), ZEL_OK);
    for (int r = 0; r < height; ++r) {
        for (int i = 0; i < row; ++i)
            ASSERT_EQ(buffer[r * (row + pad) + i], original[r * row + i]) << "row " << r << " byte " << i;
        for (int i = 0; i < pad; ++i) ASSERT_EQ(buffer[r * (row + pad) + row + i], 0) << "row " << r;
    }
    EXPECT_EQ(image.stride, row);  // the record is not updated
    EXPECT_EQ(image.pixelFormat, static_cast<uint32_t>(ZEL_PIX_BGR8));
}

INSTANTIATE_TEST_SUITE_P(Widths, BmpAdjust,
                         testing::Values(PadCase{4, 0}, PadCase{5, 1}, PadCase{6, 2}, PadCase{7, 3},
                                         PadCase{8, 0}, PadCase{33, 1}));

TEST(BmpAdjustChecks, RefusalsInOrder) {
    ZelHandle handle{};
    uint8_t byte = 0;
    ZelImage ok{4, 4, 0, &byte, 12};
    ZelImage noData{4, 4, 0, nullptr, 12};
    ZelImage shortImage{3, 5, 0, &byte, 15};
    ZelImage narrow{5, 3, 0, &byte, 9};
    struct Case {
        ZelHandle* h;
        ZelImage* image;
        int line;
        int32_t status;
    } cases[] = {
        {&handle, nullptr, 14, errInvalidParameter}, {nullptr, &ok, 14, errInvalidParameter},
        {&handle, &noData, 15, errInvalidParameter}, {nullptr, &noData, 14, errInvalidParameter},
        {&handle, &shortImage, 16, errBadImageSize},  {&handle, &narrow, 16, errBadImageSize},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(zeltest::captured([&] { return zelBMPAdjust(c.h, c.image); }), zeltest::outcome(c.status, c.line));
    }
    EXPECT_EQ(byte, 0);
}

// Three bytes copied and the fourth zeroed; nothing written for empty frames.
TEST(BgrToBgra, CopiesThreeBytesAndZeroesTheFourth) {
    const int h = 3, w = 5;
    const auto src = zeltest::randomBytes(h * w * 3, 9);
    std::vector<uint8_t> dst(h * w * 4, 0xAA);
    bgrToBgra(src.data(), h, w, dst.data());
    for (int i = 0; i < h * w; ++i)
        EXPECT_EQ(std::vector<uint8_t>(dst.begin() + 4 * i, dst.begin() + 4 * i + 4),
                  (std::vector<uint8_t>{src[3 * i], src[3 * i + 1], src[3 * i + 2], 0}));
    const std::vector<uint8_t> before = dst;
    bgrToBgra(src.data(), 0, 5, dst.data());
    bgrToBgra(src.data(), -1, 1, dst.data());
    EXPECT_EQ(dst, before);
}

}  // namespace
