// SPDX-License-Identifier: Apache-2.0
// `grhost params` and `grhost weights` on a square bar along y: seven rings of four points at y = 0, 50 …
// 300, 25 from the axis on each side. The rig's block is cut down to its first bone, from y = 0 to 100.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

#include <algorithm>
#include <csignal>
#include <thread>

namespace talvisora::journeys {
namespace {

class ResetVerbs : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        write("bar.gltf", gltf_writer::makeBar({}).text());
        const Ran ran = run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"});
        ASSERT_EQ(ran.exitCode, 0) << ran.err;
        Json document = rig();
        Json& block = document["blocks"][0];
        block["joints"].erase(block["joints"].begin() + 2, block["joints"].end());
        block["name"] = "first";
        write("bar.rig.json", document.dump());
    }
    Json rig(const std::string& name = "bar.rig.json") const { return Json::parse(fileText(path(name))); }
    /// A list as the file has it, spelled out.
    std::vector<double> values(const char* key, const std::string& name = "bar.rig.json") const {
        const Json list = rig(name).at("blocks").at(0).at(key);
        if (list.is_array()) return list.get<std::vector<double>>();
        std::vector<double> all(28, list.at("default").get<double>());
        for (std::size_t k = 0; list.contains("indices") && k < list.at("indices").size(); ++k)
            all[list.at("indices")[k].get<std::size_t>()] = list.at("values")[k].get<double>();
        return all;
    }

    Json report(std::vector<std::string> arguments) const {
        arguments.push_back("--json");
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return ran.exitCode == 0 ? Json::parse(ran.out) : Json();
    }
};

TEST_F(ResetVerbs, ParamsAreThePlacesAlongAStraightBone) {
    const Json said = report({"params", path("bar.rig.json")});
    EXPECT_EQ(said.at("command"), "resetParams");
    EXPECT_EQ(said.at("points"), 28);
    EXPECT_EQ(said.at("selected"), 28);
    const std::vector<double> params = values("params");
    for (std::size_t p = 0; p < 28; ++p) {
        // A straight bone's curve runs evenly, but for fractions of 0.333 in place of a third.
        const double place = std::min(static_cast<double>(p / 4) * 0.5, 1.0);
        EXPECT_NEAR(params[p], place, 0.5 / 299 + 1e-3) << p;
        EXPECT_NEAR(params[p] * 299.0, std::round(params[p] * 299.0), 1e-4) << "one of 300 samples";
    }
    EXPECT_EQ(said.at("blocks")[0].at("min"), 0.0);
    EXPECT_EQ(said.at("blocks")[0].at("max"), 1.0);
}

TEST_F(ResetVerbs, WeightsReachTheCornersFromTheirDistanceOn) {
    // The thickness is 25, the corners lie at 25 * sqrt(2) = 35.36: factors 1.4 and 1.43 are 35 and 35.75.
    report({"weights", path("bar.rig.json"), "-o", path("near.rig.json"), "--max-distance-coeff", "1.4"});
    EXPECT_EQ(values("blockWeights", "near.rig.json"), std::vector<double>(28, 0.0));
    const Json said =
        report({"weights", path("bar.rig.json"), "-o", path("far.rig.json"), "--max-distance-coeff", "1.43"});
    std::vector<double> expected(28, 0.0);
    std::fill(expected.begin(), expected.begin() + 12, 1.0); // the rings at 0, 50 and 100
    EXPECT_EQ(values("blockWeights", "far.rig.json"), expected);
    EXPECT_EQ(said.at("leftBehind"), 16);
    EXPECT_NEAR(said.at("blocks")[0].at("mean").get<double>(), 12.0 / 28.0, 1e-12);
}

