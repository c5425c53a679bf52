// Peak signal-to-noise ratio of a picture against its reference.
#pragma once

#include <cstdint>
#include <span>

namespace zelvora {

// 10 log10(peak^2 / mean squared error) over all samples, in dB; infinity
// when the two are equal. The spans must have the same length.
double psnr(std::span<const uint8_t> picture, std::span<const uint8_t> reference, double peak = 255.0);

}  // namespace zelvora
