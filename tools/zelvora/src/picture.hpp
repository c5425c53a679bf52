// A picture on its way to a file: rows of grey, R G B or R G B A samples at 8
// bits or a deeper significant depth, made one row at a time from whatever
// buffer holds the picture, so that writers never need a second copy of it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "formats.hpp"

namespace zelvora {

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    int channels = 3;  // 1: grey; 3: R, G, B; 4: R, G, B, alpha
    int bits = 8;      // significant bits of every sample (8 to 16)
    // Writes the width * channels samples of row y.
    std::function<void(int32_t y, uint16_t* row)> row;

    uint16_t maxValue() const { return static_cast<uint16_t>((1u << bits) - 1u); }
    size_t rowSamples() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
};

// What zelDemosaicing wrote into a buffer of the given layout. The fourth
// byte of BGRA8 and RGBA8 pixels is not alpha (the library leaves it 0 or
// untouched); the picture's alpha is opaque instead.
Picture pictureFromLayout(const uint8_t* data, int32_t width, int32_t height, const OutputLayout& layout);

// Interleaved B, G, R 16-bit samples, as the 16-bit kernels write them.
Picture pictureFromBgr16(const uint16_t* data, int32_t width, int32_t height, int bits);

// Interleaved samples in the picture's own channel order.
Picture pictureFromSamples(const uint16_t* data, int32_t width, int32_t height, int channels, int bits);

// The same picture with 1 or 3 channels: grey repeated into R, G and B, or
// alpha dropped.
Picture withChannels(const Picture& picture, int channels);

// Every sample, rows one after another.
std::vector<uint16_t> allSamples(const Picture& picture);

// White balance and tone curve, applied to R, G and B (grey: the curve only).
struct Tone {
    bool grayWorld = false;
    std::array<double, 3> gains{1.0, 1.0, 1.0};
    double gamma = 1.0;  // the power 1 / gamma; 0 for the sRGB curve
    bool active() const { return grayWorld || gains != std::array<double, 3>{1.0, 1.0, 1.0} || gamma != 1.0; }
};

// "gray-world" or "R:G:B" factors; "srgb" or a positive exponent.
Tone parseTone(const std::string* whiteBalance, const std::string* gamma);

// The picture with the tone applied. Gray-world gains make the means of red
// and blue equal that of green; they are measured over the whole picture.
Picture toned(const Picture& picture, const Tone& tone);

// A sample scaled to the full 16-bit range by repeating its top bits below
// it, so that the largest value of any depth becomes 65535.
uint16_t widenTo16(uint16_t value, int bits);

}  // namespace zelvora
