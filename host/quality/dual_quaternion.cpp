// SPDX-License-Identifier: Apache-2.0
// A rigid motion is a turn q and a dual part d = t q / 2, t the translation as a quaternion without a real
// part. Both are blended alike and divided by the length of the blended turn.
#include "host/quality/dual_quaternion.h"

namespace talvisora::host {

namespace {

struct DualQuaternion {
    Quatd turn;
    Quatd dual;
};

Quatd product(const Quatd& a, const Quatd& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

void add(Quatd& sum, const Quatd& q, double weight) {
    sum = {sum.x + q.x * weight, sum.y + q.y * weight, sum.z + q.z * weight, sum.w + q.w * weight};
}

// The matrix without scale and shear: its axes made perpendicular unit vectors, its place kept.
Matrix44d rigid(const Matrix44d& m) {
    const Vec3d x = normalise(row(m, 0));
    const Vec3d y = normalise(row(m, 1) - x * dot(x, row(m, 1)));
    Matrix44d r;
    setRow(r, 0, x);
    setRow(r, 1, y);
    setRow(r, 2, cross(x, y));
    setTranslation(r, translation(m));
    return r;
}

DualQuaternion dualQuaternion(const Matrix44d& rigidMotion) {
    DualQuaternion d;
    d.turn = fromRotation(row(rigidMotion, 0), row(rigidMotion, 1), row(rigidMotion, 2));
    const Vec3d t = translation(rigidMotion) * 0.5;
    d.dual = product({t.x, t.y, t.z, 0.0}, d.turn);
    return d;
}

Vec3d moved(const Vec3d& p, const DualQuaternion& d) {
    const double size = std::sqrt(dot(d.turn, d.turn));
    if (!(size > 0.0)) return p; // opposite turns in equal shares: no direction is better than another
    const Quatd q = normalise(d.turn);
    const Quatd back{-q.x, -q.y, -q.z, q.w};
    const Quatd t = product(d.dual, back); // half the translation, times the size
    return pointMultMat(p, toMatrix(q)) + Vec3d{t.x, t.y, t.z} * (2.0 / size);
}

} // namespace

std::vector<Vec3d> dualQuaternionBlend(const Character& character, const Pose& pose) {
    std::vector<DualQuaternion> carry;
    for (std::size_t j = 0; j < character.joints.size(); ++j)
        carry.push_back(dualQuaternion(inverse(rigid(character.joints[j].restWorld)) * rigid(pose.world[j])));
    std::vector<Vec3d> points = character.points;
    for (std::size_t p = 0; p < points.size(); ++p) {
        const std::uint32_t start = character.influenceStart[p], end = character.influenceStart[p + 1];
        if (start == end) continue;
        DualQuaternion sum{{0.0, 0.0, 0.0, 0.0}, {0.0, 0.0, 0.0, 0.0}};
        const Quatd& first = carry[character.influences[start].joint].turn;
        for (std::uint32_t i = start; i < end; ++i) {
            const DualQuaternion& d = carry[character.influences[i].joint];
            // q and -q are the same turn: all on the side of the first one.
            const double weight =
                dot(d.turn, first) < 0.0 ? -character.influences[i].weight : character.influences[i].weight;
            add(sum.turn, d.turn, weight);
            add(sum.dual, d.dual, weight);
        }
        points[p] = moved(character.points[p], sum);
    }
    return points;
}

} // namespace talvisora::host
