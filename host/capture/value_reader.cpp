// SPDX-License-Identifier: Apache-2.0
#include "host/capture/value_reader.h"

#include "host/capture/capture.h"

#include <cmath>
#include <limits>

namespace talvisora::host {

const JsonValue::Object& readObject(const JsonValue& json, const JsonPlace& place) {
    if (!json.object()) place.refuseType("object", json);
    return *json.object();
}

const JsonValue::Array& readArray(const JsonValue& json, const JsonPlace& place) {
    if (!json.array()) place.refuseType("list", json);
    return *json.array();
}

const std::string& readText(const JsonValue& json, const JsonPlace& place) {
    if (!json.text()) place.refuseType("text", json);
    return *json.text();
}

bool readBoolean(const JsonValue& json, const JsonPlace& place) {
    if (!json.boolean()) place.refuseType("boolean", json);
    return *json.boolean();
}

std::int32_t readInt(const JsonValue& json, const JsonPlace& place) {
    if (!json.number()) place.refuseType("whole number", json);
    const double number = json.number()->nearest;
    if (number != std::floor(number)) place.refuse("whole number expected, fraction found");
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        place.refuse("outside the range of 32 bits");
    return static_cast<std::int32_t>(number);
}

namespace {

JsonValue::Number readNumber(const JsonValue& json, const JsonPlace& place) {
    using Double = std::numeric_limits<double>;
    using Single = std::numeric_limits<float>;
    if (json.number()) return *json.number();
    if (const std::string* text = json.text()) {
        if (*text == "NaN") return {Double::quiet_NaN(), Single::quiet_NaN()};
        if (*text == "Infinity") return {Double::infinity(), Single::infinity()};
        if (*text == "-Infinity") return {-Double::infinity(), -Single::infinity()};
    }
    place.refuseType("number", json);
}

// {"indices": […], "values": […]}: both named; their lengths may differ on purpose.
template <class Value, class Read>
void readSparse(const JsonValue& json, const JsonPlace& place, GrData& data, std::vector<Value>& values,
                Read read) {
    const JsonValue::Object& object = readObject(json, place);
    allowKeys(object, place, {"indices", "values"});
    static const std::string indicesKey = "indices", valuesKey = "values";
    data.indices = readList(needKey(object, indicesKey, place), JsonPlace(place, indicesKey), readInt);
    values = readList(needKey(object, valuesKey, place), JsonPlace(place, valuesKey), read);
}

template <class Class, class List, class Read>
std::shared_ptr<GrData> readNumeric(const JsonValue& json, const JsonPlace& place, Read read) {
    if (json.object()) {
        auto data = std::make_shared<List>();
        readSparse(json, place, *data, data->values, read);
        return data;
    }
    auto data = std::make_shared<Class>();
    data->value = read(json, place);
    return data;
}

std::shared_ptr<GrData> readPointer(const JsonValue& json, const JsonPlace& place) {
    auto data = std::make_shared<CapturedPtr>();
    if (json.isNull()) return data;
    const std::string& target = readText(json, place);
    if (target == "record")
        data->target = PointerTarget::kRecord;
    else if (target == "attributes")
        data->target = PointerTarget::kAttributes;
    else if (target == "node")
        data->target = PointerTarget::kNode;
    else if (target == "otherNode")
        data->target = PointerTarget::kOtherNode;
    else if (target == "context")
        data->target = PointerTarget::kContext;
    else
        place.refuse("null, record, attributes, node, otherNode or context expected");
    return data;
}

std::shared_ptr<GrData> readHierarchy(const JsonValue& json, const JsonPlace& place) {
    auto data = std::make_shared<CapturedHierarchy>();
    const JsonValue::Array& records = readArray(json, place);
    static const std::string nameKey = "name", parentKey = "parent", flagKey = "flag", localKey = "local",
                             restKey = "restLocal";
    for (std::size_t k = 0; k < records.size(); ++k) {
        const JsonPlace here(place, k);
        const JsonValue::Object& object = readObject(records[k], here);
        allowKeys(object, here, {"name", "parent", "flag", "local", "restLocal"});
        const std::string& name = readText(needKey(object, nameKey, here), JsonPlace(here, nameKey));
        if (data->find(name)) JsonPlace(here, nameKey).refuse("'" + name + "' is given twice");
        JointRecord record;
        if (const JsonValue* parent = findKey(object, parentKey))
            record.parent = readText(*parent, JsonPlace(here, parentKey));
        if (const JsonValue* flag = findKey(object, flagKey))
            record.parentRotationOnly = readBoolean(*flag, JsonPlace(here, flagKey));
        record.local = readMatrix(needKey(object, localKey, here), JsonPlace(here, localKey));
        record.restLocal = readMatrix(needKey(object, restKey, here), JsonPlace(here, restKey));
        data->set(name, std::move(record));
        data->names.push_back(name);
    }
    return data;
}

std::shared_ptr<GrData> readCompound(const JsonValue& json, const JsonPlace& place) {
    auto data = std::make_shared<GrCompound>();
    data->values = readList(json, place, readValues);
    for (std::size_t k = 0; k < data->values.size(); ++k)
        data->indices.push_back(static_cast<std::int32_t>(k));
    return data;
}

std::shared_ptr<GrData> readValue(const JsonValue& json, const JsonPlace& place) {
    if (json.isNull()) return nullptr;
    const JsonValue::Object& object = readObject(json, place);

    if (const JsonValue* elements = findKey(object, "GrCompound")) {
        static const std::string compoundKey = "GrCompound", indicesKey = "indices";
        allowKeys(object, place, {"GrCompound", "indices"});
        const auto data = readCompound(*elements, JsonPlace(place, compoundKey));
        if (const JsonValue* indices = findKey(object, indicesKey))
            data->indices = readList(*indices, JsonPlace(place, indicesKey), readInt);
        return data;
    }

    if (object.size() != 1)
        place.refuse("one class name expected as the only key, " + std::to_string(object.size()) + " found");
    const std::string& name = object.begin()->first;
    const JsonValue& content = object.begin()->second;
    const JsonPlace here(place, name);
    if (name == GrBoolean::kTypeName)
        return readNumeric<GrBoolean, CapturedBooleans>(content, here, readBoolean);
    if (name == GrInt::kTypeName) return readNumeric<GrInt, GrInt>(content, here, readInt);
    if (name == GrFloat::kTypeName) return readNumeric<GrFloat, GrFloat>(content, here, readFloat);
    if (name == GrDouble::kTypeName) return readNumeric<GrDouble, CapturedDoubles>(content, here, readDouble);
    if (name == GrString::kTypeName) return readNumeric<GrString, GrString>(content, here, readText);
    if (name == GrPtr::kTypeName) return readPointer(content, here);
    if (name == "GrHierarchy") return readHierarchy(content, here);
    if (name == GrMatrix::kTypeName) {
        auto data = std::make_shared<GrMatrix>();
        data->value = readMatrix(content, here);
        return data;
    }
    here.refuse("unknown class name");
}

} // namespace

double readDouble(const JsonValue& json, const JsonPlace& place) {
    return readNumber(json, place).nearest;
}

float readFloat(const JsonValue& json, const JsonPlace& place) {
    return readNumber(json, place).single;
}

Matrix44d readMatrix(const JsonValue& json, const JsonPlace& place) {
    const JsonValue::Array& numbers = readArray(json, place);
    if (numbers.size() != 16)
        place.refuse("16 numbers expected, " + std::to_string(numbers.size()) + " found");
    Matrix44d matrix;
    for (std::size_t k = 0; k < 16; ++k) matrix.m[k] = readDouble(numbers[k], JsonPlace(place, k));
    return matrix;
}

std::vector<Vec3d> readPoints(const JsonValue& json, const JsonPlace& place) {
    return readList(json, place, [](const JsonValue& entry, const JsonPlace& here) {
        const JsonValue::Array& numbers = readArray(entry, here);
        if (numbers.size() != 3)
            here.refuse("3 numbers expected, " + std::to_string(numbers.size()) + " found");
        return Vec3d{readDouble(numbers[0], JsonPlace(here, 0)), readDouble(numbers[1], JsonPlace(here, 1)),
                     readDouble(numbers[2], JsonPlace(here, 2))};
    });
}

const JsonValue* findKey(const JsonValue::Object& object, const std::string& key) {
    const auto entry = object.find(key);
    return entry == object.end() ? nullptr : &entry->second;
}

const JsonValue& needKey(const JsonValue::Object& object, const std::string& key, const JsonPlace& place) {
    const JsonValue* entry = findKey(object, key);
    if (!entry) JsonPlace(place, key).refuse("missing");
    return *entry;
}

void allowKeys(const JsonValue::Object& object, const JsonPlace& place,
               std::initializer_list<const char*> keys) {
    for (const auto& entry : object) {
        bool known = false;
        for (const char* key : keys) known = known || entry.first == key;
        if (!known) JsonPlace(place, entry.first).refuse("unknown key");
    }
}

ValueMap readValues(const JsonValue& json, const JsonPlace& place) {
    ValueMap values;
    for (const auto& entry : readObject(json, place))
        values[entry.first] = readValue(entry.second, JsonPlace(place, entry.first));
    return values;
}

} // namespace talvisora::host
