#include "rawio.hpp"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "error.hpp"

namespace zelvora {
namespace {

std::string reason(int error) { return std::strerror(error); }

// Temporary files of outputs in progress, for the signal handler: plain
// pointers it may read at any moment.
constexpr int kSlots = 64;
std::atomic<const char*> gTemporaries[kSlots];
constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

extern "C" void onFatalSignal(int number) {
    for (auto& slot : gTemporaries) {
        if (const char* path = slot.load()) unlink(path);
    }
    signal(number, SIG_DFL);
    raise(number);  // delivered as soon as this handler returns
}

// Blocks the fatal signals while a temporary file is made and listed, so that
// none exists unlisted.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t set;
        sigemptyset(&set);
        for (int number : kSignals) sigaddset(&set, number);
        pthread_sigmask(SIG_BLOCK, &set, &saved_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &saved_, nullptr); }

private:
    sigset_t saved_;
};

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

InputStream::InputStream(const std::string& path) {
    if (path == "-") {
        name_ = "standard input";
        stream_ = stdin;
    } else {
        name_ = "'" + path + "'";
        stream_ = std::fopen(path.c_str(), "rb");
        if (stream_ == nullptr) throw Failure("cannot read " + name_ + ": " + reason(errno));
        owned_ = true;
    }
    struct stat info {};
    if (fstat(fileno(stream_), &info) != 0 || S_ISDIR(info.st_mode)) {
        const int error = S_ISDIR(info.st_mode) ? EISDIR : errno;
        if (owned_) std::fclose(stream_);
        throw Failure("cannot read " + name_ + ": " + reason(error));
    }
    if (S_ISREG(info.st_mode)) length_ = static_cast<int64_t>(info.st_size);
}

InputStream::~InputStream() {
    if (owned_) std::fclose(stream_);
}

size_t InputStream::read(uint8_t* data, size_t count) {
    const size_t got = std::fread(data, 1, count, stream_);
    if (got < count && std::ferror(stream_)) throw Failure("cannot read " + name_ + ": read error");
    return got;
}

void InputStream::skip(int64_t count) {
    if (length_ && fseeko(stream_, static_cast<off_t>(count), SEEK_CUR) == 0) return;
    uint8_t buffer[65536];
    while (count > 0) {
        const size_t want = static_cast<size_t>(std::min<int64_t>(count, sizeof buffer));
        if (read(buffer, want) != want) throw Failure(name_ + " ended early");
        count -= static_cast<int64_t>(want);
    }
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (path_ == "-") {
        stream_ = stdout;
        return;
    }
    temporary_ = path_ + ".XXXXXX";
    const SignalsHeld held;
    const int fd = mkstemp(temporary_.data());
    if (fd < 0) fail(errno);
    for (int i = 0; i < kSlots && slot_ < 0; ++i) {
        const char* expected = nullptr;
        if (gTemporaries[i].compare_exchange_strong(expected, temporary_.c_str())) slot_ = i;
    }
    // mkstemp makes the file private; the output gets the usual permissions.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    stream_ = fdopen(fd, "wb");
    if (stream_ == nullptr) {
        const int error = errno;
        close(fd);
        unlink(temporary_.c_str());
        forget();
        fail(error);
    }
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr && stream_ != stdout) {
        std::fclose(stream_);
        unlink(temporary_.c_str());
    }
    forget();
}

void OutputFile::forget() {
    if (slot_ >= 0) gTemporaries[slot_].store(nullptr);
    slot_ = -1;
}

void OutputFile::fail(int error) const { throw Failure("cannot write '" + path_ + "': " + reason(error)); }

void OutputFile::write(std::span<const uint8_t> bytes) {
    if (bytes.empty()) return;
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size()) fail(errno);
}

void OutputFile::commit() {
    if (stream_ == stdout) {
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) fail(errno);
        stream_ = nullptr;
        return;
    }
    const bool flushed = std::fflush(stream_) == 0 && !std::ferror(stream_);
    const int error = errno;
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed || !closed || std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        const int renameError = errno;
        unlink(temporary_.c_str());
        forget();
        fail(flushed ? renameError : error);
    }
    forget();
}

void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes) {
    OutputFile out(path);
    out.write(bytes);
    out.commit();
}

void removeTemporariesOnSignals() {
    for (int number : kSignals) {
        struct sigaction action {};
        // A signal ignored from the start (nohup) stays ignored.
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = onFatalSignal;
        sigemptyset(&action.sa_mask);
        for (int other : kSignals) sigaddset(&action.sa_mask, other);
        sigaction(number, &action, nullptr);
    }
}

}  // namespace zelvora
