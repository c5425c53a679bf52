// Lens-shading correction: every sample has its entry's offset subtracted and
// is multiplied by its entry's gain in fixed point (G / 2^17, rounded half up),
// then saturated to the sample depth (lsc/rule.hpp). One entry per pixel (mode 1) or one per
// 2x2 block (mode 0). Each output sample depends only on the input sample at
// the same position, read before it is written, so the correction may run in
// place.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/report.hpp"
#include "lsc/rule.hpp"
#include "lsc/table.hpp"
#include "simd/dispatch.hpp"
#include "zelvora.h"

namespace zel::lsc {
namespace {

// A rule as the correctors use it: sample, decoded entry and bound in, the
// corrected sample out.
template <typename Wide, bool Unsigned>
struct Rule {
    static int32_t apply(int32_t sample, int32_t offset, uint32_t gain, int32_t max) {
        using Ops = ScalarOps<Wide>;
        const Wide s = sample, o = offset, g = gain, m = max;
        return static_cast<int32_t>(Unsigned ? unsignedDifference<Ops>(s, o, g, m) : signedDifference<Ops>(s, o, g, m));
    }
};
using SignedRule8 = Rule<int32_t, false>;
using SignedRule16 = Rule<int64_t, false>;
using UnsignedRule16 = Rule<int64_t, true>;

// Sample access by element index. 16-bit samples are copied through memcpy
// so that a frame at an odd address is read and written without faults.
template <typename T>
struct Samples {
    const uint8_t* src;
    uint8_t* dst;

    int32_t load(ptrdiff_t i) const {
        T s;
        std::memcpy(&s, src + i * static_cast<ptrdiff_t>(sizeof(T)), sizeof(T));
        return s;
    }
    void store(ptrdiff_t i, int32_t v) const {
        const T s = static_cast<T>(v);
        std::memcpy(dst + i * static_cast<ptrdiff_t>(sizeof(T)), &s, sizeof(T));
    }
};

// Entries applied to samples of type T by one rule.
template <typename Rule, typename T>
struct Corrector {
    Samples<T> samples;
    Depth depth;

    int32_t bits() const { return 12 - depth.offsetShift; }

    struct Decoded {
        int32_t offset;
        uint32_t gain;
    };
    Decoded decode(uint32_t entry) const {
        return {static_cast<int32_t>(entryOffset(entry) >> depth.offsetShift), entryGain(entry)};
    }
    void put(const Decoded& e, ptrdiff_t i) const {
        samples.store(i, Rule::apply(samples.load(i), e.offset, e.gain, depth.max));
    }
    void apply(uint32_t entry, ptrdiff_t i) const { put(decode(entry), i); }
    // The four samples of a block, upper pair then lower pair.
    void applyBlock(uint32_t entry, ptrdiff_t upper, ptrdiff_t lower) const {
        const Decoded e = decode(entry);
        put(e, upper);
        put(e, upper + 1);
        put(e, lower);
        put(e, lower + 1);
    }
};

// Mode 1: sample i uses entry i.
template <typename Rule, typename T>
void perPixel(const Corrector<Rule, T>& c, const uint32_t* entries, int32_t height, int32_t width) {
    const int64_t count = static_cast<int64_t>(height) * width;
    if (count <= 0 || count > PTRDIFF_MAX) return;
    const ptrdiff_t n = static_cast<ptrdiff_t>(count);
    const simd::LscPixelRun run = simd::kernels().lscPixel[sizeof(T) - 1];
    ptrdiff_t i = run == nullptr ? 0 : run(c.samples.src, c.samples.dst, entries, n, c.bits());
    for (; i < n; ++i) c.apply(entries[i], i);
}

// Mode 0: entry i * (width / 2) + j serves rows 2i, 2i+1 and columns 2j, 2j+1.
// With an odd width or height the last column or row is left unwritten.
template <typename Rule, typename T>
void perBlock(const Corrector<Rule, T>& c, const uint32_t* entries, int32_t height, int32_t width) {
    const int32_t rows = height / 2;
    const int32_t columns = width / 2;
    if (rows <= 0 || columns <= 0) return;
    const simd::LscBlockRun run = simd::kernels().lscBlock[sizeof(T) - 1];
    for (int32_t i = 0; i < rows; ++i) {
        const ptrdiff_t upper = static_cast<ptrdiff_t>(2 * i) * width;
        const uint32_t* rowEntries = entries + static_cast<ptrdiff_t>(i) * columns;
        int32_t j = 0;
        if (run != nullptr) j = static_cast<int32_t>(run(c.samples.src, c.samples.dst, rowEntries, upper, upper + width,
                                                         columns, c.bits()));
        for (; j < columns; ++j) c.applyBlock(rowEntries[j], upper + 2 * j, upper + width + 2 * j);
    }
}

template <typename T, typename PixelRule, typename BlockRule>
int32_t correct(const uint8_t* src, uint8_t* dst, uint32_t mode, const uint32_t* entries, int32_t height, int32_t width,
                Depth depth) {
    const Samples<T> samples{src, dst};
    if (mode == 1) perPixel(Corrector<PixelRule, T>{samples, depth}, entries, height, width);
    if (mode == 0) perBlock(Corrector<BlockRule, T>{samples, depth}, entries, height, width);
    return ZEL_OK;
}

// 10- and 12-bit samples, 2 bytes each. Any depth from 1 to 12 follows the
// same rules; other depths write nothing.
int32_t correct16(const uint8_t* src, uint8_t* dst, uint32_t mode, const uint32_t* entries, int32_t height,
                  int32_t width, int32_t bitDepth) {
    if (bitDepth < 1 || bitDepth > 12) return ZEL_OK;
    return correct<uint16_t, SignedRule16, UnsignedRule16>(src, dst, mode, entries, height, width, depthOf(bitDepth));
}

}  // namespace
}  // namespace zel::lsc

