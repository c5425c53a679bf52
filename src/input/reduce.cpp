// The five converters that turn the caller's input into a compact 8-bit frame.
#include <cstddef>
#include <cstring>

#include "input/reduce.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace {

// Deep samples keep the low 8 bits of the shifted value (reducedSample),
// the leading ones through the vector run.
void shiftRun(const uint8_t* src, ptrdiff_t count, int32_t shift, uint8_t* dst) {
    const zel::simd::ShiftRun run = zel::simd::kernels().shift16;
    for (ptrdiff_t i = run == nullptr ? 0 : run(src, count, shift, dst); i < count; ++i) {
        uint16_t sample;
        std::memcpy(&sample, src + 2 * i, sizeof sample);
        dst[i] = static_cast<uint8_t>(zel::reducedSample<uint32_t>(sample, shift));
    }
}

// Packed pairs (packedPair). Output bytes come two at a time, so an odd count
// writes one byte past its end (and reads the third byte of the last,
// half-used triple).
void unpackRun(const uint8_t* src, ptrdiff_t count, uint8_t* dst) {
    const zel::simd::UnpackRun run = zel::simd::kernels().unpack;
    for (ptrdiff_t k = run == nullptr ? 0 : run(src, count, dst) / 2; 2 * k < count; ++k) {
        const auto p = zel::packedPair<uint8_t>(src[3 * k], src[3 * k + 1], src[3 * k + 2]);
        dst[2 * k] = p.first;
        dst[2 * k + 1] = p.second;
    }
}

ptrdiff_t pixelCount(int32_t height, int32_t width) {
    return static_cast<ptrdiff_t>(height) * width;
}

}  // namespace

extern "C" {

ZEL_API void u8Tou8(const uint8_t* src, int32_t height, int32_t width, int32_t stride, uint8_t* dst) {
    // dst may be src itself: rows are then compacted in place, row by row.
    for (int32_t r = 0; r < height; ++r)
        std::memmove(dst + pixelCount(r, width), src + pixelCount(r, stride), static_cast<size_t>(width));
}

ZEL_API void u16Tou8_old(const uint8_t* src, int32_t height, int32_t width, int32_t shift, uint8_t* dst) {
    shiftRun(src, pixelCount(height, width), shift, dst);
}

ZEL_API void u16Tou8(const uint8_t* src, int32_t height, int32_t width, int32_t stride, int32_t shift,
                     uint8_t* dst) {
    const int32_t evenStride = stride & ~1;  // rows of halfwords start on even offsets
    for (int32_t r = 0; r < height; ++r)
        shiftRun(src + pixelCount(r, evenStride), width, shift, dst + pixelCount(r, width));
}

ZEL_API void unpacked_old(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst) {
    unpackRun(src, pixelCount(height, width), dst);
}

ZEL_API void unpacked(const uint8_t* src, int32_t height, int32_t width, int32_t stride, uint8_t* dst) {
    // With an odd width each row spills one byte into the next row's first
    // byte, which that row then overwrites; the last row spills past the frame.
    for (int32_t r = 0; r < height; ++r)
        unpackRun(src + pixelCount(r, stride), width, dst + pixelCount(r, width));
}

}  // extern "C"
