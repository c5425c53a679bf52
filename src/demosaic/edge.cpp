// 8-bit edge-directed drivers: the engine of edge.hpp over a whole mosaic,
// one driver pair (row 0 red, row 0 blue) per output layout.
//
// The only working memory is the row of carried greens. The interleaved
// layouts keep it in the last `width` bytes of their own output, which only
// the final pass overwrites, left to right, after reading each entry; the
// planar and mono layouts use the `width` bytes of scratch the caller gives.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/report.hpp"
#include "demosaic/band.hpp"
#include "demosaic/edge.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace zel {
namespace {

constexpr int kMaxValue8 = 255;

// Smallest accepted frame: 6 x 6 (the rules reach two sites away and the
// row-pair walk needs a pair between the top and bottom pieces).
constexpr int32_t kMinSide = 6;

// Rows first .. first+count-1 of a frame whose row r lies at
// src.row(r), the carried greens in greenLine.
template <typename Writer>
void edgeRows(bool redRowFirst, const edge::SourceRows<uint8_t>& src, const Writer& out, uint8_t* greenLine,
              int32_t first, int32_t count) {
    edge::walk<edge::AllColumns>(src, out, edge::LineStore<uint8_t>{greenLine}, 0, kMaxValue8)
        .band(redRowFirst, first, first + count - 1);
}

template <typename Writer>
int32_t edge8(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, const Writer& out,
              uint8_t* greenLine) {
    edgeRows(redRowFirst, edge::SourceRows<uint8_t>{src, width, height, true}, out, greenLine, 0, height);
    return ZEL_OK;
}

// Each driver refuses frames narrower or lower than 6 with its own number:
// one pair of numbers (row 0 red, row 0 blue) per output layout.
bool tooSmall(int32_t height, int32_t width) { return !(width >= kMinSide && height >= kMinSide); }

struct Checks {
    int redRowFirst;
    int blueRowFirst;
    int of(bool redFirst) const { return redFirst ? redRowFirst : blueRowFirst; }
};
constexpr Checks kBgrChecks{5661, 5606};
constexpr Checks kBgraChecks{7543, 7493};
constexpr Checks kPlanarChecks{9337, 9284};
constexpr Checks kMonoChecks{11112, 11063};

// The interleaved layouts' green row: the final `width` bytes of the output.
uint8_t* lineInOutput(uint8_t* dst, int32_t height, int32_t width, int bytesPerPixel) {
    return dst + static_cast<ptrdiff_t>(bytesPerPixel) * width * height - width;
}

int32_t bgr(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
            int32_t swapRB) {
    if (tooSmall(height, width)) return fail(kBgrChecks.of(redRowFirst), errBadImageSize);
    return edge8(redRowFirst, src, height, width, Interleaved<uint8_t, 3>(dst, swapRB != 0),
                 lineInOutput(dst, height, width, 3));
}

// Byte 3 is never written (Alpha::Keep). Since the green row overlaps the
// last quarter of the last output row, byte 3 there ends up holding carried
// greens rather than the caller's content; accepted and kept.
int32_t bgra(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
             int32_t swapRB) {
    if (tooSmall(height, width)) return fail(kBgraChecks.of(redRowFirst), errBadImageSize);
    return edge8(redRowFirst, src, height, width, Interleaved<uint8_t, 4, Alpha::Keep>(dst, swapRB != 0),
                 lineInOutput(dst, height, width, 4));
}

int32_t planes(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, uint8_t* red,
               uint8_t* green, uint8_t* blue, uint8_t* greenLine) {
    if (tooSmall(height, width)) return fail(kPlanarChecks.of(redRowFirst), errBadImageSize);
    return edge8(redRowFirst, src, height, width, Planar<uint8_t>{red, green, blue}, greenLine);
}

int32_t mono(bool redRowFirst, const uint8_t* src, int32_t height, int32_t width, uint8_t* dst,
             int32_t swapRB, uint8_t* greenLine) {
    if (tooSmall(height, width)) return fail(kMonoChecks.of(redRowFirst), errBadImageSize);
    return edge8(redRowFirst, src, height, width, lumaForSwap(dst, swapRB != 0), greenLine);
}

constexpr bool kRedRowFirst = true;
constexpr bool kBlueRowFirst = false;

// A band keeps its greens in scratch, never in the caller's output outside
// the band. Where the whole-frame four-byte kernels leave carried greens in
// byte 3 of the last row (see bgra), a band that ends with that row writes
// them there too: the entries of the green row that fall on byte 3 of a
// pixel, from byte 4*W*H - W of the output on.
template <typename Writer>
void leaveGreensInAlpha(const Writer&, const uint8_t*, int32_t, int32_t) {}
inline void leaveGreensInAlpha(const Interleaved<uint8_t, 4, Alpha::Keep>& out, const uint8_t* greenLine,
                               int32_t height, int32_t width) {
    uint8_t* line = lineInOutput(out.dst, height, width, 4);
    for (int32_t c = (width + 3) % 4; c < width; c += 4) line[c] = greenLine[c];
}

template <typename Writer>
constexpr Checks checksOf() {
    if constexpr (std::is_same_v<Writer, Planar<uint8_t>>) return kPlanarChecks;
    else if constexpr (std::is_same_v<Writer, Luma>) return kMonoChecks;
    else if constexpr (std::is_same_v<Writer, Interleaved<uint8_t, 4, Alpha::Keep>>) return kBgraChecks;
    else return kBgrChecks;
}

struct EdgeBands {
    static constexpr Alpha kAlpha = Alpha::Keep;
    static constexpr bool kFixedOrder = false;
    template <typename Writer>
    static int32_t band(bool redRowFirst, const Writer& out, const BandCall& c) {
        if (tooSmall(c.height, c.width)) return fail(checksOf<Writer>().of(redRowFirst), errBadImageSize);
        const edge::SourceRows<uint8_t> src{c.src.base, c.width, c.height, true, c.src.stride, c.src.baseRow};
        edgeRows(redRowFirst, src, out, c.greenLine, c.first, c.count);
        if (c.first + c.count == c.height) leaveGreensInAlpha(out, c.greenLine, c.height, c.width);
        return ZEL_OK;
    }
};

}  // namespace

const BandTable kEdgeBands = bandTable<EdgeBands>();

}  // namespace zel

using zel::kBlueRowFirst;
using zel::kRedRowFirst;

extern "C" {

ZEL_API int32_t rg8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgr(kRedRowFirst, src, height, width, dst, swapRB);
}
ZEL_API int32_t gb8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgr(kBlueRowFirst, src, height, width, dst, swapRB);
}
ZEL_API int32_t rg8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgra(kRedRowFirst, src, height, width, dst, swapRB);
}
ZEL_API int32_t gb8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB) {
    return zel::bgra(kBlueRowFirst, src, height, width, dst, swapRB);
}
ZEL_API int32_t rg8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine) {
    return zel::planes(kRedRowFirst, src, height, width, redPlane, greenPlane, bluePlane, greenLine);
}
ZEL_API int32_t gb8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine) {
    return zel::planes(kBlueRowFirst, src, height, width, redPlane, greenPlane, bluePlane, greenLine);
}
ZEL_API int32_t rg8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine) {
    return zel::mono(kRedRowFirst, src, height, width, dst, swapRB, greenLine);
}
ZEL_API int32_t gb8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine) {
    return zel::mono(kBlueRowFirst, src, height, width, dst, swapRB, greenLine);
}

}  // extern "C"
