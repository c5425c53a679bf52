// A deliberately plain evaluation of the edge-directed rules, one pixel at a
// time over a mirrored frame, for the tests to compare the kernels against,
// and the mosaic and comparison helpers the 8-bit and 16-bit suites share.
// It shares no code with the library: no row-pair walk, no carried greens,
// floor division written out instead of shifts.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace edgeref {

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

inline int floorDiv(int a, int b) {
    const int q = a / b;
    return (a % b != 0 && a < 0) ? q - 1 : q;
}
inline int clampTo(int v, int maxValue) { return v < 0 ? 0 : (v > maxValue ? maxValue : v); }
inline int absolute(int v) { return v < 0 ? -v : v; }

class Reference {
public:
    Reference(const std::vector<int>& samples, int height, int width, Geometry geometry, int maxValue)
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
        return colour(r, c) == Colour::Green ? S(r, c) : clampTo(unclampedGreen(reflect(r, h_), reflect(c, w_)), max_);
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
    static int reflect(int i, int n) { return i < 0 ? -i : (i >= n ? 2 * (n - 1) - i : i); }

    Colour colour(int r, int c) const { return colourOf(geo_, reflect(r, h_), reflect(c, w_)); }
    int S(int r, int c) const { return s_[static_cast<size_t>(reflect(r, h_)) * w_ + reflect(c, w_)]; }
    int D(int r, int c) const { return S(r, c) - green(r, c); }

    const std::vector<int>& s_;
    int h_, w_;
    Geometry geo_;
    int max_;
};

// Test mosaics: uniform noise over 0..maxValue mixed with runs of the two
// extremes, so that clamping happens often and in both directions.
inline std::vector<int> noisyMosaic(int height, int width, int maxValue, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> value(0, maxValue);
    std::uniform_int_distribution<int> kind(0, 5);
    std::vector<int> v(static_cast<size_t>(height) * width);
    for (auto& s : v) {
        const int k = kind(rng);
        s = k == 0 ? 0 : (k == 1 ? maxValue : value(rng));
    }
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

// Interleaved pixels: blue, green, red (red first when redFirst), and for
// four samples byte 3 taken from `fourth`.
template <typename T>
std::vector<T> interleaved(const std::vector<Rgb>& px, bool redFirst, int samples = 3,
                           const std::vector<T>& fourth = {}) {
    std::vector<T> out;
    for (size_t i = 0; i < px.size(); ++i) {
        out.insert(out.end(),
                   {T(redFirst ? px[i].red : px[i].blue), T(px[i].green), T(redFirst ? px[i].blue : px[i].red)});
        if (samples == 4) out.push_back(fourth[i]);
    }
    return out;
}

// The first difference of two outputs as "pixel (row, col) sample k", so a
// failing frame prints one line rather than thousands.
template <typename T>
::testing::AssertionResult sameSamples(const std::vector<T>& got, const std::vector<T>& want, int width,
                                       int samplesPerPixel) {
    if (got.size() != want.size()) return ::testing::AssertionFailure() << "sizes differ";
    for (size_t i = 0; i < got.size(); ++i) {
        if (got[i] == want[i]) continue;
        const size_t pixel = i / samplesPerPixel;
        return ::testing::AssertionFailure()
               << "pixel (" << pixel / width << ", " << pixel % width << ") sample " << i % samplesPerPixel << ": got "
               << int(got[i]) << ", want " << int(want[i]);
    }
    return ::testing::AssertionSuccess();
}

}  // namespace edgeref
