// SPDX-License-Identifier: Apache-2.0
// The deformer takes x as the bone and spreads twist along it, so the frames follow the chain, not the file's
// axes; and it drops the last joint's bend, so a chain that ends in a moving joint gets one record more.
#include "host/character/rigging/chain_frames.h"

#include "host/box.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host::rigging {

namespace {

constexpr double kReach = 0.95;        // percentile of the points' distances
constexpr double kLeastOfBone = 0.25;  // of the last bone
constexpr double kLeastOfSize = 0.005; // of the bounding box

Vec3d centroid(const std::vector<Vec3d>& points, const std::vector<double>& shares) {
    Vec3d sum;
    double total = 0.0;
    for (std::size_t p = 0; p < points.size(); ++p) {
        sum += points[p] * shares[p];
        total += shares[p];
    }
    return total > 0.0 ? sum / total : sum;
}

} // namespace

Vec3d virtualEnd(const Character& character, const Chain& chain, const std::vector<double>& shares) {
    const Matrix44d& rest = character.joints[static_cast<std::size_t>(chain.joints.back())].restWorld;
    const Vec3d origin = translation(rest);
    Vec3d bone;
    if (chain.joints.size() > 1)
        bone =
            origin -
            translation(
                character.joints[static_cast<std::size_t>(chain.joints[chain.joints.size() - 2])].restWorld);

    Vec3d direction = normalise(centroid(character.points, shares) - origin);
    if ((!chain.leafEnd && bone != Vec3d{}) || direction == Vec3d{}) direction = normalise(bone);
    if (direction == Vec3d{}) direction = normalise(row(rest, 0));

    const double most = shares.empty() ? 0.0 : *std::max_element(shares.begin(), shares.end());
    std::vector<double> reach;
    for (std::size_t p = 0; p < shares.size(); ++p)
        if (shares[p] > 0.5 * most) reach.push_back(dot(character.points[p] - origin, direction));
    double distance = 0.0;
    if (!reach.empty()) {
        const auto at =
            reach.begin() + static_cast<std::ptrdiff_t>(kReach * static_cast<double>(reach.size() - 1));
        std::nth_element(reach.begin(), at, reach.end());
        distance = *at;
    }
    distance = std::max(
        {distance, kLeastOfBone * length(bone), kLeastOfSize * boxRound(character.points).diagonal()});
    return origin + direction * distance;
}

std::vector<Matrix44d> chainFrames(const std::vector<Vec3d>& positions, const Matrix44d& ownAxes) {
    std::vector<Matrix44d> frames(positions.size());
    Vec3d x = normalise(positions.size() > 1 ? positions[1] - positions[0] : Vec3d{});
    if (x == Vec3d{}) x = normalise(row(ownAxes, 0));
    Vec3d side = normalise(row(ownAxes, 1));
    if (std::fabs(dot(side, x)) > 0.95) side = normalise(row(ownAxes, 2));
    Vec3d y = normalise(side - x * dot(side, x));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const Vec3d next = i + 1 < positions.size() ? normalise(positions[i + 1] - positions[i]) : Vec3d{};
        if (next != Vec3d{} && i > 0) {
            y = vectorMultMat(y, toMatrix(shortestTurn(x, next)));
            x = next;
            y = normalise(y - x * dot(x, y)); // keeps rounding from adding up along the chain
        }
        setRow(frames[i], 0, x);
        setRow(frames[i], 1, y);
        setRow(frames[i], 2, cross(x, y));
        setTranslation(frames[i], positions[i]);
    }
    return frames;
}

} // namespace talvisora::host::rigging
