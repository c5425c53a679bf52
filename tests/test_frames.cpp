// zelDemosaicing and zelDemosaicingRows end to end: every input family (8-bit
// plain and padded, deep containers, both packed layouts, mono and the four
// Bayer orders), every method and every output layout against the per-pixel
// references in true colours; the same frames again in random row bands that
// must write their rows and nothing else, and never touch the input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "references.hpp"
#include "support.hpp"
#include "zelvora.h"

namespace {

using Bytes = std::vector<uint8_t>;
using ref::Rgb;
using zeltest::kCanary;

// order: 'M' mono, or R, B, G, g for the RG, BG, GB and GR mosaics. depth:
// significant bits of a 16-bit container, 8, or 0 for the packed layout.
// padding: bytes added to the plain row (0: the plain, flat layout).
struct Family {
    const char* name;
    uint32_t code;
    char order;
    int depth;
    int padding;
};
void PrintTo(const Family& f, std::ostream* os) { *os << f.name; }

const Family kFamilies[] = {
    {"Mono8", ZEL_PIX_MONO8, 'M', 8, 0},
    {"Mono16_padded", ZEL_PIX_MONO16, 'M', 16, 3},
    {"Mono10Packed", ZEL_PIX_MONO10_PACKED, 'M', 0, 0},
    {"RG8", ZEL_PIX_BAYER_RG8, 'R', 8, 0},
    {"GB8_padded", ZEL_PIX_BAYER_GB8, 'G', 8, 3},
    {"BG8_padded", ZEL_PIX_BAYER_BG8, 'B', 8, 1},
    {"GR8", ZEL_PIX_BAYER_GR8, 'g', 8, 0},
    {"BG12", ZEL_PIX_BAYER_BG12, 'B', 12, 0},
    {"GR10_padded", ZEL_PIX_BAYER_GR10, 'g', 10, 3},
    {"Mono14", ZEL_PIX_MONO14, 'M', 14, 0},
    {"RG16", ZEL_PIX_BAYER_RG16, 'R', 16, 0},
    {"RG12Packed", ZEL_PIX_BAYER_RG12_PACKED, 'R', 0, 0},
    {"GB10Packed_padded", ZEL_PIX_BAYER_GB10_PACKED, 'G', 0, 2},
    {"GR12Packed", ZEL_PIX_BAYER_GR12_PACKED, 'g', 0, 0},
    {"BG10Packed_padded", ZEL_PIX_BAYER_BG10_PACKED, 'B', 0, 1},
};

const uint32_t kLayouts[] = {ZEL_PIX_BGR8,        ZEL_PIX_RGB8,        ZEL_PIX_BGRA8, ZEL_PIX_RGBA8,
                             ZEL_PIX_RGB8_PLANAR, ZEL_PIX_BGR8_PLANAR, ZEL_PIX_MONO8};

int bytesPerPixel(uint32_t layout) {
    return layout == ZEL_PIX_MONO8 ? 1 : (layout == ZEL_PIX_BGRA8 || layout == ZEL_PIX_RGBA8) ? 4 : 3;
}
bool planar(uint32_t layout) { return layout == ZEL_PIX_RGB8_PLANAR || layout == ZEL_PIX_BGR8_PLANAR; }

// The caller's buffer of family f whose 8-bit reduction is exactly v8: deep
// samples carry random bits below their top eight, packed triples a random
// middle byte, padding random bytes.
struct Raw {
    Bytes bytes;
    int32_t stride;
};
Raw makeRaw(const Family& f, const Bytes& v8, int h, int w) {
    const Bytes noise = zeltest::randomBytes(v8.size() * 2 + 64, f.code);
    size_t k = 0;
    Raw raw;
    if (f.depth == 8) {
        raw.stride = w + f.padding;
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride, 7);
        for (int r = 0; r < h; ++r) std::memcpy(&raw.bytes[r * raw.stride], &v8[r * w], w);
    } else if (f.depth > 8) {
        const int shift = f.depth - 8;
        raw.stride = 2 * w + f.padding;
        const int rowStep = raw.stride & ~1;  // rows of halfwords start on even offsets
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride + 2, 8);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) {
                const auto sample = static_cast<uint16_t>((v8[r * w + c] << shift) | (noise[k++] & ((1 << shift) - 1)));
                std::memcpy(&raw.bytes[r * rowStep + 2 * c], &sample, 2);
            }
    } else {
        const int pairBytes = 3 * ((w + 1) / 2);
        raw.stride = f.padding == 0 ? w + w / 2 : pairBytes + f.padding;
        raw.bytes = zeltest::randomBytes(static_cast<size_t>(h) * raw.stride + pairBytes + 3, 9);
        auto put = [&](size_t at, size_t first, bool second) {  // a triple of pixel `first` and the next
            raw.bytes[at] = v8[first];
            raw.bytes[at + 1] = noise[k++];
            if (second) raw.bytes[at + 2] = v8[first + 1];
        };
        if (f.padding == 0) {  // one run of pairs over the whole frame, across rows
            for (size_t p = 0; p < v8.size(); p += 2) put(3 * (p / 2), p, p + 1 < v8.size());
        } else {
            for (int r = 0; r < h; ++r)
                for (int c = 0; c < w; c += 2) put(r * raw.stride + 3 * (c / 2), r * w + c, c + 1 < w);
        }
    }
    return raw;
}

