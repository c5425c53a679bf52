// Picture files by extension: PNG through libpng (8 or 16 bits), BMP with
// rows padded by zelBMPAdjust, binary PPM and PGM, or the raw bytes.
#pragma once

#include <string>
#include <string_view>

#include "library.hpp"
#include "picture.hpp"
#include "rawio.hpp"

namespace zelvora {

enum class FileKind { Png, Bmp, Ppm, Pgm, Raw };

// .png, .bmp, .ppm, .pgm, .raw or .bin (either case); UsageError otherwise.
FileKind fileKindOf(std::string_view path);
std::string_view fileKindName(FileKind kind);

void writePng(OutputFile& out, const Picture& picture);
// 24-bit, bottom-up rows; grey pictures are written as colour. 8-bit only.
void writeBmp(OutputFile& out, const Picture& picture, Handle& handle, Diagnostics& diagnostics);
// P6 for colour, P5 for grey; maxval 2^bits - 1, two bytes per sample above 8 bits.
void writePnm(OutputFile& out, const Picture& picture);

// Picks the writer by the path's extension (not for raw output) and commits
// the file only when it is complete.
void writePicture(const std::string& path, const Picture& picture, Handle& handle, Diagnostics& diagnostics);

}  // namespace zelvora
