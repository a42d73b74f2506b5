// SPDX-License-Identifier: Apache-2.0
// The parallel loop of the point stage: block tables once, then tiles of points through the chosen variant.
#include "kernels/deform_points.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>

#include "kernels/active_pairs.h"
#include "kernels/dispatch.h"

namespace talvisora {

namespace {

void buildTables(const PointStage& stage, std::vector<BlockTable>& tables) {
    tables.resize(static_cast<std::size_t>(stage.blockCount));
    for (int b = 0; b < stage.blockCount; ++b) {
        const std::size_t first = slot(b, 0);
        buildBlockTable(stage.blocks[b], stage.cvMatrices + first, stage.cvBaseMatrices + first,
                        stage.cvBaseMatricesInverse + first, stage.tweaks + first, stage.tweakVectors + first,
                        tables[static_cast<std::size_t>(b)]);
    }
}

/// The job of one tile: views into the stage and the list.
TileJob makeJob(const PointStage& stage, const ActivePairs& pairs, std::size_t t) {
    const ActivePairs::Tile& tile = pairs.tiles()[t];
    const std::size_t first = t * kTilePoints;
    const std::size_t weightsLeft = stage.pointWeightCount > first ? stage.pointWeightCount - first : 0;
    TileJob job{};
    job.points = &stage.points[first].x;
    job.pointWeights = weightsLeft ? stage.pointWeights + first : nullptr;
    job.pointWeightCount = static_cast<std::int32_t>(std::min<std::size_t>(weightsLeft, kTilePoints));
    job.envelope = stage.envelope;
    job.geoMatrix = stage.geoMatrix->m;
    job.geoMatrixInverse = stage.geoMatrixInverse->m;
    job.geoAffine = isAffine(*stage.geoMatrix);
    job.geoInverseAffine = isAffine(*stage.geoMatrixInverse);
    job.tables = pairs.tables.data();
    job.runs = pairs.runs().data() + tile.firstRun;
    job.runCount = tile.runCount;
    job.slotPoints = pairs.slotPoints().data() + tile.firstSlot;
    job.slotCount = tile.slotCount;
    job.slotMaps =
        pairs.slotMaps().empty() ? nullptr : pairs.slotMaps().data() + kWeightMapCount * tile.firstSlot;
    job.pairSlots = pairs.pairSlots().data() + tile.firstPair;
    job.pairWeights = pairs.pairWeights().data() + tile.firstPair;
    job.pairBasis = pairs.pairBasis().data() + 4 * tile.firstPair;
    return job;
}

} // namespace

void deformPoints(const PointStage& stage, ActivePairs& pairs, const VariantTable& variant) {
    if (stage.pointCount == 0 || stage.blockCount <= 0) return;
    pairs.update(stage, variant);
    buildTables(stage, pairs.tables);
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, pairs.tiles().size(), 1),
        [&](const tbb::blocked_range<std::size_t>& range) {
            for (std::size_t t = range.begin(); t != range.end(); ++t)
                if (pairs.tiles()[t].slotCount > 0) variant.deformTile(makeJob(stage, pairs, t));
        },
        tbb::auto_partitioner());
}

void deformPoints(const PointStage& stage, ActivePairs& pairs) {
    deformPoints(stage, pairs, activeTable());
}

} // namespace talvisora
