// 16-bit RGGB bilinear demosaicing: values, regions of the exported pieces,
// the swap flag, and the refusals of the two public operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bilinear_reference.hpp"
#include "zelvora.h"

namespace {

using Samples = std::vector<uint16_t>;
using Writer = std::function<void(uint16_t*)>;

// Runs `write` on two differently filled buffers of n samples; a sample it
// writes is equal in both, one it leaves alone is not.
struct Twice {
    Samples a, b;
    Twice(size_t n, const Writer& write) : a(n, 0xA5A5), b(n, 0x5A5A) {
        write(a.data());
        write(b.data());
    }
    bool written(size_t i) const { return a[i] == b[i]; }
};

Samples interleaved(const Samples& src, int h, int w) {
    const Twice t(3 * src.size(), [&](uint16_t* d) { zelDemosaicingBilinearU16(src.data(), h, w, d); });
    EXPECT_EQ(t.a, t.b) << "unwritten samples, " << h << "x" << w;
    return t.a;
}

Samples planar(const Samples& src, int h, int w) {
    const size_t n = src.size();
    const Twice t(3 * n, [&](uint16_t* d) { zelDemosaicingBilinearU16P(src.data(), h, w, d, d + n, d + 2 * n); });
    EXPECT_EQ(t.a, t.b) << "unwritten samples, " << h << "x" << w;
    return t.a;
}

TEST(Bilinear16, MatchesReferenceAndPlanarAndEightBit) {
    for (int h = 4; h <= 16; ++h) {
        for (int w = 4; w <= 16; ++w) {
            const Samples src = ref::mosaic<uint16_t>(h, w, 65536, h * 31 + w);
            const size_t n = src.size();
            const auto px = ref::bilinear(src, h, w, ref::Geometry::RG);
            const Samples out = interleaved(src, h, w), planes = planar(src, h, w);
            for (size_t i = 0; i < n; ++i) {
                ASSERT_EQ((Samples{out[3 * i], out[3 * i + 1], out[3 * i + 2]}),
                          (Samples{uint16_t(px[i].blue), uint16_t(px[i].green), uint16_t(px[i].red)}))
                    << h << "x" << w << " pixel " << i;
                ASSERT_EQ((Samples{planes[i], planes[n + i], planes[2 * n + i]}),
                          (Samples{out[3 * i], out[3 * i + 1], out[3 * i + 2]}));
            }
            // Samples below 256 give what the 8-bit kernel gives.
            const std::vector<uint8_t> bytes = ref::mosaic<uint8_t>(h, w, 256, h + w);
            std::vector<uint8_t> bgr8(3 * n);
            rg8ToBgr8_bilinear(bytes.data(), h, w, bgr8.data());
            EXPECT_EQ(interleaved(Samples(bytes.begin(), bytes.end()), h, w), Samples(bgr8.begin(), bgr8.end()));
        }
    }
}

TEST(Bilinear16, UniformFramesDoNotOverflow) {
    for (uint16_t v : {uint16_t{65535}, uint16_t{65534}, uint16_t{32768}, uint16_t{1}}) {
        for (auto [h, w] : {std::pair{4, 4}, std::pair{5, 7}, std::pair{8, 5}}) {
            const Samples src(static_cast<size_t>(h) * w, v);
            EXPECT_EQ(interleaved(src, h, w), Samples(3 * src.size(), v));
            EXPECT_EQ(planar(src, h, w), Samples(3 * src.size(), v));
        }
    }
}

// Each exported piece writes exactly its region, with the values of the
// whole frame: row 0; column 0 below it; the body; the last rows between
// column 0 and the last columns; the last columns below row 0.
TEST(Bilinear16, PiecesWriteTheirRegions) {
    enum Piece { FirstRows, FirstCols, Body, LastRows, LastCols };
    for (int h = 4; h <= 9; ++h) {
        for (int w = 4; w <= 9; ++w) {
            const Samples src = ref::mosaic<uint16_t>(h, w, 65536, h ^ (w << 4));
            const size_t n = src.size();
            const uint32_t lcs = w - 1 - (w & 1), lrs = h - 1 - (h & 1);
            const Samples whole = interleaved(src, h, w);
            auto region = [&](Piece p, uint32_t y, uint32_t x) {
                switch (p) {
                    case FirstRows: return y == 0;
                    case FirstCols: return x == 0 && y >= 1;
                    case Body: return y >= 1 && y < lrs && x >= 1 && x < lcs;
                    case LastRows: return y >= lrs && x >= 1 && x < lcs;
                    case LastCols: return x >= lcs && y >= 1;
                }
                return false;
            };
            const uint16_t* s = src.data();
            const std::pair<Piece, Writer> interleavedPieces[] = {
                {FirstRows, [&](uint16_t* d) { bilinearFirstRowsRGGBU16(s, d, w, 0); }},
                {FirstCols, [&](uint16_t* d) { bilinearFirstColsRGGBU16(s, d, h, w, 0); }},
                {Body,
                 [&](uint16_t* d) {
                     const BilinearBodyEnd end = bilinearBodyRGGBU16(s, d, h, w, 0);
                     EXPECT_EQ(end.lastColsStart, lcs);
                     EXPECT_EQ(end.lastRowsStart, lrs);
                 }},
                {LastRows, [&](uint16_t* d) { bilinearLastRowsRGGBU16(s, d, h, w, lrs, 0); }},
                {LastCols, [&](uint16_t* d) { bilinearLastColsRGGBU16(s, d, h, w, lcs, 0); }},
            };
            const std::pair<Piece, Writer> planarPieces[] = {
                {FirstRows, [&](uint16_t* d) { bilinearFirstRowsRGGBU16P(s, d, d + n, d + 2 * n, w); }},
                {FirstCols, [&](uint16_t* d) { bilinearFirstColsRGGBU16P(s, d, d + n, d + 2 * n, h, w); }},
                {Body,
                 [&](uint16_t* d) {
                     const BilinearBodyEnd end = bilinearBodyRGGBU16P(s, d, d + n, d + 2 * n, h, w, 0);
                     EXPECT_EQ(end.lastColsStart, lcs);
                     EXPECT_EQ(end.lastRowsStart, lrs);
                 }},
                {LastRows, [&](uint16_t* d) { bilinearLastRowsRGGBU16P(s, d, d + n, d + 2 * n, h, w, lrs, 0); }},
                {LastCols, [&](uint16_t* d) { bilinearLastColsRGGBU16P(s, d, d + n, d + 2 * n, h, w, lcs, 0); }},
            };
            for (bool planes : {false, true}) {
                for (const auto& [piece, write] : planes ? planarPieces : interleavedPieces) {
                    const Twice t(3 * n, write);
                    for (size_t i = 0; i < 3 * n; ++i) {
                        const size_t pixel = planes ? i % n : i / 3, sample = planes ? i / n : i % 3;
                        const uint32_t y = uint32_t(pixel / w), x = uint32_t(pixel % w);
                        ASSERT_EQ(t.written(i), region(piece, y, x))
                            << "piece " << piece << (planes ? " planar " : " ") << h << "x" << w << " at " << y
                            << "," << x;
                        if (t.written(i)) {
                            ASSERT_EQ(t.a[i], whole[3 * pixel + sample]);
                        }
                    }
                }
            }
        }
    }
}

// swapRB = 1 exchanges samples 0 and 2 of every pixel; any other value is clear.
TEST(Bilinear16, OnlyOneSetsTheSwapFlag) {
    const int h = 7, w = 6;
    const Samples src = ref::mosaic<uint16_t>(h, w, 65536, 3);
    const Samples plain = interleaved(src, h, w);
    for (uint32_t flag : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        Samples out(plain.size());
        bilinearFirstRowsRGGBU16(src.data(), out.data(), w, flag);
        bilinearFirstColsRGGBU16(src.data(), out.data(), h, w, flag);
        const BilinearBodyEnd end = bilinearBodyRGGBU16(src.data(), out.data(), h, w, flag);
        bilinearLastRowsRGGBU16(src.data(), out.data(), h, w, end.lastRowsStart, flag);
        bilinearLastColsRGGBU16(src.data(), out.data(), h, w, end.lastColsStart, flag);
        Samples expected = plain;
        if (flag == 1)
            for (size_t i = 0; i < expected.size(); i += 3) std::swap(expected[i], expected[i + 2]);
        EXPECT_EQ(out, expected) << "flag " << flag;
    }
}

// Pointers are checked before sizes; a refused call writes nothing.
struct Refusal {
    const char* name;
    bool planes;
    bool nullSrc, nullFirst, nullSecond, nullThird;
    int h, w;
    int32_t status;
    const char* message;
};
class Bilinear16Refusal : public testing::TestWithParam<Refusal> {};

TEST_P(Bilinear16Refusal, StatusMessageAndNothingWritten) {
    const Refusal& r = GetParam();
    const Samples src(64, 1000);
    Samples dst(3 * 64, 7);
    uint16_t* d = dst.data();
    const uint16_t* s = r.nullSrc ? nullptr : src.data();
    testing::internal::CaptureStdout();
    const int32_t status =
        r.planes ? zelDemosaicingBilinearU16P(s, r.h, r.w, r.nullFirst ? nullptr : d, r.nullSecond ? nullptr : d + 64,
                                              r.nullThird ? nullptr : d + 128)
                 : zelDemosaicingBilinearU16(s, r.h, r.w, r.nullFirst ? nullptr : d);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), r.message);
    EXPECT_EQ(status, r.status);
    EXPECT_EQ(dst, Samples(3 * 64, 7));
}

