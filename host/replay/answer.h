// SPDX-License-Identifier: Apache-2.0
// The parts of a replay's answer that are more than a number: descriptor trees, messages, written values.
#pragma once

#include "attribute_descriptor.h"
#include "gr_data.h"
#include "host/capture/json_writer.h"
#include "host/replay/replay_scene.h"
#include "host/session.h"

#include <vector>

namespace talvisora::host {

void writeMessages(JsonWriter& json, const std::vector<ShownMessage>& messages);

/// A descriptor tree: code of the class, names, flags, defaults, bounds (null without one), children.
void writeDescriptors(JsonWriter& json, const std::vector<AttributeDescriptor>& descriptors);

/// {"GrInt": {"value": 0, "values": [3, 4]}}: scalar and, where the class has one and it is filled (always
/// for whole numbers), the list. Classes that no command answers with are written by name with null.
void writeOutput(JsonWriter& json, const GrData& data);

/// Into an open object: "commands", the script lines, and "written", {"block[0].params": {"indices": [0],
/// "values": [0.25]}} per array.
void writeChange(JsonWriter& json, const SceneChange& change);

} // namespace talvisora::host
