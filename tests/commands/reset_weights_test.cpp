// SPDX-License-Identifier: Apache-2.0
// resetWeights: thickness of open, closed and odd meshes, reach to the last bit, walls, and the numbers that
// are none. What it shares with resetParams is tested there.
#include <algorithm>
#include <limits>

#include "commands/block_frame.h"
#include "commands/mesh_reach.h"
#include "reset_fixture.h"

namespace talvisora {
namespace {

using namespace fixtures;
using headless::ComponentKind;
using Floats = std::vector<float>;

constexpr double kInfinite = std::numeric_limits<double>::infinity();

class ResetWeights : public ResetTest {
protected:
    ResetWeights() { makeTube(); }

    Floats run() {
        EXPECT_EQ(resetWeights(arguments), 0);
        EXPECT_EQ(shown(), std::vector<std::string>{"info Reset weights for block[0]"});
        EXPECT_EQ(arguments.count("OUTPUT"), 0u);
        return written("blockWeights");
    }
    Floats run(double coefficient) {
        arguments["maxDistanceCoeff"] = real(coefficient);
        return run();
    }
    Floats all(float value) const { return Floats(record.points.size(), value); }
    /// A box of half size 1 round the x axis, long enough for the chain, and these points without faces.
    void useBoxWith(const std::vector<Vec3d>& loose) {
        MeshSource source;
        source.box({-10, -1, -1}, {20, 1, 1});
        source.points.insert(source.points.end(), loose.begin(), loose.end());
        useMesh(source);
    }
    static Floats tail(const Floats& values, std::size_t count) {
        return Floats(values.end() - static_cast<std::ptrdiff_t>(count), values.end());
    }
};

TEST_F(ResetWeights, AreOneInsideTheReachOfAClosedMesh) {
    EXPECT_EQ(run(100.0), all(1.0f));
    EXPECT_EQ(written("params"), Floats{});
}

TEST_F(ResetWeights, AreOnlyOneWithinReach) {
    // The tube's radius is a half; its end rings and centres lie a unit past the curve's ends.
    const Floats weights = run(1.2);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const Vec3d& p = record.points[i];
        const double beyond = std::max({0.0, -p.x, p.x - 3.0});
        const double distance = std::hypot(beyond, p.y, p.z);
        if (std::fabs(distance - 0.6) > 0.06) {
            EXPECT_EQ(weights[i], distance < 0.6 ? 1.0f : 0.0f) << i;
        }
    }
    EXPECT_EQ(std::count(weights.begin(), weights.end(), 1.0f) > 0, true);
}

TEST_F(ResetWeights, AreWrittenInBothWays) {
    const Floats weights = run(1.2);
    EXPECT_EQ(headless::takeCommands().size(), 0u);
    arguments["fast"] = boolean(false);
    run();
    const auto commands = commandTexts();
    ASSERT_EQ(commands.size(), weights.size());
    for (std::size_t i = 0; i < weights.size(); ++i)
        EXPECT_EQ(commands[i], "setAttr arm.block[0].blockWeights[" + std::to_string(i) + "] " +
                                   (weights[i] == 1.0f ? "1.000000;" : "0.000000;"));
    EXPECT_EQ(written("blockWeights"), weights);
    while (headless::undo()) {
    }
    EXPECT_EQ(written("blockWeights"), weights) << "the fast ones were there before";
}

TEST_F(ResetWeights, OfACurveOutsideTheMeshAre0) {
    MeshSource source;
    source.tube(-1.0, 4.0, 0.5, 7, 8);
    for (Vec3d& p : source.points) p.y += 5.0;
    useMesh(source);
    EXPECT_EQ(run(1000.0), all(0.0f));
    arguments["smooth"] = integer(20);
    EXPECT_EQ(run(1000.0), all(0.0f)) << "nothing to spread";
}

TEST_F(ResetWeights, OfAMeshWithoutInsideAre0) {
    // A flat sheet: a ray towards it meets it once, a ray from beyond its edge meets nothing; two sheets on
    // the same side are met twice.
    MeshSource source;
    source.points = {{-9, 2, -9}, {9, 2, -9}, {9, 2, 9}, {-9, 2, 9},
                     {-9, 3, -9}, {9, 3, -9}, {9, 3, 9}, {-9, 3, 9}};
    source.face({0, 1, 2, 3});
    source.face({4, 5, 6, 7});
    useMesh(source);
    EXPECT_EQ(run(1000.0), all(0.0f));
}

TEST_F(ResetWeights, OfAnOpenTubeComeFromTheCrossingsAlone) {
    // Without its ends the tube still surrounds the curve: every ray to the wall meets it once.
    makeTube(4, 7, 8, false);
    EXPECT_EQ(run(100.0), all(1.0f));
}

TEST_F(ResetWeights, WithACoefficientThatIsNotPositiveAre0) {
    for (double coefficient : {0.0, -0.0, -1.0, -kInfinite, std::nan("")})
        EXPECT_EQ(run(coefficient), all(0.0f)) << coefficient;
}

TEST_F(ResetWeights, WithAnInfiniteCoefficientReachEverythingInSight) {
    EXPECT_EQ(run(kInfinite), all(1.0f));
    EXPECT_EQ(run(1e300), all(1.0f));
    // No thickness: 0 times infinity is no number, and nobody is nearer than that.
    MeshSource beside;
    beside.tube(-1.0, 4.0, 0.5, 7, 8);
    for (Vec3d& p : beside.points) p.y += 5.0;
    useMesh(beside);
    EXPECT_EQ(run(kInfinite), all(0.0f));
}

TEST_F(ResetWeights, AtExactlyTheReachAre0) {
    // The box is 1 thick round the axis and the first sample is the origin: all numbers here are exact.
    useBoxWith({{-2, 0, 0}, {std::nextafter(-2.0, 0.0), 0, 0}, {-1.75, 0, 0}, {-2.25, 0, 0}});
    EXPECT_EQ(tail(run(2.0), 4), (Floats{0, 1, 1, 0}));
    EXPECT_EQ(tail(run(2.5), 4), (Floats{1, 1, 1, 1}));
    EXPECT_EQ(tail(run(1.75), 4), (Floats{0, 0, 0, 0}));
}

TEST_F(ResetWeights, OnTheCurveItselfAreOne) {
    useBoxWith({{0, 0, 0}, {3, 0, 0}});
    EXPECT_EQ(tail(run(1e-30), 2), (Floats{1, 1}));
    EXPECT_EQ(tail(run(0.0), 2), (Floats{0, 0}));
}

TEST_F(ResetWeights, BehindAWallAre0) {
    // Two nested boxes; the outer one is too far away to count as a second crossing.
    MeshSource source;
    source.box({-5, -1, -1}, {8, 1, 1});
    source.box({-200, -200, -200}, {200, 200, 200});
    useMesh(source);
    Floats expected = all(0.0f);
    std::fill(expected.begin(), expected.begin() + 8, 1.0f);
    EXPECT_EQ(run(1000.0), expected) << "the outer corners lie 346 units away, the inner box between";
}

TEST_F(ResetWeights, BehindAPlateInsideAre0) {
    MeshSource source;
    source.box({-10, -1, -1}, {20, 1, 1});
    const int v = static_cast<int>(source.points.size());
    for (double z : {-0.1, 0.1})
        for (double x : {1.0, 2.0}) source.points.push_back({x, 0.75, z});
    source.face({v, v + 1, v + 2});
    source.face({v + 1, v + 3, v + 2});
    source.points.push_back({1.5, 0.9, 0.0}); // behind the plate
    source.points.push_back({0.5, 0.9, 0.0}); // beside it
    useMesh(source);
    EXPECT_EQ(tail(run(50.0), 2), (Floats{0, 1}));
}

TEST_F(ResetWeights, OfPointsFartherThanTheFixedBoundAreMeasuredToo) {
    MeshSource source;
    source.box({-900, -90, -90}, {900, 90, 90});
    useMesh(source);
    EXPECT_EQ(run(100.0), all(1.0f)) << "the corners lie 900 units away";
}

TEST_F(ResetWeights, OfACurveFartherThan100UnitsFromTheSurfaceAre0) {
    MeshSource source;
    source.box({-99, -99, -99}, {99, 99, 99});
    useMesh(source);
    EXPECT_EQ(run(100.0), all(1.0f));
    MeshSource larger;
    larger.box({-130, -130, -130}, {130, 130, 130});
    useMesh(larger);
    EXPECT_EQ(run(100.0), all(0.0f));
}

TEST_F(ResetWeights, StayBetween0And1WhenSmoothed) {
    for (int passes : {1, 3, 100, 2147483647}) {
        arguments["smooth"] = integer(passes);
        for (float w : run(1.2)) EXPECT_TRUE(w >= 0.0f && w <= 1.0f) << w;
    }
    arguments["smooth"] = integer(1);
    const Floats once = run(1.2);
    EXPECT_TRUE(std::any_of(once.begin(), once.end(), [](float w) { return w > 0.0f && w < 1.0f; }));
}

TEST_F(ResetWeights, OfSelectedVerticesOnly) {
    for (bool fast : {true, false}) {
        headless::startWriteJournal();
        arguments["fast"] = boolean(fast);
        select(ComponentKind::vertices, {2, 9});
        EXPECT_EQ(resetWeights(arguments), 0);
        EXPECT_EQ(writtenIndices(), (std::vector<unsigned>{2, 9}));
    }
}

TEST_F(ResetWeights, DoNotUseTheNodesMatrix) {
    const Floats weights = run(1.2);
    attributes[attribute::kGeoMatrix] = matrixValue(translated({50, 60, 70}));
    EXPECT_EQ(run(1.2), weights);
}

TEST_F(ResetWeights, LookTheSampleUpThroughTheRecordsMatrixAndMeasureWithoutIt) {
    // Carried far past the end every point gets the last sample, and is measured from it as it stands.
    setTranslation(record.matrix, {1000, 0, 0});
    useBoxWith({{-1, 0, 0}, {1.5, 0, 0}, {2.5, 0, 0}});
    EXPECT_EQ(tail(run(2.0), 3), (Floats{0, 1, 1}));
    EXPECT_EQ(tail(run(1.0), 3), (Floats{0, 0, 1}));
}

TEST_F(ResetWeights, OfOddMeshesAreStated) {
    // Doubled and unused vertices, a triangle without area, points that are no numbers.
    MeshSource source;
    source.box({-10, -1, -1}, {20, 1, 1});
    source.points.push_back(source.points[3]);
    source.points.push_back({1, 0.5, 0});
    source.points.push_back({std::nan(""), 0, 0});
    source.points.push_back({0, HUGE_VAL, 0});
    source.points.push_back({1e300, 0, 0});
    source.points.push_back({1e30, 0, 0});
    source.face({0, 8, 8});
    source.face({0, 1, 0});
    useMesh(source);
    const Floats weights = run(100.0);
    ASSERT_EQ(weights.size(), 14u);
    EXPECT_EQ(Floats(weights.begin(), weights.begin() + 10), Floats(10, 1.0f));
    EXPECT_EQ(tail(weights, 4), (Floats{0, 0, 0, 0}));
    EXPECT_EQ(tail(run(kInfinite), 4), (Floats{0, 0, 0, 0})) << "too far to be seen";
}

TEST_F(ResetWeights, OfJointsThatAreNoNumbersAre0) {
    hierarchy->find("j1")->restLocal(3, 1) = std::nan("");
    EXPECT_EQ(run(100.0), all(0.0f));
    for (const std::string& name : jointNames(4)) hierarchy->find(name)->restLocal(3, 0) = HUGE_VAL;
    EXPECT_EQ(run(100.0), all(0.0f));
}

TEST_F(ResetWeights, OfAJointInsideAWallCountTheOtherCurvePoints) {
    // The first joint stands in the wall, its nearest surface at no distance at all.
    MeshSource source;
    source.box({0, -1, -1}, {20, 1, 1});
    useMesh(source);
    EXPECT_EQ(run(100.0), all(1.0f));
}

TEST_F(ResetWeights, OfAMeshWithoutFacesOrPointsAre0OrNone) {
    MeshSource source;
    source.points = {{0, 0, 0}, {1, 1, 1}};
    useMesh(source);
    EXPECT_EQ(run(100.0), all(0.0f));
    headless::setFloatElements({node.object, "block", 0, "blockWeights"}, {});
    useMesh({});
    EXPECT_EQ(run(100.0), Floats{});
}

TEST(Reach, IsTheRoundedProduct) {
    EXPECT_EQ(reachOf(0.1f, 3.0), static_cast<float>(static_cast<double>(0.1f) * 3.0));
    EXPECT_EQ(reachOf(2.0f, 1e300), std::numeric_limits<float>::infinity());
    EXPECT_EQ(reachOf(2.0f, -1e300), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(reachOf(0.0f, kInfinite)));
    EXPECT_TRUE(std::isnan(reachOf(1.0f, std::nan(""))));
}

TEST(SafeLength, NeitherUnderflowsNorOverflows) {
    EXPECT_EQ(safeLength({3, 4, 0}), 5.0);
    EXPECT_EQ(safeLength({-2, 3, 6}), 7.0);
    EXPECT_EQ(safeLength({0, 0, 0}), 0.0);
    EXPECT_DOUBLE_EQ(safeLength({3e-200, 4e-200, 0}), 5e-200);
    EXPECT_DOUBLE_EQ(safeLength({3e200, 0, 4e200}), 5e200);
    EXPECT_EQ(safeLength({0, 5e-324, 0}), 5e-324);
    EXPECT_EQ(safeLength({0, -HUGE_VAL, 0}), HUGE_VAL);
    EXPECT_TRUE(std::isnan(safeLength({std::nan(""), 1, 1})));
}

} // namespace
} // namespace talvisora
