// The 16-bit interior piece on its own: given what the earlier pieces leave
// (every value above its first row and left of its first column), it writes
// every value its steps determine, including those of column stop-1 and of
// the last pair's lower row that the last-columns and last-rows pieces
// complete, and nothing outside the rows it covers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "edge_reference.hpp"
#include "zelvora.h"

namespace {

constexpr uint16_t kSentinel = 0xBEEF;

struct Frame {
    int height;
    int width;
    int columnPhase;
};
void PrintTo(const Frame& f, std::ostream* os) { *os << f.width << "x" << f.height << ", phase " << f.columnPhase; }

class Edge16Interior : public ::testing::TestWithParam<Frame> {};

TEST_P(Edge16Interior, WritesEveryValueOfItsStepsAndNothingBeyondItsRows) {
    const auto [h, w, c0] = GetParam();
    const int start = 2;  // red in even rows
    const auto mosaic = edgeref::noisyMosaic(h, w, 65535, h * 100 + w + c0);
    const edgeref::Reference ref(mosaic, h, w, c0 == 2 ? edgeref::kRGGB : edgeref::kGRBG, 65535);
    auto want = [&](int r, int c, int k) {
        const edgeref::Rgb p = ref.at(r, c);
        return k == 0 ? p.blue : (k == 1 ? p.green : p.red);
    };
    const std::vector<uint16_t> src(mosaic.begin(), mosaic.end());
    std::vector<uint16_t> out(size_t(h) * w * 3, kSentinel);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            for (int k = 0; k < 3; ++k)
                if (r < start || c < c0) out[(size_t(r) * w + c) * 3 + k] = uint16_t(want(r, c, k));
    const std::vector<uint16_t> before = out;

    const int rows = h - 4;
    const EdgeSecEnd end = edgeSecRGGBU16(src.data() + start * w, out.data() + start * 3 * w, rows, w, c0, 65535);
    ASSERT_EQ(end.stopRow, ((rows - 2) & ~1) + 2);
    ASSERT_EQ(end.stopColumn, c0 + 2 + 2 * ((w - 4 - c0) / 2));

    // Value k of (r, c) must be the reference value.
    auto expectWritten = [&](int r, int c, int k) {
        EXPECT_EQ(out[(size_t(r) * w + c) * 3 + k], want(r, c, k)) << "(" << r << ", " << c << ") value " << k;
    };
    for (int y = start; y < start + rows - 1; y += 2)
        for (int x = c0; x <= w - 4; x += 2) {
            for (int k = 0; k < 3; ++k) expectWritten(y, x, k);  // red site: green, raw red, blue
            expectWritten(y + 1, x + 1, 1);                      // blue site: green, raw blue
            expectWritten(y + 1, x + 1, 0);
            expectWritten(y, x + 1, 1);  // green sites: raw green and blue
            expectWritten(y, x + 1, 0);
            expectWritten(y + 1, x, 1);
            expectWritten(y + 1, x, 0);
            expectWritten(y - 1, x - 1, 2);  // reds completed one step or pair late
            expectWritten(y - 1, x, 2);
            expectWritten(y, x - 1, 2);
        }
    // Whatever else changed is right, and rows outside start-1 .. start+stopRow-1 are untouched.
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            for (int k = 0; k < 3; ++k) {
                const size_t i = (size_t(r) * w + c) * 3 + k;
                if (out[i] == before[i]) continue;
                EXPECT_TRUE(r >= start - 1 && r < start + end.stopRow) << "row " << r << " written";
                EXPECT_EQ(out[i], want(r, c, k)) << "(" << r << ", " << c << ") value " << k;
            }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Edge16Interior,
                         ::testing::Values(Frame{10, 12, 2}, Frame{10, 12, 3}, Frame{11, 13, 2}, Frame{11, 13, 3},
                                           Frame{8, 8, 2}, Frame{9, 9, 3}, Frame{7, 10, 2}, Frame{15, 17, 3},
                                           Frame{16, 16, 2}, Frame{6, 7, 3}),
                         [](const auto& info) {
                             const Frame& f = info.param;
                             return std::to_string(f.width) + "x" + std::to_string(f.height) + "phase" +
                                    std::to_string(f.columnPhase);
                         });

}  // namespace
