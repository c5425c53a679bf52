// Lens shading: both estimators over reference frames that may hold NaN,
// infinities and denormals, then the correction of a frame, in place or into
// a separate buffer, with the table just computed or one of arbitrary words.
//
// Input: a ShadingDesc, then the bytes that fill the frames.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using namespace zelfuzz;

constexpr uint32_t kShadingCodes[] = {0x01080001, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B,
                                      0x01100003, 0x0110000C, 0x0110000D, 0x0110000E, 0x0110000F,
                                      0x01100005, 0x01100010, 0x01100011, 0x01100012, 0x01100013};

// Raw float bits (NaN, infinities, denormals and all), or sample-like levels.
Buffer floats(Reader& in, bool levels, size_t count, uint32_t bitDepth) {
    Buffer b(4 * count, in);
    const float top = std::ldexp(1.0f, static_cast<int>(std::min(bitDepth, 16u)));
    for (size_t i = 0; levels && i < count; ++i) {
        uint32_t bits;
        std::memcpy(&bits, b.data() + 4 * i, 4);
        b.as<float>()[i] = static_cast<float>(bits % 65536) / 65536.0f * top;
    }
    return b;
}

// Table bytes as the caller allocates them: 12 + 4 per entry. Sizes are not
// checked for sign, so two negative ones make a positive count.
size_t tableBytes(uint32_t mode, int64_t h, int64_t w) {
    const int64_t entries = mode == 1 ? h * w : mode == 0 ? (h / 2) * (w / 2) : 0;
    return static_cast<size_t>(12 + 4 * std::max<int64_t>(entries, 0));
}

void correct(const ShadingDesc& d, Reader& in, const ZelLSCTable* computed, uint32_t mode, int32_t h, int32_t w) {
    const uint32_t type = d.pixelType < 0x100 ? kShadingCodes[d.pixelType % std::size(kShadingCodes)] : d.pixelType;
    const int bits = getBits(type);
    const int sampleBytes = bits == 8 ? 1 : 2;
    // A table of arbitrary words, for this frame or (bits 2-3) one of another size.
    const bool own = computed == nullptr || (d.correction & 2);
    const int32_t header[3] = {static_cast<int32_t>(mode), h + ((d.correction >> 2) & 3 ? 2 : 0), w};
    const Buffer ownTable(own ? tableBytes(mode, header[1], w) : 0, in);
    if (own) std::memcpy(ownTable.data(), header, sizeof header);
    const ZelLSCTable* table = own ? ownTable.as<ZelLSCTable>() : computed;
    const bool accepted = bits > 0 && table->mode <= 1 && table->height == h && table->width == w;
    const size_t frameBytes = accepted ? static_cast<size_t>(std::max<int64_t>(int64_t{h} * w, 0) * sampleBytes) : 0;
    const Buffer source(frameBytes, in), separate(d.correction & 1 ? 0 : frameBytes);
    const ZelImage src{h, w, type, source.data(), w * sampleBytes};
    const ZelImage dst{0, 0, 0, d.nulls == 250 ? nullptr : d.correction & 1 ? source.data() : separate.data(), 0};
    const int32_t status = zelLSCorrection(d.nulls == 251 ? nullptr : &src, &dst, d.nulls == 252 ? nullptr : table);
    require(status != ZEL_OK || d.nulls < 250 || d.nulls > 252, "zelLSCorrection took a null pointer");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    const auto d = in.take<ShadingDesc>();
    const uint32_t mode = d.mode < 0xF0000000u ? d.mode % 2 : d.mode;
    const uint32_t bitDepth = d.bitDepth < 192 ? 8 + 2 * (d.bitDepth % 3) : d.bitDepth;
    // Mostly 32 to 95, sometimes below the minimum or negative.
    const int32_t h = d.height >= 0 ? 32 + d.height % 64 : d.height + 100;
    const int32_t w = d.width >= 0 ? 32 + d.width % 64 : d.width + 100;
    const size_t pixels = h > 0 && w > 0 ? static_cast<size_t>(h) * static_cast<size_t>(w) : 0;
    const bool sized = mode <= 1 && h >= 32 && w >= 32;

    switch (d.which % 3) {
        case 0: {
            const bool accepted = sized && h % 2 == 0 && w % 2 == 0;
            const Buffer grey = floats(in, d.samples & 1, pixels, bitDepth);
            const Buffer dark = floats(in, d.samples & 2, pixels, bitDepth);
            const Buffer table(accepted ? tableBytes(mode, h, w) : 0);
            const ZelLSCInput input{mode, bitDepth, w, h, d.nulls == 250 ? nullptr : grey.as<float>(),
                                    d.nulls == 251 ? nullptr : dark.as<float>()};
            const int32_t status = zelGetLSCParameter(&input, table.as<ZelLSCTable>());
            require((status == ZEL_OK) == (accepted && d.nulls != 250 && d.nulls != 251),
                    "zelGetLSCParameter gave the wrong status");
            if (status == ZEL_OK) correct(d, in, table.as<ZelLSCTable>(), mode, h, w);
            break;
        }
        case 1: {
            static constexpr uint32_t kBlockWidths[] = {16, 32, 16, 32, 15, 0};
            const uint32_t kind = 2 + d.region % 4;  // 5 is out of range
            const uint32_t blockWidth = kBlockWidths[(d.region >> 2) % 6];
            const uint32_t blockHeight = (d.region & 0x80) ? 8 : 16;
            const Buffer grey = floats(in, d.samples & 1, pixels, bitDepth);
            const bool fits = sized && (bitDepth == 8 || bitDepth == 10 || bitDepth == 12) &&
                              (blockWidth == 16 || blockWidth == 32) && blockHeight == 16;
            const Buffer bytes(fits ? 3 * static_cast<size_t>((h / 16) * (w / static_cast<int32_t>(blockWidth))) : 0);
            const ZelBasicLSCInput input{mode, bitDepth, kind, w, h, blockWidth, blockHeight,
                                         d.nulls == 250 ? nullptr : grey.as<float>(), d.darkLevel};
            const int32_t status = zelGetBasicLSCParameter(&input, bytes.data());
            require(status != ZEL_OK || (fits && mode == 0 && kind <= 4 && d.nulls != 250),
                    "zelGetBasicLSCParameter accepted a call it must refuse");
            break;
        }
        default:
            correct(d, in, nullptr, mode, h, w);
            break;
    }
    return 0;
}
