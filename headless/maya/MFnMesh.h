// SPDX-License-Identifier: Apache-2.0
// Function set of polygon meshes, and the settings of its accelerated queries.
#pragma once

#include "../headless_api.h"
#include <maya/MFnDagNode.h>
#include <maya/MSpace.h>
#include <maya/MTypes.h>

namespace Autodesk::Maya::OpenMaya20240000 {

/// Settings of the search structure that the ray and nearest-point queries may use. The mesh keeps the
/// structure itself; here there is one way to search, and nothing to set.
class HEADLESS_API MMeshIsectAccelParams {
public:
    MMeshIsectAccelParams();
    MMeshIsectAccelParams(const MMeshIsectAccelParams& other);
    ~MMeshIsectAccelParams();
    MMeshIsectAccelParams& operator=(const MMeshIsectAccelParams& other);
};

/// Attaches to meshes made with scene/scene.h. Indices run from 0; edges are in the order that
/// scene/mesh_queries.h documents. Everything is in object space; world space needs a function set made from
/// an MDagPath and fails otherwise. Queries that are constant in one reading of Maya's reference and not in
/// another are not, so that they are called on a mesh that is not constant.
class HEADLESS_API MFnMesh : public MFnDagNode {
public:
    MFnMesh();
    MFnMesh(MObject& object, MStatus* ReturnStatus = nullptr);
    MFnMesh(const MObject& object, MStatus* ReturnStatus = nullptr);
    MFnMesh(const MDagPath& object, MStatus* ret = nullptr);
    ~MFnMesh() override;

    MFn::Type type() const override;

    /// 0 and a failure when not attached; so is numEdges.
    int numVertices(MStatus* ReturnStatus = nullptr);
    int numEdges(MStatus* ReturnStatus = nullptr);

    /// Resizes the array to the number of vertices; w is 1. On failure the array stays as it is.
    MStatus getPoints(MPointArray& vertexArray, MSpace::Space space = MSpace::kObject);
    MStatus getPoints(MFloatPointArray& vertexArray, MSpace::Space space = MSpace::kObject);

    /// On failure (no such edge) the two numbers stay as they are.
    MStatus getEdgeVertices(int edgeId, int2& vertexList);

    /// Exact over all triangles, in double precision. Fails, with the results as they were, for a mesh
    /// without a usable face and for a point that is not finite. Nearest faces at the same distance: any.
    MStatus getClosestPoint(const MPoint& toThisPoint, MPoint& theClosestPoint,
                            MSpace::Space space = MSpace::kObject, int* closestPolygon = nullptr,
                            MMeshIsectAccelParams* accelParams = nullptr);

    /// All crossings of the ray with the surface, from both sides, at parameters in (0, maxParam] (with
    /// testBothDirections also in [-maxParam, 0)), in lengths of rayDirection. A closed mesh counts every
    /// crossing once, also through edges and vertices; hence `tolerance` has nothing to mend and is not used.
    ///
    /// True when there is a hit. Without one no output is touched, hitPoints included. A maxParam that is not
    /// positive, a number that is not finite, world space without a path, and face or triangle lists (which
    /// this platform does not offer) give false and a failure; a zero direction just hits nothing.
    bool allIntersections(const MFloatPoint& raySource, const MFloatVector& rayDirection,
                          const MIntArray* faceIds, const MIntArray* triIds, bool idsSorted,
                          MSpace::Space space, float maxParam, bool testBothDirections,
                          MMeshIsectAccelParams* accelParams, bool sortHits, MFloatPointArray& hitPoints,
                          MFloatArray* hitRayParams, MIntArray* hitFaces, MIntArray* hitTriangles,
                          MFloatArray* hitBary1s, MFloatArray* hitBary2s, float tolerance = 1e-6,
                          MStatus* ReturnStatus = nullptr);

    static MMeshIsectAccelParams autoUniformGridParams();
    /// Drops the search structure; the next query builds it anew.
    MStatus freeCachedIntersectionAccelerator();
};

} // namespace Autodesk::Maya::OpenMaya20240000
