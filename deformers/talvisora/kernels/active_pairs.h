// SPDX-License-Identifier: Apache-2.0
// The compact list of (block, point) pairs that can act: per tile of points, sorted by block and knot span,
// with the pairs' block weights and cached basis values. It turns a scan of block-major arrays into short
// runs that share a span, which is what lets points stand in lanes. Static while the per-point cache is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels/variant_table.h"

namespace talvisora {

struct PointStage;

/// Lives on the node between evaluations. Memory: 22 bytes per pair (46 when a weight map is painted), 2 more
/// per pair of a point that several blocks move and 2 per such point, 24 per run, 40 per tile.
class ActivePairs {
public:
    /// Where one tile's runs and pairs begin in the flat lists, and how many there are.
    struct Tile {
        std::size_t firstRun = 0;
        std::size_t firstPair = 0;
        std::size_t firstKept = 0;
        std::size_t firstLater = 0;
        std::int32_t runCount = 0;
        std::int32_t keptCount = 0;
    };

    /// Forgets everything; the next evaluation builds the list anew.
    void invalidate() { valid_ = false; }

    /// Says that points [first, first + count) are no longer as they were listed: their tiles are stale.
    void invalidate(std::size_t first, std::size_t count);
    bool isStale(std::size_t tile) const { return stale_[tile] != 0; }

    /// Whether what is not stale holds for the stage: same N, same B, same control-point count of every
    /// block.
    bool fits(const PointStage& stage) const;

    /// Builds the list unless it fits the stage and nothing is stale. With an exception the list stays
    /// invalid.
    void update(const PointStage& stage, const VariantTable& variant);

    bool valid() const { return valid_; }
    std::size_t pairCount() const { return pairPoints_.size(); }

    /// Points of every tile but the last, which may have fewer.
    std::size_t tilePoints() const { return tilePoints_; }
    const std::vector<Tile>& tiles() const { return tiles_; }
    /// The tile's part of TileJob: runs, pairs, kept points.
    void fillJob(std::size_t tile, TileJob& job) const;

    /// Room for the block tables of one evaluation, kept so that evaluations need not allocate.
    std::vector<BlockTable> tables;

    /// Goes through the points from `first` on, `count` of them at most kUnlistedTilePoints, without a list:
    /// hands one block's pairs after the other to the variant, ascending. `common` is a job with these
    /// points. Same results as with a kept list.
    static void deformUnlisted(const PointStage& stage, const VariantTable& variant, const TileJob& common,
                               std::size_t first, std::size_t count);
    static constexpr std::size_t kUnlistedTilePoints = 4096;

private:
    void fillTile(const PointStage& stage, const VariantTable& variant, std::size_t tile);

    bool valid_ = false;
    std::size_t pointCount_ = 0;
    std::size_t tilePoints_ = 0;
    std::vector<std::int32_t> controlPointCounts_;
    std::vector<Tile> tiles_;
    std::vector<unsigned char> stale_; ///< of every tile
    bool anyStale_ = false;
    std::vector<PairRun> runs_;
    // Of pairs; see TileJob.
    std::vector<std::uint16_t> pairPoints_;
    std::vector<float> pairWeights_;
    std::vector<float> pairBasis_;
    std::vector<float> pairMaps_; ///< empty when every weight-map value is 1
    std::vector<std::uint16_t> keptPoints_;
    std::vector<std::uint16_t> laterKept_;
};

} // namespace talvisora
