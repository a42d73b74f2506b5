// SPDX-License-Identifier: Apache-2.0
// Building the list: each tile is gone through twice, first to count (so that every tile knows its place in
// the flat lists), then to write. Both passes are parallel over tiles and walk the block-major arrays along
// their rows. Inside a tile: blocks ascending, spans ascending, first the points that no earlier block of the
// tile has named (they get the next slots, so the run is contiguous), then the others.
#include "kernels/active_pairs.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <cmath>

#include "kernels/deform_points.h"

namespace talvisora {

namespace {

std::size_t tileCountOf(std::size_t pointCount) {
    return (pointCount + kTilePoints - 1) / kTilePoints;
}

/// Whether block b can move a point with this block weight, whatever env and envelope turn out to be. Only
/// zero and what is not a number never can.
bool canAct(float blockWeight) {
    return blockWeight > 0.0f || blockWeight < 0.0f;
}

/// Where one tile's part of the flat lists begins; null while the tile is only counted.
struct TileLists {
    PairRun* runs = nullptr;
    std::uint16_t* slotPoints = nullptr;
    std::uint16_t* pairSlots = nullptr;
    float* pairWeights = nullptr;
    float* pairBasis = nullptr;
};

/// Goes through one tile's blocks and either counts or writes.
class TileWalk {
public:
    TileWalk(const PointStage& stage, const VariantTable& variant, std::size_t tileIndex)
        : stage_(stage),
          variant_(variant),
          first_(tileIndex * kTilePoints),
          count_(static_cast<int>(std::min<std::size_t>(kTilePoints, stage.pointCount - first_))) {
        std::fill(slotOf_, slotOf_ + count_, kNoSlot);
    }

    void walk(const TileLists* lists) {
        std::int32_t firstBlock = stage_.blockCount, endBlock = 0;
        for (int i = 0; i < count_; ++i) {
            const std::int32_t start = stage_.ordersStart[first_ + i], end = stage_.ordersEnd[first_ + i];
            if (start >= end) continue;
            firstBlock = std::min(firstBlock, start);
            endBlock = std::max(endBlock, end);
        }
        endBlock = std::min<std::int32_t>(endBlock, stage_.blockCount);
        for (std::int32_t b = std::max<std::int32_t>(firstBlock, 0); b < endBlock; ++b) walkBlock(b, lists);
    }

    std::int32_t runCount = 0;
    std::int32_t slotCount = 0;
    std::uint32_t pairCount = 0;

private:
    static constexpr std::uint16_t kNoSlot = 0xffff;

    void walkBlock(std::int32_t b, const TileLists* lists) {
        const std::size_t rowStart = pointSlot(b, stage_.pointCount, first_);
        const float* weights = stage_.blockWeights + rowStart;
        int acting = 0;
        for (int i = 0; i < count_; ++i) {
            const bool inRange = b >= stage_.ordersStart[first_ + i] && b < stage_.ordersEnd[first_ + i];
            if (inRange && canAct(weights[i])) {
                points_[acting] = static_cast<std::uint16_t>(i);
                params_[acting++] = stage_.params[rowStart + i];
            }
        }
        if (!acting) return;

        const int knots = controlPointCount(stage_.blocks[b]) + 4;
        variant_.spanBasis(stage_.knots + knotSlot(b, 0), static_cast<unsigned>(knots), params_, acting,
                           spans_, basis_);
        sortBySpan(acting);
        for (int k = 0; k < acting;) {
            const std::int32_t span = spans_[order_[k]];
            int end = k;
            while (end < acting && spans_[order_[end]] == span) ++end;
            addRun(b, span, k, end, true, weights, lists);
            addRun(b, span, k, end, false, weights, lists);
            k = end;
        }
    }

    /// order_ becomes the pairs by ascending span, stable in the point order. Those of points that no block
    /// has named yet are told from the others by firstTime_, so that the first run of a span cannot change
    /// what the second one sees.
    void sortBySpan(int acting) {
        int start[MAX_CV_MATRICES + 1] = {};
        for (int k = 0; k < acting; ++k) ++start[spans_[k] + 1];
        for (int s = 0; s < MAX_CV_MATRICES; ++s) start[s + 1] += start[s];
        for (int k = 0; k < acting; ++k) {
            firstTime_[k] = slotOf_[points_[k]] == kNoSlot;
            order_[start[spans_[k]]++] = static_cast<std::uint16_t>(k);
        }
    }

