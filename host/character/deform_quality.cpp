// SPDX-License-Identifier: Apache-2.0
// Angles are signed and taken against rest, so a face that folds through its neighbour counts as far as it
// went. Edge ratios go into a histogram of logarithms: any number of frames in constant memory, to 0.1 %.
#include "host/character/deform_quality.h"

#include "host/box.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace talvisora::host {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kHardFold = 40.0 * kPi / 180.0;
constexpr double kBin = 0.001;  // width of a histogram bin in log edge ratio
constexpr int kHalfBins = 7000; // e^±7: a thousandfold either way; what lies past it goes into the last bin

/// The angle between two faces' normals; 0 when either face has no area.
double foldAngle(const std::vector<Vec3d>& p, const Triangle& left, const Triangle& right) {
    const auto normal = [&](const Triangle& t) {
        return normalise(cross(p[t[1]] - p[t[0]], p[t[2]] - p[t[0]]));
    };
    const Vec3d n = normal(left), m = normal(right);
    return std::atan2(length(cross(n, m)), dot(n, m));
}

double percentile(const std::vector<std::uint64_t>& histogram, std::uint64_t count, double fraction) {
    if (count == 0) return 1.0;
    const double target = fraction * static_cast<double>(count - 1);
    std::uint64_t before = 0;
    for (std::size_t bin = 0; bin < histogram.size(); ++bin) {
        before += histogram[bin];
        if (static_cast<double>(before) > target)
            return std::exp((static_cast<double>(bin) - kHalfBins) * kBin);
    }
    return 1.0;
}

} // namespace

DeformQuality::DeformQuality(std::vector<Vec3d> rest, std::vector<Triangle> triangles)
    : rest_(std::move(rest)), triangles_(std::move(triangles)) {
    diagonal_ = boxRound(rest_).diagonal();
    restVolume_ = volume(rest_);
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::vector<int>> facesOfEdge;
    for (std::size_t t = 0; t < triangles_.size(); ++t)
        for (int side = 0; side < 3; ++side) {
            const std::uint32_t a = triangles_[t][static_cast<std::size_t>(side)],
                                b = triangles_[t][static_cast<std::size_t>((side + 1) % 3)];
            facesOfEdge[std::minmax(a, b)].push_back(static_cast<int>(t));
        }
    for (const auto& [ends, faces] : facesOfEdge) {
        Edge edge{ends.first,
                  ends.second,
                  faces[0],
                  faces.size() == 2 ? faces[1] : -1,
                  length(rest_[ends.second] - rest_[ends.first]),
                  0.0};
        if (edge.right >= 0)
            edge.angle = foldAngle(rest_, triangles_[static_cast<std::size_t>(edge.left)],
                                   triangles_[static_cast<std::size_t>(edge.right)]);
        edges_.push_back(edge);
    }
}

double DeformQuality::volume(const std::vector<Vec3d>& points) const {
    double sixfold = 0.0;
    // Against the first point, not the origin: an open mesh far away would drown in rounding otherwise.
    for (const Triangle& t : triangles_)
        sixfold += dot(points[t[0]] - points[0], cross(points[t[1]] - points[0], points[t[2]] - points[0]));
    return sixfold / 6.0;
}

void DeformQuality::measureSurface(const std::vector<Vec3d>& points, Surface& surface) const {
    for (const Vec3d& p : points) surface.broken += isFinite(p) ? 0 : 1;
    std::vector<std::uint64_t> histogram(2 * kHalfBins + 1, 0);
    std::uint64_t edgeCount = 0;
    for (const Edge& edge : edges_) {
        const double ratio = edge.length > 0.0 ? length(points[edge.b] - points[edge.a]) / edge.length : 1.0;
        if (std::isfinite(ratio)) {
            const double bin =
                std::clamp(std::log(std::max(ratio, 1e-300)) / kBin, double(-kHalfBins), double(kHalfBins));
            ++histogram[static_cast<std::size_t>(std::lround(bin) + kHalfBins)];
            ++edgeCount;
        }
        if (edge.right < 0) continue;
        const double angle = foldAngle(points, triangles_[static_cast<std::size_t>(edge.left)],
                                       triangles_[static_cast<std::size_t>(edge.right)]);
        const double change = angle - edge.angle;
        if (!std::isfinite(change)) continue;
        surface.creaseSquares += change * change;
        ++surface.creaseCount;
        surface.hardFolds += std::fabs(change) > kHardFold ? 1 : 0;
    }
    surface.edgeLow = std::min(surface.edgeLow, percentile(histogram, edgeCount, 0.01));
    surface.edgeHigh = std::max(surface.edgeHigh, percentile(histogram, edgeCount, 0.99));
    const double ratio = restVolume_ != 0.0 && !points.empty() ? volume(points) / restVolume_ : 1.0;
    if (std::isfinite(ratio)) {
        surface.volumeLow = std::min(surface.volumeLow, ratio);
        surface.volumeHigh = std::max(surface.volumeHigh, ratio);
    }
}

void DeformQuality::addFrame(const std::vector<Vec3d>& deformed, const std::vector<Vec3d>& reference) {
    for (std::size_t p = 0; p < rest_.size(); ++p) {
        const double distance = length(deformed[p] - reference[p]);
        if (!std::isfinite(distance)) continue;
        distanceSquares_ += distance * distance;
        ++distanceCount_;
        if (distance > maxDistance_) {
            maxDistance_ = distance;
            maxPoint_ = static_cast<std::uint32_t>(p);
            maxFrame_ = frames_;
        }
    }
    measureSurface(deformed, deformed_);
    measureSurface(reference, reference_);
    ++frames_;
}

SurfaceReport DeformQuality::summary(const Surface& surface) {
    SurfaceReport report;
    if (surface.creaseCount)
        report.creaseDegrees =
            std::sqrt(surface.creaseSquares / static_cast<double>(surface.creaseCount)) * 180.0 / kPi;
    report.hardFolds = surface.hardFolds;
    if (surface.edgeLow <= surface.edgeHigh) {
        report.edgeLow = surface.edgeLow;
        report.edgeHigh = surface.edgeHigh;
    }
    if (surface.volumeLow <= surface.volumeHigh) {
        report.volumeLow = surface.volumeLow;
        report.volumeHigh = surface.volumeHigh;
    }
    report.brokenPoints = surface.broken;
    return report;
}

QualityReport DeformQuality::report() const {
    QualityReport report;
    report.frames = frames_;
    report.diagonal = diagonal_;
    if (distanceCount_ && diagonal_ > 0.0) {
        report.rmsPercent =
            100.0 * std::sqrt(distanceSquares_ / static_cast<double>(distanceCount_)) / diagonal_;
        report.maxPercent = 100.0 * std::max(maxDistance_, 0.0) / diagonal_;
    }
    report.maxPoint = maxPoint_;
    report.maxFrame = maxFrame_;
    report.deformed = summary(deformed_);
    report.reference = summary(reference_);
    return report;
}

} // namespace talvisora::host
