// zelDemosaicing over every input code and random ones, sizes from negative to
// 71 x 71, every stride case, every method and out-of-range ones, and
// valid and invalid output layouts. Two frames go through one handle, so the
// second call meets the scratch buffer the first one left. A row band of each
// frame (zelDemosaicingRows, on the untouched input) must write exactly the
// bytes of its rows that the whole frame has, nothing else, and leave its
// input as it was.
//
// Input: two FrameDesc, a BandDesc, then the bytes
// the input buffers are filled with.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using zelfuzz::BandDesc;
using zelfuzz::Buffer;
using zelfuzz::FrameDesc;
using zelfuzz::Family;
using zelfuzz::Reader;

FrameDesc readDesc(Reader& in) {
    FrameDesc d;
    d.visit(in);
    return d;
}

const zelfuzz::InputCode* findCode(uint32_t code) {
    for (const auto& c : zelfuzz::kInputCodes)
        if (c.code == code) return &c;
    return nullptr;
}

// The input bytes the header asks the caller for.
int64_t inputBytes(Family family, int64_t h, int64_t w, int64_t s) {
    switch (family) {
        case Family::Bytes: return std::max(h * w, (h - 1) * s + w);
        case Family::Words: return s == 2 * w ? 2 * h * w : (h - 1) * (s & ~int64_t{1}) + 2 * w;
        case Family::Packed: return s == w + w / 2 ? 3 * ((h * w + 1) / 2) : (h - 1) * s + 3 * ((w + 1) / 2);
    }
    return 0;
}

int bytesPerPixel(uint64_t layout) {
    for (const auto& o : zelfuzz::kOutputCodes)
        if (o.code == layout) return o.bytesPerPixel;
    return 0;
}

[[noreturn]] void broken(const char* what) {
    std::fprintf(stderr, "zelDemosaicing broke its contract: %s\n", what);
    std::abort();
}

struct Frame {
    const ZelImage& input;  // its data untouched by any call
    size_t inputBytes;
    int32_t method;
    int64_t rowBytes;  // of one unpadded input row
    const Buffer& whole;  // the whole frame's output, zero where it wrote nothing
    int32_t wholeStatus;
};

// Runs the band twice, into outputs of all zeros and all ones: a byte that
// comes out the same in both was written.
void checkBand(ZelHandle* handle, const Frame& f, const BandDesc& band) {
    const int32_t h = f.input.height;
    const int32_t w = f.input.width;
    const int32_t first = band.first % (h + 2) - 1;
    const int32_t count = band.count % (h + 2);
    Buffer input(f.inputBytes);
    std::memcpy(input.data(), f.input.data, f.inputBytes);
    ZelImage src = f.input;
    src.data = input.data();
    Buffer zeros(f.whole.size), ones(f.whole.size);
    std::memset(zeros.data(), 0, zeros.size);
    std::memset(ones.data(), 0xFF, ones.size);
    ZelImage out0{0, 0, 0, zeros.data(), 0}, out1{0, 0, 0, ones.data(), 0};
    const int32_t status = zelDemosaicingRows(handle, &src, f.method, &out0, first, count);
    if (zelDemosaicingRows(handle, &src, f.method, &out1, first, count) != status)
        broken("the same band gave two statuses");
    if (std::memcmp(input.data(), f.input.data, f.inputBytes) != 0) broken("a band changed its input");
    const bool inside = first >= 0 && count > 0 && first + count <= h;
    if (inside && f.input.stride >= f.rowBytes) {
        if (status != f.wholeStatus) broken("a band and the whole frame got different statuses");
    } else if (status == ZEL_OK) {
        broken("a band outside the frame, or over rows shorter than the stride, was accepted");
    }
    const uint64_t layout = handle->outputFormat;
    const bool planar = layout == 0x02180021 || layout == 0x02180025;
    const int bpp = bytesPerPixel(layout);
    const size_t rowLength = static_cast<size_t>(w) * (planar ? 1 : bpp);
    const size_t plane = static_cast<size_t>(h) * w;
    for (size_t i = 0; i < f.whole.size; ++i) {
        const bool written = zeros.data()[i] == ones.data()[i];
        const int64_t row = static_cast<int64_t>((planar ? i % plane : i) / rowLength);
        const bool ours = status == ZEL_OK && row >= first && row < first + count;
        if (written && !ours) broken("a band wrote outside its rows");
        if (written && zeros.data()[i] != f.whole.data()[i]) broken("a band wrote a byte the whole frame does not");
        // Every byte of its rows but the fourth of four-byte pixels, which
        // the edge-directed kernels leave alone.
        if (ours && !written && f.whole.data()[i] != 0 && !(bpp == 4 && i % 4 == 3))
            broken("a band left a byte of its rows unwritten");
    }
}

