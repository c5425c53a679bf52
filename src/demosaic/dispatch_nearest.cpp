// Method 0 cells: the RG and GB nearest kernels serve all four orders, BG and
// GR with the channel flag inverted or the planes exchanged.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

// Columns: BGR8, RGB8, BGRA8, RGBA8, RGB8 planar, BGR8 planar, Mono8.
const MethodTable kNearestTable = {
    /* RG */ {withSwap<rg8ToBgr8_nearest, 0>, withSwap<rg8ToBgr8_nearest, 1>, withSwap<rg8ToBgra8_nearest, 0>,
              withSwap<rg8ToBgra8_nearest, 1>, planar<rg8ToBgr8P_nearest, Planes::Forward>,
              planar<rg8ToBgr8P_nearest, Planes::Reverse>, withSwap<rg8ToMono8_nearest, 0>},
    /* BG */ {withSwap<rg8ToBgr8_nearest, 1>, withSwap<rg8ToBgr8_nearest, 0>, withSwap<rg8ToBgra8_nearest, 1>,
              withSwap<rg8ToBgra8_nearest, 0>, planar<rg8ToBgr8P_nearest, Planes::Reverse>,
              planar<rg8ToBgr8P_nearest, Planes::Forward>, withSwap<rg8ToMono8_nearest, 1>},
    /* GB */ {withSwap<gb8ToBgr8_nearest, 0>, withSwap<gb8ToBgr8_nearest, 1>, withSwap<gb8ToBgra8_nearest, 0>,
              withSwap<gb8ToBgra8_nearest, 1>, planar<gb8ToBgr8P_nearest, Planes::Forward>,
              planar<gb8ToBgr8P_nearest, Planes::Reverse>, withSwap<gb8ToMono8_nearest, 0>},
    /* GR */ {withSwap<gb8ToBgr8_nearest, 1>, withSwap<gb8ToBgr8_nearest, 0>, withSwap<gb8ToBgra8_nearest, 1>,
              withSwap<gb8ToBgra8_nearest, 0>, planar<gb8ToBgr8P_nearest, Planes::Reverse>,
              planar<gb8ToBgr8P_nearest, Planes::Forward>, withSwap<gb8ToMono8_nearest, 1>},
};

}  // namespace zel
