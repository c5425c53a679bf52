// Library calls from the module: what the library prints while a call runs is
// kept for that thread instead of reaching standard output, and a failing
// status becomes a zelvora.Error carrying the status and the printed number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace zelvora::py {

// A failing library status with what the library printed. Raised as
// zelvora.Error once it reaches the interpreter.
struct LibraryError {
    std::string operation;  // the library function that failed
    int32_t status;
    std::string printed;             // everything the call printed
    std::optional<int32_t> line;     // N of the last "error line = [N]"

    std::string message() const;
};

// The outcome of one call: its status and what it printed on this thread.
struct Outcome {
    const char* operation = "";
    int32_t status = 0;
    std::string printed;

    // Throws LibraryError unless the status is 0.
    void check() const;
};

// Collects the library's prints on the calling thread while alive. Works
// with or without the interpreter lock; threads never see each other's text.
class Capture {
public:
    Capture();
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;
    std::string take() { return std::move(text_); }

private:
    std::string text_;
    std::string* previous_;
};

template <typename Call>
Outcome capture(const char* operation, Call&& call) {
    Capture capture;
    const auto status = static_cast<int32_t>(std::forward<Call>(call)());
    return {operation, status, capture.take()};
}

}  // namespace zelvora::py
