// SPDX-License-Identifier: Apache-2.0
// From the tree to a capture, key by key. Every key of the document is either read or refused.
#include "host/capture/capture.h"
#include "host/capture/value_reader.h"
#include "host/host_error.h"

#include <algorithm>
#include <set>

namespace talvisora::host {

namespace {

using Object = JsonValue::Object;

// Reads the entry of that name with `read` when there is one.
template <class Read, class Target>
bool readEntry(const Object& object, const JsonPlace& place, const std::string& key, Read read,
               Target& target) {
    const JsonValue* json = findKey(object, key);
    if (!json) return false;
    target = read(*json, JsonPlace(place, key));
    return true;
}

std::vector<std::string> readTexts(const JsonValue& json, const JsonPlace& place) {
    return readList(json, place, readText);
}

std::vector<std::int32_t> readInts(const JsonValue& json, const JsonPlace& place) {
    return readList(json, place, readInt);
}

unsigned char readActive(const JsonValue& json, const JsonPlace& place) {
    if (const bool* flag = json.boolean()) return *flag ? 1 : 0;
    if (!json.number()) place.refuseType("boolean, or number from 0 to 255,", json);
    const std::int32_t byte = readInt(json, place);
    if (byte < 0 || byte > 255) place.refuse("a boolean or a number from 0 to 255 expected");
    return static_cast<unsigned char>(byte);
}

RecordEntries readRecord(const JsonValue& json, const JsonPlace& place) {
    const Object& object = readObject(json, place);
    allowKeys(object, place, {"active", "points", "matrix", "weights"});
    RecordEntries entries;
    readEntry(object, place, "active", readActive, entries.active);
    readEntry(object, place, "points", readPoints, entries.points);
    readEntry(object, place, "matrix", readMatrix, entries.matrix);
    readEntry(
        object, place, "weights",
        [](const JsonValue& list, const JsonPlace& here) { return readList(list, here, readFloat); },
        entries.weights);
    return entries;
}

CaptureMesh readMesh(const JsonValue& json, const JsonPlace& place) {
    const Object& object = readObject(json, place);
    allowKeys(object, place, {"name", "points", "faces"});
    CaptureMesh mesh;
    const std::string nameKey = "name";
    mesh.name = readText(needKey(object, nameKey, place), JsonPlace(place, nameKey));
    readEntry(object, place, "points", readPoints, mesh.points);
    const auto readFace = [&mesh](const JsonValue& list, const JsonPlace& here) {
        std::vector<std::int32_t> face = readInts(list, here);
        if (face.size() < 3)
            here.refuse("3 or more points expected, " + std::to_string(face.size()) + " found");
        for (std::size_t k = 0; k < face.size(); ++k)
            if (face[k] < 0 || static_cast<std::size_t>(face[k]) >= mesh.points.size())
                JsonPlace(here, k).refuse("no such point; the mesh has " +
                                          std::to_string(mesh.points.size()));
        return face;
    };
    readEntry(
        object, place, "faces",
        [&](const JsonValue& list, const JsonPlace& here) { return readList(list, here, readFace); },
        mesh.faces);
    return mesh;
}

SelectionItem readSelectionItem(const JsonValue& json, const JsonPlace& place) {
    const Object& object = readObject(json, place);
    SelectionItem item;
    if (findKey(object, "node")) {
        allowKeys(object, place, {"node"});
        item.kind = SelectionItem::Kind::kNode;
        readEntry(object, place, "node", readText, item.name);
        return item;
    }
    allowKeys(object, place, {"mesh", "vertices", "edges", "faces"});
    const std::string meshKey = "mesh";
    item.name = readText(needKey(object, meshKey, place), JsonPlace(place, meshKey));
    if (object.size() > 2) place.refuse("only one of vertices, edges and faces can be selected at once");
    if (readEntry(object, place, "vertices", readInts, item.components))
        item.kind = SelectionItem::Kind::kVertices;
    else if (readEntry(object, place, "edges", readInts, item.components))
        item.kind = SelectionItem::Kind::kEdges;
    else if (readEntry(object, place, "faces", readInts, item.components))
        item.kind = SelectionItem::Kind::kFaces;
    return item;
}

std::vector<SelectionItem> readSelection(const JsonValue& json, const JsonPlace& place) {
    return readList(json, place, readSelectionItem);
}

bool readPointsMode(const JsonValue& json, const JsonPlace& place) {
    if (readText(json, place) != "keep") place.refuse("only \"keep\" can stand here");
    return true;
}

void readGpu(const JsonValue& json, const JsonPlace& place, CaptureCall& call) {
    const Object& object = readObject(json, place);
    allowKeys(object, place, {"count", "null"});
    readEntry(object, place, "count", readInt, call.gpuPointCount);
    readEntry(object, place, "null", readTexts, call.gpuNull);
    const std::string nullKey = "null";
    for (std::size_t k = 0; k < call.gpuNull.size(); ++k) {
        const std::string& handle = call.gpuNull[k];
        if (handle != "INPUT" && handle != "OUTPUT" && handle != "WEIGHTS")
            JsonPlace(JsonPlace(place, nullKey), k).refuse("INPUT, OUTPUT or WEIGHTS expected");
    }
}

void readCommand(const Object& object, const JsonPlace& place, CaptureCall& call) {
    allowKeys(object, place, {"call", "arguments", "omit"});
    readEntry(object, place, "arguments", readValues, call.arguments);
    readEntry(object, place, "omit", readTexts, call.omit);
    const std::string omitKey = "omit";
    for (std::size_t k = 0; k < call.omit.size(); ++k)
        if (std::find(contextKeys().begin(), contextKeys().end(), call.omit[k]) == contextKeys().end())
            JsonPlace(JsonPlace(place, omitKey), k).refuse("not one of the six context keys");
}

void readSet(const Object& object, const JsonPlace& place, CaptureCall& call) {
    allowKeys(object, place, {"call", "attributes", "sharedInputs", "record", "selection", "remove"});
    readEntry(object, place, "attributes", readValues, call.attributes);
    readEntry(object, place, "sharedInputs", readValues, call.sharedInputs);
    readEntry(object, place, "record", readRecord, call.record);
    readEntry(object, place, "selection", readSelection, call.selection);
    const std::string removeKey = "remove";
    if (const JsonValue* json = findKey(object, removeKey)) {
        const JsonPlace here(place, removeKey);
        const Object& removed = readObject(*json, here);
        allowKeys(removed, here, {"attributes", "sharedInputs"});
        readEntry(removed, here, "attributes", readTexts, call.removedAttributes);
        readEntry(removed, here, "sharedInputs", readTexts, call.removedSharedInputs);
    }
}

CaptureCall readCall(const JsonValue& json, const JsonPlace& place) {
    using Kind = CaptureCall::Kind;
    const std::string callKey = "call", gpuKey = "gpu";
    const Object& object = readObject(json, place);
    CaptureCall call;
    call.name = readText(needKey(object, callKey, place), JsonPlace(place, callKey));
    if (call.name == "declareAttributes" || call.name == "releaseGpu") {
        call.kind = call.name == "releaseGpu" ? Kind::kReleaseGpu : Kind::kDeclareAttributes;
        allowKeys(object, place, {"call"});
    } else if (call.name == "deformCpu") {
        call.kind = Kind::kDeformCpu;
        allowKeys(object, place, {"call", "points"});
        readEntry(object, place, "points", readPointsMode, call.keepPoints);
    } else if (call.name == "deformGpu") {
        call.kind = Kind::kDeformGpu;
        allowKeys(object, place, {"call", "points", "gpu"});
        readEntry(object, place, "points", readPointsMode, call.keepPoints);
        if (const JsonValue* gpu = findKey(object, gpuKey)) readGpu(*gpu, JsonPlace(place, gpuKey), call);
    } else if (call.name == "help" || call.name == "resetParams" || call.name == "resetWeights" ||
               call.name == "checkFloatingPoints") {
        call.kind = Kind::kCommand;
        readCommand(object, place, call);
    } else if (call.name == "set") {
        call.kind = Kind::kSet;
        readSet(object, place, call);
    } else {
        JsonPlace(place, callKey).refuse("unknown call '" + call.name + "'");
    }
    return call;
}

// What only the whole document can tell: an evaluation needs a record, a selected mesh must be there.
void checkTogether(const Capture& capture) {
    bool record = capture.record.has_value();
    for (std::size_t k = 0; k < capture.calls.size(); ++k) {
        const CaptureCall& call = capture.calls[k];
        record = record || call.record.has_value();
        const bool evaluation =
            call.kind == CaptureCall::Kind::kDeformCpu || call.kind == CaptureCall::Kind::kDeformGpu;
        if (evaluation && !record)
            throw HostError(ExitCode::kInput, "/record: needed by /calls/" + std::to_string(k));
    }
    std::set<std::string> meshes;
    for (std::size_t k = 0; k < capture.meshes.size(); ++k) {
        const std::string& name = capture.meshes[k].name;
        if (name.empty() || name == capture.node)
            throw HostError(ExitCode::kInput,
                            "/meshes/" + std::to_string(k) + "/name: " +
                                (name.empty() ? "a mesh needs a name" : "'" + name + "' is the node's name"));
        if (!meshes.insert(name).second)
            throw HostError(ExitCode::kInput,
                            "/meshes/" + std::to_string(k) + "/name: '" + name + "' is given twice");
    }
    const auto checkSelection = [&meshes](const std::vector<SelectionItem>& items, const std::string& where) {
        for (std::size_t k = 0; k < items.size(); ++k) {
            const bool isMesh = meshes.count(items[k].name) != 0;
            const bool isNode = items[k].kind == SelectionItem::Kind::kNode;
            if (isMesh != isNode) continue;
            throw HostError(ExitCode::kInput,
                            where + "/" + std::to_string(k) +
                                (isNode ? "/node: '" + items[k].name + "' is a mesh; write \"mesh\""
                                        : "/mesh: no mesh of the capture is called '" + items[k].name + "'"));
        }
    };
    checkSelection(capture.selection, "/selection");
    for (std::size_t k = 0; k < capture.calls.size(); ++k)
        if (capture.calls[k].selection)
            checkSelection(*capture.calls[k].selection, "/calls/" + std::to_string(k) + "/selection");
}

Capture readDocument(std::string_view text) {
    const JsonValue json = parseJson(text);
    const JsonPlace place;
    const Object& object = readObject(json, place);
    const std::string formatKey = "format", versionKey = "version", nodeKey = "node";
    if (readText(needKey(object, formatKey, place), JsonPlace(place, formatKey)) != "talvisora-capture")
        JsonPlace(place, formatKey).refuse("\"talvisora-capture\" expected");
    if (readInt(needKey(object, versionKey, place), JsonPlace(place, versionKey)) != 1)
        JsonPlace(place, versionKey).refuse("only version 1 is known");
    allowKeys(object, place,
              {"format", "version", "node", "attributes", "sharedInputs", "record", "meshes", "selection",
               "calls"});

    Capture capture;
    capture.node = readText(needKey(object, nodeKey, place), JsonPlace(place, nodeKey));
    readEntry(object, place, "attributes", readValues, capture.attributes);
    readEntry(object, place, "sharedInputs", readValues, capture.sharedInputs);
    RecordEntries record;
    if (readEntry(object, place, "record", readRecord, record)) record.applyTo(capture.record.emplace());
    readEntry(
        object, place, "meshes",
        [](const JsonValue& list, const JsonPlace& here) { return readList(list, here, readMesh); },
        capture.meshes);
    readEntry(object, place, "selection", readSelection, capture.selection);
    readEntry(
        object, place, "calls",
        [](const JsonValue& list, const JsonPlace& here) { return readList(list, here, readCall); },
        capture.calls);
    checkTogether(capture);
    return capture;
}

} // namespace

Capture parseCapture(std::string_view text) {
    try {
        return readDocument(text);
    } catch (const HostError& error) {
        // Names from the document may stand in the text; whatever they hold, an error is one line.
        std::string line = error.what();
        for (char& c : line)
            if (static_cast<unsigned char>(c) < 0x20) c = '?';
        throw HostError(error.code, line);
    }
}

Capture readCapture(const std::string& path) {
    try {
        return parseCapture(readJsonFile(path));
    } catch (const HostError& error) {
        throw HostError(error.code, path + ": " + error.what());
    }
}

} // namespace talvisora::host
