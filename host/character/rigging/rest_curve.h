// SPDX-License-Identifier: Apache-2.0
// The rest curve of a chain as the deformer will build it, sampled as the deformer samples it, so that seeded
// parameters lie where its own search would put them. Private to the automatic rig.
#pragma once

#include "maths/vec3.h"

#include <array>
#include <vector>

namespace talvisora::host::rigging {

constexpr int kSampleCount = 300;

/// Sample i is the curve point at the single-precision parameter i / 299.
struct SampledCurve {
    std::array<Vec3d, kSampleCount> points;

    static float parameter(int sample) {
        return static_cast<float>(sample) / static_cast<float>(kSampleCount - 1);
    }

    /// The nearest sample with first <= index <= last; the lowest of several.
    int nearest(const Vec3d& point, int first = 0, int last = kSampleCount - 1) const;
};

/// joints: two or more rest positions. Simple: they are the control points; else two more lie between each
/// pair, at 0.33333 and 0.66666 of the way. Clamped uniform cubic; simple needs four or more.
SampledCurve sampleRestCurve(const std::vector<Vec3d>& joints, bool simple);

} // namespace talvisora::host::rigging
