// SPDX-License-Identifier: Apache-2.0
// Numbers as little-endian bytes, whatever the machine: what the binary writers append to their buffers.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace talvisora::host {

inline void putUint32(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

inline void putFloat(std::vector<std::uint8_t>& bytes, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    putUint32(bytes, bits);
}

} // namespace talvisora::host