// Where red lies in the mosaic of a Bayer family.
ref::Geometry geometryOf(const Family& f) {
    switch (f.order) {
        case 'R': return ref::kRGGB;
        case 'B': return ref::kBGGR;
        case 'G': return ref::kGBRG;
        default: return ref::kGRBG;
    }
}

// The expected pixels, from the reference of the method.
std::vector<Rgb> expectedPixels(const Family& f, int method, const Bytes& v8, int h, int w) {
    std::vector<Rgb> px;
    if (f.order == 'M') {
        for (uint8_t v : v8) px.push_back({v, v, v});
        return px;
    }
    if (method == ZEL_DEMOSAIC_NEAREST) return ref::nearest(v8, h, w, geometryOf(f));
    if (method == ZEL_DEMOSAIC_BILINEAR) return ref::bilinear(v8, h, w, geometryOf(f));
    return ref::Edge(std::vector<int>(v8.begin(), v8.end()), h, w, geometryOf(f), 255).frame();
}

// Byte 3 of four-byte output: 0, or for edge-directed output of Bayer input
// the caller's byte with the carried greens (Edge::fourthBytes).
Bytes expectedAlpha(const Family& f, int method, const Bytes& v8, int h, int w) {
    if (f.order == 'M' || method != ZEL_DEMOSAIC_EDGE) return Bytes(v8.size(), 0);
    return ref::Edge(std::vector<int>(v8.begin(), v8.end()), h, w, geometryOf(f), 255).fourthBytes(kCanary);
}

