// SPDX-License-Identifier: Apache-2.0
// What the lane headers share: forced inlining (lanes passed through real calls would spill, and across
// differently compiled sources would not even agree on registers).
#pragma once

#if defined(_MSC_VER)
#define TALVISORA_LANES static __forceinline
#else
#define TALVISORA_LANES static inline __attribute__((always_inline))
#endif
