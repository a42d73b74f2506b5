// SPDX-License-Identifier: Apache-2.0
// Building the list: each tile is gone through twice, first to count (so that every tile knows its place in
// the flat lists), then to write. Both passes are parallel over tiles and walk the block-major arrays along
// their rows. Inside a tile: blocks ascending, spans ascending, first the points that no earlier block of the
// tile has named, then the others.
#include "kernels/active_pairs.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "kernels/deform_points.h"

namespace talvisora {

namespace {

/// Up to this number of blocks a mesh may go in smaller tiles: its runs stay long all the same.
constexpr int kFewBlocks = 2;

/// The larger a tile, the longer its runs and the fewer pairs are left over at their ends; the largest one
/// still fits the second-level cache. A small mesh is to be divided among the threads all the same.
std::size_t tilePointsFor(const PointStage& stage) {
    const std::size_t perThread = stage.blockCount <= kFewBlocks ? 8 : 4;
    const std::size_t tiles = perThread * static_cast<std::size_t>(tbb::this_task_arena::max_concurrency());
    std::size_t points = kMostTilePoints;
    while (points > 1024 && stage.pointCount < tiles * points) points /= 2;
    return points;
}

/// Whether block b can move a point with this block weight, whatever env and envelope turn out to be. Only
/// zero and what is not a number never can.
bool canAct(float blockWeight) {
    return (blockWeight > 0.0f) | (blockWeight < 0.0f);
}

/// Eight floats that are all 0 or -0.
bool allZero(const float* values) {
    std::uint64_t pairs[4];
    std::memcpy(pairs, values, sizeof pairs);
    return ((pairs[0] | pairs[1] | pairs[2] | pairs[3]) & 0x7fffffff7fffffffull) == 0;
}

/// Where one tile's part of the flat lists begins; null while the tile is only counted.
struct TileLists {
    PairRun* runs = nullptr;
    std::uint16_t* pairPoints = nullptr;
    float* pairWeights = nullptr;
    float* pairBasis = nullptr;
    float* pairMaps = nullptr; ///< null as well when no map is painted
    std::uint16_t* keptPoints = nullptr;
    std::uint16_t* laterKept = nullptr;
};

/// Goes through one tile's blocks and either counts or writes.
class TileWalk {
public:
    TileWalk(const PointStage& stage, const VariantTable& variant, std::size_t first, std::size_t tilePoints)
        : stage_(stage),
          variant_(variant),
          first_(first),
          count_(static_cast<int>(std::min(tilePoints, stage.pointCount - first))) {
        std::fill(keptOf_, keptOf_ + count_, kUnseen);
    }

    void walk(const TileLists* lists) {
        forBlocks([&](std::int32_t b) {
            const float* weights = collect(b);
            if (acting_) addBlock(b, weights, lists);
        });
    }

    /// One block after the other into the same short lists, whose pairs `use(lists)` takes at once.
    template <class Use>
    void walkUnlisted(const TileLists& lists, const Use& use) {
        // Every point counts as moved before: all of them are kept, under their own numbers.
        for (int i = 0; i < count_; ++i) keptOf_[i] = static_cast<std::uint16_t>(i);
        forBlocks([&](std::int32_t b) {
            const float* weights = collect(b);
            if (!acting_) return;
            runCount = keptCount = 0;
            pairCount = laterCount = 0;
            addBlock(b, weights, &lists);
            use();
        });
    }

    std::int32_t runCount = 0;
    std::int32_t keptCount = 0;
    std::uint32_t pairCount = 0;
    std::uint32_t laterCount = 0;

private:
    static constexpr std::uint16_t kUnseen = 0xffff; ///< no block has named the point yet
    static constexpr std::uint16_t kOnce = 0xfffe;   ///< one has

    /// The blocks that can matter to any point of the tile, ascending.
    template <class Visit>
    void forBlocks(const Visit& visit) {
        std::int32_t firstBlock = stage_.blockCount, endBlock = 0;
        for (int i = 0; i < count_; ++i) {
            const std::int32_t start = stage_.ordersStart[first_ + i], end = stage_.ordersEnd[first_ + i];
            const bool none = start >= end;
            firstBlock = std::min(firstBlock, none ? firstBlock : start);
            endBlock = std::max(endBlock, none ? endBlock : end);
        }
        endBlock = std::min<std::int32_t>(endBlock, stage_.blockCount);
        for (std::int32_t b = std::max<std::int32_t>(firstBlock, 0); b < endBlock; ++b) visit(b);
    }

