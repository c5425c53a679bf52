// zelDemosaicing and the converters it hands the compact 8-bit frame to.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/formats.hpp"
#include "core/report.hpp"
#include "demosaic/dispatch.hpp"
#include "demosaic/layout.hpp"
#include "input/reduce.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace zel {
namespace {

const MethodTable* const kTables[kMethodCount] = {&kNearestTable, &kBilinearTable, &kEdgeTable};

int32_t dispatch(Bayer order, const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                 ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    Layout layout{};
    if (!layoutOf(outputFormat, layout)) return errUnsupportedOutput;
    // Any other method succeeds without writing a pixel; the entry then fills
    // the output record as for a real frame. Kept on purpose.
    if (method < 0 || method >= kMethodCount) return ZEL_OK;
    const Launch launch = (*kTables[method])[static_cast<int>(order)][static_cast<int>(layout)];
    if (launch == nullptr) return errUnsupportedOutput;
    return launch(KernelCall{frame, dst, height, width, greenLine});
}

// Every grey sample as red, green and blue through the writer; the leading
// ones through the vector run.
template <typename Writer>
void greyTo(const Writer& out, const uint8_t* grey, ptrdiff_t n) {
    const simd::GreyRun run = simd::kernels().grey;
    for (ptrdiff_t i = run == nullptr ? 0 : run(grey, n, out.vectorOut()); i < n; ++i)
        out.put(i, grey[i], grey[i], grey[i]);
}

// Where the entry keeps the compact frame and the edge-directed green row.
struct Working {
    const uint8_t* frame;
    uint8_t* greenLine;
};

constexpr int64_t kScratchSlack = 64;
constexpr uintptr_t kFrameAlignment = 16;

// Bytes of scratch a frame needs: one green row for 8-bit input; otherwise
// the reduced frame plus one row, with room for the 16-byte alignment and the
// extra byte of the packed converters.
int64_t scratchBytes(int32_t height, int32_t width, int32_t sampleShift) {
    if (sampleShift == 0) return int64_t{width} + kScratchSlack;
    return int64_t{width} * (int64_t{height} + 1) + kScratchSlack;
}

// Produces the compact 8-bit frame: the caller's buffer itself (compacted in
// place when its rows are padded), or a reduction into aligned scratch.
Working placeFrame(const ZelImage& in, int32_t sampleShift, uint8_t* scratch) {
    const int32_t h = in.height;
    const int32_t w = in.width;
    if (sampleShift == 0) {
        // Padded 8-bit rows are packed together inside the caller's own buffer,
        // deliberately: no copy is made and the buffer's tail is left as it was.
        if (in.stride != w) u8Tou8(in.data, h, w, in.stride, in.data);
        return {in.data, scratch};
    }
    const uintptr_t address = reinterpret_cast<uintptr_t>(scratch);
    uint8_t* frame = scratch + ((kFrameAlignment - address % kFrameAlignment) % kFrameAlignment);
    if (sampleShift == kSampleShiftPacked) {
        if (in.stride == w + w / 2)
            unpacked_old(in.data, h, w, frame);
        else
            unpacked(in.data, h, w, in.stride, frame);
    } else if (in.stride == 2 * w) {
        u16Tou8_old(in.data, h, w, sampleShift, frame);
    } else {
        u16Tou8(in.data, h, w, in.stride, sampleShift, frame);
    }
    return {frame, frame + static_cast<ptrdiff_t>(h) * w};
}

}  // namespace
}  // namespace zel

using zel::fail;

extern "C" {

ZEL_API int32_t rg8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    return zel::dispatch(zel::Bayer::RG, frame, dst, height, width, outputFormat, method, greenLine);
}
ZEL_API int32_t bg8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    return zel::dispatch(zel::Bayer::BG, frame, dst, height, width, outputFormat, method, greenLine);
}
ZEL_API int32_t gb8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    return zel::dispatch(zel::Bayer::GB, frame, dst, height, width, outputFormat, method, greenLine);
}
ZEL_API int32_t gr8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    return zel::dispatch(zel::Bayer::GR, frame, dst, height, width, outputFormat, method, greenLine);
}

