// 16-bit RGGB bilinear demosaicing: values against the reference, the regions
// of the exported pieces, the swap flag, and the refusals of the two public
// operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "references.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using Samples = std::vector<uint16_t>;

// Runs `write` on two differently filled buffers of n samples; a sample it
// writes is equal in both, one it leaves alone is not.
struct Twice {
    Samples a, b;
    Twice(size_t n, const std::function<void(uint16_t*)>& write) : a(n, 0xA5A5), b(n, 0x5A5A) {
        write(a.data());
        write(b.data());
    }
    bool written(size_t i) const { return a[i] == b[i]; }
};

// The reference's B, G, R samples of every pixel, interleaved or as planes.
Samples expected(const Samples& src, int h, int w, bool planes) {
    const auto px = ref::bilinear(src, h, w, ref::kRGGB);
    const size_t n = px.size();
    Samples out(3 * n);
    for (size_t i = 0; i < n; ++i) {
        const int bgr[3] = {px[i].blue, px[i].green, px[i].red};
        for (size_t s = 0; s < 3; ++s) out[planes ? s * n + i : 3 * i + s] = static_cast<uint16_t>(bgr[s]);
    }
    return out;
}

// Random samples, and uniform frames of 65535 whose sums must not overflow.
TEST(Bilinear16, MatchesReference) {
    for (int h = 4; h <= 16; ++h) {
        for (int w = 4; w <= 16; ++w) {
            const size_t n = static_cast<size_t>(h) * w;
            for (const Samples& src : {zeltest::randomSamples<uint16_t>(n, h * 31 + w, 65536), Samples(n, 65535)})
                for (bool planes : {false, true}) {
                    const Twice t(3 * n, [&](uint16_t* d) {
                        if (planes) zelDemosaicingBilinearU16P(src.data(), h, w, d, d + n, d + 2 * n);
                        else zelDemosaicingBilinearU16(src.data(), h, w, d);
                    });
                    EXPECT_EQ(t.a, t.b) << "unwritten samples, " << h << "x" << w << (planes ? " planar" : "");
                    ASSERT_EQ(t.a, expected(src, h, w, planes)) << h << "x" << w << (planes ? " planar" : "");
                }
        }
    }
}

