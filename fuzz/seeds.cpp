// Writes the seed corpus of every fuzz target: valid calls over frames of
// every family, so that fuzzing starts from real inputs rather than noise.
//   fuzz_seeds DIR   ->  DIR/demosaic, DIR/shading, DIR/deep, DIR/tool
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "descs.hpp"
#include "fuzz_input.hpp"

namespace {

using zelfuzz::Writer;

std::string g_root;

void save(const std::string& target, const std::string& name, const std::vector<uint8_t>& bytes) {
    const std::string dir = g_root + "/" + target;
    mkdir(dir.c_str(), 0755);
    const std::string path = dir + "/" + name;
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) {
        std::perror(path.c_str());
        std::exit(1);
    }
    std::fclose(f);
}

// A scene with edges, gradients and a bright spot: rows of `row` bytes.
std::vector<uint8_t> scene(int64_t rows, int64_t row, unsigned seed) {
    std::vector<uint8_t> bytes(static_cast<size_t>(rows * row));
    uint32_t state = 2463534242u ^ seed;
    for (int64_t y = 0; y < rows; ++y) {
        for (int64_t x = 0; x < row; ++x) {
            state ^= state << 13, state ^= state >> 17, state ^= state << 5;
            const int base = (x * 7 + y * 3) % 256;
            const int edge = x > row / 2 ? 180 : 20;
            bytes[static_cast<size_t>(y * row + x)] =
                static_cast<uint8_t>((base + edge + static_cast<int>(state % 16)) & 0xFF);
        }
    }
    return bytes;
}

void demosaicSeeds() {
    int count = 0;
    for (uint8_t code = 0; code < zelfuzz::kInputCodeCount; ++code) {
        for (uint8_t method = 0; method < 3; ++method) {
            // Odd widths for packed input too; the second frame smaller.
            const auto layout = static_cast<uint8_t>((code + method) % zelfuzz::kOutputCodeCount);
            zelfuzz::FrameDesc first{.codePick = code, .height = int8_t(12 + method), .width = int8_t(16 + method * 3),
                                           .strideKind = uint8_t(method == 2), .rawStride = 4, .methodPick = method,
                                           .layoutPick = layout};
            zelfuzz::FrameDesc second{.codePick = code, .height = 8, .width = 10, .strideKind = first.strideKind,
                                            .rawStride = 4, .methodPick = uint8_t((method + 1) % 3),
                                            .layoutPick = uint8_t((layout + 3) % zelfuzz::kOutputCodeCount)};
            // A band from the middle of the frame, or one that reaches an edge.
            zelfuzz::BandDesc band{1, static_cast<uint8_t>(code % 3 == 0 ? 1 : 5 + method),
                                   static_cast<uint8_t>(3 + code % 9)};
            Writer w;
            w.put(first).put(second).put(band);
            const int64_t row = zelfuzz::rowBytes(zelfuzz::storedBits(zelfuzz::kInputCodes[code]), first.width) + 4;
            w.bytes(scene(first.height, row, code));
            save("demosaic", "frame-" + std::to_string(count++), w.data());
        }
    }
}

void shadingSeeds() {
    int count = 0;
    for (uint8_t which = 0; which < 3; ++which) {
        for (uint8_t depth = 0; depth < 3; ++depth) {
            for (uint32_t mode = 0; mode < 2; ++mode) {
                // Sample-like grey and dark levels; regions of kind 2, blocks of 16 or
                // 32 columns; correction in place or into a separate buffer.
                zelfuzz::ShadingDesc d{.which = which, .mode = mode, .bitDepth = depth, .height = 0,
                                             .width = int8_t(8 * depth), .samples = 3, .darkLevel = 4.0f,
                                             .region = uint8_t(mode << 2), .pixelType = depth * 5 + mode,
                                             .correction = uint8_t(mode)};
                Writer w;
                w.put(d);
                // Grey levels well above dark ones, falling off towards the corners.
                std::vector<uint8_t> grey = scene(32 + d.width, 32 * 4, count);
                for (size_t i = 0; i < grey.size(); i += 4) grey[i + 1] = static_cast<uint8_t>(0xC0 | grey[i + 1]);
                std::vector<uint8_t> dark = scene(32 + d.width, 32 * 4, count + 100);
                for (size_t i = 0; i < dark.size(); i += 4) dark[i + 1] &= 0x0F;
                w.bytes(grey).bytes(dark);
                save("shading", "shading-" + std::to_string(count++), w.data());
            }
        }
    }
}

