// The 32-bit gain/offset entry of a ZelLSCTable, shared by the estimation
// that writes it and the correction that reads it.
#pragma once

#include <cstdint>

namespace zel::lsc {

// Bits 31..12 hold the gain G (factor G / 2^17), bits 11..0 the offset B, the
// dark level on a 12-bit scale.
inline constexpr int kGainShift = 12;
inline constexpr uint32_t kOffsetMask = 0xFFF;
inline constexpr uint32_t kMaxGain = 0xFFFFF;  // just under 8.0
inline constexpr int kGainFractionBits = 17;
inline constexpr uint32_t kMaxOffset = kOffsetMask;

constexpr uint32_t packEntry(uint32_t gain, uint32_t offset) { return gain << kGainShift | offset; }
constexpr uint32_t entryGain(uint32_t entry) { return entry >> kGainShift; }
constexpr uint32_t entryOffset(uint32_t entry) { return entry & kOffsetMask; }

}  // namespace zel::lsc
