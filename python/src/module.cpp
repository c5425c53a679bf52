// The zelvora Python module: bindings and their documentation.
#include <pybind11/numpy.h>
#include <pybind11/operators.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "api.hpp"
#include "capture.hpp"
#include "formats.hpp"
#include "library.hpp"

namespace pyb = pybind11;
using namespace pybind11::literals;
using zelvora::py::ShadingTable;

namespace {

constexpr const char* kModuleDoc = R"doc(libZelvora for numpy: raw sensor frames to pictures.

demosaic() turns a raw mono or Bayer frame of 8 to 16 bits (plain or packed)
into an 8-bit picture, demosaic16() keeps 16 bits, lsc_calibrate() and
lsc_apply() estimate and correct lens shading. Results are new numpy arrays;
the caller's data is never modified. The library computes without holding
the interpreter lock, so calls on several threads run at once. A failing
library call raises zelvora.Error; arguments the library cannot use raise
TypeError or ValueError before it is called.)doc";

constexpr const char* kErrorDoc = R"doc(A library call failed.

A ValueError with three attributes: status (the library's negative status,
-104 for example), status_name ("errBadImageSize") and line (the check
number the library reports as "error line = [N]", or None when it reported
none).)doc";

constexpr const char* kDemosaicDoc = R"doc(Demosaic a raw frame into an 8-bit picture through zelDemosaicing.

raw     any buffer-protocol object (bytes, bytearray, memoryview, numpy
        array of uint8 or uint16, 1-D or 2-D, contiguous or not, read-only
        or not) whose elements in C order are the frame's bytes: one byte a
        sample for 8-bit formats, little-endian 16-bit containers for 10 to
        16 bits (uint16 elements are allowed only for these), two pixels in
        three bytes for the Packed formats.
width, height
        the frame's size in pixels.
format  a GigE Vision name ("BayerRG12Packed", any case) or code
        (0x010C002B); formats() lists them.
method  "nearest", "bilinear" or "edge" (edge-directed; needs frames of at
        least 6x6).
layout  "bgr8", "rgb8", "bgra8", "rgba8", "rgb8-planar", "bgr8-planar" or
        "mono8". The fourth byte of bgra8 and rgba8 is 0; the edge-directed
        kernels keep a row of greens in the fourth bytes of the last quarter
        of the last row.
stride  bytes from one row start to the next. By default the row length of
        a 2-D raw with `height` rows, otherwise the packed row length
        (width, 2 * width, or 3 bytes per pixel pair). For Packed formats
        width + width // 2 means the pixel pairs run on across row ends.
threads row bands demosaiced at once on that many threads, each with a
        handle of its own; the result is the same for every value. The
        bands need the library's row-band entry: a build without it takes
        the parameter and runs the frame on the calling thread.

Returns a new uint8 array of shape (height, width, 3) or (height, width, 4)
for interleaved layouts, (3, height, width) for planar ones and
(height, width) for mono8. The library compacts padded 8-bit rows in place,
so it works on a private copy of raw, never on the caller's buffer.

Raises TypeError for elements other than uint8 or uint16, ValueError for
other shapes, unknown names, a stride shorter than a row or a buffer
shorter than height rows of stride bytes, and zelvora.Error when the
library refuses the frame (sizes of 3 or less, for example).)doc";

constexpr const char* kDemosaic16Doc = R"doc(Demosaic a 16-bit Bayer mosaic without reducing it to 8 bits.

frame   an (H, W) uint16 array, any strides.
order   the Bayer order of its top-left 2x2 cell: "RG", "GR", "GB" or "BG".
method  "edge" (edge-directed, every order, frames of at least 8x8; the RG
        kernel clamps interpolated values to 0..4095, the other orders to
        0..65535) or "bilinear" (RG only, frames larger than 3x3).

Returns a new (H, W, 3) uint16 array in B, G, R order. Nearest neighbour
and bilinear for other orders raise ValueError: the library has no such
16-bit kernels.)doc";

constexpr const char* kCalibrateDoc = R"doc(Estimate a lens-shading table with zelGetLSCParameter.

grey, dark
        the flat-field and dark reference: one 2-D float32 or integer array,
        a list or tuple of them, or a 3-D stack; several frames are averaged
        sample by sample. Values are in the units of bit_depth (0..4095 for
        12 bits). Both of the same even size, at least 32x32.
bit_depth
        8, 10 or 12: the depth of the frames the table will correct.
