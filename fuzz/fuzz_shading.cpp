// Lens shading: both estimators over reference frames that may hold NaN,
// infinities and denormals, then the correction of a frame, in place or into
// a separate buffer, with the table just computed or one of arbitrary words.
//
// Input: a ShadingDesc, then the bytes that fill the frames.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using zelfuzz::Buffer;
using zelfuzz::Reader;
using zelfuzz::ShadingDesc;

constexpr uint32_t kShadingCodes[] = {0x01080001, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B,
                                      0x01100003, 0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F,
                                      0x01100005, 0x01100010, 0x01100011, 0x01100012, 0x01100013};

uint32_t modeOf(uint32_t raw) { return raw < 0xF0000000u ? raw % 2 : raw; }

uint32_t depthOf(uint8_t pick) {
    static constexpr uint32_t kDepths[] = {8, 10, 12};
    return pick < 192 ? kDepths[pick % 3] : pick;
}

// Raw float bits (NaN, infinities, denormals and all), or sample-like levels.
void fillFloats(Reader& in, uint8_t how, float* out, size_t count, uint32_t bitDepth) {
    Buffer bytes(count * 4);
    in.fill(bytes.data(), bytes.size);
    const float top = std::ldexp(1.0f, static_cast<int>(std::min(bitDepth, 16u)));
    for (size_t i = 0; i < count; ++i) {
        uint32_t bits;
        std::memcpy(&bits, bytes.data() + 4 * i, 4);
        if (how % 2 == 0) {
            std::memcpy(&out[i], &bits, 4);
        } else {
            out[i] = static_cast<float>(bits % 65536) / 65536.0f * top;
        }
    }
}

int64_t entryCount(uint32_t mode, int64_t h, int64_t w) { return mode == 1 ? h * w : (h / 2) * (w / 2); }

// Table words as the caller allocates them: 12 + 4n bytes. Sizes are not
// checked for sign, so two negative ones make a positive count.
Buffer tableBuffer(uint32_t mode, int64_t h, int64_t w) {
    const int64_t n = mode <= 1 ? std::max<int64_t>(entryCount(mode, h, w), 0) : 0;
    return Buffer(static_cast<size_t>(12 + 4 * n));
}

void correct(const ShadingDesc& d, Reader& in, const ZelLSCTable* computed, int32_t h, int32_t w) {
    const uint32_t type = d.pixelType < 0x100 ? kShadingCodes[d.pixelType % 15] : d.pixelType;
    const int bits = getBits(type);
    const int sampleBytes = bits == 8 ? 1 : 2;
    const bool inPlace = d.correction & 1;
    // A table of arbitrary words, for this frame or (bits 2-3) one of another size.
    Buffer ownTable(0);
    const ZelLSCTable* table = computed;
    if (computed == nullptr || (d.correction & 2)) {
        const uint32_t mode = modeOf(d.mode);
        const int32_t th = h + ((d.correction >> 2) & 3 ? 2 : 0);
        ownTable = tableBuffer(mode, th, w);
        in.fill(ownTable.data(), ownTable.size);
        const int32_t header[3] = {static_cast<int32_t>(mode), th, w};
        std::memcpy(ownTable.data(), header, sizeof header);
        table = reinterpret_cast<const ZelLSCTable*>(ownTable.data());
    }
    const bool accepted = bits > 0 && table->mode <= 1 && table->height == h && table->width == w;
    const size_t frameBytes = accepted ? static_cast<size_t>(std::max<int64_t>(int64_t{h} * w, 0) * sampleBytes) : 0;
    Buffer source(frameBytes);
    in.fill(source.data(), source.size);
    Buffer separate(inPlace ? 0 : frameBytes);
    ZelImage src{h, w, type, source.data(), w * sampleBytes};
    ZelImage dst{0, 0, 0, inPlace ? source.data() : separate.data(), 0};
    if (d.nulls == 250) dst.data = nullptr;
    const int32_t status = zelLSCorrection(d.nulls == 251 ? nullptr : &src, &dst, d.nulls == 252 ? nullptr : table);
    if (status == ZEL_OK && d.nulls >= 250 && d.nulls <= 252) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    ShadingDesc d;
    d.visit(in);
    const uint32_t bitDepth = depthOf(d.bitDepth);
    // Mostly 32 to 95, sometimes below the minimum or negative.
    const int32_t h = d.height >= 0 ? 32 + d.height % 64 : d.height + 100;
    const int32_t w = d.width >= 0 ? 32 + d.width % 64 : d.width + 100;
    const size_t pixels = h > 0 && w > 0 ? static_cast<size_t>(h) * static_cast<size_t>(w) : 0;

    switch (d.which % 3) {
        case 0: {
            const uint32_t mode = modeOf(d.mode);
            const bool accepted = mode <= 1 && h >= 32 && w >= 32 && h % 2 == 0 && w % 2 == 0;
            std::unique_ptr<float[]> grey(new float[pixels]);
            std::unique_ptr<float[]> dark(new float[pixels]);
            fillFloats(in, d.samples, grey.get(), pixels, bitDepth);
            fillFloats(in, d.samples >> 1, dark.get(), pixels, bitDepth);
            Buffer table = accepted ? tableBuffer(mode, h, w) : Buffer(0);
            const ZelLSCInput input{mode, bitDepth, w, h, d.nulls == 250 ? nullptr : grey.get(),
                                    d.nulls == 251 ? nullptr : dark.get()};
            auto* out = reinterpret_cast<ZelLSCTable*>(table.data());
            const int32_t status = zelGetLSCParameter(&input, out);
            if ((status == ZEL_OK) != (accepted && d.nulls != 250 && d.nulls != 251)) std::abort();
            if (status == ZEL_OK) correct(d, in, out, h, w);
            break;
        }
        case 1: {
            static constexpr uint32_t kBlockWidths[] = {16, 32, 16, 32, 15, 0};
            const uint32_t kind = 2 + d.region % 4;         // 5 is out of range
            const uint32_t blockWidth = kBlockWidths[(d.region >> 2) % 6];
            const uint32_t blockHeight = (d.region & 0x80) ? 8 : 16;
            const uint32_t mode = modeOf(d.mode);
            std::unique_ptr<float[]> grey(new float[pixels]);
            fillFloats(in, d.samples, grey.get(), pixels, bitDepth);
            const bool sized = mode <= 1 && h >= 32 && w >= 32 &&
                               (bitDepth == 8 || bitDepth == 10 || bitDepth == 12) &&
                               (blockWidth == 16 || blockWidth == 32) && blockHeight == 16;
            const size_t entries = sized ? static_cast<size_t>((h / 16) * (w / static_cast<int32_t>(blockWidth))) : 0;
            Buffer bytes(3 * entries);
            const ZelBasicLSCInput input{mode, bitDepth, kind, w, h, blockWidth, blockHeight,
                                         d.nulls == 250 ? nullptr : grey.get(), d.darkLevel};
            const int32_t status = zelGetBasicLSCParameter(&input, bytes.data());
            if (status == ZEL_OK && !(sized && mode == 0 && kind <= 4 && d.nulls != 250)) std::abort();
            break;
        }
        default:
            correct(d, in, nullptr, h, w);
            break;
    }
    return 0;
}
