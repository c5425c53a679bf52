// Helpers of the tool's tests: a scratch directory, running the built tool in
// it, the library's own demosaicing of a frame, and PNG and TIFF files read
// back through libpng and libtiff.
#pragma once

#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "zelvora.h"

namespace tooltest {

using Bytes = std::vector<uint8_t>;

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir() : path_(std::filesystem::temp_directory_path() / "zelvora-test-XXXXXX") {
        std::string pattern = path_.string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    // Names of the entries of the directory or of one below it, sorted.
    std::vector<std::string> list(const std::string& below = "") const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_ / below))
            names.push_back(entry.path().filename());
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

inline Bytes readBytes(const std::string& path) {
    const std::string text = readText(path);
    return {text.begin(), text.end()};
}

inline void writeBytes(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
}

// Each of `parts` appears somewhere in `text`.
inline void expectMentions(const std::string& text, std::initializer_list<const char*> parts) {
    for (const char* part : parts) EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

struct Outcome {
    int status;          // as waitpid reports it
    int exitCode;        // -1 when a signal ended the run
    long peakKilobytes;  // the tool's peak resident size
    std::string out;
    std::string err;
};

// Starts the built zelvora inside `dir` with the words of `line` (separated
// by spaces, so file names are relative to the directory; "<file" redirects
// standard input), the fatal signals at their defaults. finishTool waits.
inline pid_t spawnTool(const std::string& line, const ScratchDir& dir) {
    std::vector<std::string> words;
    std::istringstream split(line);
    for (std::string word; split >> word;) words.push_back(word);
    const pid_t pid = fork();
    if (pid != 0) return pid;
    if (chdir((dir / "").c_str()) != 0) _exit(126);
    std::vector<char*> argv{const_cast<char*>(ZELVORA_TOOL_BINARY)};
    for (std::string& word : words) {
        if (word[0] == '<') dup2(open(word.c_str() + 1, O_RDONLY), STDIN_FILENO);
        else argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    dup2(open(".stdout", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
    dup2(open(".stderr", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
    for (int number : {SIGTERM, SIGINT, SIGHUP}) signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(argv[0], argv.data());
    _exit(127);
}

// Waits for the tool and collects what it printed, leaving the directory as
// the tool left it.
inline Outcome finishTool(pid_t pid, const ScratchDir& dir) {
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    Outcome run{status, WIFEXITED(status) ? WEXITSTATUS(status) : -1, usage.ru_maxrss, readText(dir / ".stdout"),
                readText(dir / ".stderr")};
    std::filesystem::remove(dir / ".stdout");
    std::filesystem::remove(dir / ".stderr");
    return run;
}

inline Outcome runTool(const std::string& line, const ScratchDir& dir) { return finishTool(spawnTool(line, dir), dir); }

// What the library itself makes of a frame in the given output layout.
inline Bytes libraryOutput(Bytes frame, uint32_t format, int32_t width, int32_t height, int32_t stride,
                           ZelPixelType layout, int bytesPerPixel, int32_t method = ZEL_DEMOSAIC_NEAREST) {
    ZelHandle* handle = nullptr;
    zelCreate(&handle);
    zelDemosaicSetConfig(handle, &layout);
    Bytes out(static_cast<size_t>(width * height * bytesPerPixel));
    ZelImage in{height, width, format, frame.data(), stride};
    ZelImage result{0, 0, 0, out.data(), 0};
    EXPECT_EQ(zelDemosaicing(handle, &in, method, &result), 0);
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
    std::array<int, 5> shape() const { return {width, height, channels, bitDepth, significantBits}; }
};

// One row's samples: bytes, or 16-bit words big-endian (PNG) or in the
// machine's order (TIFF as libtiff hands them out).
inline void appendRow(const Bytes& r, PngPicture* p, bool bigEndian) {
    for (size_t i = 0; i < static_cast<size_t>(p->width * p->channels); ++i)
        p->samples.push_back(static_cast<uint16_t>(p->bitDepth == 8 ? r[i]
                                                   : bigEndian      ? r[2 * i] << 8 | r[2 * i + 1]
                                                                    : r[2 * i] | r[2 * i + 1] << 8));
}

// Plain data only in the frame that libpng may jump back to.
inline bool decodePng(png_structp png, png_infop info, std::FILE* file, PngPicture* p, Bytes* row) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_init_io(png, file);
    png_read_info(png, info);
    png_color_8p sig = nullptr;
    *p = {static_cast<int>(png_get_image_width(png, info)), static_cast<int>(png_get_image_height(png, info)),
          png_get_channels(png, info), png_get_bit_depth(png, info), png_get_sBIT(png, info, &sig) ? sig->red : 0, {}};
    row->resize(png_get_rowbytes(png, info));
    for (int y = 0; y < p->height; ++y) {
        png_read_row(png, row->data(), nullptr);
        appendRow(*row, p, true);
    }
    png_read_end(png, nullptr);
    return true;
}

inline PngPicture readPng(const std::string& path) {
    PngPicture picture;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    Bytes row;
    if (file == nullptr || !decodePng(png, info, file, &picture, &row)) ADD_FAILURE() << "cannot read PNG " << path;
    png_destroy_read_struct(&png, &info, nullptr);
    if (file != nullptr) std::fclose(file);
    return picture;
}

// A TIFF's samples in the PNG reader's terms (no sBIT: significantBits 0).
inline PngPicture readTiff(const std::string& path) {
    PngPicture p;
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) {
        ADD_FAILURE() << "cannot read TIFF " << path;
        return p;
    }
    uint32_t width = 0, height = 0;
    uint16_t channels = 0, depth = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &depth);
    p = {static_cast<int>(width), static_cast<int>(height), channels, depth, 0, {}};
    Bytes row(static_cast<size_t>(TIFFScanlineSize(tiff)));
    for (uint32_t y = 0; y < height; ++y) {
        TIFFReadScanline(tiff, row.data(), y, 0);
        appendRow(row, &p, false);
    }
    TIFFClose(tiff);
    return p;
}

}  // namespace tooltest
