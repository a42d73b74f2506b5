// SPDX-License-Identifier: Apache-2.0
// Meshes of the scene as seen through MFnMesh: what is made and refused, points, edges, and the two queries
// with the rules of their arguments.
#include "mesh_shapes.h"

#include <maya/MDagPath.h>
#include <maya/MFloatArray.h>
#include <maya/MFloatPoint.h>
#include <maya/MFloatPointArray.h>
#include <maya/MFloatVector.h>
#include <maya/MFnMesh.h>
#include <maya/MIntArray.h>
#include <maya/MMatrix.h>
#include <maya/MObject.h>
#include <maya/MPoint.h>
#include <maya/MPointArray.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

class MeshScene : public testing::Test {
protected:
    void SetUp() override { headless::clearScene(); }
    void TearDown() override { headless::clearScene(); }

    static MObject make(const mesh_shapes::Shape& shape, const std::string& name = "body") {
        return headless::createMesh(name, shape.points, shape.counts, shape.vertices);
    }
};

TEST_F(MeshScene, NameIsThatOfTheShapeItself) {
    const MObject body = make(mesh_shapes::griddedCube(1));
    EXPECT_TRUE(headless::findNode("body") == body);
    EXPECT_EQ(body.apiType(), MFn::kMesh);
    EXPECT_TRUE(body.hasFn(MFn::kDagNode));
    EXPECT_FALSE(body.hasFn(MFn::kTransform));
    MFnMesh mesh(body);
    EXPECT_STREQ(mesh.name().asChar(), "body");
    EXPECT_EQ(mesh.numVertices(), 8);
    EXPECT_EQ(mesh.numEdges(), 12);
    EXPECT_EQ(mesh.type(), MFn::kMesh);
}

