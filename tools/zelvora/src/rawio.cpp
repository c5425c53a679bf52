#include "rawio.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "error.hpp"

namespace zelvora {
namespace {

std::string reason(int error) { return std::strerror(error); }

}  // namespace

std::vector<uint8_t> readFile(const std::string& path, size_t slack) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw Failure("cannot read '" + path + "': " + reason(errno));
    struct stat info {};
    const bool statFailed = fstat(fileno(file), &info) != 0;
    if (statFailed || !S_ISREG(info.st_mode)) {
        const int error = statFailed ? errno : S_ISDIR(info.st_mode) ? EISDIR : 0;
        std::fclose(file);
        throw Failure("cannot read '" + path + "': " + (error != 0 ? reason(error) : "not a regular file"));
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(info.st_size) + slack, 0);
    const size_t got = std::fread(bytes.data(), 1, static_cast<size_t>(info.st_size), file);
    const bool failed = got != static_cast<size_t>(info.st_size) || std::ferror(file);
    std::fclose(file);
    if (failed) throw Failure("cannot read '" + path + "': read error");
    return bytes;
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)), temporary_(path_ + ".XXXXXX") {
    const int fd = mkstemp(temporary_.data());
    if (fd < 0) fail(errno);
    // mkstemp makes the file private; the output gets the usual permissions.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    stream_ = fdopen(fd, "wb");
    if (stream_ == nullptr) {
        const int error = errno;
        close(fd);
        unlink(temporary_.c_str());
        fail(error);
    }
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr) {
        std::fclose(stream_);
        unlink(temporary_.c_str());
    }
}

void OutputFile::fail(int error) const { throw Failure("cannot write '" + path_ + "': " + reason(error)); }

void OutputFile::write(std::span<const uint8_t> bytes) {
    if (bytes.empty()) return;
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size()) fail(errno);
}

void OutputFile::commit() {
    const bool flushed = std::fflush(stream_) == 0 && !std::ferror(stream_);
    const int error = errno;
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed || !closed || std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        const int renameError = errno;
        unlink(temporary_.c_str());
        fail(flushed ? renameError : error);
    }
}

void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes) {
    OutputFile out(path);
    out.write(bytes);
    out.commit();
}

}  // namespace zelvora
