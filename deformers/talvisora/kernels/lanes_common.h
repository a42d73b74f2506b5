// SPDX-License-Identifier: Apache-2.0
// What the lane headers share: forced inlining (lanes passed through real calls would spill, and across
// differently compiled sources would not even agree on registers).
#pragma once

#if defined(_MSC_VER)
#define TALVISORA_LANES static __forceinline
#else
#define TALVISORA_LANES static inline __attribute__((always_inline))
#endif

/// Position of the lowest bit that is set; there must be one.
#if defined(_MSC_VER)
extern "C" unsigned char _BitScanForward(unsigned long* position, unsigned long bits);
#pragma intrinsic(_BitScanForward)
TALVISORA_LANES int lowestBit(unsigned bits) {
    unsigned long position;
    _BitScanForward(&position, bits);
    return (int)position;
}
#else
TALVISORA_LANES int lowestBit(unsigned bits) {
    return __builtin_ctz(bits);
}
#endif
