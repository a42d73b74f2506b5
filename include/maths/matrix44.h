// SPDX-License-Identifier: Apache-2.0
// 4 x 4 matrices of doubles: row-major, points as row vectors, translation in elements 12, 13, 14. Products,
// the point transform with its division by w, and an inverse that never leaves the finite numbers.
#pragma once

#include "maths/vec3.h"

namespace talvisora {

/// Sixteen doubles in row-major order; identity when made. Element (row, column) is m[4 * row + column].
struct Matrix44d {
    double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    double& operator()(int row, int column) { return m[4 * row + column]; }
    double operator()(int row, int column) const { return m[4 * row + column]; }
};

static_assert(sizeof(Matrix44d) == 128 && alignof(Matrix44d) == alignof(double),
              "crosses the module boundary");

/// The first three elements of a row: an axis (rows 0 to 2) or the translation (row 3).
inline Vec3d row(const Matrix44d& a, int r) {
    return {a.m[4 * r], a.m[4 * r + 1], a.m[4 * r + 2]};
}

inline void setRow(Matrix44d& a, int r, const Vec3d& v) {
    a.m[4 * r] = v.x;
    a.m[4 * r + 1] = v.y;
    a.m[4 * r + 2] = v.z;
}

inline Vec3d translation(const Matrix44d& a) {
    return row(a, 3);
}
inline void setTranslation(Matrix44d& a, const Vec3d& t) {
    setRow(a, 3, t);
}

/// The product for row vectors: p · (a · b) = (p · a) · b.
inline Matrix44d operator*(const Matrix44d& a, const Matrix44d& b) {
    Matrix44d r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[4 * i + j] = a.m[4 * i] * b.m[j] + a.m[4 * i + 1] * b.m[4 + j] + a.m[4 * i + 2] * b.m[8 + j] +
                             a.m[4 * i + 3] * b.m[12 + j];
    return r;
}

inline bool operator==(const Matrix44d& a, const Matrix44d& b) {
    for (int i = 0; i < 16; ++i)
        if (a.m[i] != b.m[i]) return false;
    return true;
}
inline bool operator!=(const Matrix44d& a, const Matrix44d& b) {
    return !(a == b);
}

/// Whether the fourth column is exactly (0, 0, 0, 1): then w stays 1 and the division can be left out.
inline bool isAffine(const Matrix44d& a) {
    return a.m[3] == 0.0 && a.m[7] == 0.0 && a.m[11] == 0.0 && a.m[15] == 1.0;
}

/// [x y z 1] · a, divided by the resulting w. Three true divisions (never a multiplication by 1/w); for an
/// affine matrix w is exactly 1 and the division is left out, which gives the same number.
inline Vec3d pointMultMat(const Vec3d& p, const Matrix44d& a) {
    const Vec3d q{p.x * a.m[0] + p.y * a.m[4] + p.z * a.m[8] + a.m[12],
                  p.x * a.m[1] + p.y * a.m[5] + p.z * a.m[9] + a.m[13],
                  p.x * a.m[2] + p.y * a.m[6] + p.z * a.m[10] + a.m[14]};
    if (isAffine(a)) return q;
    const double w = p.x * a.m[3] + p.y * a.m[7] + p.z * a.m[11] + a.m[15];
    return {q.x / w, q.y / w, q.z / w};
}

/// v times the upper left 3 x 3: a direction, without translation and division.
inline Vec3d vectorMultMat(const Vec3d& v, const Matrix44d& a) {
    return {v.x * a.m[0] + v.y * a.m[4] + v.z * a.m[8], v.x * a.m[1] + v.y * a.m[5] + v.z * a.m[9],
            v.x * a.m[2] + v.y * a.m[6] + v.z * a.m[10]};
}

namespace detail {

inline bool allFinite(const Matrix44d& a) {
    for (double v : a.m)
        if (!std::isfinite(v)) return false;
    return true;
}

inline double minor3(const Matrix44d& a, int r0, int r1, int r2, int c0, int c1, int c2) {
    return a(r0, c0) * (a(r1, c1) * a(r2, c2) - a(r1, c2) * a(r2, c1)) -
           a(r0, c1) * (a(r1, c0) * a(r2, c2) - a(r1, c2) * a(r2, c0)) +
           a(r0, c2) * (a(r1, c0) * a(r2, c1) - a(r1, c1) * a(r2, c0));
}

inline bool inverseAffine(const Matrix44d& a, Matrix44d& r) {
    const Vec3d x = row(a, 0), y = row(a, 1), z = row(a, 2);
    const Vec3d yz = cross(y, z), zx = cross(z, x), xy = cross(x, y);
    const double det = dot(x, yz);
    if (det == 0.0) return false;
    // The columns of the inverse are the cofactor rows over the determinant.
    const Vec3d cx = yz / det, cy = zx / det, cz = xy / det;
    r = Matrix44d{};
    setRow(r, 0, {cx.x, cy.x, cz.x});
    setRow(r, 1, {cx.y, cy.y, cz.y});
    setRow(r, 2, {cx.z, cy.z, cz.z});
    setTranslation(r, -vectorMultMat(translation(a), r));
    return true;
}

inline bool inverseGeneral(const Matrix44d& a, Matrix44d& r) {
    static constexpr int others[4][3] = {{1, 2, 3}, {0, 2, 3}, {0, 1, 3}, {0, 1, 2}};
    Matrix44d cofactor;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const int* rr = others[i];
            const int* cc = others[j];
            const double d = minor3(a, rr[0], rr[1], rr[2], cc[0], cc[1], cc[2]);
            cofactor(i, j) = (i + j) % 2 == 0 ? d : -d;
        }
    const double det =
        a.m[0] * cofactor.m[0] + a.m[1] * cofactor.m[1] + a.m[2] * cofactor.m[2] + a.m[3] * cofactor.m[3];
    if (det == 0.0) return false;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r(i, j) = cofactor(j, i) / det;
    return true;
}

} // namespace detail

/// The inverse: from the 3 x 3 cofactors and the translation when the matrix is affine, from the full
/// cofactors otherwise. A matrix whose determinant is zero, or whose inverse is not finite, gives the
/// identity.
inline Matrix44d inverse(const Matrix44d& a) {
    Matrix44d r;
    const bool solved = isAffine(a) ? detail::inverseAffine(a, r) : detail::inverseGeneral(a, r);
    return solved && detail::allFinite(r) ? r : Matrix44d{};
}

} // namespace talvisora
