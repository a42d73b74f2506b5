// SPDX-License-Identifier: Apache-2.0
// The plain values of geometry: points, vectors and the matrix.
#include "array_storage.h"

#include <maya/MFloatPoint.h>
#include <maya/MFloatVector.h>
#include <maya/MMatrix.h>
#include <maya/MPoint.h>
#include <maya/MStatus.h>
#include <maya/MVector.h>

#include <cmath>
#include <limits>

namespace {

float narrow(double value) {
    return static_cast<float>(value);
}

template <typename Scalar>
Scalar outside() {
    headless::noteMisuse("coordinate index past the end");
    return std::numeric_limits<Scalar>::quiet_NaN();
}

} // namespace

namespace Autodesk::Maya::OpenMaya20240000 {

const MPoint MPoint::origin;
const MFloatPoint MFloatPoint::origin;
const MMatrix MMatrix::identity;

MPoint::MPoint(const MFloatPoint& p)
    : x(static_cast<double>(p.x)),
      y(static_cast<double>(p.y)),
      z(static_cast<double>(p.z)),
      w(static_cast<double>(p.w)) {}
MPoint::MPoint(const MVector& v) : x(v.x), y(v.y), z(v.z), w(1) {}
MPoint::MPoint(const MFloatVector& v)
    : x(static_cast<double>(v.x)), y(static_cast<double>(v.y)), z(static_cast<double>(v.z)), w(1) {}
MPoint::MPoint(const double d[4]) : x(d[0]), y(d[1]), z(d[2]), w(d[3]) {}
MPoint::MPoint(const float f[4])
    : x(static_cast<double>(f[0])),
      y(static_cast<double>(f[1])),
      z(static_cast<double>(f[2])),
      w(static_cast<double>(f[3])) {}

double MPoint::operator()(unsigned int i) const {
    return i == 0 ? x : i == 1 ? y : i == 2 ? z : i == 3 ? w : outside<double>();
}
double MPoint::operator[](unsigned int i) const {
    return (*this)(i);
}
MVector MPoint::operator-(const MPoint& other) const {
    return MVector(x - other.x, y - other.y, z - other.z);
}
MPoint MPoint::operator+(const MVector& v) const {
    return MPoint(x + v.x, y + v.y, z + v.z, w);
}
MPoint MPoint::operator-(const MVector& v) const {
    return MPoint(x - v.x, y - v.y, z - v.z, w);
}
double MPoint::distanceTo(const MPoint& other) const {
    return (*this - other).length();
}
bool MPoint::operator==(const MPoint& other) const {
    return x == other.x && y == other.y && z == other.z && w == other.w;
}
bool MPoint::operator!=(const MPoint& other) const {
    return !(*this == other);
}
MStatus MPoint::get(double dest[4]) const {
    for (unsigned int i = 0; i < 4; ++i) dest[i] = (*this)(i);
    return MStatus::kSuccess;
}
MStatus MPoint::get(float dest[4]) const {
    for (unsigned int i = 0; i < 4; ++i) dest[i] = narrow((*this)(i));
    return MStatus::kSuccess;
}

MFloatPoint::MFloatPoint(const MPoint& p) : x(narrow(p.x)), y(narrow(p.y)), z(narrow(p.z)), w(narrow(p.w)) {}
MFloatPoint::MFloatPoint(const MFloatVector& v) : x(v.x), y(v.y), z(v.z), w(1) {}
MFloatPoint::MFloatPoint(const MVector& v) : x(narrow(v.x)), y(narrow(v.y)), z(narrow(v.z)), w(1) {}
MFloatPoint::MFloatPoint(const double d[4])
    : x(narrow(d[0])), y(narrow(d[1])), z(narrow(d[2])), w(narrow(d[3])) {}
MFloatPoint::MFloatPoint(const float f[4]) : x(f[0]), y(f[1]), z(f[2]), w(f[3]) {}

float MFloatPoint::operator()(unsigned int i) const {
    return i == 0 ? x : i == 1 ? y : i == 2 ? z : i == 3 ? w : outside<float>();
}
float MFloatPoint::operator[](unsigned int i) const {
    return (*this)(i);
}
MFloatVector MFloatPoint::operator-(const MFloatPoint& other) const {
    return MFloatVector(x - other.x, y - other.y, z - other.z);
}
MFloatPoint MFloatPoint::operator+(const MFloatVector& v) const {
    return MFloatPoint(x + v.x, y + v.y, z + v.z, w);
}
MFloatPoint MFloatPoint::operator-(const MFloatVector& v) const {
    return MFloatPoint(x - v.x, y - v.y, z - v.z, w);
}
float MFloatPoint::distanceTo(const MFloatPoint& other) const {
    return (*this - other).length();
}
bool MFloatPoint::operator==(const MFloatPoint& other) const {
    return x == other.x && y == other.y && z == other.z && w == other.w;
}
bool MFloatPoint::operator!=(const MFloatPoint& other) const {
    return !(*this == other);
}
MStatus MFloatPoint::get(double dest[4]) const {
    for (unsigned int i = 0; i < 4; ++i) dest[i] = static_cast<double>((*this)(i));
    return MStatus::kSuccess;
}
MStatus MFloatPoint::get(float dest[4]) const {
    for (unsigned int i = 0; i < 4; ++i) dest[i] = (*this)(i);
    return MStatus::kSuccess;
}

MVector::MVector() : x(0), y(0), z(0) {}
MVector::MVector(const MVector& other) = default;
MVector::MVector(const MFloatVector& v)
    : x(static_cast<double>(v.x)), y(static_cast<double>(v.y)), z(static_cast<double>(v.z)) {}
MVector::MVector(const MPoint& p) : x(p.x), y(p.y), z(p.z) {}
MVector::MVector(const MFloatPoint& p)
    : x(static_cast<double>(p.x)), y(static_cast<double>(p.y)), z(static_cast<double>(p.z)) {}
MVector::MVector(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}
MVector::MVector(const double d[3]) : x(d[0]), y(d[1]), z(d[2]) {}
MVector::MVector(const float f[3])
    : x(static_cast<double>(f[0])), y(static_cast<double>(f[1])), z(static_cast<double>(f[2])) {}
MVector& MVector::operator=(const MVector& other) = default;

double MVector::length() const {
    return std::hypot(x, y, z);
}
MStatus MVector::normalize() {
    const double size = length();
    if (size == 0.0) return MStatus::kFailure;
    *this = MVector(x / size, y / size, z / size);
    return MStatus::kSuccess;
}
MVector MVector::normal() const {
    MVector copy(*this);
    copy.normalize();
    return copy;
}
double MVector::operator*(const MVector& right) const {
    return x * right.x + y * right.y + z * right.z;
}
MVector MVector::operator^(const MVector& r) const {
    return MVector(y * r.z - z * r.y, z * r.x - x * r.z, x * r.y - y * r.x);
}
MVector MVector::operator+(const MVector& r) const {
    return MVector(x + r.x, y + r.y, z + r.z);
}
MVector MVector::operator-(const MVector& r) const {
    return MVector(x - r.x, y - r.y, z - r.z);
}
MVector MVector::operator-() const {
    return MVector(-x, -y, -z);
}
bool MVector::operator==(const MVector& other) const {
    return x == other.x && y == other.y && z == other.z;
}
bool MVector::operator!=(const MVector& other) const {
    return !(*this == other);
}
MStatus MVector::get(double dest[3]) const {
    dest[0] = x;
    dest[1] = y;
    dest[2] = z;
    return MStatus::kSuccess;
}

MFloatVector::MFloatVector() : x(0), y(0), z(0) {}
MFloatVector::MFloatVector(const MFloatVector& other) = default;
MFloatVector::MFloatVector(const MVector& v) : x(narrow(v.x)), y(narrow(v.y)), z(narrow(v.z)) {}
MFloatVector::MFloatVector(const MFloatPoint& p) : x(p.x), y(p.y), z(p.z) {}
MFloatVector::MFloatVector(const MPoint& p) : x(narrow(p.x)), y(narrow(p.y)), z(narrow(p.z)) {}
MFloatVector::MFloatVector(float xx, float yy, float zz) : x(xx), y(yy), z(zz) {}
MFloatVector::MFloatVector(const double d[3]) : x(narrow(d[0])), y(narrow(d[1])), z(narrow(d[2])) {}
MFloatVector::MFloatVector(const float f[3]) : x(f[0]), y(f[1]), z(f[2]) {}
MFloatVector& MFloatVector::operator=(const MFloatVector& other) = default;

float MFloatVector::length() const {
    return std::hypot(x, y, z);
}
MStatus MFloatVector::normalize() {
    const float size = length();
    if (size == 0.0f) return MStatus::kFailure;
    *this = MFloatVector(x / size, y / size, z / size);
    return MStatus::kSuccess;
}
MFloatVector MFloatVector::normal() const {
    MFloatVector copy(*this);
    copy.normalize();
    return copy;
}
float MFloatVector::operator*(const MFloatVector& right) const {
    return x * right.x + y * right.y + z * right.z;
}
MFloatVector MFloatVector::operator^(const MFloatVector& r) const {
    return MFloatVector(y * r.z - z * r.y, z * r.x - x * r.z, x * r.y - y * r.x);
}
MFloatVector MFloatVector::operator+(const MFloatVector& r) const {
    return MFloatVector(x + r.x, y + r.y, z + r.z);
}
MFloatVector MFloatVector::operator-(const MFloatVector& r) const {
    return MFloatVector(x - r.x, y - r.y, z - r.z);
}
MFloatVector MFloatVector::operator-() const {
    return MFloatVector(-x, -y, -z);
}
bool MFloatVector::operator==(const MFloatVector& other) const {
    return x == other.x && y == other.y && z == other.z;
}
bool MFloatVector::operator!=(const MFloatVector& other) const {
    return !(*this == other);
}
MStatus MFloatVector::get(float dest[3]) const {
    dest[0] = x;
    dest[1] = y;
    dest[2] = z;
    return MStatus::kSuccess;
}

MMatrix::MMatrix() {
    setToIdentity();
}
MMatrix::MMatrix(const MMatrix& src) = default;
MMatrix::MMatrix(const double m[4][4]) {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) matrix[r][c] = m[r][c];
    }
}
MMatrix::MMatrix(const float m[4][4]) {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) matrix[r][c] = static_cast<double>(m[r][c]);
    }
}
MMatrix& MMatrix::operator=(const MMatrix& other) = default;

double MMatrix::operator()(unsigned int row, unsigned int col) const {
    return row < 4 && col < 4 ? matrix[row][col] : outside<double>();
}
MMatrix MMatrix::operator*(const MMatrix& right) const {
    MMatrix product;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            product.matrix[r][c] = 0.0;
            for (int k = 0; k < 4; ++k) product.matrix[r][c] += matrix[r][k] * right.matrix[k][c];
        }
    }
    return product;
}
bool MMatrix::operator==(const MMatrix& other) const {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            if (matrix[r][c] != other.matrix[r][c]) return false;
        }
    }
    return true;
}
bool MMatrix::operator!=(const MMatrix& other) const {
    return !(*this == other);
}
MMatrix& MMatrix::setToIdentity() {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) matrix[r][c] = r == c ? 1.0 : 0.0;
    }
    return *this;
}
MStatus MMatrix::get(double dest[4][4]) const {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) dest[r][c] = matrix[r][c];
    }
    return MStatus::kSuccess;
}
MStatus MMatrix::get(float dest[4][4]) const {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) dest[r][c] = narrow(matrix[r][c]);
    }
    return MStatus::kSuccess;
}

} // namespace Autodesk::Maya::OpenMaya20240000
