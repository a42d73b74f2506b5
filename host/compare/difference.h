// SPDX-License-Identifier: Apache-2.0
// How far two deformations of the same points lie apart, gathered frame by frame: the largest distance and
// where it is, the root of the mean square, and the distance that all but a thousandth of the points keep.
// Memory is a thousandth of what passes through.
#pragma once

#include "maths/vec3.h"

#include <cstdint>
#include <functional>
#include <queue>
#include <vector>

namespace talvisora::host {

/// Distances are Euclidean, in the unit of the points. Points that are not finite on both sides are left out
/// of everything but `brokenInBoth`; those on one side only count as infinitely far apart in `largest` and
/// `quantile` and are left out of `rms`.
struct Difference {
    std::uint64_t frames = 0;
    std::uint64_t points = 0; ///< compared, summed over frames
    std::uint64_t unlike = 0; ///< of them, those that are not the same number for number
    std::uint64_t broken = 0; ///< finite on one side only
    std::uint64_t brokenInBoth = 0;
    double largest = 0.0;
    double rms = 0.0;
    double quantile = 0.0;          ///< the smallest distance that 99.9 % of the points do not pass
    double diagonal = 0.0;          ///< of the largest box round one frame of the first side
    double largestCoordinate = 0.0; ///< of the first side, without sign
    std::uint32_t worstPoint = 0;   ///< where `largest` is; without meaning when there are no points
    int worstFrame = 0;
    Vec3d worstFirst{}, worstSecond{};

    /// As a part of the box's diagonal; 0 for 0 even when the box has no extent, else infinite there.
    double share(double distance) const;
};

class DifferenceMeter {
public:
    /// total  how many points will be added over all frames. With fewer the quantile is exact all the same,
    ///        with more it comes out too large
    explicit DifferenceMeter(std::uint64_t total);

    /// Takes one frame in. Both lists have the same length. `left` (as long, or empty) marks points that are
    /// left out.
    void addFrame(int frame, const std::vector<Vec3d>& first, const std::vector<Vec3d>& second,
                  const std::vector<bool>& left = {});

    Difference result() const;
    double largest() const { return sum_.largest; } ///< so far

private:
    void keep(double distance);

    Difference sum_;
    double squares_ = 0.0;
    std::uint64_t finite_ = 0;
    std::size_t kept_;
    // The largest distances so far, the smallest of them on top.
    std::priority_queue<double, std::vector<double>, std::greater<double>> high_;
};

} // namespace talvisora::host
