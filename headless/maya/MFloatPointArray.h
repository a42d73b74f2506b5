// SPDX-License-Identifier: Apache-2.0
// An array of MFloatPoint.
#pragma once

#include "../array_storage.h"
#include "../headless_api.h"
#include <maya/MApiNamespace.h>
#include <maya/MFloatPoint.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Elements lie one after the other. Copying copies them. setLength leaves new elements without a value to
/// rely on (here NaN, so that a forgotten one shows). An index past the end is no error that Maya would
/// report; here it counts as misuse and yields a throw-away element.
class HEADLESS_API MFloatPointArray {
public:
    MFloatPointArray();
    MFloatPointArray(const MFloatPointArray& other);
    MFloatPointArray(unsigned int initialSize, const MFloatPoint& initialValue = MFloatPoint::origin);
    MFloatPointArray(const MFloatPoint src[], unsigned int count);
    MFloatPointArray(const double src[][4], unsigned int count);
    MFloatPointArray(const float src[][4], unsigned int count);
    ~MFloatPointArray();
    MFloatPointArray& operator=(const MFloatPointArray& other);

    unsigned int length() const { return held.size(); }
    MStatus setLength(unsigned int length);
    MFloatPoint& operator[](unsigned int index) { return held.at(index); }
    const MFloatPoint& operator[](unsigned int index) const { return held.at(index); }
    MStatus append(const MFloatPoint& element);
    MStatus set(const MFloatPoint& element, unsigned int index);
    MStatus clear();
    MStatus copy(const MFloatPointArray& source);
    MStatus get(MFloatPoint array[]) const;
    MStatus get(double array[][4]) const;
    MStatus get(float array[][4]) const;

    MFloatPoint* begin() { return held.first(); }
    MFloatPoint* end() { return held.first() + held.size(); }
    const MFloatPoint* begin() const { return held.first(); }
    const MFloatPoint* end() const { return held.first() + held.size(); }
    const MFloatPoint* cbegin() const { return held.first(); }
    const MFloatPoint* cend() const { return held.first() + held.size(); }

private:
    ::headless::ArrayStorage<MFloatPoint> held;
};

} // namespace Autodesk::Maya::OpenMaya20240000
