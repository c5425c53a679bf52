// Lens-shading estimation: gain/offset entries from a flat-field (grey) frame
// and a dark frame or black level.
//
// Every entry brings its grey-minus-dark level to one common target, the mean
// grey-minus-dark level of the whole frame. The precision of each step is
// fixed so that x86 and 32-bit ARM give the same bits: block and region sums
// in single precision, added in the order written here; the target sums and
// each entry's gain and offset in double precision. Nothing here may be
// reordered or contracted into fused multiply-adds (the build turns
// contraction off).
#include "lsc/estimate.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "core/report.hpp"
#include "lsc/table.hpp"
#include "zelvora.h"

namespace zel::lsc {
namespace {

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

// ---------------------------------------------------------------- averages

// Dark level of a 2x2 block: all four samples, upper pair then lower pair.
inline float blockDarkLevel(const float* upper, const float* lower) {
    return (((upper[0] + upper[1]) + lower[0]) + lower[1]) * 0.25f;
}

// Grey level of a 2x2 block: the upper pair only, each sample counted twice;
// the lower row of the grey frame is never read. Deliberately unlike the dark
// level above.
inline float blockGreyLevel(const float* upper) { return (((upper[0] + upper[1]) + upper[0]) + upper[1]) * 0.25f; }

// ---------------------------------------------------------------- gains

// k = target / (grey - dark), the difference taken in single precision.
inline double gainFactor(float dark, float grey, double target) {
    const float difference = grey - dark;
    return target / static_cast<double>(difference);
}

// Table gain of one pixel or block, 1.0 = 2^17, saturated to 20 bits.
uint32_t tableGain(float dark, float grey, double target) {
    // Where grey does not exceed dark the gain is 0 and the pixel is corrected
    // to black. The regional table (regionalGain) uses 1.0 there instead; the
    // two rules differ on purpose.
    if (dark >= grey) return 0;
    const double k = gainFactor(dark, grey, target);
    if (!(k >= 0.0)) return 0;  // negative, or NaN from NaN samples
    if (k > 8.0) return kMaxGain;
    return std::min(static_cast<uint32_t>(k * 131072.0 + 0.5), kMaxGain);
}

// 2^(12 - bitDepth) as a 32-bit integer. The shift count is taken modulo 256
// and a count of 32 or more gives 0, so bit depths from 13 up give offset 0
// everywhere. Kept as is on purpose.
int32_t offsetScale(uint32_t bitDepth) {
    const uint32_t count = (12u - bitDepth) & 0xFFu;
    return count >= 32 ? 0 : static_cast<int32_t>(1u << count);
}

// Table offset: the dark level on a 12-bit scale, rounded half up, saturated
// to 0..4095.
uint32_t tableOffset(float dark, int32_t scale) {
    const double s = static_cast<double>(dark) * scale;
    if (!(s >= 0.0)) return 0;  // negative, or NaN
    if (s > 4095.0) return kMaxOffset;
    return static_cast<uint32_t>(s + 0.5);
}

// Regional gain: K over 4096 in 13 bits, and the unrounded factor k that the
// offset uses.
struct RegionalGain {
    double k;
    uint32_t code;
};

inline constexpr uint32_t kMaxRegionalGain = 8191;

RegionalGain regionalGain(float dark, float grey, double target) {
    // A region whose grey level does not exceed the black level keeps gain
    // 1.0, unlike the table's gain 0 (tableGain). Deliberate.
    if (dark >= grey) return {1.0, 4096};
    const double k = gainFactor(dark, grey, target);
    if (!(k >= 0.0)) return {0.0, 0};  // negative, or NaN
    // Saturation at 2.0: 2.0 itself rounds to 8192 and is capped to 8191 too.
    if (k > 2.0) return {2.0, kMaxRegionalGain};
    return {k, std::min(static_cast<uint32_t>(k * 4096.0 + 0.5) & 0xFFFFu, kMaxRegionalGain)};
}

// Offset on an 11-bit sample scale: v = L - k * d in double, rounded to single
// precision and widened again, then scaled by 2^(11 - bitDepth).
double regionalOffset(double k, float dark, float darkLevel, uint32_t bitDepth) {
    const double v = static_cast<float>(static_cast<double>(darkLevel) - k * static_cast<double>(dark));
    if (bitDepth <= 11) return v * std::ldexp(1.0, static_cast<int>(11 - bitDepth));
    return v / std::ldexp(1.0, static_cast<int>(std::min(bitDepth - 11, 4096u)));
}

// Rounds half away from zero. Only whether the result lies in -1024..1023
// matters to the packing, so values far outside are clamped first to keep the
// conversion defined; NaN gives 0.
int32_t roundHalfAway(double v) {
    constexpr double kLimit = 1 << 20;
    if (v >= 0.0) return static_cast<int32_t>(std::min(v, kLimit) + 0.5);
    if (v < 0.0) return static_cast<int32_t>(std::max(v, -kLimit) - 0.5);
    return 0;
}

// byte 1 of a low-saturated entry: the whole 0xFC is ORed over the gain's
// five low bits, which then read as ones, while the offset reads -1024. Kept
// bit for bit on purpose.
inline constexpr uint8_t kLowSaturationByte = 0xFC;

// 24-bit big-endian entry: gain in bits 23..11, offset in 10..0.
void packRegional(uint8_t* out, uint32_t gain, int32_t offset) {
    const uint32_t gainLow = (gain & 31u) << 3;
    out[0] = static_cast<uint8_t>(gain >> 5);
    if (offset < -1024) {
        out[1] = static_cast<uint8_t>(gainLow | kLowSaturationByte);
        out[2] = 0;
    } else if (offset >= 1024) {
        out[1] = static_cast<uint8_t>(gainLow | 3u);
        out[2] = 0xFF;
    } else {
        const uint32_t o = static_cast<uint32_t>(offset) & 0x7FFu;
        out[1] = static_cast<uint8_t>(gainLow | (o >> 8));
        out[2] = static_cast<uint8_t>(o & 0xFFu);
    }
}

// ---------------------------------------------------------------- operations

// The allocation-failure messages, "创建blockGrey内存空间失败" and
// "创建blockDark内存空间失败" ("failed to create the blockGrey/blockDark
// memory"), encoded in the GBK code page, byte for byte.
// clang-format off
constexpr char kGreyAllocationFailed[] = "\xB4\xB4\xBD\xA8" "blockGrey" "\xC4\xDA\xB4\xE6\xBF\xD5\xBC\xE4\xCA\xA7\xB0\xDC";
constexpr char kDarkAllocationFailed[] = "\xB4\xB4\xBD\xA8" "blockDark" "\xC4\xDA\xB4\xE6\xBF\xD5\xBC\xE4\xCA\xA7\xB0\xDC";
// clang-format on

// The two temporary arrays, blockGrey taken first and blockDark second,
// released in the opposite order on every path.
class BlockArrays {
   public:
    BlockArrays(const FloatArrays& arrays, size_t count) : arrays_(arrays) {
        grey_ = arrays_.allocate(count);
        if (grey_ == nullptr) {
            std::puts(kGreyAllocationFailed);
            return;
        }
        dark_ = arrays_.allocate(count);
        if (dark_ == nullptr) std::puts(kDarkAllocationFailed);
    }
    ~BlockArrays() {
        if (dark_ != nullptr) arrays_.release(dark_);
        if (grey_ != nullptr) arrays_.release(grey_);
    }
    BlockArrays(const BlockArrays&) = delete;
    BlockArrays& operator=(const BlockArrays&) = delete;

