// SPDX-License-Identifier: Apache-2.0
// Boxes round the samples, and the parallel loop over tiles of points. A tile whose points jump about is put
// in order along the curve first, because lanes that look at different ends of it can skip nothing.
#include "kernels/nearest_samples.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernels/dispatch.h"

namespace talvisora {

namespace {

/// A bit of every mask stays clear, so that a run of set bits always ends.
constexpr std::size_t kMostBoxes = kNearestBoxes - 2;
/// Points of a tile that are looked at to learn whether neighbours lie together.
constexpr std::int32_t kProbes = 32;
static_assert(kTilePoints % kNearestPad == 0, "tiles fill whole steps");

bool isFiniteSample(const CurveSample& s) {
    return std::isfinite(s.x) && std::isfinite(s.y) && std::isfinite(s.z);
}

/// Working memory of one tile.
struct TileRows {
    double x[kTilePoints], y[kTilePoints], z[kTilePoints];
};

/// Repeats the last point up to the next whole step.
void pad(TileRows& rows, std::int32_t count) {
    for (std::int32_t i = count; i % kNearestPad != 0; ++i) {
        rows.x[i] = rows.x[count - 1];
        rows.y[i] = rows.y[count - 1];
        rows.z[i] = rows.z[count - 1];
    }
}

void carryPoints(const Vec3d* points, std::int32_t count, const Matrix44d& toCurve, TileRows& rows) {
    const double* m = toCurve.m;
    const bool affine = isAffine(toCurve);
    for (std::int32_t i = 0; i < count; ++i) {
        const Vec3d& p = points[i];
        rows.x[i] = p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12];
        rows.y[i] = p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13];
        rows.z[i] = p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14];
    }
    if (!affine)
        for (std::int32_t i = 0; i < count; ++i) {
            const Vec3d& p = points[i];
            const double w = p.x * m[3] + p.y * m[7] + p.z * m[11] + m[15];
            rows.x[i] /= w;
            rows.y[i] /= w;
            rows.z[i] /= w;
        }
    pad(rows, count);
}

/// Whether points that follow each other tend to lie farther apart than a few boxes are long.
bool isShuffled(const NearestTable& table, const TileRows& rows, std::int32_t count) {
    const std::int32_t stride = std::max<std::int32_t>(count / kProbes, 2);
    double boxes = 0.0;
    for (std::int32_t b = 0; b < kNearestBoxes && (table.boxBits >> b & 1u); ++b)
        boxes += std::max({table.highX[b] - table.lowX[b], table.highY[b] - table.lowY[b],
                           table.highZ[b] - table.lowZ[b], 0.0});
    std::int32_t farPairs = 0, pairs = 0;
    for (std::int32_t i = 0; i + 1 < count; i += stride, ++pairs) {
        const double step =
            std::max({std::fabs(rows.x[i + 1] - rows.x[i]), std::fabs(rows.y[i + 1] - rows.y[i]),
                      std::fabs(rows.z[i + 1] - rows.z[i])});
        farPairs += 8.0 * step > boxes;
    }
    return farPairs * 3 > pairs;
}

/// Points in order of the box that they are near to, in `sorted`; order[k] is the point at place k.
void sortAlongCurve(const SampleBoxes& samples, const TileRows& rows, std::int32_t count,
                    const VariantTable& variant, TileRows& sorted, std::int32_t* order) {
    std::int32_t box[kTilePoints];
    NearestJob job{&samples.coarse(),
                   rows.x,
                   rows.y,
                   rows.z,
                   count,
                   std::numeric_limits<double>::infinity(),
                   box,
                   nullptr};
    variant.nearestTile(job);
    std::int32_t place[kNearestBoxes + 2] = {};
    for (std::int32_t i = 0; i < count; ++i) ++place[box[i] + 2];
    for (int b = 1; b < kNearestBoxes + 2; ++b) place[b] += place[b - 1];
    for (std::int32_t i = 0; i < count; ++i) {
        const std::int32_t at = place[box[i] + 1]++;
        order[at] = i;
        sorted.x[at] = rows.x[i];
        sorted.y[at] = rows.y[i];
        sorted.z[at] = rows.z[i];
    }
    pad(sorted, count);
}

