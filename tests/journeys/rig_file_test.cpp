// SPDX-License-Identifier: Apache-2.0
// `grhost bind` and `grhost deform --rig` on a real character, as a rigger uses them: bind, deform, edit the
// file by hand, deform again.
#include "journeys/run_grhost.h"

#include <algorithm>
#include <functional>

namespace talvisora::journeys {
namespace {

class RigFile : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        if (!fs::exists(kBull)) FAIL() << kBull << " is not there; install assimp-testmodels";
    }

    Json bind(std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"bind", kBull, "-o", path("bull.rig.json"), "--json", "--quiet"});
        const Ran ran = run(more);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        EXPECT_EQ(ran.err, "");
        return Json::parse(ran.out);
    }
    Ran deform(const std::string& output, std::vector<std::string> more) const {
        more.insert(more.begin(),
                    {"deform", kBull, "--quiet", "--clip", "Run", "--frames", "3,14", "-o", path(output)});
        return run(more);
    }
    std::string points(std::vector<std::string> more) const {
        const Ran ran = deform("out.pc2", std::move(more));
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return fileText(path("out.pc2"));
    }
    Json rig() const { return Json::parse(fileText(path("bull.rig.json"))); }
    std::string saveRig(const Json& json) const { return write("bull.rig.json", json.dump(1)); }
    std::string rigPath() const { return path("bull.rig.json"); }
    /// The one line of a failing `deform --rig`, without "grhost: " and the file's name.
    std::string fault(int exitCode, std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"--rig", rigPath()});
        const Ran ran = deform("out.pc2", more);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        EXPECT_FALSE(fs::exists(path("out.pc2")));
        const std::string start = "grhost: " + rigPath() + ": ";
        EXPECT_EQ(ran.err.compare(0, start.size(), start), 0) << ran.err;
        return ran.err.size() > start.size() ? ran.err.substr(start.size(), ran.err.size() - start.size() - 1)
                                             : ran.err;
    }
};

TEST_F(RigFile, DeformsBitForBitAsTheRigThatIsMadeUp) {
    const std::vector<std::vector<std::string>> ways = {
        {}, {"--simple"}, {"--params", "nearest"}, {"--units", "keep"}, {"--units", "mm"}};
    std::vector<std::string> seen;
    for (const auto& way : ways) {
        bind(way);
        const std::string madeUp = points(way);
        ASSERT_GT(madeUp.size(), 32u);
        EXPECT_TRUE(points({"--rig", rigPath()}) == madeUp) << (way.empty() ? "" : way.back());
        seen.push_back(madeUp);
    }
    EXPECT_TRUE(seen[0] != seen[1] && seen[0] != seen[2]) << "the ways must differ";
}

TEST_F(RigFile, BindPrintsATableOfBlocks) {
    const Ran ran = run({"bind", kBull, "-o", rigPath()});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_EQ(ran.out.rfind("block ", 0), 0u) << ran.out;
    EXPECT_NE(ran.out.find("\nTail01 "), std::string::npos) << ran.out;
    EXPECT_NE(ran.out.find("wrote " + rigPath()), std::string::npos);
    const Json report = bind();
    EXPECT_EQ(report.at("format"), "talvisora-bind");
    EXPECT_EQ(report.at("leftBehind"), 0);
    const Json written = rig();
    ASSERT_EQ(report.at("blocks").size(), written.at("blocks").size());
    for (std::size_t b = 0; b < written.at("blocks").size(); ++b) {
        EXPECT_EQ(report.at("blocks")[b].at("name"), written.at("blocks")[b].at("name"));
        EXPECT_EQ(report.at("blocks")[b].at("records"), written.at("blocks")[b].at("joints").size());
    }
    EXPECT_EQ(written.at("mesh").at("character"), kBull);
    EXPECT_EQ(written.at("mesh").at("points"), report.at("points"));
}