    /// points_ and params_ become those of the points that block b can move; the block's weights in the tile.
    const float* collect(std::int32_t b) {
        const std::size_t rowStart = pointSlot(b, stage_.pointCount, first_);
        const float* weights = stage_.blockWeights + rowStart;
        const float* params = stage_.params + rowStart;
        const std::int32_t *start = stage_.ordersStart + first_, *end = stage_.ordersEnd + first_;
        // Most points are not the block's: eight weights at a time are zero.
        acting_ = 0;
        for (int i = 0; i < count_; i += 8) {
            const int few = std::min(8, count_ - i);
            if (few == 8 && allZero(weights + i)) continue;
            for (int k = i; k < i + few; ++k) {
                points_[acting_] = static_cast<std::uint16_t>(k);
                acting_ += canAct(weights[k]) & (b >= start[k]) & (b < end[k]);
            }
        }
        for (int k = 0; k < acting_; ++k) params_[k] = params[points_[k]];
        return weights;
    }

    void addBlock(std::int32_t b, const float* weights, const TileLists* lists) {
        const int knots = controlPointCount(stage_.blocks[b]) + 4;
        variant_.findSpans(stage_.knots + knotSlot(b, 0), static_cast<unsigned>(knots), params_, acting_,
                           spans_);
        sortBySpan(acting_);
        for (int k = 0; k < acting_;) {
            const std::int32_t span = spans_[order_[k]];
            int end = k;
            while (end < acting_ && spans_[order_[end]] == span) ++end;
            addRun(b, span, k, end, true, weights, lists);
            addRun(b, span, k, end, false, weights, lists);
            k = end;
        }
    }

    /// order_ becomes the pairs by ascending span, stable in the point order. Those of points that no block
    /// has named yet are told from the others by firstTime_.
    void sortBySpan(int acting) {
        int start[MAX_CV_MATRICES + 1] = {};
        for (int k = 0; k < acting; ++k) ++start[spans_[k] + 1];
        for (int s = 0; s < MAX_CV_MATRICES; ++s) start[s + 1] += start[s];
        for (int k = 0; k < acting; ++k) {
            firstTime_[k] = keptOf_[points_[k]] == kUnseen;
            order_[start[spans_[k]]++] = static_cast<std::uint16_t>(k);
        }
    }

    void addRun(std::int32_t b, std::int32_t span, int from, int end, bool first, const float* weights,
                const TileLists* lists) {
        int count = 0;
        bool unit = true;
        for (int k = from; k < end; ++k) {
            if (firstTime_[order_[k]] != first) continue;
            unit = unit && weights[points_[order_[k]]] == 1.0f;
            members_[count++] = order_[k];
        }
        if (!count) return;
        if (lists) {
            lists->runs[runCount] = {b, span, pairCount, laterCount, count, first, unit};
            writePairs(b, span, count, weights, *lists);
        }
        for (int k = 0; k < count; ++k) {
            const std::uint16_t point = points_[members_[k]];
            std::uint16_t& kept = keptOf_[point];
            if (first) {
                kept = kOnce;
                continue;
            }
            if (kept == kOnce) {
                if (lists) lists->keptPoints[keptCount] = point;
                kept = static_cast<std::uint16_t>(keptCount++);
            }
            if (lists) lists->laterKept[laterCount] = kept;
            ++laterCount;
        }
        pairCount += static_cast<std::uint32_t>(count);
        ++runCount;
    }

