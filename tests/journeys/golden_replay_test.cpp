// SPDX-License-Identifier: Apache-2.0
// `grhost replay` of every golden capture against figures that a slow, independent program computed: status,
// messages, points within the tolerance that rounding explains. With TANGENT_TURN 1 as well, and bit for bit
// the same from every processor variant and thread count.
#include "journeys/run_grhost.h"

#include <cmath>

namespace talvisora::journeys {
namespace {

// Largest difference of any coordinate; infinite when the lists are not alike.
double difference(const Json& points, const Json& expected) {
    if (!points.is_array() || points.size() != expected.size()) return HUGE_VAL;
    double largest = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const double d = std::fabs(points[i].at(k).get<double>() - expected[i].at(k).get<double>());
            if (!(d <= largest)) largest = d;
        }
    return largest;
}

void compare(const Json& answer, const Json& expected, double tolerance, const std::string& node) {
    EXPECT_EQ(answer.at("status"), expected.at("status"));
    ASSERT_EQ(answer.at("messages").size(), expected.at("messages").size()) << answer.at("messages");
    for (std::size_t k = 0; k < expected.at("messages").size(); ++k) {
        const Json& message = expected["messages"][k];
        const std::string shown = answer["messages"][k].at("text");
        const std::string text = message.at("text");
        EXPECT_EQ(answer["messages"][k].at("level"), "error");
        EXPECT_EQ(shown.substr(0, node.size() + 2), node + ": ");
        ASSERT_GE(shown.size(), text.size());
        EXPECT_EQ(shown.substr(shown.size() - text.size()), text);
        if (message.at("line").is_number()) {
            EXPECT_EQ(shown, node + ": ASSERT error (deformers/talvisora/talvisora:" +
                                 std::to_string(message["line"].get<int>()) + "): " + text);
        }
    }
    EXPECT_LE(difference(answer.at("points"), expected.at("pointsCpu")), tolerance);
}

class GoldenReplay : public Journey, public testing::WithParamInterface<const char*> {
protected:
    static std::string ending(const char* what) { return std::string(".") + what + ".json"; }
};

TEST_P(GoldenReplay, GivesTheIndependentFigures) {
    const Json expected = Json::parse(fileText(golden(GetParam() + ending("expected"))));
    const Json capture = Json::parse(fileText(golden(GetParam() + ending("capture"))));
    const Ran ran = run({"replay", golden(GetParam() + ending("capture"))});
    EXPECT_EQ(ran.err, "");
    const Json answer = Json::parse(ran.out);
    EXPECT_EQ(answer.at("format"), "talvisora-replay");
    EXPECT_EQ(answer.at("version"), 1);
    const double tolerance = expected.at("tolerance").at("pointsCpu");

    // One step per evaluation; the calls between them set values.
    const Json& expect = expected.at("expect");
    const Json steps = expect.contains("steps") ? expect["steps"] : Json::array({expect});
    std::size_t step = 0;
    int worst = 0;
    for (const Json& call : answer.at("calls")) {
        if (call.at("call") != "deformCpu") continue;
        ASSERT_LT(step, steps.size());
        compare(call, steps[step], tolerance, capture.at("node"));
        worst = std::max(worst, steps[step].at("status").get<int>());
        ++step;
    }
    EXPECT_EQ(step, steps.size());
    EXPECT_EQ(ran.exitCode, worst);
}

class DeviceGoldenReplay : public GoldenReplay {};

// The same captures on this machine's OpenCL. Messages are the CPU path's but for their lines.
TEST_P(DeviceGoldenReplay, GivesTheIndependentDeviceFigures) {
    const Json expected = Json::parse(fileText(golden(GetParam() + ending("expected"))));
    Json capture = Json::parse(fileText(golden(GetParam() + ending("capture"))));
    if (!capture.contains("calls")) capture["calls"] = {{{"call", "deformCpu"}}};
    for (Json& call : capture["calls"])
        if (call.at("call") == "deformCpu") call["call"] = "deformGpu";
    const Ran ran = run({"replay", write("device.json", capture.dump())});
    const Json answer = Json::parse(ran.out);
    const double tolerance = expected.at("tolerance").at("pointsKernel");

    const Json& expect = expected.at("expect");
    const Json steps = expect.contains("steps") ? expect["steps"] : Json::array({expect});
    std::size_t step = 0;
    for (const Json& call : answer.at("calls")) {
        if (call.at("call") != "deformGpu") continue;
        ASSERT_LT(step, steps.size());
        const Json& wanted = steps[step++];
        EXPECT_EQ(call.at("status"), wanted.at("status"));
        ASSERT_EQ(call.at("messages").size(), wanted.at("messages").size()) << call.at("messages");
        for (std::size_t k = 0; k < wanted["messages"].size(); ++k) {
            const std::string shown = call["messages"][k].at("text"), text = wanted["messages"][k].at("text");
            ASSERT_GE(shown.size(), text.size());
            EXPECT_EQ(shown.substr(shown.size() - text.size()), text);
        }
        const bool deformed = wanted.contains("pointsKernel") && wanted["pointsKernel"].is_array();
        EXPECT_LE(difference(call.at("points"), wanted.at(deformed ? "pointsKernel" : "pointsCpu")),
                  tolerance);
    }
    EXPECT_EQ(step, steps.size());
}

class TurnedGoldenReplay : public GoldenReplay {};

TEST_P(TurnedGoldenReplay, GivesTheIndependentFiguresWithTangentTurnOn) {
    const Json expected = Json::parse(fileText(golden(GetParam() + ending("expected"))));
    Json capture = Json::parse(fileText(golden(GetParam() + ending("capture"))));
    capture["attributes"]["TANGENT_TURN"] = {{"GrInt", 1}};
    const Ran ran = run({"replay", write("turned.json", capture.dump())});
    ASSERT_EQ(ran.exitCode, 0) << ran.err << ran.out.substr(0, 400);
    const Json answer = Json::parse(ran.out);
    EXPECT_LE(difference(answer.at("calls").at(0).at("points"), expected.at("pointsCpuTangentTurn1")),
              expected.at("tolerance").at("pointsCpu").get<double>());
}

TEST_P(GoldenReplay, IsTheSameTextFromEveryVariantAndThreadCount) {
    const std::string capture = golden(GetParam() + ending("capture"));
    const std::string once = run({"replay", capture}).out;
    ASSERT_FALSE(once.empty());
    for (const char* variant : {"avx512", "avx2", "avx", "sse4.1", "sse2"})
        EXPECT_EQ(run({"replay", "--variant", variant, capture}).out, once) << variant;
    for (const char* threads : {"1", "3", "16"})
        EXPECT_EQ(run({"replay", "--threads", threads, capture}).out, once) << threads;
}

#define EVALUATION_GOLDENS                                                                                   \
    "bent90", "chain4", "rigid_rotation", "simple12", "scaled_joints", "flagged_uniform", "flat_stretched",  \
        "bend_one", "tweak_collision", "tweaks_all", "blocks_partial", "point_weights", "geo_rotation",      \
        "mirrored_root"

std::string goldenName(const testing::TestParamInfo<const char*>& golden) {
    return golden.param;
}

INSTANTIATE_TEST_SUITE_P(AllCaptures, GoldenReplay,
                         testing::Values(EVALUATION_GOLDENS, "cache", "params_mismatch", "eleven_joints"),
                         goldenName);

INSTANTIATE_TEST_SUITE_P(AllCaptures, DeviceGoldenReplay,
                         testing::Values(EVALUATION_GOLDENS, "cache", "params_mismatch", "eleven_joints"),
                         goldenName);
INSTANTIATE_TEST_SUITE_P(Evaluations, TurnedGoldenReplay, testing::Values(EVALUATION_GOLDENS), goldenName);

} // namespace
} // namespace talvisora::journeys
