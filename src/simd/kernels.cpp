// One table of row spans per instruction set, and the choice among them.
//
// Highway compiles this file once per target (foreach_target.h); each pass
// defines the spans in its own namespace and a table naming them. The choice
// is made once per process: on x86 the best target the processor and the
// operating system support, on other architectures the static target.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "simd/kernels.cpp"
#include "hwy/foreach_target.h"  // IWYU pragma: keep
#include "hwy/highway.h"

#include "demosaic/bilinear-inl.h"
#include "demosaic/edge-inl.h"
#include "demosaic/nearest-inl.h"
#include "frame/frame-inl.h"
#include "input/reduce-inl.h"
#include "simd/dispatch.hpp"

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
};
#endif

}  // namespace zel::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zel::simd {
namespace {

const Kernels kScalar{"scalar", {}, {}, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

struct Candidate {
    const Kernels* kernels;
    bool (*supported)();
};

[[maybe_unused]] bool always() { return true; }
#if HWY_ARCH_X86
// __builtin_cpu_supports also checks that the operating system saves the
// wider registers.
[[maybe_unused]] bool hasSse4() {
    return __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("aes");
}
[[maybe_unused]] bool hasAvx2() {
    return hasSse4() && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("f16c");
}
[[maybe_unused]] bool hasAvx3() {
    return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
}
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

}  // namespace

const Kernels& kernels() {
    const Kernels* k = gInUse.load(std::memory_order_acquire);
    if (k != nullptr) return *k;
    // Racing first calls all store the same table.
    k = supported().list[0];
    gInUse.store(k, std::memory_order_release);
    return *k;
}

std::span<const Kernels* const> supportedKernels() {
    const Supported& s = supported();
    return {s.list, s.count};
}

void useKernels(const Kernels& k) { gInUse.store(&k, std::memory_order_release); }

}  // namespace zel::simd
#endif  // HWY_ONCE
