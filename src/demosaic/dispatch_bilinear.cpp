// Method 1 cells.
#include "demosaic/dispatch.hpp"
#include "zelvora.h"

namespace zel {

// Not produced yet: every cell is empty.
const MethodTable kBilinearTable = {};

}  // namespace zel
