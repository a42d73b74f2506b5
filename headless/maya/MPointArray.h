// SPDX-License-Identifier: Apache-2.0
// An array of MPoint.
#pragma once

#include "../array_storage.h"
#include "../headless_api.h"
#include <maya/MApiNamespace.h>
#include <maya/MPoint.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Elements lie one after the other. Copying copies them. setLength leaves new elements without a value to
/// rely on (here NaN, so that a forgotten one shows). An index past the end is no error that Maya would
/// report; here it counts as misuse and yields a throw-away element.
class HEADLESS_API MPointArray {
public:
    MPointArray();
    MPointArray(const MPointArray& other);
    MPointArray(unsigned int initialSize, const MPoint& initialValue = MPoint::origin);
    MPointArray(const MPoint src[], unsigned int count);
    MPointArray(const double src[][4], unsigned int count);
    MPointArray(const float src[][4], unsigned int count);
    ~MPointArray();
    MPointArray& operator=(const MPointArray& other);

    unsigned int length() const { return held.size(); }
    MStatus setLength(unsigned int length);
    MPoint& operator[](unsigned int index) { return held.at(index); }
    const MPoint& operator[](unsigned int index) const { return held.at(index); }
    MStatus append(const MPoint& element);
    MStatus append(double x, double y, double z = 0, double w = 1);
    MStatus set(const MPoint& element, unsigned int index);
    MStatus clear();
    MStatus copy(const MPointArray& source);
    MStatus get(MPoint array[]) const;
    MStatus get(double array[][4]) const;
    MStatus get(float array[][4]) const;

    MPoint* begin() { return held.first(); }
    MPoint* end() { return held.first() + held.size(); }
    const MPoint* begin() const { return held.first(); }
    const MPoint* end() const { return held.first() + held.size(); }
    const MPoint* cbegin() const { return held.first(); }
    const MPoint* cend() const { return held.first() + held.size(); }

private:
    ::headless::ArrayStorage<MPoint> held;
};

} // namespace Autodesk::Maya::OpenMaya20240000
