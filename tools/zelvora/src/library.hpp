// The tool's side of the library: an owned handle, status names, and calls
// whose diagnostic ("error line = [N]", printed by the library on standard
// output) is caught so that a failure ends as one readable line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "zelvora.h"

namespace zelvora {

// "errBadImageSize" for -104 and so on; "status N" for anything unknown.
std::string statusName(int32_t status);

class Handle {
public:
    Handle();  // throws Failure when the library cannot create one
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ZelHandle* get() const { return handle_; }

private:
    ZelHandle* handle_ = nullptr;
};

// Runs library calls with standard output redirected to a temporary file, so
// that what the library prints can be put into the tool's own error line.
class Diagnostics {
public:
    Diagnostics();
    ~Diagnostics();
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    template <typename Call>
    int32_t run(Call&& call) {
        begin();
        const int32_t status = static_cast<int32_t>(std::forward<Call>(call)());
        end();
        return status;
    }
    // What the library printed during the last run (empty when nothing).
    const std::string& text() const { return text_; }

private:
    void begin();
    void end();
    std::FILE* sink_ = nullptr;
    int saved_ = -1;
    std::string text_;
};

// Throws Failure "<operation> failed: errBadImageSize (-104), the library
// reports "error line = [96]"" unless status is 0. `hint` is added when the
// library printed nothing; `sizeRule` ("edge-directed needs at least 6x6; the
// frame is 5x5") goes in front for errBadImageSize.
void checkStatus(std::string_view operation, int32_t status, const Diagnostics& diagnostics,
                 std::string_view hint = {}, std::string_view sizeRule = {});

}  // namespace zelvora
