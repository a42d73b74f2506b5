// SPDX-License-Identifier: Apache-2.0
// The values that cross the boundary between the graph host and the module: one small polymorphic family,
// owned through shared pointers and found by name in ordered maps. The class names are the type names that
// messages print; there is no numeric conversion between the classes.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "maths/matrix44.h"

class GrData;

/// Values by name, compared as byte strings. The map owns its values by shared ownership; an entry may hold
/// an empty pointer, which every reader treats as a value of the wrong class.
using ValueMap = std::map<std::string, std::shared_ptr<GrData>>;

/// Base of all values. Array values are sparse (Maya multis): element k of the derived class's `values` has
/// the logical index `indices[k]`; empty for a scalar. The only virtual operation is the destructor. Two
/// lists of different length can arrive from outside: every reader checks (see `densify`).
class GrData {
public:
    virtual ~GrData() = default;
    std::vector<std::int32_t> indices;
};

// In every class the scalar is the first field after the base, at the same offset in all of them.

class GrBoolean : public GrData {
public:
    static constexpr const char* kTypeName = "GrBoolean";
    bool value = false;
};

class GrInt : public GrData {
public:
    static constexpr const char* kTypeName = "GrInt";
    std::int32_t value = 0;
    std::vector<std::int32_t> values;
};

class GrFloat : public GrData {
public:
    static constexpr const char* kTypeName = "GrFloat";
    float value = 0.0f;
    std::vector<float> values;
};

class GrDouble : public GrData {
public:
    static constexpr const char* kTypeName = "GrDouble";
    double value = 0.0;
};

class GrString : public GrData {
public:
    static constexpr const char* kTypeName = "GrString";
    std::string value;
    std::vector<std::string> values;
};

class GrPtr : public GrData {
public:
    static constexpr const char* kTypeName = "GrPtr";
    void* value = nullptr; ///< borrowed: a host or module object, never deleted through this value
};

class GrMatrix : public GrData {
public:
    static constexpr const char* kTypeName = "GrMatrix";
    talvisora::Matrix44d value;
};

class GrCompound : public GrData {
public:
    static constexpr const char* kTypeName = "GrCompound";
    ValueMap value;               ///< children by full attribute name
    std::vector<ValueMap> values; ///< one child map per element of an array compound, in element order
};

/// The value as class T, sharing ownership with the source (the count rises by one); an empty pointer when it
/// is of another class or empty. Cannot fail otherwise.
template <class T>
std::shared_ptr<T> castTo(const std::shared_ptr<GrData>& data) {
    return std::dynamic_pointer_cast<T>(data);
}

/// The entry under `key`, or an out-of-range error with a fixed text: the standard libraries word theirs
/// differently, and this one may leave the module.
inline const std::shared_ptr<GrData>& checkedAt(const ValueMap& map, const std::string& key) {
    const auto entry = map.find(key);
    if (entry == map.end()) throw std::out_of_range("invalid map<K, T> key");
    return entry->second;
}

/// Spreads a sparse list over `count` slots that already hold the default: values[k] goes to
/// dense[indices[k]], the later element winning. Only when both lists have the same length; an index outside
/// [0, count) is skipped. At most `count` elements are written.
inline void densify(const std::vector<std::int32_t>& indices, const std::vector<float>& values,
                    std::size_t count, float* dense) {
    if (indices.size() != values.size()) return;
    const std::size_t elements = values.size() < count ? values.size() : count;
    for (std::size_t k = 0; k < elements; ++k) {
        const std::int64_t slot = indices[k];
        if (slot >= 0 && static_cast<std::uint64_t>(slot) < count) dense[slot] = values[k];
    }
}

/// A new whole-number value from a list (copied), scalar 0.
inline std::shared_ptr<GrInt> makeInts(const std::vector<std::int32_t>& values) {
    auto data = std::make_shared<GrInt>();
    data->values = values;
    return data;
}

/// A new text value.
inline std::shared_ptr<GrString> makeText(const std::string& text) {
    auto data = std::make_shared<GrString>();
    data->value = text;
    return data;
}
