// SPDX-License-Identifier: Apache-2.0
// Block products are looked at in the range of blocks that both sides visit: up to the last block that weighs
// more than a thousandth on the point, from the last one that takes it over wholly.
#include "host/compare/meant_differences.h"

#include <algorithm>

namespace talvisora::host {

namespace {

constexpr float kCardThreshold = 0.001f;
constexpr double kProcessorThreshold = 1e-5;
constexpr float kWhole = 0.999f, kWholeEnvelope = 0.99999f;

template <class Class>
std::shared_ptr<Class> entry(const ValueMap& values, const std::string& key) {
    const auto found = values.find(key);
    return found == values.end() ? nullptr : castTo<Class>(found->second);
}

struct Block {
    float env = 1.0f;
    std::vector<float> weights; // one per point
};

std::vector<Block> readBlocks(const ValueMap& attributes, std::size_t points) {
    std::vector<Block> blocks;
    const auto compound = entry<GrCompound>(attributes, "talvisora__block");
    if (!compound) return blocks;
    for (const ValueMap& children : compound->values) {
        Block& block = blocks.emplace_back();
        block.weights.assign(points, 1.0f);
        if (const auto env = entry<GrFloat>(children, "talvisora__env")) block.env = env->value;
        if (const auto weights = entry<GrFloat>(children, "talvisora__blockWeights"))
            densify(weights->indices, weights->values, points, block.weights.data());
    }
    return blocks;
}

bool isAtThreshold(const std::vector<Block>& blocks, std::size_t point, float envelope) {
    std::size_t start = 0, end = 0;
    for (std::size_t b = blocks.size(); b-- > 0;) {
        const float weight = blocks[b].weights[point];
        if (end == 0 && weight > kCardThreshold) end = b + 1;
        if (start == 0 && weight > kWhole && blocks[b].env > kWholeEnvelope) start = b;
    }
    for (std::size_t b = start; b < end; ++b) {
        const double product = static_cast<double>(blocks[b].weights[point]) * blocks[b].env * envelope;
        // A little beyond the threshold: single precision may round the product to either side of it.
        if (product > 0.0 && product < kCardThreshold * 1.00001) return true;
    }
    return false;
}

} // namespace

MeantDifferences meantDifferences(const ValueMap& attributes, const DeformRecord& record) {
    MeantDifferences meant;
    const std::size_t points = record.points.size();
    const auto envelopeValue = entry<GrFloat>(attributes, "ENVELOPE");
    const float envelope = envelopeValue ? envelopeValue->value : 1.0f;
    const auto arrays = entry<GrBoolean>(attributes, "SOA_ENABLED");
    if (envelope < kProcessorThreshold)
        meant.evaluation.push_back("the envelope is below 0.00001: the CPU leaves all points as they are");
    if (record.active == 0)
        meant.evaluation.push_back("the record is not active: the CPU leaves all points as they are");
    if (arrays && arrays->value)
        meant.evaluation.push_back("SOA_ENABLED is set: the CPU leaves the points to the host");

    const std::vector<Block> blocks = readBlocks(attributes, points);
    meant.points.assign(points, !meant.evaluation.empty());
    for (std::size_t i = 0; i < points; ++i) {
        const float weight = i < record.weights.size() ? record.weights[i] : 1.0f;
        const bool weighted = weight != 0.0f && weight != 1.0f;
        const bool threshold = isAtThreshold(blocks, i, envelope);
        meant.weighted += weighted;
        meant.threshold += threshold;
        if (weighted || threshold) meant.points[i] = true;
    }
    return meant;
}

} // namespace talvisora::host
