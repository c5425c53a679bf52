// zelvora demo [DIR] [--size WxH]: renders the synthetic scene, mosaics it in
// every Bayer order at 8, 12 and 12-bit packed depths, demosaics each mosaic
// with every method (in bands of rows on every thread), writes the pictures to DIR
// and prints their PSNR.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include "args.hpp"
#include "bands.hpp"
#include "cli.hpp"
#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "picture.hpp"
#include "psnr.hpp"
#include "rawio.hpp"
#include "scene.hpp"
#include "writers.hpp"

namespace zelvora {
namespace {

constexpr Order kOrders[] = {Order::RG, Order::BG, Order::GB, Order::GR};

struct Depth {
    const char* label;  // in the table
    const char* tag;    // in file names
    int bits;
    Packing packing;
};
constexpr Depth kDepths[] = {
    {"8-bit", "8", 8, Packing::Bytes},
    {"12-bit", "12", 12, Packing::Words},
    {"12-packed", "12p", 12, Packing::Packed},
};

// One cell of the table: a PSNR, or the status the library refused with.
struct Cell {
    std::optional<double> psnr;
    int32_t status = ZEL_OK;
};

std::string lower(std::string_view text) {
    std::string s(text);
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string formatCell(const Cell& cell) {
    char text[32];
    if (!cell.psnr) return "n/a";
    if (std::isinf(*cell.psnr)) return "exact";
    std::snprintf(text, sizeof text, "%.2f", *cell.psnr);
    return text;
}

// compare.png: the same two crops (stripes, then the zone plate's fine outer
// rings) of each picture, zoomed, side by side in the order given, on a dark
// ground; rows one per crop.
std::vector<uint8_t> comparison(const std::vector<const std::vector<uint8_t>*>& pictures, Size size, Size& sheet) {
    const int32_t qw = size.width / 2;
    const int32_t qh = size.height / 2;
    const int32_t cw = qw / 2;
    const int32_t ch = qh / 2;
    const int32_t zoom = std::max<int32_t>(1, 320 / cw);
    const int32_t gap = 4;
    const Size crops[] = {{qw / 4, qh + qh / 4}, {qw + qw / 2, qh / 2}};  // top-left corners
    sheet = {gap + static_cast<int32_t>(pictures.size()) * (cw * zoom + gap), gap + 2 * (ch * zoom + gap)};
    std::vector<uint8_t> rgb(static_cast<size_t>(sheet.width) * static_cast<size_t>(sheet.height) * 3, 24);
    for (size_t row = 0; row < std::size(crops); ++row) {
        for (size_t p = 0; p < pictures.size(); ++p) {
            const int32_t left = gap + static_cast<int32_t>(p) * (cw * zoom + gap);
            const int32_t top = gap + static_cast<int32_t>(row) * (ch * zoom + gap);
            for (int32_t y = 0; y < ch * zoom; ++y) {
                for (int32_t x = 0; x < cw * zoom; ++x) {
                    const size_t from = (static_cast<size_t>(crops[row].height + y / zoom) * size.width +
                                         static_cast<size_t>(crops[row].width + x / zoom)) * 3;
                    const size_t to = (static_cast<size_t>(top + y) * sheet.width + static_cast<size_t>(left + x)) * 3;
                    std::copy_n(pictures[p]->data() + from, 3, rgb.data() + to);
                }
            }
        }
    }
    return rgb;
}

}  // namespace

int runDemo(std::span<const std::string> words) {
    const Args args(words, commandDef("demo").options);
    if (args.positional().size() > 1) throw UsageError("demo takes at most one directory");
    const std::string dir = args.positional().empty() ? "zelvora-demo" : args.positional()[0];
    const Size size = args.has("size") ? parseSize(*args.value("size")) : Size{640, 480};
    if (size.width < 16 || size.height < 16 || size.width % 2 != 0 || size.height % 2 != 0)
        throw UsageError("the demo scene needs an even size of at least 16x16");
    BandRunner runner(threadsFrom(args));

    std::error_code error;
    std::filesystem::create_directories(dir, error);
    if (error) throw Failure("cannot create directory '" + dir + "': " + error.message());
    const auto file = [&](const std::string& name) { return (std::filesystem::path(dir) / name).string(); };

    const Scene scene = renderScene(size.width, size.height);
    const std::vector<uint8_t> reference = sceneToRgb8(scene);
    Handle handle;
    Diagnostics diagnostics;
    const ZelPixelType rgb8 = ZEL_PIX_RGB8;
    checkStatus("zelDemosaicSetConfig", diagnostics.run([&] { return runner.setLayout(rgb8); }), diagnostics);
    const OutputLayout& layout = findOutputLayout("rgb8");
    writePicture(file("scene.png"), pictureFromLayout(reference.data(), size.width, size.height, layout), handle,
                 diagnostics);

    std::vector<uint8_t> out(reference.size());
    std::vector<std::vector<uint8_t>> rg8(methods().size());  // kept for compare.png
    Cell cells[std::size(kDepths)][3][std::size(kOrders)];
    for (size_t d = 0; d < std::size(kDepths); ++d) {
        for (size_t o = 0; o < std::size(kOrders); ++o) {
            const InputFormat& format = inputFormatFor(kOrders[o], kDepths[d].bits, kDepths[d].packing);
            std::vector<uint8_t> raw = mosaic(scene, format);
            const std::string stem = lower(orderName(kOrders[o])) + kDepths[d].tag;
            if (kOrders[o] == Order::RG) writeWholeFile(file("bayer-" + stem + ".raw"), raw);
            const auto stride = static_cast<int32_t>(rowBytes(format, size.width));
            for (const Method& method : methods()) {
                ZelImage in{size.height, size.width, format.code, raw.data(), stride};
                ZelImage result{0, 0, 0, out.data(), 0};
                Cell& cell = cells[d][static_cast<size_t>(method.value)][o];
                cell.status = diagnostics.run([&] { return runner.demosaic(in, method.value, result); });
                if (cell.status != ZEL_OK) continue;
                cell.psnr = psnr(out, reference);
                const Picture picture = pictureFromLayout(out.data(), size.width, size.height, layout);
                writePicture(file(stem + "-" + std::string(method.name) + ".png"), picture, handle, diagnostics);
                if (kOrders[o] != Order::RG) continue;
                if (d == 0) rg8[static_cast<size_t>(method.value)] = out;
                if (kDepths[d].packing == Packing::Packed && method.value == ZEL_DEMOSAIC_BILINEAR)
                    writePicture(file("balanced.png"), toned(picture, Tone{true, {1, 1, 1}, 0.0}), handle, diagnostics);
            }
        }
    }

    std::vector<const std::vector<uint8_t>*> shown{&reference};
    for (const auto& picture : rg8)
        if (!picture.empty()) shown.push_back(&picture);
    Size sheet{};
    const std::vector<uint8_t> sheetRgb = comparison(shown, size, sheet);
    writePicture(file("compare.png"), pictureFromLayout(sheetRgb.data(), sheet.width, sheet.height, layout), handle,
                 diagnostics);

    std::printf("zelvora demo: %dx%d scene, pictures in %s/\n", size.width, size.height, dir.c_str());
    std::printf("PSNR of RGB8 output against the scene, in dB (higher is better)\n\n");
    std::printf("%-10s %-10s", "method", "input");
    for (Order order : kOrders) std::printf(" %8s", std::string(orderName(order)).c_str());
    std::printf("\n");
    for (const Method& method : methods()) {
        for (size_t d = 0; d < std::size(kDepths); ++d) {
            const Cell* row = cells[d][static_cast<size_t>(method.value)];
            std::printf("%-10s %-10s", std::string(method.name).c_str(), kDepths[d].label);
            bool allRefused = true;
            for (size_t o = 0; o < std::size(kOrders); ++o) allRefused = allRefused && row[o].status != ZEL_OK;
            if (allRefused) {
                std::printf(" not available (%s)\n", statusName(row[0].status).c_str());
                continue;
            }
            for (size_t o = 0; o < std::size(kOrders); ++o) std::printf(" %8s", formatCell(row[o]).c_str());
            std::printf("\n");
        }
    }
    std::printf("\nscene.png is the reference; <order><depth>-<method>.png are the demosaiced pictures;\n"
                "compare.png shows zoomed crops of the scene and the rg8 pictures by nearest, bilinear and edge,\n"
                "left to right; balanced.png is rg12p-bilinear.png with gray-world white balance and sRGB gamma.\n");
    std::printf("Convert a mosaic yourself:\n  zelvora convert %s out.png --format BayerRG12Packed --size %dx%d\n",
                file("bayer-rg12p.raw").c_str(), size.width, size.height);
    return 0;
}

}  // namespace zelvora
