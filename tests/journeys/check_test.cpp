// SPDX-License-Identifier: Apache-2.0
// `grhost check` as a rigger uses it: a bar of seven rings over three joints is bound, damaged by hand in the
// rig file, and checked; the same values say what must be found.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

#include <algorithm>
#include <functional>

namespace talvisora::journeys {
namespace {

class Check : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        write("bar.gltf", gltf_writer::makeBar({}).text());
        const Ran ran = run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"});
        ASSERT_EQ(ran.exitCode, 0) << ran.err;
        rig = Json::parse(fileText(path("bar.rig.json")));
        ASSERT_EQ(rig.at("blocks").size(), 1u);
    }

    Json& block() { return rig["blocks"][0]; }
    void setWeights(std::size_t b, const std::vector<double>& values) {
        rig["blocks"][b]["blockWeights"] = values;
    }
    std::size_t points() const { return rig.at("mesh").at("points").get<std::size_t>(); }

    // Saves the rig, checks it, and gives the report back.
    Json check(int exitCode) {
        write("bar.rig.json", rig.dump());
        const Ran ran = run({"check", path("bar.rig.json"), "--json"});
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        EXPECT_EQ(ran.err, "");
        return ran.out.empty() ? Json() : Json::parse(ran.out);
    }

    Json rig;
};

TEST_F(Check, FindsNothingInAFreshRigNorInItsCharacter) {
    const Json report = check(0);
    EXPECT_EQ(report.at("format"), "talvisora-check");
    EXPECT_EQ(report.at("evaluated"), true);
    EXPECT_EQ(report.at("points"), points());
    EXPECT_EQ(report.at("findings"), Json::array());
    const Ran ran = run({"check", path("bar.gltf")});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_NE(ran.out.find("no findings"), std::string::npos) << ran.out;
}

TEST_F(Check, ListsFloatingPointsAndEndsWithSix) {
    std::vector<double> weights(points(), 1.0);
    for (std::size_t p = 2; p < 14; ++p) weights[p] = 0.5;
    setWeights(0, weights);
    const Json findings = check(6).at("findings");
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].at("kind"), "floating");
    EXPECT_EQ(findings[0].at("count"), 12);
    EXPECT_EQ(findings[0].at("points"), (Json{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));

    // People get the first ten and the count.
    const Ran ran = run({"check", path("bar.rig.json")});
    EXPECT_EQ(ran.exitCode, 6);
    EXPECT_NE(ran.out.find("12 points: 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, …\n"), std::string::npos) << ran.out;
    EXPECT_NE(ran.out.find("1 finding\n"), std::string::npos) << ran.out;
}

TEST_F(Check, FindsPointsThatTwoBlocksLeaveBehindTogether) {
    Json second = block();
    second["name"] = "second";
    rig["blocks"].push_back(second);
    std::vector<double> a(points(), 1.0), b(points(), 0.0);
    a[5] = b[5] = 0.5; // the sum is 1, a quarter stays behind
    b[9] = 1.0;        // covers the first block
    setWeights(0, a);
    setWeights(1, b);
    const Json findings = check(6).at("findings");
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_EQ(findings[0].at("kind"), "leftBehind");
    EXPECT_EQ(findings[0].at("points"), (Json{5}));
    EXPECT_EQ(findings[1].at("kind"), "covered");
    EXPECT_EQ(findings[1].at("block"), block().at("name"));
    EXPECT_EQ(findings[1].at("points"), (Json{9}));
}

TEST_F(Check, NamesChainsPastTheLimitInsteadOfEvaluating) {
    const Json joints = block().at("joints");
    Json longChain = Json::array();
    while (longChain.size() < 11) longChain.push_back(joints[longChain.size() % joints.size()]);
    block()["joints"] = longChain;
    const Json report = check(6);
    EXPECT_EQ(report.at("evaluated"), false);
    EXPECT_EQ(report.at("findings")[0].at("kind"), "chain");
    EXPECT_NE(report.at("findings")[0].at("text").get<std::string>().find("11 joints"), std::string::npos);
}

TEST_F(Check, FindsPointsAtNoFinitePlace) {
    for (Json& record : rig["hierarchy"])
        for (const std::size_t k : {0u, 5u, 10u, 12u}) record["rest"][k] = 1e200;
    const Json findings = check(6).at("findings");
    const bool found = std::any_of(findings.begin(), findings.end(), [](const Json& finding) {
        return finding.at("kind") == "notFinite" && finding.at("count") > 0;
    });
    EXPECT_TRUE(found) << findings.dump(1);
}

TEST_F(Check, DrawsASheetOfTheBlocks) {
    for (const char* show : {"weights", "params"}) {
        const Ran ran = run(
            {"check", path("bar.rig.json"), "--picture", path(std::string(show) + ".png"), "--show", show});
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
    }
    const std::string weights = fileText(path("weights.png")), params = fileText(path("params.png"));
    EXPECT_EQ(weights.substr(1, 3), "PNG");
    EXPECT_EQ(params.substr(1, 3), "PNG");
    EXPECT_NE(weights, params);
}

TEST_F(Check, RefusesWhatItCannotCheckInOneLine) {
    const auto refused = [&](int exitCode, const std::string& part, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "check");
        const auto before = listing();
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        EXPECT_EQ(ran.out, "");
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
        EXPECT_NE(ran.err.find(part), std::string::npos) << ran.err;
        EXPECT_EQ(listing(), before);
    };
    const std::string rigPath = path("bar.rig.json");
    refused(3, "no_such.rig.json", {path("no_such.rig.json")});
    refused(3, "no_such.glb", {path("no_such.glb")});
    refused(2, "--show", {rigPath, "--show", "colours"});
    refused(2, "--character", {path("bar.gltf"), "--character", path("bar.gltf")});
    refused(2, ".png", {rigPath, "--picture", path("p.jpg")});
    refused(2, "y or z", {rigPath, "--up", "x"});
    refused(4, "p.png", {rigPath, "--picture", path("no_such_folder/p.png")});
    gltf_writer::Bar other;
    other.rings = 9;
    write("other.gltf", gltf_writer::makeBar(other).text());
    refused(3, "the rig was made for 28 points", {rigPath, "--character", path("other.gltf")});
}

} // namespace
} // namespace talvisora::journeys
