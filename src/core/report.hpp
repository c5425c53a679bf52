// Diagnostic output shared by the public operations.
#pragma once

#include <cstdint>
#include <cstdio>

namespace zel {

// A public operation that fails one of its own checks prints the check's fixed
// number (no newline) and returns the status; callers depend on both.
inline int32_t fail(int line, int32_t status) {
    std::printf("error line = [%d]", line);
    return status;
}

// Image records carry 32-bit codes; the handle and dispatchers 64-bit ones.
// The record's code is widened with sign extension where the two meet.
inline uint64_t widenPixelType(uint32_t code) {
    return static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(code)));
}

}  // namespace zel
