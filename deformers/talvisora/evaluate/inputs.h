// SPDX-License-Identifier: Apache-2.0
// What one evaluation is given, read in a fixed order and checked once: run settings, point count, node
// attributes, the shared hierarchy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fault.h"
#include "gr_data.h"
#include "gr_node.h"
#include "hierarchy.h"
#include "kernels/records.h"

namespace talvisora {

struct RunSettings {
    std::int32_t debugMode = 0;
    bool carryTangents = false; ///< TANGENT_TURN is there and not 0; see tangentTurn
    bool cacheAttributes = false;
    float envelope = 0.0f;
    bool soaEnabled = false;
};

/// The node's attributes; no pointer is empty after a read without fault.
struct NodeAttributes {
    std::shared_ptr<GrString> hierarchyName;
    std::shared_ptr<GrMatrix> geoMatrix;
    std::shared_ptr<GrFloat> tempWeights; ///< checked, not used
    std::shared_ptr<GrFloat> weightMaps[kWeightMapCount];
    std::shared_ptr<GrCompound> blocks;
};

/// DEBUG_MODE, TANGENT_TURN, CACHE_ATTRIBUTES, ENVELOPE.
Fault readRunSettings(const ValueMap& attributes, RunSettings& settings);

/// SOA_ENABLED, which only the CPU path knows.
Fault readSoaEnabled(const ValueMap& attributes, RunSettings& settings);

/// The number of points to cache for: the record's, or the shared count when points are laid out elsewhere.
/// Looks "SOA_POINTS" up with insert-if-absent either way.
Fault readPointCount(ValueMap& sharedInputs, const RunSettings& settings, const DeformRecord& record,
                     std::size_t& pointCount);

/// Whether an envelope is too small to deform anything; not a number counts as too small.
bool envelopeIsOff(float envelope);

/// Hierarchy name, geometry matrix, seven weight maps, blocks.
Fault readNodeAttributes(const ValueMap& attributes, NodeAttributes& values);

/// The joint table that the node's hierarchy name stands for.
Fault readHierarchy(const ValueMap& sharedInputs, const NodeAttributes& values,
                    std::shared_ptr<GrHierarchy>& hierarchy);

} // namespace talvisora
