// SPDX-License-Identifier: Apache-2.0
// `grhost replay` as the capture format describes it: what each call answers, what it changes for the next
// one, what is not to be had in this module, and the exit status. The rig is small enough to know what comes
// out without the deformer's mathematics: a joint chain that only moves carries its points along.
#include "journeys/small_capture.h"

#include <cmath>

namespace talvisora::journeys {
namespace {

class Replay : public Journey {
protected:
    Json replay(const Json& capture, int exitCode) {
        const Ran ran = run({"replay", write("c.json", capture.dump())});
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err << ran.out;
        EXPECT_EQ(ran.err, "");
        const Json answer = Json::parse(ran.out);
        EXPECT_EQ(answer.at("format"), "talvisora-replay");
        EXPECT_EQ(answer.at("version"), 1);
        return answer.at("calls");
    }
    static void expectHeight(const Json& answer, double first, double second) {
        ASSERT_EQ(answer.at("points").size(), 2u);
        EXPECT_NEAR(answer["points"][0][1].get<double>(), first, 1e-6);
        EXPECT_NEAR(answer["points"][1][1].get<double>(), second, 1e-6);
    }
};

const Json kKeep = {{"call", "deformCpu"}, {"points", "keep"}};

TEST_F(Replay, EveryEvaluationStartsFromTheRecordsPointsUnlessItKeeps) {
    const Json calls = replay(movedCapture({kKeep, kDeform, kKeep, kKeep, kDeform}), 0);
    expectHeight(calls[0], 3, 0); // nothing to keep yet
    expectHeight(calls[1], 3, 0);
    expectHeight(calls[2], 5, 1);
    expectHeight(calls[3], 7, 2);
    expectHeight(calls[4], 3, 0);
    for (const Json& call : calls) EXPECT_EQ(call.size(), 4u) << "call, status, messages, points";
}

TEST_F(Replay, SetReplacesAndRemovesNamedEntries) {
    const Json set = {{"call", "set"},
                      {"attributes", {{"ENVELOPE", {{"GrFloat", 0.5}}}}},
                      {"record", {{"points", {{0.5, 5, 0}, {3, 5, 0}}}}}};
    const Json remove = {{"call", "set"},
                         {"remove", {{"attributes", {"ENVELOPE"}}, {"sharedInputs", {"x"}}}}};
    const Json calls = replay(movedCapture({set, kDeform, remove, kDeform}), 1);
    EXPECT_EQ(calls[0], (Json{{"call", "set"}, {"status", 0}, {"messages", Json::array()}}));
    expectHeight(calls[1], 6, 5.5);
    EXPECT_EQ(calls[3].at("status"), 1);
    EXPECT_EQ(calls[3].at("messages"),
              (Json{{{"level", "error"},
                     {"text", "arm_deform: get attributes: cannot find 'ENVELOPE' (GrFloat) attribute"}}}));
    expectHeight(calls[3], 5, 5); // a failed evaluation's points as they stand
}

TEST_F(Replay, AnInactiveRecordIsLeftAlone) {
    const Json calls = replay(movedCapture({{{"call", "set"}, {"record", {{"active", 0}}}}, kDeform}), 0);
    expectHeight(calls[1], 1, -1);
}

TEST_F(Replay, WrongClassesReachTheModule) {
    const Json set = {{"call", "set"}, {"attributes", {{"ENVELOPE", {{"GrDouble", 1}}}}}};
    const Json empty = {{"call", "set"}, {"attributes", {{"ENVELOPE", nullptr}}}};
    const Json calls = replay(movedCapture({set, kDeform, empty, kDeform}), 1);
    const std::string text = "arm_deform: get attributes: invalid type of 'ENVELOPE' (GrFloat expected)";
    EXPECT_EQ(calls[1].at("messages").at(0).at("text"), text);
    EXPECT_EQ(calls[3].at("messages").at(0).at("text"), text);
}

TEST_F(Replay, NumbersThatAreNoneComeBackAsTexts) {
    Json capture =
        movedCapture({{{"call", "set"}, {"attributes", {{"ENVELOPE", {{"GrFloat", 0}}}}}}, kDeform});
    capture["record"]["points"] = {{"NaN", "Infinity", "-Infinity"}, {-0.0, 0.1, 1e300}};
    const Json calls = replay(capture, 0);
    EXPECT_EQ(calls[1].at("points"), (Json{{"NaN", "Infinity", "-Infinity"}, {-0.0, 0.1, 1e300}}));
    EXPECT_TRUE(std::signbit(calls[1]["points"][1][0].get<double>()));
}

TEST_F(Replay, DeclareAttributesAnswersTheTree) {
    const Json calls = replay(movedCapture({{{"call", "declareAttributes"}}}), 0);
    EXPECT_FALSE(calls[0].contains("status"));
    const Json& attributes = calls[0].at("attributes");
    ASSERT_EQ(attributes.size(), 10u);
    EXPECT_EQ(attributes[0], (Json{{"type", 12},
                                   {"short", "hier_name"},
                                   {"long", "talvisora__hier_name"},
                                   {"keyable", false},
                                   {"hidden", false},
                                   {"array", false},
                                   {"cached", true},
                                   {"default", 0},
                                   {"text", "hier"},
                                   {"min", nullptr},
                                   {"max", nullptr},
                                   {"children", Json::array()}}));
    const Json& env = attributes[9].at("children").at(1);
    EXPECT_EQ(env.at("long"), "talvisora__env");
    EXPECT_EQ(env.at("min"), 0);
    EXPECT_EQ(env.at("max"), 1);
    EXPECT_EQ(env.at("keyable"), true);
    EXPECT_EQ(attributes[9]["children"][7]["children"].size(), 14u);
}

TEST_F(Replay, HelpAnswersItsText) {
    const Json calls = replay(movedCapture({{{"call", "help"}}}), 0);
    EXPECT_EQ(
        calls[0],
        (Json{{"call", "help"},
              {"status", 0},
              {"messages", Json::array()},
              {"output",
               {{"GrString", {{"value", "Commands: checkFloatingPoints, resetWeights, resetParams"}}}}}}));
}

TEST_F(Replay, CheckFloatingPointsAnswersTheIndices) {
    const Json calls = replay(
        movedCapture({{{"call", "checkFloatingPoints"}}, kDeform, {{"call", "checkFloatingPoints"}}}), 1);
    EXPECT_EQ(calls[0].at("status"), 1);
    EXPECT_FALSE(calls[0].contains("output"));
    const std::string text = calls[0].at("messages").at(0).at("text");
    EXPECT_EQ(text.substr(text.rfind(' ', text.size() - 11) + 1), "bsize is 0");
    EXPECT_EQ(calls[2].at("output"), (Json{{"GrInt", {{"value", 0}, {"values", {1}}}}}));
}

TEST_F(Replay, AMissingContextKeyThrows) {
    for (const char* key : {"HELP", "NODE_NAME", "GR_NODE_PTR"}) {
        const Json calls = replay(movedCapture({{{"call", "help"}, {"omit", {key}}}}), 1);
        EXPECT_EQ(calls[0],
                  (Json{{"call", "help"}, {"threw", "invalid map<K, T> key"}, {"messages", Json::array()}}));
    }
}

TEST_F(Replay, ContextPointersStandAsWritten) {
    const auto help = [](const char* key, Json value) {
        return Json{{"call", "help"}, {"arguments", {{key, std::move(value)}}}};
    };
    const Json calls = replay(movedCapture({{{"call", "help"}, {"omit", {"RUN_ATTRIBUTES_PTR"}}},
                                            help("RUN_ATTRIBUTES_PTR", {{"GrPtr", nullptr}}),
                                            help("DEFORM_ATTRIBUTES_PTR", {{"GrInt", 1}}),
                                            help("GR_NODE_PTR", {{"GrPtr", "otherNode"}}),
                                            help("HELP", nullptr),
                                            {{"call", "checkFloatingPoints"},
                                             {"arguments", {{"GR_NODE_PTR", {{"GrPtr", "otherNode"}}}}}}}),
                              1);
    EXPECT_EQ(calls[0].at("messages").at(0).at("text"),
              "arm_deform: get attributes: cannot find 'RUN_ATTRIBUTES_PTR' (GrPtr) attribute");
    const std::string invalid = calls[1].at("messages").at(0).at("text");
    EXPECT_NE(invalid.find("): Invalid RunAttributes"), std::string::npos) << invalid;
    EXPECT_EQ(calls[2].at("messages").at(0).at("text"),
              "arm_deform: get attributes: invalid type of 'DEFORM_ATTRIBUTES_PTR' (GrPtr expected)");
    EXPECT_EQ(calls[3].at("status"), 0);
    EXPECT_EQ(calls[4].at("status"), 0);
    const std::string size = calls[5].at("messages").at(0).at("text");
    EXPECT_NE(size.find("): bsize is 0"), std::string::npos) << size;
}

TEST_F(Replay, WithoutARecordTheRecordPointerIsNull) {
    Json capture = movedCapture({{{"call", "help"}}});
    capture.erase("record");
    const Json calls = replay(capture, 1);
    const std::string text = calls[0].at("messages").at(0).at("text");
    EXPECT_NE(text.find("): Invalid DeformAttributes"), std::string::npos) << text;
}

TEST_F(Replay, GpuEvaluationsMoveThePointsAsOnTheCpu) {
    const Json calls = replay(movedCapture({kDeform,
                                            {{"call", "deformGpu"}},
                                            {{"call", "releaseGpu"}},
                                            {{"call", "deformGpu"}},
                                            {{"call", "deformGpu"}, {"gpu", {{"count", -1}}}},
                                            {{"call", "deformGpu"}, {"gpu", {{"null", {"WEIGHTS"}}}}}}),
                              1);
    expectHeight(calls[1], 3, 0);
    EXPECT_EQ(calls[2], (Json{{"call", "releaseGpu"}, {"messages", Json::array()}}));
    EXPECT_EQ(calls[3].at("points"), calls[1].at("points"));
    // A negative count is none: the parameters are too many. Without weights nothing is stored.
    EXPECT_EQ(calls[4].at("status"), 1);
    EXPECT_EQ(calls[5].at("status"), 0);
    expectHeight(calls[5], 1, -1);
}

TEST_F(Replay, ANodeWithoutANameBeginsItsMessagesWithTheColon) {
    Json capture = movedCapture({{{"call", "set"}, {"remove", {{"attributes", {"ENVELOPE"}}}}}, kDeform});
    capture["node"] = "";
    EXPECT_EQ(replay(capture, 1)[1].at("messages").at(0).at("text"),
              ": get attributes: cannot find 'ENVELOPE' (GrFloat) attribute");
}

TEST_F(Replay, BrokenTablesEndInMessages) {
    const auto withTable = [](Json table) {
        return Json{{"call", "set"}, {"sharedInputs", {{"Hier h", {{"GrHierarchy", std::move(table)}}}}}};
    };
    const Json identity = translation(0, 0, 0);
    const Json circle = {joint("a", "b", identity, identity), joint("b", "a", identity, identity)};
    const Json dangling = {joint("a", "gone", identity, identity), joint("b", "a", identity, identity)};
    const Json calls = replay(movedCapture({withTable(circle), kDeform, withTable(dangling), kDeform,
                                            withTable(Json::array({joint("a", "", identity, identity)})),
                                            kDeform, withTable(Json::array()), kDeform}),
                              1);
    EXPECT_EQ(calls[1].at("messages").at(0).at("text"), "arm_deform: worldMatrix: cannot find a");
    EXPECT_EQ(calls[3].at("messages").at(0).at("text"), "arm_deform: worldMatrix: cannot find gone");
    const std::string text = calls[5].at("messages").at(0).at("text");
    EXPECT_NE(text.find("): Cannot find 'b' in hier!"), std::string::npos) << text;
    for (int k : {1, 3, 5, 7}) {
        EXPECT_EQ(calls[k].at("status"), 1);
        EXPECT_EQ(calls[k].at("messages").size(), 1u);
        expectHeight(calls[k], 1, -1);
    }
}

TEST_F(Replay, SharedPointCountsAreExamined) {
    const Json on = {{"call", "set"}, {"attributes", {{"SOA_ENABLED", {{"GrBoolean", true}}}}}};
    const Json two = {{"call", "set"}, {"sharedInputs", {{"SOA_POINTS", {{"GrInt", 2}}}}}};
    const Json calls = replay(movedCapture({on, kDeform, two, kDeform}), 1);
    EXPECT_EQ(calls[1].at("status"), 1);
    const std::string text = calls[1].at("messages").at(0).at("text");
    EXPECT_NE(text.find("): cannot find shared input 'SOA_POINTS'"), std::string::npos) << text;
    EXPECT_EQ(calls[3].at("status"), 0);
    expectHeight(calls[3], 1, -1); // the point stage is not run here
}

TEST_F(Replay, AnAbsentCallListIsAnEmptyAnswer) {
    const Ran ran =
        run({"replay", write("c.json", R"({"format":"talvisora-capture","version":1,"node":"n"})")});
    EXPECT_EQ(ran.exitCode, 0);
    EXPECT_EQ(Json::parse(ran.out).at("calls"), Json::array());
}

} // namespace
} // namespace talvisora::journeys
