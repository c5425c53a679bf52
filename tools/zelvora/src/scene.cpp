#include "scene.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "samples.hpp"

namespace zelvora {
namespace {

using Colour = std::array<float, 3>;

// Six columns by four rows of patches: saturated primaries and secondaries,
// skin and sky tones, and a grey ramp in the last row.
constexpr std::array<Colour, 24> kPatches{{
    {0.45f, 0.32f, 0.26f}, {0.76f, 0.58f, 0.50f}, {0.36f, 0.48f, 0.61f},
    {0.34f, 0.42f, 0.25f}, {0.51f, 0.50f, 0.69f}, {0.39f, 0.74f, 0.67f},
    {0.85f, 0.48f, 0.18f}, {0.28f, 0.36f, 0.64f}, {0.76f, 0.33f, 0.38f},
    {0.36f, 0.24f, 0.42f}, {0.62f, 0.74f, 0.25f}, {0.89f, 0.63f, 0.17f},
    {0.17f, 0.24f, 0.58f}, {0.27f, 0.58f, 0.29f}, {0.69f, 0.20f, 0.22f},
    {0.93f, 0.78f, 0.12f}, {0.73f, 0.33f, 0.58f}, {0.00f, 0.52f, 0.64f},
    {0.96f, 0.96f, 0.95f}, {0.78f, 0.79f, 0.79f}, {0.63f, 0.63f, 0.63f},
    {0.48f, 0.48f, 0.48f}, {0.33f, 0.33f, 0.33f}, {0.20f, 0.20f, 0.21f},
}};

Colour patches(int32_t x, int32_t y, int32_t w, int32_t h) {
    const int32_t column = std::min<int32_t>(x * 6 / w, 5);
    const int32_t row = std::min<int32_t>(y * 4 / h, 3);
    // A thin dark frame around every patch gives sharp colour edges.
    const int32_t cellW = std::max(w / 6, 1);
    const int32_t cellH = std::max(h / 4, 1);
    const int32_t border = std::max(std::min(cellW, cellH) / 12, 1);
    const int32_t inX = x - column * cellW;
    const int32_t inY = y - row * cellH;
    if (inX < border || inY < border || inX >= cellW - border || inY >= cellH - border) return {0.05f, 0.05f, 0.05f};
    return kPatches[static_cast<size_t>(row * 6 + column)];
}

// Rings whose frequency rises with the radius, reaching 0.35 cycles per pixel
// at the corners: past what the red and blue samples of a Bayer mosaic can
// hold (a quarter), within what the green ones can.
Colour zonePlate(int32_t x, int32_t y, int32_t w, int32_t h) {
    const double dx = x - w / 2.0 + 0.5;
    const double dy = y - h / 2.0 + 0.5;
    const double corner = std::hypot(w / 2.0, h / 2.0);
    const double k = std::numbers::pi * 0.35 / corner;
    const auto v = static_cast<float>(0.5 + 0.5 * std::cos(k * (dx * dx + dy * dy)));
    return {v, v, v};
}

// Eight bands of stripes, two and three pixels wide in turn: vertical,
// horizontal and diagonal black and white, then vertical red and cyan.
Colour stripes(int32_t x, int32_t y, int32_t h) {
    const int32_t band = std::min<int32_t>(y * 8 / h, 7);
    const int32_t width = band % 2 == 0 ? 2 : 3;
    int32_t along = x;
    if (band / 2 == 1) along = y;
    if (band / 2 == 2) along = x + y;
    const bool on = (along / width) % 2 == 0;
    if (band >= 6) return on ? Colour{0.9f, 0.1f, 0.1f} : Colour{0.1f, 0.8f, 0.8f};
    return on ? Colour{0.95f, 0.95f, 0.95f} : Colour{0.05f, 0.05f, 0.05f};
}

// Hue across, brightness down; a grey ramp along the bottom fifth.
Colour gradients(int32_t x, int32_t y, int32_t w, int32_t h) {
    const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(w);
    const float v = (static_cast<float>(y) + 0.5f) / static_cast<float>(h);
    if (v > 0.8f) return {u, u, u};
    Colour c{};
    for (int i = 0; i < 3; ++i) {
        // A hue wheel: each channel a raised cosine, a third of a turn apart.
        const float phase = u - static_cast<float>(i) / 3.0f;
        c[static_cast<size_t>(i)] = 0.5f + 0.5f * std::cos(2.0f * std::numbers::pi_v<float> * phase);
    }
    const float brightness = 1.0f - v;
    const float saturation = 0.4f + 0.6f * brightness;
    for (float& channel : c) channel = brightness * (1.0f - saturation + saturation * channel);
    return c;
}

}  // namespace

Scene renderScene(int32_t width, int32_t height) {
    Scene scene{width, height, std::vector<float>(static_cast<size_t>(width) * static_cast<size_t>(height) * 3)};
    const int32_t halfW = width / 2;
    const int32_t halfH = height / 2;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const bool right = x >= halfW;
            const bool bottom = y >= halfH;
            const int32_t qx = right ? x - halfW : x;
            const int32_t qy = bottom ? y - halfH : y;
            const int32_t qw = right ? width - halfW : halfW;
            const int32_t qh = bottom ? height - halfH : halfH;
            Colour c{};
            if (!bottom && !right) c = patches(qx, qy, qw, qh);
            if (!bottom && right) c = zonePlate(qx, qy, qw, qh);
            if (bottom && !right) c = stripes(qx, qy, qh);
            if (bottom && right) c = gradients(qx, qy, qw, qh);
            float* out = &scene.rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3];
            for (int i = 0; i < 3; ++i) out[i] = std::clamp(c[static_cast<size_t>(i)], 0.0f, 1.0f);
        }
    }
    return scene;
}

