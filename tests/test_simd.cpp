// The checker of the vector spans: every kernel that has one runs on every
// instruction set this processor supports and must leave the same bytes as
// the scalar engine, on random and extreme frames of every width from the
// minimum to three of the widest vectors plus seven, odd and even heights,
// misaligned buffers. Inputs are exact-size heap allocations, so the
// sanitizer build catches a vector load past a row or frame; outputs carry
// guard bytes, so a store past them shows as a difference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "simd/dispatch.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using Bytes = std::vector<uint8_t>;
using zel::simd::Kernels;

constexpr size_t kGuard = 67;
constexpr int kMaxWidth = 3 * 64 + 7;  // three vectors of 64 pixels (AVX-512, 8-bit pairs) plus seven

struct Kernel {
    const char* name;
    int minWidth, minHeight;
    std::function<size_t(int h, int w)> inBytes;
    std::function<size_t(int h, int w)> outBytes;
    std::function<void(const uint8_t* src, int h, int w, uint8_t* dst)> run;
    size_t alignment = 1;  // 2 for kernels that read 16-bit samples directly
};

void PrintTo(const Kernel& k, std::ostream* os) { *os << k.name; }

size_t px(int h, int w) { return static_cast<size_t>(h) * w; }
size_t px2(int h, int w) { return 2 * px(h, w); }
size_t px3(int h, int w) { return 3 * px(h, w); }
size_t px4(int h, int w) { return 4 * px(h, w); }
size_t px6(int h, int w) { return 6 * px(h, w); }
// Rows of 2w + 3 bytes (an odd stride), the last row only as long as it is read.
size_t strided16(int h, int w) { return static_cast<size_t>(h - 1) * (2 * w + 3) + 2 * w; }
// Packed: 3 bytes per pair, the flat form read in whole triples.
size_t packedFlat(int h, int w) { return 3 * ((px(h, w) + 1) / 2); }
size_t packedRows(int h, int w) { return static_cast<size_t>(h - 1) * (3 * w / 2 + 5) + 3 * ((w + 1) / 2); }

const uint16_t* u16(const uint8_t* p) { return reinterpret_cast<const uint16_t*>(p); }
uint16_t* u16(uint8_t* p) { return reinterpret_cast<uint16_t*>(p); }

const uint32_t kStandardWeights[3] = {77, 150, 29};
const uint32_t kWideWeights[3] = {300, 70000, 5};  // sums beyond 16 bits: the byte kept is the same