TEST_F(RigFile, ChainsChosenByHandBecomeItsBlocks) {
    const std::string chains = "tail=Tail01..Tail06,leg=HindLeg_L_01..HindLeg_L_04";
    const Json report = bind({"--blocks", chains});
    ASSERT_EQ(report.at("blocks").size(), 2u);
    EXPECT_EQ(report.at("blocks")[0].at("name"), "tail");
    EXPECT_EQ(report.at("blocks")[1].at("lastJoint"), "HindLeg_L_04");
    EXPECT_GT(report.at("leftBehind"), 0);
    const std::string inline_ = fileText(rigPath());
    write("chains.txt", "tail=Tail01..Tail06\nleg=HindLeg_L_01..HindLeg_L_04\n");
    bind({"--blocks", "@" + path("chains.txt")});
    EXPECT_EQ(fileText(rigPath()), inline_);
    EXPECT_EQ(run({"bind", kBull, "-o", rigPath(), "--blocks", "tail=Tail01..Tail99"}).exitCode, 2);
    EXPECT_EQ(run({"bind", kBull, "-o", rigPath(), "--blocks", "@" + path("none.txt")}).exitCode, 3);
    EXPECT_EQ(fileText(rigPath()), inline_) << "a failed bind leaves the old rig";
}

TEST_F(RigFile, WhatIsEditedByHandActs) {
    bind();
    const std::string before = points({"--rig", rigPath()});
    const Json original = rig();
    std::size_t tail = 0;
    while (original.at("blocks")[tail].at("name") != "Tail01") ++tail;
    const auto after = [&](const std::function<void(Json&)>& edit) {
        Json json = original;
        edit(json);
        saveRig(json);
        return points({"--rig", rigPath()});
    };
    EXPECT_TRUE(after([](Json&) {}) == before);
    std::vector<std::string> results = {before};
    const auto expectNew = [&](const char* what, const std::function<void(Json&)>& edit) {
        const std::string result = after(edit);
        EXPECT_EQ(result.size(), before.size()) << what;
        for (const std::string& other : results) EXPECT_TRUE(result != other) << what;
        results.push_back(result);
    };
    const auto tweak = [tail](Json& json) {
        for (int centre = 0; centre < 5; ++centre)
            json["blocks"][tail]["tweaks"].push_back({{"centre", centre}, {"centerInTweak", 5.0}});
    };
    expectNew("tweaks", tweak);
    expectNew("a weight map under the tweaks", [&](Json& json) {
        tweak(json);
        json["weightMaps"]["centerInTweakWeights"] = {{"default", 0.25}};
    });
    expectNew("env", [&](Json& json) { json["blocks"][tail]["env"] = 0.5; });
    expectNew("block weights", [&](Json& json) { json["blocks"][tail]["blockWeights"] = {{"default", 0}}; });
    expectNew("params", [&](Json& json) { json["blocks"][tail]["params"] = {{"default", 0.5}}; });
    expectNew("bends", [&](Json& json) {
        json["blocks"][tail]["bends"].push_back({{"segment", 1}, {"control", "Tail05"}});
    });
    expectNew("rest", [&](Json& json) {
        const std::string end = json["blocks"][tail]["joints"].back();
        for (Json& record : json["hierarchy"])
            if (record["name"] == end) record["rest"][13] = record["rest"][13].get<double>() + 10.0;
    });
    // A block that takes no point and a block that is not there are the same.
    const auto none = [&](Json& json) { json["blocks"][tail]["blockWeights"] = {{"default", 0}}; };
    const auto gone = [&](Json& json) { json["blocks"].erase(tail); };
    EXPECT_TRUE(after(none) == after(gone));
}

