// The accepted input codes and what each one reduces to.
#include <array>

#include "core/report.hpp"
#include "input/reduce.hpp"
#include "zelvora.h"

namespace zel {
namespace {

struct InputCode {
    uint32_t code;
    uint32_t reduced;
    int32_t sampleShift;
};

constexpr int32_t kPacked = kSampleShiftPacked;

constexpr std::array<InputCode, 31> kInputCodes{{
    {ZEL_PIX_MONO8, ZEL_PIX_MONO8, 0},
    {ZEL_PIX_MONO10, ZEL_PIX_MONO8, 2},
    {ZEL_PIX_MONO12, ZEL_PIX_MONO8, 4},
    {ZEL_PIX_MONO14, ZEL_PIX_MONO8, 6},
    {ZEL_PIX_MONO16, ZEL_PIX_MONO8, 8},
    {ZEL_PIX_MONO10_PACKED, ZEL_PIX_MONO8, kPacked},
    {ZEL_PIX_MONO12_PACKED, ZEL_PIX_MONO8, kPacked},
    {ZEL_PIX_BAYER_GR8, ZEL_PIX_BAYER_GR8, 0},
    {ZEL_PIX_BAYER_GR10, ZEL_PIX_BAYER_GR8, 2},
    {ZEL_PIX_BAYER_GR12, ZEL_PIX_BAYER_GR8, 4},
    {ZEL_PIX_BAYER_GR16, ZEL_PIX_BAYER_GR8, 8},
    {ZEL_PIX_BAYER_GR10_PACKED, ZEL_PIX_BAYER_GR8, kPacked},
    {ZEL_PIX_BAYER_GR12_PACKED, ZEL_PIX_BAYER_GR8, kPacked},
    {ZEL_PIX_BAYER_RG8, ZEL_PIX_BAYER_RG8, 0},
    {ZEL_PIX_BAYER_RG10, ZEL_PIX_BAYER_RG8, 2},
    {ZEL_PIX_BAYER_RG12, ZEL_PIX_BAYER_RG8, 4},
    {ZEL_PIX_BAYER_RG16, ZEL_PIX_BAYER_RG8, 8},
    {ZEL_PIX_BAYER_RG10_PACKED, ZEL_PIX_BAYER_RG8, kPacked},
    {ZEL_PIX_BAYER_RG12_PACKED, ZEL_PIX_BAYER_RG8, kPacked},
    {ZEL_PIX_BAYER_GB8, ZEL_PIX_BAYER_GB8, 0},
    {ZEL_PIX_BAYER_GB10, ZEL_PIX_BAYER_GB8, 2},
    {ZEL_PIX_BAYER_GB12, ZEL_PIX_BAYER_GB8, 4},
    {ZEL_PIX_BAYER_GB16, ZEL_PIX_BAYER_GB8, 8},
    {ZEL_PIX_BAYER_GB10_PACKED, ZEL_PIX_BAYER_GB8, kPacked},
    {ZEL_PIX_BAYER_GB12_PACKED, ZEL_PIX_BAYER_GB8, kPacked},
    {ZEL_PIX_BAYER_BG8, ZEL_PIX_BAYER_BG8, 0},
    {ZEL_PIX_BAYER_BG10, ZEL_PIX_BAYER_BG8, 2},
    {ZEL_PIX_BAYER_BG12, ZEL_PIX_BAYER_BG8, 4},
    {ZEL_PIX_BAYER_BG16, ZEL_PIX_BAYER_BG8, 8},
    {ZEL_PIX_BAYER_BG10_PACKED, ZEL_PIX_BAYER_BG8, kPacked},
    {ZEL_PIX_BAYER_BG12_PACKED, ZEL_PIX_BAYER_BG8, kPacked},
}};

}  // namespace
}  // namespace zel

extern "C" ZEL_API int32_t demosaicDataInit(const ZelImage* image, ZelHandle* /*handle*/,
                                            ZelPixelType* reducedFormat, int32_t* sampleShift) {
    *reducedFormat = zel::widenPixelType(image->pixelFormat);
    *sampleShift = 0;
    for (const auto& entry : zel::kInputCodes) {
        if (entry.code == image->pixelFormat) {
            *reducedFormat = entry.reduced;
            *sampleShift = entry.sampleShift;
            return ZEL_OK;
        }
    }
    return errUnsupportedInput;
}
