// SPDX-License-Identifier: Apache-2.0
// The array classes. All four work alike; what differs is the element and how it is handed over.
#include <maya/MFloatArray.h>
#include <maya/MFloatPointArray.h>
#include <maya/MIntArray.h>
#include <maya/MPointArray.h>
#include <maya/MStatus.h>

#include <climits>
#include <limits>
#include <new>

namespace {

// What setLength fills new elements with: nothing a caller could take for a result.
const double kNoNumber = std::numeric_limits<double>::quiet_NaN();
const float kNoFloat = std::numeric_limits<float>::quiet_NaN();

MPoint unset(const MPoint*) {
    return MPoint(kNoNumber, kNoNumber, kNoNumber, kNoNumber);
}
MFloatPoint unset(const MFloatPoint*) {
    return MFloatPoint(kNoFloat, kNoFloat, kNoFloat, kNoFloat);
}
float unset(const float*) {
    return kNoFloat;
}
int unset(const int*) {
    return INT_MIN;
}

// Runs what may need memory; the array keeps its length when there is none.
template <typename Work>
MStatus guarded(const Work& work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        return MStatus::kInsufficientMemory;
    }
    return MStatus::kSuccess;
}

template <typename T>
MStatus setAt(headless::ArrayStorage<T>& held, const T& element, unsigned int index) {
    if (index >= held.size()) return MStatus::kInvalidParameter;
    held.at(index) = element;
    return MStatus::kSuccess;
}

} // namespace

