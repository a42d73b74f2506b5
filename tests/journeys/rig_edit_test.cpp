// SPDX-License-Identifier: Apache-2.0
// `grhost mirror` and `grhost transfer` on a bar that lies even about x: 28 points in seven rings of four.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

#include <algorithm>

namespace talvisora::journeys {
namespace {

class RigEdit : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        write("bar.gltf", gltf_writer::makeBar({}).text());
        const Ran ran = run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"});
        ASSERT_EQ(ran.exitCode, 0) << ran.err;
    }
    Json rig(const std::string& name) const { return Json::parse(fileText(path(name))); }

    Json report(std::vector<std::string> arguments) const {
        arguments.push_back("--json");
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        EXPECT_EQ(ran.err, "");
        return ran.exitCode == 0 ? Json::parse(ran.out) : Json();
    }
};

TEST_F(RigEdit, MirrorsTheMiddleBlockInPlace) {
    Json document = rig("bar.rig.json");
    std::vector<double> weights(28);
    for (std::size_t p = 0; p < 28; ++p) weights[p] = p % 4 == 1 || p % 4 == 2 ? 1.0 : 0.25; // x > 0: 1
    document["blocks"][0]["blockWeights"] = weights;
    write("bar.rig.json", document.dump());
    const Json said = report({"mirror", path("bar.rig.json"), "-o", path("bar.rig.json"), "--seam", "0"});
    EXPECT_EQ(said.at("mirrored"), 14);
    EXPECT_EQ(said.at("seam"), 0);
    EXPECT_EQ(said.at("unmatched"), Json::array());
    EXPECT_EQ(said.at("centre").size(), 1u);
    const Json checked = report({"check", path("bar.rig.json")});
    EXPECT_EQ(checked.at("findings"), Json::array()) << "every point has weight 1 now";
}

TEST_F(RigEdit, TransfersToAnotherTopologyThatThenDeforms) {
    gltf_writer::Bar finer;
    finer.rings = 7;
    finer.splitVertices = true;
    gltf_writer::Document document = gltf_writer::makeBar(finer);
    write("same.gltf", document.text());
    Json said = report({"transfer", path("bar.rig.json"), path("same.gltf"), "-o", path("same.rig.json")});
    EXPECT_EQ(said.at("pointsBefore"), 28);
    EXPECT_EQ(said.at("unmatched"), Json::array());
    EXPECT_EQ(rig("same.rig.json").at("mesh").at("character"), path("same.gltf"));

    // Two more rings on top: 0.5 and 1 m above the old end, past a twentieth of the size.
    gltf_writer::Bar longer;
    longer.rings = 9;
    write("longer.gltf", gltf_writer::makeBar(longer).text());
    said = report({"transfer", path("bar.rig.json"), path("longer.gltf"), "-o", path("longer.rig.json")});
    EXPECT_EQ(said.at("points"), 36);
    EXPECT_EQ(said.at("unmatched"), (Json{28, 29, 30, 31, 32, 33, 34, 35}));
    EXPECT_EQ(said.at("islands"), 0);
    EXPECT_EQ(rig("longer.rig.json").at("mesh").at("points"), 36);
    EXPECT_EQ(report({"check", path("longer.rig.json")}).at("findings"), Json::array());
}

TEST_F(RigEdit, TheQuadrupedStaysCloseToLinearBlending) {
    const std::string bull = "/usr/share/assimp/models/X/Testwuson.X"; // from Debian's assimp-testmodels
    if (!fs::exists(bull)) FAIL() << bull << " is not there; install assimp-testmodels";
    ASSERT_EQ(run({"bind", bull, "-o", path("bull.rig.json"), "--quiet"}).exitCode, 0);
    const Json mirrored = report({"mirror", path("bull.rig.json"), "-o", path("even.rig.json")});
    EXPECT_EQ(mirrored.at("pairs"), Json::parse(R"([["HindLeg_L_01", "HindLeg_R_01"], ["Ear_L", "Ear_R"],
                              ["ForeLeg_L_01", "ForeLeg_R_01"]])"));
    EXPECT_EQ(mirrored.at("unmatched"), Json::array()) << "the animal is even";
    EXPECT_GT(mirrored.at("mirrored"), 900);
    report({"transfer", path("even.rig.json"), bull, "-o", path("carried.rig.json")});
    const Json deformed =
        report({"deform", bull, "--rig", path("carried.rig.json"), "--clip", "Run", "--baseline", "--quiet"});
    EXPECT_LE(deformed.at("baseline").at("rmsPercent").get<double>(), 0.3);
    EXPECT_LE(deformed.at("leftBehind").get<double>(), 1e-5);
}

TEST_F(RigEdit, RefusesInOneLineAndLeavesTheRigAlone) {
    const std::string from = path("bar.rig.json"), bar = path("bar.gltf");
    refused(3, "no_such.rig.json", {"mirror", path("no_such.rig.json"), "-o", path("o.rig.json")});
    refused(2, "--axis", {"mirror", from, "-o", path("o.rig.json"), "--axis", "w"});
    refused(2, "--seam", {"mirror", from, "-o", path("o.rig.json"), "--seam", "-1"});
    refused(2, "--pairs", {"mirror", from, "-o", path("o.rig.json"), "--pairs", "L"});
    refused(2, "o.txt", {"mirror", from, "-o", path("o.txt")});
    refused(4, "no_such_folder", {"mirror", from, "-o", path("no_such_folder/o.rig.json")});
    refused(3, "no_such.glb", {"transfer", from, path("no_such.glb"), "-o", path("o.rig.json")});
    refused(2, "--max-distance", {"transfer", from, bar, "-o", path("o.rig.json"), "--max-distance", "x"});
    refused(2, "--units keep", {"transfer", from, bar, "-o", path("o.rig.json"), "--units", "keep"});
    refused(3, "near the surface",
            {"transfer", from, bar, "-o", path("o.rig.json"), "--units", "mm", "--max-distance", "0"});
}

} // namespace
} // namespace talvisora::journeys
