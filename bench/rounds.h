// SPDX-License-Identifier: Apache-2.0
// Interleaved timing: in every round each candidate runs once, so that whatever else the machine does strikes
// all of them alike. Ratios are formed inside a round and their median is the answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace talvisora::bench {

/// Processor time for one thread (it does not count what else the machine does), wall time for several.
enum class Clock { kProcess, kWall };

struct Candidate {
    std::string name;
    std::function<void()> prepare; ///< not timed: puts the input back
    std::function<void()> run;
    std::size_t points;
    Clock clock = Clock::kProcess;
    std::vector<double> seconds;           ///< one per round
    std::function<std::uint64_t()> hashOf; ///< of the result; empty when it has none
    std::uint64_t hash = 0;
    std::function<void()> justBefore; ///< not timed: after the caches were cooled; may be empty
};

/// A list of candidates and their times. Caches are cooled before every call, as they are when a frame of an
/// animation comes round.
class Rounds {
public:
    std::size_t add(std::string name, std::size_t points, std::function<void()> prepare,
                    std::function<void()> run, Clock clock = Clock::kProcess,
                    std::function<std::uint64_t()> hashOf = {});
    /// One round that does not count, then `count` more.
    void run(int count);

    std::vector<Candidate>& candidates() { return candidates_; }
    double nanoseconds(std::size_t candidate) const;             ///< per point, median
    double microseconds(std::size_t candidate) const;            ///< per call, median
    double ratio(std::size_t candidate, std::size_t over) const; ///< median of the rounds' ratios

private:
    std::vector<Candidate> candidates_;
};

} // namespace talvisora::bench
