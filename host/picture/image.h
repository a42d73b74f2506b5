// SPDX-License-Identifier: Apache-2.0
// Pictures in memory and on disk: 8-bit RGB, rows from the top, written as PNG.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

/// Red, green, blue as they are shown (sRGB), 0 to 255.
using Rgb = std::array<std::uint8_t, 3>;

/// width × height pixels, three bytes each, row after row from the top left.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    Image() = default;
    Image(int w, int h, Rgb fill);

    Rgb at(int x, int y) const; ///< x and y must lie inside
    void set(int x, int y, Rgb colour);
    /// Mixes `colour` over the pixel with `coverage` in [0, 1]; outside the picture nothing happens.
    void blend(int x, int y, Rgb colour, float coverage);
    /// Copies `other` with its top left corner at (x, y); what lies outside is cut off.
    void paste(const Image& other, int x, int y);
};

/// Writes a PNG, whole or not at all. Failures are HostError (kOutput).
void writePng(const std::string& path, const Image& image);

} // namespace talvisora::host
