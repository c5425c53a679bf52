// Nearest-neighbour demosaicing evaluated pixel by pixel, straight from the
// rule: each pixel takes the red and blue of the 2x2 block of rows y-1..y and
// columns x-1..x (rows 0-1 in row 0, columns 0-1 in column 0); a green site
// keeps its own green, a red or blue site takes the green to its left, the
// green to its right in column 0 of row 0, and the green above in column 0 of
// any other row.
#pragma once

#include <cstdint>
#include <vector>

#include "support.hpp"

namespace zeltest {

// Native (red-position, green, blue-position) values of pixel (y, x).
inline Rgb nearestAt(const uint8_t* src, int width, bool gbOrder, int y, int x) {
    auto s = [&](int r, int c) { return int{src[r * width + c]}; };
    const int rows[2] = {y == 0 ? 0 : y - 1, y == 0 ? 1 : y};
    const int cols[2] = {x == 0 ? 0 : x - 1, x == 0 ? 1 : x};
    Rgb p{-1, -1, -1};
    for (int r : rows)
        for (int c : cols) {
            if (siteOf(gbOrder, r, c) == Site::Red) p.r = s(r, c);
            if (siteOf(gbOrder, r, c) == Site::Blue) p.b = s(r, c);
        }
    if (siteOf(gbOrder, y, x) == Site::Green)
        p.g = s(y, x);
    else if (x > 0)
        p.g = s(y, x - 1);
    else
        p.g = y == 0 ? s(0, 1) : s(y - 1, 0);
    return p;
}

inline std::vector<Rgb> nearestFrame(const uint8_t* src, int height, int width, bool gbOrder) {
    std::vector<Rgb> out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) out.push_back(nearestAt(src, width, gbOrder, y, x));
    return out;
}

}  // namespace zeltest
