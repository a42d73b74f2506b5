// SPDX-License-Identifier: Apache-2.0
// Three doubles and the few operations that the rig and the host need. The rule that matters here: a vector
// without a usable length (zero, infinite, not a number) normalises to the zero vector, so that coincident
// joints and broken numbers end in "no direction" instead of spreading.
#pragma once

#include <cmath>

namespace talvisora {

/// A point or a vector of three doubles. Plain data, no alignment beyond a double's.
struct Vec3d {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

inline Vec3d operator+(const Vec3d& a, const Vec3d& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3d operator-(const Vec3d& a, const Vec3d& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3d operator-(const Vec3d& a) {
    return {-a.x, -a.y, -a.z};
}
inline Vec3d operator*(const Vec3d& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline Vec3d operator*(double s, const Vec3d& a) {
    return a * s;
}
inline Vec3d operator/(const Vec3d& a, double s) {
    return {a.x / s, a.y / s, a.z / s};
}
inline Vec3d& operator+=(Vec3d& a, const Vec3d& b) {
    return a = a + b;
}
inline Vec3d& operator-=(Vec3d& a, const Vec3d& b) {
    return a = a - b;
}
inline bool operator==(const Vec3d& a, const Vec3d& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
inline bool operator!=(const Vec3d& a, const Vec3d& b) {
    return !(a == b);
}

inline double dot(const Vec3d& a, const Vec3d& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vec3d cross(const Vec3d& a, const Vec3d& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Length as the square root of the dot product: the arithmetic that `normalise` uses.
inline double length(const Vec3d& v) {
    return std::sqrt(dot(v, v));
}

/// v divided by its length; the zero vector when the length is zero, infinite or not a number.
inline Vec3d normalise(const Vec3d& v) {
    const double l = length(v);
    // Divide, do not multiply by 1/l: 1/l can overflow for tiny vectors.
    return l > 0.0 && l < HUGE_VAL ? v / l : Vec3d{};
}

inline bool isFinite(const Vec3d& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

} // namespace talvisora
