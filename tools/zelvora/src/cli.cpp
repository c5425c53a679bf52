#include "cli.hpp"

#include <cstdio>
#include <exception>
#include <new>
#include <vector>

#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"

#ifndef ZELVORA_VERSION
#define ZELVORA_VERSION "unknown"
#endif

namespace zelvora {
namespace {

constexpr std::string_view kFormatHelp =
    "raw pixel format, by GigE Vision name (BayerRG12Packed) or code (0x010C002B); 'zelvora formats' lists them";
constexpr std::string_view kStrideHelp = "bytes from one row start to the next (default: the packed row length)";
constexpr OptionDef kThreadsOption{"threads", "N",
                                   "threads that demosaic each frame in bands of rows, one library handle each "
                                   "(default: the number of online cores)"};

constexpr OptionDef kConvertOptions[] = {
    {"format", "NAME", kFormatHelp, true},
    {"size", "WxH", "frame width and height in pixels", true},
    {"stride", "BYTES", kStrideHelp},
    {"frames", "N", "frames each input holds (default: as many as its length holds)"},
    {"first", "N", "skip the first N frames of each input"},
    {"count", "N", "convert at most N frames of each input"},
    {"method", "nearest|bilinear|edge", "demosaicing method (default bilinear)"},
    {"layout", "bgr8|rgb8|bgra8|rgba8|rgb8-planar|bgr8-planar|mono8",
     "the library's output layout (default bgr8, or mono8 for mono input and PGM output); PNG and TIFF keep the "
     "fourth channel of bgra8 and rgba8 as opaque alpha"},
    {"deep", "", "keep 16 bits through the 16-bit kernels (bilinear for BayerRG, edge for every order) and write "
                 "16-bit PNG, TIFF or PPM, or PGM for mono input"},
    {"white-balance", "gray-world|R:G:B",
     "scale red, green and blue of the picture: by gray-world means, or by the given factors (off by default)"},
    {"gamma", "srgb|VALUE", "encode the picture with the sRGB curve or the power 1/VALUE (off by default)"},
    {"out-dir", "DIR", "write into DIR, one file per input named after it, instead of OUT"},
    {"type", "png|tif|bmp|ppm|pgm|raw", "output format with --out-dir or OUT '-' (default png)"},
    kThreadsOption,
    {"quiet", "", "no progress line on standard error"},
};

constexpr OptionDef kCalibrateOptions[] = {
    {"format", "NAME", kFormatHelp, true},
    {"size", "WxH", "frame width and height in pixels", true},
    {"stride", "BYTES", kStrideHelp},
    {"grey", "FILE", "flat-field frames; every frame of every file is averaged", true, true, true},
    {"dark", "FILE", "dark frames; every frame of every file is averaged", true, true, true},
    {"mode", "block|pixel", "one table entry per 2x2 block (default) or per pixel"},
    {"out", "TABLE", "the table file to write", true},
};

constexpr OptionDef kApplyOptions[] = {
    {"format", "NAME", kFormatHelp, true},
    {"size", "WxH", "frame width and height in pixels", true},
    {"stride", "BYTES", kStrideHelp},
    {"frames", "N", "frames IN holds (default: as many as its length holds)"},
};

constexpr OptionDef kDemoOptions[] = {{"size", "WxH", "size of the scene (default 640x480)"}, kThreadsOption};
constexpr OptionDef kBenchOptions[] = {
    {"size", "WxH", "frame size (default 1920x1080)"},
    {"min-time", "SECONDS", "least time spent on each measurement (default 0.2)"},
    kThreadsOption,
};
constexpr OptionDef kHelpOptions[] = {{"man", "", "print the manual page (roff) instead"}};

int runHelpCommand(std::span<const std::string> words);
int runVersion(std::span<const std::string> words);

constexpr CommandDef kCommands[] = {
    {"convert", "IN... [OUT]", kConvertOptions,
     "Demosaics raw frames through zelDemosaicingRows, in bands of rows on every thread, and writes PNG, TIFF, BMP (rows padded by zelBMPAdjust), PPM, "
     "PGM or the library's output bytes (.raw, .bin), chosen by OUT's extension. A file of several frames becomes "
     "OUT-0000, OUT-0001, ...; OUT may instead hold a number pattern such as out-%04d.png, counted over every "
     "frame. Several inputs need --out-dir or a pattern. IN or OUT '-' is standard input or output (raw, PNG, "
     "PPM, PGM). A progress line goes to standard error when it is a terminal.",
     runConvert},
    {"lsc calibrate", "", kCalibrateOptions,
     "Computes a lens-shading table with zelGetLSCParameter from grey (flat-field) and dark frames of 8, 10 or 12 "
     "bits. Calibration frames whose grey level is not clearly above the dark level are refused, with the levels "
     "and the gains that would come out. The table file holds the ZelLSCTable words little-endian: mode, height, "
     "width, then the entries.",
     runLscCalibrate},
    {"lsc apply", "TABLE IN OUT", kApplyOptions,
     "Corrects raw frames with a table through zelLSCorrection. OUT .raw or .bin holds the frames in the input's "
     "format (packed frames are corrected unpacked and packed again); .png, .tif or .pgm a grey picture of the "
     "corrected mosaic at the input's depth.",
     runLscApply},
    {"demo", "[DIR]", kDemoOptions,
     "Renders a synthetic scene (colour patches, fine stripes, a zone plate, gradients), mosaics it in every Bayer "
     "order at 8, 12 and 12-bit packed depths, demosaics each mosaic with every method, writes the pictures to DIR "
     "(zelvora-demo by default) and prints their PSNR against the scene. compare.png shows the same zoomed crops of "
     "the scene and of the nearest, bilinear and edge-directed pictures side by side, in that order.",
     runDemo},
    {"bench", "", kBenchOptions,
     "Prints megapixels per second of every method and output layout for 8-bit and 16-bit input and of the 16-bit "
     "kernels, then the scaling: each method with the frame cut into bands of rows, on one thread and on "
     "--threads threads, measured in turn. With the OpenCV comparison module installed, also OpenCV's Bayer "
     "conversions and the ratios.",
     runBench},
    {"formats", "", {}, "Lists the raw input formats the library accepts.", runFormats},
    {"help", "[COMMAND]", kHelpOptions, "Prints the usage, or one command's help.", runHelpCommand},
    {"version", "", {}, "Prints the versions of the tool and of the library.", runVersion},
};

constexpr std::string_view kMinimumSizes =
    "Smallest frames: nearest and bilinear 4x4; edge-directed 6x6 for Bayer input (4x4 for mono); --deep "
    "bilinear 4x4 and --deep edge 8x8; lens-shading frames even, at least 32x32.";

constexpr std::string_view kExitStatus =
    "Errors are one line on standard error. Exit status 0 on success, 2 for a command line the tool cannot use, "
    "1 for anything else, and 128 plus the signal's number when interrupted (the unfinished file is removed).";

// "--grey FILE...", bracketed when optional.
std::string optionText(const OptionDef& option, bool brackets = true) {
    std::string text = brackets && !option.required ? "[--" : "--";
    text += option.name;
    if (option.takesValue()) {
        text += ' ';
        text += option.value;
        if (option.many) text += "...";
    }
    if (brackets && !option.required) text += ']';
    return text;
}

// Words joined by spaces, broken before a word that would pass `columns`;
// continuation lines start with `indent`.
std::string wrap(const std::vector<std::string>& words, size_t columns, const std::string& first,
                 const std::string& indent) {
    std::string out = first;
    size_t line = first.size();
    bool lineEmpty = true;
    for (const std::string& word : words) {
        if (!lineEmpty && line + 1 + word.size() > columns) {
            out += "\n" + indent;
            line = indent.size();
            lineEmpty = true;
        }
        if (!lineEmpty) {
            out += " ";
            ++line;
        }
        out += word;
        line += word.size();
        lineEmpty = false;
    }
    return out + "\n";
}

std::vector<std::string> splitWords(std::string_view text) {
    std::vector<std::string> words;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && text[i] == ' ') ++i;
        const size_t start = i;
        while (i < text.size() && text[i] != ' ') ++i;
        if (i > start) words.emplace_back(text.substr(start, i - start));
    }
    return words;
}

