// SPDX-License-Identifier: Apache-2.0
// Rebuild of the per-point cache: weights, parameters and ranges, then tweak records and weight maps. Without
// caching this runs at every evaluation, mostly to find that nothing has changed; then the list of pairs
// stays too.
#include "evaluate/point_cache.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "attributes.h"
#include "node/attribute_names.h"
#include "node/messages.h"

namespace talvisora {
namespace {

bool isDense(const std::vector<std::int32_t>& indices) {
    // No early exit: the plain loop over whole vectors is faster than one that looks for the first gap.
    std::int32_t gaps = 0;
    for (std::size_t k = 0; k < indices.size(); ++k) gaps |= indices[k] ^ static_cast<std::int32_t>(k);
    return gaps == 0;
}

/// A row with the list's values, 1 where it has none.
void setRow(const GrFloat& list, std::size_t count, float* row) {
    std::fill(row, row + count, 1.0f);
    densifyRow(list, count, row);
}

/// What a block brings to the per-point cache, checked.
struct BlockLists {
    std::shared_ptr<GrFloat> weights, params;
    float env = 0.0f;
    bool dense = false; ///< the weights are a whole row in order: to be copied as they stand
};

Fault readBlockLists(const ValueMap& element, int b, std::size_t pointCount, BlockLists& lists) {
    std::shared_ptr<GrFloat> env;
    if (Fault fault = getRequired(element, attribute::kBlockWeights, lists.weights)) return fault;
    if (Fault fault = getRequired(element, attribute::kParams, lists.params)) return fault;
    if (Fault fault = getRequired(element, attribute::kEnv, env)) return fault;
    if (lists.params->values.size() != pointCount) return paramsCountDiffers(b);
    lists.env = env->value;
    return {};
}

/// After a fault in one block the caches hold what the blocks above it brought, over their defaults.
Fault cacheUpToFault(const std::vector<ValueMap>& blocks, std::size_t rows, std::size_t pointCount,
                     PointCache& cache) {
    cache.activePairs.invalidate();
    cache.ordersStart.assign(rows, 0);
    cache.ordersEnd.assign(rows, 0);
    cache.blockWeights.assign(blocks.size() * rows, 1.0f);
    cache.params.assign(blocks.size() * rows, 0.0f);
    for (std::size_t b = blocks.size(); b-- > 0;) {
        BlockLists lists;
        const int block = static_cast<int>(b);
        if (Fault fault = readBlockLists(blocks[b], block, pointCount, lists)) return fault;
        if (pointCount == 0) continue;
        float* row = &cache.blockWeights[pointSlot(block, pointCount, 0)];
        setRow(*lists.weights, pointCount, row);
        std::copy(lists.params->values.begin(), lists.params->values.end(),
                  &cache.params[pointSlot(block, pointCount, 0)]);
        extendOrders(block, lists.env, row, pointCount, cache.ordersStart.data(), cache.ordersEnd.data());
    }
    return {};
}

/// Copies what differs; whether anything did. Comparing reads less than copying writes, and whatever did not
/// change need not be worked out again.
bool takeOver(const float* from, std::size_t count, float* to) {
    if (std::memcmp(from, to, count * sizeof(float)) == 0) return false;
    std::memcpy(to, from, count * sizeof(float));
    return true;
}

/// Points of a chunk: its ranges stay at hand while all blocks go over them.
constexpr std::size_t kChunk = 4096;

/// Brings the rows of weights and params up to the lists, and the ranges of chunks in which weights changed.
/// With `all` every range is worked out. Returns whether anything changed; listed pairs of what did are
/// stale.
bool cacheRows(const std::vector<BlockLists>& blocks, std::size_t pointCount, bool all, PointCache& cache) {
    std::vector<float> spread;
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        if (blocks[b].dense) continue;
        spread.resize(pointCount);
        setRow(*blocks[b].weights, pointCount, spread.data());
        all |= takeOver(spread.data(), pointCount,
                        &cache.blockWeights[pointSlot(static_cast<int>(b), pointCount, 0)]);
    }
    const std::size_t chunks = (pointCount + kChunk - 1) / kChunk;
    std::vector<unsigned char>& changed = cache.shape.changedChunks;
    changed.assign(chunks, 0);
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, chunks, 1), [&](const tbb::blocked_range<std::size_t>& range) {
            for (std::size_t c = range.begin(); c != range.end(); ++c) {
                const std::size_t first = c * kChunk, count = std::min(kChunk, pointCount - first);
                bool weightsDiffer = all, paramsDiffer = false;
                for (std::size_t b = 0; b < blocks.size(); ++b) {
                    const std::size_t row = pointSlot(static_cast<int>(b), pointCount, first);
                    if (blocks[b].dense)
                        weightsDiffer |= takeOver(blocks[b].weights->values.data() + first, count,
                                                  &cache.blockWeights[row]);
                    paramsDiffer |=
                        takeOver(blocks[b].params->values.data() + first, count, &cache.params[row]);
                }
                changed[c] = weightsDiffer || paramsDiffer;
                if (!weightsDiffer) continue;
                std::fill_n(&cache.ordersStart[first], count, 0);
                std::fill_n(&cache.ordersEnd[first], count, 0);
                for (std::size_t b = blocks.size(); b-- > 0;)
                    extendOrders(static_cast<int>(b), blocks[b].env,
                                 &cache.blockWeights[pointSlot(static_cast<int>(b), pointCount, first)],
                                 count, &cache.ordersStart[first], &cache.ordersEnd[first]);
            }
        });
    if (all) cache.activePairs.invalidate();
    bool any = false;
    for (std::size_t c = 0; c < chunks; ++c) {
        if (!changed[c]) continue;
        any = true;
        cache.activePairs.invalidate(c * kChunk, kChunk);
    }
    return any;
}