TEST_F(MeshScene, WrongTopologyIsRefusedWithOneLine) {
    const std::vector<headless::Position> points(4);
    const struct {
        std::vector<int> counts, vertices;
        const char* error;
    } cases[] = {
        {{2}, {0, 1}, "mesh 'm': face 0 has 2 vertices, 3 are needed"},
        {{3, -1}, {0, 1, 2}, "mesh 'm': face 1 has -1 vertices, 3 are needed"},
        {{3}, {0, 1, 2, 3}, "mesh 'm': the faces have 3 vertices together, 4 are given"},
        {{4}, {0, 1, 2}, "mesh 'm': the faces have 4 vertices together, 3 are given"},
        {{3}, {0, 1, 4}, "mesh 'm': face vertex 4 is outside the 4 points"},
        {{3}, {0, -1, 2}, "mesh 'm': face vertex -1 is outside the 4 points"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_TRUE(headless::createMesh("m", points, c.counts, c.vertices, &error).isNull());
        EXPECT_EQ(error, c.error);
        EXPECT_TRUE(headless::findNode("m").isNull());
        EXPECT_TRUE(headless::createMesh("m", points, c.counts, c.vertices).isNull());
    }
}

TEST_F(MeshScene, PointsComeInOrderWithWOne) {
    const MObject body = headless::createMesh("body", {{1, 2, 3}, {0.1, -5, 1e10}}, {}, {});
    MFnMesh mesh(body);
    MPointArray points(7);
    EXPECT_TRUE(mesh.getPoints(points));
    ASSERT_EQ(points.length(), 2u);
    EXPECT_TRUE(points[0] == MPoint(1, 2, 3, 1));
    EXPECT_TRUE(points[1] == MPoint(0.1, -5, 1e10, 1));
    MFloatPointArray single;
    EXPECT_TRUE(mesh.getPoints(single, MSpace::kObject));
    ASSERT_EQ(single.length(), 2u);
    EXPECT_EQ(single[1].x, 0.1f);
    EXPECT_EQ(single[1].w, 1.0f);
}

TEST_F(MeshScene, EdgesHaveTheirVerticesAndNoOthers) {
    const MObject body =
        headless::createMesh("body", std::vector<headless::Position>(5), {4, 3}, {0, 1, 2, 3, 3, 2, 4});
    MFnMesh mesh(body);
    ASSERT_EQ(mesh.numEdges(), 6);
    const int expected[][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {2, 4}, {4, 3}};
    for (int e = 0; e < 6; ++e) {
        int2 ends = {-7, -7};
        EXPECT_TRUE(mesh.getEdgeVertices(e, ends));
        EXPECT_EQ(ends[0], expected[e][0]);
        EXPECT_EQ(ends[1], expected[e][1]);
    }
    for (int e : {-1, 6, 1 << 30}) {
        int2 ends = {-7, -7};
        EXPECT_FALSE(mesh.getEdgeVertices(e, ends));
        EXPECT_EQ(ends[0], -7);
    }
}

TEST_F(MeshScene, WhatIsNoMeshHasNothing) {
    const MObject gone = make(mesh_shapes::griddedCube(1), "gone");
    MFnMesh attachedBefore(gone);
    EXPECT_TRUE(headless::deleteNode(gone));
    for (const MObject& object :
         {MObject(), headless::createNode("talvisora", "node"), headless::createTransform("group"), gone}) {
        MStatus status;
        MFnMesh mesh(object, &status);
        EXPECT_FALSE(status);
        MPointArray points;
        points.append(MPoint(1, 2, 3));
        EXPECT_FALSE(mesh.getPoints(points));
        EXPECT_EQ(points.length(), 1u);
        EXPECT_EQ(mesh.numVertices(&status), 0);
        EXPECT_FALSE(status);
        EXPECT_EQ(mesh.numEdges(&status), 0);
        EXPECT_FALSE(status);
        MPoint nearest(4, 5, 6);
        EXPECT_FALSE(mesh.getClosestPoint(MPoint(), nearest));
        EXPECT_TRUE(nearest == MPoint(4, 5, 6));
        EXPECT_FALSE(mesh.freeCachedIntersectionAccelerator());
    }
    EXPECT_EQ(attachedBefore.numVertices(), 0);
}

TEST_F(MeshScene, WorldSpaceNeedsAPath) {
    const MObject body = make(mesh_shapes::griddedCube(1));
    MPointArray points;
    MPoint nearest;
    MFloatPointArray hits;
    MStatus status;
    const auto ray = [&](MFnMesh& mesh, MSpace::Space space) {
        return mesh.allIntersections(MFloatPoint(0.5f, 0.25f, -1), MFloatVector(0, 0, 1), nullptr, nullptr,
                                     false, space, 10.0f, false, nullptr, false, hits, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, 1e-6f, &status);
    };
    MFnMesh plain(body);
    for (MSpace::Space space :
         {MSpace::kWorld, MSpace::kInvalid, MSpace::kTransform, MSpace::kPostTransform}) {
        EXPECT_FALSE(plain.getPoints(points, space));
        EXPECT_FALSE(plain.getClosestPoint(MPoint(), nearest, space));
        EXPECT_FALSE(ray(plain, space));
        EXPECT_FALSE(status);
    }
    EXPECT_EQ(points.length(), 0u);

    MDagPath path;
    ASSERT_TRUE(MDagPath::getAPathTo(body, path));
    EXPECT_TRUE(path.inclusiveMatrix() == MMatrix::identity);
    MFnMesh placed(path, &status);
    EXPECT_TRUE(status);
    EXPECT_TRUE(placed.getPoints(points, MSpace::kWorld));
    EXPECT_EQ(points.length(), 8u);
    EXPECT_TRUE(placed.getClosestPoint(MPoint(), nearest, MSpace::kWorld));
    EXPECT_TRUE(ray(placed, MSpace::kWorld));
    EXPECT_TRUE(placed.setObject(body)); // from here on without a path
    EXPECT_FALSE(placed.getPoints(points, MSpace::kWorld));
}

TEST_F(MeshScene, ClosestPointTellsPointAndFace) {
    mesh_shapes::Shape shape;
    shape.points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 9}, {1, 0, 9}, {0, 1, 9}};
    shape.face({0, 1, 2});
    shape.face({3, 4, 5});
    MFnMesh mesh(make(shape));
    MMeshIsectAccelParams accel = MFnMesh::autoUniformGridParams();
    MPoint nearest;
    int face = -1;
    EXPECT_TRUE(mesh.getClosestPoint(MPoint(0.25, 0.25, 7), nearest, MSpace::kObject, &face, &accel));
    EXPECT_TRUE(nearest == MPoint(0.25, 0.25, 9));
    EXPECT_EQ(face, 1);
    EXPECT_TRUE(mesh.freeCachedIntersectionAccelerator());
    EXPECT_TRUE(mesh.getClosestPoint(MPoint(-3, 0, 4), nearest));
    EXPECT_TRUE(nearest == MPoint(0, 0, 0));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(mesh.getClosestPoint(MPoint(nan, 0, 0), nearest));
    EXPECT_TRUE(nearest == MPoint(0, 0, 0));
}

TEST_F(MeshScene, EmptyMeshAnswersAndFindsNothing) {
    MFnMesh mesh(headless::createMesh("empty", {}, {}, {}));
    MPointArray points;
    EXPECT_TRUE(mesh.getPoints(points));
    EXPECT_EQ(points.length() + static_cast<unsigned int>(mesh.numVertices() + mesh.numEdges()), 0u);
    MPoint nearest;
    EXPECT_FALSE(mesh.getClosestPoint(MPoint(), nearest));
    MFloatPointArray hits;
    MStatus status(MS::kFailure);
    EXPECT_FALSE(mesh.allIntersections(MFloatPoint(), MFloatVector(1, 0, 0), nullptr, nullptr, false,
                                       MSpace::kObject, 1.0f, false, nullptr, false, hits, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, 1e-6f, &status));
    EXPECT_TRUE(status); // a ray that hits nothing is no failure
}

