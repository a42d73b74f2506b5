// SPDX-License-Identifier: Apache-2.0
// The automatic rig over its chains: ends, frames, records, weights and parameters, on skeletons small enough
// to say what must come out, and on the two real characters. The cut into chains: auto_chains_test.cpp.
#include "host/character/auto_blocks.h"
#include "host/character/rigging/rest_curve.h"
#include "host/made_character.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace {

using namespace made_character;

constexpr double kPi = 3.14159265358979323846;
const char* const kModels = "/usr/share/assimp/models/";

/// World matrices of all records, current or rest, as a reader of the hierarchy would find them.
std::map<std::string, Matrix44d> worlds(const AutoRig& rig, bool rest) {
    std::map<std::string, Matrix44d> result;
    for (const RigRecord& record : rig.records) {
        const Matrix44d& local = rest ? record.restLocal : record.local;
        result[record.name] = record.parent.empty() ? local : local * result.at(record.parent);
    }
    return result;
}

void expectNear(const Vec3d& a, const Vec3d& b, double tolerance) {
    EXPECT_LE(length(a - b), tolerance)
        << a.x << " " << a.y << " " << a.z << " against " << b.x << " " << b.y << " " << b.z;
}

TEST(Ends, ALeafsEndLiesTowardsItsPointsAsFarAsTheyReach) {
    Character c = straight(2);
    c.points.clear();
    c.influences.clear();
    c.influenceStart = {0};
    addPoint(c, {0, 0, 0}, {{0, 1.0}});
    for (int i = 1; i <= 101; ++i)
        addPoint(c, {1, 0.02 * i, 0}, {{1, 1.0}}); // upwards from j1, to a height of 2.02
    const AutoRig rig = buildAutoRig(c);
    const Vec3d end = translation(worlds(rig, true).at(rig.blocks[0].joints.back()));
    expectNear(end, {1, 0.02 * 96, 0}, 1e-9); // the 95th percentile
}

TEST(Ends, ABranchingJointsEndGoesStraightOnAtLeastAQuarterOfTheBone) {
    Character c = makeSkeleton(
        {{"root", -1, {0, 0, 0}}, {"hub", 0, {4, 0, 0}}, {"a", 1, {5, 3, 0}}, {"b", 1, {5, -3, 0}}});
    addPoint(c, {0, 0, 0}, {{0, 1.0}});
    addPoint(c, {4, 2, 0}, {{1, 1.0}}); // beside the joint: reaches 0 along the bone
    addPointAt(c, 2);
    addPointAt(c, 3);
    const AutoRig rig = buildAutoRig(c);
    expectNear(translation(worlds(rig, true).at(rig.blocks[0].joints.back())), {5, 0, 0}, 1e-9);
}

TEST(Frames, AreOrthonormalPointToTheNextJointAndTwistLeast) {
    Character c = makeSkeleton({{"a", -1, {0, 0, 0}},
                                {"b", 0, {1, 0, 0}},
                                {"c", 1, {2, 1, 0}},
                                {"d", 2, {2, 2, 1}},
                                {"e", 3, {2, 2, 3}}});
    for (std::uint32_t j = 0; j < 5; ++j) addPointAt(c, j);
    const AutoRig rig = buildAutoRig(c);
    const auto world = worlds(rig, true);
    ASSERT_EQ(rig.blocks.size(), 1u);
    const std::vector<std::string>& records = rig.blocks[0].joints;
    std::vector<Matrix44d> frames;
    for (const std::string& record : records) frames.push_back(world.at(record));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        for (int r = 0; r < 3; ++r) EXPECT_NEAR(length(row(frames[i], r)), 1.0, 1e-12);
        expectNear(cross(row(frames[i], 0), row(frames[i], 1)), row(frames[i], 2), 1e-12);
        if (i + 1 == frames.size()) {
            for (int r = 0; r < 3; ++r) expectNear(row(frames[i], r), row(frames[i - 1], r), 1e-12);
            break;
        }
        expectNear(row(frames[i], 0), normalise(translation(frames[i + 1]) - translation(frames[i])), 1e-12);
        // Least twist: what lies across both bones keeps its coordinates in the frame.
        if (i == 0) continue;
        const Vec3d hinge = normalise(cross(row(frames[i - 1], 0), row(frames[i], 0)));
        for (int r = 1; r < 3; ++r)
            EXPECT_NEAR(dot(row(frames[i - 1], r), hinge), dot(row(frames[i], r), hinge), 1e-9);
    }
    expectNear(row(frames[0], 1), {0, 1, 0}, 1e-12); // the first joint's own y
}