using namespace zel::lsc;

extern "C" {

ZEL_API int32_t getBits(ZelPixelType pixelType) {
    switch (pixelType) {
        case ZEL_PIX_MONO8:
        case ZEL_PIX_BAYER_GR8:
        case ZEL_PIX_BAYER_RG8:
        case ZEL_PIX_BAYER_GB8:
        case ZEL_PIX_BAYER_BG8:
            return 8;
        case ZEL_PIX_MONO10:
        case ZEL_PIX_BAYER_GR10:
        case ZEL_PIX_BAYER_RG10:
        case ZEL_PIX_BAYER_GB10:
        case ZEL_PIX_BAYER_BG10:
            return 10;
        case ZEL_PIX_MONO12:
        case ZEL_PIX_BAYER_GR12:
        case ZEL_PIX_BAYER_RG12:
        case ZEL_PIX_BAYER_GB12:
        case ZEL_PIX_BAYER_BG12:
            return 12;
        default:
            return errUnsupportedInput;
    }
}

ZEL_API int32_t LSCcorrect8_2x2(const uint8_t* src, uint8_t* dst, uint32_t mode, const uint32_t* entries,
                                int32_t height, int32_t width) {
    return correct<uint8_t, SignedRule8, SignedRule8>(src, dst, mode, entries, height, width, depthOf(8));
}

ZEL_API int32_t LSCcorrect16_2x2(const uint16_t* src, uint16_t* dst, uint32_t mode, const uint32_t* entries,
                                 int32_t height, int32_t width, int32_t bitDepth) {
    return correct16(reinterpret_cast<const uint8_t*>(src), reinterpret_cast<uint8_t*>(dst), mode, entries, height,
                     width, bitDepth);
}

ZEL_API int32_t zelLSCorrection(const ZelImage* source, const ZelImage* destination, const ZelLSCTable* table) {
    using zel::fail;
    if (source == nullptr || destination == nullptr || table == nullptr) return fail(692, errInvalidParameter);
    if (source->data == nullptr || destination->data == nullptr) return fail(693, errInvalidParameter);
    // A bad mode is -111 here, though the estimation reports it as -107.
    if (table->mode > 1) return fail(694, errInvalidParameter);
    if (table->height != source->height || table->width != source->width) return fail(695, errBadImageSize);

    const int32_t bits = getBits(zel::widenPixelType(source->pixelFormat));
    if (bits == 8) {
        LSCcorrect8_2x2(source->data, destination->data, table->mode, table->entries, source->height, source->width);
    } else if (bits == 10 || bits == 12) {
        correct16(source->data, destination->data, table->mode, table->entries, source->height, source->width, bits);
    }
    // Any other pixel type is reported as success with nothing written, on
    // purpose.
    return ZEL_OK;
}

}  // extern "C"
