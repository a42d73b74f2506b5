// SPDX-License-Identifier: Apache-2.0
// Character files that are missing, cut off, foreign or wrong in one place, written by the tests themselves:
// each is refused in one line that names the file, and nothing out of range is kept.
#include "host/character/character.h"
#include "host/gltf_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

using namespace talvisora;
using namespace talvisora::host;
using gltf_writer::Bar;
using gltf_writer::Document;
using gltf_writer::makeBar;
using gltf_writer::TempFolder;
using nlohmann::json;

/// The one line of the refusal; fails the test when the file is read.
std::string refusal(const std::string& path) {
    try {
        readCharacter(path);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput) << error.what();
        const std::string line = error.what();
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
        EXPECT_NE(line.find(path), std::string::npos) << "names the file: " << line;
        return line;
    }
    ADD_FAILURE() << "was read: " << path;
    return {};
}

std::string refusal(const Document& document) {
    const TempFolder folder;
    return refusal(folder.write("bar.gltf", document.text()));
}

TEST(CharacterRefusals, MissingFolderEmptyAndForeignFilesAreNamed) {
    const TempFolder folder;
    EXPECT_NE(refusal(folder.file("nothing.gltf")).find("no such file"), std::string::npos);
    EXPECT_NE(refusal(folder.folder()).find("folder"), std::string::npos);
    EXPECT_NE(refusal(folder.write("empty.glb", "")).find("empty"), std::string::npos);
    EXPECT_NE(refusal(folder.write("some.obj", "v 0 0 0\n")).find("glTF 2.0"), std::string::npos);
    EXPECT_NE(refusal(folder.write("not.fbx", "this is no FBX file")).find("broken"), std::string::npos);
    EXPECT_NE(refusal(folder.write("not.dae", "<COLLADA")).find("broken"), std::string::npos);
    EXPECT_NE(refusal(folder.write("not.x", "xof 9999")).find("broken"), std::string::npos);
}

TEST(CharacterRefusals, AFileCutOffAnywhereIsRefusedOrReadButNeverHalfTrusted) {
    const TempFolder folder;
    const std::string text = makeBar({}).text(), binary = makeBar({}).binary();
    for (std::size_t part = 1; part < 40; ++part) {
        refusal(folder.write("cut.gltf", text.substr(0, text.size() * part / 40)));
        refusal(folder.write("cut.glb", binary.substr(0, binary.size() * part / 40)));
    }
}

TEST(CharacterRefusals, NoSkinSaysSo) {
    Document d = makeBar({});
    d.root.erase("skins");
    d.root["nodes"][0].erase("skin");
    EXPECT_NE(refusal(d).find("no skin"), std::string::npos);
}

TEST(CharacterRefusals, VertexNumbersOutOfRangeNeverReachTheMesh) {
    Document d = makeBar({});
    const std::size_t offset = d.root["bufferViews"][4]["byteOffset"].get<std::size_t>();
    d.buffer[offset] = d.buffer[offset + 1] = char(0xF0);
    // The importer leaves such faces out; either way nothing out of range is kept.
    try {
        const TempFolder folder;
        const Character c = readCharacter(folder.write("bar.gltf", d.text()));
        for (const Triangle& t : c.pointTriangles())
            for (std::uint32_t p : t) EXPECT_LT(p, c.points.size());
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
    }
}

TEST(CharacterRefusals, JointNumbersPastTheSkinAreNamed) {
    Document d = makeBar({});
    const std::size_t offset = d.root["bufferViews"][2]["byteOffset"].get<std::size_t>();
    d.buffer[offset] = 7;
    EXPECT_NE(refusal(d).find("names joint 7 of 3"), std::string::npos);
}

