// zelvora: raw sensor frames to pictures, from the command line.
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"

namespace zelvora {
namespace {

constexpr const char* kUsage = R"(usage: zelvora COMMAND ...

  convert IN OUT --format NAME --size WxH [--stride BYTES] [--frames N]
          [--method nearest|bilinear|edge] [--deep]
          [--layout bgr8|rgb8|bgra8|rgba8|rgb8-planar|bgr8-planar|mono8]
      Demosaics a raw frame (format by GigE Vision name, e.g. BayerRG12Packed,
      or hex code, e.g. 0x010C002B) and writes OUT as PNG, BMP, PPM, PGM or
      raw bytes (.raw, .bin) by its extension. Method bilinear by default.
      --deep keeps 16 bits through the 16-bit kernels (bilinear for BayerRG,
      edge for every order) and writes 16-bit PNG, PPM or PGM.
      --frames N converts a file of N frames to OUT-0000, OUT-0001, ...

  lsc calibrate --format NAME --size WxH --grey FILE... --dark FILE...
          [--mode block|pixel] --out TABLE
      Lens-shading table from grey (flat-field) and dark frames; several
      --grey or --dark files, or files of several frames, are averaged.
  lsc apply TABLE IN OUT --format NAME --size WxH [--stride BYTES] [--frames N]
      Corrects raw frames with a table; OUT holds raw frames of the same format.

  demo [DIR] [--size WxH]
      Renders a synthetic scene, mosaics it in every Bayer order at 8, 12 and
      12-bit packed depths, demosaics with every method, writes the pictures
      to DIR (zelvora-demo by default) and prints their PSNR.

  bench [--size WxH] [--min-time SECONDS]
      Megapixels per second of every method and layout (1920x1080 frames).

  formats
      The raw input formats the library accepts.
)";

int runHelp() {
    std::fputs(kUsage, stdout);
    return 0;
}

}  // namespace

int runFormats(std::span<const std::string> words) {
    if (!words.empty()) throw UsageError("formats takes no arguments");
    std::printf("%-18s %-12s %-6s %s\n", "name", "code", "bits", "bytes per row of W pixels");
    for (const InputFormat& f : inputFormats()) {
        const char* row = f.packing == Packing::Bytes ? "W" : f.packing == Packing::Words ? "2W" : "3 x ceil(W/2)";
        std::printf("%-18s 0x%08X   %-6d %s\n", std::string(f.name).c_str(), f.code, f.bits, row);
    }
    return 0;
}

}  // namespace zelvora

int main(int argc, char** argv) {
    using namespace zelvora;
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const std::string command = words.empty() ? "help" : words[0];
    const std::span<const std::string> rest = words.empty() ? std::span<const std::string>{}
                                                            : std::span<const std::string>(words).subspan(1);
    try {
        if (command == "convert") return runConvert(rest);
        if (command == "demo") return runDemo(rest);
        if (command == "bench") return runBench(rest);
        if (command == "lsc") return runLsc(rest);
        if (command == "formats") return runFormats(rest);
        if (command == "help" || command == "--help" || command == "-h") return runHelp();
        throw UsageError("unknown command '" + command + "'");
    } catch (const UsageError& e) {
        std::fflush(stdout);
        const std::string message = e.what();
        const bool pointed = message.find("(see 'zelvora") != std::string::npos;
        std::fprintf(stderr, "zelvora: %s%s\n", message.c_str(), pointed ? "" : " (see 'zelvora help')");
        return 2;
    } catch (const Failure& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "zelvora: %s\n", e.what());
        return 1;
    } catch (const std::bad_alloc&) {
        std::fflush(stdout);
        std::fprintf(stderr, "zelvora: out of memory\n");
        return 1;
    } catch (const std::exception& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "zelvora: %s\n", e.what());
        return 1;
    }
}
