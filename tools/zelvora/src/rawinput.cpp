#include "rawinput.hpp"

#include <climits>

#include "error.hpp"
#include "rawio.hpp"

namespace zelvora {
namespace {

// The library's packed reader fetches whole three-byte pairs, so an odd
// width may touch bytes behind the last row; they are there and zero.
constexpr size_t kSlack = 16;

std::string describe(const InputFormat& format, Size size, int64_t stride) {
    return std::string(format.name) + " " + std::to_string(size.width) + "x" + std::to_string(size.height) +
           " with stride " + std::to_string(stride);
}

}  // namespace

int64_t checkedStride(const InputFormat& format, Size size, std::optional<int64_t> stride) {
    const int64_t row = rowBytes(format, size.width);
    if (!stride) {
        if (row > INT32_MAX) throw UsageError("a row of " + std::to_string(size.width) + " pixels is too long");
        return row;
    }
    if (*stride < row)
        throw UsageError("stride " + std::to_string(*stride) + " is shorter than one row of " +
                         std::to_string(size.width) + " " + std::string(format.name) + " pixels (" +
                         std::to_string(row) + " bytes)");
    if (format.packing == Packing::Words && *stride % 2 != 0)
        throw UsageError("stride " + std::to_string(*stride) + " is odd; rows of 16-bit samples start on even bytes");
    return *stride;
}

namespace {

RawInput readFrames(const std::string& path, const InputFormat& format, Size size, std::optional<int64_t> stride) {
    RawInput input;
    input.format = &format;
    input.size = size;
    input.stride = checkedStride(format, size, stride);
    input.bytes = readFile(path, kSlack);
    return input;
}

int64_t fileLength(const RawInput& input) { return static_cast<int64_t>(input.bytes.size() - kSlack); }

}  // namespace

RawInput loadAllFrames(const std::string& path, const InputFormat& format, Size size, std::optional<int64_t> stride) {
    RawInput input = readFrames(path, format, size, stride);
    const int64_t length = fileLength(input);
    if (length == 0 || length % input.frameBytes() != 0)
        throw Failure("'" + path + "' holds " + std::to_string(length) + " bytes, not a whole number of frames of " +
                      describe(format, size, input.stride) + " (" + std::to_string(input.frameBytes()) + " bytes each)");
    input.frames = length / input.frameBytes();
    return input;
}

RawInput loadRawInput(const std::string& path, const InputFormat& format, Size size, std::optional<int64_t> stride,
                      std::optional<int64_t> frames) {
    RawInput input = readFrames(path, format, size, stride);
    const int64_t length = fileLength(input);
    const int64_t frameBytes = input.frameBytes();
    const int64_t wanted = frames.value_or(1);
    if (length % frameBytes == 0 && length / frameBytes == wanted) {
        input.frames = wanted;
        return input;
    }
    std::string message = "'" + path + "' holds " + std::to_string(length) + " bytes, but a frame of " +
                          describe(format, size, input.stride) + " takes " + std::to_string(frameBytes);
    if (frames) {
        message += " and --frames asks for " + std::to_string(wanted);
    } else if (length > frameBytes && length % frameBytes == 0) {
        message += " (the file holds " + std::to_string(length / frameBytes) + " frames: add --frames " +
                   std::to_string(length / frameBytes) + ")";
    }
    throw Failure(message);
}

RawInput loadRawInput(const std::string& path, const Args& args) {
    const InputFormat& format = findInputFormat(args.require("format"));
    const Size size = parseSize(args.require("size"));
    std::optional<int64_t> stride;
    if (auto s = args.value("stride")) stride = parsePositive(*s, "stride");
    std::optional<int64_t> frames;
    if (auto f = args.value("frames")) frames = parsePositive(*f, "frames", 1000000);
    return loadRawInput(path, format, size, stride, frames);
}

}  // namespace zelvora