TEST_F(RigFile, AWrongMeshOrUnitIsNamed) {
    bind();
    Json json = rig();
    const std::string points = json["mesh"]["points"].dump();
    for (Json& block : json["blocks"]) block["blockWeights"] = block["params"] = {{"default", 0}};
    json["mesh"]["points"] = 3205;
    saveRig(json);
    EXPECT_EQ(fault(3), "the rig was made for 3,205 points, 'Testwuson.X' has " + points.substr(0, 1) + "," +
                            points.substr(1) + "; bind this mesh, or transfer the rig to it");
    bind();
    EXPECT_NE(fault(3, {"--units", "mm"}).find("lengths per unit"), std::string::npos);
    json = rig();
    json["mesh"]["topology"] = "0000000000000000";
    saveRig(json);
    EXPECT_NE(fault(3).find("another topology"), std::string::npos);
    bind();
    json = rig();
    json["hierarchy"][1]["joint"] = "Nobody";
    saveRig(json);
    EXPECT_EQ(fault(3), "/hierarchy/1/joint: 'Testwuson.X' has no joint 'Nobody'; name one that it has, see "
                        "grhost info");
}

TEST_F(RigFile, UnknownKeysAreRefusedOrTakenOnRequest) {
    bind();
    const std::string before = points({"--rig", rigPath()});
    fs::remove(path("out.pc2"));
    Json json = rig();
    json["blocks"][2]["colour"] = "red";
    saveRig(json);
    EXPECT_EQ(fault(3), "/blocks/2/colour: unknown key; mend it, or keep such keys with --keep-unknown");
    EXPECT_TRUE(points({"--rig", rigPath(), "--keep-unknown"}) == before);
}

TEST_F(RigFile, MissingPartsAreNamed) {
    EXPECT_EQ(fault(3), "there is no such file; check the path");
    bind();
    for (const auto& entry : fs::directory_iterator(path("bull.rig.arrays")))
        if (entry.path().filename().string().rfind("Tail01.params", 0) == 0) fs::remove(entry.path());
    EXPECT_NE(fault(3).find("there is no such file"), std::string::npos);
    EXPECT_EQ(fault(3).rfind("/blocks/1/params/file: 'bull.rig.arrays/Tail01.params-", 0), 0u);
}

TEST_F(RigFile, OptionsThatDoNotGoTogetherAreWrongUsage) {
    bind();
    for (const auto& more :
         std::vector<std::vector<std::string>>{{"--rig", rigPath(), "--simple"},
                                               {"--rig", rigPath(), "--params", "nearest"},
                                               {"--keep-unknown"},
                                               {"--rig", rigPath(), "--capture", rigPath()}})
        EXPECT_EQ(deform("out.pc2", more).exitCode, 2) << more.back();
    EXPECT_EQ(run({"bind", kBull}).exitCode, 2);
    EXPECT_EQ(run({"bind", kBull, "-o", path("bull.txt")}).exitCode, 2);
    EXPECT_EQ(run({"bind", kBull, "-o", path("x.rig.json"), "--weights", "magic"}).exitCode, 2);
    EXPECT_EQ(run({"bind", path("none.glb"), "-o", path("x.rig.json")}).exitCode, 3);
    EXPECT_EQ(run({"bind", kBull, "-o", path("no/x.rig.json")}).exitCode, 4);
    EXPECT_FALSE(fs::exists(path("x.rig.json")));
}

TEST_F(RigFile, BindingAgainReplacesTheRigAndLeavesNothingBehind) {
    bind();
    const std::vector<std::string> top = listing();
    EXPECT_EQ(top, (std::vector<std::string>{"bull.rig.arrays", "bull.rig.json"}));
    const auto arrays = [&] {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path("bull.rig.arrays")))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    };
    const std::vector<std::string> first = arrays();
    const std::string text = fileText(rigPath());
    bind({"--params", "nearest"});
    EXPECT_NE(arrays(), first);
    bind();
    EXPECT_EQ(arrays(), first);
    EXPECT_EQ(fileText(rigPath()), text) << "the same rig is the same file";
}

} // namespace
} // namespace talvisora::journeys