    bool ok() const { return dark_ != nullptr; }
    float* grey() const { return grey_; }
    float* dark() const { return dark_; }

   private:
    const FloatArrays& arrays_;
    float* grey_ = nullptr;
    float* dark_ = nullptr;
};

// The entry computations return 0; a nonzero status is reported as a failed
// computation.
int32_t entriesFailed(int32_t status) {
    std::printf("getLSCKB Failed.    Error = %d\n", status);
    return errComputeFailed;
}

// Frames whose sample count does not fit a signed 32-bit count.
bool tooManySamples(int32_t width, int32_t height) {
    return static_cast<int64_t>(width) * height > std::numeric_limits<int32_t>::max();
}

void writeHeader(ZelLSCTable* table, uint32_t mode, int32_t height, int32_t width) {
    table->mode = mode;
    table->height = height;
    table->width = width;
}

// The regional table refuses a region kind outside 2..4 or a mode other than
// 0 only after the averages and the target are computed, and says nothing.
// Kept in this place on purpose: an allocation failure is reported first.
// The two arrays are released on this path as on every other.
bool regionalLateRefusal(const ZelBasicLSCInput& in) { return in.regionKind < 2 || in.regionKind > 4 || in.mode != 0; }

}  // namespace

int32_t getLSCParameter(const ZelLSCInput* input, ZelLSCTable* table, const FloatArrays& arrays) {
    if (input == nullptr || input->dark == nullptr || input->grey == nullptr || table == nullptr)
        return fail(598, errInvalidParameter);
    const ZelLSCInput& in = *input;
    if (in.mode > 1) return fail(599, errUnsupportedOutput);
    if (in.height < 32 || in.width < 32 || tooManySamples(in.width, in.height)) return fail(600, errBadImageSize);
    if (in.width % 2 != 0 || in.height % 2 != 0) return fail(601, errBadImageSize);

    if (in.mode == 1) {
        const int32_t n = in.width * in.height;
        const double target = getTargetLSCMono(in.dark, in.grey, n);
        writeHeader(table, 1, in.height, in.width);
        const int32_t status = getLSCKBMono(in.dark, in.grey, n, in.bitDepth, table->entries, target);
        return status == 0 ? ZEL_OK : entriesFailed(status);
    }

    const int32_t n = (in.height / 2) * (in.width / 2);
    const BlockArrays blocks(arrays, static_cast<size_t>(n));
    if (!blocks.ok()) return errNoMemory;
    dataInit2x2(in.dark, in.grey, in.height, in.width, blocks.dark(), blocks.grey());
    const double target = getTargetLSCMono(blocks.dark(), blocks.grey(), n);
    writeHeader(table, 0, in.height, in.width);
    const int32_t status = getLSCKBMono(blocks.dark(), blocks.grey(), n, in.bitDepth, table->entries, target);
    return status == 0 ? ZEL_OK : entriesFailed(status);
}

int32_t getBasicLSCParameter(const ZelBasicLSCInput* input, uint8_t* bytes, const FloatArrays& arrays) {
    if (input == nullptr || input->grey == nullptr || bytes == nullptr) return fail(501, errInvalidParameter);
    const ZelBasicLSCInput& in = *input;
    if (in.mode > 1) return fail(502, errUnsupportedOutput);
    if (in.height < 32 || in.width < 32 || tooManySamples(in.width, in.height)) return fail(503, errBadImageSize);
    if (in.bitDepth != 8 && in.bitDepth != 10 && in.bitDepth != 12) return fail(504, errUnsupportedOutput);
    if ((in.blockWidth != 32 && in.blockWidth != 16) || in.blockHeight != 16) return fail(505, errBadImageSize);

    constexpr int32_t kRegionHeight = 16;
    const int32_t regionWidth = static_cast<int32_t>(in.blockWidth);
    const int32_t regionColumns = in.width / regionWidth;
    const int32_t regionRows = in.height >> 4;
    const int32_t n = regionRows * regionColumns;

    const BlockArrays blocks(arrays, static_cast<size_t>(n));
    if (!blocks.ok()) return errNoMemory;
    std::fill(blocks.dark(), blocks.dark() + n, in.darkLevel);
    grayDataInit(in.grey, in.height, in.width, regionWidth, kRegionHeight, regionRows, regionColumns,
                 regionWidth * kRegionHeight, blocks.grey());
    const double target = getTargetLSCMono(blocks.dark(), blocks.grey(), n);
    if (regionalLateRefusal(in)) return errUnsupportedOutput;
    const int32_t status =
        getLSCKBMono_REGION(blocks.dark(), blocks.grey(), n, in.bitDepth, bytes, target, in.darkLevel);
    return status == 0 ? ZEL_OK : entriesFailed(status);
}

}  // namespace zel::lsc

