// SPDX-License-Identifier: Apache-2.0
// `grhost bind --weights distance`: a rig from joints and mesh alone.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace talvisora::journeys {
namespace {

class BindByDistance : public Journey {
protected:
    Json report(std::vector<std::string> arguments) const {
        arguments.push_back("--json");
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return ran.exitCode == 0 ? Json::parse(ran.out) : Json();
    }
    std::string bull() const { return "/usr/share/assimp/models/X/Testwuson.X"; } // of assimp-testmodels
    void SetUp() override {
        Journey::SetUp();
        if (!fs::exists(bull())) FAIL() << bull() << " is not there; install assimp-testmodels";
    }
};

TEST_F(BindByDistance, TheQuadrupedHoldsTogether) {
    const Json bound = report({"bind", bull(), "--weights", "distance", "-o", path("bull.rig.json")});
    EXPECT_EQ(bound.at("leftBehind"), 0);
    EXPECT_EQ(bound.at("blocks").size(), 11u);
    for (const Json& block : bound.at("blocks")) EXPECT_GT(block.at("points"), 0) << block;
    // The artist's own weights, blended linearly, are what nothing here has looked at. From skin weights the
    // bounds are 0.3 and 3.5; nearest bones alone give 0.9 and 11.
    for (const char* clip : {"Run", "Walk"}) {
        const Json deformed =
            report({"deform", bull(), "--rig", path("bull.rig.json"), "--clip", clip, "--baseline"});
        const Json& baseline = deformed.at("baseline");
        EXPECT_LE(baseline.at("rmsPercent"), 0.8) << clip;
        EXPECT_LE(baseline.at("maxPercent"), 8.0) << clip;
        EXPECT_LE(baseline.at("deformed").at("hardFolds"), baseline.at("linearBlend").at("hardFolds"))
            << clip;
        EXPECT_LE(deformed.at("leftBehind"), 1e-5);
    }
}

TEST_F(BindByDistance, TheSkinInTheFileIsLeftAlone) {
    // The same bar with another distribution of weights gives the same chains, weights and parameters.
    gltf_writer::Bar bar;
    write("own.gltf", gltf_writer::makeBar(bar).text());
    gltf_writer::Document other = gltf_writer::makeBar(bar);
    const std::size_t weights = other.root["meshes"][0]["primitives"][0]["attributes"]["WEIGHTS_0"];
    const std::size_t start = other.root["bufferViews"][weights]["byteOffset"];
    for (std::size_t p = 0; p < 28; ++p) {
        const float share[4] = {p % 3 ? 0.25f : 0.75f, p % 3 ? 0.75f : 0.25f, 0.0f, 0.0f};
        std::memcpy(other.buffer.data() + start + p * sizeof share, share, sizeof share);
    }
    write("other.gltf", other.text());
    for (const char* name : {"own", "other"})
        report({"bind", path(std::string(name) + ".gltf"), "--weights", "distance", "-o",
                path(std::string(name) + ".rig.json")});
    const Json own = Json::parse(fileText(path("own.rig.json"))),
               others = Json::parse(fileText(path("other.rig.json")));
    EXPECT_EQ(own.at("hierarchy"), others.at("hierarchy"));
    EXPECT_EQ(own.at("blocks"), others.at("blocks"));
}

TEST_F(BindByDistance, AFileWithoutASkinGoesAllTheWay) {
    gltf_writer::Document bar = gltf_writer::makeBar({});
    gltf_writer::json& attributes = bar.root["meshes"][0]["primitives"][0]["attributes"];
    attributes.erase("JOINTS_0");
    attributes.erase("WEIGHTS_0");
    bar.root["nodes"][0].erase("skin");
    bar.root.erase("skins");
    // The whole chain rises by one unit in one second: every point must rise with it.
    gltf_writer::animate(bar, "rise", 1, "translation", {0, 1}, {0, 0, 0, 0, 1, 0}, 3);
    write("bare.gltf", bar.text());
    const Json bound =
        report({"bind", path("bare.gltf"), "--weights", "distance", "-o", path("bare.rig.json")});
    EXPECT_EQ(bound.at("points"), 28);
    EXPECT_EQ(bound.at("leftBehind"), 0);
    report({"weights", path("bare.rig.json"), "--select", "0-3", "--base", "0"});
    report({"params", path("bare.rig.json")});
    report({"check", path("bare.rig.json")});
    report({"deform", path("bare.gltf"), "--rig", path("bare.rig.json"), "--frames", "25", "-o",
            path("up.obj")});
    std::istringstream obj(fileText(path("up.0025.obj")));
    std::size_t points = 0;
    double lowest = 1e9, highest = -1e9;
    for (std::string line; std::getline(obj, line);) {
        double x, y, z;
        if (std::sscanf(line.c_str(), "v %lf %lf %lf", &x, &y, &z) != 3) continue;
        ++points;
        lowest = std::min(lowest, y);
        highest = std::max(highest, y);
    }
    EXPECT_EQ(points, 28u);
    EXPECT_NEAR(lowest, 1.0, 1e-5);
    EXPECT_NEAR(highest, 4.0, 1e-5);
    const Ran ran = run({"deform", path("bare.gltf"), "--rig", path("bare.rig.json"), "--baseline"});
    EXPECT_EQ(ran.exitCode, 2);
    EXPECT_NE(ran.err.find("has no skin weights to blend"), std::string::npos) << ran.err;
}

TEST_F(BindByDistance, SmoothingLeavesNothingBehindWhateverTheWeights) {
    for (const char* weights : {"skin", "distance"}) {
        const Json bound =
            report({"bind", bull(), "--weights", weights, "--smooth", "7", "-o", path("bull.rig.json")});
        EXPECT_EQ(bound.at("leftBehind"), 0) << weights;
    }
}

TEST_F(BindByDistance, AFactorOfNothingLeavesThePointsToTheNearestBones) {
    const Json bound = report(
        {"bind", bull(), "--weights", "distance", "--max-distance-coeff", "0", "-o", path("bull.rig.json")});
    EXPECT_EQ(bound.at("leftBehind"), 0);
    EXPECT_NE(bound.at("notes").dump().find("2108 points are out of reach of every block"),
              std::string::npos);
    const Ran refused = run(
        {"bind", bull(), "--weights", "distance", "--max-distance-coeff", "-1", "-o", path("no.rig.json")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_FALSE(fs::exists(path("no.rig.json")));
}

TEST_F(BindByDistance, OptionsOfTheOtherWayOfWeighingAreRefused) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--max-distance-coeff", "3"}, "--max-distance-coeff goes with --weights distance"},
        {{"--weights", "distance", "--params", "nearest"}, "--params goes with --weights skin"}};
    for (const auto& [options, text] : cases) {
        std::vector<std::string> arguments = {"bind", bull(), "-o", path("bull.rig.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 2);
        EXPECT_NE(ran.err.find(text), std::string::npos) << ran.err;
        EXPECT_FALSE(fs::exists(path("bull.rig.json")));
    }
}

} // namespace
} // namespace talvisora::journeys