/// Whether a list is a whole row in order: then it is copied as it stands.
bool isWholeRow(const GrFloat& list, std::size_t pointCount) {
    return list.values.size() == pointCount && list.indices.size() == pointCount && isDense(list.indices);
}

/// Whether the lists are whole rows in order.
void findDense(std::size_t pointCount, std::vector<BlockLists>& blocks) {
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, blocks.size(), 1),
                      [&](const tbb::blocked_range<std::size_t>& range) {
                          for (std::size_t b = range.begin(); b != range.end(); ++b)
                              blocks[b].dense = isWholeRow(*blocks[b].weights, pointCount);
                      });
}

/// A row of ones; whether it was another.
bool takeOverOnes(std::size_t count, float* to) {
    bool differs = false;
    for (std::size_t i = 0; i < count; ++i) differs |= to[i] != 1.0f;
    if (differs) std::fill_n(to, count, 1.0f);
    return differs;
}

/// One weight map; whether it changed. Mostly nobody has painted it, or somebody has painted all of it.
bool cacheMap(const GrFloat& list, std::size_t pointCount, float* row) {
    if (list.values.empty()) return takeOverOnes(pointCount, row);
    if (isWholeRow(list, pointCount)) return takeOver(list.values.data(), pointCount, row);
    std::vector<float> spread(pointCount);
    setRow(list, pointCount, spread.data());
    return takeOver(spread.data(), pointCount, row);
}

/// The weight maps; whether any changed.
bool cacheMaps(const NodeAttributes& values, std::size_t pointCount, PointCache& cache) {
    cache.weightMaps.resize(kWeightMapCount * pointCount);
    if (pointCount == 0) return false;
    std::atomic<bool> changed{false};
    tbb::parallel_for(0, kWeightMapCount, [&](int m) {
        if (cacheMap(*values.weightMaps[m], pointCount, &cache.weightMaps[mapSlot(m, pointCount, 0)]))
            changed.store(true, std::memory_order_relaxed);
    });
    return changed.load(std::memory_order_relaxed);
}

Fault readTweak(const ValueMap& element, Tweak& tweak) {
    // Tweak is fourteen floats in the order of the names.
    float* const fields[attribute::kTweakFieldCount] = {
        &tweak.collision,         &tweak.collisionPlane,    &tweak.bulge,
        &tweak.collisionBulge,    &tweak.centerIn,          &tweak.centerOut,
        &tweak.slidePrevIn,       &tweak.slideNextIn,       &tweak.slidePrevOut,
        &tweak.slideNextOut,      &tweak.slideOrthoPrevIn,  &tweak.slideOrthoNextIn,
        &tweak.slideOrthoPrevOut, &tweak.slideOrthoNextOut,
    };
    std::shared_ptr<GrFloat> value;
    for (int field = 0; field < attribute::kTweakFieldCount; ++field) {
        if (Fault fault = getRequired(element, attribute::kTweakFields[field], value)) return fault;
        *fields[field] = value->value;
    }
    return {};
}

