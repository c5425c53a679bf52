// What the fuzz targets share: the byte streams they take apart (and the seed
// program writes), buffers of exact size, the contract reporter, and the
// pixel-format tables. Fields are read from the front in a fixed order,
// little-endian; a stream that runs out yields zeros, so every input is a
// valid call description.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace zelfuzz {

// A broken contract prints the line scripts/fuzz.sh picks out of the log,
// then aborts so that libFuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "the library broke its contract: %s\n", what);
    std::abort();
}

// Whether a code is one of a table's.
template <size_t N>
bool listed(const uint32_t (&codes)[N], uint64_t code) { return std::find(codes, codes + N, code) != codes + N; }

class Reader {
public:
    Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    // One field, or one whole record of descs.hpp.
    template <typename T>
    T take() {
        T value{};
        if (pos_ < size_) std::memcpy(&value, data_ + pos_, std::min(sizeof(T), size_ - pos_));
        pos_ += sizeof(T);
        return value;
    }

    // The next `count` bytes as they stand, fewer where the stream ends.
    std::string_view bytes(size_t count) {
        const size_t start = std::min(pos_, size_);
        count = std::min(count, size_ - start);
        pos_ = start + count;
        return {reinterpret_cast<const char*>(data_ + start), count};
    }

    // Fills `out` from the stream and moves on; when the stream runs out it
    // starts over from where the first fill began (zeros if nothing is left).
    void fill(uint8_t* out, size_t count) {
        if (payload_ == kNone) payload_ = pos_;
        if (payload_ >= size_) {
            std::memset(out, 0, count);
            return;
        }
        while (count > 0) {
            if (pos_ >= size_) pos_ = payload_;
            const size_t n = std::min(count, size_ - pos_);
            std::memcpy(out, data_ + pos_, n);
            out += n, pos_ += n, count -= n;
        }
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
    static constexpr size_t kNone = ~size_t{0};
    size_t payload_ = kNone;
};

class Writer {
public:
    // One field, or one whole record of descs.hpp.
    template <typename T>
    Writer& put(const T& value) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
        out_.insert(out_.end(), bytes, bytes + sizeof(T));
        return *this;
    }
    template <typename Bytes>
    Writer& bytes(const Bytes& more) {
        out_.insert(out_.end(), more.begin(), more.end());
        return *this;
    }
    const std::vector<uint8_t>& data() const { return out_; }

private:
    std::vector<uint8_t> out_;
};

// Exactly `n` bytes from the allocator, so the sanitizer sees a read or write
// one past them; `n` of 0 still gives a distinct pointer that must not be
// touched. The bytes are left as they come, set to one value, copied, or
// filled from the input stream.
struct Buffer {
    explicit Buffer(size_t n) : bytes(new uint8_t[n]), size(n) {}
    Buffer(const uint8_t* from, size_t n) : Buffer(n) { std::memcpy(data(), from, n); }
    Buffer(size_t n, uint8_t value) : Buffer(n) { std::memset(data(), value, n); }
    Buffer(size_t n, Reader& in) : Buffer(n) { in.fill(data(), n); }
    uint8_t* data() const { return bytes.get(); }
    template <typename T>
    T* as() const { return reinterpret_cast<T*>(bytes.get()); }
    std::unique_ptr<uint8_t[]> bytes;
    size_t size;
};

// Every input code zelDemosaicing accepts. Bits 16 to 23 of a code give the
// bits each sample takes in the buffer: 8 (bytes), 16 (words) or 12 (packed,
// two samples in three bytes).
inline constexpr uint32_t kInputCodes[] = {
    0x01080001, 0x01100003, 0x01100005, 0x01100025, 0x01100007, 0x010C0004, 0x010C0006,  // mono
    0x01080008, 0x0110000C, 0x01100010, 0x0110002E, 0x010C0026, 0x010C002A,              // Bayer GR
    0x01080009, 0x0110000D, 0x01100011, 0x0110002F, 0x010C0027, 0x010C002B,              // Bayer RG
    0x0108000A, 0x0110000E, 0x01100012, 0x01100030, 0x010C0028, 0x010C002C,              // Bayer GB
    0x0108000B, 0x0110000F, 0x01100013, 0x01100031, 0x010C0029, 0x010C002D,              // Bayer BG
};
inline constexpr size_t kInputCodeCount = sizeof kInputCodes / sizeof kInputCodes[0];

inline int storedBits(uint64_t code) { return static_cast<int>((code >> 16) & 0xFF); }

// Bytes of one unpadded row of `w` pixels (packed: the library's own w + w / 2).
inline int64_t rowBytes(int bits, int64_t w) { return w * bits / 8; }

// The seven output layouts; bits 16 to 23 give the bits per pixel.
inline constexpr uint32_t kOutputCodes[] = {0x01080001, 0x02180014, 0x02180015, 0x02200016,
                                            0x02200017, 0x02180021, 0x02180025};
inline constexpr size_t kOutputCodeCount = sizeof kOutputCodes / sizeof kOutputCodes[0];

}  // namespace zelfuzz
