// SPDX-License-Identifier: Apache-2.0
// Characters without a skin: the bar of gltf_writer with its skin taken out. Node 0 holds the mesh, nodes 1
// to 3 are joints at y = 0, 1, 2.
#include "host/character/character.h"
#include "host/gltf_writer.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using gltf_writer::Document;
using gltf_writer::json;

class BareCharacter : public testing::Test {
protected:
    static Document bareBar() {
        Document bar = gltf_writer::makeBar({});
        json& attributes = bar.root["meshes"][0]["primitives"][0]["attributes"];
        attributes.erase("JOINTS_0");
        attributes.erase("WEIGHTS_0");
        bar.root["nodes"][0].erase("skin");
        bar.root.erase("skins");
        return bar;
    }
    Character read(const Document& document, SkinUse skin = SkinUse::kOptional) const {
        return readCharacter(folder.write("bar.gltf", document.text()), {FileUnit::kKeep, skin});
    }
    std::string refusal(const Document& document, SkinUse skin) const {
        try {
            read(document, skin);
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, ExitCode::kInput);
            return error.what();
        }
        return "";
    }
    static std::vector<std::string> joints(const Character& character) {
        std::vector<std::string> names;
        for (const Joint& joint : character.joints) names.push_back(joint.name);
        return names;
    }
    using Names = std::vector<std::string>;
    gltf_writer::TempFolder folder;
};

TEST_F(BareCharacter, IsRefusedWhereASkinIsRequired) {
    EXPECT_NE(
        refusal(bareBar(), SkinUse::kRequired)
            .find("it has no skin (no mesh names a joint); export the mesh together with its armature, or "
                  "bind it with grhost bind --weights distance"),
        std::string::npos);
}

TEST_F(BareCharacter, PointsComeWithoutInfluencesAndRestIsThePoseAsLoaded) {
    Document bar = bareBar();
    bar.root["nodes"][1]["translation"] = {0.0, -1.0, 0.0}; // away from the origin, so no container
    bar.root["nodes"][0]["translation"] = {0.0, 0.0, 5.0};  // the mesh's own place
    const Character character = read(bar);
    EXPECT_FALSE(character.skinned);
    EXPECT_EQ(character.points.size(), 28u);
    EXPECT_TRUE(character.influences.empty());
    EXPECT_EQ(character.influenceStart, std::vector<std::uint32_t>(29, 0));
    EXPECT_EQ(joints(character), (Names{"joint0", "joint1", "joint2"}));
    for (std::size_t j = 0; j < 3; ++j) {
        EXPECT_EQ(translation(character.joints[j].restWorld), (Vec3d{0, static_cast<double>(j) - 1.0, 0}));
        EXPECT_EQ(character.joints[j].parent, static_cast<int>(j) - 1);
    }
    EXPECT_EQ(character.points[0], (Vec3d{-0.25, 0, 4.75}));
    for (const std::string& warning : character.warnings)
        EXPECT_EQ(warning.find("stay where they are"), std::string::npos) << warning;
}

TEST_F(BareCharacter, JointsAreWhatMovesAndWhatHangsBelowOrBetween) {
    Document bar = bareBar();
    // A light beside the chain, and an end below it; joints 0 and 2 move.
    bar.root["nodes"].push_back({{"name", "light"}});
    bar.root["nodes"].push_back({{"name", "end"}, {"translation", {0, 1, 0}}});
    bar.root["nodes"][3]["children"] = {5};
    bar.root["scenes"][0]["nodes"] = {0, 1, 4};
    gltf_writer::animate(bar, "move", 1, "translation", {0, 1}, {0, 0, 0, 0, 1, 0}, 3);
    gltf_writer::animate(bar, "bend", 3, "rotation", {0, 1}, {0, 0, 0, 1, 1, 0, 0, 0}, 4);
    EXPECT_EQ(joints(read(bar)), (Names{"joint0", "joint1", "joint2", "end"}));
}

TEST_F(BareCharacter, WhereNothingMovesAContainerAtTheOriginAndLonelyNodesAreNoJoints) {
    Document bar = bareBar();
    bar.root["nodes"].push_back({{"name", "armature"}, {"children", {1}}});
    bar.root["nodes"].push_back({{"name", "camera"}, {"translation", {0, 0, 9}}});
    bar.root["nodes"][1]["translation"] = {0.0, 0.5, 0.0};
    bar.root["scenes"][0]["nodes"] = {0, 4, 5};
    EXPECT_EQ(joints(read(bar)), (Names{"joint0", "joint1", "joint2"}));
}

TEST_F(BareCharacter, AMeshWithoutAnyJointIsRefused) {
    Document bar = bareBar();
    bar.root["scenes"][0]["nodes"] = {0};
    EXPECT_NE(refusal(bar, SkinUse::kOptional).find("it has neither a skin nor joints"), std::string::npos);
}

TEST_F(BareCharacter, AMeshThatHangsOnAJointIsReadWhereItHangs) {
    Document bar = bareBar();
    gltf_writer::animate(bar, "bend", 3, "rotation", {0, 1}, {0, 0, 0, 1, 1, 0, 0, 0}, 4);
    bar.root["nodes"].push_back({{"name", "hat"}, {"mesh", 0}});
    bar.root["nodes"][3]["children"] = {4};
    const Character character = read(bar);
    EXPECT_EQ(character.points.size(), 44u) << "twice 28; the rings at 2, 2.5 and 3 fall together";
    EXPECT_EQ(joints(character), (Names{"joint2"}));
}

TEST_F(BareCharacter, ASkinWithoutWeightsIsTakenWhereWeightsAreNotNeeded) {
    gltf_writer::Bar nothing;
    nothing.weightScale = 0.0f;
    const Document bar = gltf_writer::makeBar(nothing);
    EXPECT_NE(refusal(bar, SkinUse::kRequired).find("no"), std::string::npos);
    EXPECT_TRUE(read(bar).influences.empty());
}

} // namespace
} // namespace talvisora::host