void deepSeeds() {
    int count = 0;
    for (uint8_t which = 0; which < 3; ++which) {
        for (uint8_t variant = 0; variant < 4; ++variant) {
            zelfuzz::DeepDesc d{which, static_cast<int8_t>(9 + variant), static_cast<int8_t>(12 + variant),
                                      variant};
            Writer w;
            w.put(d);
            w.bytes(scene(d.height + 8, 2 * (d.width + 8), variant));
            save("deep", "deep-" + std::to_string(count++), w.data());
        }
    }
}

// A tool input: the command byte, up to three files, then the words.
void toolSeed(const std::string& name, uint8_t command, const std::vector<std::vector<uint8_t>>& files,
              const std::vector<std::string>& words) {
    Writer w;
    w.put(command);
    for (size_t i = 0; i < 3; ++i) w.put(static_cast<uint16_t>(i < files.size() ? files[i].size() : 0));
    for (const auto& f : files) w.bytes(f);
    std::vector<uint8_t> text;
    for (const auto& word : words) {
        text.insert(text.end(), word.begin(), word.end());
        text.push_back(0);
    }
    w.bytes(text);
    save("tool", name, w.data());
}

std::vector<uint8_t> identityTable(uint32_t mode, uint32_t height, uint32_t width) {
    Writer w;
    w.put(mode).put(height).put(width);
    const uint32_t n = mode == 1 ? height * width : (height / 2) * (width / 2);
    for (uint32_t i = 0; i < n; ++i) w.put((131072u << 12) | 16u);  // gain 1.0, offset 16
    return w.data();
}

void toolSeeds() {
    const char* formats[] = {"Mono8", "BayerRG8", "BayerGB10", "BayerBG12", "Mono16", "BayerGR12Packed",
                             "0x010C0027", "mono14"};
    const int bytesPerRow[] = {16, 16, 32, 32, 32, 24, 24, 32};
    const char* methods[] = {"nearest", "bilinear", "edge"};
    const char* outputs[] = {"o.png", "o.bmp", "o.ppm", "o.pgm", "o.raw"};
    const char* layouts[] = {"bgr8", "rgba8", "mono8", "rgb8-planar", "bgr8-planar"};
    int count = 0;
    for (int f = 0; f < 8; ++f) {
        const std::vector<uint8_t> frame = scene(12, bytesPerRow[f], f);
        toolSeed("convert-" + std::to_string(count++), 0, {frame},
                 {"a", outputs[f % 5], "--format", formats[f], "--size", "16x12", "--method", methods[f % 3],
                  "--layout", layouts[f % 5]});
    }
    toolSeed("convert-deep", 0, {scene(24, 32, 9)},
             {"a", "o.png", "--format", "BayerRG12", "--size", "16x12", "--frames", "2", "--deep"});
    toolSeed("convert-stride", 0, {scene(12, 20, 10)},
             {"a", "o.raw", "--format=BayerGB8", "--size=16x12", "--stride=20", "--method=edge"});
    // Shading: 32 x 32 frames of 8 and 12 bits, tables of both modes.
    toolSeed("calibrate-8", 1, {scene(32, 32, 11), scene(32, 32, 12)},
             {"calibrate", "--format", "BayerRG8", "--size", "32x32", "--grey", "a", "--dark", "b", "--out", "t"});
    toolSeed("calibrate-12", 1, {scene(32, 64, 13), scene(32, 64, 14), scene(32, 64, 15)},
             {"calibrate", "--format", "Mono12", "--size", "32x32", "--grey", "a", "--grey", "c", "--dark", "b",
              "--mode", "pixel", "--out", "t.bin"});
    toolSeed("apply-0", 1, {identityTable(0, 32, 32), scene(32, 32, 16)},
             {"apply", "a", "b", "o.raw", "--format", "BayerBG8", "--size", "32x32"});
    toolSeed("apply-1", 1, {identityTable(1, 32, 32), scene(64, 64, 17)},
             {"apply", "a", "b", "o.raw", "--format", "Mono12", "--size", "32x32", "--frames", "2"});
    toolSeed("apply-packed", 1, {identityTable(0, 32, 32), scene(32, 48, 18)},
             {"apply", "a", "b", "o.raw", "--format", "BayerRG12Packed", "--size", "32x32"});
    toolSeed("words", 2, {},
             {"1920x1080", "0x0", "12", "-3", "99999999999", "0.25", "BayerRG12Packed", "0x01080009", "rgba8",
              "bgr8-planar", "edge", "nearest"});
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
