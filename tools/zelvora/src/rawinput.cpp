#include "rawinput.hpp"

#include <algorithm>
#include <climits>
#include <cstring>

#include "error.hpp"

namespace zelvora {

std::string FrameGeometry::describe() const {
    return std::string(format->name) + " " + std::to_string(size.width) + "x" + std::to_string(size.height) +
           " with stride " + std::to_string(stride);
}

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

FrameGeometry geometryFrom(const Args& args) {
    const InputFormat& format = findInputFormat(args.require("format"));
    const Size size = parseSize(args.require("size"));
    std::optional<int64_t> stride;
    if (auto s = args.value("stride")) stride = parsePositive(*s, "stride");
    return {&format, size, checkedStride(format, size, stride)};
}

FrameSelection selectionFrom(const Args& args) {
    FrameSelection selection;
    if (auto f = args.value("frames")) selection.frames = parsePositive(*f, "frames", INT32_MAX);
    if (auto f = args.value("first")) selection.first = parseCount(*f, "first", INT32_MAX);
    if (auto c = args.value("count")) selection.count = parsePositive(*c, "count", INT32_MAX);
    return selection;
}

FrameSource::FrameSource(const std::string& path, const FrameGeometry& geometry, const FrameSelection& selection)
    : input_(path), geometry_(geometry), selection_(selection) {
    const int64_t frameBytes = geometry.frameBytes();
    std::optional<int64_t> held = selection.frames;
    if (const auto length = input_.length()) {
        const std::string holds = input_.name() + " holds " + std::to_string(*length) + " bytes";
        if (selection.frames && *length != *selection.frames * frameBytes)
            throw Failure(holds + ", but a frame of " + geometry.describe() + " takes " + std::to_string(frameBytes) +
                          " and --frames asks for " + std::to_string(*selection.frames));
        if (*length == 0 || *length % frameBytes != 0)
            throw Failure(holds + ", not a whole number of frames of " + geometry.describe() + " (" +
                          std::to_string(frameBytes) + " bytes each)");
        held = *length / frameBytes;
    }
    if (held) {
        if (selection.first >= *held)
            throw UsageError("--first " + std::to_string(selection.first) + " skips every frame: " + input_.name() +
                             " holds " + std::to_string(*held));
        total_ = std::min(*held - selection.first, selection.count.value_or(INT64_MAX));
    }
    input_.skip(selection.first * frameBytes);
    buffer_.assign(static_cast<size_t>(std::max(frameBytes, libraryInputBytes(*geometry.format, geometry.size.width,
                                                                              geometry.size.height, geometry.stride))),
                   0);
}

uint8_t* FrameSource::next() {
    if ((total_ && delivered_ == *total_) || (selection_.count && delivered_ == *selection_.count)) return nullptr;
    const auto frameBytes = static_cast<size_t>(geometry_.frameBytes());
    const size_t got = input_.read(buffer_.data(), frameBytes);
    if (got == 0 && !selection_.frames && !total_) return nullptr;  // a stream ends between frames
    if (got != frameBytes)
        throw Failure(input_.name() + " ends inside frame " + std::to_string(selection_.first + delivered_) + " (" +
                      std::to_string(got) + " of " + std::to_string(frameBytes) + " bytes)");
    std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(frameBytes), buffer_.end(), uint8_t{0});
    ++delivered_;
    return buffer_.data();
}

}  // namespace zelvora
