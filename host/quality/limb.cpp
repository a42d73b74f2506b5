// SPDX-License-Identifier: Apache-2.0
// Rings first (cap, body, cap), then the two poles, then weights.
#include "host/quality/limb.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kCapRings = 3;
constexpr double kCapDepth = 0.7; // of the radius

double radiusAt(const LimbShape& shape, double x) {
    const double t = std::clamp((x - shape.start) / (shape.end - shape.start), 0.0, 1.0);
    return shape.startRadius + (shape.endRadius - shape.startRadius) * t;
}

double smoothStep(double t) {
    const double c = std::clamp(t, 0.0, 1.0);
    return c * c * (3.0 - 2.0 * c);
}

// Joint j takes over from j - 1 round its own place; the shares sum to 1. The last joint only ends the chain.
void addWeights(Character& c, const LimbShape& shape, double x) {
    std::vector<double> share(shape.joints.size(), 0.0);
    double before = 1.0; // how much of the point the joints from j on have
    for (std::size_t j = 1; j + 1 < shape.joints.size(); ++j) {
        const double from = shape.joints[j] - shape.blend;
        const double taken = std::min(before, smoothStep((x - from) / (2.0 * shape.blend)));
        share[j - 1] = before - taken;
        before = taken;
    }
    share[shape.joints.size() - 2] = before;
    for (std::size_t j = 0; j < share.size(); ++j)
        if (share[j] > 0.0) c.influences.push_back({static_cast<std::uint32_t>(j), share[j]});
    c.influenceStart.push_back(static_cast<std::uint32_t>(c.influences.size()));
}

void addJoints(Character& c, const LimbShape& shape) {
    for (std::size_t j = 0; j < shape.joints.size(); ++j) {
        Joint joint;
        joint.name = shape.name + std::to_string(j + 1);
        joint.parent = static_cast<int>(j) - 1;
        joint.node = static_cast<std::uint32_t>(j);
        setTranslation(joint.restWorld, {shape.joints[j], 0.0, 0.0});
        setTranslation(joint.inverseRest, {-shape.joints[j], 0.0, 0.0});
        CharacterNode node;
        node.name = joint.name;
        node.parent = joint.parent;
        setTranslation(node.local, {j ? shape.joints[j] - shape.joints[j - 1] : shape.joints[0], 0.0, 0.0});
        c.joints.push_back(joint);
        c.nodes.push_back(node);
    }
}

void addPoint(Limb& limb, const Vec3d& at, int sector) {
    limb.character.points.push_back(at);
    limb.sectorOfPoint.push_back(sector);
    addWeights(limb.character, limb.shape, at.x);
}

void addRing(Limb& limb, double x, double radius) {
    const LimbShape& shape = limb.shape;
    const double wide = 2.0 * shape.flatness / (1.0 + shape.flatness), high = 2.0 / (1.0 + shape.flatness);
    for (int s = 0; s < shape.sectors; ++s) {
        const double angle = 2.0 * kPi * s / shape.sectors;
        addPoint(limb, {x, radius * high * std::cos(angle), radius * wide * std::sin(angle)}, s);
    }
}

} // namespace

Limb makeLimb(const LimbShape& shape) {
    Limb limb;
    limb.shape = shape;
    Character& c = limb.character;
    c.path = shape.name;
    c.influenceStart = {0};
    addJoints(c, shape);
    const auto cap = [&](double x, double radius, int k, double side) {
        const double angle = kPi / 2.0 * k / (kCapRings + 1);
        addRing(limb, x + side * kCapDepth * radius * std::sin(angle), radius * std::cos(angle));
    };
    for (int k = kCapRings; k > 0; --k) cap(shape.start, shape.startRadius, k, -1.0);
    for (int r = 0; r < shape.rings; ++r) {
        const double x = shape.start + (shape.end - shape.start) * r / (shape.rings - 1);
        limb.rings.emplace_back();
        for (int s = 0; s < shape.sectors; ++s)
            limb.rings.back().push_back(static_cast<std::uint32_t>(c.points.size()) +
                                        static_cast<std::uint32_t>(s));
        addRing(limb, x, radiusAt(shape, x));
    }
    for (int k = 1; k <= kCapRings; ++k) cap(shape.end, shape.endRadius, k, 1.0);
    const auto first = static_cast<std::uint32_t>(c.points.size()), last = first + 1;
    addPoint(limb, {shape.start - kCapDepth * shape.startRadius, 0.0, 0.0}, -1);
    addPoint(limb, {shape.end + kCapDepth * shape.endRadius, 0.0, 0.0}, -1);

    CharacterMesh mesh;
    mesh.name = shape.name;
    mesh.positions = c.points;
    for (std::uint32_t p = 0; p < c.points.size(); ++p) mesh.pointOfVertex.push_back(p);
    const auto sectors = static_cast<std::uint32_t>(shape.sectors);
    const auto ringCount = static_cast<std::uint32_t>(shape.rings + 2 * kCapRings);
    for (std::uint32_t s = 0; s < sectors; ++s) {
        const std::uint32_t t = (s + 1) % sectors;
        mesh.triangles.push_back({first, t, s});
        mesh.triangles.push_back({last, (ringCount - 1) * sectors + s, (ringCount - 1) * sectors + t});
        for (std::uint32_t r = 0; r + 1 < ringCount; ++r) {
            const std::uint32_t a = r * sectors + s, b = r * sectors + t, d = a + sectors, e = b + sectors;
            mesh.triangles.push_back({a, b, d});
            mesh.triangles.push_back({b, e, d});
        }
    }
    c.meshes.push_back(mesh);
    return limb;
}

Pose poseLimb(const Limb& limb, const std::vector<JointTurn>& turns, double stretch) {
    std::vector<Matrix44d> world;
    for (std::size_t j = 0; j < limb.shape.joints.size(); ++j) {
        const JointTurn turn = j < turns.size() ? turns[j] : JointTurn{};
        const double bend = turn.bend * kPi / 360.0, twist = turn.twist * kPi / 360.0; // half angles
        Matrix44d local = toMatrix(Quatd{std::sin(twist), 0.0, 0.0, std::cos(twist)}) *
                          toMatrix(Quatd{0.0, 0.0, std::sin(bend), std::cos(bend)});
        const double offset =
            j ? (limb.shape.joints[j] - limb.shape.joints[j - 1]) * stretch : limb.shape.joints[0];
        setTranslation(local, {offset, 0.0, 0.0});
        world.push_back(j ? local * world.back() : local);
    }
    return poseFromWorld(limb.character, std::move(world));
}

} // namespace talvisora::host
