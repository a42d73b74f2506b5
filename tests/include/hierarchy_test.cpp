// SPDX-License-Identifier: Apache-2.0
// The shared joint table: world matrices, and tables that are broken.
#include "hierarchy.h"

#include <gtest/gtest.h>

#include "fixtures/small_rig.h"

namespace talvisora {
namespace {

using namespace fixtures;

JointRecord record(const Matrix44d& local, const std::string& parent, bool rotationOnly = false) {
    return {local, translated({0, 0, 1}) * local, parent, rotationOnly};
}

TEST(Hierarchy, WorldMatrixRunsThroughAllAncestors) {
    GrHierarchy table;
    table.set("root", record(translated({1, 0, 0}), ""));
    table.set("arm", record(turnedZ(std::acos(0.0)), "root"));
    table.set("hand", record(translated({2, 0, 0}), "arm"));
    Matrix44d world;
    ASSERT_FALSE(table.worldMatrix("hand", Pose::kCurrent, world));
    EXPECT_NEAR(length(translation(world) - Vec3d{1, 2, 0}), 0, 1e-15);
    ASSERT_FALSE(table.parentWorldMatrix("hand", Pose::kCurrent, world));
    EXPECT_NEAR(length(row(world, 0) - Vec3d{0, 1, 0}), 0, 1e-15);
    ASSERT_FALSE(table.parentWorldMatrix("root", Pose::kCurrent, world));
    EXPECT_EQ(world, Matrix44d{});
}

TEST(Hierarchy, RotationOnlyRecordsShedTheParentsScaleButMoveWithIt) {
    GrHierarchy table;
    Matrix44d big = turnedZ(std::acos(0.0));
    for (int axis = 0; axis < 3; ++axis) setRow(big, axis, row(big, axis) * 3.0);
    table.set("root", record(big, ""));
    table.set("kept", record(translated({1, 0, 0}), "root", true));
    table.set("scaled", record(translated({1, 0, 0}), "root", false));
    Matrix44d world;
    ASSERT_FALSE(table.worldMatrix("kept", Pose::kCurrent, world));
    EXPECT_NEAR(length(row(world, 0) - Vec3d{0, 1, 0}), 0, 1e-15);
    EXPECT_NEAR(length(translation(world) - Vec3d{0, 3, 0}), 0, 1e-15);
    ASSERT_FALSE(table.worldMatrix("scaled", Pose::kCurrent, world));
    EXPECT_NEAR(length(row(world, 0) - Vec3d{0, 3, 0}), 0, 1e-15);
}

TEST(Hierarchy, SettingANameAgainReplacesItsRecord) {
    GrHierarchy table;
    table.set("a", record(translated({1, 0, 0}), ""));
    table.set("a", record(translated({2, 0, 0}), ""));
    EXPECT_EQ(table.size(), 1u);
    Matrix44d own;
    ASSERT_FALSE(table.localMatrix("a", Pose::kCurrent, own));
    EXPECT_EQ(translation(own), (Vec3d{2, 0, 0}));
}

TEST(Hierarchy, NamesWhatItCannotFind) {
    const GrHierarchy table;
    Matrix44d m;
    EXPECT_EQ(table.worldMatrix("hip", Pose::kCurrent, m).text(), "worldMatrix: cannot find hip");
    EXPECT_EQ(table.worldMatrix("hip", Pose::kRest, m).text(), "worldMatrixBase: cannot find hip");
    EXPECT_EQ(table.localMatrix("hip", Pose::kCurrent, m).text(), "matrix: cannot find hip");
    EXPECT_EQ(table.localMatrix("hip", Pose::kRest, m).text(), "matrixBase: cannot find hip");
    EXPECT_EQ(table.parentWorldMatrix("hip", Pose::kCurrent, m).text(), "parentWorldMatrix: cannot find hip");
}

TEST(Hierarchy, NamesTheParentThatDangles) {
    GrHierarchy table;
    table.set("hand", record({}, "gone"));
    Matrix44d m;
    EXPECT_EQ(table.worldMatrix("hand", Pose::kCurrent, m).text(), "worldMatrix: cannot find gone");
    EXPECT_EQ(table.worldMatrix("hand", Pose::kRest, m).text(), "worldMatrixBase: cannot find gone");
}

TEST(Hierarchy, EndsInACircleOfParents) {
    GrHierarchy table;
    table.set("self", record({}, "self"));
    table.set("a", record({}, "b"));
    table.set("b", record({}, "a"));
    table.set("tail", record({}, "a"));
    Matrix44d m;
    EXPECT_EQ(table.worldMatrix("self", Pose::kCurrent, m).text(), "worldMatrix: cannot find self");
    EXPECT_EQ(table.worldMatrix("tail", Pose::kRest, m).text(), "worldMatrixBase: cannot find tail");
}

TEST(Hierarchy, WalksAVeryDeepChainWithoutRecursion) {
    GrHierarchy table;
    constexpr int kDepth = 100000;
    for (int i = 0; i < kDepth; ++i)
        table.set(std::to_string(i), record(translated({1, 0, 0}), i ? std::to_string(i - 1) : ""));
    Matrix44d m;
    ASSERT_FALSE(table.worldMatrix(std::to_string(kDepth - 1), Pose::kCurrent, m));
    EXPECT_EQ(translation(m).x, kDepth);
}

} // namespace
} // namespace talvisora
