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
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

using namespace zelfuzz;

// The input bytes the header asks the caller for, by bits per stored sample.
int64_t inputBytes(int bits, int64_t h, int64_t w, int64_t s) {
    if (bits == 16) return s == 2 * w ? 2 * h * w : (h - 1) * (s & ~int64_t{1}) + 2 * w;
    if (bits == 12) return s == w + w / 2 ? 3 * ((h * w + 1) / 2) : (h - 1) * s + 3 * ((w + 1) / 2);
    return std::max(h * w, (h - 1) * s + w);
}

// Bytes per pixel of a valid output layout, 0 for anything else.
int bytesPerPixel(uint64_t layout) { return listed(kOutputCodes, layout) ? storedBits(layout) / 8 : 0; }

// A whole-frame call, which its band is checked against.
struct Whole {
    ZelImage input;  // over a copy of the input that no call has touched
    size_t inputBytes;
    int32_t method;
    bool fullRows;  // the stride holds at least one unpadded row
    const Buffer& output;  // zero where the call wrote nothing
    int32_t status;
};

// Runs the band twice, into outputs of all zeros and all ones: a byte that
// comes out the same in both was written.
void checkBand(ZelHandle* handle, const Whole& f, const BandDesc& band) {
    const int32_t h = f.input.height;
    const int32_t first = band.first % (h + 2) - 1;
    const int32_t count = band.count % (h + 2);
    const Buffer input(f.input.data, f.inputBytes);
    ZelImage src = f.input;
    src.data = input.data();
    const Buffer zeros(f.output.size, 0), ones(f.output.size, 0xFF);
    ZelImage out0{0, 0, 0, zeros.data(), 0}, out1{0, 0, 0, ones.data(), 0};
    const int32_t status = zelDemosaicingRows(handle, &src, f.method, &out0, first, count);
    require(zelDemosaicingRows(handle, &src, f.method, &out1, first, count) == status,
            "the same band gave two statuses");
    require(std::memcmp(input.data(), f.input.data, f.inputBytes) == 0, "a band changed its input");
    if (first >= 0 && count > 0 && first + count <= h && f.fullRows)
        require(status == f.status, "a band and the whole frame got different statuses");
    else
        require(status != ZEL_OK, "a band outside the frame, or over rows shorter than the stride, was accepted");
    const uint64_t layout = handle->outputFormat;
    const bool planar = layout == ZEL_PIX_RGB8_PLANAR || layout == ZEL_PIX_BGR8_PLANAR;
    const int bpp = bytesPerPixel(layout);
    const size_t rowLength = static_cast<size_t>(f.input.width) * (planar ? 1 : bpp);
    const size_t plane = static_cast<size_t>(h) * f.input.width;
    for (size_t i = 0; i < f.output.size; ++i) {
        const uint8_t whole = f.output.data()[i];
        const int64_t row = static_cast<int64_t>((planar ? i % plane : i) / rowLength);
        const bool ours = status == ZEL_OK && row >= first && row < first + count;
        const bool written = zeros.data()[i] == ones.data()[i];
        require(!written || ours, "a band wrote outside its rows");
        require(!written || zeros.data()[i] == whole, "a band wrote a byte the whole frame does not");
        // All of its rows' bytes but the fourth of four-byte pixels, which the
        // edge-directed kernels leave alone.
        require(written || !ours || whole == 0 || (bpp == 4 && i % 4 == 3), "a band left a byte of its rows unwritten");
    }
}