/// Every entry is checked; only those with a place of their own are stored.
Fault cacheTweaks(const ValueMap& element, int b, std::vector<Tweak>& tweaks) {
    std::shared_ptr<GrCompound> entries;
    if (Fault fault = getRequired(element, attribute::kTweaks, entries)) return fault;
    const bool indexed = entries->indices.size() == entries->values.size();
    for (std::size_t entry = 0; entry < entries->values.size(); ++entry) {
        Tweak tweak;
        if (Fault fault = readTweak(entries->values[entry], tweak)) return fault;
        if (!indexed) continue;
        const std::int32_t index = entries->indices[entry];
        if (index >= 0 && index < MAX_CV_MATRICES) tweaks[slot(b, index)] = tweak;
    }
    return {};
}

/// Whether the first block to be visited already says that the count is wrong, and nothing else backs it.
bool countIsHollow(const GrCompound& blocks, std::size_t pointCount, std::size_t recordPoints) {
    if (pointCount <= recordPoints) return false;
    std::shared_ptr<GrFloat> params;
    const Fault fault = getRequired(blocks.values.back(), attribute::kParams, params);
    return fault || params->values.size() != pointCount;
}

} // namespace

void extendOrders(int b, float env, const float* weights, std::size_t pointCount, std::int32_t* ordersStart,
                  std::int32_t* ordersEnd) {
    const bool covers = env > kFullEnvelope;
    for (std::size_t i = 0; i < pointCount; ++i) {
        // Selections, not branches, so that several points go at once.
        const bool ends = (weights[i] > kTouchingWeight) & (ordersEnd[i] == 0);
        const bool starts = covers & (weights[i] > kCoveringWeight) & (ordersStart[i] < b);
        ordersEnd[i] = ends ? b + 1 : ordersEnd[i];
        ordersStart[i] = starts ? b : ordersStart[i];
    }
}

void densifyRow(const GrFloat& list, std::size_t count, float* row) {
    if (list.indices.size() == list.values.size() && list.values.size() <= count && isDense(list.indices))
        std::copy(list.values.begin(), list.values.end(), row);
    else
        densify(list.indices, list.values, count, row);
}

bool cacheFits(const MyNode& node, std::size_t pointCount) {
    return node.shape.valid && node.shape.pointCount == pointCount &&
           node.shape.blockCount == node.blockCount;
}

Fault rebuildPointCache(const NodeAttributes& values, std::size_t pointCount, std::size_t recordPoints,
                        PointCache cache) {
    const std::vector<ValueMap>& blocks = values.blocks->values;
    const std::size_t blockCount = blocks.size();
    // A shared count of billions that no list backs ends in a message anyway; do not fill memory for it
    // first.
    const std::size_t rows = countIsHollow(*values.blocks, pointCount, recordPoints) ? 0 : pointCount;
    CacheShape& shape = cache.shape;
    bool all = !shape.valid || shape.pointCount != pointCount ||
               shape.blockCount != static_cast<std::int32_t>(blockCount) || shape.covers.size() != blockCount;
    shape.valid = false;

    std::vector<BlockLists> lists(blockCount);
    for (std::size_t b = blockCount; b-- > 0;)
        if (Fault fault = readBlockLists(blocks[b], static_cast<int>(b), pointCount, lists[b]))
            return cacheUpToFault(blocks, rows, pointCount, cache);
    findDense(pointCount, lists);
    shape.covers.resize(blockCount);
    for (std::size_t b = 0; b < blockCount; ++b) {
        const unsigned char covers = lists[b].env > kFullEnvelope;
        all = all || shape.covers[b] != covers;
        shape.covers[b] = covers;
    }
    cache.ordersStart.resize(rows);
    cache.ordersEnd.resize(rows);
    cache.blockWeights.resize(blockCount * rows);
    cache.params.resize(blockCount * rows);
    shape.changed = cacheRows(lists, pointCount, all, cache) || all;

    cache.tweaks.assign(blockCount * MAX_CV_MATRICES, Tweak{});
    for (std::size_t b = 0; b < blockCount; ++b)
        if (Fault fault = cacheTweaks(blocks[b], static_cast<int>(b), cache.tweaks)) return fault;
    if (cacheMaps(values, pointCount, cache)) {
        shape.changed = true;
        cache.activePairs.invalidate();
    }

    shape.pointCount = pointCount;
    shape.blockCount = static_cast<std::int32_t>(blockCount);
    shape.valid = true;
    return {};
}

} // namespace talvisora
