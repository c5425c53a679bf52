// Helpers shared by the lens-shading suites.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support.hpp"
#include "zelvora.h"

namespace lsctest {

// A table entry: gain G over 2^17 in bits 31..12, offset B in bits 11..0.
constexpr uint32_t entry(uint32_t gain, uint32_t offset) { return gain << 12 | offset; }
constexpr uint32_t kOne = 131072;  // gain 1.0

// A ZelLSCTable in a word buffer; the words are pre-filled with a marker.
struct Table {
    static constexpr uint32_t kMarker = 0xA5A5A5A5u;
    std::vector<uint32_t> words;
    explicit Table(size_t entries) : words(3 + entries, kMarker) {}
    ZelLSCTable* get() { return reinterpret_cast<ZelLSCTable*>(words.data()); }
    uint32_t entry(size_t i) const { return words[3 + i]; }
    bool untouched() const { return words == std::vector<uint32_t>(words.size(), kMarker); }
};

}  // namespace lsctest
