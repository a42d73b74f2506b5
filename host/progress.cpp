// SPDX-License-Identifier: Apache-2.0
// The line is drawn over itself with a carriage return; what an earlier, longer state left is overwritten
// with spaces. No colours and no cursor control, so that it works on every terminal.
#include "host/progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace talvisora::host {

namespace {

constexpr int kBarWidth = 24;
constexpr std::size_t kLineWidth = 78;

bool isTerminal(std::FILE* stream) {
#ifdef _WIN32
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

std::string clockTime(double seconds) {
    const long whole = static_cast<long>(std::min(std::ceil(seconds), 359999.0));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

} // namespace

Progress::Progress(std::string label, std::size_t total, bool quiet, std::FILE* stream, Show show)
    : label_(std::move(label)),
      total_(total),
      stream_(stream),
      shown_(!quiet && stream != nullptr && (show == Show::kAlways || isTerminal(stream))),
      started_(Clock::now()) {
    if (shown_) draw(started_);
}

Progress::~Progress() {
    finish();
}

void Progress::advance(std::size_t steps) {
    done_ = steps > total_ - done_ ? total_ : done_ + steps;
    if (!shown_ || finished_) return;
    const Clock::time_point now = Clock::now();
    if (now - drawn_ >= std::chrono::milliseconds(100)) draw(now);
}

void Progress::finish() {
    if (!shown_ || finished_) return;
    draw(Clock::now());
    finished_ = true;
    std::fputc('\n', stream_);
    std::fflush(stream_);
}

void Progress::draw(Clock::time_point now) {
    drawn_ = now;
    const double share = total_ == 0 ? 1.0 : static_cast<double>(done_) / static_cast<double>(total_);
    const int full = static_cast<int>(share * kBarWidth);
    std::string line = label_ + " [" + std::string(static_cast<std::size_t>(full), '#') +
                       std::string(static_cast<std::size_t>(kBarWidth - full), '.') + "] " +
                       std::to_string(done_) + "/" + std::to_string(total_);
    const double elapsed = std::chrono::duration<double>(now - started_).count();
    if (done_ > 0 && elapsed > 0.0) {
        const double rate = static_cast<double>(done_) / elapsed;
        char text[48];
        std::snprintf(text, sizeof text, "  %.3g/s  ", rate);
        line += text;
        line += done_ < total_ ? clockTime(static_cast<double>(total_ - done_) / rate) + " left"
                               : "in " + clockTime(elapsed);
    }
    line.resize(std::max(line.size(), kLineWidth), ' ');
    std::fputc('\r', stream_);
    std::fwrite(line.data(), 1, line.size(), stream_);
    std::fflush(stream_);
}

} // namespace talvisora::host