    void addRun(std::int32_t b, std::int32_t span, int from, int end, bool contiguous, const float* weights,
                const TileLists* lists) {
        PairRun run{};
        run.block = b;
        run.span = span;
        run.firstPair = pairCount;
        run.firstSlot = static_cast<std::uint16_t>(slotCount);
        run.contiguous = contiguous;
        int count = 0;
        for (int k = from; k < end; ++k) count += firstTime_[order_[k]] == contiguous;
        if (!count) return;
        run.count = static_cast<std::uint16_t>(count);
        int place = 0;
        for (int k = from; k < end; ++k) {
            const int pair = order_[k];
            if (firstTime_[pair] != contiguous) continue;
            std::uint16_t& slotOf = slotOf_[points_[pair]];
            if (contiguous) {
                slotOf = static_cast<std::uint16_t>(slotCount);
                if (lists) lists->slotPoints[slotCount] = points_[pair];
                ++slotCount;
            }
            if (lists) {
                lists->pairSlots[pairCount] = slotOf;
                lists->pairWeights[pairCount] = weights[points_[pair]];
                for (int c = 0; c < 4; ++c)
                    lists->pairBasis[4 * static_cast<std::size_t>(run.firstPair) + c * count + place] =
                        basis_[4 * pair + c];
            }
            ++place;
            ++pairCount;
        }
        if (lists) lists->runs[runCount] = run;
        ++runCount;
    }

    const PointStage& stage_;
    const VariantTable& variant_;
    std::size_t first_;
    int count_;
    std::uint16_t slotOf_[kTilePoints];
    // The pairs of the block at hand.
    std::uint16_t points_[kTilePoints];
    float params_[kTilePoints];
    std::int32_t spans_[kTilePoints];
    float basis_[4 * kTilePoints];
    bool firstTime_[kTilePoints];
    std::uint16_t order_[kTilePoints];
};

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

void ActivePairs::update(const PointStage& stage, const VariantTable& variant) {
    if (fits(stage)) return;
    valid_ = false;
    pointCount_ = stage.pointCount;
    controlPointCounts_.resize(static_cast<std::size_t>(stage.blockCount));
    for (int b = 0; b < stage.blockCount; ++b)
        controlPointCounts_[static_cast<std::size_t>(b)] = controlPointCount(stage.blocks[b]);

    tiles_.assign(tileCountOf(stage.pointCount), Tile{});
    std::vector<std::uint32_t> pairCounts(tiles_.size());
    forTiles(tiles_.size(), [&](std::size_t t) {
        TileWalk walk(stage, variant, t);
        walk.walk(nullptr);
        tiles_[t].runCount = walk.runCount;
        tiles_[t].slotCount = walk.slotCount;
        pairCounts[t] = walk.pairCount;
    });

    std::size_t runs = 0, slots = 0, pairs = 0;
    for (std::size_t t = 0; t < tiles_.size(); ++t) {
        tiles_[t].firstRun = runs;
        tiles_[t].firstSlot = slots;
        tiles_[t].firstPair = pairs;
        runs += static_cast<std::size_t>(tiles_[t].runCount);
        slots += static_cast<std::size_t>(tiles_[t].slotCount);
        pairs += pairCounts[t];
    }
    runs_.resize(runs);
    slotPoints_.resize(slots);
    pairSlots_.resize(pairs);
    pairWeights_.resize(pairs);
    pairBasis_.resize(4 * pairs);
    slotMaps_.resize(mapsAreOne(stage) ? 0 : kWeightMapCount * slots);
    forTiles(tiles_.size(), [&](std::size_t t) { fillTile(stage, variant, t); });
    valid_ = true;
}

void ActivePairs::fillTile(const PointStage& stage, const VariantTable& variant, std::size_t t) {
    const Tile& tile = tiles_[t];
    const TileLists lists{runs_.data() + tile.firstRun, slotPoints_.data() + tile.firstSlot,
                          pairSlots_.data() + tile.firstPair, pairWeights_.data() + tile.firstPair,
                          pairBasis_.data() + 4 * tile.firstPair};
    TileWalk(stage, variant, t).walk(&lists);
    if (slotMaps_.empty()) return;
    const std::size_t first = t * kTilePoints;
    float* row = slotMaps_.data() + kWeightMapCount * tile.firstSlot;
    for (int m = 0; m < kWeightMapCount; ++m, row += tile.slotCount)
        for (int s = 0; s < tile.slotCount; ++s)
            row[s] = stage.weightMaps[mapSlot(m, stage.pointCount, first + lists.slotPoints[s])];
}

} // namespace talvisora
