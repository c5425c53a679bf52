// Method 2 cells: the RG and GB edge-directed drivers serve all four orders,
// BG and GR with the channel flag inverted, the planes exchanged or the luma
// weights exchanged.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

// Columns: BGR8, RGB8, BGRA8, RGBA8, RGB8 planar, BGR8 planar, Mono8.
const MethodTable kEdgeTable = {
    /* RG */ {withSwap<rg8ToBgr8_edge, 0>, withSwap<rg8ToBgr8_edge, 1>, withSwap<rg8ToBgra8_edge, 0>,
              withSwap<rg8ToBgra8_edge, 1>, planarWithLine<rg8ToBgr8P_edge, Planes::Forward>,
              planarWithLine<rg8ToBgr8P_edge, Planes::Reverse>, withSwapAndLine<rg8ToMono8_edge, 0>},
    /* BG */ {withSwap<rg8ToBgr8_edge, 1>, withSwap<rg8ToBgr8_edge, 0>, withSwap<rg8ToBgra8_edge, 1>,
              withSwap<rg8ToBgra8_edge, 0>, planarWithLine<rg8ToBgr8P_edge, Planes::Reverse>,
              planarWithLine<rg8ToBgr8P_edge, Planes::Forward>, withSwapAndLine<rg8ToMono8_edge, 1>},
    /* GB */ {withSwap<gb8ToBgr8_edge, 0>, withSwap<gb8ToBgr8_edge, 1>, withSwap<gb8ToBgra8_edge, 0>,
              withSwap<gb8ToBgra8_edge, 1>, planarWithLine<gb8ToBgr8P_edge, Planes::Forward>,
              planarWithLine<gb8ToBgr8P_edge, Planes::Reverse>, withSwapAndLine<gb8ToMono8_edge, 0>},
    /* GR */ {withSwap<gb8ToBgr8_edge, 1>, withSwap<gb8ToBgr8_edge, 0>, withSwap<gb8ToBgra8_edge, 1>,
              withSwap<gb8ToBgra8_edge, 0>, planarWithLine<gb8ToBgr8P_edge, Planes::Reverse>,
              planarWithLine<gb8ToBgr8P_edge, Planes::Forward>, withSwapAndLine<gb8ToMono8_edge, 1>},
};

}  // namespace zel