void searchTile(const SampleBoxes& samples, const Vec3d* points, std::int32_t count, const Matrix44d& toCurve,
                double bound, std::int32_t* indices, double* squaredDistances, const VariantTable& variant) {
    TileRows rows;
    carryPoints(points, count, toCurve, rows);
    NearestJob job{&samples.table(), rows.x, rows.y, rows.z, count, bound, indices, squaredDistances};
    if (!isShuffled(samples.table(), rows, count)) {
        variant.nearestTile(job);
        return;
    }
    TileRows sorted;
    std::int32_t order[kTilePoints], found[kTilePoints];
    double distances[kTilePoints];
    sortAlongCurve(samples, rows, count, variant, sorted, order);
    job.x = sorted.x;
    job.y = sorted.y;
    job.z = sorted.z;
    job.indices = found;
    if (squaredDistances) job.squaredDistances = distances;
    variant.nearestTile(job);
    for (std::int32_t k = 0; k < count; ++k) {
        indices[order[k]] = found[k];
        if (squaredDistances) squaredDistances[order[k]] = distances[k];
    }
}

} // namespace

SampleBoxes::SampleBoxes(const std::vector<CurveSample>& samples) {
    const std::size_t count = samples.size();
    const std::size_t boxSize = std::max<std::size_t>((count + kMostBoxes - 1) / kMostBoxes, 1);
    const std::size_t boxes = (count + boxSize - 1) / boxSize;
    rows_.assign(3 * count + 9 * kNearestBoxes, std::numeric_limits<double>::infinity());
    double* x = rows_.data();
    double *y = x + count, *z = y + count;
    double* low = z + count;
    double* high = low + 3 * kNearestBoxes;
    double* middle = high + 3 * kNearestBoxes;
    std::fill(high, middle, -std::numeric_limits<double>::infinity());
    for (std::size_t s = 0; s < count; ++s) {
        x[s] = samples[s].x;
        y[s] = samples[s].y;
        z[s] = samples[s].z;
        if (!isFiniteSample(samples[s])) continue; // nothing is near to it
        const std::size_t b = s / boxSize;
        for (int axis = 0; axis < 3; ++axis) {
            const double value = axis == 0 ? x[s] : axis == 1 ? y[s] : z[s];
            double& lowest = low[axis * kNearestBoxes + b];
            double& highest = high[axis * kNearestBoxes + b];
            lowest = std::min(lowest, value);
            highest = std::max(highest, value);
            // The last finite sample up to the middle, or the first one behind it.
            double& centre = middle[axis * kNearestBoxes + b];
            if (s % boxSize <= boxSize / 2 || !std::isfinite(centre)) centre = value;
        }
    }
    table_ = {x,
              y,
              z,
              static_cast<std::int32_t>(count),
              static_cast<std::int32_t>(boxSize),
              (1u << boxes) - 1u,
              low,
              low + kNearestBoxes,
              low + 2 * kNearestBoxes,
              high,
              high + kNearestBoxes,
              high + 2 * kNearestBoxes};
    coarse_ = table_;
    coarse_.x = middle;
    coarse_.y = middle + kNearestBoxes;
    coarse_.z = middle + 2 * kNearestBoxes;
    coarse_.sampleCount = static_cast<std::int32_t>(boxes);
    coarse_.boxSize = 1;
    coarse_.boxBits = 0; // few enough to search them all
}

void nearestSamples(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                    const Matrix44d& toCurve, double bound, std::int32_t* indices, double* squaredDistances,
                    const VariantTable& variant) {
    const std::size_t tiles = (count + kTilePoints - 1) / kTilePoints;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, tiles, 1),
        [&](const tbb::blocked_range<std::size_t>& range) {
            for (std::size_t t = range.begin(); t != range.end(); ++t) {
                const std::size_t first = t * kTilePoints;
                const auto size =
                    static_cast<std::int32_t>(std::min<std::size_t>(kTilePoints, count - first));
                searchTile(samples, points + first, size, toCurve, bound, indices + first,
                           squaredDistances ? squaredDistances + first : nullptr, variant);
            }
        },
        tbb::auto_partitioner());
}

void nearestSamples(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                    const Matrix44d& toCurve, double bound, std::int32_t* indices, double* squaredDistances) {
    nearestSamples(samples, points, count, toCurve, bound, indices, squaredDistances, activeTable());
}

void nearestSamplesOfAll(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                         const Matrix44d& toCurve, std::int32_t* indices) {
    // A sample within the bound is the nearest of all too, so one search without a bound serves both.
    nearestSamples(samples, points, count, toCurve, std::numeric_limits<double>::infinity(), indices);
    std::replace(indices, indices + count, std::int32_t{-1}, std::int32_t{0});
}

} // namespace talvisora
