#include "rawframe.hpp"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include "error.hpp"

namespace zelvora::py {
namespace {

// The element type of a buffer format string, native or little-endian.
std::optional<Element> elementOf(std::string format, int64_t itemsize) {
    if (!format.empty() && (format[0] == '@' || format[0] == '=' || format[0] == '<')) format.erase(0, 1);
    if (format == "B" && itemsize == 1) return Element::U8;
    if (format == "H" && itemsize == 2) return Element::U16;
    return std::nullopt;
}

std::string frameName(const InputFormat& format, int32_t width, int32_t height) {
    return std::to_string(width) + "x" + std::to_string(height) + " " + std::string(format.name) + " frame";
}

}  // namespace

ElementView::ElementView(const pyb::buffer& object, const char* what, int minDims, int maxDims)
    : info_(object.request()) {
    if (!elementOf(info_.format, info_.itemsize))
        throw pyb::type_error(std::string(what) + " must hold uint8 or uint16 elements in machine order, not '" +
                              info_.format + "'");
    if (info_.ndim < minDims || info_.ndim > maxDims)
        throw pyb::value_error(std::string(what) + " must have " +
                               (minDims == maxDims ? std::to_string(minDims)
                                                   : std::to_string(minDims) + " or " + std::to_string(maxDims)) +
                               " dimensions, not " + std::to_string(info_.ndim));
}

void ElementView::copyTo(uint8_t* dst, int64_t count) const {
    count = std::min(count, bytes());
    const auto* base = static_cast<const uint8_t*>(info_.ptr);
    const int64_t item = info_.itemsize;
    const bool flat = info_.ndim == 1;
    const int64_t rows = flat ? 1 : info_.shape[0];
    const int64_t cols = flat ? info_.shape[0] : info_.shape[1];
    const int64_t rowStride = flat ? 0 : info_.strides[0];
    const int64_t colStride = flat ? info_.strides[0] : info_.strides[1];
    for (int64_t r = 0; r < rows && count > 0; ++r) {
        const uint8_t* row = base + r * rowStride;
        if (colStride == item) {  // the row's elements lie side by side
            const int64_t n = std::min(cols * item, count);
            std::memcpy(dst, row, static_cast<size_t>(n));
            dst += n;
            count -= n;
            continue;
        }
        for (int64_t c = 0; c < cols && count > 0; ++c) {
            const int64_t n = std::min(item, count);
            std::memcpy(dst, row + c * colStride, static_cast<size_t>(n));
            dst += n;
            count -= n;
        }
    }
}

const InputFormat& resolveFormat(const pyb::object& format) {
    if (pyb::isinstance<pyb::str>(format)) {
        const auto name = format.cast<std::string>();
        try {
            return findInputFormat(name);
        } catch (const Failure&) {
            throw pyb::value_error("unknown format '" + name + "' (zelvora.formats() lists them)");
        }
    }
    if (pyb::isinstance<pyb::int_>(format)) {
        const auto code = format.cast<int64_t>();
        if (code >= 0 && code <= UINT32_MAX) {
            if (const InputFormat* found = inputFormatByCode(static_cast<uint32_t>(code))) return *found;
        }
        throw pyb::value_error("format " + std::to_string(code) +
                               " is not a raw input code the library accepts (zelvora.formats() lists them)");
    }
    throw pyb::type_error("format must be a GigE Vision name or code");
}

const Method& resolveMethod(const std::string& name) {
    try {
        return findMethod(name);
    } catch (const Failure& e) {
        throw pyb::value_error(e.what());
    }
}

const OutputLayout& resolveLayout(const std::string& name) {
    try {
        return findOutputLayout(name);
    } catch (const Failure& e) {
        throw pyb::value_error(e.what());
    }
}

int32_t checkedDimension(int64_t value, const char* what) {
    if (value < 0 || value > INT32_MAX)
        throw pyb::value_error(std::string(what) + " must be between 0 and " + std::to_string(INT32_MAX) + ", not " +
                               std::to_string(value));
    return static_cast<int32_t>(value);
}

RawGeometry rawGeometry(const InputFormat& format, int32_t width, int32_t height, std::optional<int64_t> stride,
                        const ElementView& raw) {
    const int64_t w = width;
    const int64_t h = height;
    const bool tableRows = !stride && raw.ndim() == 2 && raw.dim(0) == h;
    const int64_t s = stride ? *stride : tableRows ? raw.dim(1) * raw.itemsize() : rowBytes(format, width);
    const std::string strideText =
        tableRows ? "the rows of raw (" + std::to_string(s) + " bytes)" : "stride " + std::to_string(s);
    // Packed frames whose stride is width + width / 2 are read as one run of
    // pixel pairs that continues across row ends (odd widths included).
    const int64_t flatPacked = w + w / 2;
    const int64_t minimum = format.packing == Packing::Packed ? flatPacked : rowBytes(format, width);
    if (s < minimum || s > INT32_MAX)
        throw pyb::value_error(strideText + " does not fit rows of " + std::to_string(width) + " " +
                               std::string(format.name) + " pixels (at least " + std::to_string(minimum) +
                               " bytes, at most " + std::to_string(INT32_MAX) + ")");
    if (format.packing == Packing::Words && s % 2 != 0)
        throw pyb::value_error(strideText + " is odd; rows of 16-bit samples start on even bytes");

    RawGeometry g{s, 0, 0};
    if (w > 0 && h > 0) {
        const int64_t before = (h - 1) * s;  // bytes before the last row
        switch (format.packing) {
            case Packing::Bytes: g.required = g.extent = before + w; break;
            case Packing::Words: g.required = g.extent = before + 2 * w; break;
            case Packing::Packed:
                if (s == flatPacked) {
                    g.required = (3 * h * w + 1) / 2;
                    g.extent = 3 * ((h * w + 1) / 2);
                } else {
                    g.required = before + (3 * w + 1) / 2;
                    g.extent = before + 3 * ((w + 1) / 2);
                }
                break;
        }
    }
    if (raw.bytes() < g.required)
        throw pyb::value_error("raw holds " + std::to_string(raw.bytes()) + " bytes, but a " +
                               frameName(format, width, height) + " with " + strideText + " needs " +
                               std::to_string(g.required));
    return g;
}

}  // namespace zelvora::py