TEST_F(MeshScene, HitsFillEveryOutputInStep) {
    MFnMesh mesh(make(mesh_shapes::griddedCube(1)));
    MFloatPointArray points(3);
    MFloatArray params, first, second;
    MIntArray faces, triangles;
    MStatus status;
    ASSERT_TRUE(mesh.allIntersections(MFloatPoint(0.25f, 0.5f, -1), MFloatVector(0, 0, 2), nullptr, nullptr,
                                      false, MSpace::kObject, 100.0f, false, nullptr, true, points, &params,
                                      &faces, &triangles, &first, &second, 1e-6f, &status));
    EXPECT_TRUE(status);
    ASSERT_EQ(points.length(), 2u); // what was in the array before is replaced
    EXPECT_TRUE(points[0] == MFloatPoint(0.25f, 0.5f, 0));
    EXPECT_TRUE(points[1] == MFloatPoint(0.25f, 0.5f, 1));
    ASSERT_EQ(params.length(), 2u);
    EXPECT_EQ(params[0], 0.5f);
    EXPECT_EQ(params[1], 1.0f);
    EXPECT_EQ(faces.length() + triangles.length() + first.length() + second.length(), 8u);
    EXPECT_EQ(faces[0], 2); // z = 0 is the third face made, z = 1 the last
    EXPECT_EQ(faces[1], 5);
}

TEST_F(MeshScene, WithoutAHitNoOutputIsTouched) {
    MFnMesh mesh(make(mesh_shapes::griddedCube(1)));
    MFloatPointArray points(2, MFloatPoint(7, 7, 7));
    MFloatArray params(1, 7.0f);
    MIntArray faces(1, 7);
    const auto cast = [&](const MFloatVector& direction, float to, MStatus& status,
                          const MIntArray* ids = nullptr) {
        return mesh.allIntersections(MFloatPoint(0.5f, 0.5f, -1), direction, ids, nullptr, false,
                                     MSpace::kObject, to, false, nullptr, false, points, &params, &faces,
                                     nullptr, nullptr, nullptr, 1e-6f, &status);
    };
    MStatus status(MS::kFailure);
    EXPECT_FALSE(cast(MFloatVector(0, 0, -1), 10, status)); // away from it
    EXPECT_TRUE(status);
    EXPECT_FALSE(cast(MFloatVector(0, 0, 1), 0.5f, status)); // too short
    EXPECT_TRUE(status);
    EXPECT_FALSE(cast(MFloatVector(0, 0, 0), 10, status)); // no direction
    EXPECT_TRUE(status);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (float to : {0.0f, -1.0f, nan}) {
        EXPECT_FALSE(cast(MFloatVector(0, 0, 1), to, status));
        EXPECT_FALSE(status);
    }
    EXPECT_FALSE(cast(MFloatVector(nan, 0, 1), 10, status));
    EXPECT_FALSE(status);
    EXPECT_FALSE(cast(MFloatVector(0, 0, 1), 10, status, &faces)); // lists of faces are not offered
    EXPECT_FALSE(status);
    EXPECT_EQ(points.length(), 2u);
    EXPECT_EQ(points[0].x, 7.0f);
    EXPECT_EQ(params[0], 7.0f);
    EXPECT_EQ(faces[0], 7);
}

TEST_F(MeshScene, ToleranceMergesNothingAndWidensNothing) {
    mesh_shapes::Shape walls; // two walls closer than the tolerance
    walls.points = {{-1, -1, 0}, {2, -1, 0}, {-1, 2, 0}, {-1, -1, 1e-7}, {2, -1, 1e-7}, {-1, 2, 1e-7}};
    walls.face({0, 1, 2});
    walls.face({3, 4, 5});
    MFnMesh mesh(make(walls));
    MFloatPointArray points;
    const auto count = [&](float x) {
        points.clear();
        mesh.allIntersections(MFloatPoint(x, 0, -1), MFloatVector(0, 0, 1), nullptr, nullptr, false,
                              MSpace::kObject, 10.0f, false, nullptr, false, points, nullptr, nullptr,
                              nullptr, nullptr, nullptr, 0.5f);
        return points.length();
    };
    EXPECT_EQ(count(0), 2u);
    EXPECT_EQ(count(-1.01f), 0u);
}

} // namespace
