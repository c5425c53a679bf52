#include "writers.hpp"

#include <png.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <optional>
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

// One row of samples as PNG and TIFF want them: bytes, or 16-bit words widened
// to the full range, big-endian or in the machine's order.
void encodeRow(const Picture& picture, const uint16_t* in, uint8_t* row, bool bigEndian) {
    const size_t count = picture.rowSamples();
    if (picture.bits == 8) {
        for (size_t i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(in[i]);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        const uint16_t v = widenTo16(in[i], picture.bits);
        if (bigEndian) {
            row[2 * i] = static_cast<uint8_t>(v >> 8);
            row[2 * i + 1] = static_cast<uint8_t>(v);
        } else {
            std::memcpy(row + 2 * i, &v, 2);
        }
    }
}

size_t encodedRowBytes(const Picture& picture) { return picture.rowSamples() * (picture.bits == 8 ? 1 : 2); }

int pngColourType(int channels) {
    return channels == 1 ? PNG_COLOR_TYPE_GRAY : channels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
}

// libpng reports errors by jumping back here, so this frame holds only plain
// data: nothing with a destructor is skipped by the jump.
bool encodePng(png_structp png, png_infop info, std::FILE* file, const Picture& picture, uint16_t* samples,
               uint8_t* row) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_init_io(png, file);
    const int depth = picture.bits == 8 ? 8 : 16;
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width), static_cast<png_uint_32>(picture.height), depth,
                 pngColourType(picture.channels), PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (picture.bits != depth) {
        // Tell readers how many bits are significant in the widened samples.
        png_color_8 significant{};
        const auto bits = static_cast<png_byte>(picture.bits);
        significant.red = significant.green = significant.blue = significant.gray = significant.alpha = bits;
        png_set_sBIT(png, info, &significant);
    }
    png_write_info(png, info);
    for (int32_t y = 0; y < picture.height; ++y) {
        picture.row(y, samples);
        encodeRow(picture, samples, row, true);
        png_write_row(png, row);
    }
    png_write_end(png, info);
    return true;
}

// ---------------------------------------------------------------- BMP

void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::optional<FileKind> kindByName(std::string_view ext) {
    if (ext == "png") return FileKind::Png;
    if (ext == "tif" || ext == "tiff") return FileKind::Tiff;
    if (ext == "bmp") return FileKind::Bmp;
    if (ext == "ppm") return FileKind::Ppm;
    if (ext == "pgm") return FileKind::Pgm;
    if (ext == "raw" || ext == "bin") return FileKind::Raw;
    return std::nullopt;
}

}  // namespace

std::optional<FileKind> fileKindByExtension(std::string_view path) { return kindByName(lowerExtension(path)); }

FileKind fileKindOf(std::string_view path) {
    if (const auto kind = fileKindByExtension(path)) return *kind;
    throw UsageError("cannot tell the output format of '" + std::string(path) +
                     "' from its extension (png, tif, bmp, ppm, pgm, raw or bin)");
}

FileKind fileKindNamed(std::string_view name) {
    if (const auto kind = kindByName(name)) return *kind;
    throw UsageError("unknown output type '" + std::string(name) + "' (png, tif, bmp, ppm, pgm or raw)");
}

std::string_view fileKindExtension(FileKind kind) {
    switch (kind) {
        case FileKind::Png: return "png";
        case FileKind::Tiff: return "tif";
        case FileKind::Bmp: return "bmp";
        case FileKind::Ppm: return "ppm";
        case FileKind::Pgm: return "pgm";
        case FileKind::Raw: return "raw";
    }
    return "";
}

