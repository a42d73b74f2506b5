// SPDX-License-Identifier: Apache-2.0
// The two resets through `grhost replay`: against figures that a slow, independent program computed, and on a
// box whose answers are known by hand. What they write stands in the attributes afterwards.
#include "journeys/small_capture.h"

namespace talvisora::journeys {
namespace {

// A box of 8 corners from (-1, -1, -1) to (4, 1, 1), x fastest, round the chain from (0, 0, 0) to (3, 0, 0):
// corners with even numbers lie beyond the chain's start, odd ones beyond its end, all 1.732 away. Every wall
// is 1 away from the chain. Each corner has edges to three others, one of them at the other end.
Json boxCapture(Json calls) {
    Json capture = movedCapture(std::move(calls));
    Json points = Json::array();
    for (int k = 0; k < 8; ++k) points.push_back({k & 1 ? 4 : -1, k & 2 ? 1 : -1, k & 4 ? 1 : -1});
    capture["record"]["points"] = points;
    capture["record"]["weights"] = std::vector<int>(8, 1);
    Json& block = capture["attributes"]["talvisora__block"]["GrCompound"][0];
    block["talvisora__params"] = emptyFloats();
    block["talvisora__blockWeights"] = emptyFloats();
    capture["meshes"] = {
        {{"name", "box"},
         {"points", points},
         {"faces", {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}}}};
    return capture;
}

Json resetParams(bool fast, int smooth = 0) {
    return {{"call", "resetParams"},
            {"arguments",
             {{"block", {{"GrInt", 0}}},
              {"smooth", {{"GrInt", smooth}}},
              {"mesh", {{"GrString", "box"}}},
              {"fast", {{"GrBoolean", fast}}}}}};
}

Json resetWeights(bool fast, double coefficient) {
    Json call = resetParams(fast);
    call["call"] = "resetWeights";
    call["arguments"]["maxDistanceCoeff"] = {{"GrDouble", coefficient}};
    return call;
}

Json list(const std::vector<int>& indices, const std::vector<double>& values) {
    return {{"indices", indices}, {"values", values}};
}

const std::vector<int> kAll = {0, 1, 2, 3, 4, 5, 6, 7};
const std::vector<double> kEnds = {0, 1, 0, 1, 0, 1, 0, 1}; // parameters of the corners

class ResetReplay : public Journey {
protected:
    Json replay(const Json& capture, int exitCode) {
        const Ran ran = run({"replay", write("c.json", capture.dump())});
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err << ran.out;
        EXPECT_EQ(ran.err, "");
        return Json::parse(ran.out).at("calls");
    }
    /// The one line that refuses the capture, without the file's name.
    std::string refusal(const Json& capture) {
        const std::string file = write("c.json", capture.dump());
        const Ran ran = run({"replay", file});
        EXPECT_EQ(ran.exitCode, 3);
        EXPECT_EQ(ran.out, "");
        const std::string start = "grhost: " + file + ": ";
        EXPECT_EQ(ran.err.substr(0, start.size()), start);
        return ran.err.substr(std::min(start.size(), ran.err.size()));
    }
    static std::string lastMessage(const Json& answer) {
        const std::string text = answer.at("messages").back().at("text");
        return text.substr(text.rfind("): ") + 3);
    }
};

TEST_F(ResetReplay, FastOnesAnswerWhatStandsInTheScene) {
    const Json calls = replay(boxCapture({resetParams(true), resetWeights(true, 2)}), 0);
    EXPECT_EQ(calls[0], (Json{{"call", "resetParams"},
                              {"status", 0},
                              {"messages", {{{"level", "info"}, {"text", "Reset params for block[0]"}}}},
                              {"commands", Json::array()},
                              {"written", {{"block[0].params", list(kAll, kEnds)}}}}));
    EXPECT_EQ(calls[1].at("messages"), (Json{{{"level", "info"}, {"text", "Reset weights for block[0]"}}}));
    EXPECT_EQ(calls[1].at("written"),
              (Json{{"block[0].blockWeights", list(kAll, std::vector<double>(8, 1.0))}}));
}

TEST_F(ResetReplay, ScriptLinesAreListedAndReadBackAsTheirSixDecimals) {
    const Json calls = replay(boxCapture({resetParams(false, 2)}), 0);
    // Two passes over three neighbours: (3 * 0.25 + 0.75) / 4 at the start, exactly 3/8 and 5/8.
    std::vector<std::string> lines;
    std::vector<double> values;
    for (int k : kAll) {
        values.push_back(k % 2 ? 0.625 : 0.375);
        lines.push_back("setAttr arm_deform.block[0].params[" + std::to_string(k) + "] 0." +
                        (k % 2 ? "625000;" : "375000;"));
    }
    EXPECT_EQ(calls[0].at("commands"), Json(lines));
    EXPECT_EQ(calls[0].at("written"), (Json{{"block[0].params", list(kAll, values)}}));
}

TEST_F(ResetReplay, WhatTheyWriteIsSeenByLaterCallsThroughTheCachesRules) {
    const Json uncached = {{"call", "set"}, {"attributes", {{"CACHE_ATTRIBUTES", {{"GrBoolean", false}}}}}};
    const Json check = {{"call", "checkFloatingPoints"}};
    const Json calls = replay(boxCapture({kDeform, resetParams(true), kDeform, check,
                                          resetWeights(false, 1.7), check, uncached, kDeform, check}),
                              1);
    EXPECT_EQ(lastMessage(calls[0]), "block[0].params != NUM_ELEMENTS");
    EXPECT_EQ(calls[2].at("status"), 0); // the parameters are there now
    const Json none = {{"GrInt", {{"value", 0}, {"values", Json::array()}}}};
    EXPECT_EQ(calls[3].at("output"), none);
    EXPECT_EQ(calls[4].at("written"),
              (Json{{"block[0].blockWeights", list(kAll, std::vector<double>(8, 0.0))}}));
    EXPECT_EQ(calls[5].at("output"), none); // the cache still holds the old weights
    EXPECT_EQ(calls[8].at("output"), (Json{{"GrInt", {{"value", 0}, {"values", kAll}}}}));
}

TEST_F(ResetReplay, SelectedVerticesAreWrittenAndOthersKeepTheirValue) {
    Json capture = boxCapture({resetParams(true), kDeform});
    capture["selection"] = {{{"mesh", "box"}, {"vertices", {5, 3, 8, -1, 3}}}, {{"mesh", "box"}}};
    capture["attributes"]["talvisora__block"]["GrCompound"][0]["talvisora__params"] = {
        {"GrFloat", list(kAll, std::vector<double>(8, 0.5))}};
    Json calls = replay(capture, 0);
    EXPECT_EQ(calls[0].at("written"), (Json{{"block[0].params", list({3, 5}, {1, 1})}}));
    EXPECT_EQ(calls[1].at("status"), 0); // still eight parameters, six of them as before

    capture["attributes"]["talvisora__block"]["GrCompound"][0]["talvisora__params"] = emptyFloats();
    calls = replay(capture, 1);
    EXPECT_EQ(lastMessage(calls[1]), "block[0].params != NUM_ELEMENTS"); // two are not eight
}

TEST_F(ResetReplay, TheSelectionIsWhatTheLastSetSaid) {
    const auto select = [](Json items) { return Json{{"call", "set"}, {"selection", std::move(items)}}; };
    const Json calls =
        replay(boxCapture({select({{{"mesh", "box"}, {"vertices", {6}}}}), resetParams(false),
                           select({{{"mesh", "box"}, {"edges", {1}}}}), resetParams(true),
                           select({{{"mesh", "box"}, {"faces", {2}}}}), resetParams(true),
                           select({{{"mesh", "box"}, {"vertices", {8, 9}}}}), resetParams(true),
                           resetParams(false), select({{{"mesh", "box"}}}), resetParams(true),
                           select({{{"node", "lamp"}}, {{"mesh", "box"}, {"vertices", {1}}}}),
                           resetParams(true), select(Json::array()), resetParams(true)}),
               0);
    const auto written = [&](int call) { return calls[call].at("written"); };
    EXPECT_EQ(written(1), (Json{{"block[0].params", list({6}, {0})}}));
    EXPECT_EQ(calls[1].at("commands"), (Json{"setAttr arm_deform.block[0].params[6] 0.000000;"}));
    EXPECT_EQ(written(3), (Json{{"block[0].params", list({1}, {1})}}));
    EXPECT_EQ(written(5), (Json{{"block[0].params", list({2}, {0})}}));
    EXPECT_EQ(written(7), Json::object()); // all of it past the end
    EXPECT_EQ(written(8), Json::object());
    EXPECT_EQ(calls[8].at("commands"), Json::array());
    for (int whole : {10, 12, 14})
        EXPECT_EQ(written(whole), (Json{{"block[0].params", list(kAll, kEnds)}})) << whole;
}

TEST_F(ResetReplay, BlocksGoByTheirPlaceInTheList) {
    Json call = resetParams(true);
    call["arguments"]["block"] = {{"GrInt", 1}};
    Json capture = boxCapture({call});
    Json& blocks = capture["attributes"]["talvisora__block"];
    blocks["GrCompound"].push_back(blocks["GrCompound"][0]);
    blocks["indices"] = {4, 9};
    EXPECT_EQ(replay(capture, 0)[0].at("written"), (Json{{"block[1].params", list(kAll, kEnds)}}));
}

TEST_F(ResetReplay, FailuresWriteNothing) {
    const auto with = [](const char* key, Json value) {
        Json call = resetWeights(false, 2);
        call["arguments"][key] = std::move(value);
        return call;
    };
    Json missing = resetWeights(true, 2);
    missing["arguments"].erase("smooth");
    const std::vector<std::pair<Json, std::string>> cases = {
        {missing, "cannot find 'smooth' (GrInt) attribute"},
        {with("maxDistanceCoeff", {{"GrFloat", 2}}),
         "invalid type of 'maxDistanceCoeff' (GrDouble expected)"},
        {with("fast", nullptr), "invalid type of 'fast' (GrBoolean expected)"},
        {with("block", {{"GrInt", -1}}), "block[-1] doesn't exist"},
        {with("block", {{"GrInt", 1}}), "block[1] doesn't exist"},
        {with("mesh", {{"GrString", "ball"}}), "mesh is NULL"},
        {with("mesh", {{"GrString", ""}}), "mesh is NULL"},
        {with("mesh", {{"GrString", "arm_deform"}}), "meshPoints.length() != NUM_ELEMENTS"},
    };
    Json calls = Json::array();
    for (const auto& [call, text] : cases) calls.push_back(call);
    const Json answers = replay(boxCapture(calls), 1);
    for (std::size_t k = 0; k < cases.size(); ++k) {
        const std::string text = answers[k].at("messages").back().at("text");
        const std::string& end = cases[k].second;
        EXPECT_EQ(text.substr(text.size() - std::min(end.size(), text.size())), end);
        EXPECT_EQ(answers[k].at("status"), 1) << end;
        EXPECT_EQ(answers[k].at("commands"), Json::array()) << end;
        EXPECT_EQ(answers[k].at("written"), Json::object()) << end;
    }
}

TEST_F(ResetReplay, ANodeWithoutANameHasNoPlugs) {
    Json capture = boxCapture({resetParams(true), resetWeights(false, 2)});
    capture["node"] = "";
    const Json calls = replay(capture, 1);
    EXPECT_EQ(lastMessage(calls[0]), "params plug is NULL");
    EXPECT_EQ(lastMessage(calls[1]), "blockWeights plug is NULL");
}

TEST_F(ResetReplay, ScriptLinesThatTheSceneCannotReadAreListedButWriteNothing) {
    Json capture = boxCapture({resetParams(false)});
    capture["node"] = "two words";
    const Json calls = replay(capture, 0);
    EXPECT_EQ(calls[0].at("commands").size(), 8u);
    EXPECT_EQ(calls[0].at("commands")[1], "setAttr two words.block[0].params[1] 1.000000;");
    EXPECT_EQ(calls[0].at("written"), Json::object());
}

TEST_F(ResetReplay, ScenesThatCannotBeAreRefusedWithTheirPlace) {
    Json face = boxCapture(Json::array());
    face["meshes"][0]["faces"][3] = {0, 1, 8};
    EXPECT_EQ(refusal(face), "/meshes/0/faces/3/2: no such point; the mesh has 8\n");
    Json negative = boxCapture(Json::array());
    negative["meshes"][0]["faces"][0][1] = -1;
    EXPECT_EQ(refusal(negative), "/meshes/0/faces/0/1: no such point; the mesh has 8\n");
    Json thin = boxCapture(Json::array());
    thin["meshes"][0]["faces"][5] = {0, 1};
    EXPECT_EQ(refusal(thin), "/meshes/0/faces/5: 3 or more points expected, 2 found\n");
    Json twice = boxCapture(Json::array());
    twice["meshes"].push_back({{"name", "box"}});
    EXPECT_EQ(refusal(twice), "/meshes/1/name: 'box' is given twice\n");
    Json unnamed = boxCapture(Json::array());
    unnamed["meshes"][0]["name"] = "";
    EXPECT_EQ(refusal(unnamed), "/meshes/0/name: a mesh needs a name\n");
    Json taken = boxCapture(Json::array());
    taken["node"] = "box";
    EXPECT_EQ(refusal(taken), "/meshes/0/name: 'box' is the node's name\n");
    Json absent = boxCapture(Json::array());
    absent["selection"] = {{{"mesh", "box"}}, {{"mesh", "ball"}, {"vertices", {0}}}};
    EXPECT_EQ(refusal(absent), "/selection/1/mesh: no mesh of the capture is called 'ball'\n");
    Json noMesh = boxCapture({{{"call", "set"}, {"selection", {{{"node", "box"}}}}}});
    EXPECT_EQ(refusal(noMesh), "/calls/0/selection/0/node: 'box' is a mesh; write \"mesh\"\n");
}

// The box with more points: a double of corner 3, one inside that no face uses, and one that is no number.
Json oddCapture(Json calls) {
    Json capture = boxCapture(std::move(calls));
    for (Json* points : {&capture["meshes"][0]["points"], &capture["record"]["points"]}) {
        points->push_back((*points)[3]);
        points->push_back({1, 0.5, 0});
        points->push_back({"NaN", 0, 0});
    }
    capture["record"]["weights"] = std::vector<int>(11, 1);
    // Without area: both ends of a triangle at one place, a triangle there and back, and one with a point
    // that is no number.
    for (const Json& face : {Json{3, 8, 3}, Json{0, 1, 0}, Json{0, 1, 10}})
        capture["meshes"][0]["faces"].push_back(face);
    return capture;
}

std::vector<float> valuesOf(const Json& answer, const char* array) {
    return answer.at("written").at(array).at("values").get<std::vector<float>>();
}

TEST_F(ResetReplay, DoubledUnusedAndFlatThingsHaveStatedResults) {
    const Json calls =
        replay(oddCapture({resetParams(true), resetParams(true, 1), resetWeights(true, 2)}), 0);
    // x = 1 lies nearest to sample 100 of 299 on 2.997 t + 0.009 t^2 - 0.006 t^3.
    const float inside = 100.0f / 299.0f;
    EXPECT_EQ(valuesOf(calls[0], "block[0].params"),
              (std::vector<float>{0, 1, 0, 1, 0, 1, 0, 1, 1, inside, 0}));
    // Corners 0 and 1 have the edge to the point that is none too, which has parameter 0; corner 3 has its
    // double as a neighbour, and the point that no face uses has none.
    EXPECT_EQ(valuesOf(calls[1], "block[0].params"),
              (std::vector<float>{1.0f / 5, 3.0f / 5, 1.0f / 4, 4.0f / 5, 1.0f / 4, 3.0f / 4, 1.0f / 4,
                                  3.0f / 4, 1, inside, 1.0f / 3}));
    EXPECT_EQ(valuesOf(calls[2], "block[0].blockWeights"),
              (std::vector<float>{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0}));
}

TEST_F(ResetReplay, JointsThatAreNoNumbersGiveZeros) {
    Json capture = boxCapture({resetParams(true), resetWeights(true, 2)});
    capture["sharedInputs"]["Hier h"]["GrHierarchy"][1]["restLocal"][12] = "NaN";
    const Json calls = replay(capture, 0);
    EXPECT_EQ(valuesOf(calls[0], "block[0].params"), std::vector<float>(8, 0.0f));
    EXPECT_EQ(valuesOf(calls[1], "block[0].blockWeights"), std::vector<float>(8, 0.0f));
}

TEST_F(ResetReplay, HolesMatterOnlyWhereARayLeavesThroughThem) {
    Json capture = boxCapture({resetWeights(true, 2)});
    capture["meshes"][0]["faces"].erase(5); // the wall past the chain's end
    EXPECT_EQ(valuesOf(replay(capture, 0)[0], "block[0].blockWeights"), std::vector<float>(8, 1.0f));
    // One wall alone, 1 away: every ray towards it meets it once, as if it were closed.
    capture["meshes"][0]["faces"] = {{0, 1, 5, 4}};
    EXPECT_EQ(valuesOf(replay(capture, 0)[0], "block[0].blockWeights"), std::vector<float>(8, 1.0f));
    // The same wall twice: an even number of crossings, so nothing is inside.
    capture["meshes"][0]["faces"] = {{0, 1, 5, 4}, {0, 1, 5, 4}};
    EXPECT_EQ(valuesOf(replay(capture, 0)[0], "block[0].blockWeights"), std::vector<float>(8, 0.0f));
    capture["meshes"][0]["faces"] = Json::array();
    EXPECT_EQ(valuesOf(replay(capture, 0)[0], "block[0].blockWeights"), std::vector<float>(8, 0.0f));
}

TEST_F(ResetReplay, AJointInAWallIsPassedOver) {
    Json capture = boxCapture({resetParams(true), resetWeights(true, 1.42), resetWeights(true, 1.41)});
    for (Json* points : {&capture["meshes"][0]["points"], &capture["record"]["points"]})
        for (Json& point : *points)
            if (point[0] == -1) point[0] = 0;
    const Json calls = replay(capture, 0);
    EXPECT_EQ(valuesOf(calls[0], "block[0].params"), (std::vector<float>{0, 1, 0, 1, 0, 1, 0, 1}));
    // The thickness, 1, comes from the places further in. The corners in the joint's wall are the square root
    // of 2 away from it, the others that of 3.
    EXPECT_EQ(valuesOf(calls[1], "block[0].blockWeights"), (std::vector<float>{1, 0, 1, 0, 1, 0, 1, 0}));
    EXPECT_EQ(valuesOf(calls[2], "block[0].blockWeights"), std::vector<float>(8, 0.0f));
}

class GoldenResetReplay : public ResetReplay, public testing::WithParamInterface<const char*> {};

TEST_P(GoldenResetReplay, GivesTheIndependentFigures) {
    const std::string name = GetParam();
    const bool params = name == "reset_params";
    const Json capture = Json::parse(fileText(golden(name + ".capture.json")));
    const Json expect = Json::parse(fileText(golden(name + ".expected.json"))).at("expect");
    const Ran ran = run({"replay", golden(name + ".capture.json")});
    ASSERT_EQ(ran.exitCode, expect.at("status").get<int>()) << ran.err;
    const Json calls = Json::parse(ran.out).at("calls");
    ASSERT_EQ(calls.size(), 2u);

    const int block = capture["calls"][0]["arguments"]["block"]["GrInt"];
    const std::string array = "block[" + std::to_string(block) + "]." + (params ? "params" : "blockWeights");
    const auto values = expect.at(params ? "params" : "weights").get<std::vector<float>>();
    const auto texts = expect.at("writtenText").get<std::vector<std::string>>();
    const auto indices = expect.at("writtenIndices").get<std::vector<int>>();
    ASSERT_GT(indices.size(), 50u);
    ASSERT_EQ(texts.size(), indices.size());

    const Json& fast = calls[0].at("written").at(array);
    EXPECT_EQ(fast.at("indices"), Json(indices));
    ASSERT_EQ(fast.at("values").size(), indices.size());
    const Json& slow = calls[1].at("written").at(array);
    EXPECT_EQ(slow.at("indices"), Json(indices));
    std::vector<std::string> lines;
    for (std::size_t k = 0; k < indices.size(); ++k) {
        EXPECT_EQ(fast["values"][k].get<float>(), values[static_cast<std::size_t>(indices[k])]) << k;
        EXPECT_EQ(slow.at("values")[k].get<float>(), std::strtof(texts[k].c_str(), nullptr)) << k;
        lines.push_back("setAttr " + capture["node"].get<std::string>() + "." + array + "[" +
                        std::to_string(indices[k]) + "] " + texts[k] + ";");
    }
    EXPECT_EQ(calls[0].at("commands"), Json::array());
    EXPECT_EQ(calls[1].at("commands"), Json(lines));
}

TEST_P(GoldenResetReplay, IsTheSameTextFromEveryVariantAndThreadCount) {
    const std::string capture = golden(GetParam() + std::string(".capture.json"));
    const std::string once = run({"replay", capture}).out;
    ASSERT_FALSE(once.empty());
    for (const char* variant : {"avx512", "avx2", "avx", "sse4.1", "sse2"})
        EXPECT_EQ(run({"replay", "--variant", variant, capture}).out, once) << variant;
    for (const char* threads : {"1", "3", "16"})
        EXPECT_EQ(run({"replay", "--threads", threads, capture}).out, once) << threads;
}

INSTANTIATE_TEST_SUITE_P(BothResets, GoldenResetReplay, testing::Values("reset_params", "reset_weights"),
                         [](const testing::TestParamInfo<const char*>& name) { return name.param; });

} // namespace
} // namespace talvisora::journeys
