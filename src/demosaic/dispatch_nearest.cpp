// Method 0 cells: the RG and GB nearest kernels serve all four orders, BG and
// GR with the channel flag inverted or the planes exchanged.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

const MethodTable kNearestTable = methodTable(
    OrderPair{{withSwap<rg8ToBgr8_nearest, 0>, withSwap<rg8ToBgr8_nearest, 1>},
              {withSwap<rg8ToBgra8_nearest, 0>, withSwap<rg8ToBgra8_nearest, 1>},
              {planar<rg8ToBgr8P_nearest, Planes::Forward>, planar<rg8ToBgr8P_nearest, Planes::Reverse>},
              {withSwap<rg8ToMono8_nearest, 0>, withSwap<rg8ToMono8_nearest, 1>}},
    OrderPair{{withSwap<gb8ToBgr8_nearest, 0>, withSwap<gb8ToBgr8_nearest, 1>},
              {withSwap<gb8ToBgra8_nearest, 0>, withSwap<gb8ToBgra8_nearest, 1>},
              {planar<gb8ToBgr8P_nearest, Planes::Forward>, planar<gb8ToBgr8P_nearest, Planes::Reverse>},
              {withSwap<gb8ToMono8_nearest, 0>, withSwap<gb8ToMono8_nearest, 1>}});

}  // namespace zel
