// The functions and the class the zelvora module exposes; module.cpp binds
// them and holds their documentation.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvora::py {

namespace pyb = pybind11;

pyb::array demosaic(const pyb::buffer& raw, int64_t width, int64_t height, const pyb::object& format,
                    const std::string& method, const std::string& layout, std::optional<int64_t> stride,
                    int64_t threads);

pyb::array demosaic16(const pyb::buffer& frame, const std::string& order, const std::string& method);

// Row bands that demosaic runs at once with threads > 1 (1 when the library
// offers no row-band entry).
int32_t bandCount(int64_t threads, int32_t height);

// A lens-shading table: the library's ZelLSCTable words (mode, height,
// width, entries).
class ShadingTable {
public:
    explicit ShadingTable(std::vector<uint32_t> words) : words_(std::move(words)) {}

    std::string mode() const;  // "block" or "pixel"
    int32_t height() const { return static_cast<int32_t>(words_[1]); }
    int32_t width() const { return static_cast<int32_t>(words_[2]); }
    pyb::array_t<uint32_t> entries() const;
    // The words little-endian, as `zelvora lsc calibrate` writes them.
    pyb::bytes bytes() const;
    static ShadingTable fromBytes(const pyb::buffer& data);
    bool operator==(const ShadingTable& other) const { return words_ == other.words_; }
    const std::vector<uint32_t>& words() const { return words_; }

private:
    std::vector<uint32_t> words_;
};

ShadingTable lscCalibrate(const pyb::object& grey, const pyb::object& dark, int64_t bitDepth,
                          const std::string& mode);

pyb::array lscApply(const ShadingTable& table, const pyb::buffer& frame, const pyb::object& format);

}  // namespace zelvora::py
