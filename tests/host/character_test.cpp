// SPDX-License-Identifier: Apache-2.0
// Characters read from small glTF files that the tests write themselves, so that every expectation is known
// by construction, and from the two characters of the test-model package, whose counts were taken
// independently.
#include "host/character/describe.h"
#include "host/character/linear_blend.h"
#include "host/gltf_writer.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace talvisora;
using namespace talvisora::host;
using gltf_writer::Bar;
using gltf_writer::Document;
using gltf_writer::makeBar;
using gltf_writer::TempFolder;
using nlohmann::json;

Character readText(const Document& document, const ReadOptions& options = {}) {
    const TempFolder folder;
    return readCharacter(folder.write("bar.gltf", document.text()), options);
}

const char* const kModels = "/usr/share/assimp/models/";

void expectNear(const Vec3d& a, const Vec3d& b, double tolerance) {
    EXPECT_LE(length(a - b), tolerance)
        << a.x << " " << a.y << " " << a.z << " against " << b.x << " " << b.y << " " << b.z;
}

TEST(Character, LengthsAreCentimetresUnlessTheFilesUnitIsKept) {
    const Document bar = makeBar({});
    const auto height = [&](FileUnit unit) {
        const Character c = readText(bar, {unit});
        double top = 0.0;
        for (const Vec3d& p : c.points) top = std::max(top, p.y);
        EXPECT_NEAR(translation(c.joints[2].restWorld).y, top * 2.0 / 3.0,
                    1e-4 * top); // joints move with the mesh
        return top;
    };
    EXPECT_NEAR(height(FileUnit::kFromFile), 300.0, 1e-4); // three metres: glTF says metres
    EXPECT_NEAR(height(FileUnit::kMetre), 300.0, 1e-4);
    EXPECT_NEAR(height(FileUnit::kCentimetre), 3.0, 1e-6);
    EXPECT_NEAR(height(FileUnit::kMillimetre), 0.3, 1e-7);
    EXPECT_NEAR(height(FileUnit::kKeep), 3.0, 1e-6);
    EXPECT_TRUE(readText(bar).unitFromMetadata);
    EXPECT_FALSE(readText(bar, {FileUnit::kMetre}).unitFromMetadata);
}

TEST(Character, UnitNamesAreReadAndOthersRefused) {
    EXPECT_EQ(parseFileUnit(""), FileUnit::kFromFile);
    EXPECT_EQ(parseFileUnit("mm"), FileUnit::kMillimetre);
    EXPECT_EQ(parseFileUnit("keep"), FileUnit::kKeep);
    try {
        parseFileUnit("inch");
        FAIL();
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kUsage);
    }
}

TEST(Character, VerticesSplitAtSeamsAreOnePoint) {
    Bar bar;
    bar.splitVertices = true;
    const Character c = readText(makeBar(bar));
    EXPECT_EQ(c.vertexCount(), 56u);
    ASSERT_EQ(c.points.size(), 28u);
    const CharacterMesh& mesh = c.meshes[0];
    for (std::size_t v = 0; v < mesh.positions.size(); ++v)
        expectNear(c.points[mesh.pointOfVertex[v]], mesh.positions[v], 1e-9);
    EXPECT_EQ(mesh.normals.size(), 56u); // the file's own split stays for writing
    EXPECT_EQ(c.pointTriangles().size(), 48u);
}

TEST(Character, EqualPositionsWithOtherWeightsStayApart) {
    Bar bar;
    bar.splitVertices = true;
    Document d = makeBar(bar);
    // The second copy of the first vertex hangs on joint 2 alone.
    const std::size_t offset = d.root["bufferViews"][2]["byteOffset"].get<std::size_t>();
    d.buffer[offset + 4] = 2;
    const Character c = readText(d);
    EXPECT_EQ(c.points.size(), 29u);
}

