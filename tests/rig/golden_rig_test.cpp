// SPDX-License-Identifier: Apache-2.0
// Every stage of the rig set-up against independent figures, in order: where numbers differ, the first
// failing stage is where to look. Tolerances are the figures' own (the largest difference that rounding
// explains).
#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures/capture_fixture.h"
#include "fixtures/golden_stage.h"
#include "node/attribute_names.h"
#include "rig/block_setup.h"
#include "rig/control_matrices.h"
#include "rig/joint_chain.h"

namespace talvisora {
namespace {

using namespace fixtures;

/// Largest difference of any element of two lists of matrices.
double matrixDifference(const Matrix44d* matrices, const Json& expected) {
    double largest = 0.0;
    for (std::size_t k = 0; k < expected.size(); ++k) {
        const Matrix44d m = matrix(expected[k]);
        for (int i = 0; i < 16; ++i) {
            const double d = std::fabs(matrices[k].m[i] - m.m[i]);
            if (!(d <= largest)) largest = std::isnan(d) ? HUGE_VAL : d;
        }
    }
    return largest;
}

class GoldenRig : public testing::TestWithParam<std::string> {
protected:
    GoldenRig() : capture(GetParam()), file(golden(GetParam() + ".expected.json")) {}

    const Json& blocks() const { return file.at("expect").at("blocks"); }
    double tolerance(const char* stage) const { return file.at("tolerance").at(stage).get<double>(); }
    const ValueMap& element(std::size_t b) {
        return capture.attribute<GrCompound>("talvisora__block").values.at(b);
    }
    const std::vector<std::string>& joints(std::size_t b) {
        return dynamic_cast<const GrString&>(*element(b).at(attribute::kJoints)).values;
    }

    /// Sets block b up from nothing, with the tweaks of the figures.
    void setUp(std::size_t b, bool carryTangents = false) {
        arrays.resize(blocks().size());
        parameters.assign(30, -1.0f);
        tweaks.assign(30, Tweak{});
        const Json& expected = blocks()[b].at("tweaks");
        for (std::size_t j = 0; j < expected.size(); ++j) {
            const auto values = numbers<float>(expected[j]);
            std::copy(values.begin(), values.end(), &tweaks[j].collision);
        }
        std::int32_t signature = 0;
        BlockSetup setup{static_cast<int>(b), element(b), capture.hierarchy(), tweaks.data(), kCpuSetupLines};
        setup.carryTangents = carryTangents;
        const auto faults = setUpBlock(setup, {restCurve, parameters.data(), signature}, arrays);
        ASSERT_TRUE(faults.empty()) << faults.front().text();
    }

    template <class Body>
    void forBlocks(const Body& body) {
        for (std::size_t b = 0; b < blocks().size(); ++b) {
            SCOPED_TRACE("block " + std::to_string(b));
            setUp(b);
            if (HasFatalFailure()) return;
            body(b, blocks()[b]);
        }
    }

