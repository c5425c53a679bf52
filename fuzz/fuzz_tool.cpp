// The zelvora tool's input handling: command lines for convert, lsc
// calibrate and lsc apply over raw files and shading tables of any length,
// and the parsers of sizes, numbers, format names and codes, layouts and
// methods. A bad command line or file must end in the tool's one-line error
// (UsageError or Failure); any other exception, crash or leak is a finding.
//
// Input: a command byte, three file lengths (16 bits each), the three files
// (named a, b and c in the working directory), then the words of the
// command line separated by NUL bytes. The command runs in a temporary
// directory of its own; words with a '/' are not run, so nothing outside it is
// read or written.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "args.hpp"
#include "commands.hpp"
#include "error.hpp"
#include "formats.hpp"
#include "fuzz_input.hpp"

namespace {

std::string g_directory;
// ZELVORA_FUZZ_VERBOSE=1 prints the tool's error lines, to see what an input does.
const bool g_verbose = std::getenv("ZELVORA_FUZZ_VERBOSE") != nullptr;

void emptyDirectory() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(g_directory, error))
        std::filesystem::remove_all(entry.path(), error);
}

void writeFile(const char* name, std::string_view bytes) {
    std::FILE* f = std::fopen(name, "wb");
    if (f == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) std::abort();
    std::fclose(f);
}

// Every parser on one word; only the tool's own errors may come out.
void parseWord(const std::string& word) {
    using namespace zelvora;
    const auto quietly = [](auto&& call) {
        try {
            call();
        } catch (const Failure&) {
        }
    };
    quietly([&] { parseSize(word); });
    quietly([&] { parsePositive(word, "value"); });
    quietly([&] { parsePositive(word, "value", 1000); });
    quietly([&] { parseSeconds(word, "time"); });
    quietly([&] { findInputFormat(word); });
    quietly([&] { findOutputLayout(word); });
    quietly([&] { findMethod(word); });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/zelvora-fuzz-tool-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    g_directory = pattern;
    std::atexit([] {
        std::error_code error;
        std::filesystem::remove_all(g_directory, error);
    });
    // The tool reads "-" as standard input and writes pictures to standard output.
    if (std::freopen("/dev/null", "r", stdin) == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zelfuzz::Reader in(data, size);
    const auto command = in.take<uint8_t>();
    const uint16_t lengths[3] = {in.take<uint16_t>(), in.take<uint16_t>(), in.take<uint16_t>()};
    const std::string_view files[3] = {in.bytes(lengths[0]), in.bytes(lengths[1]), in.bytes(lengths[2])};
    std::vector<std::string> words(1);
    for (const char c : in.bytes(size)) {
        if (c == '/') return -1;  // keeps the corpus free of such inputs
        if (c == '\0') words.emplace_back();
        else words.back() += c;
    }
    if (words.back().empty()) words.pop_back();
    // "-" is standard input or output, which the fuzzer must not block on.
    if (std::find(words.begin(), words.end(), "-") != words.end()) return -1;

    if (command % 3 == 2) {
        for (const auto& w : words) parseWord(w);
        return 0;
    }
    // The command runs inside the temporary directory; libFuzzer's own files
    // (logs, corpus) stay where it was started.
    const int home = open(".", O_RDONLY | O_DIRECTORY);
    if (home < 0 || chdir(g_directory.c_str()) != 0) std::abort();
    writeFile("a", files[0]), writeFile("b", files[1]), writeFile("c", files[2]);
    try {
        command % 3 == 0 ? zelvora::runConvert(words) : zelvora::runLsc(words);
    } catch (const zelvora::Failure& e) {
        // The one-line error the tool prints: the expected end of bad input.
        if (g_verbose) std::fprintf(stderr, "zelvora: %s\n", e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zelvora let an exception through: %s\n", e.what());
        std::abort();
    }
    emptyDirectory();
    if (fchdir(home) != 0) std::abort();
    close(home);
    return 0;
}
