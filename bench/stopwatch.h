// SPDX-License-Identifier: Apache-2.0
// Time of one call: processor time where one thread works (it does not count what else the machine does),
// wall time where several do.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

#if defined(__unix__)
#include <time.h>
#endif

namespace talvisora::bench {

inline double wallSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

inline double processSeconds() {
#if defined(__unix__)
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
#else
    return wallSeconds();
#endif
}

inline double median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace talvisora::bench
