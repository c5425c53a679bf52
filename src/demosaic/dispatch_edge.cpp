// Method 2 cells: the RG and GB edge-directed drivers serve all four orders,
// BG and GR with the channel flag inverted, the planes exchanged or the luma
// weights exchanged.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

const MethodTable kEdgeTable = methodTable(
    OrderPair{{withSwap<rg8ToBgr8_edge, 0>, withSwap<rg8ToBgr8_edge, 1>},
              {withSwap<rg8ToBgra8_edge, 0>, withSwap<rg8ToBgra8_edge, 1>},
              {planarWithLine<rg8ToBgr8P_edge, Planes::Forward>, planarWithLine<rg8ToBgr8P_edge, Planes::Reverse>},
              {withSwapAndLine<rg8ToMono8_edge, 0>, withSwapAndLine<rg8ToMono8_edge, 1>}},
    OrderPair{{withSwap<gb8ToBgr8_edge, 0>, withSwap<gb8ToBgr8_edge, 1>},
              {withSwap<gb8ToBgra8_edge, 0>, withSwap<gb8ToBgra8_edge, 1>},
              {planarWithLine<gb8ToBgr8P_edge, Planes::Forward>, planarWithLine<gb8ToBgr8P_edge, Planes::Reverse>},
              {withSwapAndLine<gb8ToMono8_edge, 0>, withSwapAndLine<gb8ToMono8_edge, 1>}});

}  // namespace zel
