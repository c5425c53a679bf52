// Writes the seed corpus of every fuzz target: valid calls over frames of
// every family, so that fuzzing starts from real inputs rather than noise.
//   fuzz_seeds DIR   ->  DIR/demosaic, DIR/shading, DIR/deep, DIR/tool
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "descs.hpp"
#include "fuzz_input.hpp"

namespace {

using namespace zelfuzz;
using Bytes = std::vector<uint8_t>;

std::string g_root;

// Saves TARGET/TARGET-N, N counting the seeds of all targets.
void save(const std::string& target, const Writer& w) {
    static int count = 0;
    const std::string dir = g_root + "/" + target;
    mkdir(dir.c_str(), 0755);
    const std::string path = dir + "/" + target + "-" + std::to_string(count++);
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr || std::fwrite(w.data().data(), 1, w.data().size(), f) != w.data().size()) {
        std::perror(path.c_str());
        std::exit(1);
    }
    std::fclose(f);
}

// A scene with an edge, gradients and noise: rows of `row` bytes.
Bytes scene(int64_t rows, int64_t row, unsigned seed) {
    Bytes bytes(static_cast<size_t>(rows * row));
    uint32_t state = 2463534242u ^ seed;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const int64_t y = static_cast<int64_t>(i) / row, x = static_cast<int64_t>(i) % row;
        state ^= state << 13, state ^= state >> 17, state ^= state << 5;
        bytes[i] = static_cast<uint8_t>((x * 7 + y * 3) % 256 + (x > row / 2 ? 180 : 20) + state % 16);
    }
    return bytes;
}

void demosaicSeeds() {
    for (uint8_t code = 0; code < kInputCodeCount; ++code) {
        for (uint8_t method = 0; method < 3; ++method) {
            // Odd widths for packed input too; the second frame smaller.
            const auto layout = static_cast<uint8_t>((code + method) % kOutputCodeCount);
            const FrameDesc first{.codePick = code, .height = int8_t(12 + method), .width = int8_t(16 + method * 3),
                                  .strideKind = uint8_t(method == 2), .rawStride = 4, .methodPick = method,
                                  .layoutPick = layout};
            FrameDesc second = first;
            second.height = 8, second.width = 10, second.methodPick = (method + 1) % 3;
            second.layoutPick = (layout + 3) % kOutputCodeCount;
            // A band from the middle of the frame, or one that reaches an edge.
            const BandDesc band{1, uint8_t(code % 3 == 0 ? 1 : 5 + method), uint8_t(3 + code % 9)};
            const int64_t row = rowBytes(storedBits(kInputCodes[code]), first.width) + 4;
            save("demosaic", Writer().put(first).put(second).put(band).bytes(scene(first.height, row, code)));
        }
    }
}

void shadingSeeds() {
    unsigned seed = 0;
    for (uint8_t which = 0; which < 3; ++which) {
        for (uint8_t depth = 0; depth < 3; ++depth) {
            for (uint8_t mode = 0; mode < 2; ++mode, ++seed) {
                // Sample-like grey and dark levels; regions of kind 2, blocks of 16 or
                // 32 columns; correction in place or into a separate buffer.
                const ShadingDesc d{.which = which, .mode = mode, .bitDepth = depth, .height = 0,
                                    .width = int8_t(8 * depth), .samples = 3, .darkLevel = 4.0f,
                                    .region = uint8_t(mode << 2), .pixelType = depth * 5u + mode, .correction = mode};
                // Grey levels well above dark ones, falling off towards the corners.
                Bytes grey = scene(32 + d.width, 32 * 4, seed), dark = scene(32 + d.width, 32 * 4, seed + 100);
                for (size_t i = 1; i < grey.size(); i += 4) grey[i] |= 0xC0, dark[i] &= 0x0F;
                save("shading", Writer().put(d).bytes(grey).bytes(dark));
            }
        }
    }
}

