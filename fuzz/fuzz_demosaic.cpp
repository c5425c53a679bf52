// zelDemosaicing over every input code and random ones, sizes from negative to
// 71 x 71, every stride case, every method and out-of-range ones, and
// valid and invalid output layouts. Two frames go through one handle, so the
// second call meets the scratch buffer the first one left.
//
// Input: two FrameDesc, then the bytes
// the input buffers are filled with.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "descs.hpp"
#include "fuzz_input.hpp"
#include "zelvora.h"

namespace {

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

void runFrame(ZelHandle* handle, const FrameDesc& d, Reader& in) {
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
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    const FrameDesc first = readDesc(in);
    const FrameDesc second = readDesc(in);
    ZelHandle* handle = nullptr;
    if (zelCreate(&handle) != ZEL_OK) std::abort();
    runFrame(handle, first, in);
    runFrame(handle, second, in);
    zelRelease(&handle);
    return 0;
}
