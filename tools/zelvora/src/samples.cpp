#include "samples.hpp"

namespace zelvora {
namespace {

// GigE Vision packing of two samples into three bytes: the top eight bits of
// each sample in bytes 0 and 2, the remaining low bits side by side in byte 1
// (sample 0 from bit 0, sample 1 from bit 4).
struct PackedPair {
    int lowBits;  // 4 for 12-bit samples, 2 for 10-bit ones

    void decode(const uint8_t* p, uint16_t& first, uint16_t& second) const {
        const int lowMask = (1 << lowBits) - 1;
        first = static_cast<uint16_t>((p[0] << lowBits) | (p[1] & lowMask));
        second = static_cast<uint16_t>((p[2] << lowBits) | ((p[1] >> 4) & lowMask));
    }
    void encode(uint16_t first, uint16_t second, uint8_t* p) const {
        const int lowMask = (1 << lowBits) - 1;
        p[0] = static_cast<uint8_t>(first >> lowBits);
        p[1] = static_cast<uint8_t>((first & lowMask) | ((second & lowMask) << 4));
        p[2] = static_cast<uint8_t>(second >> lowBits);
    }
};

}  // namespace

std::vector<uint16_t> decodeSamples(const uint8_t* frame, const InputFormat& format, int32_t width, int32_t height,
                                    int64_t stride) {
    const size_t w = static_cast<size_t>(width);
    std::vector<uint16_t> samples(w * static_cast<size_t>(height));
    const PackedPair pair{format.bits - 8};
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = frame + y * stride;
        uint16_t* out = samples.data() + static_cast<size_t>(y) * w;
        switch (format.packing) {
            case Packing::Bytes:
                for (size_t x = 0; x < w; ++x) out[x] = row[x];
                break;
            case Packing::Words:
                for (size_t x = 0; x < w; ++x) out[x] = static_cast<uint16_t>(row[2 * x] | (row[2 * x + 1] << 8));
                break;
            case Packing::Packed:
                for (size_t x = 0; x < w; x += 2) {
                    uint16_t second = 0;
                    pair.decode(row + 3 * (x / 2), out[x], x + 1 < w ? out[x + 1] : second);
                }
                break;
        }
    }
    return samples;
}

std::vector<uint8_t> encodeSamples(std::span<const uint16_t> samples, const InputFormat& format, int32_t width,
                                   int32_t height) {
    const size_t w = static_cast<size_t>(width);
    const size_t rowLength = static_cast<size_t>(rowBytes(format, width));
    std::vector<uint8_t> bytes(rowLength * static_cast<size_t>(height), 0);
    const auto mask = static_cast<uint16_t>((1u << format.bits) - 1u);
    const PackedPair pair{format.bits - 8};
    for (int32_t y = 0; y < height; ++y) {
        const uint16_t* in = samples.data() + static_cast<size_t>(y) * w;
        uint8_t* row = bytes.data() + static_cast<size_t>(y) * rowLength;
        switch (format.packing) {
            case Packing::Bytes:
                for (size_t x = 0; x < w; ++x) row[x] = static_cast<uint8_t>(in[x] & mask);
                break;
            case Packing::Words:
                for (size_t x = 0; x < w; ++x) {
                    row[2 * x] = static_cast<uint8_t>(in[x] & mask);
                    row[2 * x + 1] = static_cast<uint8_t>((in[x] & mask) >> 8);
                }
                break;
            case Packing::Packed:
                for (size_t x = 0; x < w; x += 2) {
                    const uint16_t second = x + 1 < w ? in[x + 1] & mask : 0;
                    pair.encode(in[x] & mask, second, row + 3 * (x / 2));
                }
                break;
        }
    }
    return bytes;
}

}  // namespace zelvora