void deepSeeds() {
    for (uint8_t which = 0; which < 3; ++which) {
        for (uint8_t variant = 0; variant < 4; ++variant) {
            const DeepDesc d{which, int8_t(9 + variant), int8_t(12 + variant), variant};
            save("deep", Writer().put(d).bytes(scene(d.height + 8, 2 * (d.width + 8), variant)));
        }
    }
}

// A tool input: the command byte, up to three files, then the words (given
// here separated by spaces).
void toolSeed(uint8_t command, const std::vector<Bytes>& files, const std::string& line) {
    Writer w;
    w.put(command);
    for (size_t i = 0; i < 3; ++i) w.put(static_cast<uint16_t>(i < files.size() ? files[i].size() : 0));
    for (const auto& f : files) w.bytes(f);
    std::istringstream words(line);
    for (std::string word; words >> word;) w.bytes(word).put('\0');
    save("tool", w);
}

Bytes identityTable(uint32_t mode, uint32_t height, uint32_t width) {
    Writer w;
    w.put(mode).put(height).put(width);
    const uint32_t n = mode == 1 ? height * width : (height / 2) * (width / 2);
    for (uint32_t i = 0; i < n; ++i) w.put((131072u << 12) | 16u);  // gain 1.0, offset 16
    return w.data();
}

void toolSeeds() {
    // Format names and codes, with the bytes of one row of 16 pixels.
    const std::pair<const char*, int> formats[] = {{"Mono8", 16},  {"BayerRG8", 16},        {"BayerGB10", 32},
                                                   {"BayerBG12", 32}, {"Mono16", 32}, {"BayerGR12Packed", 24},
                                                   {"0x010C0027", 24}, {"mono14", 32}};
    const char* methods[] = {"nearest", "bilinear", "edge"};
    const char* outputs[] = {"o.png", "o.bmp", "o.ppm", "o.pgm", "o.raw"};
    const char* layouts[] = {"bgr8", "rgba8", "mono8", "rgb8-planar", "bgr8-planar"};
    for (int f = 0; f < 8; ++f) {
        toolSeed(0, {scene(12, formats[f].second, f)},
                 std::string("a ") + outputs[f % 5] + " --format " + formats[f].first + " --size 16x12 --method " +
                     methods[f % 3] + " --layout " + layouts[f % 5]);
    }
    toolSeed(0, {scene(24, 32, 9)}, "a o.png --format BayerRG12 --size 16x12 --frames 2 --deep");
    toolSeed(0, {scene(12, 20, 10)}, "a o.raw --format=BayerGB8 --size=16x12 --stride=20 --method=edge");
    // Shading: 32 x 32 frames of 8 and 12 bits, tables of both modes.
    toolSeed(1, {scene(32, 32, 11), scene(32, 32, 12)},
             "calibrate --format BayerRG8 --size 32x32 --grey a --dark b --out t");
    toolSeed(1, {scene(32, 64, 13), scene(32, 64, 14), scene(32, 64, 15)},
             "calibrate --format Mono12 --size 32x32 --grey a --grey c --dark b --mode pixel --out t.bin");
    toolSeed(1, {identityTable(0, 32, 32), scene(32, 32, 16)}, "apply a b o.raw --format BayerBG8 --size 32x32");
    toolSeed(1, {identityTable(1, 32, 32), scene(64, 64, 17)},
             "apply a b o.raw --format Mono12 --size 32x32 --frames 2");
    toolSeed(1, {identityTable(0, 32, 32), scene(32, 48, 18)},
             "apply a b o.raw --format BayerRG12Packed --size 32x32");
    toolSeed(2, {},
             "1920x1080 0x0 12 -3 99999999999 0.25 BayerRG12Packed 0x01080009 rgba8 bgr8-planar edge nearest");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds DIR\n");
        return 2;
    }
    g_root = argv[1];
    mkdir(g_root.c_str(), 0755);
    demosaicSeeds();
    shadingSeeds();
    deepSeeds();
    toolSeeds();
    return 0;
}
