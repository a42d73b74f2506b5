// SPDX-License-Identifier: Apache-2.0
// No refinement between samples: a parameter is a sample's own, which makes it the same number everywhere.
#include "rig/cv_parameters.h"

#include "kernels/curve_samples.h"

namespace talvisora {

void findControlPointParameters(const Curve& rest, float* parameters) {
    const std::vector<CurveSample> samples = sampleCurve(rest, kSampleCount);
    for (std::size_t k = 0; k < rest.controlPoints.size(); ++k)
        parameters[k] = nearestParameter(samples, rest.controlPoints[k]);
}

} // namespace talvisora
