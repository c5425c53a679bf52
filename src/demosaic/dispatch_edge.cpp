// Method 2 cells.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

// Not produced yet: every cell is empty.
const MethodTable kEdgeTable = {};

}  // namespace zel
