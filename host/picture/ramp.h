// SPDX-License-Identifier: Apache-2.0
// The colours of values in pictures: one ramp from dark to light whose steps look evenly large, and a neutral
// grey for what has no value.
#pragma once

#include "host/picture/image.h"

namespace talvisora::host {

/// From dark violet (0) over blue and green to light yellow (1): the map "viridis" by Stéfan van der Walt and
/// Nathaniel Smith (2015, public domain by CC0), whose lightness rises evenly, so that it reads in grey and
/// with the common kinds of colour blindness, too. Values outside are clamped; what is no number counts as 0.
Rgb rampColour(double value);

/// For points without a value. The ramp has no grey, so the two cannot be mistaken.
inline constexpr Rgb kNoValueColour{168, 168, 166};

/// The ramp lying down, 0 at the left.
Image rampBar(int width, int height);

} // namespace talvisora::host
