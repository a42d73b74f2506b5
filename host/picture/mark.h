// SPDX-License-Identifier: Apache-2.0
// Marks of single points in a finished picture: on a fine mesh a single point's colour could not be found.
#pragma once

#include "host/picture/image.h"

namespace talvisora::host {

/// The red of marks, far from every colour of the ramp.
inline constexpr Rgb kMarkColour{226, 26, 60};

/// A red dot with a white rim when the point is `seen`, a red ring when something hides it, round (x, y) in
/// pixels. Parts outside the picture are cut off.
void drawMark(Image& image, double x, double y, bool seen);

} // namespace talvisora::host