namespace {

float* allocateFloats(size_t count) { return static_cast<float*>(std::malloc(count * sizeof(float))); }
void releaseFloats(float* array) { std::free(array); }

constexpr zel::lsc::FloatArrays kGeneralAllocator{allocateFloats, releaseFloats};

}  // namespace

using namespace zel::lsc;

extern "C" {

ZEL_API int32_t zelGetLSCParameter(const ZelLSCInput* input, ZelLSCTable* table) {
    return getLSCParameter(input, table, kGeneralAllocator);
}

ZEL_API int32_t zelGetBasicLSCParameter(const ZelBasicLSCInput* input, uint8_t* bytes) {
    return getBasicLSCParameter(input, bytes, kGeneralAllocator);
}

ZEL_API int32_t dataInit2x2(const float* dark, const float* grey, int32_t height, int32_t width, float* blockDark,
                            float* blockGrey) {
    const int32_t rows = height / 2;
    const int32_t columns = width / 2;
    if (rows <= 0 || columns <= 0) return ZEL_OK;
    for (int32_t i = 0; i < rows; ++i) {
        const ptrdiff_t upper = static_cast<ptrdiff_t>(2 * i) * width;
        const float* darkUpper = dark + upper;
        const float* darkLower = darkUpper + width;
        const float* greyUpper = grey + upper;
        float* darkOut = blockDark + static_cast<ptrdiff_t>(i) * columns;
        float* greyOut = blockGrey + static_cast<ptrdiff_t>(i) * columns;
        for (int32_t j = 0; j < columns; ++j) {
            darkOut[j] = blockDarkLevel(darkUpper + 2 * j, darkLower + 2 * j);
            greyOut[j] = blockGreyLevel(greyUpper + 2 * j);
        }
    }
    return ZEL_OK;
}

ZEL_API int32_t grayDataInit(const float* grey, int32_t /*height*/, int32_t rowLength, int32_t regionWidth,
                             int32_t regionHeight, int32_t regionRows, int32_t regionColumns, int32_t divisor,
                             float* averages) {
    for (int32_t i = 0; i < regionRows; ++i) {
        for (int32_t j = 0; j < regionColumns; ++j) {
            const float* region =
                grey + static_cast<ptrdiff_t>(i) * regionHeight * rowLength + static_cast<ptrdiff_t>(j) * regionWidth;
            float sum = 0.0f;
            for (int32_t r = 0; r < regionHeight; ++r) {
                const float* row = region + static_cast<ptrdiff_t>(r) * rowLength;
                for (int32_t c = 0; c < regionWidth; ++c) sum += row[c];
            }
            averages[static_cast<ptrdiff_t>(i) * regionColumns + j] = sum / static_cast<float>(divisor);
        }
    }
    return ZEL_OK;
}

ZEL_API double getTargetLSCMono(const float* dark, const float* grey, int32_t count) {
    double sumDark = 0.0;
    double sumGrey = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        sumDark += static_cast<double>(dark[i]);
        sumGrey += static_cast<double>(grey[i]);
    }
    return (sumGrey - sumDark) / static_cast<double>(count);
}

ZEL_API int32_t getLSCKBMono(const float* dark, const float* grey, int32_t count, uint32_t bitDepth, uint32_t* entries,
                             double target) {
    const int32_t scale = offsetScale(bitDepth);
    for (int32_t i = 0; i < count; ++i)
        entries[i] = packEntry(tableGain(dark[i], grey[i], target), tableOffset(dark[i], scale));
    return ZEL_OK;
}

ZEL_API int32_t getLSCKBMono_REGION(const float* dark, const float* grey, int32_t count, uint32_t bitDepth,
                                    uint8_t* bytes, double target, float darkLevel) {
    for (int32_t i = 0; i < count; ++i) {
        const RegionalGain gain = regionalGain(dark[i], grey[i], target);
        const int32_t offset = roundHalfAway(regionalOffset(gain.k, dark[i], darkLevel, bitDepth));
        packRegional(bytes + static_cast<ptrdiff_t>(i) * 3, gain.code, offset);
    }
    return ZEL_OK;
}

}  // extern "C"
