// Raw frame bytes to sample values and back, for every input packing. The
// library reduces to 8 bits itself; the tool needs the full values for the
// 16-bit kernels, for shading calibration and to make mosaics of its own.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "formats.hpp"

namespace zelvora {

// height rows of width samples, row r read from frame + r * stride; values at
// the format's own depth (0..4095 for 12 bits). Containers are taken as they
// are, high bits included.
std::vector<uint16_t> decodeSamples(const uint8_t* frame, const InputFormat& format, int32_t width, int32_t height,
                                    int64_t stride);

// The reverse, rows rowBytes(format, width) apart. Values are masked to the
// format's depth.
std::vector<uint8_t> encodeSamples(std::span<const uint16_t> samples, const InputFormat& format, int32_t width,
                                   int32_t height);

}  // namespace zelvora
