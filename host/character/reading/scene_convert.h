// SPDX-License-Identifier: Apache-2.0
// assimp's numbers in the host's types: column-vector matrices become row-vector ones, lengths are scaled.
#pragma once

#include "maths/quaternion.h"

#include <assimp/types.h>

#include <string>

namespace talvisora::host::reading {

inline Matrix44d toRowMatrix(const aiMatrix4x4& a, double scale) {
    Matrix44d r;
    setRow(r, 0, {a.a1, a.b1, a.c1});
    setRow(r, 1, {a.a2, a.b2, a.c2});
    setRow(r, 2, {a.a3, a.b3, a.c3});
    setTranslation(r, Vec3d{a.a4, a.b4, a.c4} * scale);
    return r;
}

inline Vec3d toVec(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}
inline Quatd toQuat(const aiQuaternion& q) {
    return normalise(Quatd{q.x, q.y, q.z, q.w});
}
inline std::string toText(const aiString& s) {
    return std::string(s.C_Str());
}

} // namespace talvisora::host::reading
