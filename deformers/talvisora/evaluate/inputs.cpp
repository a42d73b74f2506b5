// SPDX-License-Identifier: Apache-2.0
// The order of the reads is the order of the messages: whatever is wrong first is what the user hears of.
#include "evaluate/inputs.h"

#include "attributes.h"
#include "node/attribute_names.h"
#include "node/messages.h"

namespace talvisora {

Fault readRunSettings(const ValueMap& attributes, RunSettings& settings) {
    std::shared_ptr<GrInt> debugMode, tangentTurn;
    std::shared_ptr<GrBoolean> cacheAttributes;
    std::shared_ptr<GrFloat> envelope;
    if (Fault fault = getOptional(attributes, setting::kDebugMode, debugMode)) return fault;
    if (Fault fault = getOptional(attributes, setting::kTangentTurn, tangentTurn)) return fault;
    if (Fault fault = getRequired(attributes, setting::kCacheAttributes, cacheAttributes)) return fault;
    if (Fault fault = getRequired(attributes, setting::kEnvelope, envelope)) return fault;
    settings.debugMode = debugMode ? debugMode->value : 0;
    settings.carryTangents = tangentTurn && tangentTurn->value != 0;
    settings.cacheAttributes = cacheAttributes->value;
    settings.envelope = envelope->value;
    return {};
}

Fault readSoaEnabled(const ValueMap& attributes, RunSettings& settings) {
    std::shared_ptr<GrBoolean> soaEnabled;
    if (Fault fault = getRequired(attributes, setting::kSoaEnabled, soaEnabled)) return fault;
    settings.soaEnabled = soaEnabled->value;
    return {};
}

Fault readPointCount(ValueMap& sharedInputs, const RunSettings& settings, const DeformRecord& record,
                     std::size_t& pointCount) {
    pointCount = record.points.size();
    // Kept on purpose: the look-up leaves an empty entry behind, whether or not the count is wanted.
    const std::shared_ptr<GrData>& entry = sharedInputs[setting::kSoaPoints];
    if (!settings.soaEnabled) return {};
    if (!entry) return soaPointsAbsent(setting::kSoaPoints);
    const auto count = castTo<GrInt>(entry);
    if (!count || count->value < 0) return soaPointsInvalid(setting::kSoaPoints);
    pointCount = static_cast<std::size_t>(count->value);
    return {};
}

bool envelopeIsOff(float envelope) {
    // The limit is the single-precision number, so that an envelope typed as 0.00001 still deforms.
    return !(static_cast<double>(envelope) >= static_cast<double>(0.00001f));
}

Fault readNodeAttributes(const ValueMap& attributes, NodeAttributes& values) {
    if (Fault fault = getRequired(attributes, attribute::kHierarchyName, values.hierarchyName)) return fault;
    if (Fault fault = getRequired(attributes, attribute::kGeoMatrix, values.geoMatrix)) return fault;
    if (Fault fault = getRequired(attributes, attribute::kTempWeights, values.tempWeights)) return fault;
    for (int m = 0; m < kWeightMapCount; ++m)
        if (Fault fault = getRequired(attributes, attribute::kWeightMaps[m], values.weightMaps[m]))
            return fault;
    return getRequired(attributes, attribute::kBlock, values.blocks);
}

Fault readHierarchy(const ValueMap& sharedInputs, const NodeAttributes& values,
                    std::shared_ptr<GrHierarchy>& hierarchy) {
    return getSharedHierarchy(sharedInputs, values.hierarchyName->value, line::kSharedHierarchy, hierarchy);
}

} // namespace talvisora
