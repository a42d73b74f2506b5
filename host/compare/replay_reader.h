// SPDX-License-Identifier: Apache-2.0
// Reads back what a replay printed: per call its status, its messages and its points.
#pragma once

#include "host/capture/json_tree.h"
#include "host/session.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// One call of a replay's answer.
struct ReplayedCall {
    std::string call;
    bool unavailable = false;
    std::optional<std::int32_t> status;
    std::optional<std::string> threw;
    std::optional<std::string> deviceFault; ///< what the host could not do on the device
    std::vector<ShownMessage> messages;
    std::optional<std::vector<Vec3d>> points; ///< of evaluations
};

/// From the answer's document; what else stands in a call is not looked at. Throws HostError kInput with the
/// JSON pointer of what is wrong.
std::vector<ReplayedCall> readReplay(const JsonValue& document);

} // namespace talvisora::host