uint16_t quantise(float value, int bits) {
    const float top = static_cast<float>((1u << bits) - 1u);
    return static_cast<uint16_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * top));
}

std::vector<uint8_t> sceneToRgb8(const Scene& scene) {
    std::vector<uint8_t> rgb(scene.rgb.size());
    std::transform(scene.rgb.begin(), scene.rgb.end(), rgb.begin(),
                   [](float v) { return static_cast<uint8_t>(quantise(v, 8)); });
    return rgb;
}

int cfaChannel(Order order, int32_t x, int32_t y) {
    // Row 0 of RG is R G, row 1 G B; the other orders shift that pattern by a
    // row, a column or both.
    int32_t dx = 0;
    int32_t dy = 0;
    switch (order) {
        case Order::RG: break;
        case Order::GR: dx = 1; break;
        case Order::GB: dy = 1; break;
        case Order::BG: dx = 1; dy = 1; break;
        case Order::Mono: return 1;
    }
    const bool oddX = ((x + dx) & 1) != 0;
    const bool oddY = ((y + dy) & 1) != 0;
    if (oddX == oddY) return oddX ? 2 : 0;
    return 1;
}

std::vector<uint8_t> mosaic(const Scene& scene, const InputFormat& format) {
    std::vector<uint16_t> samples(static_cast<size_t>(scene.width) * static_cast<size_t>(scene.height));
    for (int32_t y = 0; y < scene.height; ++y) {
        for (int32_t x = 0; x < scene.width; ++x) {
            float value = 0;
            if (format.order == Order::Mono) {
                // Grey by the same weights the library uses for Mono8 output.
                value = (77.0f * scene.at(x, y, 0) + 150.0f * scene.at(x, y, 1) + 29.0f * scene.at(x, y, 2)) / 256.0f;
            } else {
                value = scene.at(x, y, cfaChannel(format.order, x, y));
            }
            samples[static_cast<size_t>(y) * static_cast<size_t>(scene.width) + static_cast<size_t>(x)] =
                quantise(value, format.bits);
        }
    }
    return encodeSamples(samples, format, scene.width, scene.height);
}

}  // namespace zelvora
