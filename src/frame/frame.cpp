// Small frame utilities for callers handing demosaiced frames on.
#include <cstddef>
#include <cstring>

#include "core/report.hpp"
#include "demosaic/layout.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

using zel::fail;

extern "C" {

ZEL_API int32_t zelBMPAdjust(ZelHandle* handle, ZelImage* image) {
    if (image == nullptr || handle == nullptr) return fail(14, errInvalidParameter);
    if (image->data == nullptr) return fail(15, errInvalidParameter);
    if (image->height <= 3 || image->width <= 3) return fail(16, errBadImageSize);

    const ptrdiff_t row = 3 * static_cast<ptrdiff_t>(image->width);
    const ptrdiff_t pad = ((row + 3) & ~ptrdiff_t{3}) - row;
    if (pad == 0) return ZEL_OK;
    // From the last row upward, so no row is overwritten before it has moved;
    // a row's old and new places overlap.
    for (ptrdiff_t r = image->height - 1; r >= 0; --r) {
        uint8_t* to = image->data + r * (row + pad);
        std::memmove(to, image->data + r * row, static_cast<size_t>(row));
        std::memset(to + row, 0, static_cast<size_t>(pad));
    }
    return ZEL_OK;
}

ZEL_API void bgrToBgra(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst) {
    const ptrdiff_t n = static_cast<ptrdiff_t>(height) * width;
    if (n * 3 <= 0) return;
    const zel::Interleaved<uint8_t, 4> out(dst, false);
    const zel::simd::WidenRun run = zel::simd::kernels().widen;
    for (ptrdiff_t i = run == nullptr ? 0 : run(src, n, dst); i < n; ++i)
        out.put(i, src[3 * i + 2], src[3 * i + 1], src[3 * i]);
}

}  // extern "C"
