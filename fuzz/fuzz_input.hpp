// The byte streams the fuzz targets take apart, and the seed program writes.
// Fields are read from the front in a fixed order, little-endian; a stream
// that runs out yields zeros, so every input is a valid call description.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <algorithm>
#include <vector>

namespace zelfuzz {

class Reader {
public:
    Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    template <typename T>
    T take() {
        T value{};
        const size_t n = pos_ < size_ ? std::min(sizeof(T), size_ - pos_) : 0;
        if (n > 0) std::memcpy(&value, data_ + pos_, n);
        pos_ += sizeof(T);
        return value;
    }

    template <typename T>
    void field(T& value) {
        value = take<T>();
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
    template <typename T>
    Writer& put(T value) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
        out_.insert(out_.end(), bytes, bytes + sizeof(T));
        return *this;
    }
    template <typename T>
    void field(const T& value) {
        put(value);
    }
    Writer& bytes(const std::vector<uint8_t>& more) {
        out_.insert(out_.end(), more.begin(), more.end());
        return *this;
    }
    const std::vector<uint8_t>& data() const { return out_; }

private:
    std::vector<uint8_t> out_;
};

// Exactly `n` bytes from the allocator, so the sanitizer sees a read or write
// one past them; `n` of 0 still gives a distinct pointer that must not be
// touched.
struct Buffer {
    explicit Buffer(size_t n) : bytes(new uint8_t[n]), size(n) {}
    uint8_t* data() const { return bytes.get(); }
    std::unique_ptr<uint8_t[]> bytes;
    size_t size;
};

// How the input codes keep their samples, as far as buffer sizes go.
enum class Family : uint8_t { Bytes, Words, Packed };

struct InputCode {
    uint32_t code;
    Family family;
};

// Every input code zelDemosaicing accepts.
inline constexpr InputCode kInputCodes[] = {
    {0x01080001, Family::Bytes},  {0x01100003, Family::Words},  {0x01100005, Family::Words},
    {0x01100025, Family::Words},  {0x01100007, Family::Words},  {0x010C0004, Family::Packed},
    {0x010C0006, Family::Packed}, {0x01080008, Family::Bytes},  {0x0110000C, Family::Words},
    {0x01100010, Family::Words},  {0x0110002E, Family::Words},  {0x010C0026, Family::Packed},
    {0x010C002A, Family::Packed}, {0x01080009, Family::Bytes},  {0x0110000D, Family::Words},
    {0x01100011, Family::Words},  {0x0110002F, Family::Words},  {0x010C0027, Family::Packed},
    {0x010C002B, Family::Packed}, {0x0108000A, Family::Bytes},  {0x0110000E, Family::Words},
    {0x01100012, Family::Words},  {0x01100030, Family::Words},  {0x010C0028, Family::Packed},
    {0x010C002C, Family::Packed}, {0x0108000B, Family::Bytes},  {0x0110000F, Family::Words},
    {0x01100013, Family::Words},  {0x01100031, Family::Words},  {0x010C0029, Family::Packed},
    {0x010C002D, Family::Packed},
};
inline constexpr size_t kInputCodeCount = sizeof kInputCodes / sizeof kInputCodes[0];

// Bytes of one unpadded row of `w` pixels (packed: the library's own w + w / 2).
inline int64_t rowBytes(Family family, int64_t w) {
    switch (family) {
        case Family::Bytes: return w;
        case Family::Words: return 2 * w;
        case Family::Packed: return w + w / 2;
    }
    return w;
}

// The seven output layouts and their bytes per pixel.
struct OutputCode {
    uint32_t code;
    int bytesPerPixel;
};
inline constexpr OutputCode kOutputCodes[] = {
    {0x01080001, 1}, {0x02180014, 3}, {0x02180015, 3}, {0x02200016, 4},
    {0x02200017, 4}, {0x02180021, 3}, {0x02180025, 3},
};
inline constexpr size_t kOutputCodeCount = sizeof kOutputCodes / sizeof kOutputCodes[0];

}  // namespace zelfuzz
