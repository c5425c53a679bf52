// Deliberately plain evaluations of the three methods, one pixel at a time
// over a mirrored frame in its true Bayer geometry, for the suites to compare
// the kernels against; and the mosaics the suites build for them. They share
// no code with the library: no row walks, no carried greens, no swapped
// orders, floor division written out instead of shifts.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support.hpp"

namespace ref {

struct Rgb {
    int red, green, blue;
};

// Where red lies: rows of parity redRow, columns of parity redCol. Blue lies
// at the other parity of both; every other site is green.
struct Geometry {
    int redRow, redCol;
};
inline constexpr Geometry kRGGB{0, 0};
inline constexpr Geometry kGRBG{0, 1};
inline constexpr Geometry kGBRG{1, 0};
inline constexpr Geometry kBGGR{1, 1};

enum class Colour { Red, Green, Blue };

inline Colour colourOf(Geometry g, int r, int c) {
    const bool redRow = (r & 1) == g.redRow;
    const bool redCol = (c & 1) == g.redCol;
    if (redRow) return redCol ? Colour::Red : Colour::Green;
    return redCol ? Colour::Green : Colour::Blue;
}
// Index i of 0..n-1 mirrored about the border (column -k reads column k).
inline int mirror(int i, int n) { return i < 0 ? -i : (i >= n ? 2 * (n - 1) - i : i); }
inline int floorDiv(int a, int b) {
    const int q = a / b;
    return (a % b != 0 && a < 0) ? q - 1 : q;
}
inline int clampTo(int v, int maxValue) { return v < 0 ? 0 : (v > maxValue ? maxValue : v); }
inline int absolute(int v) { return v < 0 ? -v : v; }

// Sets the channel of colour k.
inline void put(Rgb& p, Colour k, int v) { (k == Colour::Red ? p.red : k == Colour::Green ? p.green : p.blue) = v; }

// Nearest neighbour: red and blue from the 2x2 block of rows y-1..y and
// columns x-1..x (rows 0-1 in row 0, columns 0-1 in column 0); a green site
// keeps its green, a red or blue site takes the green to its left, to its
// right in column 0 of row 0, and above in column 0 of any other row.
template <typename T>
std::vector<Rgb> nearest(const std::vector<T>& src, int h, int w, Geometry g) {
    auto s = [&](int r, int c) { return int{src[static_cast<size_t>(r) * w + c]}; };
    std::vector<Rgb> out;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            Rgb p{-1, -1, -1};
            for (int r : {y == 0 ? 0 : y - 1, y == 0 ? 1 : y})
                for (int c : {x == 0 ? 0 : x - 1, x == 0 ? 1 : x})
                    if (colourOf(g, r, c) != Colour::Green) put(p, colourOf(g, r, c), s(r, c));
            if (colourOf(g, y, x) == Colour::Green)
                p.green = s(y, x);
            else
                p.green = x > 0 ? s(y, x - 1) : (y == 0 ? s(0, 1) : s(y - 1, 0));
            out.push_back(p);
        }
    return out;
}

// Bilinear: a red or blue site keeps its sample, takes green from the four
// neighbours across and the other colour from the four diagonals; a green
// site takes the colour of its row from the two neighbours in the row, the
// other from the two above and below. Frames whose row 0 starts with green
// read, at the right end of an odd width, where the kernels do (oddWidthReads).
template <typename T>
std::vector<Rgb> bilinear(const std::vector<T>& src, int h, int w, Geometry g, bool oddWidthReads = true) {
    auto s = [&](int y, int x) { return int{src[static_cast<size_t>(mirror(y, h)) * w + mirror(x, w)]}; };
    std::vector<Rgb> out;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int cross = (s(y - 1, x) + s(y + 1, x) + s(y, x - 1) + s(y, x + 1)) >> 2;
            const int diag = (s(y - 1, x - 1) + s(y - 1, x + 1) + s(y + 1, x - 1) + s(y + 1, x + 1)) >> 2;
            const Colour own = colourOf(g, y, x);
            Rgb p{0, 0, 0};
            if (own == Colour::Green) {
                const Colour inRow = colourOf(g, y, x + 1);
                put(p, inRow, (s(y, x - 1) + s(y, x + 1)) >> 1);
                put(p, inRow == Colour::Red ? Colour::Blue : Colour::Red, (s(y - 1, x) + s(y + 1, x)) >> 1);
                p.green = s(y, x);
            } else {
                put(p, own, s(y, x));
                put(p, own == Colour::Red ? Colour::Blue : Colour::Red, diag);
                p.green = cross;
            }
            out.push_back(p);
        }
    if (colourOf(g, 0, 0) == Colour::Green && oddWidthReads && (w & 1) != 0) {
        const int k = w - 2;
        const Colour row0 = colourOf(g, 0, 1);
        out[k].green = (s(0, 0) + s(0, k + 1) + 2 * s(1, k)) >> 2;
        put(out[w + k], row0, (s(0, k) + s(2, 1)) >> 1);
        put(out[w + k + 1], row0, (s(0, k) + s(2, 1)) >> 1);
    }
    return out;
}

