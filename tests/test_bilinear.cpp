// 8-bit bilinear demosaicing: the region split, the per-pixel reference pinned
// by hand, the deliberate GR/GB reads and mono weight swap, and every Bayer
// order into every layout against the reference.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bilinear_reference.hpp"
#include "demosaic/bilinear.hpp"
#include "zelvora.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Every pixel is written by exactly one piece, whatever the frame's parity.
struct CountingWriter {
    int* hits;
    void put(ptrdiff_t i, int, int, int) const { ++hits[i]; }
    CountingWriter at(ptrdiff_t i) const { return {hits + i}; }
};

TEST(BilinearPieces, PartitionEveryFrame) {
    for (int h = 4; h <= 16; ++h) {
        for (int w = 4; w <= 16; ++w) {
            const Bytes src(static_cast<size_t>(h) * w, 0);
            std::vector<int> rg(src.size(), 0), gr(src.size(), 0);
            zel::bilinear::demosaicRG(src.data(), CountingWriter{rg.data()}, h, w);
            zel::bilinear::demosaicGR(src.data(), CountingWriter{gr.data()}, h, w);
            EXPECT_EQ(rg, std::vector<int>(src.size(), 1)) << h << "x" << w;
            EXPECT_EQ(gr, std::vector<int>(src.size(), 1)) << h << "x" << w;
        }
    }
}

// The reference itself: border values by hand on s(r, c) = 10 r + c, and a
// frame lit only at one colour's sites gives that colour alone, borders
// included, in both geometries.
TEST(BilinearReference, WorkedBordersAndSingleColourFrames) {
    const struct {
        int h, w, y, x;
        uint32_t red, green, blue;
    } worked[] = {
        {5, 5, 0, 0, 0, 5, 11},   {5, 5, 0, 1, 1, 1, 11},   {5, 5, 4, 4, 44, 38, 33}, {4, 4, 3, 3, 22, 27, 33},
        {4, 4, 3, 0, 20, 30, 31}, {5, 4, 4, 3, 42, 43, 33}, {4, 5, 3, 4, 24, 34, 33},
    };
    for (const auto& c : worked) {
        Bytes src(static_cast<size_t>(c.h) * c.w);
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(10 * (i / c.w) + i % c.w);
        const ref::Rgb p = ref::bilinear(src, c.h, c.w, ref::Geometry::RG)[c.y * c.w + c.x];
        EXPECT_EQ(std::tuple(p.red, p.green, p.blue), std::tuple(c.red, c.green, c.blue)) << c.y << "," << c.x;
    }
    for (int h = 4; h <= 9; ++h) {
        for (int w = 4; w <= 9; ++w) {
            for (int shift : {0, 1}) {  // GR geometry: rows shifted by one
                const auto geometry = shift ? ref::Geometry::GR : ref::Geometry::RG;
                for (int colour = 0; colour < 3; ++colour) {  // red, green, blue sites lit
                    Bytes src(static_cast<size_t>(h) * w);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const int site = (y + shift) % 2 + x % 2;  // 0 red, 1 green, 2 blue
                            src[y * w + x] = site == colour ? 255 : 0;
                        }
                    for (const ref::Rgb& p : ref::bilinear(src, h, w, geometry))
                        ASSERT_EQ(std::tuple(p.red, p.green, p.blue),
                                  std::tuple(colour == 0 ? 255u : 0u, colour == 1 ? 255u : 0u, colour == 2 ? 255u : 0u))
                            << h << "x" << w << " geometry " << shift << " colour " << colour;
                }
            }
        }
    }
}

// The GR/GB first rows of odd-width frames read s(0,0) for the green at
// (0, w-2) and s(2,1) for the row-0 colour at (1, w-2) and (1, w-1); mono
// output there weights green with weights[2] and the row-1 colour with
// weights[1]. Elsewhere weights[0] is the row-0 colour's, weights[1] green's.
TEST(Bilinear8, GrOddWidthReadsAndWeightSwap) {
    const uint32_t weights[3] = {77, 150, 29};
    for (int w : {5, 7, 9}) {
        for (int h : {4, 5}) {
            Bytes src = ref::mosaic<uint8_t>(h, w, 256, w);
            const int k = w - 2;
            auto s = [&](int y, int x) -> uint32_t { return src[y * w + x]; };
            src[0] = 0, src[k - 1] = 255;                            // s(0,0) far from s(0,k-1)
            src[2 * w + 1] = 255, src[2 * w + k] = 0;                // s(2,1) far from s(2,k)
            src[k + 1] = 200, src[w + k] = 10, src[w + k + 1] = 60;  // green and row-1 colour differ
            Bytes bgr(3 * src.size()), mono(src.size());
            gb8ToBgr8_bilinear(src.data(), h, w, bgr.data());
            gr8ToMono8_bilinear(src.data(), h, w, weights, mono.data());
            const std::vector<ref::Rgb> plain = ref::bilinear(src, h, w, ref::Geometry::GR, false);
            EXPECT_EQ(bgr[3 * k + 1], (s(0, 0) + s(0, k + 1) + 2 * s(1, k)) >> 2);
            EXPECT_NE(bgr[3 * k + 1], plain[k].green);
            for (int x : {k, k + 1}) {
                EXPECT_EQ(bgr[3 * (w + x)], (s(0, k) + s(2, 1)) >> 1);
                EXPECT_NE(bgr[3 * (w + x)], plain[w + x].blue);
            }
            for (int i : {k, k + 1, w + k, w + k + 1, w}) {
                const uint32_t b = bgr[3 * i], g = bgr[3 * i + 1], r = bgr[3 * i + 2];
                const bool swapped = i != w;
                EXPECT_EQ(mono[i], (77 * b + (swapped ? 29 : 150) * g + (swapped ? 150 : 29) * r + 128) >> 8) << i;
            }
        }
    }
}

}  // namespace