// Each exported piece writes exactly its region, with the values of the whole
// frame: row 0; column 0 below it; the body; the last rows between column 0
// and the last columns; the last columns below row 0. Below 4 rows or
// columns the body is empty. swapRB = 1 exchanges samples 0 and 2 of every
// pixel; any other value counts as clear. The planar pieces ignore the flag.
TEST(Bilinear16, PiecesWriteTheirRegionsAndOnlyOneSetsTheSwapFlag) {
    for (int h = 2; h <= 9; ++h) {
        for (int w = 2; w <= 9; ++w) {
            const Samples src = zeltest::randomSamples<uint16_t>(size_t(h) * w, h ^ (w << 4), 65536);
            const uint16_t* s = src.data();
            const size_t n = src.size();
            const uint32_t lcs = w - 1 - (w & 1), lrs = h - 1 - (h & 1);
            // Each piece, interleaved (d, flag) or planar (d), with its region.
            using Run = std::function<BilinearBodyEnd(uint16_t*, uint32_t)>;
            const BilinearBodyEnd end{lcs, lrs};
            const struct {
                Run interleaved, planar;
                std::function<bool(uint32_t, uint32_t)> inRegion;
            } pieces[] = {
                {[&](uint16_t* d, uint32_t f) { return bilinearFirstRowsRGGBU16(s, d, w, f), end; },
                 [&](uint16_t* d, uint32_t) { return bilinearFirstRowsRGGBU16P(s, d, d + n, d + 2 * n, w), end; },
                 [](uint32_t y, uint32_t) { return y == 0; }},
                {[&](uint16_t* d, uint32_t f) { return bilinearFirstColsRGGBU16(s, d, h, w, f), end; },
                 [&](uint16_t* d, uint32_t) { return bilinearFirstColsRGGBU16P(s, d, d + n, d + 2 * n, h, w), end; },
                 [](uint32_t y, uint32_t x) { return x == 0 && y >= 1; }},
                {[&](uint16_t* d, uint32_t f) { return bilinearBodyRGGBU16(s, d, h, w, f); },
                 [&](uint16_t* d, uint32_t f) { return bilinearBodyRGGBU16P(s, d, d + n, d + 2 * n, h, w, f); },
                 [&](uint32_t y, uint32_t x) { return y >= 1 && y < lrs && x >= 1 && x < lcs; }},
                {[&](uint16_t* d, uint32_t f) { return bilinearLastRowsRGGBU16(s, d, h, w, lrs, f), end; },
                 [&](uint16_t* d, uint32_t f) {
                     return bilinearLastRowsRGGBU16P(s, d, d + n, d + 2 * n, h, w, lrs, f), end;
                 },
                 [&](uint32_t y, uint32_t x) { return y >= lrs && x >= 1 && x < lcs; }},
                {[&](uint16_t* d, uint32_t f) { return bilinearLastColsRGGBU16(s, d, h, w, lcs, f), end; },
                 [&](uint16_t* d, uint32_t f) {
                     return bilinearLastColsRGGBU16P(s, d, d + n, d + 2 * n, h, w, lcs, f), end;
                 },
                 [&](uint32_t y, uint32_t x) { return x >= lcs && y >= 1; }},
            };
            for (bool planes : {false, true}) {
                const Samples whole = expected(src, h, w, planes);
                for (uint32_t flag : {0u, 1u, 2u, 0xFFFFFFFFu})
                    for (const auto& piece : pieces) {
                        BilinearBodyEnd got{};
                        const Twice t(3 * n, [&](uint16_t* d) { got = (planes ? piece.planar : piece.interleaved)(d, flag); });
                        ASSERT_TRUE(got.lastColsStart == lcs && got.lastRowsStart == lrs);
                        for (size_t i = 0; i < 3 * n; ++i) {
                            const size_t pixel = planes ? i % n : i / 3, sample = planes ? i / n : i % 3;
                            const bool swapped = flag == 1 && !planes && sample != 1;
                            ASSERT_EQ(t.written(i), piece.inRegion(uint32_t(pixel / w), uint32_t(pixel % w)))
                                << (planes ? "planar " : "") << h << "x" << w << " at " << pixel / w << ","
                                << pixel % w;
                            if (t.written(i)) {
                                ASSERT_EQ(t.a[i], whole[swapped ? i + 2 - 2 * sample : i]) << flag;
                            }
                        }
                    }
            }
        }
    }
}

// Pointers are checked before sizes; a refused call writes nothing.
TEST(Bilinear16, RefusalsInOrder) {
    const struct {
        bool planes;
        int nulls;  // 1 src, 2 dst or pBlue, 4 pGreen, 8 pRed
        int h, w;
        int32_t status;
        int line;
    } cases[] = {
        {false, 1, 8, 8, errInvalidParameter, 196}, {false, 2, 8, 8, errInvalidParameter, 196},
        {false, 1, 2, 2, errInvalidParameter, 196}, {false, 0, 3, 8, errBadImageSize, 197},
        {false, 0, 8, 3, errBadImageSize, 197},     {false, 0, -8, 8, errBadImageSize, 197},
        {true, 1, 8, 8, errInvalidParameter, 217},  {true, 2, 8, 8, errInvalidParameter, 217},
        {true, 4, 8, 8, errInvalidParameter, 217},  {true, 8, 8, 8, errInvalidParameter, 217},
        {true, 4, 0, 0, errInvalidParameter, 217},  {true, 0, 3, 8, errBadImageSize, 218},
        {true, 0, 8, 0, errBadImageSize, 218},
    };
    for (const auto& c : cases) {
        const Samples src(64, 1000);
        Samples dst(3 * 64, 7);
        uint16_t* d = dst.data();
        const uint16_t* s = c.nulls & 1 ? nullptr : src.data();
        EXPECT_EQ(zeltest::captured([&] {
                      return c.planes ? zelDemosaicingBilinearU16P(s, c.h, c.w, c.nulls & 2 ? nullptr : d,
                                                                   c.nulls & 4 ? nullptr : d + 64,
                                                                   c.nulls & 8 ? nullptr : d + 128)
                                      : zelDemosaicingBilinearU16(s, c.h, c.w, c.nulls & 2 ? nullptr : d);
                  }),
                  zeltest::outcome(c.status, c.line))
            << c.h << "x" << c.w << " nulls " << c.nulls;
        EXPECT_EQ(dst, Samples(3 * 64, 7));
    }
}

}  // namespace
