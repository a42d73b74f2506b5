// SPDX-License-Identifier: Apache-2.0
// CPUID for what the processor has, XGETBV for what the system saves. Both are asked directly: the answer
// must be the same on every compiler, and a processor with AVX under a system that does not save it is real.
#include "kernels/cpu_features.h"

#if defined(_MSC_VER)
#include <immintrin.h>
#include <intrin.h>
#else
#include <cpuid.h>
#endif

namespace talvisora {

namespace {

struct Registers {
    unsigned a, b, c, d;
};

bool cpuid(unsigned leaf, unsigned subleaf, Registers& r) {
#if defined(_MSC_VER)
    int out[4];
    __cpuid(out, 0);
    if (static_cast<unsigned>(out[0]) < leaf) return false;
    __cpuidex(out, static_cast<int>(leaf), static_cast<int>(subleaf));
    r = {static_cast<unsigned>(out[0]), static_cast<unsigned>(out[1]), static_cast<unsigned>(out[2]),
         static_cast<unsigned>(out[3])};
    return true;
#else
    return __get_cpuid_count(leaf, subleaf, &r.a, &r.b, &r.c, &r.d) != 0;
#endif
}

/// The mask of register states that the system saves. Only where CPUID says that the instruction exists.
unsigned long long savedStates() {
#if defined(_MSC_VER)
    return _xgetbv(0);
#else
    unsigned low = 0, high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (static_cast<unsigned long long>(high) << 32) | low;
#endif
}

bool bit(unsigned value, int index) {
    return (value >> index) & 1u;
}

} // namespace

CpuFeatures cpuFeatures() {
    CpuFeatures features;
    Registers one{};
    if (!cpuid(1, 0, one)) return features;
    features.sse2 = bit(one.d, 26);
    features.sse41 = bit(one.c, 19);
    const bool osSaves = bit(one.c, 27);
    const unsigned long long saved = osSaves ? savedStates() : 0;
    constexpr unsigned long long kYmm = 0x6, kZmm = 0xe6; // SSE and AVX; and the three AVX-512 states
    features.avx = bit(one.c, 28) && (saved & kYmm) == kYmm;
    Registers seven{};
    if (features.avx && cpuid(7, 0, seven)) {
        features.avx2 = bit(seven.b, 5);
        const bool sets = bit(seven.b, 16) && bit(seven.b, 17) && bit(seven.b, 30) && bit(seven.b, 31);
        features.avx512 = features.avx2 && sets && (saved & kZmm) == kZmm;
    }
    return features;
}

} // namespace talvisora
