// Method 1 cells. Interleaved output of the opposite channel order comes from
// the kernel whose native order has red and blue exchanged (RG with BG, GB
// with GR); planar and mono output from the RG and GR kernels with the planes
// or the luma weights ordered for the data.
#include "demosaic/dispatch.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace zel {

// Columns: BGR8, RGB8, BGRA8, RGBA8, RGB8 planar, BGR8 planar, Mono8.
const MethodTable kBilinearTable = {
    /* RG */ {plain<rg8ToBgr8_bilinear>, plain<bg8ToBgr8_bilinear>, plain<rg8ToBgra8_bilinear>,
              plain<bg8ToBgra8_bilinear>, planar<rg8ToBgr8P_bilinear, Planes::Forward>,
              planar<rg8ToBgr8P_bilinear, Planes::Reverse>, weighted<rg8ToMono8_bilinear, kLumaRedFirst>},
    /* BG */ {plain<bg8ToBgr8_bilinear>, plain<rg8ToBgr8_bilinear>, plain<bg8ToBgra8_bilinear>,
              plain<rg8ToBgra8_bilinear>, planar<rg8ToBgr8P_bilinear, Planes::Reverse>,
              planar<rg8ToBgr8P_bilinear, Planes::Forward>, weighted<rg8ToMono8_bilinear, kLumaBlueFirst>},
    /* GB */ {plain<gb8ToBgr8_bilinear>, plain<gr8ToBgr8_bilinear>, plain<gb8ToBgra8_bilinear>,
              plain<gr8ToBgra8_bilinear>, planar<gr8ToBgr8P_bilinear, Planes::Reverse>,
              planar<gr8ToBgr8P_bilinear, Planes::Forward>, weighted<gr8ToMono8_bilinear, kLumaBlueFirst>},
    /* GR */ {plain<gr8ToBgr8_bilinear>, plain<gb8ToBgr8_bilinear>, plain<gr8ToBgra8_bilinear>,
              plain<gb8ToBgra8_bilinear>, planar<gr8ToBgr8P_bilinear, Planes::Forward>,
              planar<gr8ToBgr8P_bilinear, Planes::Reverse>, weighted<gr8ToMono8_bilinear, kLumaRedFirst>},
};

}  // namespace zel