std::vector<Kernel> kernels() {
    using F = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t);
    std::vector<Kernel> k;
    const std::tuple<const char*, F, size_t (*)(int, int), int> swapped[] = {{"rg8ToBgr8_nearest", rg8ToBgr8_nearest, px3, 2}, {"gb8ToBgr8_nearest", gb8ToBgr8_nearest, px3, 2},
                   {"rg8ToBgra8_nearest", rg8ToBgra8_nearest, px4, 2}, {"gb8ToBgra8_nearest", gb8ToBgra8_nearest, px4, 2},
                   {"rg8ToMono8_nearest", rg8ToMono8_nearest, px, 2},  {"gb8ToMono8_nearest", gb8ToMono8_nearest, px, 2},
                   {"rg8ToBgr8_edge", rg8ToBgr8_edge, px3, 6},         {"gb8ToBgr8_edge", gb8ToBgr8_edge, px3, 6},
                   {"rg8ToBgra8_edge", rg8ToBgra8_edge, px4, 6},       {"gb8ToBgra8_edge", gb8ToBgra8_edge, px4, 6}};
    for (const auto& [name, f, out, min] : swapped)
        for (int32_t swap : {0, 1})
            k.push_back({name, min, min, px, out, [f, swap](const uint8_t* src, int h, int w, uint8_t* d) {
                             f(src, h, w, d, swap);
                         }});
    // The green row handed to the planar and mono edge kernels follows their
    // output in the buffer, so that what they leave in it is compared too.
    using EdgePlanes = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*, uint8_t*);
    for (auto [name, f] : {std::pair<const char*, EdgePlanes>{"rg8ToBgr8P_edge", rg8ToBgr8P_edge},
                           {"gb8ToBgr8P_edge", gb8ToBgr8P_edge}})
        k.push_back({name, 6, 6, px, [](int h, int w) { return px3(h, w) + w; },
                     [f](const uint8_t* s, int h, int w, uint8_t* d) {
                         const size_t n = px(h, w);
                         f(s, h, w, d, d + n, d + 2 * n, d + 3 * n);
                     }});
    using EdgeMono = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, int32_t, uint8_t*);
    for (auto [name, f] : {std::pair<const char*, EdgeMono>{"rg8ToMono8_edge", rg8ToMono8_edge},
                           {"gb8ToMono8_edge", gb8ToMono8_edge}})
        for (int32_t swap : {0, 1})
            k.push_back({name, 6, 6, px, [](int h, int w) { return px(h, w) + w; },
                         [f, swap](const uint8_t* s, int h, int w, uint8_t* d) { f(s, h, w, d, swap, d + px(h, w)); }});

    using B = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*);
    const std::tuple<const char*, B, size_t (*)(int, int)> bilinear[] = {{"rg8ToBgr8_bilinear", rg8ToBgr8_bilinear, px3},   {"bg8ToBgr8_bilinear", bg8ToBgr8_bilinear, px3},
                    {"gb8ToBgr8_bilinear", gb8ToBgr8_bilinear, px3},   {"gr8ToBgr8_bilinear", gr8ToBgr8_bilinear, px3},
                    {"rg8ToBgra8_bilinear", rg8ToBgra8_bilinear, px4}, {"bg8ToBgra8_bilinear", bg8ToBgra8_bilinear, px4},
                    {"gb8ToBgra8_bilinear", gb8ToBgra8_bilinear, px4}, {"gr8ToBgra8_bilinear", gr8ToBgra8_bilinear, px4}};
    for (const auto& [name, f, out] : bilinear)
        k.push_back({name, 4, 4, px, out, [f](const uint8_t* s, int h, int w, uint8_t* d) { f(s, h, w, d); }});
    using Planes = int32_t (*)(const uint8_t*, int32_t, int32_t, uint8_t*, uint8_t*, uint8_t*);
    const std::tuple<const char*, Planes, int> planes[] = {{"rg8ToBgr8P_nearest", rg8ToBgr8P_nearest, 2},
                                                           {"gb8ToBgr8P_nearest", gb8ToBgr8P_nearest, 2},
                                                           {"rg8ToBgr8P_bilinear", rg8ToBgr8P_bilinear, 4},
                                                           {"gr8ToBgr8P_bilinear", gr8ToBgr8P_bilinear, 4}};
    for (const auto& [name, f, min] : planes)
        k.push_back({name, min, min, px, px3, [f](const uint8_t* s, int h, int w, uint8_t* d) {
                         f(s, h, w, d, d + px(h, w), d + 2 * px(h, w));
                     }});
    for (const uint32_t* weights : {kStandardWeights, kWideWeights}) {
        k.push_back({"rg8ToMono8_bilinear", 4, 4, px, px,
                     [weights](const uint8_t* s, int h, int w, uint8_t* d) { rg8ToMono8_bilinear(s, h, w, weights, d); }});
        k.push_back({"gr8ToMono8_bilinear", 4, 4, px, px,
                     [weights](const uint8_t* s, int h, int w, uint8_t* d) { gr8ToMono8_bilinear(s, h, w, weights, d); }});
    }

    k.push_back({"demosaicingBilinearRGGBU16", 4, 4, px2, px6, [](const uint8_t* s, int h, int w, uint8_t* d) {
                     demosaicingBilinearRGGBU16(u16(s), h, w, u16(d));
                 }, 2});
    k.push_back({"bilinearBodyRGGBU16 swapped", 4, 4, px2, px6, [](const uint8_t* s, int h, int w, uint8_t* d) {
                     bilinearBodyRGGBU16(u16(s), u16(d), h, w, 1);
                 }, 2});
    k.push_back({"demosaicingBilinearRGGBU16P", 4, 4, px2, px6, [](const uint8_t* s, int h, int w, uint8_t* d) {
                     const size_t n = px(h, w);
                     demosaicingBilinearRGGBU16P(u16(s), h, w, u16(d), u16(d) + n, u16(d) + 2 * n);
                 }, 2});
    using Edge16 = uint32_t (*)(const uint16_t*, int32_t, int32_t, uint16_t*);
    for (auto [name, f] : {std::pair<const char*, Edge16>{"demosaicingEdgeRGGBU16", demosaicingEdgeRGGBU16},
                           {"demosaicingEdgeGRBGU16", demosaicingEdgeGRBGU16},
                           {"demosaicingEdgeGBRGU16", demosaicingEdgeGBRGU16},
                           {"demosaicingEdgeBGGRU16", demosaicingEdgeBGGRU16}})
        k.push_back({name, 8, 8, px2, px6,
                     [f](const uint8_t* s, int h, int w, uint8_t* d) { f(u16(s), h, w, u16(d)); }, 2});
    // The interior piece alone, which writes ahead the values of its steps
    // that later pieces would overwrite; the rows above it are the guard fill.
    for (auto [c0, max] : {std::pair{2, 4095}, std::pair{3, 65535}})
        k.push_back({"edgeSecRGGBU16", 8, 8, px2, px6,
                     [c0, max](const uint8_t* s, int h, int w, uint8_t* d) {
                         edgeSecRGGBU16(u16(s) + 2 * w, u16(d) + 6 * w, h - 4, w, c0, max);
                     },
                     2});

    for (int shift : {2, 4, 8})
        k.push_back({"u16Tou8_old", 1, 1, px2, px,
                     [shift](const uint8_t* s, int h, int w, uint8_t* d) { u16Tou8_old(s, h, w, shift, d); }});
    k.push_back({"u16Tou8 odd stride", 1, 1, strided16, px,
                 [](const uint8_t* s, int h, int w, uint8_t* d) { u16Tou8(s, h, w, 2 * w + 3, 6, d); }});
    // The packed converters write one byte past an odd pixel count.
    k.push_back({"unpacked_old", 1, 1, packedFlat, [](int h, int w) { return px(h, w) + 1; },
                 [](const uint8_t* s, int h, int w, uint8_t* d) { unpacked_old(s, h, w, d); }});
    k.push_back({"unpacked", 1, 1, packedRows, [](int h, int w) { return px(h, w) + 1; },
                 [](const uint8_t* s, int h, int w, uint8_t* d) { unpacked(s, h, w, 3 * w / 2 + 5, d); }});

    const std::pair<uint32_t, size_t (*)(int, int)> layouts[] = {{ZEL_PIX_BGR8, px3},         {ZEL_PIX_RGB8, px3},         {ZEL_PIX_BGRA8, px4}, {ZEL_PIX_RGBA8, px4},
                   {ZEL_PIX_RGB8_PLANAR, px3},  {ZEL_PIX_BGR8_PLANAR, px3},  {ZEL_PIX_MONO8, px}};
    for (const auto& [format, out] : layouts)
        k.push_back({"mono8Convert", 1, 1, px, out,
                     [f = format](const uint8_t* s, int h, int w, uint8_t* d) { mono8Convert(s, d, h, w, f); }});
    k.push_back({"bgrToBgra", 1, 1, px3, px4, [](const uint8_t* s, int h, int w, uint8_t* d) { bgrToBgra(s, h, w, d); }});

    // Shading correction: the input holds the samples, then the entries
    // (random gains and offsets, so every clamp and the below-offset rule
    // are reached). Deep samples are random 16-bit values.
    for (int bits : {8, 10, 12}) {
        for (uint32_t mode : {0u, 1u}) {
            for (bool inPlace : {false, true}) {
                const size_t sample = bits > 8 ? 2 : 1;
                const auto entries = [mode](int h, int w) { return mode == 1 ? px(h, w) : px(h / 2, w / 2); };
                k.push_back({inPlace ? "LSC in place" : "LSC", 1, 1,
                             [=](int h, int w) { return sample * px(h, w) + 4 * entries(h, w); },
                             [=](int h, int w) { return sample * px(h, w); },
                             [=](const uint8_t* s, int h, int w, uint8_t* d) {
                                 std::vector<uint32_t> table(entries(h, w) + 1);  // never empty
                                 std::memcpy(table.data(), s + sample * px(h, w), 4 * entries(h, w));
                                 if (inPlace) std::memcpy(d, s, sample * px(h, w));
                                 const uint8_t* from = inPlace ? d : s;
                                 if (bits == 8) LSCcorrect8_2x2(from, d, mode, table.data(), h, w);
                                 else LSCcorrect16_2x2(u16(from), u16(d), mode, table.data(), h, w, bits);
                             }});
            }
        }
    }
    return k;
}