// The bytes of `layout`. Mono output weighs the true red 77, except that
// bilinear GR and GB frames of odd width exchange the weights of green and
// of row 1's colour on the last two pixels of rows 0 and 1 (deliberately).
Bytes arrange(const Family& f, int method, const std::vector<Rgb>& px, const Bytes& alpha, uint32_t layout, int w) {
    Bytes out, planes[3];
    const bool quirk = method == ZEL_DEMOSAIC_BILINEAR && (f.order == 'G' || f.order == 'g') && (w & 1);
    for (size_t i = 0; i < px.size(); ++i) {
        const auto r = uint8_t(px[i].red), g = uint8_t(px[i].green), b = uint8_t(px[i].blue);
        int wr = 77, wg = 150, wb = 29;
        if (quirk && i % w >= size_t(w - 2) && i / w <= 1) std::swap(wg, f.order == 'G' ? wr : wb);
        switch (layout) {
            case ZEL_PIX_BGR8: out.insert(out.end(), {b, g, r}); break;
            case ZEL_PIX_RGB8: out.insert(out.end(), {r, g, b}); break;
            case ZEL_PIX_BGRA8: out.insert(out.end(), {b, g, r, alpha[i]}); break;
            case ZEL_PIX_RGBA8: out.insert(out.end(), {r, g, b, alpha[i]}); break;
            case ZEL_PIX_MONO8: out.push_back(uint8_t((wr * r + wg * g + wb * b + 128) >> 8)); break;
            default:
                planes[0].push_back(layout == ZEL_PIX_RGB8_PLANAR ? r : b);
                planes[1].push_back(g);
                planes[2].push_back(layout == ZEL_PIX_RGB8_PLANAR ? b : r);
        }
    }
    for (const Bytes& p : planes) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// Random bands covering every row, some of one row, in random order.
std::vector<std::pair<int, int>> randomBands(int height, std::mt19937& rng) {
    std::vector<std::pair<int, int>> bands;
    for (int first = 0; first < height;) {
        const int count = std::min(height - first, rng() % 3 == 0 ? 1 : 1 + static_cast<int>(rng() % 5));
        bands.emplace_back(first, count);
        first += count;
    }
    std::shuffle(bands.begin(), bands.end(), rng);
    return bands;
}

// One frame, method and layout: the whole-frame call, then every band.
void checkFrame(const Family& f, int h, int w, int method, uint32_t layout, std::mt19937& rng) {
    SCOPED_TRACE(testing::Message() << h << "x" << w << " method " << method << " layout 0x" << std::hex << layout);
    const Bytes v8 = zeltest::randomBytes(static_cast<size_t>(h) * w, rng());
    const Raw raw = makeRaw(f, v8, h, w);
    const size_t bytes = v8.size() * bytesPerPixel(layout);
    // Edge-directed Bayer frames below 6 x 6 are refused, writing nothing.
    const bool refused = method == ZEL_DEMOSAIC_EDGE && f.order != 'M' && (h < 6 || w < 6);
    const Bytes want = refused ? Bytes(bytes, kCanary)
                               : arrange(f, method, expectedPixels(f, method, v8, h, w),
                                         expectedAlpha(f, method, v8, h, w), layout, w);
    zeltest::Handle handle(layout);

    Bytes input = raw.bytes;  // compacted in place when padded 8-bit
    zeltest::Guarded out(bytes);
    ZelImage in{h, w, f.code, input.data(), raw.stride};
    ZelImage record{0, 0, 0, out.data(), 77};
    int32_t status = 0;
    const std::string printed = zeltest::printedBy([&] { status = zelDemosaicing(handle.h, &in, method, &record); });
    ASSERT_EQ(status, refused ? errBadImageSize : ZEL_OK) << printed;
    ASSERT_TRUE(out.holds(want));
    const auto filled = std::make_tuple(record.height, record.width, record.pixelFormat, record.stride);
    ASSERT_EQ(filled, refused ? std::make_tuple(0, 0, 0u, 77) : std::make_tuple(h, w, layout, 77));

    const size_t n = v8.size();
    Bytes bandInput = raw.bytes;
    for (const auto& [first, count] : randomBands(h, rng)) {
        zeltest::Guarded band(bytes);
        ZelImage bandIn{h, w, f.code, bandInput.data(), raw.stride};
        ZelImage bandRecord{0, 0, 0, band.data(), 77};
        int32_t bandStatus = 0;
        const std::string bandPrinted = zeltest::printedBy(
            [&] { bandStatus = zelDemosaicingRows(handle.h, &bandIn, method, &bandRecord, first, count); });
        ASSERT_EQ(bandStatus, status) << "band " << first << "+" << count;
        ASSERT_EQ(bandPrinted, printed);
        Bytes bandWant(bytes, kCanary);
        for (size_t i = 0; i < bytes && !refused; ++i) {
            const size_t row = planar(layout) ? (i % n) / w : i / (static_cast<size_t>(w) * bytesPerPixel(layout));
            if (int(row) >= first && int(row) < first + count) bandWant[i] = want[i];
        }
        ASSERT_TRUE(band.holds(bandWant)) << "band " << first << "+" << count;
    }
    ASSERT_EQ(bandInput, raw.bytes) << "bands modified the input";
}

class Frames : public testing::TestWithParam<Family> {};

// Small frames reach every border rule; 70 and 133 columns the vector spans
// of every instruction set, with a partly overlapped last vector.
TEST_P(Frames, EveryMethodAndLayoutMatchesTheReferences) {
    std::mt19937 rng(GetParam().code);
    std::vector<std::pair<int, int>> sizes{{13, 70}, {10, 133}};
    for (int h = 4; h <= 10; ++h)
        for (int w = 4; w <= 10; ++w) sizes.emplace_back(h, w);
    for (const auto& [h, w] : sizes)
        for (int method = 0; method < 3; ++method)
            for (uint32_t layout : kLayouts) checkFrame(GetParam(), h, w, method, layout, rng);
}

INSTANTIATE_TEST_SUITE_P(Families, Frames, testing::ValuesIn(kFamilies),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
