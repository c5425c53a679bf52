// A file of raw frames, checked against the format, size and stride the user
// gave before anything is converted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "args.hpp"
#include "formats.hpp"

namespace zelvora {

struct RawInput {
    const InputFormat* format = nullptr;
    Size size{};
    int64_t stride = 0;  // bytes from one row start to the next
    int64_t frames = 0;
    std::vector<uint8_t> bytes;  // the file, with a little zeroed slack behind it

    int64_t frameBytes() const { return stride * size.height; }
    uint8_t* frame(int64_t index) { return bytes.data() + index * frameBytes(); }
};

// The stride to use: the given one, checked against the row length and the
// sample containers, or the packed row length.
int64_t checkedStride(const InputFormat& format, Size size, std::optional<int64_t> stride);

// Reads `path` and checks that its length is exactly `frames` frames (one when
// not given); a length that is a multiple of the frame size suggests --frames.
RawInput loadRawInput(const std::string& path, const InputFormat& format, Size size, std::optional<int64_t> stride,
                      std::optional<int64_t> frames);

// Reads `path` as any whole number of frames (at least one).
RawInput loadAllFrames(const std::string& path, const InputFormat& format, Size size, std::optional<int64_t> stride);

// The common options of commands that read raw frames: --format, --size,
// --stride and --frames.
RawInput loadRawInput(const std::string& path, const Args& args);

}  // namespace zelvora