TEST(Character, WeightsThatDoNotSumToOneAreNormalisedAndReported) {
    Bar bar;
    bar.weightScale = 0.5f;
    const Character c = readText(makeBar(bar));
    EXPECT_EQ(c.weights.notOne, 28u);
    EXPECT_NEAR(c.weights.smallestSum, 0.5, 1e-6);
    EXPECT_NEAR(c.weights.largestSum, 0.5, 1e-6);
    for (std::size_t p = 0; p < c.points.size(); ++p) {
        double sum = 0.0;
        for (std::uint32_t i = c.influenceStart[p]; i < c.influenceStart[p + 1]; ++i)
            sum += c.influences[i].weight;
        EXPECT_NEAR(sum, 1.0, 1e-12);
    }
    ASSERT_FALSE(c.warnings.empty());
    EXPECT_NE(c.warnings[0].find("28 of 28 vertices do not sum to 1 (0.5 to 0.5)"), std::string::npos)
        << c.warnings[0];
    EXPECT_EQ(readText(makeBar({})).weights.notOne, 0u);
}

TEST(Character, WeightsInBytesAndInASecondSetReadLikeFloats) {
    const Character plain = readText(makeBar({}));
    Bar bytes, second;
    bytes.byteWeights = true;
    second.secondSet = true;
    for (const Bar& bar : {bytes, second}) {
        const Character c = readText(makeBar(bar));
        ASSERT_EQ(c.influences.size(), plain.influences.size());
        for (std::size_t i = 0; i < c.influences.size(); ++i) {
            EXPECT_EQ(c.influences[i].joint, plain.influences[i].joint);
            EXPECT_NEAR(c.influences[i].weight, plain.influences[i].weight, bar.byteWeights ? 0.005 : 1e-6);
        }
    }
}

TEST(Character, DuplicateAndUnnamedJointsAreToldApart) {
    Bar bar;
    bar.names = {"bone", "bone", ""};
    Document d = makeBar(bar);
    gltf_writer::animate(d, "lift", 2, "translation", {0.0f, 1.0f}, {0, 1, 0, 0, 2, 0},
                         3); // the second "bone"
    const Character c = readText(d);
    ASSERT_EQ(c.joints.size(), 3u);
    EXPECT_EQ(c.joints[0].name, "bone");
    EXPECT_EQ(c.joints[1].name, "bone_2");
    EXPECT_EQ(c.joints[2].name, "nodes[3]");
    // Only the upper two joints rise, by one metre.
    const Pose pose = samplePose(c, c.clips[0], 1.0);
    expectNear(translation(pose.world[0]), {0, 0, 0}, 1e-4);
    expectNear(translation(pose.world[1]), {0, 200, 0}, 1e-4);
    expectNear(translation(pose.world[2]), {0, 300, 0}, 1e-4);
}

TEST(Character, OnlyNodesBetweenTwoJointsCountWithoutABindMatrix) {
    Document d = makeBar({});
    json& nodes = d.root["nodes"];
    // joint0 > between > joint1 > joint2 > below; and above > joint0.
    nodes[1]["children"] = json::array({4});
    nodes.push_back({{"name", "between"}, {"children", json::array({2})}});
    nodes[3]["children"] = json::array({5});
    nodes.push_back({{"name", "below"}});
    nodes.push_back({{"name", "above"}, {"children", json::array({1})}});
    d.root["scenes"][0]["nodes"] = json::array({0, 6});
    const Character c = readText(d);
    std::vector<std::string> names;
    for (const Joint& joint : c.joints) names.push_back(joint.name);
    EXPECT_EQ(names, (std::vector<std::string>{"joint0", "between", "joint1", "joint2"}));
    EXPECT_FALSE(c.joints[1].bound);
    EXPECT_EQ(c.joints[2].parent, 1);
    expectNear(translation(c.joints[1].restWorld), {0, 0, 0}, 1e-4);
}

