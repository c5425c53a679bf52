// Reduction of deep and packed input to compact 8-bit frames.
#pragma once

#include <cstdint>

namespace zel {

// sampleShift of the packed layouts (10- and 12-bit packing alike).
inline constexpr int32_t kSampleShiftPacked = -1;

}  // namespace zel