std::string_view fileKindName(FileKind kind) {
    switch (kind) {
        case FileKind::Png: return "PNG";
        case FileKind::Tiff: return "TIFF";
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
    std::vector<uint16_t> samples(picture.rowSamples());
    std::vector<uint8_t> row(encodedRowBytes(picture));
    const bool written = info != nullptr && encodePng(png, info, out.stream(), picture, samples.data(), row.data());
    png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
    if (!written) throw Failure("cannot write '" + out.path() + "': " + trouble.message);
}

void writeBmp(OutputFile& out, const Picture& picture, Handle& handle, Diagnostics& diagnostics) {
    if (picture.bits != 8) throw Failure("BMP holds 8-bit samples only; write PNG, TIFF or PPM for deeper ones");
    const Picture colour = withChannels(picture, 3);
    const size_t w = static_cast<size_t>(colour.width);
    const size_t h = static_cast<size_t>(colour.height);
    const size_t paddedRow = (3 * w + 3) & ~size_t{3};
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
    // Bands of rows in file order (bottom-up) as B, G, R bytes, packed, with
    // room behind them for the padding zelBMPAdjust puts in place. It takes
    // at least 4 rows, so the last band takes what remains.
    constexpr size_t kBand = 64;
    std::vector<uint16_t> samples(3 * w);
    std::vector<uint8_t> pixels(paddedRow * std::min(h, 2 * kBand), 0);
    for (size_t done = 0; done < h;) {
        const size_t rows = h - done < 2 * kBand ? h - done : kBand;
        for (size_t r = 0; r < rows; ++r) {
            colour.row(static_cast<int32_t>(h - 1 - (done + r)), samples.data());
            uint8_t* p = pixels.data() + r * 3 * w;
            for (size_t i = 0; i < w; ++i) {
                p[3 * i] = static_cast<uint8_t>(samples[3 * i + 2]);
                p[3 * i + 1] = static_cast<uint8_t>(samples[3 * i + 1]);
                p[3 * i + 2] = static_cast<uint8_t>(samples[3 * i]);
            }
        }
        ZelImage image{static_cast<int32_t>(rows), colour.width, ZEL_PIX_BGR8, pixels.data(), static_cast<int32_t>(3 * w)};
        checkStatus("zelBMPAdjust", diagnostics.run([&] { return zelBMPAdjust(handle.get(), &image); }),
                    diagnostics);
        out.write({pixels.data(), rows * paddedRow});
        done += rows;
    }
}

void writePnm(OutputFile& out, const Picture& picture) {
    const std::string header = std::string(picture.channels == 1 ? "P5" : "P6") + "\n" +
                               std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n" +
                               std::to_string(picture.maxValue()) + "\n";
    out.write({reinterpret_cast<const uint8_t*>(header.data()), header.size()});
    const bool wide = picture.bits > 8;
    std::vector<uint16_t> samples(picture.rowSamples());
    std::vector<uint8_t> bytes(samples.size() * (wide ? 2 : 1));
    for (int32_t y = 0; y < picture.height; ++y) {
        picture.row(y, samples.data());
        for (size_t i = 0; i < samples.size(); ++i) {
            const uint16_t v = std::min(samples[i], picture.maxValue());
            if (wide) {
                bytes[2 * i] = static_cast<uint8_t>(v >> 8);
                bytes[2 * i + 1] = static_cast<uint8_t>(v);
            } else {
                bytes[i] = static_cast<uint8_t>(v);
            }
        }
        out.write(bytes);
    }
}

void writeTiff(OutputFile& out, const Picture& picture) {
    if (out.stream() == stdout) throw UsageError("TIFF cannot be written to standard output; write PNG or PPM");
    std::fflush(out.stream());
    // libtiff closes the descriptor it is given: give it a duplicate.
    const int fd = dup(fileno(out.stream()));
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TIFF* tiff = fd >= 0 ? TIFFFdOpen(fd, out.path().c_str(), "w") : nullptr;
    if (tiff == nullptr) {
        if (fd >= 0) close(fd);
        throw Failure("cannot write '" + out.path() + "': libtiff cannot open it");
    }
    const auto channels = static_cast<uint16_t>(picture.channels);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(picture.bits == 8 ? 8 : 16));
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    if (channels == 4) {
        const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    std::vector<uint16_t> samples(picture.rowSamples());
    std::vector<uint8_t> row(encodedRowBytes(picture));
    bool written = true;
    for (int32_t y = 0; y < picture.height && written; ++y) {
        picture.row(y, samples.data());
        encodeRow(picture, samples.data(), row.data(), false);
        written = TIFFWriteScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) == 1;
    }
    written = TIFFFlush(tiff) == 1 && written;
    TIFFClose(tiff);
    if (!written) throw Failure("cannot write '" + out.path() + "': libtiff failed");
    std::fseek(out.stream(), 0, SEEK_END);  // the stream's position follows what libtiff wrote
}

void writePicture(const std::string& path, FileKind kind, const Picture& picture, Handle& handle,
                  Diagnostics& diagnostics) {
    if (kind == FileKind::Pgm && picture.channels != 1)
        throw UsageError("PGM holds grey pictures: use --layout mono8, or write PPM or PNG");
    if (kind == FileKind::Raw) throw Failure("raw output is written from the library's own buffer");
    OutputFile out(path);
    switch (kind) {
        case FileKind::Png: writePng(out, picture); break;
        case FileKind::Tiff: writeTiff(out, picture); break;
        case FileKind::Bmp: writeBmp(out, picture, handle, diagnostics); break;
        case FileKind::Ppm: writePnm(out, withChannels(picture, 3)); break;
        case FileKind::Pgm: writePnm(out, picture); break;
        case FileKind::Raw: break;
    }
    out.commit();
}

void writePicture(const std::string& path, const Picture& picture, Handle& handle, Diagnostics& diagnostics) {
    writePicture(path, fileKindOf(path), picture, handle, diagnostics);
}

}  // namespace zelvora
