// SPDX-License-Identifier: Apache-2.0
// The point stage: moves every point by the blocks that act on it, in ascending block order. Parallel over
// tiles of points; each tile writes its own points only, and the result does not depend on threads or
// variant.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/records.h"
#include "maths/matrix44.h"

namespace talvisora {

class ActivePairs;
struct VariantTable;

/// Everything that the point stage reads. All pointers are borrowed for the call. N = pointCount,
/// B = blockCount, M = MAX_CV_MATRICES; index formulas are in records.h. World space unless said otherwise.
struct PointStage {
    Vec3d* points = nullptr; ///< N, object space, deformed in place
    std::size_t pointCount = 0;
    const float* pointWeights = nullptr; ///< pointWeightCount; points past the end have weight 1
    std::size_t pointWeightCount = 0;
    float envelope = 1.0f;
    const Matrix44d* geoMatrix = nullptr;        ///< object to world
    const Matrix44d* geoMatrixInverse = nullptr; ///< world to object
    int blockCount = 0;
    const std::int32_t* ordersStart = nullptr;        ///< N: first block that can matter
    const std::int32_t* ordersEnd = nullptr;          ///< N: one past the last block, at most B
    const float* blockWeights = nullptr;              ///< B · N
    const float* params = nullptr;                    ///< B · N
    const float* weightMaps = nullptr;                ///< 6 · N
    const BlockInfo* blocks = nullptr;                ///< B
    const float* knots = nullptr;                     ///< B · (M + 4)
    const Matrix44d* cvMatrices = nullptr;            ///< B · M, current
    const Matrix44d* cvBaseMatrices = nullptr;        ///< B · M, rest
    const Matrix44d* cvBaseMatricesInverse = nullptr; ///< B · M
    const Tweak* tweaks = nullptr;                    ///< B · M
    const TweakVectors* tweakVectors = nullptr;       ///< B · M
};

/// Deforms all points. A point whose weight is below 1e-5 (or not a number), and a point that no block moves,
/// keep their bits. `pairs` is the caller's cache of who acts on whom: it is built here when it does not fit
/// (see ActivePairs) and must be invalidated by whoever rewrites orders, block weights, params or weight
/// maps. May throw std::bad_alloc; points are untouched then.
void deformPoints(const PointStage& stage, ActivePairs& pairs);

/// The same with a given variant, which this machine must be able to run.
void deformPoints(const PointStage& stage, ActivePairs& pairs, const VariantTable& variant);

/// The same to the bit for a cache that is likely to change again before the next evaluation: who acts on
/// whom is found anew, and forgotten, for the points whose listing is stale or, where the list does not fit,
/// for all. The list stays as it is.
void deformChangingPoints(const PointStage& stage, ActivePairs& pairs);

} // namespace talvisora
