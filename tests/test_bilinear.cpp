// The bilinear reference pinned by hand, and the deliberate reads of GR/GB
// frames of odd width worked out on the library itself. (Every order and
// layout is checked against the reference by the frame suite.)
#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <vector>

#include "references.hpp"
#include "zelvora.h"

namespace {

using Bytes = std::vector<uint8_t>;

// The reference itself: border values by hand on s(r, c) = 10 r + c, and a
// frame lit only at one colour's sites gives that colour alone, borders
// included, in both geometries.
TEST(BilinearReference, WorkedBordersAndSingleColourFrames) {
    const struct {
        int h, w, y, x;
        int red, green, blue;
    } worked[] = {
        {5, 5, 0, 0, 0, 5, 11},   {5, 5, 0, 1, 1, 1, 11},   {5, 5, 4, 4, 44, 38, 33}, {4, 4, 3, 3, 22, 27, 33},
        {4, 4, 3, 0, 20, 30, 31}, {5, 4, 4, 3, 42, 43, 33}, {4, 5, 3, 4, 24, 34, 33},
    };
    for (const auto& c : worked) {
        Bytes src(static_cast<size_t>(c.h) * c.w);
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(10 * (i / c.w) + i % c.w);
        const ref::Rgb p = ref::bilinear(src, c.h, c.w, ref::kRGGB)[c.y * c.w + c.x];
        EXPECT_EQ(std::tuple(p.red, p.green, p.blue), std::tuple(c.red, c.green, c.blue)) << c.y << "," << c.x;
    }
    for (int h = 4; h <= 9; ++h) {
        for (int w = 4; w <= 9; ++w) {
            for (ref::Geometry g : {ref::kRGGB, ref::kGBRG, ref::kGRBG, ref::kBGGR}) {
                for (int colour = 0; colour < 3; ++colour) {  // red, green, blue sites lit
                    Bytes src(static_cast<size_t>(h) * w);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) src[y * w + x] = int(ref::colourOf(g, y, x)) == colour ? 255 : 0;
                    for (const ref::Rgb& p : ref::bilinear(src, h, w, g))
                        ASSERT_EQ(std::tuple(p.red, p.green, p.blue),
                                  std::tuple(colour == 0 ? 255 : 0, colour == 1 ? 255 : 0, colour == 2 ? 255 : 0))
                            << h << "x" << w << " red at " << g.redRow << "," << g.redCol << " colour " << colour;
                }
            }
        }
    }
}

// A 5x4 GB frame: the green at (0, 3) reads s(0,0) where s(0,2) belongs, the
// row-0 colour at (1, 3) and (1, 4) reads s(2,1) where s(2,3) belongs, and
// mono output exchanges the weights of green and red on those pixels.
TEST(Bilinear8, GrOddWidthReadsAndWeightSwap) {
    const Bytes src{0,  90, 200, 30, 60,    //
                    10, 20, 30,  40, 50,    //
                    70, 240, 80, 100, 110,  //
                    1,  2,  3,   4,  5};
    Bytes bgr(60), mono(20);
    const uint32_t weights[3] = {77, 150, 29};
    gb8ToBgr8_bilinear(src.data(), 4, 5, bgr.data());
    gr8ToMono8_bilinear(src.data(), 4, 5, weights, mono.data());
    EXPECT_EQ(bgr[3 * 3 + 1], (0 + 60 + 2 * 40) >> 2);       // not (200 + 60 + 80) >> 2
    EXPECT_EQ(bgr[3 * 8], (30 + 240) >> 1);                 // not (30 + 100) >> 1
    EXPECT_EQ(bgr[3 * 9], (30 + 240) >> 1);
    for (int i : {3, 4, 8, 9, 5}) {
        const uint32_t b = bgr[3 * i], g = bgr[3 * i + 1], r = bgr[3 * i + 2];
        const bool swapped = i != 5;
        EXPECT_EQ(mono[i], (77 * b + (swapped ? 29 : 150) * g + (swapped ? 150 : 29) * r + 128) >> 8) << i;
    }
}

}  // namespace
