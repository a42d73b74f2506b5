// SPDX-License-Identifier: Apache-2.0
// The parallel loop of the point stage: block tables once, then tiles of points through the chosen variant.
#include "kernels/deform_points.h"

#include <algorithm>

#include "kernels/active_pairs.h"
#include "kernels/dispatch.h"
#include "kernels/tile_loop.h"

namespace talvisora {

namespace {

void buildTables(const PointStage& stage, const ObjectFrame& frame, std::vector<BlockTable>& tables) {
    tables.resize(static_cast<std::size_t>(stage.blockCount));
    for (int b = 0; b < stage.blockCount; ++b) {
        const std::size_t first = slot(b, 0);
        buildBlockTable(stage.blocks[b], stage.cvMatrices + first, stage.cvBaseMatrices + first,
                        stage.cvBaseMatricesInverse + first, stage.tweaks + first, stage.tweakVectors + first,
                        frame, tables[static_cast<std::size_t>(b)]);
    }
}

/// Waking a thread takes some hundred microseconds until it helps, and its waker a good part of that. Below
/// this number of plain pairs (6 to 8 ns each) one thread is done sooner.
constexpr std::size_t kFewestSharedPairs = 16384;
constexpr std::size_t kPlainPairsPerTweakedPair = 3;

bool isWorthSharing(const ActivePairs& pairs) {
    const bool tweaked = std::any_of(pairs.tables.begin(), pairs.tables.end(),
                                     [](const BlockTable& table) { return table.jointCount > 0; });
    return pairs.pairCount() * (tweaked ? kPlainPairsPerTweakedPair : 1) >= kFewestSharedPairs;
}

/// What all tiles share.
TileJob commonJob(const PointStage& stage, const ObjectFrame& frame, const ActivePairs& pairs) {
    TileJob job{};
    job.envelope = stage.envelope;
    job.geoMatrix = stage.geoMatrix->m;
    job.geoMatrixInverse = stage.geoMatrixInverse->m;
    job.geoAffine = isAffine(*stage.geoMatrix);
    job.geoInverseAffine = isAffine(*stage.geoMatrixInverse);
    job.folded = frame.folded;
    job.shift = frame.shift;
    job.tables = pairs.tables.data();
    return job;
}

/// The points of tile t and their weights.
TileJob placedJob(const PointStage& stage, const TileJob& common, std::size_t size, std::size_t t) {
    const std::size_t first = t * size;
    const std::size_t weightsLeft = stage.pointWeightCount > first ? stage.pointWeightCount - first : 0;
    TileJob job = common;
    job.points = &stage.points[first].x;
    job.pointWeights = weightsLeft ? stage.pointWeights + first : nullptr;
    job.pointWeightCount = static_cast<std::int32_t>(std::min({weightsLeft, size, stage.pointCount - first}));
    return job;
}

/// The job of one tile: views into the stage and the list. `next` is the tile that is likely to follow.
TileJob makeJob(const PointStage& stage, const TileJob& common, const ActivePairs& pairs, std::size_t t,
                std::size_t next) {
    const std::size_t size = pairs.tilePoints();
    TileJob job = placedJob(stage, common, size, t);
    pairs.fillJob(t, job);
    if (next != TileRange::kNone) {
        const std::size_t first = next * size;
        job.nextPoints = &stage.points[first].x;
        job.nextCount = static_cast<std::int32_t>(std::min(size, stage.pointCount - first));
    }
    return job;
}
} // namespace

void deformPoints(const PointStage& stage, ActivePairs& pairs, const VariantTable& variant) {
    if (stage.pointCount == 0 || stage.blockCount <= 0) return;
    pairs.update(stage, variant);
    ObjectFrame frame;
    makeObjectFrame(*stage.geoMatrix, *stage.geoMatrixInverse, frame);
    buildTables(stage, frame, pairs.tables);
    const TileJob common = commonJob(stage, frame, pairs);
    forTiles(pairs.tiles().size(), isWorthSharing(pairs), [&](std::size_t t, std::size_t next) {
        if (pairs.tiles()[t].runCount > 0) variant.deformTile(makeJob(stage, common, pairs, t, next));
    });
}

void deformPoints(const PointStage& stage, ActivePairs& pairs) {
    deformPoints(stage, pairs, activeTable());
}

void deformPointsOnce(const PointStage& stage, ActivePairs& room) {
    if (stage.pointCount == 0 || stage.blockCount <= 0) return;
    const VariantTable& variant = activeTable();
    ObjectFrame frame;
    makeObjectFrame(*stage.geoMatrix, *stage.geoMatrixInverse, frame);
    buildTables(stage, frame, room.tables);
    const TileJob common = commonJob(stage, frame, room);
    constexpr std::size_t size = ActivePairs::kUnlistedTilePoints;
    const bool shared = stage.pointCount >= kFewestSharedPairs / 2; // finding the pairs takes as long again
    forTiles((stage.pointCount + size - 1) / size, shared, [&](std::size_t t, std::size_t) {
        ActivePairs::deformUnlisted(stage, variant, placedJob(stage, common, size, t), t);
    });
}

} // namespace talvisora