TEST_F(ResetVerbs, OnlySelectedPointsChange) {
    Json document = rig();
    document["blocks"][0]["blockWeights"] = std::vector<double>(28, 0.5);
    write("bar.rig.json", document.dump());
    const Json said = report({"weights", path("bar.rig.json"), "--select", "1-2,20"});
    EXPECT_EQ(said.at("selected"), 3);
    EXPECT_EQ(said.at("blocks")[0].at("changed"), 3);
    std::vector<double> expected(28, 0.5);
    expected[1] = expected[2] = 1.0;
    expected[20] = 0.0;
    EXPECT_EQ(values("blockWeights"), expected);
}

TEST_F(ResetVerbs, SmoothingIsTheMeanOverEdges) {
    report({"weights", path("bar.rig.json"), "--smooth", "1"});
    // Point 12, ring 3: four neighbours along ring and bar and two or one along diagonals. Ring 2 has
    // weight 1.
    const std::vector<double> weights = values("blockWeights");
    const Json bar = Json::parse(fileText(path("bar.gltf")));
    for (std::size_t p = 0; p < 8; ++p)
        EXPECT_EQ(weights[p], 1.0) << "all neighbours of rings 0 and 1 have 1";
    for (std::size_t p = 12; p < 16; ++p) {
        // Triangles (a, b, c) and (a, c, e) of each side: a point has six neighbours, two of them below.
        EXPECT_NEAR(weights[p], 2.0 / 7.0, 1e-6) << p;
    }
    for (std::size_t p = 16; p < 28; ++p) EXPECT_EQ(weights[p], 0.0);
}

TEST_F(ResetVerbs, TheBaseTakesWhatIsLeft) {
    const Json said = report({"weights", path("bar.rig.json"), "--base", "first"});
    EXPECT_EQ(said.at("leftBehind"), 0);
    EXPECT_EQ(values("blockWeights"), std::vector<double>(28, 1.0));
}

TEST_F(ResetVerbs, BlocksGoByNameOrNumberAndTheRestOfTheRigStays) {
    const Json before = rig();
    report({"params", path("bar.rig.json"), "-o", path("named.rig.json"), "--block", "first"});
    report({"params", path("bar.rig.json"), "-o", path("numbered.rig.json"), "--block", "0"});
    EXPECT_EQ(fileText(path("named.rig.json")), fileText(path("numbered.rig.json")));
    Json after = rig("named.rig.json");
    EXPECT_EQ(values("blockWeights", "named.rig.json"), values("blockWeights"));
    for (const char* key : {"hierarchy", "mesh", "units"}) EXPECT_EQ(after.at(key), before.at(key));
}

TEST_F(ResetVerbs, PrintATableForPeople) {
    const Ran ran = run({"params", path("bar.rig.json")});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_NE(ran.out.find("block  points changed    min   mean    max\n"), std::string::npos) << ran.out;
    EXPECT_NE(ran.out.find("first "), std::string::npos) << ran.out;
    EXPECT_NE(ran.out.find("resetParams on 1 block, 28 of 28 points\n"), std::string::npos) << ran.out;
    const Ran bound = run({"bind", path("bar.gltf"), "-o", path("o.rig.json")});
    EXPECT_NE(bound.out.find(": 1 block over 28 points\n"), std::string::npos) << bound.out;
    const Ran checked = run({"check", path("bar.rig.json")});
    EXPECT_NE(checked.out.find(": 28 points, 1 block: "), std::string::npos) << checked.out;
}

// A script's variable that was never set must neither choose every point nor write over the rig.
TEST_F(ResetVerbs, TakeNoEmptyTextForAChoice) {
    const std::string from = path("bar.rig.json");
    for (const char* option : {"--select", "--block", "--base", "-o", "--character", "--picture"})
        refused(2, "nothing is given; give a value or leave the option out", {"weights", from, option, ""});
    refused(2, "--blocks: nothing is given",
            {"bind", path("bar.gltf"), "-o", path("o.rig.json"), "--blocks", ""});
}