void runFrame(ZelHandle* handle, const FrameDesc& d, const BandDesc& band, Reader& in) {
    const uint32_t code = d.codePick < 248 ? kInputCodes[d.codePick % kInputCodeCount] : d.rawCode;
    // Up to 71 x 71 or negative; or pixel counts of 2^31 and beyond, refused
    // before anything is touched.
    static constexpr int32_t kBig[][2] = {{65536, 32768}, {INT32_MAX, 4},     {46341, 46341},
                                          {4, INT32_MAX},  {32768, 65536}, {INT32_MAX, INT32_MAX}};
    const bool big = d.sizePick >= 250;
    const int32_t h = big ? kBig[d.sizePick - 250][0] : d.height >= 0 ? d.height % 72 : d.height;
    const int32_t w = big ? kBig[d.sizePick - 250][1] : d.width >= 0 ? d.width % 72 : d.width;
    const bool known = listed(kInputCodes, code);
    const int bits = known ? storedBits(code) : 8;
    const int64_t row = rowBytes(bits, w);
    // Packed rows, padded ones, rows shorter than a row, or any stride below
    // 1024 (wider ones only cost time).
    const int64_t strides[] = {row, row + (d.rawStride & 63), row - (d.rawStride & 63), d.rawStride % 1024};
    const int64_t stride = std::clamp<int64_t>(strides[d.strideKind % 4], INT32_MIN, INT32_MAX);
    const int32_t method = d.methodPick < 240 ? d.methodPick % 3 : static_cast<int8_t>(d.methodPick);

    const ZelPixelType layout = d.layoutPick < 224 ? kOutputCodes[d.layoutPick % kOutputCodeCount] : d.rawLayout;
    const ZelPixelType before = handle->outputFormat;
    if (d.layoutPick >= 240) {
        handle->outputFormat = layout;  // the record is public; the converters must refuse it
    } else if (zelDemosaicSetConfig(handle, &layout) == ZEL_OK) {
        require(bytesPerPixel(layout) > 0, "an invalid layout was accepted");
    } else {
        require(bytesPerPixel(layout) == 0, "a valid layout was refused");
        require(handle->outputFormat == before, "a refused layout changed the handle");
    }

    // Calls the entry must refuse get buffers of no bytes at all.
    const bool accepted = known && h > 3 && w > 3 && stride > 3 && int64_t{h} * w <= INT32_MAX;
    const Buffer input(accepted ? static_cast<size_t>(inputBytes(bits, h, w, stride)) : 0, in);
    const Buffer output(accepted ? static_cast<size_t>(int64_t{h} * w * bytesPerPixel(handle->outputFormat)) : 0, 0);
    // The whole-frame call may pack 8-bit rows in place; bands start from this copy.
    const bool bands = (band.enable & 1) && accepted && d.nulls < 252;
    const Buffer pristine(input.data(), bands ? input.size : 0);

    ZelImage src{h, w, code, d.nulls == 252 ? nullptr : input.data(), static_cast<int32_t>(stride)};
    const ZelImage unset{-7, -7, 0xDEADBEEF, d.nulls == 253 ? nullptr : output.data(), 12345};
    ZelImage dst = unset;
    const int32_t status =
        zelDemosaicing(d.nulls == 254 ? nullptr : handle, d.nulls == 255 ? nullptr : &src, method, &dst);
    if (status == ZEL_OK) {
        require(accepted && d.nulls < 252, "a call it must refuse succeeded");
        require(dst.height == h && dst.width == w && dst.stride == unset.stride &&
                    dst.pixelFormat == static_cast<uint32_t>(handle->outputFormat),
                "the output record is not the input's size and the handle's layout");
    } else {
        require(dst.height == unset.height && dst.width == unset.width && dst.pixelFormat == unset.pixelFormat,
                "a failed call changed the output record");
    }
    src.data = pristine.data();
    if (bands) checkBand(handle, {src, pristine.size, method, stride >= row, output, status}, band);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    const auto first = in.take<FrameDesc>(), second = in.take<FrameDesc>();
    const auto band = in.take<BandDesc>();
    ZelHandle* handle = nullptr;
    require(zelCreate(&handle) == ZEL_OK, "zelCreate failed");
    runFrame(handle, first, band, in);
    runFrame(handle, second, band, in);
    zelRelease(&handle);
    return 0;
}
