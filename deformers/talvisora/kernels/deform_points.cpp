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

/// The points from `first` on and their weights.
TileJob placedJob(const PointStage& stage, const TileJob& common, std::size_t first, std::size_t count) {
    const std::size_t weightsLeft = stage.pointWeightCount > first ? stage.pointWeightCount - first : 0;
    TileJob job = common;
    job.points = &stage.points[first].x;
    job.pointWeights = weightsLeft ? stage.pointWeights + first : nullptr;
    job.pointWeightCount = static_cast<std::int32_t>(std::min(weightsLeft, count));
    return job;
}

/// The job of one tile: views into the stage and the list. `next` is the tile that is likely to follow.
TileJob makeJob(const PointStage& stage, const TileJob& common, const ActivePairs& pairs, std::size_t t,
                std::size_t next) {
    const std::size_t size = pairs.tilePoints();
    TileJob job = placedJob(stage, common, t * size, std::min(size, stage.pointCount - t * size));
    pairs.fillJob(t, job);
    if (next != TileRange::kNone) {
        const std::size_t first = next * size;
        job.nextPoints = &stage.points[first].x;
        job.nextCount = static_cast<std::int32_t>(std::min(size, stage.pointCount - first));
    }
    return job;
}

/// Points [first, end), whose pairs are found and forgotten.
void deformUnlisted(const PointStage& stage, const VariantTable& variant, const TileJob& common,
                    std::size_t first, std::size_t end) {
    for (; first < end; first += ActivePairs::kUnlistedTilePoints) {
        const std::size_t count = std::min(ActivePairs::kUnlistedTilePoints, end - first);
        ActivePairs::deformUnlisted(stage, variant, placedJob(stage, common, first, count), first, count);
    }
}

/// What an evaluation works out once, before its points.
TileJob prepare(const PointStage& stage, ObjectFrame& frame, ActivePairs& pairs) {
    makeObjectFrame(*stage.geoMatrix, *stage.geoMatrixInverse, frame);
    buildTables(stage, frame, pairs.tables);
    return commonJob(stage, frame, pairs);
}

} // namespace

void deformPoints(const PointStage& stage, ActivePairs& pairs, const VariantTable& variant) {
    if (stage.pointCount == 0 || stage.blockCount <= 0) return;
    pairs.update(stage, variant);
    ObjectFrame frame;
    const TileJob common = prepare(stage, frame, pairs);
    forTiles(pairs.tiles().size(), isWorthSharing(pairs), [&](std::size_t t, std::size_t next) {
        if (pairs.tiles()[t].runCount > 0) variant.deformTile(makeJob(stage, common, pairs, t, next));
    });
}

void deformPoints(const PointStage& stage, ActivePairs& pairs) {
    deformPoints(stage, pairs, activeTable());
}

void deformChangingPoints(const PointStage& stage, ActivePairs& pairs) {
    if (stage.pointCount == 0 || stage.blockCount <= 0) return;
    const VariantTable& variant = activeTable();
    ObjectFrame frame;
    const TileJob common = prepare(stage, frame, pairs);
    if (!pairs.fits(stage)) {
        constexpr std::size_t size = ActivePairs::kUnlistedTilePoints;
        const bool shared =
            stage.pointCount >= kFewestSharedPairs / 2; // finding the pairs takes as long again
        forTiles((stage.pointCount + size - 1) / size, shared, [&](std::size_t t, std::size_t) {
            deformUnlisted(stage, variant, common, t * size, std::min((t + 1) * size, stage.pointCount));
        });
        return;
    }
    const std::size_t size = pairs.tilePoints();
    forTiles(pairs.tiles().size(), isWorthSharing(pairs), [&](std::size_t t, std::size_t next) {
        if (pairs.isStale(t))
            deformUnlisted(stage, variant, common, t * size, std::min((t + 1) * size, stage.pointCount));
        else if (pairs.tiles()[t].runCount > 0)
            variant.deformTile(makeJob(stage, common, pairs, t, next));
    });
}

} // namespace talvisora