TEST_F(ResetVerbs, RefuseInOneLineAndLeaveTheRigAlone) {
    const std::string from = path("bar.rig.json");
    refused(2, "has no block 'nose'; it has first", {"weights", from, "--block", "nose"});
    refused(2, "has no block '1'; it has first", {"params", from, "--block", "1"});
    refused(2, "has no block '-1'", {"params", from, "--block=-1"});
    refused(2, "has no block 'tail'", {"weights", from, "--base", "tail"});
    refused(2, "point 28 lies past the end; the mesh has 28 points", {"params", from, "--select", "0-28"});
    refused(2, "--select x: numbers of points expected", {"params", from, "--select", "x"});
    refused(2, "--smooth", {"weights", from, "--smooth", "-1"});
    for (const char* factor : {"-1", "nan", "inf", "1e400", "wide"})
        refused(2, "--max-distance-coeff: a number of 0 or more expected",
                {"weights", from, "--max-distance-coeff", factor});
    refused(2, "--max-distance-coeff", {"params", from, "--max-distance-coeff", "2"});
    refused(2, "NAME.rig.json", {"params", from, "-o", path("out.txt")});
    refused(3, "no_such.rig.json", {"params", path("no_such.rig.json")});
    refused(3, "no_such.gltf", {"params", from, "--character", path("no_such.gltf")});
    refused(4, "no_such_folder", {"params", from, "-o", path("no_such_folder/o.rig.json")});
    gltf_writer::Bar longer;
    longer.rings = 9;
    write("longer.gltf", gltf_writer::makeBar(longer).text());
    refused(3, "the rig was made for 28 points", {"weights", from, "--character", path("longer.gltf")});
    fs::remove(path("bar.gltf"));
    for (const std::vector<std::string>& verb :
         std::vector<std::vector<std::string>>{{"weights", from},
                                               {"check", from},
                                               {"mirror", from, "-o", path("o.rig.json")},
                                               {"draw", from, "-o", path("o.png")}})
        refused(3, "there is no such file; name it with --character FILE", verb);
    refused(3, "there is no such file; name it with --source FILE",
            {"transfer", from, path("longer.gltf"), "-o", path("o.rig.json")});
}

TEST_F(ResetVerbs, AModuleThatReportsAFailureChangesNothing) {
    Json document = rig();
    document["blocks"][0]["joints"] = Json::array({document["blocks"][0]["joints"][0]});
    write("bar.rig.json", document.dump());
    refused(1, "block 'first': the module answered status 1 and said: grhost_reset: ASSERT error",
            {"params", path("bar.rig.json")});
    refused(1, "joints[0] must be > 1", {"weights", path("bar.rig.json")});
}

TEST_F(ResetVerbs, StoppedAtAnyMomentTheRigIsTheOldOrTheNewOne) {
    const std::string bull = "/usr/share/assimp/models/X/Testwuson.X"; // from Debian's assimp-testmodels
    if (!fs::exists(bull)) FAIL() << bull << " is not there; install assimp-testmodels";
    fs::create_directories(folder / "rig");
    ASSERT_EQ(run({"bind", bull, "-o", path("rig/bull.rig.json"), "--quiet"}).exitCode, 0);
    std::size_t stopped = 0;
    for (int k = 0; k < 12; ++k) {
        // Steps of 25 ms sweep over reading, computing and writing. 130: what a shell says of Ctrl-C.
        const std::string line = "timeout -s INT " + std::to_string(0.005 + 0.025 * k) + " " +
                                 TALVISORA_BIN_DIR + "/grhost weights " + path("rig/bull.rig.json") +
                                 " > /dev/null 2>&1";
        stopped += std::system(line.c_str()) != 0 ? 1 : 0;
        const Ran checked = run({"check", path("rig/bull.rig.json"), "--json"});
        EXPECT_TRUE(checked.exitCode == 0 || checked.exitCode == 6)
            << "stopped in step " << k << ": " << checked.err;
        for (const auto& entry : fs::recursive_directory_iterator(folder / "rig"))
            EXPECT_EQ(entry.path().string().find(".tmp"), std::string::npos) << entry.path();
    }
    EXPECT_GT(stopped, 0u) << "at least the first was stopped";
}

} // namespace
} // namespace talvisora::journeys
