// Row bands: what one zelDemosaicingRows call hands an engine, and the table
// of band engines by method, Bayer order and output layout.
//
// A band engine writes output rows first .. first+count-1 of the whole frame,
// each byte as the whole-frame kernel of the same cell leaves it, and nothing
// else. It reads the source rows where they are (the caller's padded 8-bit
// rows, or only the rows of a deep or packed frame reduced into scratch), so
// the row source carries its own stride and the index of its first row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/formats.hpp"
#include "demosaic/dispatch.hpp"
#include "demosaic/layout.hpp"

namespace zel {

// Rows of an 8-bit frame: row r at base + (r - baseRow) * stride. Only the
// rows a band reads need to exist.
struct RowSource {
    const uint8_t* base;
    ptrdiff_t stride;
    int32_t baseRow;

    const uint8_t* row(int32_t r) const { return base + static_cast<ptrdiff_t>(r - baseRow) * stride; }
};

struct BandCall {
    RowSource src;
    uint8_t* dst;  // the whole frame's output buffer
    int32_t height;
    int32_t width;
    int32_t first;
    int32_t count;
    uint8_t* greenLine;  // `width` bytes of scratch for the edge-directed engine
};

using BandLaunch = int32_t (*)(const BandCall&);
using BandTable = std::array<std::array<BandLaunch, kLayoutCount>, kBayerCount>;

extern const BandTable kNearestBands;
extern const BandTable kBilinearBands;
extern const BandTable kEdgeBands;

// How a Bayer order meets the engines' one geometry: RG and BG data have a
// red row 0 (R G R G ... in the engines' terms), GB and GR data a blue row 0;
// for BG and GR data the engines' red is the true blue.
constexpr bool redRowFirst(Bayer b) { return b == Bayer::RG || b == Bayer::BG; }
constexpr bool redIsBlue(Bayer b) { return b == Bayer::BG || b == Bayer::GR; }

// The writer of one table cell: true red to byte 2 of BGR and byte 0 of RGB,
// to the first plane of RGB planar and the third of BGR planar, weight 77 in
// mono. The same bytes as the whole-frame dispatch cells produce; the
// interleaved writers are the engine's own kind (channel order fixed at
// compile time, or chosen at run time as its exported kernels do).
template <typename Engine, Layout L, bool RedIsBlue>
auto bandWriter(const BandCall& c) {
    constexpr bool swap = (L == Layout::Rgb8 || L == Layout::Rgba8) != RedIsBlue;
    constexpr int n = (L == Layout::Bgra8 || L == Layout::Rgba8) ? 4 : 3;
    // Three-byte writers have no alpha; naming them alike lets bands share
    // the whole-frame kernels' instantiations of the engines.
    constexpr Alpha A = n == 4 ? Engine::kAlpha : Alpha::Zero;
    if constexpr (L == Layout::Mono8) {
        return Luma{c.dst, RedIsBlue ? 29u : 77u, 150u, RedIsBlue ? 77u : 29u};
    } else if constexpr (L == Layout::RgbPlanar || L == Layout::BgrPlanar) {
        const ptrdiff_t size = static_cast<ptrdiff_t>(c.width) * c.height;
        uint8_t* firstPlane = c.dst;
        uint8_t* thirdPlane = c.dst + 2 * size;
        const bool redFirst = (L == Layout::RgbPlanar) != RedIsBlue;
        return Planar<uint8_t>{redFirst ? firstPlane : thirdPlane, c.dst + size, redFirst ? thirdPlane : firstPlane};
    } else if constexpr (Engine::kFixedOrder) {
        return FixedInterleaved<uint8_t, n, swap, A>{c.dst};
    } else {
        return Interleaved<uint8_t, n, A>(c.dst, swap);
    }
}

template <typename Engine, Bayer B, Layout L>
int32_t bandCell(const BandCall& c) {
    return Engine::band(redRowFirst(B), bandWriter<Engine, L, redIsBlue(B)>(c), c);
}

template <typename Engine, Bayer B, size_t... L>
constexpr std::array<BandLaunch, kLayoutCount> bandRow(std::index_sequence<L...>) {
    return {&bandCell<Engine, B, static_cast<Layout>(L)>...};
}

// The whole table of an engine: a struct with kAlpha (what four-byte writers
// do with byte 3), kFixedOrder and
//   template <typename W> static int32_t band(bool redRowFirst, const W&, const BandCall&).
template <typename Engine>
constexpr BandTable bandTable() {
    constexpr auto layouts = std::make_index_sequence<kLayoutCount>{};
    return {bandRow<Engine, Bayer::RG>(layouts), bandRow<Engine, Bayer::BG>(layouts),
            bandRow<Engine, Bayer::GB>(layouts), bandRow<Engine, Bayer::GR>(layouts)};
}

}  // namespace zel
