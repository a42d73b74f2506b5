// SPDX-License-Identifier: Apache-2.0
// A rig that moves as a whole, through the node. With TANGENT_TURN 1 the result moves with it; with 0 it does
// so for translations, and a turn acts twice on the offsets (kept on purpose, see tangentTurn). Expected
// points are the unmoved result times the motion; 1e-6 of the largest coordinate covers the single-precision
// basis values, factors and tweak frames, whose errors grow with the distance from the origin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "fixtures/golden_node.h"
#include "fixtures/node_test.h"
#include "maths/quaternion.h"
#include "reference/literal_curve.h"

namespace talvisora {
namespace {

using namespace fixtures;

constexpr double kPi = 3.14159265358979323846;

Matrix44d turn(const Vec3d& axis, double angle) {
    const Vec3d a = normalise(axis) * std::sin(angle / 2);
    return toMatrix(Quatd{a.x, a.y, a.z, std::cos(angle / 2)});
}

Matrix44d shift(const Vec3d& by) {
    Matrix44d m;
    setTranslation(m, by);
    return m;
}

std::vector<Vec3d> moved(std::vector<Vec3d> list, const Matrix44d& motion) {
    for (Vec3d& p : list) p = pointMultMat(p, motion);
    return list;
}

/// A golden rig whose points follow it fully, so that moving the rig must move the whole result.
class Rig {
public:
    explicit Rig(const std::string& name) : golden_(name) {
        for (ValueMap& element : golden_.capture.attribute<GrCompound>("talvisora__block").values) {
            auto weights = std::make_shared<GrFloat>();
            element["talvisora__blockWeights"] = weights; // none given: all 1
            auto env = std::make_shared<GrFloat>();
            env->value = 1.0f;
            element["talvisora__env"] = env;
        }
        golden_.capture.record.weights.clear();
        golden_.setTangentTurn(1);
    }

    void setTangentTurn(int value) { golden_.setTangentTurn(value); }

    /// Moves the current pose as a whole.
    void movePose(const Matrix44d& motion) {
        forRoots([&](JointRecord& root) { root.local = root.local * motion; });
    }

    /// Moves everything as a whole: current pose, rest pose, mesh.
    void moveAll(const Matrix44d& motion) {
        movePose(motion);
        forRoots([&](JointRecord& root) { root.restLocal = root.restLocal * motion; });
        golden_.capture.record.points = moved(golden_.capture.record.points, motion);
    }

    std::vector<Vec3d> deformed() {
        MyNode fresh;
        fresh.object = golden_.node.object;
        fresh.sharedInputs = golden_.capture.sharedInputs;
        DeformRecord record = golden_.capture.record;
        EXPECT_EQ(fresh.deformCpu(golden_.capture.attributes, record), 0);
        return record.points;
    }

    const std::vector<Vec3d>& restPoints() const { return golden_.capture.record.points; }

private:
    template <class Body>
    void forRoots(const Body& body) {
        const std::string key = "Hier " + golden_.capture.attribute<GrString>("talvisora__hier_name").value;
        for (const Json& record : golden_.capture.json.at("sharedInputs").at(key).at("GrHierarchy"))
            if (record.at("parent").get<std::string>().empty())
                body(*golden_.capture.hierarchy().find(record.at("name").get<std::string>()));
    }

