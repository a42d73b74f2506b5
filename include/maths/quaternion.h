// SPDX-License-Identifier: Apache-2.0
// Unit quaternions for row vectors: the shortest turn between two directions (half-way quaternion, no acos),
// to and from row matrices, spherical interpolation the shorter way (Shoemake 1985).
//
// Convention: q = (x, y, z, w), Hamilton product; the row matrix R(q) turns u into u · R. Products of turns
// are done on matrices; on quaternions the order is reversed: R(a) · R(b) = R(b ⊗ a).
#pragma once

#include "maths/matrix44.h"

namespace talvisora {

struct Quatd {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;
};

inline double dot(const Quatd& a, const Quatd& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

/// q over its length; the identity when it has no usable length.
inline Quatd normalise(const Quatd& q) {
    const double l = std::sqrt(dot(q, q));
    if (!(l > 0.0 && l < HUGE_VAL)) return {};
    return {q.x / l, q.y / l, q.z / l, q.w / l};
}

/// The rotation matrix of a unit quaternion, for row vectors; no translation.
inline Matrix44d toMatrix(const Quatd& q) {
    Matrix44d r;
    setRow(r, 0, {1 - 2 * (q.y * q.y + q.z * q.z), 2 * (q.x * q.y + q.z * q.w), 2 * (q.x * q.z - q.y * q.w)});
    setRow(r, 1, {2 * (q.x * q.y - q.z * q.w), 1 - 2 * (q.x * q.x + q.z * q.z), 2 * (q.y * q.z + q.x * q.w)});
    setRow(r, 2, {2 * (q.x * q.z + q.y * q.w), 2 * (q.y * q.z - q.x * q.w), 1 - 2 * (q.x * q.x + q.y * q.y)});
    return r;
}

/// The unit quaternion of a rotation given by its three rows (perpendicular, right-handed, unit length). The
/// largest of the four squares is used, so that nothing small is divided by; ties prefer w, then x, y, z.
inline Quatd fromRotation(const Vec3d& r0, const Vec3d& r1, const Vec3d& r2) {
    const double xx = 1 + r0.x - r1.y - r2.z; // 4 x²
    const double yy = 1 - r0.x + r1.y - r2.z;
    const double zz = 1 - r0.x - r1.y + r2.z;
    const double ww = 1 + r0.x + r1.y + r2.z;
    Quatd q;
    if (ww >= xx && ww >= yy && ww >= zz) {
        q = {r1.z - r2.y, r2.x - r0.z, r0.y - r1.x, ww};
    } else if (xx >= yy && xx >= zz) {
        q = {xx, r0.y + r1.x, r2.x + r0.z, r1.z - r2.y};
    } else if (yy >= zz) {
        q = {r0.y + r1.x, yy, r1.z + r2.y, r2.x - r0.z};
    } else {
        q = {r2.x + r0.z, r1.z + r2.y, zz, r0.y - r1.x};
    }
    return normalise(q); // each branch is the quaternion times four times its largest component
}

/// The shortest rotation that turns direction u onto direction v, both of unit length (or zero: no turn). For
/// opposite directions: half a turn about u × e, e the unit axis of u's smallest absolute component (ties: x
/// before y before z). Never through acos, so equal directions give exactly no turn.
inline Quatd shortestUnitTurn(const Vec3d& u, const Vec3d& v) {
    if (u == Vec3d{} || v == Vec3d{}) return {};
    const double d = 1.0 + dot(u, v);
    if (d < 1e-12) {
        const double ax = std::fabs(u.x), ay = std::fabs(u.y), az = std::fabs(u.z);
        const Vec3d e = ax <= ay && ax <= az ? Vec3d{1, 0, 0} : ay <= az ? Vec3d{0, 1, 0} : Vec3d{0, 0, 1};
        const Vec3d axis = normalise(cross(u, e));
        return {axis.x, axis.y, axis.z, 0.0};
    }
    const Vec3d c = cross(u, v);
    return normalise(Quatd{c.x, c.y, c.z, d});
}

/// The same for directions of any length; no turn when either has no direction.
inline Quatd shortestTurn(const Vec3d& from, const Vec3d& to) {
    return shortestUnitTurn(normalise(from), normalise(to));
}

/// Spherical interpolation from a (fraction 0) to b (fraction 1), both unit, the shorter way.
inline Quatd slerp(const Quatd& a, Quatd b, double fraction) {
    double d = dot(a, b);
    if (d < 0.0) {
        b = {-b.x, -b.y, -b.z, -b.w};
        d = -d;
    }
    double wa = 1.0 - fraction, wb = fraction;
    // Below this the angle is under 1.5e-6 and the straight line is exact to the last bits; a wider shortcut
    // would cost up to 5e-7 radians.
    if (!(1.0 - d < 1e-12)) {
        const double theta = std::acos(d < 1.0 ? d : 1.0);
        const double s = std::sin(theta);
        wa = std::sin((1.0 - fraction) * theta) / s;
        wb = std::sin(fraction * theta) / s;
    }
    return normalise(
        Quatd{wa * a.x + wb * b.x, wa * a.y + wb * b.y, wa * a.z + wb * b.z, wa * a.w + wb * b.w});
}

} // namespace talvisora
