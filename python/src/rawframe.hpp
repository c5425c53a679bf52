// Python buffers as the library wants them: the element type and shape
// checked, the bytes gathered in C order into memory the module owns, and
// the geometry of a raw frame checked against what the library will read.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "formats.hpp"

namespace zelvora::py {

namespace pyb = pybind11;

enum class Element : uint8_t { U8, U16 };

// A read-only view of a buffer-protocol object of 8- or 16-bit unsigned
// elements with 1 or 2 dimensions, any strides. Throws TypeError for another
// element type, ValueError for another number of dimensions.
class ElementView {
public:
    ElementView(const pyb::buffer& object, const char* what, int minDims = 1, int maxDims = 2);

    Element element() const { return itemsize() == 1 ? Element::U8 : Element::U16; }
    int64_t itemsize() const { return info_.itemsize; }
    int64_t ndim() const { return info_.ndim; }
    int64_t dim(int i) const { return info_.shape[static_cast<size_t>(i)]; }
    int64_t bytes() const { return info_.size * info_.itemsize; }
    // Copies the first min(count, bytes()) bytes of the elements in C order.
    void copyTo(uint8_t* dst, int64_t count) const;

private:
    pyb::buffer_info info_;
};

// A format by GigE Vision name (any case) or integer code; ValueError for
// anything the library does not accept, TypeError for other objects.
const InputFormat& resolveFormat(const pyb::object& format);

// A method or output layout by the tool's names; ValueError for others.
const Method& resolveMethod(const std::string& name);
const OutputLayout& resolveLayout(const std::string& name);

// ValueError unless 0 <= value <= INT32_MAX.
int32_t checkedDimension(int64_t value, const char* what);

// Where an input frame lies: bytes between row starts, bytes the caller must
// supply, and bytes the library reads from the frame start (at least as many:
// packed readers fetch whole three-byte pairs).
struct RawGeometry {
    int64_t stride;
    int64_t required;
    int64_t extent;
};

// `stride` is the given stride, or the row length of a two-dimensional raw
// frame of `height` rows, or the packed row length. ValueError for a stride
// the library cannot use.
RawGeometry rawGeometry(const InputFormat& format, int32_t width, int32_t height, std::optional<int64_t> stride,
                        const ElementView& raw);

}  // namespace zelvora::py
