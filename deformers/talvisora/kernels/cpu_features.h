// SPDX-License-Identifier: Apache-2.0
// What the processor can do and what the operating system saves across a context switch: only both together
// make an instruction set usable.
#pragma once

namespace talvisora {

/// Usable instruction sets of this machine.
struct CpuFeatures {
    bool sse2 = false;
    bool sse41 = false;
    bool avx = false;    ///< with the upper halves of the 256-bit registers saved by the system
    bool avx2 = false;   ///< likewise
    bool avx512 = false; ///< foundation, double/quadword, byte/word and vector length, with all state saved
};

/// Asks the processor. No state; any thread.
CpuFeatures cpuFeatures();

} // namespace talvisora