ZEL_API int32_t mono8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                             ZelPixelType outputFormat) {
    zel::Layout layout{};
    if (!zel::layoutOf(outputFormat, layout)) return errUnsupportedOutput;
    const ptrdiff_t n = static_cast<ptrdiff_t>(width) * height;
    if (n <= 0) return ZEL_OK;
    const auto bytes = static_cast<size_t>(n);
    switch (layout) {
        case zel::Layout::Mono8:
            std::memcpy(dst, frame, bytes);
            break;
        case zel::Layout::Bgr8:
        case zel::Layout::Rgb8:
            zel::greyTo(zel::Interleaved<uint8_t, 3>(dst, false), frame, n);
            break;
        case zel::Layout::Bgra8:
        case zel::Layout::Rgba8:
            zel::greyTo(zel::Interleaved<uint8_t, 4>(dst, false), frame, n);
            break;
        case zel::Layout::RgbPlanar:
        case zel::Layout::BgrPlanar:
            for (int plane = 0; plane < 3; ++plane) std::memcpy(dst + plane * n, frame, bytes);
            break;
        case zel::Layout::Count:
            break;
    }
    return ZEL_OK;
}

ZEL_API int32_t zelDemosaicing(ZelHandle* handle, const ZelImage* input, int32_t method, ZelImage* output) {
    if (input == nullptr || handle == nullptr || output == nullptr) return fail(94, errInvalidParameter);
    if (input->data == nullptr || output->data == nullptr) return fail(95, errInvalidParameter);
    if (input->height <= 3 || input->stride <= 3 || input->width <= 3) return fail(96, errBadImageSize);
    // The pixel count must fit a signed 32-bit value.
    if (static_cast<int64_t>(input->height) * input->width > INT32_MAX) return fail(104, errBadImageSize);

    ZelPixelType reduced = 0;
    int32_t sampleShift = 0;
    if (const int32_t status = demosaicDataInit(input, handle, &reduced, &sampleShift); status != ZEL_OK)
        return fail(110, status);

    const int scratchCheck = sampleShift == 0 ? 115 : 119;
    const int64_t bytes = zel::scratchBytes(input->height, input->width, sampleShift);
    if (bytes > INT32_MAX) return fail(scratchCheck, errNoMemory);
    if (const int32_t status = zelMemRealloc(&handle->scratch, static_cast<int32_t>(bytes)); status != ZEL_OK)
        return fail(scratchCheck, status);

    const zel::Working work = zel::placeFrame(*input, sampleShift, handle->scratch.data);
    const int32_t h = input->height;
    const int32_t w = input->width;
    const ZelPixelType fmt = handle->outputFormat;
    int32_t status = errUnsupportedInput;
    switch (reduced) {
        case ZEL_PIX_MONO8: status = mono8Convert(work.frame, output->data, h, w, fmt); break;
        case ZEL_PIX_BAYER_RG8: status = rg8Convert(work.frame, output->data, h, w, fmt, method, work.greenLine); break;
        case ZEL_PIX_BAYER_BG8: status = bg8Convert(work.frame, output->data, h, w, fmt, method, work.greenLine); break;
        case ZEL_PIX_BAYER_GB8: status = gb8Convert(work.frame, output->data, h, w, fmt, method, work.greenLine); break;
        case ZEL_PIX_BAYER_GR8: status = gr8Convert(work.frame, output->data, h, w, fmt, method, work.greenLine); break;
        default: break;
    }
    if (status != ZEL_OK) return status;
    output->height = h;
    output->width = w;
    output->pixelFormat = static_cast<uint32_t>(fmt);
    return ZEL_OK;
}

}  // extern "C"
