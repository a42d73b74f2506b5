// SPDX-License-Identifier: Apache-2.0
// FNV-1a over 64 bits: short, the same on every machine, and known well enough to be computed elsewhere. It
// tells different meshes and arrays apart; it is no protection against somebody who means harm.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace talvisora::host {

class Fnv1a {
public:
    Fnv1a& bytes(std::string_view bytes) {
        for (const char c : bytes) state_ = (state_ ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
        return *this;
    }
    /// Four bytes, the lowest first.
    Fnv1a& number(std::uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8)
            state_ = (state_ ^ (number >> shift & 0xff)) * 0x100000001b3u;
        return *this;
    }
    /// The bits of a single-precision number; -0 counts as 0.
    Fnv1a& number(float number) {
        if (number == 0.0f) number = 0.0f;
        std::uint32_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        return this->number(bits);
    }
    std::uint64_t digest() const { return state_; }

private:
    std::uint64_t state_ = 0xcbf29ce484222325u;
};

/// Sixteen digits, lower case.
inline std::string hexadecimal(std::uint64_t number) {
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[number >> shift & 15];
    return text;
}

} // namespace talvisora::host
