// SPDX-License-Identifier: Apache-2.0
// The nearest sample of every point of a mesh: the answers of nearestSample, index for index and bit for bit,
// but many points at once, in lanes, with boxes of samples that far points skip.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels/curve_samples.h"
#include "kernels/variant_table.h"
#include "maths/matrix44.h"

namespace talvisora {

/// The samples of a curve, prepared for the search. Read-only once made; any thread. Samples that are not
/// finite never win.
class SampleBoxes {
public:
    explicit SampleBoxes(const std::vector<CurveSample>& samples);
    SampleBoxes(const SampleBoxes&) = delete;
    SampleBoxes& operator=(const SampleBoxes&) = delete;

    /// All samples in their boxes.
    const NearestTable& table() const { return table_; }
    /// One finite sample out of the middle of each box, to put points in order by.
    const NearestTable& coarse() const { return coarse_; }

private:
    std::vector<double> rows_;
    NearestTable table_{};
    NearestTable coarse_{};
};

/// For each of `count` points: carried by `toCurve` (row vectors, division by w), the index of the nearest
/// sample, the lowest among equally near ones, -1 when none has a squared distance below `bound`. Also writes
/// the squared distances (the bound for -1) unless `squaredDistances` is null. Parallel over tiles of points;
/// the result depends neither on threads nor on the variant.
void nearestSamples(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                    const Matrix44d& toCurve, double bound, std::int32_t* indices, double* squaredDistances,
                    const VariantTable& variant);
void nearestSamples(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                    const Matrix44d& toCurve, double bound, std::int32_t* indices,
                    double* squaredDistances = nullptr);

/// The same for callers that need a sample for every point: far points get theirs without a bound, points
/// that are not numbers get sample 0. `indices` receives `count` values.
void nearestSamplesOfAll(const SampleBoxes& samples, const Vec3d* points, std::size_t count,
                         const Matrix44d& toCurve, std::int32_t* indices);

} // namespace talvisora
