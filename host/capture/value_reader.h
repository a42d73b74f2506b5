// SPDX-License-Identifier: Apache-2.0
// The small readers from which a capture is read: each takes a JSON value and its place, and either answers a
// typed value or refuses the place. And the readers of the typed values that go into a node's maps.
#pragma once

#include "gr_data.h"
#include "host/capture/json_tree.h"

#include <string>
#include <vector>

namespace talvisora::host {

const JsonValue::Object& readObject(const JsonValue& json, const JsonPlace& place);
const JsonValue::Array& readArray(const JsonValue& json, const JsonPlace& place);
const std::string& readText(const JsonValue& json, const JsonPlace& place);
bool readBoolean(const JsonValue& json, const JsonPlace& place);
/// A whole number of 32 bits with sign.
std::int32_t readInt(const JsonValue& json, const JsonPlace& place);
/// A number, or one of the texts "NaN", "Infinity", "-Infinity".
double readDouble(const JsonValue& json, const JsonPlace& place);
float readFloat(const JsonValue& json, const JsonPlace& place);
/// Sixteen numbers.
Matrix44d readMatrix(const JsonValue& json, const JsonPlace& place);
/// Lists of three numbers each.
std::vector<Vec3d> readPoints(const JsonValue& json, const JsonPlace& place);

/// Every entry of a list through `read(entry, place)`.
template <class Read>
auto readList(const JsonValue& json, const JsonPlace& place, Read read)
    -> std::vector<std::decay_t<decltype(read(json, place))>> {
    std::vector<std::decay_t<decltype(read(json, place))>> list;
    const JsonValue::Array& entries = readArray(json, place);
    list.reserve(entries.size());
    for (std::size_t k = 0; k < entries.size(); ++k) list.push_back(read(entries[k], JsonPlace(place, k)));
    return list;
}

/// The entry of an object, null when it is absent.
const JsonValue* findKey(const JsonValue::Object& object, const std::string& key);
/// The entry of an object, which must be there.
const JsonValue& needKey(const JsonValue::Object& object, const std::string& key, const JsonPlace& place);
/// Refuses the first key that is not in the list.
void allowKeys(const JsonValue::Object& object, const JsonPlace& place,
               std::initializer_list<const char*> keys);

/// A map of typed values by name: {"ENVELOPE": {"GrFloat": 1}, …}; null is a key with an empty pointer.
ValueMap readValues(const JsonValue& json, const JsonPlace& place);

} // namespace talvisora::host
