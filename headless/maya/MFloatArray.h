// SPDX-License-Identifier: Apache-2.0
// An array of float.
#pragma once

#include "../array_storage.h"
#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Elements lie one after the other. Copying copies them. setLength leaves new elements without a value to
/// rely on (here NaN, so that a forgotten one shows). An index past the end is no error that Maya would
/// report; here it counts as misuse and yields a throw-away element.
class HEADLESS_API MFloatArray {
public:
    MFloatArray();
    MFloatArray(const MFloatArray& other);
    MFloatArray(unsigned int initialSize, float initialValue);
    MFloatArray(const float src[], unsigned int count);
    ~MFloatArray();
    MFloatArray& operator=(const MFloatArray& other);

    unsigned int length() const { return held.size(); }
    MStatus setLength(unsigned int length);
    float& operator[](unsigned int index) { return held.at(index); }
    float operator[](unsigned int index) const { return held.at(index); }
    MStatus append(float element);
    MStatus set(float element, unsigned int index);
    MStatus clear();
    MStatus copy(const MFloatArray& source);
    MStatus get(float array[]) const;

    float* begin() { return held.first(); }
    float* end() { return held.first() + held.size(); }
    const float* begin() const { return held.first(); }
    const float* end() const { return held.first() + held.size(); }
    const float* cbegin() const { return held.first(); }
    const float* cend() const { return held.first() + held.size(); }

private:
    ::headless::ArrayStorage<float> held;
};

} // namespace Autodesk::Maya::OpenMaya20240000
