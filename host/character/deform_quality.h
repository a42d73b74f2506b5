// SPDX-License-Identifier: Apache-2.0
// How a deformation looks in numbers: its distance to a reference deformation of the same mesh, and what it
// does to the surface (creases, hard folds, stretched edges, volume), gathered frame by frame in constant
// memory.
#pragma once

#include "host/character/character.h"

namespace talvisora::host {

/// What one deformation does to the surface, against rest.
struct SurfaceReport {
    double creaseDegrees = 0.0; ///< RMS change of the angle between neighbouring faces, over edges and frames
    std::uint64_t hardFolds = 0; ///< edges folded by more than 40 degrees against rest, summed over frames
    double edgeLow = 1.0;        ///< lowest 1st percentile of edge length against rest of any frame, to 0.1 %
    double edgeHigh = 1.0;       ///< highest 99th percentile of any frame
    double volumeLow = 1.0;      ///< smallest and largest enclosed volume against rest
    double volumeHigh = 1.0;     //
    std::uint64_t brokenPoints = 0; ///< points that were not finite, summed over frames
};

struct QualityReport {
    std::uint64_t frames = 0;
    double diagonal = 0.0;   ///< of the rest bounding box
    double rmsPercent = 0.0; ///< distance deformed to reference, in % of the diagonal, over points and frames
    double maxPercent = 0.0;
    std::uint32_t maxPoint = 0;
    std::uint64_t maxFrame = 0; ///< number of the addFrame call, from 0
    SurfaceReport deformed;
    SurfaceReport reference;
};

class DeformQuality {
public:
    /// rest: the points at rest; triangles: indices into them (all must be valid). Both are copied.
    DeformQuality(std::vector<Vec3d> rest, std::vector<Triangle> triangles);

    /// Takes in one frame; both lists have as many points as rest.
    void addFrame(const std::vector<Vec3d>& deformed, const std::vector<Vec3d>& reference);

    QualityReport report() const;

private:
    struct Edge {
        std::uint32_t a, b; ///< end points
        int left, right;    ///< the two triangles; right is -1 on a border or where more than two meet
        double length;      ///< at rest
        double angle;       ///< between the two faces' normals, at rest
    };
    struct Surface {
        double creaseSquares = 0.0;
        std::uint64_t creaseCount = 0, hardFolds = 0, broken = 0;
        double edgeLow = HUGE_VAL, edgeHigh = -HUGE_VAL;
        double volumeLow = HUGE_VAL, volumeHigh = -HUGE_VAL;
    };

    void measureSurface(const std::vector<Vec3d>& points, Surface& surface) const;
    double volume(const std::vector<Vec3d>& points) const;
    static SurfaceReport summary(const Surface& surface);

    std::vector<Vec3d> rest_;
    std::vector<Triangle> triangles_;
    std::vector<Edge> edges_;
    double diagonal_ = 0.0, restVolume_ = 0.0;
    Surface deformed_, reference_;
    double distanceSquares_ = 0.0, maxDistance_ = -1.0;
    std::uint64_t distanceCount_ = 0, frames_ = 0, maxFrame_ = 0;
    std::uint32_t maxPoint_ = 0;
};

} // namespace talvisora::host
