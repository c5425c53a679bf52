// The demo's synthetic scene and the mosaics made from it: colour patches,
// fine stripes and a zone plate that show demosaicing artefacts, and smooth
// gradients that should come through unharmed.
#pragma once

#include <cstdint>
#include <vector>

#include "formats.hpp"

namespace zelvora {

// Linear R, G, B values in 0..1, interleaved, rows packed.
struct Scene {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<float> rgb;

    float at(int32_t x, int32_t y, int channel) const {
        return rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3 +
                   static_cast<size_t>(channel)];
    }
};

// Four quadrants: patches top left, zone plate top right, stripes bottom left,
// gradients bottom right. Any size of at least 16 x 16 works.
Scene renderScene(int32_t width, int32_t height);

// A value of 0..1 as an integer sample of `bits` bits, rounded to nearest.
uint16_t quantise(float value, int bits);

// The scene as 8-bit R, G, B samples: the reference demosaiced pictures are
// compared with.
std::vector<uint8_t> sceneToRgb8(const Scene& scene);

// The colour a Bayer order samples at (x, y): 0 red, 1 green, 2 blue.
int cfaChannel(Order order, int32_t x, int32_t y);

// The raw frame a sensor with this input format would deliver for the scene
// (rows rowBytes(format, width) apart).
std::vector<uint8_t> mosaic(const Scene& scene, const InputFormat& format);

}  // namespace zelvora
