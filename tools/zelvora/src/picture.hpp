// A picture on its way to a file: grey or R, G, B samples, interleaved,
// rows packed, at 8 bits or at a deeper significant depth.
#pragma once

#include <cstdint>
#include <vector>

#include "formats.hpp"

namespace zelvora {

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    int channels = 3;  // 1: grey; 3: R, G, B
    int bits = 8;      // significant bits of every sample (8 to 16)
    std::vector<uint16_t> samples;

    uint16_t maxValue() const { return static_cast<uint16_t>((1u << bits) - 1u); }
};

// What zelDemosaicing wrote into a buffer of the given layout. The fourth
// byte of BGRA8 and RGBA8 pixels is padding, not alpha, and is dropped.
Picture pictureFromLayout(const uint8_t* data, int32_t width, int32_t height, const OutputLayout& layout);

// Interleaved B, G, R 16-bit samples, as the 16-bit kernels write them.
Picture pictureFromBgr16(const uint16_t* data, int32_t width, int32_t height, int bits);

// The same picture with grey samples repeated into R, G and B.
Picture asColour(const Picture& picture);

// A sample scaled to the full 16-bit range by repeating its top bits below
// it, so that the largest value of any depth becomes 65535.
uint16_t widenTo16(uint16_t value, int bits);

}  // namespace zelvora
