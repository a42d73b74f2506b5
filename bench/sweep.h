// SPDX-License-Identifier: Apache-2.0
// How time grows with points, blocks, tweaks and threads: one row for each combination.
#pragma once

#include <cstddef>
#include <vector>

namespace talvisora::bench {

struct SweepOptions {
    std::vector<std::size_t> points = {10000, 100000, 1000000};
    std::vector<int> blocks = {1, 20};
    int rounds = 7;
    bool json = false;
};

/// Prints the rows while they come.
void runSweep(const SweepOptions& options);

} // namespace talvisora::bench
