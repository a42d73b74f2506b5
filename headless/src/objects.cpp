// SPDX-License-Identifier: Apache-2.0
// MObject and the function sets. Every query looks the object up anew, so a node that was renamed or deleted
// in between is seen as it is now.
#include "object_access.h"

#include <maya/MFnBase.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MObject.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

namespace headless {
namespace {

// The type one step nearer to the root; kInvalid past the root.
MFn::Type baseOf(MFn::Type type) {
    switch (type) {
    case MFn::kInvalid:
    case MFn::kBase:
        return MFn::kInvalid;
    case MFn::kNamedObject:
    case MFn::kComponent:
    case MFn::kMeshData:
    case MFn::kMeshGeom:
        return MFn::kBase;
    case MFn::kDependencyNode:
        return MFn::kNamedObject;
    case MFn::kDagNode:
    case MFn::kPluginDependNode:
        return MFn::kDependencyNode;
    case MFn::kTransform:
    case MFn::kMesh:
        return MFn::kDagNode;
    case MFn::kSingleIndexedComponent:
        return MFn::kComponent;
    case MFn::kMeshVertComponent:
    case MFn::kMeshEdgeComponent:
    case MFn::kMeshPolygonComponent:
        return MFn::kSingleIndexedComponent;
    }
    return MFn::kInvalid;
}

void setStatus(MStatus* status, MStatus::MStatusCode code) {
    if (status) *status = code;
}

} // namespace

bool isKindOf(MFn::Type type, MFn::Type base) {
    for (; type != MFn::kInvalid; type = baseOf(type)) {
        if (type == base) return true;
    }
    return false;
}

} // namespace headless

using namespace headless;

namespace Autodesk::Maya::OpenMaya20240000 {

MObject MObject::kNullObj;

MObject::MObject() : id(0) {}
MObject::MObject(const MObject& other) = default;
MObject::~MObject() = default;
MObject& MObject::operator=(const MObject& other) = default;

bool MObject::isNull() const {
    return id == 0;
}

MFn::Type MObject::apiType() const {
    noteApiCall("MObject::apiType");
    return typeOf(*this);
}

const char* MObject::apiTypeStr() const {
    noteApiCall("MObject::apiTypeStr");
    switch (typeOf(*this)) {
    case MFn::kInvalid:
        return "kInvalid";
    case MFn::kBase:
        return "kBase";
    case MFn::kNamedObject:
        return "kNamedObject";
    case MFn::kDependencyNode:
        return "kDependencyNode";
    case MFn::kDagNode:
        return "kDagNode";
    case MFn::kTransform:
        return "kTransform";
    case MFn::kMesh:
        return "kMesh";
    case MFn::kMeshData:
        return "kMeshData";
    case MFn::kMeshGeom:
        return "kMeshGeom";
    case MFn::kComponent:
        return "kComponent";
    case MFn::kSingleIndexedComponent:
        return "kSingleIndexedComponent";
    case MFn::kMeshVertComponent:
        return "kMeshVertComponent";
    case MFn::kMeshEdgeComponent:
        return "kMeshEdgeComponent";
    case MFn::kMeshPolygonComponent:
        return "kMeshPolygonComponent";
    case MFn::kPluginDependNode:
        return "kPluginDependNode";
    }
    return "kInvalid";
}

bool MObject::hasFn(MFn::Type fs) const {
    noteApiCall("MObject::hasFn");
    return isKindOf(typeOf(*this), fs);
}

bool MObject::operator==(const MObject& other) const {
    return id == other.id;
}

bool MObject::operator!=(const MObject& other) const {
    return id != other.id;
}

MFnBase::MFnBase() = default;
MFnBase::~MFnBase() = default;

MFn::Type MFnBase::type() const {
    return MFn::kBase;
}

bool MFnBase::hasObj(MFn::Type other) const {
    noteApiCall("MFnBase::hasObj");
    return isKindOf(type(), other);
}

bool MFnBase::hasObj(const MObject& object) const {
    noteApiCall("MFnBase::hasObj");
    return isKindOf(typeOf(object), type());
}

MObject MFnBase::object(MStatus* ReturnStatus) const {
    noteApiCall("MFnBase::object");
    const bool exists = typeOf(attached) != MFn::kInvalid;
    setStatus(ReturnStatus, exists ? MStatus::kSuccess : MStatus::kFailure);
    return exists ? attached : MObject();
}

MStatus MFnBase::setObject(MObject& object) {
    return setObject(static_cast<const MObject&>(object));
}

MStatus MFnBase::setObject(const MObject& object) {
    noteApiCall("MFnBase::setObject");
    const bool suits = isKindOf(typeOf(object), type());
    attached = suits ? object : MObject();
    return suits ? MStatus::kSuccess : MStatus::kFailure;
}

MFnDependencyNode::MFnDependencyNode() = default;
MFnDependencyNode::~MFnDependencyNode() = default;

// The constructors name this class's own setObject: a virtual call would not reach a derived class anyway.
MFnDependencyNode::MFnDependencyNode(MObject& object, MStatus* ReturnStatus)
    : MFnDependencyNode(static_cast<const MObject&>(object), ReturnStatus) {}

MFnDependencyNode::MFnDependencyNode(const MObject& object, MStatus* ReturnStatus) {
    const MStatus status = MFnBase::setObject(object);
    setStatus(ReturnStatus, status.statusCode());
}

MFn::Type MFnDependencyNode::type() const {
    return MFn::kDependencyNode;
}

MString MFnDependencyNode::name(MStatus* ReturnStatus) const {
    noteApiCall("MFnDependencyNode::name");
    ObjectRecord record;
    const bool exists = lookUp(object(), record);
    setStatus(ReturnStatus, exists ? MStatus::kSuccess : MStatus::kFailure);
    return MString(record.name.data(), static_cast<int>(record.name.size()));
}

MString MFnDependencyNode::typeName(MStatus* ReturnStatus) const {
    noteApiCall("MFnDependencyNode::typeName");
    ObjectRecord record;
    const bool exists = lookUp(object(), record);
    setStatus(ReturnStatus, exists ? MStatus::kSuccess : MStatus::kFailure);
    return MString(record.typeName.data(), static_cast<int>(record.typeName.size()));
}

} // namespace Autodesk::Maya::OpenMaya20240000
