// Lens shading: tables from grey and dark reference frames
// (zelGetLSCParameter) and their application to frames (zelLSCorrection).
#include <cstring>

#include "api.hpp"
#include "capture.hpp"
#include "rawframe.hpp"
#include "zelvora.h"

namespace zelvora::py {
namespace {

constexpr size_t kHeaderWords = 3;

// Entries a table of this mode and size holds.
int64_t entryCount(uint32_t mode, int64_t height, int64_t width) {
    return mode == 1 ? height * width : (height / 2) * (width / 2);
}

// One reference frame, or the sample-by-sample mean of several: a list or
// tuple of 2-D arrays, or a 3-D stack. Float or integer samples, in the units
// of the camera's bit depth.
struct Reference {
    std::vector<float> samples;
    int64_t height = 0;
    int64_t width = 0;
};

Reference averageFrames(const pyb::object& frames, const char* what) {
    std::vector<pyb::array> list;
    if (pyb::isinstance<pyb::list>(frames) || pyb::isinstance<pyb::tuple>(frames)) {
        for (const pyb::handle item : frames) list.push_back(pyb::array::ensure(item));
    } else {
        const pyb::array stack = pyb::array::ensure(frames);
        if (stack && stack.ndim() == 3) {
            for (pyb::ssize_t i = 0; i < stack.shape(0); ++i) list.push_back(pyb::array::ensure(stack[pyb::int_(i)]));
        } else {
            list.push_back(stack);
        }
    }
    if (list.empty()) throw pyb::value_error(std::string(what) + " holds no frames");

    Reference mean;
    std::vector<double> sum;
    for (const pyb::array& frame : list) {
        if (!frame || std::string("fiu").find(frame.dtype().kind()) == std::string::npos)
            throw pyb::type_error(std::string(what) + " frames must be float or integer arrays");
        if (frame.ndim() != 2)
            throw pyb::value_error(std::string(what) + " frames must have 2 dimensions, not " +
                                   std::to_string(frame.ndim()));
        if (sum.empty()) {
            mean.height = frame.shape(0);
            mean.width = frame.shape(1);
            sum.assign(static_cast<size_t>(mean.height * mean.width), 0.0);
        } else if (frame.shape(0) != mean.height || frame.shape(1) != mean.width) {
            throw pyb::value_error(std::string(what) + " frames differ in shape");
        }
        const auto values = pyb::array_t<double, pyb::array::c_style | pyb::array::forcecast>::ensure(frame);
        const double* v = values.data();
        for (size_t i = 0; i < sum.size(); ++i) sum[i] += v[i];
    }
    mean.samples.resize(sum.size());
    for (size_t i = 0; i < sum.size(); ++i)
        mean.samples[i] = static_cast<float>(sum[i] / static_cast<double>(list.size()));
    return mean;
}

}  // namespace

std::string ShadingTable::mode() const { return words_[0] == 1 ? "pixel" : "block"; }

pyb::array_t<uint32_t> ShadingTable::entries() const {
    pyb::array_t<uint32_t> result(static_cast<pyb::ssize_t>(words_.size() - kHeaderWords));
    std::memcpy(result.mutable_data(), words_.data() + kHeaderWords, 4 * (words_.size() - kHeaderWords));
    return result;
}

pyb::bytes ShadingTable::bytes() const {
    std::string out(4 * words_.size(), '\0');
    for (size_t i = 0; i < words_.size(); ++i)
        for (size_t b = 0; b < 4; ++b) out[4 * i + b] = static_cast<char>(words_[i] >> (8 * b));
    return pyb::bytes(out);
}

ShadingTable ShadingTable::fromBytes(const pyb::buffer& data) {
    std::vector<uint8_t> bytes;
    {
        const ElementView view(data, "data", 1, 2);
        bytes.resize(static_cast<size_t>(view.bytes()));
        view.copyTo(bytes.data(), view.bytes());
    }
    if (bytes.size() < 4 * kHeaderWords || bytes.size() % 4 != 0)
        throw pyb::value_error("not a shading table: " + std::to_string(bytes.size()) + " bytes");
    std::vector<uint32_t> words(bytes.size() / 4);
    for (size_t i = 0; i < words.size(); ++i)
        for (size_t b = 0; b < 4; ++b) words[i] |= static_cast<uint32_t>(bytes[4 * i + b]) << (8 * b);
    const uint32_t mode = words[0];
    const auto height = static_cast<int32_t>(words[1]);
    const auto width = static_cast<int32_t>(words[2]);
    if (mode > 1 || height < 0 || width < 0 ||
        static_cast<int64_t>(words.size() - kHeaderWords) != entryCount(mode, height, width))
        throw pyb::value_error("not a shading table: mode " + std::to_string(mode) + ", " + std::to_string(width) +
                               "x" + std::to_string(height) + ", " + std::to_string(words.size() - kHeaderWords) +
                               " entries");
    return ShadingTable(std::move(words));
}

ShadingTable lscCalibrate(const pyb::object& grey, const pyb::object& dark, int64_t bitDepth,
                          const std::string& mode) {
    if (mode != "block" && mode != "pixel") throw pyb::value_error("mode is 'block' or 'pixel', not '" + mode + "'");
    if (bitDepth != 8 && bitDepth != 10 && bitDepth != 12)
        throw pyb::value_error("lens shading works on 8, 10 and 12-bit samples, not " + std::to_string(bitDepth));
    const Reference g = averageFrames(grey, "grey");
    const Reference d = averageFrames(dark, "dark");
    if (g.height != d.height || g.width != d.width) throw pyb::value_error("grey and dark frames differ in shape");
    const int32_t height = checkedDimension(g.height, "height");
    const int32_t width = checkedDimension(g.width, "width");

    const uint32_t code = mode == "pixel" ? 1 : 0;
    std::vector<uint32_t> words(kHeaderWords + static_cast<size_t>(entryCount(code, height, width)));
    const ZelLSCInput input{code, static_cast<uint32_t>(bitDepth), width, height, g.samples.data(), d.samples.data()};
    Outcome outcome;
    {
        pyb::gil_scoped_release unlocked;
        outcome = capture("zelGetLSCParameter", [&] {
            return zelGetLSCParameter(&input, reinterpret_cast<ZelLSCTable*>(words.data()));
        });
    }
    outcome.check();
    return ShadingTable(std::move(words));
}

pyb::array lscApply(const ShadingTable& table, const pyb::buffer& frame, const pyb::object& format) {
    const InputFormat& type = resolveFormat(format);
    if ((type.bits != 8 && type.bits != 10 && type.bits != 12) || type.packing == Packing::Packed)
        throw pyb::value_error("lens shading corrects 8, 10 and 12-bit samples one to a byte or 16-bit word; " +
                               std::string(type.name) + " is not one of them");
    const ElementView view(frame, "frame", 2, 2);
    const Element wanted = type.bits == 8 ? Element::U8 : Element::U16;
    if (view.element() != wanted)
        throw pyb::type_error(std::string(type.name) + " frames hold " + (wanted == Element::U8 ? "uint8" : "uint16") +
                              " samples");
    const int32_t height = checkedDimension(view.dim(0), "height");
    const int32_t width = checkedDimension(view.dim(1), "width");
    pyb::array result = wanted == Element::U8 ? pyb::array(pyb::array_t<uint8_t>({height, width}))
                                              : pyb::array(pyb::array_t<uint16_t>({height, width}));
    auto* samples = static_cast<uint8_t*>(result.mutable_data());
    view.copyTo(samples, view.bytes());
    // Corrected in place: every sample depends only on itself.
    const ZelImage image{height, width, type.code, samples, 0};  // the stride is not read
    const auto* words = reinterpret_cast<const ZelLSCTable*>(table.words().data());
    Outcome outcome;
    {
        pyb::gil_scoped_release unlocked;
        outcome = capture("zelLSCorrection", [&] { return zelLSCorrection(&image, &image, words); });
    }
    outcome.check();
    return result;
}

}  // namespace zelvora::py
