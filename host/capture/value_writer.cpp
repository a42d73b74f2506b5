// SPDX-License-Identifier: Apache-2.0
#include "host/capture/value_writer.h"

#include "host/capture/capture.h"
#include "host/host_error.h"

namespace talvisora::host {

namespace {

// A value counts as a list when it holds one, or indices.
template <class Value>
void writeSparse(JsonWriter& json, const GrData& data, const std::vector<Value>& values) {
    json.beginObject().key("indices").value(data.indices).key("values").beginArray();
    for (const auto& value : values) json.value(static_cast<const Value&>(value));
    json.endArray().endObject();
}

template <class Class>
bool writeNumeric(JsonWriter& json, const std::shared_ptr<GrData>& data, bool emptyIsList) {
    const auto typed = castTo<Class>(data);
    if (!typed) return false;
    json.beginObject().key(Class::kTypeName);
    const bool list = !typed->values.empty() || !typed->indices.empty();
    if (list || (emptyIsList && typed->value == decltype(typed->value){}))
        writeSparse(json, *typed, typed->values);
    else
        json.value(typed->value);
    json.endObject();
    return true;
}

const char* targetName(PointerTarget target) {
    switch (target) {
    case PointerTarget::kRecord:
        return "record";
    case PointerTarget::kAttributes:
        return "attributes";
    case PointerTarget::kNode:
        return "node";
    case PointerTarget::kOtherNode:
        return "otherNode";
    case PointerTarget::kContext:
        return "context";
    case PointerTarget::kNull:
        break;
    }
    return nullptr;
}

void writeHierarchy(JsonWriter& json, const CapturedHierarchy& hierarchy) {
    json.beginArray();
    for (const std::string& name : hierarchy.names) {
        const JointRecord* record = hierarchy.find(name);
        if (!record) continue;
        json.beginObject();
        json.key("name").value(name).key("parent").value(record->parent);
        json.key("flag").value(record->parentRotationOnly);
        json.key("local").value(record->local).key("restLocal").value(record->restLocal);
        json.endObject();
    }
    json.endArray();
}

void writeCompound(JsonWriter& json, const GrCompound& compound) {
    json.beginArray();
    bool plain = compound.indices.size() == compound.values.size();
    for (std::size_t k = 0; k < compound.values.size(); ++k) {
        writeValues(json, compound.values[k]);
        plain = plain && compound.indices[k] == static_cast<std::int32_t>(k);
    }
    json.endArray();
    if (!plain) json.key("indices").value(compound.indices);
}

void writeValue(JsonWriter& json, const std::shared_ptr<GrData>& data, const std::string& key) {
    if (!data) {
        json.null();
        return;
    }
    if (writeNumeric<CapturedBooleans>(json, data, true) || writeNumeric<CapturedDoubles>(json, data, true) ||
        writeNumeric<GrInt>(json, data, false) || writeNumeric<GrFloat>(json, data, false) ||
        writeNumeric<GrString>(json, data, false))
        return;
    json.beginObject();
    if (const auto flag = castTo<GrBoolean>(data)) {
        json.key(GrBoolean::kTypeName).value(flag->value);
    } else if (const auto number = castTo<GrDouble>(data)) {
        json.key(GrDouble::kTypeName).value(number->value);
    } else if (const auto matrix = castTo<GrMatrix>(data)) {
        json.key(GrMatrix::kTypeName).value(matrix->value);
    } else if (const auto compound = castTo<GrCompound>(data)) {
        writeCompound(json.key(GrCompound::kTypeName), *compound);
    } else if (const auto pointer = castTo<CapturedPtr>(data)) {
        json.key(GrPtr::kTypeName);
        if (const char* target = targetName(pointer->target))
            json.value(target);
        else
            json.null();
    } else if (const auto hierarchy = castTo<CapturedHierarchy>(data)) {
        writeHierarchy(json.key("GrHierarchy"), *hierarchy);
    } else {
        throw HostError(ExitCode::kInput, "'" + key + "' is of a class that a capture cannot hold");
    }
    json.endObject();
}

} // namespace

void writeValues(JsonWriter& json, const ValueMap& values) {
    json.beginObject();
    for (const auto& entry : values) writeValue(json.key(entry.first), entry.second, entry.first);
    json.endObject();
}

} // namespace talvisora::host