    void writePairs(std::int32_t b, std::int32_t span, int count, const float* weights,
                    const TileLists& lists) {
        for (int k = 0; k < count; ++k) runParams_[k] = params_[members_[k]];
        variant_.runBasis(stage_.knots + knotSlot(b, 0), span, runParams_, count,
                          lists.pairBasis + 4 * static_cast<std::size_t>(pairCount));
        for (int from = 0; from < count; from += kPairGroup) {
            const int inGroup = std::min(kPairGroup, count - from);
            const std::size_t place = static_cast<std::size_t>(pairCount) + static_cast<std::size_t>(from);
            for (int k = 0; k < inGroup; ++k) {
                const std::uint16_t point = points_[members_[from + k]];
                lists.pairPoints[place + k] = point;
                lists.pairWeights[place + k] = weights[point];
                if (!lists.pairMaps) continue;
                for (int m = 0; m < kWeightMapCount; ++m)
                    lists.pairMaps[kWeightMapCount * place + m * inGroup + k] =
                        stage_.weightMaps[mapSlot(m, stage_.pointCount, first_ + point)];
            }
        }
    }

    const PointStage& stage_;
    const VariantTable& variant_;
    std::size_t first_;
    int count_;
    std::uint16_t keptOf_[kMostTilePoints]; ///< kUnseen, kOnce, or the point's place among the kept ones
    // The pairs of the block at hand.
    int acting_ = 0;
    std::uint16_t points_[kMostTilePoints + 1]; ///< the last one is written past a full list, never read
    float params_[kMostTilePoints];
    std::int32_t spans_[kMostTilePoints];
    bool firstTime_[kMostTilePoints];
    std::uint16_t order_[kMostTilePoints];
    std::uint16_t members_[kMostTilePoints]; ///< of the run at hand
    float runParams_[kMostTilePoints];
};

bool anyTweaks(const BlockTable* tables, int blockCount) {
    return std::any_of(tables, tables + blockCount, [](const BlockTable& t) { return t.jointCount > 0; });
}

/// Whether all weight maps are 1 everywhere, as they are unless somebody painted one.
bool mapsAreOne(const PointStage& stage) {
    const std::size_t count = kWeightMapCount * stage.pointCount;
    return std::all_of(stage.weightMaps, stage.weightMaps + count, [](float v) { return v == 1.0f; });
}

template <class Body>
void forTiles(std::size_t tileCount, const Body& body) {
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, tileCount, 1),
                      [&](const tbb::blocked_range<std::size_t>& range) {
                          for (std::size_t t = range.begin(); t != range.end(); ++t) body(t);
                      });
}

} // namespace

bool ActivePairs::fits(const PointStage& stage) const {
    if (!valid_ || stage.pointCount != pointCount_ ||
        controlPointCounts_.size() != static_cast<std::size_t>(stage.blockCount))
        return false;
    for (int b = 0; b < stage.blockCount; ++b)
        if (controlPointCounts_[static_cast<std::size_t>(b)] != controlPointCount(stage.blocks[b]))
            return false;
    return true;
}

void ActivePairs::invalidate(std::size_t first, std::size_t count) {
    if (!valid_ || count == 0) return;
    const std::size_t end = std::min((first + count - 1) / tilePoints_ + 1, tiles_.size());
    for (std::size_t t = first / tilePoints_; t < end; ++t) {
        stale_[t] = 1;
        anyStale_ = true;
    }
}

void ActivePairs::update(const PointStage& stage, const VariantTable& variant) {
    if (fits(stage) && !anyStale_) return;
    valid_ = false;
    pointCount_ = stage.pointCount;
    controlPointCounts_.resize(static_cast<std::size_t>(stage.blockCount));
    for (int b = 0; b < stage.blockCount; ++b)
        controlPointCounts_[static_cast<std::size_t>(b)] = controlPointCount(stage.blocks[b]);

    tilePoints_ = tilePointsFor(stage);
    tiles_.assign((stage.pointCount + tilePoints_ - 1) / tilePoints_, Tile{});
    std::vector<std::uint32_t> pairCounts(tiles_.size()), laterCounts(tiles_.size());
    forTiles(tiles_.size(), [&](std::size_t t) {
        TileWalk walk(stage, variant, t * tilePoints_, tilePoints_);
        walk.walk(nullptr);
        tiles_[t].runCount = walk.runCount;
        tiles_[t].keptCount = walk.keptCount;
        pairCounts[t] = walk.pairCount;
        laterCounts[t] = walk.laterCount;
    });

    std::size_t runs = 0, pairs = 0, kept = 0, later = 0;
    for (std::size_t t = 0; t < tiles_.size(); ++t) {
        tiles_[t].firstRun = runs;
        tiles_[t].firstPair = pairs;
        tiles_[t].firstKept = kept;
        tiles_[t].firstLater = later;
        runs += static_cast<std::size_t>(tiles_[t].runCount);
        pairs += pairCounts[t];
        kept += static_cast<std::size_t>(tiles_[t].keptCount);
        later += laterCounts[t];
    }
    runs_.resize(runs);
    pairPoints_.resize(pairs);
    pairWeights_.resize(pairs);
    pairBasis_.resize(4 * pairs);
    pairMaps_.resize(mapsAreOne(stage) ? 0 : kWeightMapCount * pairs);
    keptPoints_.resize(kept);
    laterKept_.resize(later);
    forTiles(tiles_.size(), [&](std::size_t t) { fillTile(stage, variant, t); });
    stale_.assign(tiles_.size(), 0);
    anyStale_ = false;
    valid_ = true;
}

