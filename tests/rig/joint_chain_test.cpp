// SPDX-License-Identifier: Apache-2.0
// World matrices, aim correction and joint frames of one chain.
#include "rig/joint_chain.h"

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "fixtures/small_rig.h"

namespace talvisora {
namespace {

using namespace fixtures;

void expectNear(const Vec3d& a, const Vec3d& b, double tolerance) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

JointChain readChain(const GrHierarchy& hierarchy, const std::vector<std::string>& names) {
    JointChain chain;
    const Fault fault = readJointChain(names, hierarchy, kCpuSetupLines, chain);
    EXPECT_FALSE(fault) << fault.text();
    return chain;
}

TEST(JointChain, ReusingTheParentsMatrixChangesNoBit) {
    GrHierarchy hierarchy;
    addChain(hierarchy, bentLine(6, 0.3), straightLine(6));
    hierarchy.find("j3")->parentRotationOnly = true;
    const JointChain chain = readChain(hierarchy, jointNames(6));
    for (std::size_t i = 0; i < 6; ++i) {
        Matrix44d world;
        ASSERT_FALSE(hierarchy.worldMatrix(jointNames(6)[i], Pose::kCurrent, world));
        EXPECT_EQ(chain.world[i], world);
        ASSERT_FALSE(hierarchy.worldMatrix(jointNames(6)[i], Pose::kRest, world));
        EXPECT_EQ(chain.restWorld[i], world);
    }
}

// Every joint has a frame record of its own under it, as hosts make them for foreign axes: the chain's names
// are the frames, and a frame's parent is never the frame before it.
TEST(JointChain, ReusesMatricesAcrossHelperRecordsAndRepeatedNames) {
    GrHierarchy hierarchy;
    addChain(hierarchy, bentLine(6, 0.3), straightLine(6));
    std::vector<std::string> names;
    for (const std::string& joint : jointNames(6)) {
        JointRecord frame;
        frame.parent = joint;
        setTranslation(frame.local, {0.25, 0.5, -1.0});
        hierarchy.set("frame_" + joint, frame);
        names.push_back("frame_" + joint);
    }
    names.push_back(names[2]); // back to an earlier branch
    names.push_back(names[2]); // the very record of the name before
    names.push_back("j5");
    const JointChain chain = readChain(hierarchy, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        Matrix44d world;
        ASSERT_FALSE(hierarchy.worldMatrix(names[i], Pose::kCurrent, world));
        EXPECT_EQ(chain.world[i], world) << names[i];
        ASSERT_FALSE(hierarchy.worldMatrix(names[i], Pose::kRest, world));
        EXPECT_EQ(chain.restWorld[i], world) << names[i];
    }
}

TEST(JointChain, NamesTheFirstJointThatIsNotThere) {
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(2), straightLine(2));
    JointChain chain;
    EXPECT_EQ(readJointChain({"j0", "elbow", "wrist"}, hierarchy, kCpuSetupLines, chain).text(),
              "ASSERT error (deformers/talvisora/talvisora:1127): Cannot find 'elbow' in hier!");
    EXPECT_EQ(readJointChain({"j0", ""}, hierarchy, kGpuSetupLines, chain).text(),
              "ASSERT error (deformers/talvisora/talvisora:1735): Cannot find '' in hier!");
}

TEST(JointChain, ReportsADanglingParentByTheParentsName) {
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(2), straightLine(2));
    hierarchy.find("j0")->parent = "gone";
    JointChain chain;
    EXPECT_EQ(readJointChain(jointNames(2), hierarchy, kCpuSetupLines, chain).text(),
              "worldMatrix: cannot find gone");
}

TEST(JointChain, ReportsACircleByTheJointsName) {
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(3), straightLine(3));
    hierarchy.find("j0")->parent = "j2";
    JointChain chain;
    EXPECT_EQ(readJointChain(jointNames(3), hierarchy, kCpuSetupLines, chain).text(),
              "worldMatrix: cannot find j0");
}

/// A line of records "0", "1", …, each the parent of the next, and their names from the last one up: an order
/// in which no joint's parent stands before it.
std::vector<std::string> deepLine(GrHierarchy& hierarchy, int depth) {
    std::vector<std::string> names;
    for (int i = 0; i < depth; ++i)
        hierarchy.set(std::to_string(i),
                      {translated({1, 0, 0}), translated({1, 0, 0}), i ? std::to_string(i - 1) : "", false});
    for (int i = depth; i-- > 0;) names.push_back(std::to_string(i));
    return names;
}

