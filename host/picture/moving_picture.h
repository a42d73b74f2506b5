// SPDX-License-Identifier: Apache-2.0
// Pictures that move, written as animated WebP. Of the formats that README pages and browsers play, WebP
// alone keeps every colour of a shaded picture (a GIF has 256) in a small file (an APNG is several times as
// large).
#pragma once

#include "host/picture/image.h"
#include "host/writers/atomic_file.h"

#include <memory>
#include <string>

namespace talvisora::host {

/// Most frames of one moving picture, and most of them in a second: players stretch what is faster.
constexpr std::size_t kMaxMovingFrames = 3000;
constexpr double kMaxMovingRate = 90.0;
/// Most pixels of all frames together: packed, they take about half a byte each in memory.
constexpr double kMaxMovingPixels = 2e9;

/// One moving picture in the making; it repeats for ever. Holds one picture and the compressed frames, never
/// all pictures. The file appears whole at close() or not at all. Failures are HostError (kOutput).
/// Threads: one object, one thread.
class MovingPicture {
public:
    /// Opens the file, so that "cannot write" is told before the work. `rate`: frames per second, above 0 and
    /// at most kMaxMovingRate.
    MovingPicture(const std::string& path, double rate);
    ~MovingPicture();
    MovingPicture(const MovingPicture&) = delete;
    MovingPicture& operator=(const MovingPicture&) = delete;

    /// Appends a frame; all must be as large as the first, at most 16383 pixels either way. A frame that
    /// equals the one before in every pixel is stored as a longer stay of that one.
    void add(const Image& image);
    /// Ends the last frame and writes the file; at least one frame must have been added.
    void close();

private:
    struct Encoder;
    AtomicFile file_;
    double rate_;
    std::size_t frames_ = 0;
    std::unique_ptr<Encoder> encoder_;
};

} // namespace talvisora::host
