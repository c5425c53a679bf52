#include "capture.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "library.hpp"
#include "zelvora.h"

namespace zelvora::py {
namespace {

thread_local std::string* tSink = nullptr;

void appendFormatted(std::string& sink, const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    char small[128];
    const int n = std::vsnprintf(small, sizeof small, format, args);
    if (n > 0 && static_cast<size_t>(n) < sizeof small) {
        sink.append(small, static_cast<size_t>(n));
    } else if (n > 0) {
        std::string large(static_cast<size_t>(n) + 1, '\0');
        std::vsnprintf(large.data(), large.size(), format, again);
        sink.append(large.data(), static_cast<size_t>(n));
    }
    va_end(again);
}

int printOrKeep(const char* format, va_list args) {
    if (tSink == nullptr) return std::vprintf(format, args);
    const size_t before = tSink->size();
    appendFormatted(*tSink, format, args);
    return static_cast<int>(tSink->size() - before);
}

}  // namespace

Capture::Capture() : previous_(tSink) { tSink = &text_; }
Capture::~Capture() { tSink = previous_; }

std::string LibraryError::message() const {
    std::string text = operation + " failed: " + statusName(status) + " (" + std::to_string(status) + ")";
    if (line) text += ", error line = [" + std::to_string(*line) + "]";
    return text;
}

void Outcome::check() const {
    if (status == ZEL_OK) return;
    std::optional<int32_t> line;
    static constexpr char kPrefix[] = "error line = [";
    if (const size_t at = printed.rfind(kPrefix); at != std::string::npos) {
        int value = 0;
        if (std::sscanf(printed.c_str() + at + sizeof kPrefix - 1, "%d]", &value) == 1) line = value;
    }
    throw LibraryError{operation, status, printed, line};
}

}  // namespace zelvora::py

// The library's objects are linked into the module with printf, __printf_chk
// and puts wrapped (see python/CMakeLists.txt): while a Capture is alive on
// this thread the text goes into it, otherwise where it always goes.
using zelvora::py::tSink;

extern "C" {

int __real_puts(const char* text);

__attribute__((used)) int __wrap_printf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = zelvora::py::printOrKeep(format, args);
    va_end(args);
    return n;
}

__attribute__((used)) int __wrap___printf_chk(int /*flag*/, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = zelvora::py::printOrKeep(format, args);
    va_end(args);
    return n;
}

__attribute__((used)) int __wrap_puts(const char* text) {
    if (tSink == nullptr) return __real_puts(text);
    tSink->append(text);
    tSink->push_back('\n');
    return 1;
}

}  // extern "C"
