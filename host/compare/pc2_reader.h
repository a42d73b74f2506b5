// SPDX-License-Identifier: Apache-2.0
// Reads Point Cache 2 files back, frame by frame. Nothing that the file claims is believed before its size
// says the same.
#pragma once

#include "maths/vec3.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace talvisora::host {

/// Failures are HostError kInput with one line that begins with the path. Threads: one object, one thread.
class Pc2Reader {
public:
    /// Opens the file and reads its header: it must be version 1, and the file exactly as long as its
    /// points and frames need.
    explicit Pc2Reader(std::string path);

    std::uint32_t pointCount() const { return points_; }
    std::uint32_t frameCount() const { return frames_; }
    /// Number of frame `k` (from 0): the start frame and the step of the header, rounded.
    int frameNumber(std::uint32_t k) const;

    /// The next frame's points, as the file has them; also those that are not finite. At most frameCount()
    /// calls.
    void readFrame(std::vector<Vec3d>& points);

private:
    std::string path_;
    std::ifstream file_;
    std::uint32_t points_ = 0, frames_ = 0, read_ = 0;
    float start_ = 0.0f, step_ = 1.0f;
    std::vector<char> bytes_; // one frame, reused
};

} // namespace talvisora::host