// Frame contents: random bytes, every byte 0 or 255 (the extremes, and
// 16-bit samples with every bit above any depth set), or random 12-bit
// samples (mode 3), a few of them replaced by 16-bit ones (mode 4): the
// 16-bit edge spans take narrower lanes where the samples allow.
Bytes content(size_t n, int mode, uint32_t seed) {
    if (mode == 1 || mode == 2) return Bytes(n, mode == 1 ? 0x00 : 0xFF);
    Bytes b = zeltest::randomBytes(n, seed);
    if (mode >= 3)
        for (size_t i = 1; i < n; i += 2) b[i] = mode == 4 && i % 194 == 101 ? b[i] | 0x80 : b[i] & 0x0F;
    return b;
}

// One run of a kernel on an exact-size, possibly misaligned copy of `in`,
// into a buffer with guard bytes.
Bytes runOnce(const Kernel& k, const Bytes& in, int h, int w, size_t misalign) {
    Bytes source(misalign + in.size());
    std::memcpy(source.data() + misalign, in.data(), in.size());
    const size_t outSize = k.outBytes(h, w);
    Bytes out(misalign + outSize + kGuard, 0xA5);
    k.run(source.data() + misalign, h, w, out.data() + misalign);
    return out;
}

class SimdChecker : public testing::TestWithParam<Kernel> {};