void ActivePairs::fillTile(const PointStage& stage, const VariantTable& variant, std::size_t t) {
    const Tile& tile = tiles_[t];
    const TileLists lists{runs_.data() + tile.firstRun,
                          pairPoints_.data() + tile.firstPair,
                          pairWeights_.data() + tile.firstPair,
                          pairBasis_.data() + 4 * tile.firstPair,
                          pairMaps_.empty() ? nullptr : pairMaps_.data() + kWeightMapCount * tile.firstPair,
                          keptPoints_.data() + tile.firstKept,
                          laterKept_.data() + tile.firstLater};
    TileWalk(stage, variant, t * tilePoints_, tilePoints_).walk(&lists);
}

void ActivePairs::deformUnlisted(const PointStage& stage, const VariantTable& variant, const TileJob& common,
                                 std::size_t first, std::size_t count) {
    constexpr std::size_t kPoints = kUnlistedTilePoints;
    double incoming[3 * kPoints];
    PairRun runs[MAX_CV_MATRICES];
    std::uint16_t pairPoints[kPoints], laterKept[kPoints];
    float pairWeights[kPoints], pairBasis[4 * kPoints], pairMaps[kWeightMapCount * kPoints];
    std::memcpy(incoming, &stage.points[first].x, 3 * sizeof(double) * count);

    TileJob job = common;
    for (int i = 0; i < job.pointWeightCount && job.gate == kGateUnknown; ++i)
        if (!(job.pointWeights[i] >= 1e-5f)) job.gate = kGateShut;
    if (job.gate == kGateUnknown) job.gate = kGateOpen;
    job.incoming = incoming;
    job.runs = runs;
    job.pairPoints = pairPoints;
    job.pairWeights = pairWeights;
    job.pairBasis = pairBasis;
    job.laterKept = laterKept;
    TileLists lists{runs, pairPoints, pairWeights, pairBasis, pairMaps, nullptr, laterKept};
    if (!anyTweaks(common.tables, stage.blockCount)) lists.pairMaps = nullptr; // nobody reads the maps
    job.pairMaps = lists.pairMaps;
    TileWalk walk(stage, variant, first, count);
    walk.walkUnlisted(lists, [&] {
        job.runCount = walk.runCount;
        variant.deformTile(job);
    });
}

void ActivePairs::fillJob(std::size_t t, TileJob& job) const {
    const Tile& tile = tiles_[t];
    job.runs = runs_.data() + tile.firstRun;
    job.runCount = tile.runCount;
    job.pairPoints = pairPoints_.data() + tile.firstPair;
    job.pairWeights = pairWeights_.data() + tile.firstPair;
    job.pairBasis = pairBasis_.data() + 4 * tile.firstPair;
    job.pairMaps = pairMaps_.empty() ? nullptr : pairMaps_.data() + kWeightMapCount * tile.firstPair;
    job.keptPoints = keptPoints_.data() + tile.firstKept;
    job.keptCount = tile.keptCount;
    job.laterKept = laterKept_.data() + tile.firstLater;
}

} // namespace talvisora
