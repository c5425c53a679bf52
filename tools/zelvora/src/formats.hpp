// The raw input formats the library accepts, by GigE Vision name and code,
// with what the tool needs to know about their bytes; and the seven output
// layouts by the tool's short names.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zelvora {

// The Bayer order of row 0 and 1 (RG: R G / G B), or none for mono data.
enum class Order : uint8_t { RG, BG, GB, GR, Mono };

enum class Packing : uint8_t {
    Bytes,   // one byte per sample
    Words,   // one little-endian 16-bit container per sample
    Packed,  // GigE Vision packing: two samples in three bytes
};

struct InputFormat {
    std::string_view name;  // GigE Vision name, e.g. BayerRG12Packed
    uint32_t code;
    Order order;
    int bits;  // significant bits per sample
    Packing packing;
};

std::span<const InputFormat> inputFormats();
// By name (case does not matter) or by code written in hex (0x010C002B).
// Throws UsageError naming the unknown format.
const InputFormat& findInputFormat(std::string_view nameOrCode);
const InputFormat* inputFormatByCode(uint32_t code);
const InputFormat& inputFormatFor(Order order, int bits, Packing packing);

// Bytes that hold one row of `width` samples without padding. Packed rows end
// on a whole pair; an odd width still occupies the three bytes of its last pair.
int64_t rowBytes(const InputFormat& format, int32_t width);

// Bytes of the input buffer zelDemosaicing reads or writes for a frame of
// this format, size and stride (see zelvora.h): at least height * stride,
// more for odd packed widths, for strides shorter than a row, and for the flat
// packed path (stride width + width / 2).
int64_t libraryInputBytes(const InputFormat& format, int32_t width, int32_t height, int64_t stride);

std::string_view orderName(Order order);  // "RG", ..., "mono"

struct OutputLayout {
    std::string_view name;  // bgr8, rgb8, bgra8, rgba8, rgb8-planar, bgr8-planar, mono8
    uint32_t code;
    int bytesPerPixel;
    bool planar;
};

std::span<const OutputLayout> outputLayouts();
const OutputLayout& findOutputLayout(std::string_view name);
const OutputLayout& outputLayoutByCode(uint32_t code);

// Demosaicing methods by name: nearest 0, bilinear 1, edge 2.
struct Method {
    std::string_view name;
    int32_t value;
};
std::span<const Method> methods();
const Method& findMethod(std::string_view name);

}  // namespace zelvora
