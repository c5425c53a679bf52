// Raw frames read one at a time from a file or standard input, checked
// against the format, size and stride the user gave.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "args.hpp"
#include "formats.hpp"
#include "rawio.hpp"

namespace zelvora {

struct FrameGeometry {
    const InputFormat* format = nullptr;
    Size size{};
    int64_t stride = 0;  // bytes from one row start to the next

    int64_t frameBytes() const { return stride * size.height; }
    std::string describe() const;  // "BayerRG12Packed 64x48 with stride 96"
};

// The stride to use: the given one, checked against the row length and the
// sample containers, or the packed row length.
int64_t checkedStride(const InputFormat& format, Size size, std::optional<int64_t> stride);

// --format, --size and --stride.
FrameGeometry geometryFrom(const Args& args);

// Which frames of an input to read: all of them (as many as its length holds,
// or exactly `frames`), from `first` on, at most `count`.
struct FrameSelection {
    std::optional<int64_t> frames;
    int64_t first = 0;
    std::optional<int64_t> count;
};

// --frames, and --first and --count where the command knows them.
FrameSelection selectionFrom(const Args& args);

class FrameSource {
public:
    // Opens the input ("-": standard input) and checks a regular file's length
    // against the selection. Throws Failure.
    FrameSource(const std::string& path, const FrameGeometry& geometry, const FrameSelection& selection = {});

    // Frames next() will deliver, when the input's length tells.
    std::optional<int64_t> total() const { return total_; }
    // The next frame, in a buffer of at least libraryInputBytes() with zeros
    // behind the frame; null after the last. The buffer is reused: the library
    // may compact 8-bit input in place.
    uint8_t* next();
    int64_t delivered() const { return delivered_; }
    const FrameGeometry& geometry() const { return geometry_; }

private:
    InputStream input_;
    FrameGeometry geometry_;
    FrameSelection selection_;
    std::optional<int64_t> total_;
    int64_t delivered_ = 0;
    std::vector<uint8_t> buffer_;
};

}  // namespace zelvora
