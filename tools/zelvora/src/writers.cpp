#include "writers.hpp"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include "error.hpp"

namespace zelvora {
namespace {

std::string lowerExtension(std::string_view path) {
    const size_t dot = path.rfind('.');
    const size_t slash = path.rfind('/');
    if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) return {};
    std::string ext(path.substr(dot + 1));
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

// ---------------------------------------------------------------- PNG

struct PngTrouble {
    char message[200];
};

void onPngError(png_structp png, png_const_charp message) {
    auto* trouble = static_cast<PngTrouble*>(png_get_error_ptr(png));
    std::snprintf(trouble->message, sizeof trouble->message, "%s", message);
    png_longjmp(png, 1);
}

void onPngWarning(png_structp, png_const_charp) {}

// One row of samples as PNG wants them: bytes, or big-endian 16-bit words
// widened to the full range.
void encodeRow(const Picture& picture, int32_t y, uint8_t* row) {
    const size_t count = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.channels);
    const uint16_t* in = picture.samples.data() + static_cast<size_t>(y) * count;
    if (picture.bits == 8) {
        for (size_t i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(in[i]);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        const uint16_t v = widenTo16(in[i], picture.bits);
        row[2 * i] = static_cast<uint8_t>(v >> 8);
        row[2 * i + 1] = static_cast<uint8_t>(v);
    }
}

// libpng reports errors by jumping back here, so this frame holds only plain
// data: nothing with a destructor is skipped by the jump.
bool encodePng(png_structp png, png_infop info, std::FILE* file, const Picture& picture, uint8_t* row) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_init_io(png, file);
    const int depth = picture.bits == 8 ? 8 : 16;
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height), depth,
                 picture.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (picture.bits != depth) {
        // Tell readers how many bits are significant in the widened samples.
        png_color_8 significant{};
        const auto bits = static_cast<png_byte>(picture.bits);
        significant.red = significant.green = significant.blue = significant.gray = bits;
        png_set_sBIT(png, info, &significant);
    }
    png_write_info(png, info);
    for (int32_t y = 0; y < picture.height; ++y) {
        encodeRow(picture, y, row);
        png_write_row(png, row);
    }
    png_write_end(png, info);
    return true;
}

// ---------------------------------------------------------------- BMP

void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

FileKind fileKindOf(std::string_view path) {
    const std::string ext = lowerExtension(path);
    if (ext == "png") return FileKind::Png;
    if (ext == "bmp") return FileKind::Bmp;
    if (ext == "ppm") return FileKind::Ppm;
    if (ext == "pgm") return FileKind::Pgm;
    if (ext == "raw" || ext == "bin") return FileKind::Raw;
    throw UsageError("cannot tell the output format of '" + std::string(path) +
                     "' from its extension (png, bmp, ppm, pgm, raw or bin)");
}

std::string_view fileKindName(FileKind kind) {
    switch (kind) {
        case FileKind::Png: return "PNG";
        case FileKind::Bmp: return "BMP";
        case FileKind::Ppm: return "PPM";
        case FileKind::Pgm: return "PGM";
        case FileKind::Raw: return "raw";
    }
    return "?";
}

void writePng(OutputFile& out, const Picture& picture) {
    PngTrouble trouble{"libpng failed"};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &trouble, onPngError, onPngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    const size_t rowLength = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.channels) *
                             (picture.bits == 8 ? 1 : 2);
    std::vector<uint8_t> row(rowLength);
    const bool written = info != nullptr && encodePng(png, info, out.stream(), picture, row.data());
    png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
    if (!written) throw Failure("cannot write '" + out.path() + "': " + trouble.message);
}

