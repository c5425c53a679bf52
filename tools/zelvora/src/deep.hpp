// Demosaicing that keeps 16-bit samples, through the library's 16-bit
// kernels: bilinear for the RG order, edge-directed for all four.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats.hpp"
#include "library.hpp"

namespace zelvora {

// Why the 16-bit kernels cannot serve this order and method, or empty when
// they can.
std::string deepRefusal(Order order, const Method& method);

// Interleaved B, G, R 16-bit samples, 3 x width x height of them. Throws
// Failure for a refusal or a failing library status.
std::vector<uint16_t> demosaicDeep(const std::vector<uint16_t>& mosaic, Order order, int32_t width, int32_t height,
                                   const Method& method, Diagnostics& diagnostics);

// The 16-bit kernels as the benchmark runs them: RG mosaic in, 3 x width x
// height samples out (interleaved, or three planes one after another).
struct DeepKernel {
    const char* name;
    int32_t (*run)(const uint16_t* mosaic, int32_t width, int32_t height, uint16_t* out);
};
std::vector<DeepKernel> deepKernels();  // empty when the library has none

}  // namespace zelvora