    Capture capture;
    Json file;
    RigArrays arrays;
    Curve restCurve;
    std::vector<float> parameters;
    std::vector<Tweak> tweaks;
};

TEST_P(GoldenRig, BlockInfoAndKnots) {
    forBlocks([&](std::size_t b, const Json& expected) {
        EXPECT_EQ(arrays.blocks[b].numMatrices, expected.at("numMatrices").get<int>());
        EXPECT_EQ(arrays.blocks[b].env, expected.at("env").get<float>());
        EXPECT_EQ(arrays.blocks[b].simple, expected.at("simple").get<int>());
        EXPECT_EQ(arrays.curves[b].controlPoints.size(), expected.at("controlPointCount").get<std::size_t>());
        EXPECT_EQ(arrays.curves[b].knots, numbers<float>(expected.at("knots")));
        EXPECT_EQ(restCurve.knots, numbers<float>(expected.at("knots")));
        EXPECT_TRUE(std::equal(arrays.curves[b].knots.begin(), arrays.curves[b].knots.end(),
                               &arrays.knots[knotSlot(static_cast<int>(b), 0)]));
    });
}

TEST_P(GoldenRig, WorldMatrices) {
    for (std::size_t b = 0; b < blocks().size(); ++b) {
        JointChain chain;
        ASSERT_FALSE(readJointChain(joints(b), capture.hierarchy(), kCpuSetupLines, chain));
        const double allowed = tolerance("worldMatrices");
        EXPECT_LE(matrixDifference(chain.world.data(), blocks()[b].at("worldMatrices")), allowed);
        EXPECT_LE(matrixDifference(chain.restWorld.data(), blocks()[b].at("restWorldMatrices")), allowed);
        aimJoints(chain);
        EXPECT_LE(matrixDifference(chain.world.data(), blocks()[b].at("worldMatricesAimed")), allowed);
        EXPECT_LE(matrixDifference(chain.restWorld.data(), blocks()[b].at("restWorldMatrices")), allowed);
        // The figures hold every joint, and no more.
        EXPECT_EQ(chain.world.size(), blocks()[b].at("worldMatricesAimed").size());
    }
}

TEST_P(GoldenRig, JointControlMatrices) {
    for (std::size_t b = 0; b < blocks().size(); ++b) {
        JointChain chain;
        ASSERT_FALSE(readJointChain(joints(b), capture.hierarchy(), kCpuSetupLines, chain));
        aimJoints(chain);
        buildJointFrames(chain);
        const double allowed = tolerance("jointControlMatrices");
        ASSERT_EQ(chain.frames.size(), blocks()[b].at("jointControlMatrices").size());
        EXPECT_LE(matrixDifference(chain.frames.data(), blocks()[b].at("jointControlMatrices")), allowed);
        EXPECT_LE(matrixDifference(chain.restFrames.data(), blocks()[b].at("restJointControlMatrices")),
                  allowed);
    }
}

TEST_P(GoldenRig, ControlPoints) {
    forBlocks([&](std::size_t b, const Json& expected) {
        const double allowed = tolerance("controlPoints");
        EXPECT_LE(largestDifference(arrays.curves[b].controlPoints, points(expected.at("controlPoints"))),
                  allowed);
        EXPECT_LE(largestDifference(restCurve.controlPoints, points(expected.at("restControlPoints"))),
                  allowed);
    });
}

// Where the second-best sample is nearly as near as the best, rounding may choose the other one.
TEST_P(GoldenRig, ControlPointParameters) {
    forBlocks([&](std::size_t, const Json& expected) {
        const auto params = numbers<float>(expected.at("cvParams"));
        const auto gaps = numbers<double>(expected.at("cvParamGap"));
        std::size_t compared = 0;
        for (std::size_t k = 0; k < params.size(); ++k) {
            if (gaps[k] < 1e-9) continue;
            ++compared;
            EXPECT_EQ(parameters[k], params[k]) << k;
            EXPECT_EQ(parameters[k], expected.at("cvParamIndex")[k].get<float>() / 299.0f) << k;
        }
        EXPECT_GE(compared, params.size() / 2);
    });
}

std::vector<Vec3d> tangents(const Curve& curve, const float* parameters) {
    std::vector<Vec3d> relative, list;
    for (const Vec3d& c : curve.controlPoints) relative.push_back(c - curve.controlPoints[0]);
    for (std::size_t k = 0; k < relative.size(); ++k)
        list.push_back(curveTangent(relative.data(), curve.knots, parameters[k]));
    return list;
}

// The tangents' own rounding is that of the control matrices, which turn by them.
TEST_P(GoldenRig, Tangents) {
    forBlocks([&](std::size_t b, const Json& expected) {
        const double allowed = tolerance("cvMatrices");
        EXPECT_LE(
            largestDifference(tangents(arrays.curves[b], parameters.data()), points(expected.at("tangents"))),
            allowed);
        EXPECT_LE(
            largestDifference(tangents(restCurve, parameters.data()), points(expected.at("restTangents"))),
            allowed);
    });
}

TEST_P(GoldenRig, ControlMatrices) {
    forBlocks([&](std::size_t b, const Json& expected) {
        const std::size_t first = slot(static_cast<int>(b), 0);
        const double allowed = tolerance("cvMatrices");
        EXPECT_LE(matrixDifference(&arrays.cvBaseMatrices[first], expected.at("cvBaseMatrices")), allowed);
        EXPECT_LE(
            matrixDifference(&arrays.cvBaseMatricesInverse[first], expected.at("cvBaseMatricesInverse")),
            allowed);
        EXPECT_LE(matrixDifference(&arrays.cvMatrices[first], expected.at("cvMatrices")), allowed);
    });
}

std::vector<Vec3d> vectorsOf(const TweakVectors& v) {
    std::vector<Vec3d> list;
    for (const Float3Slot& s : {v.deformVec, v.nextVec, v.prevVec, v.planeNormal, v.planePoint, v.zAxis})
        list.push_back({s.x, s.y, s.z});
    return list;
}

TEST_P(GoldenRig, TweakVectors) {
    forBlocks([&](std::size_t b, const Json& expected) {
        const Json& list = expected.at("tweakVectors");
        for (std::size_t j = 0; j < list.size(); ++j) {
            const struct TweakVectors& v =
                arrays.tweakVectors[slot(static_cast<int>(b), static_cast<int>(j))];
            EXPECT_NEAR(v.angleWeight, list[j].at("angleWeight").get<float>(), tolerance("angleWeight")) << j;
            const auto condition = list[j].at("condition");
            const bool firm = std::all_of(condition.begin(), condition.end(),
                                          [](const Json& c) { return c.get<double>() >= 1e-3; });
            if (!firm) continue; // nearly straight: no bend plane to speak of
            EXPECT_LE(largestDifference(vectorsOf(v), vectorsOf(tweakVectors(list[j]))),
                      tolerance("tweakVectors"))
                << j;
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Goldens, GoldenRig, testing::ValuesIn(evaluationGoldens()),
                         [](const auto& golden) { return golden.param; });

TEST(GoldenRigLimits, ElevenJointsAreTooMany) {
    Capture capture("eleven_joints");
    const Json expect = golden("eleven_joints.expected.json").at("expect");
    const auto& element = capture.attribute<GrCompound>("talvisora__block").values.at(0);
    RigArrays arrays;
    arrays.resize(1);
    Curve restCurve;
    std::vector<float> parameters(30);
    std::vector<Tweak> tweaks(30);
    std::int32_t signature = 0;
    const auto faults = setUpBlock({0, element, capture.hierarchy(), tweaks.data(), kCpuSetupLines},
                                   {restCurve, parameters.data(), signature}, arrays);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].text(), "ASSERT error (deformers/talvisora/talvisora:1156): "
                                "Joint's number must not be > 10 or > 30 (when simple)");
    ASSERT_EQ(expect.at("messages").size(), 1u);
}

} // namespace
} // namespace talvisora
