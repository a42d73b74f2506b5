// SPDX-License-Identifier: Apache-2.0
// The two resets beside what they consist of and beside their yardsticks.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/rounds.h"

namespace talvisora::bench {

/// A ratio of two timings of the same rounds.
struct ResetMeasure {
    std::string what;
    double ratio;
    double figure = 0.0;  ///< that it must reach; 0: none is set
    bool atLeast = false; ///< the larger the better

    bool meets() const { return figure == 0.0 || (atLeast ? ratio >= figure : ratio <= figure); }
};

struct ResetResults {
    std::vector<std::string> texts; ///< one line per timing
    std::vector<ResetMeasure> measures;
    bool answersAgree = true; ///< of all searches for nearest samples
};

/// Times everything on a tube of about `points` vertices.
ResetResults timeResets(std::size_t points, int rounds);

} // namespace talvisora::bench
