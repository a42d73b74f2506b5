// SPDX-License-Identifier: Apache-2.0
// Selection, plugs and the two ways to write. The data handle is ended on every path.
#include "commands/write_back.h"

#include <maya/MArrayDataBuilder.h>
#include <maya/MArrayDataHandle.h>
#include <maya/MDagPath.h>
#include <maya/MDataHandle.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MFnMesh.h>
#include <maya/MFnSingleIndexedComponent.h>
#include <maya/MGlobal.h>
#include <maya/MIntArray.h>
#include <maya/MPlug.h>
#include <maya/MSelectionList.h>
#include <maya/MStatus.h>
#include <maya/MString.h>
#include <maya/MTypes.h>

#include <array>
#include <charconv>
#include <cmath>

#include "commands/smoothing.h"
#include "node/messages.h"
#include "report.h"

namespace talvisora {

namespace {

bool failed(const MStatus& status) {
    return status != MStatus::kSuccess;
}

/// A plug's data handle, ended when it goes out of scope. The plug must outlive it.
class PlugData {
public:
    explicit PlugData(MPlug& plug) : plug_(plug), handle_(plug.asMDataHandle(&status_)) {}
    ~PlugData() {
        if (isValid()) plug_.destructHandle(handle_);
    }
    PlugData(const PlugData&) = delete;
    PlugData& operator=(const PlugData&) = delete;

    bool isValid() const { return !failed(status_); }
    MDataHandle& handle() { return handle_; }

private:
    MPlug& plug_;
    MStatus status_; // before the handle: it receives the handle's status
    MDataHandle handle_;
};

std::vector<std::array<std::int32_t, 2>> edgesOf(MFnMesh& mesh) {
    const int count = mesh.numEdges();
    std::vector<std::array<std::int32_t, 2>> edges;
    if (count <= 0) return edges;
    edges.reserve(static_cast<std::size_t>(count));
    for (int e = 0; e < count; ++e) {
        int2 ends;
        ends[0] = ends[1] = -1;
        mesh.getEdgeVertices(e, ends);
        edges.push_back({ends[0], ends[1]});
    }
    return edges;
}

/// NODE.block[b].CHILD; a null plug when there is none.
MPlug childPlug(const GrNode& node, std::int32_t block, const char* child) {
    MFnDependencyNode dependencyNode(node.object);
    MPlug blocks = dependencyNode.findPlug(MString("block"), false);
    if (blocks.isNull()) return {};
    MPlug element = blocks.elementByLogicalIndex(static_cast<unsigned int>(block));
    if (element.isNull()) return {};
    MObject attribute = dependencyNode.attribute(MString(child));
    if (attribute.isNull()) return {};
    return element.child(attribute);
}

/// All or nothing: the builder is a working copy until the last two calls.
bool writeByHandle(MPlug& plug, MDataHandle& handle, const SelectedVertices& selected,
                   const std::vector<float>& values) {
    MStatus status;
    MArrayDataHandle array(handle, &status);
    if (failed(status)) return false;
    MArrayDataBuilder builder = array.builder(&status);
    if (failed(status)) return false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!selected.contains(i)) continue;
        MDataHandle element = builder.addElement(static_cast<unsigned int>(i), &status);
        if (failed(status)) return false;
        element.setFloat(values[i]);
    }
    return !failed(array.set(builder)) && !failed(plug.setMDataHandle(handle));
}

void writeByCommands(const std::string& name, std::int32_t block, const char* child,
                     const SelectedVertices& selected, const std::vector<float>& values) {
    const std::string start = "setAttr " + name + ".block[" + std::to_string(block) + "]." + child + "[";
    std::string command;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!selected.contains(i)) continue;
        command = start;
        command += std::to_string(i);
        command += "] ";
        command += fixedText(static_cast<double>(values[i]));
        command += ';';
        MGlobal::executeCommand(MString(command.c_str()), false, true);
    }
}

} // namespace

SelectedVertices selectedVertices(std::size_t count) {
    SelectedVertices selected;
    MSelectionList list;
    MGlobal::getActiveSelectionList(list);
    if (list.isEmpty()) return selected;
    MDagPath path;
    MObject component;
    list.getDagPath(0, path, component);
    if (component.isNull()) return selected;
    MFnSingleIndexedComponent elements(component);
    MIntArray indices;
    elements.getElements(indices);
    if (indices.length() == 0) return selected;
    selected.all = false;
    selected.chosen.assign(count, 0);
    for (unsigned int k = 0; k < indices.length(); ++k) {
        const int index = indices[k];
        if (index >= 0 && static_cast<std::size_t>(index) < count)
            selected.chosen[static_cast<std::size_t>(index)] = 1;
    }
    return selected;
}

Fault writeValues(const GrNode& node, const ResetArguments& arguments, const BlockFrame& frame,
                  const char* child, std::vector<float>& values) {
    if (arguments.smooth > 0) {
        MFnMesh mesh(frame.mesh);
        smoothValues(findNeighbours(edgesOf(mesh), values.size()), arguments.smooth, values);
    }
    const SelectedVertices selected = selectedVertices(values.size());
    MPlug plug = childPlug(node, arguments.block, child);
    if (plug.isNull()) return noPlug(child);
    PlugData data(plug);
    if (!data.isValid()) return noPlug(child);
    if (!arguments.fast) {
        writeByCommands(nodeName(node), arguments.block, child, selected, values);
        return {};
    }
    return writeByHandle(plug, data.handle(), selected, values) ? Fault{} : noPlug(child);
}

std::string fixedText(double value) {
    if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char text[330]; // the largest double has 309 digits before the point
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6);
    return std::string(text, end.ptr);
}

} // namespace talvisora
