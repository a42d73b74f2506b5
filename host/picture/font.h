// SPDX-License-Identifier: Apache-2.0
// The glyphs of the built-in font: printable ASCII on a grid of five by seven dots.
#pragma once

#include <array>
#include <cstdint>

namespace talvisora::host {

struct Glyph {
    std::array<std::uint8_t, 7> rows; ///< from the top; bit 4 is the leftmost dot
    std::uint8_t lowered;             ///< how many rows it stands below the line of the others
};

constexpr char kFirstGlyph = ' ', kLastGlyph = '~';

/// One entry per character from kFirstGlyph to kLastGlyph.
extern const std::array<Glyph, 95> kGlyphs;

} // namespace talvisora::host
