// SPDX-License-Identifier: Apache-2.0
// The rounds themselves.
#include "bench/rounds.h"

#include "bench/stopwatch.h"

namespace talvisora::bench {

namespace {

/// Reads a buffer larger than the last-level cache.
void coolCaches() {
    static const std::vector<char> buffer(96u << 20, 1);
    static volatile long sink = 0;
    long sum = 0;
    for (std::size_t i = 0; i < buffer.size(); i += 64) sum += buffer[i];
    sink = sink + sum;
}

double now(Clock clock) {
    return clock == Clock::kProcess ? processSeconds() : wallSeconds();
}

} // namespace

std::size_t Rounds::add(std::string name, std::size_t points, std::function<void()> prepare,
                        std::function<void()> run, Clock clock, std::function<std::uint64_t()> hashOf) {
    candidates_.push_back(
        {std::move(name), std::move(prepare), std::move(run), points, clock, {}, std::move(hashOf), 0, {}});
    return candidates_.size() - 1;
}

void Rounds::run(int count) {
    for (int round = 0; round <= count; ++round)
        for (Candidate& candidate : candidates_) {
            candidate.prepare();
            coolCaches();
            if (candidate.justBefore) candidate.justBefore();
            const double start = now(candidate.clock);
            candidate.run();
            const double end = now(candidate.clock);
            if (round > 0) candidate.seconds.push_back(end - start);
            if (round == 0 && candidate.hashOf) candidate.hash = candidate.hashOf();
        }
}

double Rounds::microseconds(std::size_t candidate) const {
    return 1e6 * median(candidates_[candidate].seconds);
}

double Rounds::nanoseconds(std::size_t candidate) const {
    return 1e3 * microseconds(candidate) / static_cast<double>(candidates_[candidate].points);
}

double Rounds::ratio(std::size_t candidate, std::size_t over) const {
    const std::vector<double>&a = candidates_[candidate].seconds, &b = candidates_[over].seconds;
    std::vector<double> ratios;
    for (std::size_t r = 0; r < a.size(); ++r) ratios.push_back(a[r] / b[r]);
    return median(ratios);
}

} // namespace talvisora::bench
