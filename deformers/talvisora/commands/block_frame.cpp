// SPDX-License-Identifier: Apache-2.0
// Reads what both resets work with. Every check comes before anything is written.
#include "commands/block_frame.h"

#include <maya/MFnMesh.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MSelectionList.h>
#include <maya/MSpace.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include "attributes.h"
#include "hierarchy.h"
#include "node/attribute_names.h"
#include "node/messages.h"
#include "world_matrices.h"

namespace talvisora {

namespace {

/// One argument into a plain variable of its own type.
template <class T, class Value>
Fault readArgument(const ValueMap& values, const char* key, Value& value) {
    std::shared_ptr<T> data;
    if (Fault fault = getRequired(values, key, data)) return fault;
    value = data->value;
    return {};
}

struct BlockAttributes {
    std::shared_ptr<GrCompound> blocks;
    std::shared_ptr<GrString> hierarchyName;
    std::shared_ptr<GrMatrix> geoMatrix; ///< must be there for kWeights; its value is deliberately not used
    std::shared_ptr<GrBoolean> simple;
    std::shared_ptr<GrString> joints;
};

Fault readAttributes(const ValueMap& attributes, Reset reset, std::int32_t block, BlockAttributes& values) {
    if (Fault fault = getRequired(attributes, attribute::kBlock, values.blocks)) return fault;
    if (Fault fault = getRequired(attributes, attribute::kHierarchyName, values.hierarchyName)) return fault;
    if (reset == Reset::kWeights)
        if (Fault fault = getRequired(attributes, attribute::kGeoMatrix, values.geoMatrix)) return fault;
    // A negative index is larger than any count.
    if (static_cast<std::uint32_t>(block) >= values.blocks->values.size()) return noSuchBlock(block);
    const ValueMap& element = values.blocks->values[static_cast<std::size_t>(block)];
    if (Fault fault = getRequired(element, attribute::kSimple, values.simple)) return fault;
    if (Fault fault = getRequired(element, attribute::kJoints, values.joints)) return fault;
    return values.joints->values.size() > 1 ? Fault{} : tooFewJoints(kCommandLines, block);
}

Fault readJoints(const std::vector<std::string>& names, const GrHierarchy& hierarchy,
                 std::vector<Vec3d>& positions) {
    WorldMatrices rest(hierarchy, Pose::kRest);
    positions.clear();
    positions.reserve(names.size());
    for (const std::string& name : names) {
        if (!hierarchy.find(name)) return jointNotFound(kCommandLines, name);
        Matrix44d world;
        if (Fault fault = rest.of(name, world)) return fault;
        positions.push_back(translation(world));
    }
    return {};
}

MObject findMesh(const std::string& name) {
    MSelectionList list;
    MObject object;
    list.add(MString(name.c_str()));
    if (!list.isEmpty()) list.getDependNode(0, object);
    return object;
}

/// Something that is no mesh has no points; where none are wanted, it is no mesh at all.
Fault readPoints(const MObject& object, std::size_t wanted, std::vector<Vec3d>& points) {
    MStatus attached;
    MFnMesh mesh(object, &attached);
    MPointArray array;
    if (attached == MStatus::kSuccess && mesh.getPoints(array, MSpace::kObject) != MStatus::kSuccess)
        array.clear();
    if (attached != MStatus::kSuccess && wanted == 0) return noMesh();
    if (array.length() != wanted) return meshPointCountDiffers();
    points.resize(wanted);
    for (unsigned int i = 0; i < array.length(); ++i) {
        const MPoint& p = array[i];
        points[i] = {p.x, p.y, p.z};
    }
    return {};
}

} // namespace

Fault readArguments(const ValueMap& values, Reset reset, ResetArguments& arguments) {
    if (Fault fault = readArgument<GrInt>(values, "block", arguments.block)) return fault;
    if (reset == Reset::kWeights)
        if (Fault fault = readArgument<GrDouble>(values, "maxDistanceCoeff", arguments.maxDistanceCoeff))
            return fault;
    if (Fault fault = readArgument<GrInt>(values, "smooth", arguments.smooth)) return fault;
    if (Fault fault = readArgument<GrString>(values, "mesh", arguments.mesh)) return fault;
    return readArgument<GrBoolean>(values, "fast", arguments.fast);
}

Fault readFrame(const CommandContext& context, Reset reset, const ResetArguments& arguments,
                BlockFrame& frame) {
    BlockAttributes values;
    if (Fault fault = readAttributes(*context.runAttributes, reset, arguments.block, values)) return fault;
    std::shared_ptr<GrHierarchy> hierarchy;
    if (Fault fault = getSharedHierarchy(context.node->sharedInputs, values.hierarchyName->value,
                                         line::kSharedHierarchy, hierarchy))
        return fault;
    if (Fault fault = readJoints(values.joints->values, *hierarchy, frame.joints)) return fault;
    frame.mesh = findMesh(arguments.mesh);
    if (frame.mesh.isNull()) return noMesh();
    if (Fault fault = readPoints(frame.mesh, context.record->points.size(), frame.points)) return fault;
    frame.guide = guideCurve(frame.joints, values.simple->value);
    frame.samples = sampleCurve(frame.guide);
    return {};
}

Curve guideCurve(const std::vector<Vec3d>& joints, bool simple) {
    Curve curve;
    buildCurve(joints, simple && joints.size() >= 4, kGuideInBetween, curve);
    return curve;
}

} // namespace talvisora