// The synopsis as pieces that stay on one line: the command, its operands and
// each option.
std::vector<std::string> synopsisPieces(const CommandDef& command) {
    std::vector<std::string> pieces{"zelvora " + std::string(command.name)};
    if (!command.operands.empty()) pieces.emplace_back(command.operands);
    for (const OptionDef& option : command.options) pieces.push_back(optionText(option));
    return pieces;
}

// Roff escapes: backslashes and leading dots; dashes stay minus signs.
std::string roff(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
    }
    if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out.insert(0, "\\&");
    return out;
}

int runHelpCommand(std::span<const std::string> words) {
    const Args args(words, kHelpOptions);
    if (args.has("man")) {
        if (!args.positional().empty()) throw UsageError("help --man takes no command");
        std::fputs(manualPage().c_str(), stdout);
        return 0;
    }
    std::string name;
    for (const std::string& word : args.positional()) name += (name.empty() ? "" : " ") + word;
    if (name.empty()) {
        std::fputs(usageText().c_str(), stdout);
    } else if (name == "lsc") {
        std::fputs((commandHelp(commandDef("lsc calibrate")) + "\n" + commandHelp(commandDef("lsc apply"))).c_str(),
                   stdout);
    } else {
        std::fputs(commandHelp(commandDef(name)).c_str(), stdout);
    }
    return 0;
}