void writeBmp(OutputFile& out, const Picture& picture, Handle& handle, Diagnostics& diagnostics) {
    if (picture.bits != 8) throw Failure("BMP holds 8-bit samples only; write PNG or PPM for deeper ones");
    const Picture colour = asColour(picture);
    const size_t w = static_cast<size_t>(colour.width);
    const size_t h = static_cast<size_t>(colour.height);
    const size_t paddedRow = (3 * w + 3) & ~size_t{3};
    // B, G, R rows packed together, with room behind them for the padding
    // zelBMPAdjust inserts in place.
    std::vector<uint8_t> pixels(paddedRow * h, 0);
    for (size_t i = 0; i < w * h; ++i) {
        pixels[3 * i] = static_cast<uint8_t>(colour.samples[3 * i + 2]);
        pixels[3 * i + 1] = static_cast<uint8_t>(colour.samples[3 * i + 1]);
        pixels[3 * i + 2] = static_cast<uint8_t>(colour.samples[3 * i]);
    }
    ZelImage image{colour.height, colour.width, ZEL_PIX_BGR8, pixels.data(), static_cast<int32_t>(3 * w)};
    checkStatus("zelBMPAdjust", diagnostics.run([&] { return zelBMPAdjust(handle.get(), &image); }), diagnostics);

    const auto imageBytes = static_cast<uint32_t>(paddedRow * h);
    std::vector<uint8_t> header;
    header.push_back('B');
    header.push_back('M');
    putLittle(header, 54 + imageBytes, 4);
    putLittle(header, 0, 4);   // reserved
    putLittle(header, 54, 4);  // offset of the pixels
    putLittle(header, 40, 4);  // size of the info header
    putLittle(header, static_cast<uint32_t>(colour.width), 4);
    putLittle(header, static_cast<uint32_t>(colour.height), 4);  // positive: bottom row first
    putLittle(header, 1, 2);                                      // planes
    putLittle(header, 24, 2);                                     // bits per pixel
    putLittle(header, 0, 4);                                      // no compression
    putLittle(header, imageBytes, 4);
    putLittle(header, 2835, 4);  // 72 dpi, in pixels per metre
    putLittle(header, 2835, 4);
    putLittle(header, 0, 4);  // no palette
    putLittle(header, 0, 4);
    out.write(header);
    for (size_t y = h; y-- > 0;) out.write({pixels.data() + y * paddedRow, paddedRow});
}

void writePnm(OutputFile& out, const Picture& picture) {
    const std::string header = std::string(picture.channels == 1 ? "P5" : "P6") + "\n" +
                               std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" +
                               std::to_string(picture.maxValue()) + "\n";
    out.write({reinterpret_cast<const uint8_t*>(header.data()), header.size()});
    const bool wide = picture.bits > 8;
    std::vector<uint8_t> bytes(picture.samples.size() * (wide ? 2 : 1));
    for (size_t i = 0; i < picture.samples.size(); ++i) {
        const uint16_t v = std::min(picture.samples[i], picture.maxValue());
        if (wide) {
            bytes[2 * i] = static_cast<uint8_t>(v >> 8);
            bytes[2 * i + 1] = static_cast<uint8_t>(v);
        } else {
            bytes[i] = static_cast<uint8_t>(v);
        }
    }
    out.write(bytes);
}

void writePicture(const std::string& path, const Picture& picture, Handle& handle, Diagnostics& diagnostics) {
    const FileKind kind = fileKindOf(path);
    if (kind == FileKind::Pgm && picture.channels != 1)
        throw UsageError("PGM holds grey pictures: use --layout mono8, or write PPM or PNG");
    if (kind == FileKind::Raw) throw Failure("raw output is written from the library's own buffer");
    OutputFile out(path);
    switch (kind) {
        case FileKind::Png: writePng(out, picture); break;
        case FileKind::Bmp: writeBmp(out, picture, handle, diagnostics); break;
        case FileKind::Ppm: writePnm(out, asColour(picture)); break;
        case FileKind::Pgm: writePnm(out, picture); break;
        case FileKind::Raw: break;
    }
    out.commit();
}

}  // namespace zelvora