TEST_P(SimdChecker, SameBytesAsScalarOnEveryTarget) {
    const Kernel& k = GetParam();
    const auto targets = zel::simd::supportedKernels();
    const Kernels& scalar = *targets.back();
    const Kernels& chosen = zel::simd::kernels();
    for (size_t t = 0; t + 1 < targets.size(); ++t) {
        const Kernels& target = *targets[t];
        for (int w = k.minWidth; w <= kMaxWidth; ++w) {
            for (int h : {k.minHeight, k.minHeight + 1, std::max(7, k.minHeight + 3)}) {
                const int mode = (w + h) % 7 < 3 ? 0 : (w + h) % 7 - 2;
                const Bytes in = content(k.inBytes(h, w), mode, static_cast<uint32_t>(w * 131 + h));
                const size_t misalign = static_cast<size_t>(w + h) % 4 * k.alignment;
                zel::simd::useKernels(scalar);
                const Bytes expected = runOnce(k, in, h, w, misalign);
                zel::simd::useKernels(target);
                const Bytes got = runOnce(k, in, h, w, misalign);
                ASSERT_EQ(got, expected) << k.name << " on " << target.target << ", " << w << "x" << h;
            }
        }
    }
    zel::simd::useKernels(chosen);
}

INSTANTIATE_TEST_SUITE_P(AllKernels, SimdChecker, testing::ValuesIn(kernels()),
                         [](const testing::TestParamInfo<Kernel>& info) {
                             std::string name = std::to_string(info.index) + "_" + info.param.name;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

// The table in use is the best one this processor supports, or the one the
// environment names, and the scalar table closes the list.
TEST(SimdChecker, ChoosesTheBestSupportedTarget) {
    const auto targets = zel::simd::supportedKernels();
    ASSERT_FALSE(targets.empty());
    EXPECT_STREQ(targets.back()->target, "scalar");
    const char* named = std::getenv("ZELVORA_INSTRUCTION_SET");
    if (named == nullptr) {
        EXPECT_STREQ(zelInstructionSet(), targets.front()->target);
    }
    std::printf("vector target in use: %s\n", zelInstructionSet());
}

}  // namespace
