// SPDX-License-Identifier: Apache-2.0
// Function sets of placed nodes and meshes.
#include "scene_state.h"

#include <maya/MDagPath.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatPoint.h>
#include <maya/MFloatPointArray.h>
#include <maya/MFloatVector.h>
#include <maya/MFnMesh.h>
#include <maya/MIntArray.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MStatus.h>

#include <algorithm>
#include <cmath>

namespace headless {
namespace {

void setStatus(MStatus* status, bool good) {
    if (status) *status = good ? MStatus::kSuccess : MStatus::kFailure;
}

bool finite(double x, double y, double z) {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

// Both kinds of point array.
template <typename Point, typename Array>
MStatus copyPoints(const Mesh& mesh, Array& array) {
    const unsigned int count = static_cast<unsigned int>(mesh.points.size());
    const MStatus status = array.setLength(count);
    if (!status) return status;
    Point* next = array.begin();
    for (const Vec3d& p : mesh.points) *next++ = Point(MPoint(p[0], p[1], p[2]));
    return MStatus::kSuccess;
}

} // namespace
} // namespace headless

using namespace headless;

namespace Autodesk::Maya::OpenMaya20240000 {

MFnDagNode::MFnDagNode() : hasPath(false) {}
MFnDagNode::~MFnDagNode() = default;
MFnDagNode::MFnDagNode(MObject& object, MStatus* ReturnStatus)
    : MFnDagNode(static_cast<const MObject&>(object), ReturnStatus) {}
MFnDagNode::MFnDagNode(const MObject& object, MStatus* ReturnStatus) : hasPath(false) {
    setStatus(ReturnStatus, MFnBase::setObject(object));
}
MFnDagNode::MFnDagNode(const MDagPath& object, MStatus* ret) : hasPath(false) {
    setStatus(ret, attachPath(object));
}

MFn::Type MFnDagNode::type() const {
    return MFn::kDagNode;
}

MStatus MFnDagNode::setObject(MObject& object) {
    return MFnDagNode::setObject(static_cast<const MObject&>(object));
}

MStatus MFnDagNode::setObject(const MObject& object) {
    hasPath = false;
    return MFnBase::setObject(object);
}

MStatus MFnDagNode::attachPath(const MDagPath& path) {
    const MStatus status = MFnBase::setObject(path.node());
    hasPath = status;
    return status;
}

bool MFnDagNode::allowsSpace(int space) const {
    return space == MSpace::kObject || (space == MSpace::kWorld && hasPath);
}

MMeshIsectAccelParams::MMeshIsectAccelParams() = default;
MMeshIsectAccelParams::MMeshIsectAccelParams(const MMeshIsectAccelParams& other) = default;
MMeshIsectAccelParams::~MMeshIsectAccelParams() = default;
MMeshIsectAccelParams& MMeshIsectAccelParams::operator=(const MMeshIsectAccelParams& other) = default;

MFnMesh::MFnMesh() = default;
MFnMesh::~MFnMesh() = default;
MFnMesh::MFnMesh(MObject& object, MStatus* ReturnStatus)
    : MFnMesh(static_cast<const MObject&>(object), ReturnStatus) {}
MFnMesh::MFnMesh(const MObject& object, MStatus* ReturnStatus) {
    setStatus(ReturnStatus, MFnBase::setObject(object));
}
MFnMesh::MFnMesh(const MDagPath& object, MStatus* ret) {
    setStatus(ret, attachPath(object));
}

MFn::Type MFnMesh::type() const {
    return MFn::kMesh;
}

int MFnMesh::numVertices(MStatus* ReturnStatus) {
    noteApiCall("MFnMesh::numVertices");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    setStatus(ReturnStatus, mesh != nullptr);
    return mesh ? static_cast<int>(mesh->points.size()) : 0;
}

int MFnMesh::numEdges(MStatus* ReturnStatus) {
    noteApiCall("MFnMesh::numEdges");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    setStatus(ReturnStatus, mesh != nullptr);
    return mesh ? static_cast<int>(mesh->edges().size()) : 0;
}

MStatus MFnMesh::getPoints(MPointArray& vertexArray, MSpace::Space space) {
    noteApiCall("MFnMesh::getPoints");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    if (!mesh || !allowsSpace(space)) return MStatus::kFailure;
    return copyPoints<MPoint>(*mesh, vertexArray);
}

MStatus MFnMesh::getPoints(MFloatPointArray& vertexArray, MSpace::Space space) {
    noteApiCall("MFnMesh::getPoints");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    if (!mesh || !allowsSpace(space)) return MStatus::kFailure;
    return copyPoints<MFloatPoint>(*mesh, vertexArray);
}

MStatus MFnMesh::getEdgeVertices(int edgeId, int2& vertexList) {
    noteApiCall("MFnMesh::getEdgeVertices");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    if (!mesh) return MStatus::kFailure;
    const std::vector<std::array<int, 2>>& edges = mesh->edges();
    if (edgeId < 0 || static_cast<std::size_t>(edgeId) >= edges.size()) return MStatus::kInvalidParameter;
    vertexList[0] = edges[static_cast<std::size_t>(edgeId)][0];
    vertexList[1] = edges[static_cast<std::size_t>(edgeId)][1];
    return MStatus::kSuccess;
}

MStatus MFnMesh::getClosestPoint(const MPoint& toThisPoint, MPoint& theClosestPoint, MSpace::Space space,
                                 int* closestPolygon, MMeshIsectAccelParams*) {
    noteApiCall("MFnMesh::getClosestPoint");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    if (!mesh || !allowsSpace(space)) return MStatus::kFailure;
    const NearestPoint nearest = mesh->queries()->closestPoint({toThisPoint.x, toThisPoint.y, toThisPoint.z});
    if (!nearest.found) return MStatus::kFailure;
    theClosestPoint = MPoint(nearest.point[0], nearest.point[1], nearest.point[2]);
    if (closestPolygon) *closestPolygon = nearest.face;
    return MStatus::kSuccess;
}

bool MFnMesh::allIntersections(const MFloatPoint& raySource, const MFloatVector& rayDirection,
                               const MIntArray* faceIds, const MIntArray* triIds, bool, MSpace::Space space,
                               float maxParam, bool testBothDirections, MMeshIsectAccelParams*, bool sortHits,
                               MFloatPointArray& hitPoints, MFloatArray* hitRayParams, MIntArray* hitFaces,
                               MIntArray* hitTriangles, MFloatArray* hitBary1s, MFloatArray* hitBary2s, float,
                               MStatus* ReturnStatus) {
    noteApiCall("MFnMesh::allIntersections");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    const Vec3d source{static_cast<double>(raySource.x), static_cast<double>(raySource.y),
                       static_cast<double>(raySource.z)};
    const Vec3d direction{static_cast<double>(rayDirection.x), static_cast<double>(rayDirection.y),
                          static_cast<double>(rayDirection.z)};
    const bool good = mesh && allowsSpace(space) && !faceIds && !triIds && maxParam > 0.0f &&
                      finite(source[0], source[1], source[2]) &&
                      finite(direction[0], direction[1], direction[2]);
    setStatus(ReturnStatus, good);
    if (!good) return false;
    static thread_local std::vector<RayHit> hits; // spares an allocation per ray
    hits.clear();
    mesh->queries()->allHits(source, direction, static_cast<double>(maxParam), testBothDirections, hits);
    if (hits.empty()) return false;
    if (sortHits) {
        std::sort(hits.begin(), hits.end(), [](const RayHit& a, const RayHit& b) { return a.t < b.t; });
    }
    hitPoints.clear();
    if (hitRayParams) hitRayParams->clear();
    if (hitFaces) hitFaces->clear();
    if (hitTriangles) hitTriangles->clear();
    if (hitBary1s) hitBary1s->clear();
    if (hitBary2s) hitBary2s->clear();
    for (const RayHit& hit : hits) {
        hitPoints.append(
            MFloatPoint(MPoint(source[0] + hit.t * direction[0], source[1] + hit.t * direction[1],
                               source[2] + hit.t * direction[2])));
        if (hitRayParams) hitRayParams->append(static_cast<float>(hit.t));
        if (hitFaces) hitFaces->append(hit.face);
        if (hitTriangles) hitTriangles->append(hit.indexInFace);
        if (hitBary1s) hitBary1s->append(static_cast<float>(hit.bary1));
        if (hitBary2s) hitBary2s->append(static_cast<float>(hit.bary2));
    }
    return true;
}

MMeshIsectAccelParams MFnMesh::autoUniformGridParams() {
    noteApiCall("MFnMesh::autoUniformGridParams");
    return MMeshIsectAccelParams();
}

MStatus MFnMesh::freeCachedIntersectionAccelerator() {
    noteApiCall("MFnMesh::freeCachedIntersectionAccelerator");
    const std::shared_ptr<const Mesh> mesh = meshOf(object());
    if (!mesh) return MStatus::kFailure;
    mesh->dropQueries();
    return MStatus::kSuccess;
}

} // namespace Autodesk::Maya::OpenMaya20240000
