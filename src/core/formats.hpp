// Output layouts: the seven codes the handle may hold, and their index in the
// dispatch table.
#pragma once

#include <cstdint>

#include "zelvora.h"

namespace zel {

enum class Layout : uint8_t { Bgr8, Rgb8, Bgra8, Rgba8, RgbPlanar, BgrPlanar, Mono8, Count };

inline constexpr int kLayoutCount = static_cast<int>(Layout::Count);

// Maps an output code to its layout; false for anything else (compared as
// 64-bit values, so a nonzero high word is never accepted).
constexpr bool layoutOf(uint64_t format, Layout& layout) {
    switch (format) {
        case ZEL_PIX_BGR8: layout = Layout::Bgr8; return true;
        case ZEL_PIX_RGB8: layout = Layout::Rgb8; return true;
        case ZEL_PIX_BGRA8: layout = Layout::Bgra8; return true;
        case ZEL_PIX_RGBA8: layout = Layout::Rgba8; return true;
        case ZEL_PIX_RGB8_PLANAR: layout = Layout::RgbPlanar; return true;
        case ZEL_PIX_BGR8_PLANAR: layout = Layout::BgrPlanar; return true;
        case ZEL_PIX_MONO8: layout = Layout::Mono8; return true;
        default: return false;
    }
}

constexpr bool isOutputFormat(uint64_t format) {
    Layout unused{};
    return layoutOf(format, unused);
}

}  // namespace zel
