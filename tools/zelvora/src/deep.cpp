#include "deep.hpp"

#include "error.hpp"

namespace zelvora {

std::string deepRefusal(Order, const Method&) {
    return "--deep needs the library's 16-bit kernels, which this build of the library does not have yet";
}

std::vector<uint16_t> demosaicDeep(const std::vector<uint16_t>&, Order order, int32_t, int32_t, const Method& method,
                                   Diagnostics&) {
    throw Failure(deepRefusal(order, method));
}

std::vector<DeepKernel> deepKernels() { return {}; }

}  // namespace zelvora
