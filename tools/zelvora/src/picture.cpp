#include "picture.hpp"

#include <algorithm>
#include <cstddef>

#include "zelvora.h"

namespace zelvora {

Picture pictureFromLayout(const uint8_t* data, int32_t width, int32_t height, const OutputLayout& layout) {
    Picture picture{width, height, layout.code == ZEL_PIX_MONO8 ? 1 : 3, 8, {}};
    const size_t n = static_cast<size_t>(width) * static_cast<size_t>(height);
    picture.samples.resize(n * static_cast<size_t>(picture.channels));
    uint16_t* out = picture.samples.data();
    if (picture.channels == 1) {
        std::copy(data, data + n, out);
        return picture;
    }
    // Where R, G and B of pixel i are: byte offsets within a pixel, or plane
    // offsets within the buffer.
    const bool redFirst = layout.code == ZEL_PIX_RGB8 || layout.code == ZEL_PIX_RGBA8 ||
                          layout.code == ZEL_PIX_RGB8_PLANAR;
    const size_t step = layout.planar ? 1 : static_cast<size_t>(layout.bytesPerPixel);
    const size_t unit = layout.planar ? n : 1;
    const size_t red = (redFirst ? 0 : 2) * unit;
    const size_t green = unit;
    const size_t blue = (redFirst ? 2 : 0) * unit;
    for (size_t i = 0; i < n; ++i) {
        const uint8_t* p = data + i * step;
        out[3 * i] = p[red];
        out[3 * i + 1] = p[green];
        out[3 * i + 2] = p[blue];
    }
    return picture;
}

Picture pictureFromBgr16(const uint16_t* data, int32_t width, int32_t height, int bits) {
    Picture picture{width, height, 3, bits, {}};
    const size_t n = static_cast<size_t>(width) * static_cast<size_t>(height);
    picture.samples.resize(3 * n);
    for (size_t i = 0; i < n; ++i) {
        picture.samples[3 * i] = data[3 * i + 2];
        picture.samples[3 * i + 1] = data[3 * i + 1];
        picture.samples[3 * i + 2] = data[3 * i];
    }
    return picture;
}

Picture asColour(const Picture& picture) {
    if (picture.channels == 3) return picture;
    Picture colour{picture.width, picture.height, 3, picture.bits, {}};
    colour.samples.resize(picture.samples.size() * 3);
    for (size_t i = 0; i < picture.samples.size(); ++i)
        colour.samples[3 * i] = colour.samples[3 * i + 1] = colour.samples[3 * i + 2] = picture.samples[i];
    return colour;
}

uint16_t widenTo16(uint16_t value, int bits) {
    if (bits >= 16) return value;
    const unsigned v = std::min<unsigned>(value, (1u << bits) - 1u);
    unsigned wide = 0;
    // Repeat the value's bits from the top down until all 16 are filled.
    for (int shift = 16 - bits; shift > -bits; shift -= bits) wide |= shift >= 0 ? v << shift : v >> -shift;
    return static_cast<uint16_t>(wide);
}

}  // namespace zelvora
