#include "picture.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>

#include "args.hpp"
#include "error.hpp"
#include "zelvora.h"

namespace zelvora {

Picture pictureFromLayout(const uint8_t* data, int32_t width, int32_t height, const OutputLayout& layout) {
    const bool alpha = layout.bytesPerPixel == 4;
    Picture picture{width, height, layout.code == ZEL_PIX_MONO8 ? 1 : alpha ? 4 : 3, 8, {}};
    const size_t w = static_cast<size_t>(width);
    if (picture.channels == 1) {
        picture.row = [data, w](int32_t y, uint16_t* out) {
            std::copy_n(data + static_cast<size_t>(y) * w, w, out);
        };
        return picture;
    }
    // Where R, G and B of pixel i are: byte offsets within a pixel, or plane
    // offsets within the buffer.
    const bool redFirst = layout.code == ZEL_PIX_RGB8 || layout.code == ZEL_PIX_RGBA8 ||
                          layout.code == ZEL_PIX_RGB8_PLANAR;
    const size_t n = w * static_cast<size_t>(height);
    const size_t step = layout.planar ? 1 : static_cast<size_t>(layout.bytesPerPixel);
    const size_t unit = layout.planar ? n : 1;
    const size_t red = (redFirst ? 0 : 2) * unit;
    const size_t blue = (redFirst ? 2 : 0) * unit;
    const size_t channels = static_cast<size_t>(picture.channels);
    picture.row = [=](int32_t y, uint16_t* out) {
        const uint8_t* p = data + static_cast<size_t>(y) * w * step;
        for (size_t x = 0; x < w; ++x, p += step, out += channels) {
            out[0] = p[red];
            out[1] = p[unit];
            out[2] = p[blue];
            if (alpha) out[3] = 255;
        }
    };
    return picture;
}

Picture pictureFromBgr16(const uint16_t* data, int32_t width, int32_t height, int bits) {
    Picture picture{width, height, 3, bits, {}};
    const size_t w = static_cast<size_t>(width);
    picture.row = [data, w](int32_t y, uint16_t* out) {
        const uint16_t* p = data + static_cast<size_t>(y) * w * 3;
        for (size_t x = 0; x < w; ++x, p += 3, out += 3) {
            out[0] = p[2];
            out[1] = p[1];
            out[2] = p[0];
        }
    };
    return picture;
}

Picture pictureFromSamples(const uint16_t* data, int32_t width, int32_t height, int channels, int bits) {
    Picture picture{width, height, channels, bits, {}};
    const size_t count = picture.rowSamples();
    picture.row = [data, count](int32_t y, uint16_t* out) {
        std::copy_n(data + static_cast<size_t>(y) * count, count, out);
    };
    return picture;
}

Picture withChannels(const Picture& picture, int channels) {
    if (picture.channels == channels) return picture;
    if (channels != 3 || picture.channels == 3) throw Failure("cannot make a grey picture of a colour one");
    Picture result{picture.width, picture.height, 3, picture.bits, {}};
    auto buffer = std::make_shared<std::vector<uint16_t>>(picture.rowSamples());
    const size_t w = static_cast<size_t>(picture.width);
    const auto source = picture.row;
    const size_t from = static_cast<size_t>(picture.channels);
    result.row = [source, buffer, w, from](int32_t y, uint16_t* out) {
        source(y, buffer->data());
        const uint16_t* p = buffer->data();
        for (size_t x = 0; x < w; ++x, p += from, out += 3) {
            out[0] = p[0];
            out[1] = p[from == 1 ? 0 : 1];
            out[2] = p[from == 1 ? 0 : 2];
        }
    };
    return result;
}

std::vector<uint16_t> allSamples(const Picture& picture) {
    std::vector<uint16_t> samples(picture.rowSamples() * static_cast<size_t>(picture.height));
    for (int32_t y = 0; y < picture.height; ++y) picture.row(y, samples.data() + static_cast<size_t>(y) * picture.rowSamples());
    return samples;
}

Tone parseTone(const std::string* whiteBalance, const std::string* gamma) {
    Tone tone;
    if (whiteBalance != nullptr) {
        if (*whiteBalance == "gray-world" || *whiteBalance == "grey-world") {
            tone.grayWorld = true;
        } else {
            const std::string& text = *whiteBalance;
            const size_t a = text.find(':');
            const size_t b = a == std::string::npos ? a : text.find(':', a + 1);
            if (b == std::string::npos || text.find(':', b + 1) != std::string::npos)
                throw UsageError("--white-balance is gray-world or three factors R:G:B, not '" + text + "'");
            tone.gains = {parsePositiveNumber(text.substr(0, a), "a white-balance factor"),
                          parsePositiveNumber(text.substr(a + 1, b - a - 1), "a white-balance factor"),
                          parsePositiveNumber(text.substr(b + 1), "a white-balance factor")};
        }
    }
    if (gamma != nullptr) tone.gamma = *gamma == "srgb" ? 0.0 : parsePositiveNumber(*gamma, "--gamma");
    return tone;
}

namespace {

// The sRGB encoding of a linear value in 0..1.
double srgb(double v) { return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055; }

}  // namespace

Picture toned(const Picture& picture, const Tone& tone) {
    if (!tone.active()) return picture;
    std::array<double, 3> gains = tone.gains;
    const size_t colours = picture.channels >= 3 ? 3 : 1;
    const size_t channels = static_cast<size_t>(picture.channels);
    std::vector<uint16_t> row(picture.rowSamples());
    if (tone.grayWorld && colours == 3) {
        std::array<double, 3> sums{};
        for (int32_t y = 0; y < picture.height; ++y) {
            picture.row(y, row.data());
            for (size_t i = 0; i < row.size(); i += channels)
                for (size_t c = 0; c < 3; ++c) sums[c] += row[i + c];
        }
        for (size_t c = 0; c < 3; ++c) gains[c] = sums[c] > 0 ? sums[1] / sums[c] : 1.0;
    }
    // One table per colour: gain, clamp, then the curve.
    const uint32_t top = picture.maxValue();
    auto tables = std::make_shared<std::array<std::vector<uint16_t>, 3>>();
    for (size_t c = 0; c < colours; ++c) {
        auto& table = (*tables)[c];
        table.resize(top + 1u);
        for (uint32_t v = 0; v <= top; ++v) {
            double x = std::min(1.0, v * gains[c] / top);
            x = tone.gamma == 0.0 ? srgb(x) : std::pow(x, 1.0 / tone.gamma);
            table[v] = static_cast<uint16_t>(std::lround(x * top));
        }
    }
    Picture result = picture;
    const auto source = picture.row;
    const size_t w = static_cast<size_t>(picture.width);
    result.row = [source, tables, colours, channels, w, top](int32_t y, uint16_t* out) {
        source(y, out);
        for (size_t x = 0; x < w; ++x, out += channels)
            for (size_t c = 0; c < colours; ++c) out[c] = (*tables)[c][std::min<uint32_t>(out[c], top)];
    };
    return result;
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