TEST(Character, RestComesFromTheBindMatricesAndNotFromTheNodePose) {
    Document d = makeBar({});
    // The file is saved in another pose: the upper two joints a quarter turn about z.
    d.root["nodes"][2]["rotation"] = {0.0, 0.0, 0.70710678, 0.70710678};
    const Character c = readText(d);
    expectNear(translation(c.joints[2].restWorld), {0, 200, 0}, 1e-3);
    const Pose loaded = loadedPose(c);
    expectNear(translation(loaded.world[2]), {-100, 100, 0}, 1e-3);
    // The top ring hangs on joint 2 alone and goes along: (x, y) turns about (0, 100) by a quarter.
    const std::vector<Vec3d> moved = linearBlend(c, loaded);
    for (std::size_t p = 0; p < c.points.size(); ++p)
        if (c.points[p].y > 299.0)
            expectNear(moved[p], {-(c.points[p].y - 100.0), 100.0 + c.points[p].x, c.points[p].z}, 1e-2);
}

TEST(Character, AConstantScaleAboveTheSkeletonLiesInPointsAndRestAlike) {
    Document d = makeBar({});
    json& nodes = d.root["nodes"];
    nodes.push_back({{"name", "armature"}, {"scale", {0.01, 0.01, 0.01}}, {"children", json::array({1})}});
    d.root["scenes"][0]["nodes"] = json::array({0, 4});
    const Character c = readText(d, {FileUnit::kKeep});
    double top = 0.0;
    for (const Vec3d& p : c.points) top = std::max(top, p.y);
    EXPECT_NEAR(top, 0.03, 1e-7);
    const Pose pose = loadedPose(c);
    for (std::size_t j = 0; j < c.joints.size(); ++j)
        for (int r = 0; r < 4; ++r) expectNear(row(pose.world[j], r), row(c.joints[j].restWorld, r), 1e-7);
}

TEST(Character, AMeshWithoutASkinFollowsTheJointThatItHangsOn) {
    Document d = makeBar({});
    json primitive = d.root["meshes"][0]["primitives"][0];
    primitive["attributes"].erase("JOINTS_0");
    primitive["attributes"].erase("WEIGHTS_0");
    d.root["meshes"].push_back({{"name", "hat"}, {"primitives", json::array({primitive})}});
    d.root["nodes"].push_back({{"name", "hat node"}, {"mesh", 1}, {"translation", {0.0, 5.0, 0.0}}});
    d.root["nodes"][3]["children"] = json::array({4});
    const Character c = readText(d);
    ASSERT_EQ(c.meshes.size(), 2u);
    const std::uint32_t point = c.meshes[1].pointOfVertex[0];
    ASSERT_EQ(c.influenceStart[point + 1] - c.influenceStart[point], 1u);
    EXPECT_EQ(c.influences[c.influenceStart[point]].joint, 2u);
    expectNear(c.points[point], {-25, 700, -25}, 1e-3); // joint 2 rests at 2 m, the node 5 m above it
}

TEST(Character, ASkinWithoutBindMatricesHasIdentities) {
    Document d = makeBar({});
    d.root["skins"][0].erase("inverseBindMatrices");
    const Character c = readText(d);
    // Every joint rests in the mesh's own space, so at one place; the loaded pose pulls them apart.
    for (const Joint& joint : c.joints) expectNear(translation(joint.restWorld), {0, 0, 0}, 1e-6);
    expectNear(translation(loadedPose(c).world[2]), {0, 200, 0}, 1e-4);
}

TEST(Character, ABinaryContainerReadsAsTheTextDoes) {
    const TempFolder folder;
    const Document d = makeBar({});
    const Character text = readCharacter(folder.write("a.gltf", d.text()));
    const Character binary = readCharacter(folder.write("b.glb", d.binary()));
    ASSERT_EQ(text.points.size(), binary.points.size());
    for (std::size_t p = 0; p < text.points.size(); ++p) EXPECT_EQ(text.points[p], binary.points[p]);
    EXPECT_EQ(text.influences.size(), binary.influences.size());
}

