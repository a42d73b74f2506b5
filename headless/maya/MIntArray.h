// SPDX-License-Identifier: Apache-2.0
// An array of int.
#pragma once

#include "../array_storage.h"
#include "../headless_api.h"
#include <maya/MApiNamespace.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Elements lie one after the other. Copying copies them. setLength leaves new elements without a value to
/// rely on (here the smallest int, so that a forgotten one shows). An index past the end is no error that
/// Maya would report; here it counts as misuse and yields a throw-away element.
class HEADLESS_API MIntArray {
public:
    MIntArray();
    MIntArray(const MIntArray& other);
    MIntArray(unsigned int initialSize, int initialValue = 0);
    MIntArray(const int src[], unsigned int count);
    ~MIntArray();
    MIntArray& operator=(const MIntArray& other);

    unsigned int length() const { return held.size(); }
    MStatus setLength(unsigned int length);
    int& operator[](unsigned int index) { return held.at(index); }
    int operator[](unsigned int index) const { return held.at(index); }
    MStatus append(int element);
    MStatus set(int element, unsigned int index);
    MStatus clear();
    MStatus copy(const MIntArray& source);
    MStatus get(int array[]) const;

    int* begin() { return held.first(); }
    int* end() { return held.first() + held.size(); }
    const int* begin() const { return held.first(); }
    const int* end() const { return held.first() + held.size(); }
    const int* cbegin() const { return held.first(); }
    const int* cend() const { return held.first() + held.size(); }

private:
    ::headless::ArrayStorage<int> held;
};

} // namespace Autodesk::Maya::OpenMaya20240000
