// One table of row spans per instruction set, and the choice among them.
//
// Highway compiles this file once per target (foreach_target.h); each pass
// defines the spans in its own namespace and a table naming them. The choice
// is made once per process: on x86 the best target the processor and the
// operating system support, on other architectures the static target.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/kernels.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "demosaic/bilinear-inl.h"
#include "demosaic/edge-inl.h"
#include "demosaic/nearest-inl.h"
#include "frame/frame-inl.h"
#include "input/reduce-inl.h"
#include "lsc/correct-inl.h"
#include "simd/dispatch.hpp"
#include "zelvora.h"

HWY_BEFORE_NAMESPACE();
namespace zel::HWY_NAMESPACE {

// The scalar target of Highway has one lane: the scalar engines themselves
// serve better, so its table is left empty.
#if HWY_TARGET == HWY_SCALAR
extern const simd::Kernels kKernels;
const simd::Kernels kKernels{};
#else
extern const simd::Kernels kKernels;
const simd::Kernels kKernels{
    hwy::TargetName(HWY_TARGET),
    {BilinearSpan<bilinear::Kind::Even, uint8_t>, BilinearSpan<bilinear::Kind::Odd, uint8_t>},
    {BilinearSpan<bilinear::Kind::Even, uint16_t>, BilinearSpan<bilinear::Kind::Odd, uint16_t>},
    EdgeSpan<uint8_t>,
    EdgeSpan<uint16_t>,
    NearestSpan<true>,
    NearestSpan<false>,
    ShiftRun,
    UnpackRun,
    GreyRun,
    WidenRun,
    {lsc::PixelRun<uint8_t>, lsc::PixelRun<uint16_t>},
    {lsc::BlockRun<uint8_t>, lsc::BlockRun<uint16_t>},
};
#endif

}  // namespace zel::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zel::simd {
namespace {

const Kernels kScalar{"scalar", {}, {}, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, {}, {}};

struct Candidate {
    const Kernels* kernels;
    bool (*supported)();
};

[[maybe_unused]] bool always() { return true; }
#if HWY_ARCH_X86
// What Highway's x86 targets need, read with CPUID, and whether the
// operating system saves the registers they use (XGETBV).
struct X86Features {
    bool sse4 = false, avx2 = false, avx3 = false;
};

X86Features readX86Features() {
    X86Features f;
    unsigned a, b, c, d;
    if (__get_cpuid(0, &a, &b, &c, &d) == 0 || a < 7) return f;
    __get_cpuid(1, &a, &b, &c, &d);
    const auto bit = [](unsigned word, int n) { return (word >> n & 1u) != 0; };
    f.sse4 = bit(c, 19) && bit(c, 20) && bit(c, 1) && bit(c, 25);  // SSE4.1, SSE4.2, PCLMUL, AES
    const bool osxsave = bit(c, 27), avx = bit(c, 28), fma = bit(c, 12), f16c = bit(c, 29);
    uint64_t xcr0 = 0;
    if (osxsave) {
        unsigned lo, hi;
        __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
        xcr0 = (uint64_t{hi} << 32) | lo;
    }
    __get_cpuid_count(7, 0, &a, &b, &c, &d);
    const bool ymm = (xcr0 & 0x6) == 0x6, zmm = (xcr0 & 0xE6) == 0xE6;
    f.avx2 = f.sse4 && avx && fma && f16c && ymm && bit(b, 5) && bit(b, 3) && bit(b, 8);  // AVX2, BMI1, BMI2
    f.avx3 = f.avx2 && zmm && bit(b, 16) && bit(b, 17) && bit(b, 30) && bit(b, 31);    // F, DQ, BW, VL
    return f;
}

const X86Features& x86() {
    static const X86Features f = readX86Features();
    return f;
}
[[maybe_unused]] bool hasSse4() { return x86().sse4; }
[[maybe_unused]] bool hasAvx2() { return x86().avx2; }
[[maybe_unused]] bool hasAvx3() { return x86().avx3; }
#endif

// Best first.
const Candidate kCandidates[] = {
#if HWY_ARCH_X86
#if HWY_TARGETS & HWY_AVX3
    {&N_AVX3::kKernels, hasAvx3},
#endif
#if HWY_TARGETS & HWY_AVX2
    {&N_AVX2::kKernels, hasAvx2},
#endif
#if HWY_TARGETS & HWY_SSE4
    {&N_SSE4::kKernels, hasSse4},
#endif
#else
    // Elsewhere only the static target is compiled, and it is the baseline.
    {&HWY_STATIC_DISPATCH(kKernels), always},
#endif
    {&kScalar, always},
};

struct Supported {
    const Kernels* list[std::size(kCandidates)];
    size_t count = 0;
};

const Supported& supported() {
    static const Supported s = [] {
        Supported r;
        for (const Candidate& c : kCandidates)
            if (c.supported() && (c.kernels->target != nullptr)) r.list[r.count++] = c.kernels;
        return r;
    }();
    return s;
}

std::atomic<const Kernels*> gInUse{nullptr};

// The best supported table, or the one ZELVORA_INSTRUCTION_SET names when
// it is supported.
const Kernels* preferred() {
    const Supported& s = supported();
    if (const char* name = std::getenv("ZELVORA_INSTRUCTION_SET"))
        for (size_t i = 0; i < s.count; ++i)
            if (std::strcmp(s.list[i]->target, name) == 0) return s.list[i];
    return s.list[0];
}

}  // namespace

const Kernels& kernels() {
    const Kernels* k = gInUse.load(std::memory_order_acquire);
    if (k != nullptr) return *k;
    // Racing first calls all store the same table.
    k = preferred();
    gInUse.store(k, std::memory_order_release);
    return *k;
}

std::span<const Kernels* const> supportedKernels() {
    const Supported& s = supported();
    return {s.list, s.count};
}

void useKernels(const Kernels& k) { gInUse.store(&k, std::memory_order_release); }

}  // namespace zel::simd

extern "C" ZEL_API const char* zelInstructionSet(void) { return zel::simd::kernels().target; }
#endif  // HWY_ONCE