TEST(CharacterModels, TheBullHasItsJointsPointsAndClips) {
    const Character c = readCharacter(std::string(kModels) + "X/Testwuson.X");
    EXPECT_EQ(c.joints.size(), 37u);
    EXPECT_EQ(c.vertexCount(), 11196u);
    // 2117 positions are exactly different, 2124 with the weights; 1e-6 of the size joins a few more.
    EXPECT_GE(c.points.size(), 2100u);
    EXPECT_LE(c.points.size(), 2124u);
    EXPECT_EQ(c.weights.notOne, 0u);
    EXPECT_EQ(lastFrame(c.clips[findClip(c, "Run")], 30), 30);
    EXPECT_EQ(lastFrame(c.clips[findClip(c, "walk")], 30), 109);
    // The file is saved in its bind pose: skinning it moves nothing.
    const std::vector<Vec3d> loaded = linearBlend(c, loadedPose(c));
    for (std::size_t p = 0; p < loaded.size(); ++p) expectNear(loaded[p], c.points[p], 1e-3);
}

TEST(CharacterModels, TheMeshesOfTheHumanShareOneSkeletonAndTheirSeams) {
    const Character c = readCharacter(std::string(kModels) + "X/BCN_Epileptic.X");
    EXPECT_EQ(c.joints.size(), 54u);
    EXPECT_EQ(c.meshes.size(), 3u);
    EXPECT_EQ(c.vertexCount(), 15378u);
    EXPECT_EQ(c.points.size(), 2633u);
    for (const std::string& warning : c.warnings)
        EXPECT_EQ(warning.find("disagree"), std::string::npos) << warning;
}

TEST(CharacterModels, FbxUnitsScaleTheSkeletonAndThePointsAlike) {
    const Character c = readCharacter(std::string(kModels) + "FBX/huesitos.fbx");
    EXPECT_TRUE(c.unitFromMetadata);
    EXPECT_DOUBLE_EQ(c.metresPerFileUnit, 0.01);
    EXPECT_EQ(c.joints.size(), 9u);
    EXPECT_GT(c.weights.notOne, 0u);
    const std::vector<Vec3d> loaded = linearBlend(c, loadedPose(c));
    for (std::size_t p = 0; p < loaded.size(); ++p) expectNear(loaded[p], c.points[p], 1e-2);
}

TEST(CharacterModels, JointsWithoutANodeAreDroppedWithAWarning) {
    const Character c = readCharacter(std::string(kModels) + "X/anim_test.x");
    EXPECT_EQ(c.joints.size(), 2u);
    const auto names = [&](const char* text) {
        return std::any_of(c.warnings.begin(), c.warnings.end(),
                           [&](const std::string& w) { return w.find(text) != std::string::npos; });
    };
    EXPECT_TRUE(names("'joint3' has no node"));
    EXPECT_TRUE(names("'joint4' has no node"));
}

TEST(CharacterDescription, TellsJointsChainsClipsPointsAndSums) {
    Document d = makeBar({});
    gltf_writer::animate(d, "wave", 2, "translation", {0.0f, 2.0f}, {0, 1, 0, 0, 1, 0}, 3);
    const Character c = readText(d);
    const CharacterDescription description = describeCharacter(c, buildAutoRig(c), 24.0);
    EXPECT_EQ(description.points, 28u);
    ASSERT_EQ(description.clips.size(), 1u);
    EXPECT_EQ(description.clips[0].frames, 49);
    ASSERT_EQ(description.chains.size(), 1u);
    EXPECT_EQ(description.chains[0].joints, (std::vector<std::string>{"joint0", "joint1", "joint2"}));
    EXPECT_TRUE(description.chains[0].virtualEnd);
    EXPECT_EQ(description.chains[0].points, 28u);
    const std::vector<std::string> lines = describeLines(description, 24.0);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "  joint0: joint0 > joint1 > joint2 > (end); 28 points"),
              lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "  wave: 2 s, 49 frames at 24"), lines.end());
}

} // namespace
