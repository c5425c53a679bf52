#include "library.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "error.hpp"

namespace zelvora {

std::string statusName(int32_t status) {
    switch (status) {
        case ZEL_OK: return "ZEL_OK";
        case errComputeFailed: return "errComputeFailed";
        case errUnsupportedInput: return "errUnsupportedInput";
        case errBadImageSize: return "errBadImageSize";
        case errUnsupportedOutput: return "errUnsupportedOutput";
        case errInvalidParameter: return "errInvalidParameter";
        case errNoMemory: return "errNoMemory";
        default: return "status " + std::to_string(status);
    }
}

Handle::Handle() {
    if (const int32_t status = zelCreate(&handle_); status != ZEL_OK)
        throw Failure("zelCreate failed: " + statusName(status));
}

Handle::~Handle() { zelRelease(&handle_); }

Diagnostics::Diagnostics() : sink_(std::tmpfile()) {}

Diagnostics::~Diagnostics() {
    if (sink_ != nullptr) std::fclose(sink_);
}

void Diagnostics::begin() {
    text_.clear();
    std::fflush(stdout);
    if (sink_ == nullptr) return;  // no temporary file: the library prints where it always does
    saved_ = dup(STDOUT_FILENO);
    if (saved_ < 0) return;
    if (ftruncate(fileno(sink_), 0) != 0 || dup2(fileno(sink_), STDOUT_FILENO) < 0) {
        close(saved_);
        saved_ = -1;
    }
    std::rewind(sink_);
}

void Diagnostics::end() {
    std::fflush(stdout);
    if (saved_ < 0) return;
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    saved_ = -1;
    std::rewind(sink_);
    char buffer[256];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, sink_)) > 0) text_.append(buffer, n);
    while (!text_.empty() && (text_.back() == '\n' || text_.back() == '\r')) text_.pop_back();
}

void checkStatus(std::string_view operation, int32_t status, const Diagnostics& diagnostics, std::string_view hint,
                 std::string_view sizeRule) {
    if (status == ZEL_OK) return;
    std::string message = status == errBadImageSize && !sizeRule.empty() ? std::string(sizeRule) + ": " : "";
    message += std::string(operation) + " failed: " + statusName(status) + " (" + std::to_string(status) + ")";
    if (!diagnostics.text().empty()) {
        message += ", the library reports \"" + diagnostics.text() + "\"";
    } else if (!hint.empty()) {
        message += ", ";
        message += hint;
    }
    throw Failure(message);
}

}  // namespace zelvora
