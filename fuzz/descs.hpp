// What one fuzz input starts with, per target: records read whole from the
// front of the input by the target and written whole by the seed program.
// They are packed, so their fields follow one another byte for byte,
// little-endian; members are read by value, never through a pointer.
#pragma once

#include <cstdint>

namespace zelfuzz {

#pragma pack(push, 1)

// One zelDemosaicing call (fuzz_demosaic).
struct FrameDesc {
    uint8_t codePick;    // below 248: one of the accepted codes; otherwise rawCode
    uint32_t rawCode;
    int8_t height;
    int8_t width;
    uint8_t sizePick;    // 250 and up: a size whose pixel count overflows
    uint8_t strideKind;  // 0: packed rows, 1: padded, 2: shorter than a row, 3: rawStride % 1024
    int16_t rawStride;
    uint8_t methodPick;  // below 240: 0, 1 or 2; otherwise the byte as a signed method
    uint8_t layoutPick;  // below 224: a valid layout; below 240: rawLayout through the setter; then rawLayout forced
    uint64_t rawLayout;
    uint8_t nulls;       // 252 and up: one of the pointers null
};

// A row band of each frame, checked against the whole frame (fuzz_demosaic).
struct BandDesc {
    uint8_t enable;  // bit 0: check a band of each frame
    uint8_t first;   // first row: first % (height + 2) - 1, so -1 .. height
    uint8_t count;   // rows: count % (height + 2), so 0 .. height + 1
};

// The shading estimators and correction (fuzz_shading).
struct ShadingDesc {
    uint8_t which;       // 0: per-pixel/block table, 1: regional table, 2: correction only
    uint32_t mode;       // below 0xF0000000 folded to 0 and 1
    uint8_t bitDepth;    // below 192: 8, 10 or 12; otherwise the byte itself
    int8_t height;       // from 0 up: 32 + height % 64; below: height + 100
    int8_t width;
    uint8_t samples;     // bit 0 (grey) and 1 (dark): sample-like levels instead of raw float bits
    float darkLevel;
    uint8_t region;      // regional table: kind, block width and height picks
    uint32_t pixelType;  // correction: below 0x100, one of the shading codes
    uint8_t correction;  // bit 0: in place; bit 1: arbitrary table words; bits 2-3: table size mismatch
    uint8_t nulls;       // 250 and up: one of the pointers null
};

// The 16-bit kernels and bitmap padding (fuzz_deep).
struct DeepDesc {
    uint8_t which;  // 0: bilinear, 1: edge-directed, 2: bitmap padding
    int8_t height;
    int8_t width;
    uint8_t variant;  // edge-directed: Bayer order; otherwise 250 and up: a null pointer
};

#pragma pack(pop)

}  // namespace zelfuzz
