// SPDX-License-Identifier: Apache-2.0
// Rebuild of the per-point cache: ranges, weights and parameters from the last block down, then tweak records
// and weight maps.
#include "evaluate/point_cache.h"

#include <algorithm>
#include <memory>

#include "attributes.h"
#include "node/attribute_names.h"
#include "node/messages.h"

namespace talvisora {
namespace {

/// The block's envelope, dense weights and params; the ranges of its points.
Fault cacheBlock(const ValueMap& element, int b, std::size_t pointCount, PointCache& cache) {
    std::shared_ptr<GrFloat> weights, params, env;
    if (Fault fault = getRequired(element, attribute::kBlockWeights, weights)) return fault;
    if (Fault fault = getRequired(element, attribute::kParams, params)) return fault;
    if (Fault fault = getRequired(element, attribute::kEnv, env)) return fault;
    if (params->values.size() != pointCount) return paramsCountDiffers(b);
    if (pointCount == 0) return {};
    float* row = &cache.blockWeights[pointSlot(b, pointCount, 0)];
    densifyRow(*weights, pointCount, row);
    std::copy(params->values.begin(), params->values.end(), &cache.params[pointSlot(b, pointCount, 0)]);
    extendOrders(b, env->value, row, pointCount, cache.ordersStart.data(), cache.ordersEnd.data());
    return {};
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

bool isDense(const std::vector<std::int32_t>& indices) {
    // No early exit: the plain loop over whole vectors is faster than one that looks for the first gap.
    std::int32_t gaps = 0;
    for (std::size_t k = 0; k < indices.size(); ++k) gaps |= indices[k] ^ static_cast<std::int32_t>(k);
    return gaps == 0;
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
        if (weights[i] > kTouchingWeight && ordersEnd[i] == 0) ordersEnd[i] = b + 1;
        if (covers && weights[i] > kCoveringWeight && ordersStart[i] < b) ordersStart[i] = b;
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
    cache.shape.valid = false;
    cache.activePairs.invalidate();

    // A shared count of billions that no list backs ends in a message anyway; do not fill memory for it
    // first.
    const std::size_t rows = countIsHollow(*values.blocks, pointCount, recordPoints) ? 0 : pointCount;
    cache.ordersStart.assign(rows, 0);
    cache.ordersEnd.assign(rows, 0);
    cache.blockWeights.assign(blockCount * rows, 1.0f);
    cache.params.assign(blockCount * rows, 0.0f);
    cache.tweaks.assign(blockCount * MAX_CV_MATRICES, Tweak{});

    for (std::size_t b = blockCount; b-- > 0;)
        if (Fault fault = cacheBlock(blocks[b], static_cast<int>(b), pointCount, cache)) return fault;
    for (std::size_t b = 0; b < blockCount; ++b)
        if (Fault fault = cacheTweaks(blocks[b], static_cast<int>(b), cache.tweaks)) return fault;

    cache.weightMaps.assign(kWeightMapCount * pointCount, 1.0f);
    if (pointCount > 0)
        for (int m = 0; m < kWeightMapCount; ++m)
            densifyRow(*values.weightMaps[m], pointCount, &cache.weightMaps[mapSlot(m, pointCount, 0)]);

    cache.shape = {pointCount, static_cast<std::int32_t>(blockCount), true};
    return {};
}

} // namespace talvisora
