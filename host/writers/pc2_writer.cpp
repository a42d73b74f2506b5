// SPDX-License-Identifier: Apache-2.0
// The header goes out at once, because the number of frames is given up front; close() holds the caller to
// it.
#include "host/writers/pc2_writer.h"

#include "host/figures.h"
#include "host/writers/little_endian.h"
#include "host/writers/output_mesh.h"

#include <cmath>
#include <string_view>
#include <utility>

namespace talvisora::host {

namespace {

constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kMostPerHeader = 0x7fffffff; // both counts are signed 32-bit numbers in the header
constexpr std::string_view kMagic{"POINTCACHE2\0", 12};

} // namespace

Pc2Writer::Pc2Writer(std::string path, std::size_t pointCount, std::size_t frameCount, float startFrame,
                     float framesPerSample)
    : file_(std::move(path)), pointCount_(pointCount), frameCount_(frameCount) {
    if (pointCount > kMostPerHeader || frameCount > kMostPerHeader)
        throw HostError(ExitCode::kOutput,
                        "cannot write '" + file_.path() +
                            "': a .pc2 file holds at most 2147483647 points and as many frames; "
                            "write fewer frames");
    if (!std::isfinite(startFrame) || !std::isfinite(framesPerSample))
        throw HostError(ExitCode::kOutput,
                        "cannot write '" + file_.path() + "': start frame and step must be finite numbers");
    file_.write(kMagic);
    putUint32(bytes_, kVersion);
    putUint32(bytes_, static_cast<std::uint32_t>(pointCount));
    putFloat(bytes_, startFrame);
    putFloat(bytes_, framesPerSample);
    putUint32(bytes_, static_cast<std::uint32_t>(frameCount));
    file_.write(bytes_.data(), bytes_.size());
}

void Pc2Writer::addFrame(const std::vector<Vec3d>& points) {
    if (framesWritten_ == frameCount_)
        throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() + "': more than the announced " +
                                               counted(frameCount_, "frame"));
    checkPoints(points, pointCount_, 1.0, static_cast<int>(framesWritten_) + 1, file_.path());
    bytes_.clear();
    bytes_.reserve(pointCount_ * 12);
    for (const Vec3d& p : points) {
        putFloat(bytes_, static_cast<float>(p.x));
        putFloat(bytes_, static_cast<float>(p.y));
        putFloat(bytes_, static_cast<float>(p.z));
    }
    file_.write(bytes_.data(), bytes_.size());
    ++framesWritten_;
}

void Pc2Writer::close() {
    if (framesWritten_ != frameCount_)
        throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() +
                                               "': " + counted(framesWritten_, "frame") +
                                               " of the announced " + std::to_string(frameCount_));
    file_.commit();
}

} // namespace talvisora::host