TEST(CharacterRefusals, NumbersThatAreNotFiniteAreNamed) {
    const float nan = std::nanf("");
    for (const std::size_t view : {0u, 3u, 5u}) { // positions, weights, inverse bind matrices
        Document d = makeBar({});
        const std::size_t offset = d.root["bufferViews"][view]["byteOffset"].get<std::size_t>();
        std::memcpy(d.buffer.data() + offset, &nan, sizeof nan);
        EXPECT_NE(refusal(d).find("finite"), std::string::npos) << view;
    }
    Document d = makeBar({});
    gltf_writer::animate(d, "bad", 1, "translation", {0.0f, 1.0f}, {0, 0, 0, nan, 0, 0}, 3);
    EXPECT_NE(refusal(d).find("not finite"), std::string::npos);
}

TEST(CharacterRefusals, BindMatricesThatCannotBeInvertedAreNamed) {
    Document d = makeBar({});
    const std::size_t offset = d.root["bufferViews"][5]["byteOffset"].get<std::size_t>();
    std::memset(d.buffer.data() + offset, 0, 64);
    EXPECT_NE(refusal(d).find("cannot be inverted"), std::string::npos);
}

TEST(CharacterRefusals, NodeCyclesAndSharedNodesAreNamed) {
    Document cycle = makeBar({});
    cycle.root["nodes"][3]["children"] = json::array({1});
    EXPECT_NE(refusal(cycle).find("cycle"), std::string::npos);
    Document self = makeBar({});
    self.root["nodes"][3]["children"] = json::array({3});
    EXPECT_NE(refusal(self).find("parent"), std::string::npos);
    Document shared = makeBar({});
    shared.root["nodes"][0]["children"] = json::array({2});
    EXPECT_NE(refusal(shared).find("more than one parent"), std::string::npos);
    Document deep = makeBar({});
    for (int i = 0; i < 5000; ++i) deep.root["nodes"].push_back({{"children", json::array({5 + i})}});
    deep.root["nodes"].push_back(json::object());
    EXPECT_NE(refusal(deep).find("levels"), std::string::npos);
}

TEST(CharacterRefusals, RangesPastTheirBuffersAreNamed) {
    for (const std::size_t huge : {std::size_t(29), std::size_t(1) << 32, std::size_t(1) << 62}) {
        Document d = makeBar({});
        d.root["accessors"][0]["count"] = huge;
        refusal(d);
    }
    Document view = makeBar({});
    view.root["bufferViews"][0]["byteOffset"] = std::size_t(1) << 40;
    EXPECT_NE(refusal(view).find("buffer"), std::string::npos);
    Document index = makeBar({});
    index.root["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = 99;
    EXPECT_NE(refusal(index).find("99"), std::string::npos);
    Document missing = makeBar({});
    const TempFolder folder;
    json copy = json::parse(missing.text());
    copy["buffers"][0]["uri"] = "gone.bin";
    EXPECT_NE(refusal(folder.write("bar.gltf", copy.dump())).find("gone.bin"), std::string::npos);
}

TEST(CharacterRefusals, ASkinWithoutWeightsMovesNothing) {
    Bar bar;
    bar.weightScale = 0.0f;
    EXPECT_NE(refusal(makeBar(bar)).find("weights"), std::string::npos);
}

TEST(CharacterRefusals, EveryByteOfTheTextMayBeWrong) {
    const TempFolder folder;
    const std::string text = makeBar({}).text();
    std::uint32_t state = 12345;
    const auto random = [&]() { return state = state * 1664525u + 1013904223u, state >> 8; };
    for (int round = 0; round < 300; ++round) {
        std::string broken = text;
        for (int change = 0; change < 1 + round % 4; ++change)
            broken[random() % broken.size()] = static_cast<char>(32 + random() % 95);
        const std::string path = folder.write("broken.gltf", broken);
        try {
            const Character c = readCharacter(path);
            for (const Influence& i : c.influences) ASSERT_LT(i.joint, c.joints.size());
            for (const Vec3d& p : c.points) ASSERT_TRUE(isFinite(p));
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, ExitCode::kInput);
        }
    }
}

} // namespace
