// SPDX-License-Identifier: Apache-2.0
// The compact list of (block, point) pairs that can act: per tile of points, sorted by block and knot span,
// with the pairs' block weights and cached basis values. It turns a scan of block-major arrays into short
// runs that share a span, which is what lets points stand in lanes. Static while the per-point cache is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace talvisora {

struct PointStage;

/// Lives on the node between evaluations. Memory: about 26 bytes per pair and 4 per point that has one.
class ActivePairs {
public:
    static constexpr int kTilePoints = 512;

    /// Pairs of one tile that share block and knot span. They are pairs [firstPair, firstPair + count). A
    /// contiguous run's pairs own the slots from firstSlot on, one after the other; the pairs of the others
    /// name their slots one by one.
    struct Run {
        std::int32_t block;
        std::int32_t span;
        std::uint32_t firstPair;
        std::uint16_t count;
        std::uint16_t firstSlot;
        std::uint8_t contiguous;
    };

    struct Tile {
        std::uint32_t firstRun;
        std::uint32_t runCount;
        std::size_t firstPoint; ///< into slotPoint(): which point of the tile a slot stands for
        std::uint32_t slotCount;
        std::size_t firstPair;
    };

    /// Forgets everything; the next evaluation builds the list anew.
    void invalidate() { valid_ = false; }

    /// Builds the list unless it fits the stage: same N, same B, same control-point count of every block.
    /// With an exception the list stays invalid.
    void update(const PointStage& stage);

    bool valid() const { return valid_; }
    std::size_t pairCount() const { return slots_.size(); }

    const std::vector<Tile>& tiles() const { return tiles_; }
    const std::vector<Run>& runs() const { return runs_; }
    const std::vector<std::uint16_t>& slots() const { return slots_; }
    const std::vector<std::uint16_t>& slotPoints() const { return slotPoints_; }
    const std::vector<float>& weights() const { return weights_; } ///< block weight of each pair
    const std::vector<float>& basis() const { return basis_; }     ///< four values per pair, see kernels
    bool weightMapsAreOne() const { return weightMapsAreOne_; }

private:
    bool fits(const PointStage& stage) const;
    void build(const PointStage& stage);

    bool valid_ = false;
    bool weightMapsAreOne_ = false;
    std::size_t pointCount_ = 0;
    std::vector<std::int32_t> controlPointCounts_;
    std::vector<Tile> tiles_;
    std::vector<Run> runs_;
    std::vector<std::uint16_t> slots_;
    std::vector<std::uint16_t> slotPoints_;
    std::vector<float> weights_;
    std::vector<float> basis_;
};

} // namespace talvisora
