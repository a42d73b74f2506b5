// SPDX-License-Identifier: Apache-2.0
#include "host/capture/capture.h"

#include "command.h"

namespace talvisora::host {

namespace {

void* address(PointerTarget target, const PointerTargets& targets) {
    switch (target) {
    case PointerTarget::kNull:
        return nullptr;
    case PointerTarget::kRecord:
        return targets.record;
    case PointerTarget::kAttributes:
        return targets.attributes;
    case PointerTarget::kNode:
        return targets.node;
    case PointerTarget::kOtherNode:
        return targets.otherNode;
    case PointerTarget::kContext:
        return targets.context;
    }
    return nullptr;
}

} // namespace

void bindPointers(const ValueMap& values, const PointerTargets& targets) {
    for (const auto& entry : values) {
        if (const auto pointer = castTo<CapturedPtr>(entry.second)) {
            pointer->value = address(pointer->target, targets);
        } else if (const auto compound = castTo<GrCompound>(entry.second)) {
            for (const ValueMap& children : compound->values) bindPointers(children, targets);
        }
    }
}

void RecordEntries::applyTo(DeformRecord& record) const {
    if (active) record.active = *active;
    if (points) record.points = *points;
    if (matrix) record.matrix = *matrix;
    if (weights) record.weights = *weights;
}

const std::vector<std::string>& contextKeys() {
    static const std::vector<std::string> keys = {key::kHelp,          key::kNodeName,
                                                  key::kNode,          key::kGetAttributes,
                                                  key::kRunAttributes, key::kDeformAttributes};
    return keys;
}

} // namespace talvisora::host