// Joint by joint to the root these would be ten thousand million steps.
TEST(JointChain, AHundredThousandJointsOfADeepTableAreReadInTime) {
    GrHierarchy hierarchy;
    const std::vector<std::string> names = deepLine(hierarchy, 100000);
    const auto start = std::chrono::steady_clock::now();
    const JointChain chain = readChain(hierarchy, names);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    ASSERT_EQ(chain.positions.size(), 30u);
    EXPECT_EQ(chain.positions[29].x, 100000 - 29);
}

TEST(JointChain, JointsPastTheLastSlotAreStillNamedWhenTheyOrTheirParentsAreNotThere) {
    GrHierarchy hierarchy;
    std::vector<std::string> names = deepLine(hierarchy, 40);
    JointChain chain;
    hierarchy.set("loose", {{}, {}, "gone", false});
    hierarchy.set("round", {{}, {}, "round", false});
    const std::pair<const char*, const char*> cases[] = {
        {"elbow", "ASSERT error (deformers/talvisora/talvisora:1127): Cannot find 'elbow' in hier!"},
        {"loose", "worldMatrix: cannot find gone"},
        {"round", "worldMatrix: cannot find round"},
    };
    for (const auto& [name, text] : cases) {
        names[35] = name;
        EXPECT_EQ(readJointChain(names, hierarchy, kCpuSetupLines, chain).text(), text);
    }
}

TEST(AimCorrection, TurnsAJointTowardsWhereTheNextOneIs) {
    // The second joint is moved sideways without turning the first: the first must look at it all the same.
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(3), straightLine(3));
    setTranslation(hierarchy.find("j1")->local, {1, 1, 0});
    JointChain chain = readChain(hierarchy, jointNames(3));
    const Matrix44d last = chain.world[2];
    aimJoints(chain);
    const double half = std::sqrt(0.5);
    expectNear(row(chain.world[0], 0), {half, half, 0}, 1e-15);
    expectNear(translation(chain.world[0]), {0, 0, 0}, 0);
    expectNear(row(chain.world[1], 0), {1, 0, 0}, 1e-15);
    EXPECT_EQ(chain.world[2], last);
}

TEST(AimCorrection, LeavesRestJointsAsBound) {
    GrHierarchy hierarchy;
    addChain(hierarchy, bentLine(4, 0.5), bentLine(4, 0.1));
    JointChain chain = readChain(hierarchy, jointNames(4));
    const std::vector<Matrix44d> rest = chain.restWorld;
    aimJoints(chain);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(chain.restWorld[i], rest[i]);
}

TEST(AimCorrection, KeepsLengthsAndLeavesCoincidentJointsAlone) {
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(3), straightLine(3));
    for (int axis = 0; axis < 3; ++axis)
        setRow(hierarchy.find("j0")->local, axis, row(hierarchy.find("j0")->local, axis) * 2.0);
    setTranslation(hierarchy.find("j2")->local, {});
    JointChain chain = readChain(hierarchy, jointNames(3));
    const Matrix44d second = chain.world[1];
    aimJoints(chain);
    EXPECT_NEAR(length(row(chain.world[0], 1)), 2.0, 1e-15);
    EXPECT_EQ(chain.world[1], second); // its direction to the next joint is zero: no turn
}

TEST(JointFrames, TakeTheXAxisOfTheJointBefore) {
    GrHierarchy hierarchy;
    addChain(hierarchy, bentLine(3, 0.7), straightLine(3));
    JointChain chain = readChain(hierarchy, jointNames(3));
    aimJoints(chain);
    buildJointFrames(chain);
    for (std::size_t i = 0; i < 3; ++i) {
        expectNear(row(chain.frames[i], 0), row(chain.world[i ? i - 1 : 0], 0), 1e-15);
        EXPECT_EQ(translation(chain.frames[i]), chain.positions[i]);
        for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(length(row(chain.frames[i], axis)), 1.0, 1e-15);
    }
}

TEST(JointFrames, AreUnitAxesUnderScale) {
    GrHierarchy hierarchy;
    addChain(hierarchy, straightLine(2), straightLine(2));
    for (int axis = 0; axis < 3; ++axis)
        setRow(hierarchy.find("j0")->local, axis, row(hierarchy.find("j0")->local, axis) * (axis + 2.0));
    JointChain chain = readChain(hierarchy, jointNames(2));
    buildJointFrames(chain);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(length(row(chain.frames[0], axis)), 1.0, 1e-15);
        EXPECT_NEAR(length(row(chain.frames[1], axis)), 1.0, 1e-15);
    }
}

} // namespace
} // namespace talvisora
