// Picture files: PNG through libpng and TIFF through libtiff (8 or 16 bits),
// BMP with rows padded by zelBMPAdjust, binary PPM and PGM, or raw bytes.
// Every writer takes the picture a row at a time.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "library.hpp"
#include "picture.hpp"
#include "rawio.hpp"

namespace zelvora {

enum class FileKind { Png, Tiff, Bmp, Ppm, Pgm, Raw };

// By the path's extension: .png, .tif or .tiff, .bmp, .ppm, .pgm, .raw or .bin
// (either case); UsageError otherwise.
FileKind fileKindOf(std::string_view path);
// The same, or nothing for an extension it does not know.
std::optional<FileKind> fileKindByExtension(std::string_view path);
// By a --type name: png, tif, tiff, bmp, ppm, pgm, raw or bin.
FileKind fileKindNamed(std::string_view name);
std::string_view fileKindName(FileKind kind);
std::string_view fileKindExtension(FileKind kind);  // "png", "tif", ...

void writePng(OutputFile& out, const Picture& picture);
void writeTiff(OutputFile& out, const Picture& picture);
// 24-bit, bottom-up rows; grey pictures are written as colour. 8-bit only.
void writeBmp(OutputFile& out, const Picture& picture, Handle& handle, Diagnostics& diagnostics);
// P6 for colour, P5 for grey; maxval 2^bits - 1, two bytes per sample above 8 bits.
void writePnm(OutputFile& out, const Picture& picture);

// Writes a picture file of the given kind (not raw) to `path` ("-":
// standard output) and commits it only when it is complete.
void writePicture(const std::string& path, FileKind kind, const Picture& picture, Handle& handle,
                  Diagnostics& diagnostics);
// The kind by the path's extension.
void writePicture(const std::string& path, const Picture& picture, Handle& handle, Diagnostics& diagnostics);

}  // namespace zelvora