int runVersion(std::span<const std::string> words) {
    if (!words.empty()) throw UsageError("version takes no arguments");
    std::printf("%s\n", versionText().c_str());
    return 0;
}

bool asksForHelp(std::span<const std::string> words) {
    for (const std::string& word : words)
        if (word == "--help" || word == "-h") return true;
    return false;
}

}  // namespace

std::span<const CommandDef> commandDefs() { return kCommands; }

const CommandDef& commandDef(std::string_view name) {
    for (const CommandDef& command : kCommands)
        if (command.name == name) return command;
    throw UsageError("unknown command '" + std::string(name) + "'");
}

std::string synopsis(const CommandDef& command) {
    std::string line;
    for (const std::string& piece : synopsisPieces(command)) line += (line.empty() ? "" : " ") + piece;
    return line;
}

std::string usageText() {
    std::string text = "usage: zelvora COMMAND ...\n";
    for (const CommandDef& command : kCommands) {
        text += '\n';
        text += wrap(synopsisPieces(command), 100, "  ", "          ");
        text += wrap(splitWords(command.description), 80, "      ", "      ");
    }
    text += '\n';
    text += wrap(splitWords(kMinimumSizes), 80, "", "");
    text += "'zelvora help COMMAND' or 'zelvora COMMAND --help' describes every option.\n";
    return text;
}

std::string commandHelp(const CommandDef& command) {
    std::string text = wrap(synopsisPieces(command), 100, "usage: ", "        ") + "\n";
    text += wrap(splitWords(command.description), 80, "", "");
    if (!command.options.empty()) text += "\n";
    for (const OptionDef& option : command.options) {
        text += "  ";
        text += optionText(option, false);
        text += '\n';
        text += wrap(splitWords(option.help), 80, "      ", "      ");
    }
    if (command.name == "convert" || command.name.substr(0, 3) == "lsc") {
        text += '\n';
        text += wrap(splitWords(kMinimumSizes), 80, "", "");
    }
    return text;
}

std::string manualPage() {
    std::string page = ".TH ZELVORA 1 \"\" \"zelvora " ZELVORA_VERSION "\" \"User Commands\"\n";
    page += ".SH NAME\nzelvora \\- raw sensor frames to pictures through libZelvora\n.SH SYNOPSIS\n";
    for (const CommandDef& command : kCommands) page += ".PP\n" + roff(synopsis(command)) + "\n";
    page += ".SH COMMANDS\n";
    for (const CommandDef& command : kCommands) {
        page += ".SS " + roff(command.name) + "\n" + roff(command.description) + "\n";
        for (const OptionDef& option : command.options) {
            std::string head = "\\fB\\-\\-" + roff(option.name) + "\\fR";
            if (option.takesValue()) head += " \\fI" + roff(option.value) + (option.many ? "..." : "") + "\\fR";
            page += ".TP\n" + head + "\n" + roff(option.help) + "\n";
        }
    }
    page += ".SH FRAME SIZES\n" + roff(kMinimumSizes) + "\n";
    page += ".SH EXIT STATUS\n" + roff(kExitStatus) + "\n";
    return page;
}

std::string versionText() { return "zelvora " ZELVORA_VERSION ", libZelvora " ZELVORA_VERSION; }

int runCommandLine(std::span<const std::string> words) {
    try {
        if (words.empty()) {
            std::fputs(usageText().c_str(), stderr);
            return 2;
        }
        const std::string& first = words[0];
        if (first == "--help" || first == "-h") return runHelpCommand(words.subspan(1));
        if (first == "--version") return runVersion(words.subspan(1));
        std::string name = first;
        std::span<const std::string> rest = words.subspan(1);
        if (name == "lsc") {
            if (rest.empty() || (rest[0] != "calibrate" && rest[0] != "apply")) {
                if (asksForHelp(rest)) return runHelpCommand(words.first(1));
                return runLsc(rest);  // refuses
            }
            name += " " + rest[0];
            rest = rest.subspan(1);
        }
        const CommandDef& command = commandDef(name);
        if (command.name != "help" && asksForHelp(rest)) {
            std::fputs(commandHelp(command).c_str(), stdout);
            return 0;
        }
        return command.run(rest);
    } catch (const UsageError& e) {
        std::fflush(stdout);
        const std::string message = e.what();
        const bool pointed = message.find("(see 'zelvora") != std::string::npos;
        std::fprintf(stderr, "zelvora: %s%s\n", message.c_str(), pointed ? "" : " (see 'zelvora help')");
        return 2;
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

}  // namespace zelvora

namespace zelvora {

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