mode    "block" (one gain and offset per 2x2 block) or "pixel".

Returns a ShadingTable.)doc";

constexpr const char* kApplyDoc = R"doc(Correct lens shading in a frame with zelLSCorrection.

table   a ShadingTable of the frame's size.
frame   an (H, W) array: uint8 for 8-bit formats, uint16 for 10 and 12 bits.
format  a Mono or Bayer format of 8, 10 or 12 bits, not packed (name or
        code).

Returns the corrected frame as a new array of the frame's dtype.)doc";

constexpr const char* kTableDoc = R"doc(A lens-shading table: the library's ZelLSCTable.

mode is "block" or "pixel", width and height the size of the frames it
fits, entries the 32-bit gain/offset words (gain in bits 31..12 as
gain / 131072, offset in bits 11..0 on a 12-bit scale). bytes() gives the
file that `zelvora lsc calibrate` writes (the words little-endian: mode,
height, width, entries) and from_bytes() reads one back.)doc";

}  // namespace

PYBIND11_MODULE(zelvora, m) {
    m.doc() = kModuleDoc;
    m.attr("__version__") = ZELVORA_VERSION;

    pyb::dict attributes;
    attributes["status"] = pyb::none();
    attributes["status_name"] = pyb::none();
    attributes["line"] = pyb::none();
    const pyb::object error = pyb::reinterpret_steal<pyb::object>(
        PyErr_NewExceptionWithDoc("zelvora.Error", kErrorDoc, PyExc_ValueError, attributes.ptr()));
    if (!error) throw pyb::error_already_set();
    m.attr("Error") = error;
    pyb::register_exception_translator([](std::exception_ptr pending) {
        try {
            if (pending) std::rethrow_exception(pending);
        } catch (const zelvora::py::LibraryError& failure) {
            const pyb::object type = pyb::module_::import("zelvora").attr("Error");
            pyb::object instance = type(failure.message());
            instance.attr("status") = failure.status;
            instance.attr("status_name") = zelvora::statusName(failure.status);
            instance.attr("line") = failure.line ? pyb::object(pyb::int_(*failure.line)) : pyb::none();
            PyErr_SetObject(type.ptr(), instance.ptr());
        }
    });

    m.def("demosaic", &zelvora::py::demosaic, kDemosaicDoc, "raw"_a, "width"_a, "height"_a, "format"_a,
          "method"_a = "bilinear", "layout"_a = "bgr8", "stride"_a = pyb::none(), "threads"_a = 1);
    m.def("demosaic16", &zelvora::py::demosaic16, kDemosaic16Doc, "frame"_a, "order"_a = "RG",
          "method"_a = "edge");
    m.def("lsc_calibrate", &zelvora::py::lscCalibrate, kCalibrateDoc, "grey"_a, "dark"_a, "bit_depth"_a,
          "mode"_a = "block");
    m.def("lsc_apply", &zelvora::py::lscApply, kApplyDoc, "table"_a, "frame"_a, "format"_a);
    m.def(
        "formats",
        [] {
            pyb::dict names;
            for (const zelvora::InputFormat& format : zelvora::inputFormats())
                names[pyb::str(std::string(format.name))] = format.code;
            return names;
        },
        "The raw input formats demosaic() accepts: a dict of GigE Vision names to codes.");

    pyb::class_<ShadingTable>(m, "ShadingTable", kTableDoc)
        .def_property_readonly("mode", &ShadingTable::mode, "\"block\" (one entry per 2x2 block) or \"pixel\".")
        .def_property_readonly("width", &ShadingTable::width, "Samples per row of the frames the table fits.")
        .def_property_readonly("height", &ShadingTable::height, "Rows of the frames the table fits.")
        .def_property_readonly("entries", &ShadingTable::entries, "The gain/offset words, a new uint32 array.")
        .def("bytes", &ShadingTable::bytes, "The table file: mode, height, width and entries, 32-bit little-endian.")
        .def_static("from_bytes", &ShadingTable::fromBytes, "data"_a,
                    "A table from the bytes that bytes() or `zelvora lsc calibrate` wrote; ValueError for anything else.")
        .def(pyb::self == pyb::self)
        .def("__repr__", [](const ShadingTable& table) {
            return "<zelvora.ShadingTable " + table.mode() + " " + std::to_string(table.width()) + "x" +
                   std::to_string(table.height()) + ">";
        });
}
