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
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
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

void removeDirectory() {
    if (g_directory.empty()) return;
    if (DIR* dir = opendir(g_directory.c_str())) {
        while (const dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") unlink((g_directory + "/" + name).c_str());
        }
        closedir(dir);
    }
}

void writeFile(const char* name, const uint8_t* bytes, size_t size) {
    std::FILE* f = std::fopen(name, "wb");
    if (f == nullptr) std::abort();
    if (size > 0 && std::fwrite(bytes, 1, size, f) != size) std::abort();
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
        removeDirectory();
        rmdir(g_directory.c_str());
    });
    // The tool reads "-" as standard input and writes pictures to standard output.
    if (std::freopen("/dev/null", "r", stdin) == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zelfuzz::Reader in(data, size);
    const uint8_t command = in.take<uint8_t>();
    uint16_t lengths[3];
    for (auto& length : lengths) length = in.take<uint16_t>();
    size_t pos = 7;
    const char* const names[3] = {"a", "b", "c"};
    std::vector<std::pair<const uint8_t*, size_t>> files;
    for (const uint16_t length : lengths) {
        const size_t n = pos < size ? std::min<size_t>(length, size - pos) : 0;
        files.emplace_back(data + std::min(pos, size), n);
        pos += n;
    }
    std::vector<std::string> words;
    std::string word;
    for (size_t i = pos; i < size; ++i) {
        if (data[i] == 0) {
            words.push_back(word);
            word.clear();
        } else {
            if (data[i] == '/') return -1;  // keeps the corpus free of such inputs
            word.push_back(static_cast<char>(data[i]));
        }
    }
    if (!word.empty()) words.push_back(word);
    // "-" is standard input or output, which the fuzzer must not block on.
    for (const auto& w : words)
        if (w == "-") return -1;

    if (command % 3 == 2) {
        for (const auto& w : words) parseWord(w);
        return 0;
    }
    // The command runs inside the temporary directory; libFuzzer's own files
    // (logs, corpus) stay where it was started.
    const int home = open(".", O_RDONLY | O_DIRECTORY);
    if (home < 0 || chdir(g_directory.c_str()) != 0) std::abort();
    for (size_t i = 0; i < files.size(); ++i) writeFile(names[i], files[i].first, files[i].second);
    try {
        if (command % 3 == 0) {
            zelvora::runConvert(words);
        } else {
            zelvora::runLsc(words);
        }
    } catch (const zelvora::Failure& e) {
        // The one-line error the tool prints: the expected end of bad input.
        if (g_verbose) std::fprintf(stderr, "zelvora: %s\n", e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zelvora let an exception through: %s\n", e.what());
        std::abort();
    }
    removeDirectory();
    if (fchdir(home) != 0) std::abort();
    close(home);
    return 0;
}
