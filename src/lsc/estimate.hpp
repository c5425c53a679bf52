// Shading estimation with its two temporary float arrays taken from a given
// source. The exported operations use the general allocator; the tests use
// this to exercise the out-of-memory paths.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zelvora.h"

namespace zel::lsc {

struct FloatArrays {
    float* (*allocate)(size_t count);  // null when out of memory
    void (*release)(float* array);
};

int32_t getLSCParameter(const ZelLSCInput* input, ZelLSCTable* table, const FloatArrays& arrays);
int32_t getBasicLSCParameter(const ZelBasicLSCInput* input, uint8_t* bytes, const FloatArrays& arrays);

}  // namespace zel::lsc
