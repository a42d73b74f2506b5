// SPDX-License-Identifier: Apache-2.0
// Points chosen on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

/// "0-99,120": the points of a text, ascending, each once. HostError kUsage, "--select TEXT: …": text that
/// cannot be read, a range that runs downwards, a point that is not below `points`.
std::vector<std::uint32_t> parsePoints(const std::string& text, std::size_t points);

} // namespace talvisora::host