TEST(Frames, TheFirstOneTakesZWhereTheBoneRunsAlongY) {
    Character c = makeSkeleton({{"a", -1, {0, 0, 0}}, {"b", 0, {0, 1, 0}}});
    for (std::uint32_t j = 0; j < 2; ++j) addPointAt(c, j, {0, 0.4, 0});
    const AutoRig rig = buildAutoRig(c);
    const Matrix44d frame = worlds(rig, true).at(rig.blocks[0].joints[0]);
    expectNear(row(frame, 0), {0, 1, 0}, 1e-12);
    expectNear(row(frame, 1), {0, 0, 1}, 1e-12);
}

TEST(Records, FollowTheirJointsRigidlyAndStandInTheTable) {
    Character c = straight(3);
    AutoRig rig = buildAutoRig(c);
    addMotion(c, 1, turnAbout({0, 0, 1}, kPi / 2));
    const auto rest = worlds(rig, true);
    for (const auto& [name, world] : worlds(rig, false))
        for (int r = 0; r < 4; ++r) expectNear(row(world, r), row(rest.at(name), r), 1e-12); // built in rest
    const Pose pose = samplePose(c, c.clips[0], 1.0);
    applyPose(rig, pose);
    const auto current = worlds(rig, false);
    for (const RigBlock& block : rig.blocks)
        for (std::size_t r = 0; r < block.joints.size(); ++r) {
            const std::size_t joint = std::min<std::size_t>(r, 2);
            const Matrix44d expected =
                rest.at(block.joints[r]) * c.joints[joint].inverseRest * pose.world[joint];
            for (int i = 0; i < 4; ++i)
                expectNear(row(current.at(block.joints[r]), i), row(expected, i), 1e-12);
        }
    expectNear(translation(current.at(c.joints[2].name)), {1, 1, 0}, 1e-12);
    std::map<std::string, int> count;
    for (const RigRecord& record : rig.records) EXPECT_EQ(++count[record.name], 1) << record.name;
}

TEST(Seeds, LayeredWeightsGiveEveryChainItsShareAgain) {
    Character c = makeSkeleton({{"root", -1, {0, 0, 0}},
                                {"hub", 0, {1, 0, 0}},
                                {"a1", 1, {2, 1, 0}},
                                {"a2", 2, {3, 1, 0}},
                                {"b1", 1, {2, -1, 0}},
                                {"b2", 4, {3, -1, 0}}});
    for (std::uint32_t j = 0; j < 6; ++j) addPointAt(c, j);
    const std::size_t mixed = addPoint(c, {1.5, 0, 0}, {{0, 0.1}, {1, 0.2}, {2, 0.15}, {3, 0.05}, {4, 0.5}});
    const std::size_t two = addPoint(c, {2, 0, 0}, {{2, 0.25}, {5, 0.75}});
    const std::size_t none = addPoint(c, {9, 9, 9}, {});
    const AutoRig rig = buildAutoRig(c);
    ASSERT_EQ(rig.blocks.size(), 3u);
    const auto shares = [&](std::size_t p) {
        std::vector<double> result;
        for (std::size_t b = 0; b < 3; ++b) {
            double share = rig.blocks[b].weights[p];
            for (std::size_t later = b + 1; later < 3; ++later) share *= 1.0 - rig.blocks[later].weights[p];
            result.push_back(share);
        }
        return result;
    };
    const std::vector<double> m = shares(mixed), t = shares(two);
    EXPECT_NEAR(m[0], 0.3, 1e-6);
    EXPECT_NEAR(m[1], 0.2, 1e-6);
    EXPECT_NEAR(m[2], 0.5, 1e-6);
    EXPECT_EQ(t[0], 0.0);
    EXPECT_NEAR(t[1], 0.25, 1e-6);
    EXPECT_NEAR(t[2], 0.75, 1e-6);
    EXPECT_EQ(rig.blocks[0].weights[mixed], 1.0f); // the first that acts takes all
    const std::vector<double> left = rig.shareLeftBehind();
    for (std::size_t p = 0; p < left.size(); ++p) EXPECT_EQ(left[p], p == none ? 1.0 : 0.0) << p;
    EXPECT_NEAR(rig.blocksPerPoint(), (6 + 3 + 2) / 8.0, 1e-12);
}

