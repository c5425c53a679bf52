#include "formats.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "error.hpp"
#include "zelvora.h"

namespace zelvora {
namespace {

constexpr std::array<InputFormat, 31> kInputFormats{{
    {"Mono8", ZEL_PIX_MONO8, Order::Mono, 8, Packing::Bytes},
    {"Mono10", ZEL_PIX_MONO10, Order::Mono, 10, Packing::Words},
    {"Mono12", ZEL_PIX_MONO12, Order::Mono, 12, Packing::Words},
    {"Mono14", ZEL_PIX_MONO14, Order::Mono, 14, Packing::Words},
    {"Mono16", ZEL_PIX_MONO16, Order::Mono, 16, Packing::Words},
    {"Mono10Packed", ZEL_PIX_MONO10_PACKED, Order::Mono, 10, Packing::Packed},
    {"Mono12Packed", ZEL_PIX_MONO12_PACKED, Order::Mono, 12, Packing::Packed},
    {"BayerGR8", ZEL_PIX_BAYER_GR8, Order::GR, 8, Packing::Bytes},
    {"BayerGR10", ZEL_PIX_BAYER_GR10, Order::GR, 10, Packing::Words},
    {"BayerGR12", ZEL_PIX_BAYER_GR12, Order::GR, 12, Packing::Words},
    {"BayerGR16", ZEL_PIX_BAYER_GR16, Order::GR, 16, Packing::Words},
    {"BayerGR10Packed", ZEL_PIX_BAYER_GR10_PACKED, Order::GR, 10, Packing::Packed},
    {"BayerGR12Packed", ZEL_PIX_BAYER_GR12_PACKED, Order::GR, 12, Packing::Packed},
    {"BayerRG8", ZEL_PIX_BAYER_RG8, Order::RG, 8, Packing::Bytes},
    {"BayerRG10", ZEL_PIX_BAYER_RG10, Order::RG, 10, Packing::Words},
    {"BayerRG12", ZEL_PIX_BAYER_RG12, Order::RG, 12, Packing::Words},
    {"BayerRG16", ZEL_PIX_BAYER_RG16, Order::RG, 16, Packing::Words},
    {"BayerRG10Packed", ZEL_PIX_BAYER_RG10_PACKED, Order::RG, 10, Packing::Packed},
    {"BayerRG12Packed", ZEL_PIX_BAYER_RG12_PACKED, Order::RG, 12, Packing::Packed},
    {"BayerGB8", ZEL_PIX_BAYER_GB8, Order::GB, 8, Packing::Bytes},
    {"BayerGB10", ZEL_PIX_BAYER_GB10, Order::GB, 10, Packing::Words},
    {"BayerGB12", ZEL_PIX_BAYER_GB12, Order::GB, 12, Packing::Words},
    {"BayerGB16", ZEL_PIX_BAYER_GB16, Order::GB, 16, Packing::Words},
    {"BayerGB10Packed", ZEL_PIX_BAYER_GB10_PACKED, Order::GB, 10, Packing::Packed},
    {"BayerGB12Packed", ZEL_PIX_BAYER_GB12_PACKED, Order::GB, 12, Packing::Packed},
    {"BayerBG8", ZEL_PIX_BAYER_BG8, Order::BG, 8, Packing::Bytes},
    {"BayerBG10", ZEL_PIX_BAYER_BG10, Order::BG, 10, Packing::Words},
    {"BayerBG12", ZEL_PIX_BAYER_BG12, Order::BG, 12, Packing::Words},
    {"BayerBG16", ZEL_PIX_BAYER_BG16, Order::BG, 16, Packing::Words},
    {"BayerBG10Packed", ZEL_PIX_BAYER_BG10_PACKED, Order::BG, 10, Packing::Packed},
    {"BayerBG12Packed", ZEL_PIX_BAYER_BG12_PACKED, Order::BG, 12, Packing::Packed},
}};

constexpr std::array<OutputLayout, 7> kOutputLayouts{{
    {"bgr8", ZEL_PIX_BGR8, 3, false},
    {"rgb8", ZEL_PIX_RGB8, 3, false},
    {"bgra8", ZEL_PIX_BGRA8, 4, false},
    {"rgba8", ZEL_PIX_RGBA8, 4, false},
    {"rgb8-planar", ZEL_PIX_RGB8_PLANAR, 3, true},
    {"bgr8-planar", ZEL_PIX_BGR8_PLANAR, 3, true},
    {"mono8", ZEL_PIX_MONO8, 1, false},
}};

constexpr std::array<Method, 3> kMethods{{
    {"nearest", ZEL_DEMOSAIC_NEAREST},
    {"bilinear", ZEL_DEMOSAIC_BILINEAR},
    {"edge", ZEL_DEMOSAIC_EDGE},
}};

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

// "0x010C002B" (either case) as a code; false for anything else.
bool parseHexCode(std::string_view text, uint32_t& code) {
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
    const char* first = text.data() + 2;
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(first, last, code, 16);
    return ec == std::errc{} && end == last;
}

template <typename Table>
auto findByName(const Table& table, std::string_view name) -> decltype(&table[0]) {
    for (const auto& entry : table) {
        if (sameIgnoringCase(entry.name, name)) return &entry;
    }
    return nullptr;
}

template <typename Table>
std::string namesOf(const Table& table) {
    std::string names;
    for (const auto& entry : table) {
        if (!names.empty()) names += ", ";
        names += entry.name;
    }
    return names;
}

}  // namespace

std::span<const InputFormat> inputFormats() { return kInputFormats; }

const InputFormat* inputFormatByCode(uint32_t code) {
    for (const auto& f : kInputFormats) {
        if (f.code == code) return &f;
    }
    return nullptr;
}

const InputFormat& findInputFormat(std::string_view nameOrCode) {
    if (const InputFormat* byName = findByName(kInputFormats, nameOrCode)) return *byName;
    uint32_t code = 0;
    if (parseHexCode(nameOrCode, code)) {
        if (const InputFormat* byCode = inputFormatByCode(code)) return *byCode;
        throw UsageError("format " + std::string(nameOrCode) +
                         " is not a raw input format the library accepts (see 'zelvora formats')");
    }
    throw UsageError("unknown format '" + std::string(nameOrCode) + "' (see 'zelvora formats')");
}

const InputFormat& inputFormatFor(Order order, int bits, Packing packing) {
    for (const auto& f : kInputFormats) {
        if (f.order == order && f.bits == bits && f.packing == packing) return f;
    }
    throw Failure("no input format of that order, depth and packing");
}

int64_t rowBytes(const InputFormat& format, int32_t width) {
    const int64_t w = width;
    switch (format.packing) {
        case Packing::Bytes: return w;
        case Packing::Words: return 2 * w;
        case Packing::Packed: return 3 * ((w + 1) / 2);
    }
    return w;
}

int64_t libraryInputBytes(const InputFormat& format, int32_t width, int32_t height, int64_t stride) {
    const int64_t w = width;
    const int64_t h = height;
    switch (format.packing) {
        case Packing::Bytes:
            // Rows are compacted in place: row r is read at r * stride and
            // written at r * width.
            return stride == w ? w * h : std::max((h - 1) * stride + w, w * h);
        case Packing::Words:
            // Rows start at the stride rounded down to even.
            return stride == 2 * w ? 2 * w * h : (h - 1) * (stride & ~int64_t{1}) + 2 * w;
        case Packing::Packed:
            // Whole three-byte pairs: per row, or over the frame as one run.
            return stride == w + w / 2 ? 3 * ((w * h + 1) / 2) : (h - 1) * stride + 3 * ((w + 1) / 2);
    }
    return 0;
}

std::string_view orderName(Order order) {
    switch (order) {
        case Order::RG: return "RG";
        case Order::BG: return "BG";
        case Order::GB: return "GB";
        case Order::GR: return "GR";
        case Order::Mono: return "mono";
    }
    return "?";
}

std::span<const OutputLayout> outputLayouts() { return kOutputLayouts; }

const OutputLayout& findOutputLayout(std::string_view name) {
    if (const OutputLayout* layout = findByName(kOutputLayouts, name)) return *layout;
    throw UsageError("unknown layout '" + std::string(name) + "' (one of " + namesOf(kOutputLayouts) + ")");
}

const OutputLayout& outputLayoutByCode(uint32_t code) {
    for (const auto& layout : kOutputLayouts) {
        if (layout.code == code) return layout;
    }
    throw Failure("not an output layout code");
}

std::span<const Method> methods() { return kMethods; }

const Method& findMethod(std::string_view name) {
    if (const Method* method = findByName(kMethods, name)) return *method;
    throw UsageError("unknown method '" + std::string(name) + "' (one of " + namesOf(kMethods) + ")");
}

}  // namespace zelvora
