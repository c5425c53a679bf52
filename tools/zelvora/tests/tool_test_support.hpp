// Helpers of the tool's tests: a scratch directory, running the built tool,
// and reading PNG files back through libpng.
#pragma once

#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "zelvora.h"

namespace tooltest {

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zelvora-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    // Names of the entries, sorted.
    std::vector<std::string> list() const { return listOf(path_); }
    static std::vector<std::string> listOf(const std::filesystem::path& path) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path path_;
};

inline std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

// Runs the built zelvora with the given arguments (each quoted for the shell).
inline Outcome runTool(const std::vector<std::string>& args, const ScratchDir& dir) {
    std::string command = "'" ZELVORA_TOOL_BINARY "'";
    for (const std::string& arg : args) {
        std::string quoted = "'";
        for (char c : arg) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        command += " " + quoted + "'";
    }
    const std::string out = dir / ".stdout";
    const std::string err = dir / ".stderr";
    command += " >'" + out + "' 2>'" + err + "'";
    const int status = std::system(command.c_str());
    Outcome run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readText(out), readText(err)};
    std::filesystem::remove(out);
    std::filesystem::remove(err);
    return run;
}

// What the library itself makes of a frame with the nearest method, in the
// given output layout.
inline std::vector<uint8_t> libraryOutput(std::vector<uint8_t> frame, uint32_t format, int32_t width, int32_t height,
                                          int32_t stride, ZelPixelType layout, int bytesPerPixel) {
    ZelHandle* handle = nullptr;
    zelCreate(&handle);
    zelDemosaicSetConfig(handle, &layout);
    std::vector<uint8_t> out(static_cast<size_t>(width * height * bytesPerPixel));
    ZelImage in{height, width, format, frame.data(), stride};
    ZelImage result{0, 0, 0, out.data(), 0};
    EXPECT_EQ(zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &result), 0);
    zelRelease(&handle);
    return out;
}

struct PngPicture {
    int width = 0;
    int height = 0;
    int channels = 0;
    int bitDepth = 0;
    int significantBits = 0;  // from sBIT, 0 when absent
    std::vector<uint16_t> samples;
};

// Plain data only in the frame that libpng may jump back to.
inline bool decodePng(png_structp png, png_infop info, std::FILE* file, PngPicture* picture,
                      std::vector<uint8_t>* row) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_init_io(png, file);
    png_read_info(png, info);
    picture->width = static_cast<int>(png_get_image_width(png, info));
    picture->height = static_cast<int>(png_get_image_height(png, info));
    picture->channels = png_get_channels(png, info);
    picture->bitDepth = png_get_bit_depth(png, info);
    png_color_8p sig = nullptr;
    if (png_get_sBIT(png, info, &sig) != 0) picture->significantBits = sig->red;
    row->resize(png_get_rowbytes(png, info));
    const size_t perRow = static_cast<size_t>(picture->width) * static_cast<size_t>(picture->channels);
    picture->samples.resize(perRow * static_cast<size_t>(picture->height));
    for (int y = 0; y < picture->height; ++y) {
        png_read_row(png, row->data(), nullptr);
        for (size_t i = 0; i < perRow; ++i) {
            picture->samples[static_cast<size_t>(y) * perRow + i] =
                picture->bitDepth == 16 ? static_cast<uint16_t>(((*row)[2 * i] << 8) | (*row)[2 * i + 1])
                                        : (*row)[i];
        }
    }
    png_read_end(png, nullptr);
    return true;
}

inline PngPicture readPng(const std::string& path) {
    PngPicture picture;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        ADD_FAILURE() << "cannot open " << path;
        return picture;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::vector<uint8_t> row;
    const bool ok = decodePng(png, info, file, &picture, &row);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    if (!ok) ADD_FAILURE() << "libpng cannot read " << path;
    return picture;
}

}  // namespace tooltest
