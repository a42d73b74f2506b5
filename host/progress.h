// SPDX-License-Identifier: Apache-2.0
// A one-line progress bar with rate and time left, for people only: it appears on standard error when that is
// a terminal and quiet was not asked for; otherwise not a byte is written.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>

namespace talvisora::host {

/// Progress of one piece of work. Threads: one object, one thread.
class Progress {
public:
    /// When the bar is shown: as the terminal decides, or (for tests) always.
    enum class Show { kOnTerminal, kAlways };

    /// label  what is being done, e.g. "frames"; total  how many steps make it whole (0: an empty bar, at
    /// once full)
    Progress(std::string label, std::size_t total, bool quiet, std::FILE* stream = stderr,
             Show show = Show::kOnTerminal);
    /// Leaves the terminal with a finished line, also when an exception passes.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `steps` more are done. Draws at most ten times a second.
    void advance(std::size_t steps = 1);
    /// Draws the last state and ends the line; afterwards nothing more is drawn. Calling it again is
    /// harmless.
    void finish();
    bool shown() const { return shown_; }

private:
    using Clock = std::chrono::steady_clock;
    void draw(Clock::time_point now);

    std::string label_;
    std::size_t total_, done_ = 0;
    std::FILE* stream_;
    bool shown_, finished_ = false;
    Clock::time_point started_, drawn_{};
};

} // namespace talvisora::host
