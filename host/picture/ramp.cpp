// SPDX-License-Identifier: Apache-2.0
#include "host/picture/ramp.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace talvisora::host {

namespace {

// Every sixteenth of the map; in between straight lines stay within a byte or two of it.
constexpr std::array<Rgb, 17> kStops = {{{68, 1, 84},
                                         {72, 24, 106},
                                         {71, 45, 123},
                                         {66, 64, 134},
                                         {59, 82, 139},
                                         {51, 99, 141},
                                         {44, 114, 142},
                                         {38, 130, 142},
                                         {33, 145, 140},
                                         {31, 159, 136},
                                         {39, 173, 129},
                                         {61, 188, 116},
                                         {92, 200, 99},
                                         {129, 211, 77},
                                         {170, 220, 50},
                                         {213, 226, 26},
                                         {253, 231, 37}}};

} // namespace

Rgb rampColour(double value) {
    const double place = value > 0.0 ? std::min(value, 1.0) * (kStops.size() - 1) : 0.0;
    const std::size_t lower = std::min(static_cast<std::size_t>(place), kStops.size() - 2);
    const double part = place - static_cast<double>(lower);
    Rgb colour{};
    for (std::size_t c = 0; c < colour.size(); ++c)
        colour[c] = static_cast<std::uint8_t>(
            std::lround((1.0 - part) * kStops[lower][c] + part * kStops[lower + 1][c]));
    return colour;
}

Image rampBar(int width, int height) {
    Image bar(width, height, kNoValueColour);
    for (int x = 0; x < bar.width; ++x)
        for (int y = 0; y < bar.height; ++y)
            bar.set(x, y, rampColour(bar.width > 1 ? static_cast<double>(x) / (bar.width - 1) : 0.0));
    return bar;
}

} // namespace talvisora::host
