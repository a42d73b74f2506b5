// SPDX-License-Identifier: Apache-2.0
// The measures that the deformer is held to: each a ratio of two timings of the same run, with the figure
// that it must reach and the one that it aims at.
#pragma once

#include <string>
#include <vector>

#include "bench/rounds.h"

namespace talvisora::bench {

struct GoalOptions {
    int rounds = 9;
    std::vector<std::string> groups = {"one", "twenty", "threads", "small"};
    std::size_t points = 1000000; ///< of the large meshes
    bool json = false;
};

/// Whether this machine has a variant that the measures speak of.
bool canRunGoals();

/// Prints all timings and measures, if canRunGoals(). Returns whether every measure reached its figure.
bool runGoals(const GoalOptions& options);

} // namespace talvisora::bench
