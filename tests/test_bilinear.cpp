// 8-bit bilinear demosaicing: coverage of the region split, values against a
// mirrored-padding reference, worked border values, the relations between
// layouts, the deliberate GR/GB reads and weight swap, and the dispatch.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bilinear_reference.hpp"
#include "demosaic/bilinear.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Frame = std::vector<uint8_t>;
using Kernel = std::function<void(const Frame&, int, int, uint8_t*)>;

// Runs a kernel on two differently filled buffers: a byte it does not write
// keeps its fill and makes the two results differ.
Bytes run(const Kernel& k, const Frame& src, int h, int w, int bytesPerPixel) {
    Bytes a(static_cast<size_t>(h) * w * bytesPerPixel, 0xA5), b(a.size(), 0x5A);
    k(src, h, w, a.data());
    k(src, h, w, b.data());
    EXPECT_EQ(a, b) << "unwritten bytes, " << h << "x" << w;
    return a;
}

Kernel interleaved(int32_t (*f)(const uint8_t*, int32_t, int32_t, uint8_t*)) {
    return [f](const Frame& s, int h, int w, uint8_t* d) { f(s.data(), h, w, d); };
}

const Kernel kRg = interleaved(rg8ToBgr8_bilinear), kBg = interleaved(bg8ToBgr8_bilinear);
const Kernel kGb = interleaved(gb8ToBgr8_bilinear), kGr = interleaved(gr8ToBgr8_bilinear);

// BGR bytes of reference pixels, the geometry's red in byte 2.
Bytes toBgr(const std::vector<ref::Rgb>& px) {
    Bytes out;
    for (const auto& p : px) out.insert(out.end(), {uint8_t(p.blue), uint8_t(p.green), uint8_t(p.red)});
    return out;
}

// Every pixel is written by exactly one piece, whatever the frame's parity.
struct CountingWriter {
    int* hits;
    void put(ptrdiff_t i, int, int, int) const { ++hits[i]; }
    CountingWriter at(ptrdiff_t i) const { return {hits + i}; }
};

TEST(BilinearPieces, PartitionEveryFrame) {
    for (int h = 4; h <= 16; ++h) {
        for (int w = 4; w <= 16; ++w) {
            const Frame src(static_cast<size_t>(h) * w, 0);
            std::vector<int> rg(src.size(), 0), gr(src.size(), 0);
            zel::bilinear::demosaicRG(src.data(), CountingWriter{rg.data()}, h, w);
            zel::bilinear::demosaicGR(src.data(), CountingWriter{gr.data()}, h, w);
            EXPECT_EQ(rg, std::vector<int>(src.size(), 1)) << h << "x" << w;
            EXPECT_EQ(gr, std::vector<int>(src.size(), 1)) << h << "x" << w;
        }
    }
}

TEST(Bilinear8, MatchesMirroredReference) {
    for (int h = 4; h <= 16; ++h) {
        for (int w = 4; w <= 16; ++w) {
            const Frame src = ref::mosaic<uint8_t>(h, w, 256, h * 100 + w);
            EXPECT_EQ(run(kRg, src, h, w, 3), toBgr(ref::bilinear(src, h, w, ref::Geometry::RG))) << h << "x" << w;
            EXPECT_EQ(run(kGb, src, h, w, 3), toBgr(ref::bilinear(src, h, w, ref::Geometry::GR))) << h << "x" << w;
        }
    }
}

// s(r, c) = 10 r + c; the values at each kind of border pixel, by hand.
struct Worked {
    int h, w, y, x;
    uint8_t b, g, r;
};
class BilinearWorked : public testing::TestWithParam<Worked> {};

TEST_P(BilinearWorked, RgBorderValues) {
    const Worked& c = GetParam();
    Frame src(static_cast<size_t>(c.h) * c.w);
    for (int y = 0; y < c.h; ++y)
        for (int x = 0; x < c.w; ++x) src[y * c.w + x] = static_cast<uint8_t>(10 * y + x);
    const Bytes out = run(kRg, src, c.h, c.w, 3);
    const size_t i = 3 * static_cast<size_t>(c.y * c.w + c.x);
    EXPECT_EQ((Bytes{out[i], out[i + 1], out[i + 2]}), (Bytes{c.b, c.g, c.r}));
}

