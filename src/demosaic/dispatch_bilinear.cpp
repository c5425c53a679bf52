// Method 1 cells. Interleaved output of the opposite channel order comes from
// the kernel whose native order has red and blue exchanged (RG with BG, GB
// with GR); planar and mono output from the RG and GR kernels with the planes
// or the luma weights ordered for the data. The GR kernels' top plane takes
// the colour that shares row 0 with green: blue for GB data.
#include "demosaic/dispatch.hpp"
#include "demosaic/layout.hpp"
#include "zelvora.h"

namespace zel {

const MethodTable kBilinearTable = methodTable(
    OrderPair{{plain<rg8ToBgr8_bilinear>, plain<bg8ToBgr8_bilinear>},
              {plain<rg8ToBgra8_bilinear>, plain<bg8ToBgra8_bilinear>},
              {planar<rg8ToBgr8P_bilinear, Planes::Forward>, planar<rg8ToBgr8P_bilinear, Planes::Reverse>},
              {weighted<rg8ToMono8_bilinear, kLumaRedFirst>, weighted<rg8ToMono8_bilinear, kLumaBlueFirst>}},
    OrderPair{{plain<gb8ToBgr8_bilinear>, plain<gr8ToBgr8_bilinear>},
              {plain<gb8ToBgra8_bilinear>, plain<gr8ToBgra8_bilinear>},
              {planar<gr8ToBgr8P_bilinear, Planes::Reverse>, planar<gr8ToBgr8P_bilinear, Planes::Forward>},
              {weighted<gr8ToMono8_bilinear, kLumaBlueFirst>, weighted<gr8ToMono8_bilinear, kLumaRedFirst>}});

}  // namespace zel
