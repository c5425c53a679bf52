// What one fuzz input describes, per target: fields read in this order by
// the target and written in the same order by the seed program.
#pragma once

#include <cstdint>

namespace zelfuzz {

// One zelDemosaicing call (fuzz_demosaic).
struct FrameDesc {
    uint8_t codePick = 0;    // below 248: one of the accepted codes; otherwise rawCode
    uint32_t rawCode = 0;
    int8_t height = 0;
    int8_t width = 0;
    uint8_t sizePick = 0;    // 250 and up: a size whose pixel count overflows
    uint8_t strideKind = 0;  // 0: packed rows, 1: padded, 2: shorter than a row, 3: rawStride % 1024
    int16_t rawStride = 0;
    uint8_t methodPick = 0;  // below 240: 0, 1 or 2; otherwise the byte as a signed method
    uint8_t layoutPick = 0;  // below 224: a valid layout; then refused by the setter; then forced
    uint64_t rawLayout = 0;
    uint8_t nulls = 0;       // 252 and up: one of the pointers null

    template <typename IO>
    void visit(IO& io) {
        io.field(codePick), io.field(rawCode), io.field(height), io.field(width), io.field(sizePick);
        io.field(strideKind), io.field(rawStride), io.field(methodPick), io.field(layoutPick);
        io.field(rawLayout), io.field(nulls);
    }
};

// A row band of each frame, checked against the whole frame (fuzz_demosaic).
struct BandDesc {
    uint8_t enable = 0;  // bit 0: check a band of each frame
    uint8_t first = 0;   // first row: first % (height + 2) - 1, so -1 .. height
    uint8_t count = 0;   // rows: count % (height + 2), so 0 .. height + 1

    template <typename IO>
    void visit(IO& io) {
        io.field(enable), io.field(first), io.field(count);
    }
};

// The shading estimators and correction (fuzz_shading).
struct ShadingDesc {
    uint8_t which = 0;       // 0: per-pixel/block table, 1: regional table, 2: correction only
    uint32_t mode = 0;       // below 0xF0000000 folded to 0 and 1
    uint8_t bitDepth = 0;    // below 192: 8, 10 or 12; otherwise the byte itself
    int8_t height = 0;       // from 0 up: 32 + height % 64; below: height + 100
    int8_t width = 0;
    uint8_t samples = 0;     // bit 0 (grey) and 1 (dark): sample-like levels instead of raw float bits
    float darkLevel = 0;
    uint8_t region = 0;      // regional table: kind, block width and height picks
    uint32_t pixelType = 0;  // correction: below 0x100, one of the shading codes
    uint8_t correction = 0;  // bit 0: in place; bit 1: arbitrary table words; bits 2-3: table size mismatch
    uint8_t nulls = 0;       // 250 and up: one of the pointers null

    template <typename IO>
    void visit(IO& io) {
        io.field(which), io.field(mode), io.field(bitDepth), io.field(height), io.field(width);
        io.field(samples), io.field(darkLevel), io.field(region), io.field(pixelType);
        io.field(correction), io.field(nulls);
    }
};

// The 16-bit kernels and bitmap padding (fuzz_deep).
struct DeepDesc {
    uint8_t which = 0;  // 0: bilinear, 1: edge-directed, 2: bitmap padding
    int8_t height = 0;
    int8_t width = 0;
    uint8_t variant = 0;  // edge-directed: Bayer order; otherwise 250 and up: a null pointer

    template <typename IO>
    void visit(IO& io) {
        io.field(which), io.field(height), io.field(width), io.field(variant);
    }
};

}  // namespace zelfuzz
