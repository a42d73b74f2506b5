// SPDX-License-Identifier: Apache-2.0
// Both resets against independent figures, stage by stage: joints, guide curve, samples, thickness probe by
// probe, and what is written in both ways.
#include "commands/block_frame.h"
#include "commands/mesh_reach.h"
#include "fixtures/capture_fixture.h"
#include "kernels/nearest_samples.h"
#include "reset_fixture.h"

namespace talvisora {
namespace {

using namespace fixtures;

class ResetGolden : public ResetTest {
protected:
    /// Takes the capture's values; `name` without its ending.
    void use(const std::string& name) {
        const Capture capture(name);
        attributes = capture.attributes;
        node.sharedInputs = capture.sharedInputs;
        record = capture.record;
        headless::renameNode(node.object, capture.json.at("node").get<std::string>());
        MeshSource source;
        const Json& mesh = capture.json.at("meshes").at(0);
        source.points = points(mesh.at("points"));
        for (const Json& face : mesh.at("faces")) source.face(face.get<std::vector<int>>());
        useMesh(source);
        headless::renameNode(body, mesh.at("name").get<std::string>());
        calls = capture.json.at("calls");
        expect = golden(name + ".expected.json").at("expect");
    }
    /// The arguments of one of the capture's calls.
    void take(std::size_t call) {
        for (auto& [key, value] : readValues(calls.at(call).at("arguments"))) arguments[key] = value;
    }
    BlockFrame frame(Reset reset) {
        ResetArguments values;
        EXPECT_FALSE(readArguments(arguments, reset, values));
        const CommandContext command{arguments, "graphNode", &node, &attributes, &record};
        BlockFrame result;
        const Fault fault = readFrame(command, reset, values, result);
        EXPECT_FALSE(fault) << fault.text();
        return result;
    }
    void expectCurveAndSamples(const BlockFrame& f) {
        EXPECT_LT(largestDifference(f.joints, points(expect.at("jointPositions"))), 1e-13);
        EXPECT_LT(largestDifference(f.guide.controlPoints, points(expect.at("guideControlPoints"))), 1e-13);
        EXPECT_EQ(f.guide.knots, numbers<float>(expect.at("guideKnots")));
        std::vector<std::int32_t> nearest(f.points.size());
        nearestSamplesOfAll(SampleBoxes(f.samples), f.points.data(), f.points.size(), record.matrix,
                            nearest.data());
        for (double gap : numbers<double>(expect.at("sampleGap"))) ASSERT_GT(gap, 1e-9);
        EXPECT_EQ(nearest, numbers<std::int32_t>(expect.at("sampleIndex")));
    }
    /// What the two calls of the capture wrote: first through a handle, then by commands.
    void expectWritten(int (*command)(ValueMap&), const std::string& child, const std::string& result) {
        const auto values = numbers<float>(expect.at(result));
        const auto indices = numbers<unsigned>(expect.at("writtenIndices"));
        const auto texts = expect.at("writtenText").get<std::vector<std::string>>();
        ASSERT_EQ(indices.size(), texts.size());
        for (std::size_t call = 0; call < calls.size(); ++call) {
            take(call);
            headless::startWriteJournal();
            EXPECT_EQ(command(arguments), expect.at("status").get<int>());
            const unsigned b = static_cast<unsigned>(castTo<GrInt>(arguments.at("block"))->value);
            const bool fast = castTo<GrBoolean>(arguments.at("fast"))->value;
            EXPECT_EQ(writtenIndices(), indices);
            const auto commands = commandTexts();
            if (fast) {
                EXPECT_EQ(written(child, b), values);
                EXPECT_EQ(commands.size(), 0u);
                continue;
            }
            ASSERT_EQ(commands.size(), indices.size());
            const std::string name = nodeName(node);
            for (std::size_t k = 0; k < commands.size(); ++k)
                EXPECT_EQ(commands[k], "setAttr " + name + ".block[" + std::to_string(b) + "]." + child +
                                           "[" + std::to_string(indices[k]) + "] " + texts[k] + ";");
        }
    }

    Json calls, expect;
};

TEST_F(ResetGolden, ParamsAgreeStageByStage) {
    use("reset_params");
    take(0);
    const BlockFrame f = frame(Reset::kParams);
    expectCurveAndSamples(f);
    const auto index = numbers<std::size_t>(expect.at("sampleIndex"));
    const auto raw = numbers<float>(expect.at("rawParams"));
    for (std::size_t i = 0; i < index.size(); ++i)
        EXPECT_EQ(static_cast<float>(f.samples[index[i]].t), raw[i]) << i;
    expectWritten(resetParams, "params", "params");
}

TEST_F(ResetGolden, WeightsAgreeStageByStage) {
    use("reset_weights");
    take(0);
    const BlockFrame f = frame(Reset::kWeights);
    expectCurveAndSamples(f);

    MeshReach mesh(f.mesh);
    std::vector<ThicknessProbe> probes;
    const float thickness = mesh.thickness(f.guide, &probes);
    const Json& expected = expect.at("thickness");
    ASSERT_EQ(probes.size(), expected.size());
    for (std::size_t k = 0; k < probes.size(); ++k) {
        SCOPED_TRACE(k);
        EXPECT_EQ(probes[k].t, expected[k].at("t").get<float>());
        EXPECT_LT(largestDifference({probes[k].point, probes[k].closest},
                                    {vec3(expected[k].at("point")), vec3(expected[k].at("closest"))}),
                  1e-13);
        EXPECT_NEAR(probes[k].distance, expected[k].at("distance").get<double>(), 1e-13);
        EXPECT_EQ(probes[k].tested, expected[k].at("tested").get<bool>());
        if (probes[k].tested) {
            EXPECT_EQ(probes[k].hits, expected[k].at("hits").get<unsigned>());
        }
    }
    EXPECT_EQ(thickness, expect.at("R").get<float>());
    const float reach = reachOf(thickness, castTo<GrDouble>(arguments.at("maxDistanceCoeff"))->value);
    EXPECT_EQ(reach, expect.at("reach").get<float>());

    const auto index = numbers<std::size_t>(expect.at("sampleIndex"));
    for (std::size_t i = 0; i < index.size(); ++i) {
        SCOPED_TRACE(i);
        const CurveSample& s = f.samples[index[i]];
        const Vec3d sample{s.x, s.y, s.z};
        const double distance = safeLength(f.points[i] - sample);
        EXPECT_NEAR(distance, expect.at("distance")[i].get<double>(), 1e-13);
        const bool inReach = static_cast<double>(reach) > distance;
        EXPECT_EQ(inReach, expect.at("inReach")[i].get<bool>());
        if (inReach) {
            EXPECT_EQ(mesh.isFree(f.points[i], sample), expect.at("hits")[i].get<int>() == 0);
        }
    }
    expectWritten(resetWeights, "blockWeights", "weights");
}

} // namespace
} // namespace talvisora
