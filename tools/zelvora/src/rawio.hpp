// Files: reading a raw frame file whole, and writing outputs so that a failure
// never leaves a partial file behind (the bytes go to a temporary file next to
// the target, which is renamed into place only when complete).
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace zelvora {

// The whole file, followed by `slack` zero bytes that readers of the last
// row may touch. Throws Failure "cannot read 'path': reason".
std::vector<uint8_t> readFile(const std::string& path, size_t slack = 0);

class OutputFile {
public:
    explicit OutputFile(std::string path);  // throws Failure "cannot write 'path': reason"
    ~OutputFile();                          // removes the temporary file unless committed
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* stream() const { return stream_; }
    void write(std::span<const uint8_t> bytes);
    void commit();  // flushes, closes and renames; throws Failure on any error
    const std::string& path() const { return path_; }

private:
    [[noreturn]] void fail(int error) const;
    std::string path_;
    std::string temporary_;
    std::FILE* stream_ = nullptr;
};

void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes);

}  // namespace zelvora
