// SPDX-License-Identifier: Apache-2.0
#include "host/picture/mark.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

void drawMark(Image& image, double x, double y, bool seen) {
    constexpr double kRadius = 3.6, kReach = kRadius + 2.0;
    constexpr Rgb kRim{255, 255, 255};
    if (!(x > -kReach && y > -kReach && x < image.width + kReach && y < image.height + kReach)) return;
    for (int row = static_cast<int>(y - kReach); row <= y + kReach; ++row) {
        for (int column = static_cast<int>(x - kReach); column <= x + kReach; ++column) {
            const double distance = std::hypot(column + 0.5 - x, row + 0.5 - y);
            const auto disc = [&](double radius) {
                return static_cast<float>(std::max(0.0, radius - distance + 0.5));
            };
            if (seen) {
                image.blend(column, row, kRim, disc(kRadius));
                image.blend(column, row, kMarkColour, disc(kRadius - 1.1));
            } else {
                image.blend(column, row, kMarkColour,
                            static_cast<float>(1.3 - std::abs(distance - (kRadius - 0.8))));
            }
        }
    }
}

} // namespace talvisora::host