INSTANTIATE_TEST_SUITE_P(
    Borders, BilinearWorked,
    testing::Values(Worked{5, 5, 0, 0, 11, 5, 0}, Worked{5, 5, 0, 1, 11, 1, 1}, Worked{5, 5, 0, 2, 12, 7, 2},
                    Worked{5, 5, 0, 4, 13, 8, 4}, Worked{5, 5, 1, 0, 11, 10, 10}, Worked{5, 5, 2, 0, 21, 20, 20},
                    Worked{5, 5, 4, 0, 31, 35, 40}, Worked{5, 5, 4, 4, 33, 38, 44}, Worked{5, 5, 4, 2, 32, 37, 42},
                    Worked{5, 5, 2, 4, 23, 23, 24}, Worked{5, 5, 1, 1, 11, 11, 11}, Worked{4, 4, 0, 3, 13, 3, 2},
                    Worked{4, 4, 3, 0, 31, 30, 20}, Worked{4, 4, 3, 3, 33, 27, 22}, Worked{4, 4, 3, 1, 31, 26, 21},
                    Worked{4, 4, 3, 2, 32, 32, 22}, Worked{4, 4, 1, 3, 13, 12, 12}, Worked{4, 4, 2, 3, 23, 23, 22},
                    Worked{5, 4, 4, 3, 33, 43, 42}, Worked{4, 5, 3, 4, 33, 34, 24}));

// Uniform frames stay uniform; a mosaic lit only at one colour's sites gives
// that colour alone, borders included.
TEST(Bilinear8, UniformAndSingleSiteFrames) {
    for (int h = 4; h <= 9; ++h) {
        for (int w = 4; w <= 9; ++w) {
            for (uint8_t v : {0, 1, 128, 255})
                for (const Kernel& k : {kRg, kBg, kGb, kGr})
                    EXPECT_EQ(run(k, Frame(static_cast<size_t>(h) * w, v), h, w, 3), Bytes(3 * h * w, v));
            // Sites of the geometry's red: even rows for RG/BG, odd rows for GB/GR.
            for (int rowParity : {0, 1}) {
                Frame src(static_cast<size_t>(h) * w, 0);
                for (int y = rowParity; y < h; y += 2)
                    for (int x = 0; x < w; x += 2) src[y * w + x] = 255;
                Bytes red(3 * h * w, 0), blue(3 * h * w, 0);
                for (int i = 0; i < h * w; ++i) red[3 * i + 2] = blue[3 * i] = 255;
                EXPECT_EQ(run(rowParity ? kGb : kRg, src, h, w, 3), red) << h << "x" << w;
                EXPECT_EQ(run(rowParity ? kGr : kBg, src, h, w, 3), blue) << h << "x" << w;
            }
        }
    }
}

// Colour of row 1 in a GR/GB frame (whose odd-width mono output exchanges
// the weights of green and of that colour on the last two pixels of rows 0
// and 1), or None for RG/BG frames.
enum class Row1 { None, Red, Blue };

// The bytes of output `code` for true-colour pixels given as BGR bytes.
Bytes arrange(const Bytes& bgr, uint32_t code, int w, Row1 row1) {
    const size_t n = bgr.size() / 3;
    Bytes out, planes[3];
    for (size_t i = 0; i < n; ++i) {
        const uint8_t b = bgr[3 * i], g = bgr[3 * i + 1], r = bgr[3 * i + 2];
        uint32_t wr = 77, wg = 150, wb = 29;
        if (row1 != Row1::None && (w & 1) && i % w >= size_t(w - 2) && i / w <= 1)
            std::swap(wg, row1 == Row1::Red ? wr : wb);
        switch (code) {
            case ZEL_PIX_BGR8: out.insert(out.end(), {b, g, r}); break;
            case ZEL_PIX_RGB8: out.insert(out.end(), {r, g, b}); break;
            case ZEL_PIX_BGRA8: out.insert(out.end(), {b, g, r, 0}); break;
            case ZEL_PIX_RGBA8: out.insert(out.end(), {r, g, b, 0}); break;
            case ZEL_PIX_MONO8: out.push_back(uint8_t((wr * r + wg * g + wb * b + 128) >> 8)); break;
            default:
                const bool rgb = code == ZEL_PIX_RGB8_PLANAR;
                planes[0].push_back(rgb ? r : b);
                planes[1].push_back(g);
                planes[2].push_back(rgb ? b : r);
        }
    }
    for (const Bytes& p : planes) out.insert(out.end(), p.begin(), p.end());
    return out;
}