    GoldenNode golden_;
};

class RigidMotion : public testing::TestWithParam<std::string> {};

std::vector<std::string> rigs() {
    // Bent, simple, scaled, flagged, stretched, with bend controls, with tweaks, several blocks, mirrored.
    return {"bent90",          "chain4",         "simple12",     "scaled_joints",
            "flagged_uniform", "flat_stretched", "bend_one",     "tweak_collision",
            "tweaks_all",      "blocks_partial", "mirrored_root"};
}

std::vector<Matrix44d> turns() {
    return {turn({0, 0, 1}, kPi / 2), turn({1, 2, -1}, 0.7), turn({-2, 1, 3}, 2.9), turn({1, 0, 0}, kPi),
            turn({0.3, 1, 0.2}, -1.8) * shift({3, -7, 11})};
}

void expectMovesWithTheRig(const std::string& name, const Matrix44d& motion, int tangentTurn,
                           const Vec3d& place) {
    Rig rig(name);
    rig.setTangentTurn(tangentTurn);
    rig.moveAll(shift(place));
    const auto expected = moved(rig.deformed(), motion);
    // Or the rig could be one that deforms nothing.
    EXPECT_GT(largestDifference(rig.deformed(), rig.restPoints()), 1e-3);
    rig.movePose(motion);
    EXPECT_LE(largestDifference(rig.deformed(), expected),
              1e-6 * std::max(largestCoordinate(expected), largestCoordinate(rig.restPoints())));
}

TEST_P(RigidMotion, ATurnedRigTurnsItsResult) {
    for (const Matrix44d& motion : turns()) expectMovesWithTheRig(GetParam(), motion, 1, {});
}

TEST_P(RigidMotion, ATurnedRigTurnsItsResultAThousandUnitsAway) {
    for (const Matrix44d& motion : turns()) expectMovesWithTheRig(GetParam(), motion, 1, {1000, -400, 700});
}

TEST_P(RigidMotion, AShiftedRigShiftsItsResultWithEitherSetting) {
    for (int setting : {0, 1})
        for (const Vec3d& by : {Vec3d{1, 0, 0}, Vec3d{-3, 7, 0.5}, Vec3d{1000, 1000, -1000}})
            expectMovesWithTheRig(GetParam(), shift(by), setting, {});
}

TEST_P(RigidMotion, RigAndMeshMovedTogetherGiveTheMovedResult) {
    for (const Matrix44d& motion : turns()) {
        Rig rig(GetParam());
        const auto expected = moved(rig.deformed(), motion);
        rig.moveAll(motion);
        EXPECT_LE(largestDifference(rig.deformed(), expected), 1e-6 * largestCoordinate(expected));
    }
}

INSTANTIATE_TEST_SUITE_P(Goldens, RigidMotion, testing::ValuesIn(rigs()),
                         [](const auto& name) { return name.param; });

// Four joints along x, at rest; then the whole chain is turned.
class StraightChain : public NodeTest {
protected:
    /// The result of turning the chain, with the run setting as it stands in `attributes`.
    std::vector<Vec3d> turned(const Matrix44d& by) {
        makeRig(4, 20);
        hierarchy->clear();
        addChain(*hierarchy, straightLine(4), straightLine(4));
        JointRecord& root = *hierarchy->find("j0");
        root.local = root.local * by;
        if (tangentTurn >= 0) attributes["TANGENT_TURN"] = integer(tangentTurn);
        MyNode fresh;
        fresh.object = node.object;
        fresh.sharedInputs = node.sharedInputs;
        DeformRecord result = record;
        EXPECT_EQ(fresh.deformCpu(attributes, result), 0);
        return result.points;
    }

    /// Every point as its place on the rest curve, turned once, plus its offset, turned `times` times.
    std::vector<Vec3d> expected(const Matrix44d& by, int times) {
        std::vector<Vec3d> controlPoints, list;
        for (int k = 0; k < 10; ++k) {
            const int third = k % 3;
            controlPoints.push_back({k / 3 + (third == 0 ? 0.0 : third == 1 ? 0.33333 : 0.66666), 0, 0});
        }
        const auto knots = literal::clampedKnots(10);
        for (std::size_t i = 0; i < record.points.size(); ++i) {
            const float u = static_cast<float>(i) / static_cast<float>(record.points.size() - 1);
            const Vec3d onCurve = literal::evaluate(controlPoints.data(), knots.data(), 3, 14, u);
            Vec3d offset = record.points[i] - onCurve;
            for (int k = 0; k < times; ++k) offset = pointMultMat(offset, by);
            list.push_back(pointMultMat(onCurve, by) + offset);
        }
        return list;
    }

    int tangentTurn = -1; ///< not in the map
};

TEST_F(StraightChain, WithoutTheSettingATurnActsTwiceOnTheOffsets) {
    for (const Matrix44d& by : {turn({0, 0, 1}, 0.5), turn({0, 0, 1}, kPi / 2), turn({0, 1, 0}, -1.0)})
        for (int setting : {-1, 0}) {
            tangentTurn = setting;
            const auto points = turned(by);
            EXPECT_LE(largestDifference(points, expected(by, 2)), 1e-6 * 3.0);
            EXPECT_GT(largestDifference(points, expected(by, 1)), 0.05);
        }
}

TEST_F(StraightChain, WithTheSettingATurnActsOnce) {
    for (const Matrix44d& by : {turn({0, 0, 1}, 0.5), turn({0, 0, 1}, kPi / 2), turn({0, 1, 0}, -1.0)})
        for (int setting : {1, 2, -7}) { // any number but 0
            tangentTurn = 1;
            const auto points = turned(by);
            if (setting != 1) attributes["TANGENT_TURN"] = integer(setting);
            DeformRecord again = record;
            EXPECT_EQ(node.deformCpu(attributes, again), 0);
            EXPECT_LE(largestDifference(points, expected(by, 1)), 1e-6 * 3.0);
            EXPECT_EQ(again.points, points);
        }
}

// The tangents do not see a turn about the chain itself.
TEST_F(StraightChain, ATurnAboutTheChainItselfActsOnceWithEitherSetting) {
    const Matrix44d by = turn({1, 0, 0}, 1.2);
    for (int setting : {0, 1}) {
        tangentTurn = setting;
        const auto points = turned(by);
        EXPECT_LE(largestDifference(points, expected(by, 1)), 1e-6 * 3.0);
    }
}

} // namespace
} // namespace talvisora
