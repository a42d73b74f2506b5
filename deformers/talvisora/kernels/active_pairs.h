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

/// Lives on the node between evaluations. Memory: 22 bytes per pair, 2 per point that has one (26 when a
/// weight map is painted), 20 per run.
class ActivePairs {
public:
    /// Where one tile's runs, slots and pairs begin in the flat lists, and how many runs and slots it has.
    struct Tile {
        std::size_t firstRun = 0;
        std::size_t firstSlot = 0;
        std::size_t firstPair = 0;
        std::int32_t runCount = 0;
        std::int32_t slotCount = 0;
    };

    /// Forgets everything; the next evaluation builds the list anew.
    void invalidate() { valid_ = false; }

    /// Builds the list unless it fits the stage: same N, same B, same control-point count of every block.
    /// With an exception the list stays invalid.
    void update(const PointStage& stage, const VariantTable& variant);

    bool valid() const { return valid_; }
    std::size_t pairCount() const { return pairSlots_.size(); }

    const std::vector<Tile>& tiles() const { return tiles_; }
    const std::vector<PairRun>& runs() const { return runs_; }
    const std::vector<std::uint16_t>& slotPoints() const { return slotPoints_; }
    /// Per tile six rows of weight-map values, from 6 · firstSlot on; empty when every value is 1.
    const std::vector<float>& slotMaps() const { return slotMaps_; }
    const std::vector<std::uint16_t>& pairSlots() const { return pairSlots_; }
    const std::vector<float>& pairWeights() const { return pairWeights_; }
    const std::vector<float>& pairBasis() const { return pairBasis_; }

    /// Room for the block tables of one evaluation, kept so that evaluations need not allocate.
    std::vector<BlockTable> tables;

private:
    bool fits(const PointStage& stage) const;
    void fillTile(const PointStage& stage, const VariantTable& variant, std::size_t tile);

    bool valid_ = false;
    std::size_t pointCount_ = 0;
    std::vector<std::int32_t> controlPointCounts_;
    std::vector<Tile> tiles_;
    std::vector<PairRun> runs_;
    std::vector<std::uint16_t> slotPoints_;
    std::vector<float> slotMaps_;
    std::vector<std::uint16_t> pairSlots_;
    std::vector<float> pairWeights_;
    std::vector<float> pairBasis_;
};

} // namespace talvisora