int bytesPerPixel(uint32_t code) {
    return code == ZEL_PIX_MONO8 ? 1 : (code == ZEL_PIX_BGRA8 || code == ZEL_PIX_RGBA8) ? 4 : 3;
}

// Every kernel gives the BGR8 result of its data rearranged: on RG data (and
// on GB data) the BG (GR) kernels give RGB, the planar kernels planes, the
// mono kernels luma from the channel values.
TEST(Bilinear8, LayoutsRearrangeTheSameValues) {
    using P = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*);
    auto planar = [](P f) {
        return Kernel([f](const Frame& s, int h, int w, uint8_t* d) {
            f(s.data(), h, w, d, d + h * w, d + 2 * h * w);
        });
    };
    auto mono = [](int32_t (*f)(const uint8_t*, int32_t, int32_t, const uint32_t*, uint8_t*), const uint32_t* wt) {
        return Kernel([f, wt](const Frame& s, int h, int w, uint8_t* d) { f(s.data(), h, w, wt, d); });
    };
    const struct {
        bool gbData;
        Kernel kernel;
        uint32_t code;
    } cases[] = {
        {false, kBg, ZEL_PIX_RGB8},
        {false, interleaved(rg8ToBgra8_bilinear), ZEL_PIX_BGRA8},
        {false, interleaved(bg8ToBgra8_bilinear), ZEL_PIX_RGBA8},
        {false, planar(rg8ToBgr8P_bilinear), ZEL_PIX_RGB8_PLANAR},
        {false, mono(rg8ToMono8_bilinear, zel::kLumaRedFirst), ZEL_PIX_MONO8},
        {true, kGr, ZEL_PIX_RGB8},
        {true, interleaved(gb8ToBgra8_bilinear), ZEL_PIX_BGRA8},
        {true, interleaved(gr8ToBgra8_bilinear), ZEL_PIX_RGBA8},
        {true, planar(gr8ToBgr8P_bilinear), ZEL_PIX_BGR8_PLANAR},  // pTop: the row-0 colour, blue
        {true, mono(gr8ToMono8_bilinear, zel::kLumaBlueFirst), ZEL_PIX_MONO8},
    };
    for (int h = 4; h <= 11; ++h) {
        for (int w = 4; w <= 11; ++w) {
            const Frame src = ref::mosaic<uint8_t>(h, w, 256, 7 * h + w);
            const Bytes rg = run(kRg, src, h, w, 3), gb = run(kGb, src, h, w, 3);
            for (const auto& c : cases)
                EXPECT_EQ(run(c.kernel, src, h, w, bytesPerPixel(c.code)),
                          arrange(c.gbData ? gb : rg, c.code, w, c.gbData ? Row1::Red : Row1::None))
                    << h << "x" << w << " code " << std::hex << c.code << (c.gbData ? " GB" : " RG");
        }
    }
}

