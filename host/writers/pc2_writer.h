// SPDX-License-Identifier: Apache-2.0
// Point Cache 2, the plainest of the point caches: a header of 32 bytes ("POINTCACHE2\0", version 1, points,
// start frame, sample rate, samples), then every sample's points as little-endian float triples. Frames are
// streamed.
#pragma once

#include "host/writers/atomic_file.h"
#include "maths/vec3.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

/// Writes one .pc2 file frame by frame. Pass the points as the reading application counts them: for meshes
/// with seams that is once per vertex (splitToVertices), in the order of the .obj and .glb writers. Failures
/// are HostError (kOutput); the file appears only with close(). Threads: one object, one thread.
class Pc2Writer {
public:
    /// `pointCount` points in each of `frameCount` frames, both at most 2^31 − 1. `startFrame` is the number
    /// of the first frame, `framesPerSample` the step between two (1: every frame).
    Pc2Writer(std::string path, std::size_t pointCount, std::size_t frameCount, float startFrame,
              float framesPerSample = 1.0f);

    /// Appends the next frame. Positions in the unit the file shall have; each must be finite and fit a
    /// float.
    void addFrame(const std::vector<Vec3d>& points);

    /// Completes the file. Fails when not exactly `frameCount` frames were added.
    void close();

    std::size_t framesWritten() const { return framesWritten_; }

private:
    AtomicFile file_;
    std::size_t pointCount_;
    std::size_t frameCount_;
    std::size_t framesWritten_ = 0;
    std::vector<std::uint8_t> bytes_; // one frame, reused
};

} // namespace talvisora::host
