// SPDX-License-Identifier: Apache-2.0
// The front door: the exported functions and the node's operations, each a call into a room. Exceptions end
// here.
#include <new>

#include "command.h"
#include "commands/commands.h"
#include "evaluate/cpu_driver.h"
#include "evaluate/gpu_driver.h"
#include "node/my_node.h"
#include "node/schema.h"

using namespace talvisora;

/// A new node, owned by the caller and deleted through its virtual destructor; null when there is no memory.
TALVISORA_EXPORT MyNode* create() {
    try {
        return new (std::nothrow) MyNode;
    } catch (...) {
        return nullptr;
    }
}

TALVISORA_EXPORT int help(ValueMap& arguments) {
    return runCommand(arguments, [](const CommandContext& context) {
        context.arguments[key::kOutput] =
            makeText("Commands: checkFloatingPoints, resetWeights, resetParams");
        return 0;
    });
}

TALVISORA_EXPORT int checkFloatingPoints(ValueMap& arguments) {
    return runCommand(arguments, checkFloatingPointsBody);
}

TALVISORA_EXPORT int resetParams(ValueMap& arguments) {
    return runCommand(arguments, resetParamsBody);
}

TALVISORA_EXPORT int resetWeights(ValueMap& arguments) {
    return runCommand(arguments, resetWeightsBody);
}

void MyNode::declareAttributes(std::vector<AttributeDescriptor>& attributes) {
    guarded(*this, [&] {
        appendSchema(attributes);
        return 0;
    });
}

int MyNode::deformCpu(ValueMap& attributes, DeformRecord& record) {
    return guarded(*this, [&] { return deformOnCpu(*this, attributes, record); });
}

void MyNode::idleHook() {}

int MyNode::deformGpu(ValueMap& attributes, GpuDeformData& data) {
    return guarded(*this, [&] { return deformOnGpu(*this, attributes, data); });
}

void MyNode::releaseGpu() {
    guarded(*this, [&] {
        releaseDevice(*this);
        return 0;
    });
}
