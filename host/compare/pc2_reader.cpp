// SPDX-License-Identifier: Apache-2.0
#include "host/compare/pc2_reader.h"

#include "host/figures.h"
#include "host/host_error.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace talvisora::host {

namespace {

constexpr std::size_t kHeader = 32;
constexpr std::string_view kMagic{"POINTCACHE2\0", 12};

std::uint32_t uint32At(const char* bytes) {
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return std::uint32_t{b[0]} | std::uint32_t{b[1]} << 8 | std::uint32_t{b[2]} << 16 |
           std::uint32_t{b[3]} << 24;
}

float floatAt(const char* bytes) {
    const std::uint32_t bits = uint32At(bytes);
    float number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

} // namespace

Pc2Reader::Pc2Reader(std::string path) : path_(std::move(path)) {
    const auto refuse = [this](const std::string& text) {
        throw HostError(ExitCode::kInput, path_ + ": " + text);
    };
    std::error_code error;
    if (std::filesystem::is_directory(path_, error)) refuse("is a folder; name a .pc2 file");
    file_.open(path_, std::ios::binary);
    if (!file_) refuse("cannot be opened; check the path and its permissions");
    char header[kHeader];
    if (!file_.read(header, kHeader)) refuse("shorter than the header of a point cache; write it again");
    if (std::string_view(header, kMagic.size()) != kMagic)
        refuse("no point cache of the kind .pc2; compare caches with caches, captures with captures");
    if (uint32At(header + 12) != 1)
        refuse("version " + std::to_string(uint32At(header + 12)) + " of the format is not known, only 1");
    points_ = uint32At(header + 16);
    start_ = floatAt(header + 20);
    step_ = floatAt(header + 24);
    frames_ = uint32At(header + 28);
    // Below 2^32 * 2^32 * 12 the product can overflow; the division cannot.
    const std::uint64_t size = std::filesystem::file_size(path_, error);
    const std::uint64_t frameBytes = std::uint64_t{points_} * 12;
    const std::uint64_t body = error || size < kHeader ? 0 : size - kHeader;
    const bool fits =
        frameBytes == 0 || frames_ == 0 ? body == 0 : body % frameBytes == 0 && body / frameBytes == frames_;
    if (!fits)
        refuse("its header says " + counted(points_, "point") + " in " + counted(frames_, "frame") +
               ", but the file is not as long; write it again");
}

int Pc2Reader::frameNumber(std::uint32_t k) const {
    const double number = start_ + static_cast<double>(step_) * k;
    // A header of other programs may hold anything.
    return std::fabs(number) < 1e9 ? static_cast<int>(std::lround(number)) : static_cast<int>(k);
}

void Pc2Reader::readFrame(std::vector<Vec3d>& points) {
    if (read_ == frames_) throw HostError(ExitCode::kInput, path_ + ": has no more frames");
    bytes_.resize(std::size_t{points_} * 12);
    if (!file_.read(bytes_.data(), static_cast<std::streamsize>(bytes_.size())))
        throw HostError(ExitCode::kInput, path_ + ": reading failed; was the file changed meanwhile?");
    points.resize(points_);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const char* at = bytes_.data() + 12 * i;
        points[i] = {floatAt(at), floatAt(at + 4), floatAt(at + 8)};
    }
    ++read_;
}

} // namespace talvisora::host
