// SPDX-License-Identifier: Apache-2.0
#include "host/replay/answer.h"

namespace talvisora::host {

void writeMessages(JsonWriter& json, const std::vector<ShownMessage>& messages) {
    json.beginArray();
    for (const ShownMessage& message : messages)
        json.beginObject().key("level").value(message.level).key("text").value(message.text).endObject();
    json.endArray();
}

void writeDescriptors(JsonWriter& json, const std::vector<AttributeDescriptor>& descriptors) {
    json.beginArray();
    for (const AttributeDescriptor& descriptor : descriptors) {
        json.beginObject();
        json.key("type").value(descriptor.type);
        json.key("short").value(descriptor.shortName);
        json.key("long").value(descriptor.longName);
        json.key("keyable").value(descriptor.keyable);
        json.key("hidden").value(descriptor.hidden);
        json.key("array").value(descriptor.array);
        json.key("cached").value(descriptor.cached);
        json.key("default").value(descriptor.defaultValue);
        json.key("text").value(descriptor.defaultText);
        json.key("min");
        descriptor.hasMinimum ? json.value(descriptor.minimum) : json.null();
        json.key("max");
        descriptor.hasMaximum ? json.value(descriptor.maximum) : json.null();
        writeDescriptors(json.key("children"), descriptor.children);
        json.endObject();
    }
    json.endArray();
}

void writeOutput(JsonWriter& json, const GrData& data) {
    json.beginObject();
    const auto open = [&json](const char* name) -> JsonWriter& { return json.key(name).beginObject(); };
    if (const auto* number = dynamic_cast<const GrInt*>(&data)) {
        open(GrInt::kTypeName).key("value").value(number->value).key("values").value(number->values);
    } else if (const auto* text = dynamic_cast<const GrString*>(&data)) {
        open(GrString::kTypeName).key("value").value(text->value);
        if (!text->values.empty()) json.key("values").value(text->values);
    } else if (const auto* single = dynamic_cast<const GrFloat*>(&data)) {
        open(GrFloat::kTypeName).key("value").value(single->value);
        if (!single->values.empty()) json.key("values").value(single->values);
    } else if (const auto* real = dynamic_cast<const GrDouble*>(&data)) {
        open(GrDouble::kTypeName).key("value").value(real->value);
    } else if (const auto* flag = dynamic_cast<const GrBoolean*>(&data)) {
        open(GrBoolean::kTypeName).key("value").value(flag->value);
    } else if (const auto* matrix = dynamic_cast<const GrMatrix*>(&data)) {
        open(GrMatrix::kTypeName).key("value").value(matrix->value);
    } else {
        json.key("GrData").null().endObject();
        return;
    }
    json.endObject().endObject();
}

void writeChange(JsonWriter& json, const SceneChange& change) {
    json.key("commands").value(change.commands);
    json.key("written").beginObject();
    for (const auto& [array, list] : change.written) {
        json.key("block[" + std::to_string(array.first) + "]." + array.second).beginObject();
        json.key("indices").value(list.indices).key("values").value(list.values);
        json.endObject();
    }
    json.endObject();
}

} // namespace talvisora::host
