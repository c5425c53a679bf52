// Per-pixel bilinear reference for the tests: pads the mosaic by mirroring
// and applies the four site formulas by parity, with no region split.
#pragma once

#include <cstdint>
#include <vector>

namespace ref {

// red: the colour at the geometry's R positions; blue: at its B positions.
struct Rgb {
    uint32_t red, green, blue;
};

// RG: R at even rows and columns (RG and BG mosaics). GR: row 0 is a B/Gb
// row, row 1 an R/Gr row (GR and GB mosaics).
enum class Geometry { RG, GR };

template <typename T>
std::vector<Rgb> bilinear(const std::vector<T>& src, int h, int w, Geometry g, bool oddWidthReads = true) {
    auto mirror = [](int i, int n) { return i < 0 ? -i : (i >= n ? 2 * n - 2 - i : i); };
    auto s = [&](int y, int x) -> uint32_t { return src[mirror(y, h) * w + mirror(x, w)]; };
    const int shift = g == Geometry::GR ? 1 : 0;
    std::vector<Rgb> out(static_cast<size_t>(h) * w);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const uint32_t own = s(y, x);
            const uint32_t cross = (s(y - 1, x) + s(y + 1, x) + s(y, x - 1) + s(y, x + 1)) >> 2;
            const uint32_t diag = (s(y - 1, x - 1) + s(y - 1, x + 1) + s(y + 1, x - 1) + s(y + 1, x + 1)) >> 2;
            const uint32_t vert = (s(y - 1, x) + s(y + 1, x)) >> 1;
            const uint32_t hor = (s(y, x - 1) + s(y, x + 1)) >> 1;
            const bool oddRow = ((y + shift) & 1) != 0, oddCol = (x & 1) != 0;
            Rgb& p = out[static_cast<size_t>(y) * w + x];
            if (!oddRow) p = oddCol ? Rgb{hor, own, vert} : Rgb{own, cross, diag};
            else p = oddCol ? Rgb{diag, cross, own} : Rgb{vert, own, hor};
        }
    }
    // The GR/GB first rows' reads at the right end of odd-width frames.
    if (g == Geometry::GR && oddWidthReads && (w & 1) != 0) {
        const int k = w - 2;
        out[k].green = (s(0, 0) + s(0, k + 1) + 2 * s(1, k)) >> 2;
        out[w + k].blue = out[w + k + 1].blue = (s(0, k) + s(2, 1)) >> 1;
    }
    return out;
}

}  // namespace ref