// The GR/GB first rows of odd-width frames read s(0,0) for the green at
// (0, w-2) and s(2,1) for the row-0 colour at (1, w-2) and (1, w-1); mono
// output there exchanges the weights of green and of the row-1 colour.
TEST(Bilinear8, GrOddWidthReadsAndWeightSwap) {
    const uint32_t weights[3] = {77, 150, 29};
    for (int w : {5, 7, 9}) {
        for (int h : {4, 5}) {
            Frame src = ref::mosaic<uint8_t>(h, w, 256, w);
            const int k = w - 2;
            auto s = [&](int y, int x) -> uint32_t { return src[y * w + x]; };
            src[0] = 0, src[k - 1] = 255;                   // s(0,0) far from s(0,k-1)
            src[2 * w + 1] = 255, src[2 * w + k] = 0;       // s(2,1) far from s(2,k)
            src[k + 1] = 200, src[w + k] = 10, src[w + k + 1] = 60;  // green and row-1 colour differ
            const Bytes gb = run(kGb, src, h, w, 3);
            const Bytes plain = toBgr(ref::bilinear(src, h, w, ref::Geometry::GR, false));
            EXPECT_EQ(gb[3 * k + 1], (s(0, 0) + s(0, k + 1) + 2 * s(1, k)) >> 2);
            EXPECT_NE(gb[3 * k + 1], plain[3 * k + 1]);
            for (int x : {k, k + 1}) {
                EXPECT_EQ(gb[3 * (w + x)], (s(0, k) + s(2, 1)) >> 1);
                EXPECT_NE(gb[3 * (w + x)], plain[3 * (w + x)]);
            }
            Bytes mono(static_cast<size_t>(h) * w);
            gr8ToMono8_bilinear(src.data(), h, w, weights, mono.data());
            for (int i : {k, k + 1, w + k, w + k + 1}) {
                const uint32_t b = gb[3 * i], g = gb[3 * i + 1], r = gb[3 * i + 2];
                EXPECT_EQ(mono[i], (77 * b + 29 * g + 150 * r + 128) >> 8) << "pixel " << i;
            }
            // Anywhere else the weights are in order.
            EXPECT_EQ(mono[w], (77u * gb[3 * w] + 150u * gb[3 * w + 1] + 29u * gb[3 * w + 2] + 128) >> 8);
        }
    }
}

// zelDemosaicing with method 1: every Bayer order into every layout, checked
// in true colours against the reference.
struct Route {
    uint32_t input;
    bool gr;        // GR/GB geometry
    bool redIsRed;  // the geometry's red is the true red
};
class BilinearEntry : public testing::TestWithParam<std::tuple<Route, uint32_t>> {};

TEST_P(BilinearEntry, EveryOrderAndLayout) {
    const auto [route, output] = GetParam();
    ZelHandle* handle = nullptr;
    ASSERT_EQ(zelCreate(&handle), 0);
    const ZelPixelType format = output;
    ASSERT_EQ(zelDemosaicSetConfig(handle, &format), 0);
    for (int h = 4; h <= 9; ++h) {
        for (int w = 4; w <= 9; ++w) {
            Frame src = ref::mosaic<uint8_t>(h, w, 256, route.input ^ output ^ (h << 8) ^ w);
            Bytes bgr;
            for (const auto& p : ref::bilinear(src, h, w, route.gr ? ref::Geometry::GR : ref::Geometry::RG)) {
                const auto [r, b] = route.redIsRed ? std::pair{p.red, p.blue} : std::pair{p.blue, p.red};
                bgr.insert(bgr.end(), {uint8_t(b), uint8_t(p.green), uint8_t(r)});
            }
            const Row1 row1 = !route.gr ? Row1::None : route.redIsRed ? Row1::Red : Row1::Blue;
            Bytes dst(src.size() * bytesPerPixel(output), 0xA5);
            ZelImage in{h, w, route.input, src.data(), w};
            ZelImage out{0, 0, 0, dst.data(), 0};
            EXPECT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_BILINEAR, &out), 0);
            EXPECT_EQ(dst, arrange(bgr, output, w, row1)) << h << "x" << w;
            EXPECT_EQ(out.pixelFormat, output);
        }
    }
    zelRelease(&handle);
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, BilinearEntry,
    testing::Combine(testing::Values(Route{ZEL_PIX_BAYER_RG8, false, true}, Route{ZEL_PIX_BAYER_BG8, false, false},
                                     Route{ZEL_PIX_BAYER_GB8, true, true}, Route{ZEL_PIX_BAYER_GR8, true, false}),
                     testing::Values(ZEL_PIX_BGR8, ZEL_PIX_RGB8, ZEL_PIX_BGRA8, ZEL_PIX_RGBA8, ZEL_PIX_RGB8_PLANAR,
                                     ZEL_PIX_BGR8_PLANAR, ZEL_PIX_MONO8)),
    [](const auto& info) {
        char name[32];
        std::snprintf(name, sizeof name, "in%08X_out%08X", std::get<0>(info.param).input, std::get<1>(info.param));
        return std::string(name);
    });

}  // namespace
