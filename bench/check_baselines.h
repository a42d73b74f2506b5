// SPDX-License-Identifier: Apache-2.0
// Whether the yardsticks do what they are timed for: one that is fast because it leaves something out would
// flatter nobody.
#pragma once

#include <string>

namespace talvisora::bench {

/// Compares every blend of this machine with the plainest way to write it, and changes each stream of the
/// byte-moving loop to see that it counts. A sentence about the first that is wrong, or an empty text.
std::string wrongBaseline();

} // namespace talvisora::bench