TEST(Seeds, ParamsLieInRangeAndGrowAlongAStraightChain) {
    Character c = straight(4);
    for (int i = 0; i <= 30; ++i)
        addPoint(c, {0.1 * i, 0.2, 0}, {{static_cast<std::uint32_t>(std::min(i / 10, 3)), 1.0}});
    for (ParamSearch search : {ParamSearch::kWeightedBone, ParamSearch::kNearest}) {
        AutoBlockOptions options;
        options.params = search;
        const AutoRig rig = buildAutoRig(c, options);
        for (std::size_t p = 4; p + 1 < c.points.size(); ++p) {
            EXPECT_LE(rig.blocks[0].params[p], rig.blocks[0].params[p + 1]);
            EXPECT_GE(rig.blocks[0].params[p], 0.0f);
            EXPECT_LE(rig.blocks[0].params[p + 1], 1.0f);
        }
    }
}

TEST(Seeds, WeightedBonesKeepAPointOnItsSideOfABentChain) {
    // A hairpin: up, across, down. The point weighs on the first leg but lies nearer to the second.
    Character c =
        makeSkeleton({{"a", -1, {0, 0, 0}}, {"b", 0, {0, 4, 0}}, {"c", 1, {1, 4, 0}}, {"d", 2, {1, 0, 0}}});
    for (std::uint32_t j = 0; j < 4; ++j) addPointAt(c, j);
    const std::size_t point = addPoint(c, {0.7, 1, 0}, {{0, 1.0}});
    AutoBlockOptions nearest;
    nearest.params = ParamSearch::kNearest;
    EXPECT_LT(buildAutoRig(c).blocks[0].params[point], 0.3f);
    EXPECT_GT(buildAutoRig(c, nearest).blocks[0].params[point], 0.5f);
}

/// Basis function by the recursion of Cox and de Boor, in doubles: another road than knot insertion.
double basis(const std::vector<double>& knots, int i, int degree, double u) {
    const auto k = [&](int at) { return knots[static_cast<std::size_t>(at)]; };
    if (degree == 0)
        return (k(i) <= u && u < k(i + 1)) || (u == 1.0 && k(i) < 1.0 && k(i + 1) == 1.0) ? 1.0 : 0.0;
    const double a = k(i + degree) - k(i), b = k(i + degree + 1) - k(i + 1);
    return (a > 0 ? (u - k(i)) / a * basis(knots, i, degree - 1, u) : 0.0) +
           (b > 0 ? (k(i + degree + 1) - u) / b * basis(knots, i + 1, degree - 1, u) : 0.0);
}