INSTANTIATE_TEST_SUITE_P(
    Checks, Bilinear16Refusal,
    testing::Values(Refusal{"NullSrc", false, true, false, false, false, 8, 8, -111, "error line = [196]"},
                    Refusal{"NullDst", false, false, true, false, false, 8, 8, -111, "error line = [196]"},
                    Refusal{"NullBeforeSize", false, true, false, false, false, 2, 2, -111, "error line = [196]"},
                    Refusal{"Height3", false, false, false, false, false, 3, 8, -104, "error line = [197]"},
                    Refusal{"Width3", false, false, false, false, false, 8, 3, -104, "error line = [197]"},
                    Refusal{"NegativeHeight", false, false, false, false, false, -8, 8, -104, "error line = [197]"},
                    Refusal{"PlanarNullSrc", true, true, false, false, false, 8, 8, -111, "error line = [217]"},
                    Refusal{"PlanarNullBlue", true, false, true, false, false, 8, 8, -111, "error line = [217]"},
                    Refusal{"PlanarNullGreen", true, false, false, true, false, 8, 8, -111, "error line = [217]"},
                    Refusal{"PlanarNullRed", true, false, false, false, true, 8, 8, -111, "error line = [217]"},
                    Refusal{"PlanarNullBeforeSize", true, false, false, true, false, 0, 0, -111, "error line = [217]"},
                    Refusal{"PlanarHeight3", true, false, false, false, false, 3, 8, -104, "error line = [218]"},
                    Refusal{"PlanarWidth0", true, false, false, false, false, 8, 0, -104, "error line = [218]"}),
    [](const testing::TestParamInfo<Refusal>& info) { return std::string(info.param.name); });

// Narrow frames: the body writes nothing and reports where the border pieces
// take over; the last-columns piece then starts at column 1.
TEST(Bilinear16, NarrowBodyWritesNothing) {
    for (auto [h, w, lcs, lrs] : {std::tuple{3, 8, 7u, 1u}, std::tuple{8, 3, 1u, 7u}, std::tuple{8, 2, 1u, 7u}}) {
        const Samples src(static_cast<size_t>(h) * w, 9);
        BilinearBodyEnd end{};
        const Twice t(3 * src.size(), [&](uint16_t* d) { end = bilinearBodyRGGBU16(src.data(), d, h, w, 0); });
        for (size_t i = 0; i < t.a.size(); ++i) ASSERT_FALSE(t.written(i));
        EXPECT_EQ(end.lastColsStart, lcs);
        EXPECT_EQ(end.lastRowsStart, lrs);
    }
}

}  // namespace
