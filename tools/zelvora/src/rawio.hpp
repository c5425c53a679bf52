// Files: reading whole small files and raw frame files one frame at a time,
// and writing outputs so that a failure never leaves a partial file behind
// (the bytes go to a temporary file next to the target, which is renamed into
// place only when complete, and removed on failure or on a fatal signal).
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvora {

// The whole file, followed by `slack` zero bytes. Throws Failure "cannot read
// 'path': reason".
std::vector<uint8_t> readFile(const std::string& path, size_t slack = 0);

// An input file opened for reading in order; "-" is standard input.
class InputStream {
public:
    explicit InputStream(const std::string& path);  // throws Failure "cannot read 'path': reason"
    ~InputStream();
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    const std::string& name() const { return name_; }  // "'in.raw'" or "standard input"
    std::optional<int64_t> length() const { return length_; }  // regular files only
    // Reads up to `count` bytes; fewer only at the end. Throws Failure on errors.
    size_t read(uint8_t* data, size_t count);
    void skip(int64_t count);  // throws Failure when the input ends first

private:
    std::string name_;
    std::FILE* stream_ = nullptr;
    bool owned_ = false;
    std::optional<int64_t> length_;
};

class OutputFile {
public:
    // "-" writes to standard output directly. Throws Failure "cannot write
    // 'path': reason".
    explicit OutputFile(std::string path);
    ~OutputFile();  // removes the temporary file unless committed
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* stream() const { return stream_; }
    void write(std::span<const uint8_t> bytes);
    void commit();  // flushes, closes and renames; throws Failure on any error
    const std::string& path() const { return path_; }

private:
    [[noreturn]] void fail(int error) const;
    void forget();  // takes the temporary file off the list the signal handler removes
    std::string path_;
    std::string temporary_;
    std::FILE* stream_ = nullptr;
    int slot_ = -1;
};

void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes);

// On SIGTERM, SIGINT and SIGHUP (unless ignored when the program started):
// remove every temporary file of an output not yet committed, then die of the
// same signal, which a shell reports as status 128 + its number.
void removeTemporariesOnSignals();

}  // namespace zelvora