TEST(RestCurve, IsTheClampedUniformCubicOfTheChain) {
    const std::vector<Vec3d> joints{{0, 0, 0}, {2, 1, 0}, {3, -1, 1}, {5, 0, 2}, {6, 2, 2}};
    for (bool simple : {false, true}) {
        std::vector<Vec3d> cvs;
        for (std::size_t s = 0; s < joints.size(); ++s) {
            cvs.push_back(joints[s]);
            if (simple || s + 1 == joints.size()) continue;
            cvs.push_back(0.66667 * joints[s] + 0.33333 * joints[s + 1]);
            cvs.push_back(0.33334 * joints[s] + 0.66666 * joints[s + 1]);
        }
        const int count = static_cast<int>(cvs.size());
        std::vector<double> knots(4, 0.0);
        for (int i = 1; i <= count - 4; ++i) knots.push_back(double(i) / (count - 3));
        knots.insert(knots.end(), 4, 1.0);
        const rigging::SampledCurve curve = rigging::sampleRestCurve(joints, simple);
        for (int sample = 0; sample < rigging::kSampleCount; ++sample) {
            Vec3d expected;
            for (int i = 0; i < count; ++i)
                expected += cvs[static_cast<std::size_t>(i)] *
                            basis(knots, i, 3, rigging::SampledCurve::parameter(sample));
            expectNear(curve.points[static_cast<std::size_t>(sample)], expected,
                       2e-5); // single-precision knots and factors
        }
        EXPECT_EQ(curve.nearest(joints.front()), 0);
        EXPECT_EQ(curve.nearest(joints.back()), rigging::kSampleCount - 1);
        EXPECT_EQ(curve.nearest(joints.back(), 10, 20), 20);
    }
}

TEST(AutoRigs, ACharacterThatNoJointMovesIsRefused) {
    Character c = makeSkeleton({{"a", -1, {0, 0, 0}}});
    addPoint(c, {0, 0, 0}, {});
    try {
        buildAutoRig(c);
        FAIL();
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
        EXPECT_NE(std::string(error.what()).find("made.glb"), std::string::npos);
    }
}

TEST(AutoRigs, CoincidentJointsAllTheWayStayFinite) {
    Character c = makeSkeleton({{"a", -1, {1, 1, 1}}, {"b", 0, {1, 1, 1}}, {"c", 1, {1, 1, 1}}});
    for (std::uint32_t j = 0; j < 3; ++j) addPoint(c, {1, 1, 1}, {{j, 1.0}});
    addMotion(c, 1, turnAbout({0, 0, 1}, 1.0));
    const AutoRig rig = buildAutoRig(c);
    for (const RigRecord& record : rig.records)
        for (double v : record.restLocal.m) EXPECT_TRUE(std::isfinite(v)) << record.name;
    for (const RigBlock& block : rig.blocks) EXPECT_GE(block.joints.size(), 2u);
}

TEST(AutoRigs, TheRealCharactersHaveWholeRigs) {
    const std::pair<const char*, std::size_t> models[] = {{"X/Testwuson.X", 11}, {"X/BCN_Epileptic.X", 26}};
    for (const auto& [name, blocks] : models) {
        const Character c = readCharacter(std::string(kModels) + name);
        const AutoRig rig = buildAutoRig(c);
        EXPECT_EQ(rig.blocks.size(), blocks);
        EXPECT_GE(rig.blocksPerPoint(), 1.2);
        EXPECT_LE(rig.blocksPerPoint(), 1.3);
        for (double left : rig.shareLeftBehind()) ASSERT_EQ(left, 0.0);
        expectOwnedOnce(c, rig);
        for (const RigBlock& block : rig.blocks) {
            EXPECT_GE(block.joints.size(), 2u);
            EXPECT_LE(block.joints.size(), 10u);
            EXPECT_TRUE(block.virtualEnd); // every chain of these two ends in a joint that moves points
            EXPECT_EQ(block.params.size(), c.points.size());
            for (float param : block.params) ASSERT_TRUE(param >= 0.0f && param <= 1.0f);
        }
    }
}

} // namespace
