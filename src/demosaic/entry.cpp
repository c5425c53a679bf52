// zelDemosaicing and the converters it hands the compact 8-bit frame to.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/formats.hpp"
#include "core/report.hpp"
#include "demosaic/band.hpp"
#include "demosaic/dispatch.hpp"
#include "demosaic/layout.hpp"
#include "input/reduce.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace zel {
namespace {

const MethodTable* const kTables[kMethodCount] = {&kNearestTable, &kBilinearTable, &kEdgeTable};
const BandTable* const kBandTables[kMethodCount] = {&kNearestBands, &kBilinearBands, &kEdgeBands};

// The cell of a method's table (whole frames or bands) for an order and an
// output format, called with `call`.
template <typename Table, typename Call>
int32_t launchCell(const Table* const (&tables)[kMethodCount], Bayer order, ZelPixelType outputFormat,
                   int32_t method, const Call& call) {
    Layout layout{};
    if (!layoutOf(outputFormat, layout)) return errUnsupportedOutput;
    // Any other method succeeds without writing a pixel; the entry then fills
    // the output record as for a real frame. Kept on purpose.
    if (method < 0 || method >= kMethodCount) return ZEL_OK;
    const auto launch = (*tables[method])[static_cast<int>(order)][static_cast<int>(layout)];
    if (launch == nullptr) return errUnsupportedOutput;
    return launch(call);
}

int32_t dispatch(Bayer order, const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                 ZelPixelType outputFormat, int32_t method, uint8_t* greenLine) {
    return launchCell(kTables, order, outputFormat, method, KernelCall{frame, dst, height, width, greenLine});
}

// The checks both entries make, in this order, each with its own number:
// records, buffers, sizes, pixel count, input code. Classifies the input.
int32_t checkRecords(ZelHandle* handle, const ZelImage* input, const ZelImage* output, ZelPixelType& reduced,
                     int32_t& sampleShift) {
    if (input == nullptr || handle == nullptr || output == nullptr) return fail(94, errInvalidParameter);
    if (input->data == nullptr || output->data == nullptr) return fail(95, errInvalidParameter);
    if (input->height <= 3 || input->stride <= 3 || input->width <= 3) return fail(96, errBadImageSize);
    // The pixel count must fit a signed 32-bit value.
    if (static_cast<int64_t>(input->height) * input->width > INT32_MAX) return fail(104, errBadImageSize);
    if (const int32_t status = demosaicDataInit(input, handle, &reduced, &sampleShift); status != ZEL_OK)
        return fail(110, status);
    return ZEL_OK;
}

// Grows the handle's scratch to `bytes`, or fails with the number of the
// 8-bit (115) or the reduced (119) case.
int32_t growScratch(ZelHandle* handle, int64_t bytes, int32_t sampleShift) {
    const int check = sampleShift == 0 ? 115 : 119;
    if (bytes > INT32_MAX) return fail(check, errNoMemory);
    if (const int32_t status = zelMemRealloc(&handle->scratch, static_cast<int32_t>(bytes)); status != ZEL_OK)
        return fail(check, status);
    return ZEL_OK;
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

// ---------------------------------------------------------------- row bands

// Checks of zelDemosaicingRows beyond those of zelDemosaicing.
constexpr int kShortStrideCheck = 131;
constexpr int kBandOutsideCheck = 133;

// Bytes of one input row: what the converters read per row (for packed
// input, the unpadded row of the flat path).
int64_t rowBytes(int32_t width, int32_t sampleShift) {
    if (sampleShift == 0) return width;
    if (sampleShift == kSampleShiftPacked) return int64_t{width} + width / 2;
    return 2 * int64_t{width};
}

// Input rows a band reads beyond its own: the reach of the method's rules,
// and of the passes that carry edge-directed greens down to the band.
struct Reach {
    int32_t above;
    int32_t below;
};
constexpr Reach kBandReach[kMethodCount] = {{1, 1}, {1, 2}, {4, 4}};
constexpr Reach kMonoReach{0, 0};

struct RowSpan {
    int32_t first;
    int32_t end;  // one past the last
};

RowSpan rowsRead(int32_t height, int32_t first, int32_t count, bool mono, int32_t method) {
    const bool known = method >= 0 && method < kMethodCount;
    const Reach r = mono ? kMonoReach : known ? kBandReach[method] : Reach{0, 0};
    const int64_t end = int64_t{first} + count + r.below;
    return {first > r.above ? first - r.above : 0, static_cast<int32_t>(end < height ? end : height)};
}

// Reduces input rows span.first .. span.end-1 into compact 8-bit rows at dst
// with the converter the whole frame would take for them. The flat packed
// layout pairs pixels across rows when the width is odd: pixel i of the
// frame is byte 0 or 2 of triple i / 2, whichever row it starts.
void reduceRows(const ZelImage& in, int32_t sampleShift, RowSpan span, uint8_t* dst) {
    const int32_t w = in.width;
    const int32_t rows = span.end - span.first;
    const ptrdiff_t first = span.first;
    if (sampleShift == kSampleShiftPacked) {
        if (in.stride != w + w / 2) {
            unpacked(in.data + first * in.stride, rows, w, in.stride, dst);
            return;
        }
        ptrdiff_t pixel = first * w;
        int32_t count = rows * w;
        if (pixel % 2 != 0) {
            *dst++ = in.data[3 * (pixel / 2) + 2];
            ++pixel;
            --count;
        }
        unpacked_old(in.data + 3 * (pixel / 2), 1, count, dst);
    } else if (in.stride == 2 * w) {
        u16Tou8_old(in.data + 2 * first * w, rows, w, sampleShift, dst);
    } else {
        u16Tou8(in.data + first * (in.stride & ~1), rows, w, in.stride, sampleShift, dst);
    }
}

// Mono input: output rows are the conversions of their own input rows.
int32_t monoRows(const BandCall& c, ZelPixelType outputFormat) {
    Layout layout{};
    if (!layoutOf(outputFormat, layout)) return errUnsupportedOutput;
    const bool planar = layout == Layout::RgbPlanar || layout == Layout::BgrPlanar;
    const ptrdiff_t n = static_cast<ptrdiff_t>(c.width) * c.height;
    const bool fourBytes = layout == Layout::Bgra8 || layout == Layout::Rgba8;
    const ptrdiff_t bytesPerPixel = layout == Layout::Mono8 ? 1 : fourBytes ? 4 : 3;
    for (int32_t y = c.first; y < c.first + c.count; ++y) {
        const ptrdiff_t at = static_cast<ptrdiff_t>(y) * c.width;
        if (!planar) {
            mono8Convert(c.src.row(y), c.dst + at * bytesPerPixel, 1, c.width, outputFormat);
            continue;
        }
        for (int plane = 0; plane < 3; ++plane)
            std::memcpy(c.dst + plane * n + at, c.src.row(y), static_cast<size_t>(c.width));
    }
    return ZEL_OK;
}

Bayer bayerOf(ZelPixelType reduced) {
    switch (reduced) {
        case ZEL_PIX_BAYER_RG8: return Bayer::RG;
        case ZEL_PIX_BAYER_BG8: return Bayer::BG;
        case ZEL_PIX_BAYER_GB8: return Bayer::GB;
        default: return Bayer::GR;
    }
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
    ZelPixelType reduced = 0;
    int32_t sampleShift = 0;
    if (const int32_t status = zel::checkRecords(handle, input, output, reduced, sampleShift); status != ZEL_OK)
        return status;
    const int64_t bytes = zel::scratchBytes(input->height, input->width, sampleShift);
    if (const int32_t status = zel::growScratch(handle, bytes, sampleShift); status != ZEL_OK) return status;

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

ZEL_API int32_t zelDemosaicingRows(ZelHandle* handle, const ZelImage* input, int32_t method, ZelImage* output,
                                   int32_t firstRow, int32_t rowCount) {
    ZelPixelType reduced = 0;
    int32_t sampleShift = 0;
    if (const int32_t status = zel::checkRecords(handle, input, output, reduced, sampleShift); status != ZEL_OK)
        return status;
    const int32_t h = input->height;
    const int32_t w = input->width;
    if (input->stride < zel::rowBytes(w, sampleShift)) return fail(zel::kShortStrideCheck, errBadImageSize);
    if (firstRow < 0 || rowCount <= 0 || int64_t{firstRow} + rowCount > h)
        return fail(zel::kBandOutsideCheck, errInvalidParameter);

    // Scratch: the edge-directed green row, then (deep and packed input) the
    // rows the band reads, reduced, at a 16-byte boundary with room for the
    // packed converters' extra byte.
    const bool mono = reduced == ZEL_PIX_MONO8;
    const zel::RowSpan span = zel::rowsRead(h, firstRow, rowCount, mono, method);
    const int64_t reducedBytes = sampleShift == 0 ? 0 : int64_t{span.end - span.first} * w;
    if (const int32_t status = zel::growScratch(handle, w + reducedBytes + zel::kScratchSlack, sampleShift);
        status != ZEL_OK)
        return status;
    uint8_t* const scratch = handle->scratch.data;
    zel::RowSource src{input->data, input->stride, 0};
    if (sampleShift != 0) {
        const uintptr_t rowsAt = reinterpret_cast<uintptr_t>(scratch + w);
        uint8_t* rows = scratch + w + (zel::kFrameAlignment - rowsAt % zel::kFrameAlignment) % zel::kFrameAlignment;
        zel::reduceRows(*input, sampleShift, span, rows);
        src = zel::RowSource{rows, w, span.first};
    }

    const zel::BandCall call{src, output->data, h, w, firstRow, rowCount, scratch};
    const ZelPixelType fmt = handle->outputFormat;
    const int32_t status = mono ? zel::monoRows(call, fmt)
                                : zel::launchCell(zel::kBandTables, zel::bayerOf(reduced), fmt, method, call);
    if (status != ZEL_OK) return status;
    output->height = h;
    output->width = w;
    output->pixelFormat = static_cast<uint32_t>(fmt);
    return ZEL_OK;
}

}  // extern "C"
