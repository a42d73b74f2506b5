// SPDX-License-Identifier: Apache-2.0
// The way back: a capture as text. The mirror of the readers, key by key.
#include "host/capture/capture.h"
#include "host/capture/value_writer.h"
#include "host/host_error.h"
#include "host/writers/atomic_file.h"

namespace talvisora::host {

namespace {

void writeRecord(JsonWriter& json, const RecordEntries& record) {
    json.beginObject();
    if (record.active) {
        json.key("active");
        if (*record.active <= 1)
            json.value(*record.active == 1);
        else
            json.value(std::int32_t(*record.active));
    }
    if (record.points) json.key("points").value(*record.points);
    if (record.matrix) json.key("matrix").value(*record.matrix);
    if (record.weights) json.key("weights").value(*record.weights);
    json.endObject();
}

void writeSelection(JsonWriter& json, const std::vector<SelectionItem>& items) {
    json.beginArray();
    for (const SelectionItem& item : items) {
        json.beginObject();
        json.key(item.kind == SelectionItem::Kind::kNode ? "node" : "mesh").value(item.name);
        switch (item.kind) {
        case SelectionItem::Kind::kVertices:
            json.key("vertices").value(item.components);
            break;
        case SelectionItem::Kind::kEdges:
            json.key("edges").value(item.components);
            break;
        case SelectionItem::Kind::kFaces:
            json.key("faces").value(item.components);
            break;
        case SelectionItem::Kind::kObject:
        case SelectionItem::Kind::kNode:
            break;
        }
        json.endObject();
    }
    json.endArray();
}

void writeSet(JsonWriter& json, const CaptureCall& call) {
    if (!call.attributes.empty()) writeValues(json.key("attributes"), call.attributes);
    if (!call.sharedInputs.empty()) writeValues(json.key("sharedInputs"), call.sharedInputs);
    if (call.record) writeRecord(json.key("record"), *call.record);
    if (call.selection) writeSelection(json.key("selection"), *call.selection);
    if (!call.removedAttributes.empty() || !call.removedSharedInputs.empty()) {
        json.key("remove").beginObject();
        json.key("attributes").value(call.removedAttributes);
        json.key("sharedInputs").value(call.removedSharedInputs);
        json.endObject();
    }
}

void writeCall(JsonWriter& json, const CaptureCall& call) {
    json.beginObject().key("call").value(call.name);
    if (call.keepPoints) json.key("points").value("keep");
    if (call.gpuPointCount || !call.gpuNull.empty()) {
        json.key("gpu").beginObject();
        if (call.gpuPointCount) json.key("count").value(*call.gpuPointCount);
        if (!call.gpuNull.empty()) json.key("null").value(call.gpuNull);
        json.endObject();
    }
    if (!call.arguments.empty()) writeValues(json.key("arguments"), call.arguments);
    if (!call.omit.empty()) json.key("omit").value(call.omit);
    if (call.kind == CaptureCall::Kind::kSet) writeSet(json, call);
    json.endObject();
}

} // namespace

std::string captureText(const Capture& capture) {
    JsonWriter json;
    json.beginObject();
    json.key("format").value("talvisora-capture");
    json.key("version").value(std::int32_t(1));
    json.key("node").value(capture.node);
    writeValues(json.key("attributes"), capture.attributes);
    writeValues(json.key("sharedInputs"), capture.sharedInputs);
    if (capture.record) {
        const DeformRecord& record = *capture.record;
        writeRecord(json.key("record"), {record.active, record.points, record.matrix, record.weights});
    }
    if (!capture.meshes.empty()) {
        json.key("meshes").beginArray();
        for (const CaptureMesh& mesh : capture.meshes) {
            json.beginObject();
            json.key("name").value(mesh.name).key("points").value(mesh.points).key("faces").value(mesh.faces);
            json.endObject();
        }
        json.endArray();
    }
    if (!capture.selection.empty()) writeSelection(json.key("selection"), capture.selection);
    json.key("calls").beginArray();
    for (const CaptureCall& call : capture.calls) writeCall(json, call);
    json.endArray();
    json.endObject();
    return json.text() + "\n";
}

void writeCapture(const std::string& path, const Capture& capture) {
    const std::string text = captureText(capture);
    AtomicFile file(path);
    file.write(text);
    file.commit();
}

} // namespace talvisora::host
