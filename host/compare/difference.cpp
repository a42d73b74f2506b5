// SPDX-License-Identifier: Apache-2.0
#include "host/compare/difference.h"

#include "host/box.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr std::uint64_t kOutside = 1000; // one point in so many may lie above the quantile

// Exact comparison on purpose; -0 and 0 are the same place.
bool isSame(const Vec3d& a, const Vec3d& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// Without overflow or underflow on the way, whatever the scale.
double distance(const Vec3d& a, const Vec3d& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

double largestOf(const Vec3d& p) {
    return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

} // namespace

double Difference::share(double distance) const {
    if (distance == 0.0) return 0.0;
    return diagonal > 0.0 ? distance / diagonal : HUGE_VAL;
}

DifferenceMeter::DifferenceMeter(std::uint64_t total)
    : kept_(static_cast<std::size_t>(total / kOutside) + 1) {}

void DifferenceMeter::keep(double distance) {
    if (high_.size() < kept_) {
        high_.push(distance);
    } else if (distance > high_.top()) {
        high_.pop();
        high_.push(distance);
    }
}

void DifferenceMeter::addFrame(int frame, const std::vector<Vec3d>& first, const std::vector<Vec3d>& second,
                               const std::vector<bool>& left) {
    ++sum_.frames;
    Box box;
    const std::size_t count = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < count; ++i) {
        const Vec3d &a = first[i], &b = second[i];
        const bool goodA = isFinite(a), goodB = isFinite(b);
        if (goodA) {
            box.add(a);
            sum_.largestCoordinate = std::max(sum_.largestCoordinate, largestOf(a));
        }
        if (i < left.size() && left[i]) continue;
        if (!goodA && !goodB) {
            ++sum_.brokenInBoth;
            continue;
        }
        ++sum_.points;
        const double apart = goodA && goodB ? distance(a, b) : HUGE_VAL;
        if (!(goodA && goodB)) {
            ++sum_.broken;
        } else {
            ++finite_;
            squares_ += apart * apart;
        }
        if (!isSame(a, b)) ++sum_.unlike;
        keep(apart);
        if (apart > sum_.largest || sum_.points == 1) {
            sum_.largest = apart;
            sum_.worstPoint = static_cast<std::uint32_t>(i);
            sum_.worstFrame = frame;
            sum_.worstFirst = a;
            sum_.worstSecond = b;
        }
    }
    if (box.low.x <= box.high.x) sum_.diagonal = std::max(sum_.diagonal, distance(box.low, box.high));
}

Difference DifferenceMeter::result() const {
    Difference result = sum_;
    if (finite_ > 0) result.rms = std::sqrt(squares_ / static_cast<double>(finite_));
    // Of n points, n / 1000 (rounded down) may lie above: the next one is the quantile.
    auto high = high_;
    for (std::uint64_t above = sum_.points / kOutside + 1; high.size() > above;) high.pop();
    if (!high.empty()) result.quantile = high.top();
    return result;
}

} // namespace talvisora::host
