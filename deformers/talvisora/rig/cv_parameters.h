// SPDX-License-Identifier: Apache-2.0
// Where each control point sits on its own rest curve, found among evenly spaced samples.
#pragma once

#include "kernels/curve.h"

namespace talvisora {

/// The parameter of every control point of `rest`: that of the nearest of 300 samples, a multiple of 1/299.
/// `parameters` holds one float per control point. A control point that is not a number gets 0.
void findControlPointParameters(const Curve& rest, float* parameters);

} // namespace talvisora