// Edge-directed, with interpolated values clamped to 0..maxValue.
class Edge {
public:
    Edge(const std::vector<int>& samples, int height, int width, Geometry geometry, int maxValue)
        : s_(samples), h_(height), w_(width), geo_(geometry), max_(maxValue) {}

    // The green estimate at a red or blue site before clamping.
    int unclampedGreen(int r, int c) const {
        const int p = S(r, c);
        const int lh = 2 * p - S(r, c - 2) - S(r, c + 2);
        const int lv = 2 * p - S(r - 2, c) - S(r + 2, c);
        const int gh = absolute(S(r, c - 1) - S(r, c + 1)) + absolute(lh);
        const int gv = absolute(S(r - 1, c) - S(r + 1, c)) + absolute(lv);
        if (gh < gv) return floorDiv(S(r, c - 1) + S(r, c + 1), 2) + floorDiv(lh, 4);
        return floorDiv(S(r - 1, c) + S(r + 1, c), 2) + floorDiv(lv, 4);
    }

    // The green of any site: its sample, or the clamped estimate.
    int green(int r, int c) const {
        return colour(r, c) == Colour::Green ? S(r, c) : clampTo(unclampedGreen(mirror(r, h_), mirror(c, w_)), max_);
    }

    Rgb at(int r, int c) const {
        const int s = S(r, c);
        const bool redRow = ((r & 1) == geo_.redRow);
        auto diagonal = [&] {
            return floorDiv(D(r - 1, c - 1) + D(r - 1, c + 1) + D(r + 1, c - 1) + D(r + 1, c + 1), 4);
        };
        const int across = floorDiv(D(r, c - 1) + D(r, c + 1), 2);
        const int upDown = floorDiv(D(r - 1, c) + D(r + 1, c), 2);
        switch (colour(r, c)) {
            case Colour::Red:
                return {s, green(r, c), clampTo(green(r, c) + diagonal(), max_)};
            case Colour::Blue:
                return {clampTo(green(r, c) + diagonal(), max_), green(r, c), s};
            case Colour::Green:
                if (redRow) return {clampTo(s + across, max_), s, clampTo(s + upDown, max_)};
                return {clampTo(s + upDown, max_), s, clampTo(s + across, max_)};
        }
        return {};
    }

    // Byte 3 of the four-byte 8-bit layouts: `fill` (the caller's byte, never
    // written) except where the carried green row, the buffer's last `width`
    // bytes, overlaps it: entry c holds the green of column c's site in the
    // last row of that site's colour.
    std::vector<uint8_t> fourthBytes(uint8_t fill) const {
        std::vector<uint8_t> out(static_cast<size_t>(h_) * w_, fill);
        const bool lastRowRed = ((h_ - 1) & 1) == geo_.redRow;
        for (int c = 0; c < w_; ++c) {
            const int entry = 4 * c + 3 - 3 * w_;
            if (entry < 0) continue;
            const bool redSite = (entry & 1) == geo_.redCol;
            out[static_cast<size_t>(h_ - 1) * w_ + c] = uint8_t(green(redSite == lastRowRed ? h_ - 1 : h_ - 2, entry));
        }
        return out;
    }

    std::vector<Rgb> frame() const {
        std::vector<Rgb> out;
        for (int r = 0; r < h_; ++r)
            for (int c = 0; c < w_; ++c) out.push_back(at(r, c));
        return out;
    }

private:
    Colour colour(int r, int c) const { return colourOf(geo_, mirror(r, h_), mirror(c, w_)); }
    int S(int r, int c) const { return s_[static_cast<size_t>(mirror(r, h_)) * w_ + mirror(c, w_)]; }
    int D(int r, int c) const { return S(r, c) - green(r, c); }

    const std::vector<int>& s_;
    int h_, w_;
    Geometry geo_;
    int max_;
};

// Test mosaics: uniform noise over 0..maxValue mixed with runs of the two
// extremes, so that clamping happens often and in both directions.
inline std::vector<int> noisyMosaic(int height, int width, int maxValue, uint32_t seed) {
    std::vector<int> v = zeltest::randomSamples<int>(static_cast<size_t>(height) * width, seed, 6 * (maxValue + 1));
    for (int& s : v) s = s % 6 == 0 ? 0 : (s % 6 == 1 ? maxValue : s / 6);
    return v;
}

// A mosaic with one value per colour, for hand-worked cases.
inline std::vector<int> flatMosaic(Geometry g, int height, int width, Rgb value) {
    std::vector<int> m;
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c) {
            const Colour k = colourOf(g, r, c);
            m.push_back(k == Colour::Red ? value.red : (k == Colour::Blue ? value.blue : value.green));
        }
    return m;
}

// Interleaved pixels: blue, green, red (red first when redFirst).
template <typename T>
std::vector<T> interleaved(const std::vector<Rgb>& px, bool redFirst) {
    std::vector<T> out;
    for (const Rgb& p : px) out.insert(out.end(), {T(redFirst ? p.red : p.blue), T(p.green), T(redFirst ? p.blue : p.red)});
    return out;
}

}  // namespace ref