void runFrame(ZelHandle* handle, const FrameDesc& d, const BandDesc& band, Reader& in) {
    const uint32_t code = d.codePick < 248 ? zelfuzz::kInputCodes[d.codePick % zelfuzz::kInputCodeCount].code
                                           : d.rawCode;
    // Up to 71 x 71, or negative.
    int32_t h = d.height >= 0 ? d.height % 72 : d.height;
    int32_t w = d.width >= 0 ? d.width % 72 : d.width;
    if (d.sizePick >= 250) {
        // Pixel counts of 2^31 and beyond: refused before anything is touched.
        static constexpr int32_t kBig[][2] = {{65536, 32768}, {INT32_MAX, 4}, {46341, 46341}, {4, INT32_MAX},
                                              {32768, 65536}, {INT32_MAX, INT32_MAX}};
        h = kBig[d.sizePick - 250][0];
        w = kBig[d.sizePick - 250][1];
    }
    const zelfuzz::InputCode* known = findCode(code);
    const Family family = known != nullptr ? known->family : Family::Bytes;
    const int64_t row = zelfuzz::rowBytes(family, w);
    int64_t stride = row;
    switch (d.strideKind % 4) {
        case 0: break;
        case 1: stride = row + (d.rawStride & 63); break;
        case 2: stride = row - (d.rawStride & 63); break;
        case 3: stride = d.rawStride % 1024; break;  // wider strides only cost time
    }
    stride = std::clamp<int64_t>(stride, INT32_MIN, INT32_MAX);

    const int32_t method = d.methodPick < 240 ? d.methodPick % 3 : static_cast<int8_t>(d.methodPick);
    if (d.layoutPick < 224) {
        const ZelPixelType layout = zelfuzz::kOutputCodes[d.layoutPick % zelfuzz::kOutputCodeCount].code;
        if (zelDemosaicSetConfig(handle, &layout) != ZEL_OK) broken("a valid layout was refused");
    } else if (d.layoutPick < 240) {
        const ZelPixelType before = handle->outputFormat;
        if (zelDemosaicSetConfig(handle, &d.rawLayout) == ZEL_OK) {
            if (bytesPerPixel(d.rawLayout) == 0) broken("an invalid layout was accepted");
        } else if (handle->outputFormat != before) {
            broken("a refused layout changed the handle");
        }
    } else {
        handle->outputFormat = d.rawLayout;  // the record is public; the converters must refuse it
    }

    // Calls the entry must refuse get buffers of no bytes at all.
    const bool accepted = known != nullptr && h > 3 && w > 3 && stride > 3 && int64_t{h} * w <= INT32_MAX;
    Buffer input(accepted ? static_cast<size_t>(inputBytes(family, h, w, stride)) : 0);
    in.fill(input.data(), input.size);
    const int bpp = bytesPerPixel(handle->outputFormat);
    Buffer output(accepted ? static_cast<size_t>(int64_t{h} * w * bpp) : 0);
    std::memset(output.data(), 0, output.size);
    // The whole-frame call may pack 8-bit rows in place; bands start from this copy.
    const bool bands = (band.enable & 1) && accepted && d.nulls < 252;
    Buffer pristine(bands ? input.size : 0);
    if (bands) std::memcpy(pristine.data(), input.data(), input.size);

    ZelImage src{h, w, code, input.data(), static_cast<int32_t>(stride)};
    const ZelImage before{-7, -7, 0xDEADBEEF, output.data(), 12345};
    ZelImage dst = before;
    if (d.nulls >= 252) {
        switch (d.nulls) {
            case 252: src.data = nullptr; break;
            case 253: dst.data = nullptr; break;
            case 254: handle = nullptr; break;
            default: break;
        }
    }
    const int32_t status = zelDemosaicing(handle, d.nulls == 255 ? nullptr : &src, method, &dst);
    if (status == ZEL_OK) {
        if (!accepted) broken("a call it must refuse succeeded");
        if (dst.height != h || dst.width != w || dst.stride != before.stride ||
            dst.pixelFormat != static_cast<uint32_t>(handle->outputFormat))
            broken("the output record is not the input's size and the handle's layout");
    } else if (dst.height != before.height || dst.width != before.width || dst.pixelFormat != before.pixelFormat) {
        broken("a failed call changed the output record");
    }
    if (bands) {
        ZelImage untouched = src;
        untouched.data = pristine.data();
        checkBand(handle, {untouched, pristine.size, method, row, output, status}, band);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    const FrameDesc first = readDesc(in);
    const FrameDesc second = readDesc(in);
    BandDesc band;
    band.visit(in);
    ZelHandle* handle = nullptr;
    if (zelCreate(&handle) != ZEL_OK) std::abort();
    runFrame(handle, first, band, in);
    runFrame(handle, second, band, in);
    zelRelease(&handle);
    return 0;
}
