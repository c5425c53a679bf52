// Shared helpers for the test suites: printed-message capture, deterministic
// frames, output buffers with guard bytes and handles.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zelvora.h"

namespace zeltest {

// Runs f and returns what it printed to standard output.
template <typename F>
std::string printedBy(F&& f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

// Runs a call with standard output captured: its status and what it printed.
template <typename Call>
std::pair<int32_t, std::string> captured(Call call) {
    int32_t status = 0;
    std::string printed = printedBy([&] { status = call(); });
    return {status, printed};
}

// What a refusal with check number n prints; 0: nothing.
inline std::string errorLine(int n) { return n == 0 ? "" : "error line = [" + std::to_string(n) + "]"; }
// What captured() gives for a call that returns `status` after check n.
inline std::pair<int32_t, std::string> outcome(int32_t status, int n) { return {status, errorLine(n)}; }

// A deterministic pseudo-random sequence of n samples below `limit`.
template <typename T = uint8_t>
std::vector<T> randomSamples(size_t n, uint32_t seed, uint32_t limit = 256) {
    std::vector<T> v(n);
    uint32_t s = seed * 2654435761u + 1u;
    for (auto& x : v) {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        x = static_cast<T>((s >> 11) % limit);
    }
    return v;
}
inline std::vector<uint8_t> randomBytes(size_t n, uint32_t seed) { return randomSamples(n, seed); }

// Output buffers start filled with this byte, so that a byte left unwritten
// shows.
inline constexpr uint8_t kCanary = 0xA5;

// got equals want; a failure names the first difference, as "sample i" or,
// given the width and samples per pixel, "pixel (row, col) sample k", rather
// than printing thousands of values.
template <typename T>
testing::AssertionResult sameSamples(const std::vector<T>& got, const std::vector<T>& want, int width = 0,
                                     int samplesPerPixel = 1) {
    if (got.size() != want.size()) return testing::AssertionFailure() << got.size() << " samples, not " << want.size();
    for (size_t i = 0; i < got.size(); ++i) {
        if (got[i] == want[i]) continue;
        const size_t pixel = i / samplesPerPixel;
        auto failure = testing::AssertionFailure();
        if (width > 0)
            failure << "pixel (" << pixel / width << ", " << pixel % width << ") sample " << i % samplesPerPixel;
        else
            failure << "sample " << i;
        return failure << ": got " << int(got[i]) << ", want " << int(want[i]);
    }
    return testing::AssertionSuccess();
}

// An output buffer of n bytes filled with kCanary, followed by guard bytes
// that nothing may write.
class Guarded {
public:
    explicit Guarded(size_t n, size_t guard = 16) : bytes_(n + guard, kCanary), n_(n) {}
    uint8_t* data() { return bytes_.data(); }
    // The first n bytes equal `want` (of n bytes) and the guard bytes, those
    // from n on, are intact.
    testing::AssertionResult holds(std::vector<uint8_t> want) const {
        if (want.size() != n_) return testing::AssertionFailure() << "expected " << want.size() << " bytes, not " << n_;
        want.resize(bytes_.size(), kCanary);
        return sameSamples(bytes_, want);
    }

private:
    std::vector<uint8_t> bytes_;
    size_t n_;
};

// A handle configured for one output layout, released at the end of scope.
struct Handle {
    ZelHandle* h = nullptr;
    explicit Handle(uint32_t layout) {
        zelCreate(&h);
        const ZelPixelType code = layout;
        zelDemosaicSetConfig(h, &code);
    }
    ~Handle() { zelRelease(&h); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
};

}  // namespace zeltest
