// The demo's scene, its mosaics and the PSNR it is judged by.
#include <gtest/gtest.h>

#include <cmath>

#include "formats.hpp"
#include "psnr.hpp"
#include "samples.hpp"
#include "scene.hpp"

using namespace zelvora;

TEST(ToolScene, BayerOrdersByHand) {
    // Channels at (0,0), (1,0), (0,1), (1,1): 0 red, 1 green, 2 blue.
    struct Case {
        Order order;
        int expected[4];
    };
    for (const Case& c : {Case{Order::RG, {0, 1, 1, 2}}, Case{Order::BG, {2, 1, 1, 0}},
                          Case{Order::GB, {1, 2, 0, 1}}, Case{Order::GR, {1, 0, 2, 1}}}) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(cfaChannel(c.order, i % 2, i / 2), c.expected[i]) << orderName(c.order) << i;
            // The pattern repeats every two pixels both ways.
            EXPECT_EQ(cfaChannel(c.order, i % 2 + 6, i / 2 + 4), c.expected[i]) << orderName(c.order) << i;
        }
    }
}

TEST(ToolScene, QuantiseRoundsAndClamps) {
    EXPECT_EQ(quantise(0.5f, 8), 128);
    EXPECT_EQ(quantise(1.0f, 8), 255);
    EXPECT_EQ(quantise(1.0f, 12), 4095);
    EXPECT_EQ(quantise(-0.25f, 12), 0);
    EXPECT_EQ(quantise(2.0f, 8), 255);
}

// Each mosaic sample is the scene's value of the colour its site samples.
TEST(ToolScene, MosaicSamplesTheScene) {
    const Scene scene = renderScene(32, 24);
    ASSERT_EQ(scene.rgb.size(), 32u * 24u * 3u);
    for (float v : scene.rgb) ASSERT_TRUE(v >= 0.0f && v <= 1.0f);
    for (const InputFormat& f : inputFormats()) {
        if (f.order == Order::Mono || f.bits == 10 || f.bits == 16) continue;
        const std::vector<uint8_t> raw = mosaic(scene, f);
        const std::vector<uint16_t> samples = decodeSamples(raw.data(), f, 32, 24, rowBytes(f, 32));
        for (int32_t y = 0; y < 24; ++y) {
            for (int32_t x = 0; x < 32; ++x) {
                ASSERT_EQ(samples[static_cast<size_t>(y * 32 + x)],
                          quantise(scene.at(x, y, cfaChannel(f.order, x, y)), f.bits))
                    << f.name << " at " << x << "," << y;
            }
        }
    }
}

TEST(ToolScene, PsnrWorkedValues) {
    const std::vector<uint8_t> zeros{0, 0};
    EXPECT_TRUE(std::isinf(psnr(zeros, zeros)));
    // One sample off by the full range in two: MSE is half the peak squared.
    EXPECT_NEAR(psnr(std::vector<uint8_t>{0, 255}, zeros), 10.0 * std::log10(2.0), 1e-12);
    // Errors 1 and 2: MSE 2.5, 10 log10(65025 / 2.5) = 10 log10(26010).
    EXPECT_NEAR(psnr(std::vector<uint8_t>{11, 22}, std::vector<uint8_t>{10, 20}), 44.1514, 1e-4);
}