namespace Autodesk::Maya::OpenMaya20240000 {

MPointArray::MPointArray() = default;
MPointArray::MPointArray(const MPointArray& other) = default;
MPointArray::MPointArray(unsigned int initialSize, const MPoint& initialValue) {
    guarded([&] { held.resize(initialSize, initialValue); });
}
MPointArray::MPointArray(const MPoint src[], unsigned int count) {
    guarded([&] { held.assign(src, count); });
}
MPointArray::~MPointArray() = default;
MPointArray& MPointArray::operator=(const MPointArray& other) = default;

MStatus MPointArray::setLength(unsigned int length) {
    return guarded([&] { held.resize(length, unset(static_cast<const MPoint*>(nullptr))); });
}
MStatus MPointArray::append(const MPoint& element) {
    return guarded([&] { held.append(element); });
}
MStatus MPointArray::set(const MPoint& element, unsigned int index) {
    return setAt(held, element, index);
}
MStatus MPointArray::clear() {
    held.clear();
    return MStatus::kSuccess;
}
MStatus MPointArray::copy(const MPointArray& source) {
    return guarded([&] { held = source.held; });
}
MStatus MPointArray::get(MPoint array[]) const {
    for (unsigned int i = 0; i < held.size(); ++i) array[i] = held.at(i);
    return MStatus::kSuccess;
}
MPointArray::MPointArray(const double src[][4], unsigned int count) {
    guarded([&] {
        held.resize(count, MPoint());
        for (unsigned int i = 0; i < count; ++i) held.at(i) = MPoint(src[i]);
    });
}
MStatus MPointArray::get(double array[][4]) const {
    for (unsigned int i = 0; i < held.size(); ++i) held.at(i).get(array[i]);
    return MStatus::kSuccess;
}
MPointArray::MPointArray(const float src[][4], unsigned int count) {
    guarded([&] {
        held.resize(count, MPoint());
        for (unsigned int i = 0; i < count; ++i) held.at(i) = MPoint(src[i]);
    });
}
MStatus MPointArray::get(float array[][4]) const {
    for (unsigned int i = 0; i < held.size(); ++i) held.at(i).get(array[i]);
    return MStatus::kSuccess;
}
MStatus MPointArray::append(double x, double y, double z, double w) {
    return append(MPoint(x, y, z, w));
}

MFloatPointArray::MFloatPointArray() = default;
MFloatPointArray::MFloatPointArray(const MFloatPointArray& other) = default;
MFloatPointArray::MFloatPointArray(unsigned int initialSize, const MFloatPoint& initialValue) {
    guarded([&] { held.resize(initialSize, initialValue); });
}
MFloatPointArray::MFloatPointArray(const MFloatPoint src[], unsigned int count) {
    guarded([&] { held.assign(src, count); });
}
MFloatPointArray::~MFloatPointArray() = default;
MFloatPointArray& MFloatPointArray::operator=(const MFloatPointArray& other) = default;

MStatus MFloatPointArray::setLength(unsigned int length) {
    return guarded([&] { held.resize(length, unset(static_cast<const MFloatPoint*>(nullptr))); });
}
MStatus MFloatPointArray::append(const MFloatPoint& element) {
    return guarded([&] { held.append(element); });
}
MStatus MFloatPointArray::set(const MFloatPoint& element, unsigned int index) {
    return setAt(held, element, index);
}
MStatus MFloatPointArray::clear() {
    held.clear();
    return MStatus::kSuccess;
}
MStatus MFloatPointArray::copy(const MFloatPointArray& source) {
    return guarded([&] { held = source.held; });
}
MStatus MFloatPointArray::get(MFloatPoint array[]) const {
    for (unsigned int i = 0; i < held.size(); ++i) array[i] = held.at(i);
    return MStatus::kSuccess;
}
MFloatPointArray::MFloatPointArray(const double src[][4], unsigned int count) {
    guarded([&] {
        held.resize(count, MFloatPoint());
        for (unsigned int i = 0; i < count; ++i) held.at(i) = MFloatPoint(src[i]);
    });
}
MStatus MFloatPointArray::get(double array[][4]) const {
    for (unsigned int i = 0; i < held.size(); ++i) held.at(i).get(array[i]);
    return MStatus::kSuccess;
}
MFloatPointArray::MFloatPointArray(const float src[][4], unsigned int count) {
    guarded([&] {
        held.resize(count, MFloatPoint());
        for (unsigned int i = 0; i < count; ++i) held.at(i) = MFloatPoint(src[i]);
    });
}
MStatus MFloatPointArray::get(float array[][4]) const {
    for (unsigned int i = 0; i < held.size(); ++i) held.at(i).get(array[i]);
    return MStatus::kSuccess;
}

MFloatArray::MFloatArray() = default;
MFloatArray::MFloatArray(const MFloatArray& other) = default;
MFloatArray::MFloatArray(unsigned int initialSize, float initialValue) {
    guarded([&] { held.resize(initialSize, initialValue); });
}
MFloatArray::MFloatArray(const float src[], unsigned int count) {
    guarded([&] { held.assign(src, count); });
}
MFloatArray::~MFloatArray() = default;
MFloatArray& MFloatArray::operator=(const MFloatArray& other) = default;

MStatus MFloatArray::setLength(unsigned int length) {
    return guarded([&] { held.resize(length, unset(static_cast<const float*>(nullptr))); });
}
MStatus MFloatArray::append(float element) {
    return guarded([&] { held.append(element); });
}
MStatus MFloatArray::set(float element, unsigned int index) {
    return setAt(held, element, index);
}
MStatus MFloatArray::clear() {
    held.clear();
    return MStatus::kSuccess;
}
MStatus MFloatArray::copy(const MFloatArray& source) {
    return guarded([&] { held = source.held; });
}
MStatus MFloatArray::get(float array[]) const {
    for (unsigned int i = 0; i < held.size(); ++i) array[i] = held.at(i);
    return MStatus::kSuccess;
}

MIntArray::MIntArray() = default;
MIntArray::MIntArray(const MIntArray& other) = default;
MIntArray::MIntArray(unsigned int initialSize, int initialValue) {
    guarded([&] { held.resize(initialSize, initialValue); });
}
MIntArray::MIntArray(const int src[], unsigned int count) {
    guarded([&] { held.assign(src, count); });
}
MIntArray::~MIntArray() = default;
MIntArray& MIntArray::operator=(const MIntArray& other) = default;

MStatus MIntArray::setLength(unsigned int length) {
    return guarded([&] { held.resize(length, unset(static_cast<const int*>(nullptr))); });
}
MStatus MIntArray::append(int element) {
    return guarded([&] { held.append(element); });
}
MStatus MIntArray::set(int element, unsigned int index) {
    return setAt(held, element, index);
}
MStatus MIntArray::clear() {
    held.clear();
    return MStatus::kSuccess;
}
MStatus MIntArray::copy(const MIntArray& source) {
    return guarded([&] { held = source.held; });
}
MStatus MIntArray::get(int array[]) const {
    for (unsigned int i = 0; i < held.size(); ++i) array[i] = held.at(i);
    return MStatus::kSuccess;
}

} // namespace Autodesk::Maya::OpenMaya20240000
