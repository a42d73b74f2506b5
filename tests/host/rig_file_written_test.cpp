// SPDX-License-Identifier: Apache-2.0
// Writing rig files, reading them back, and whether a rig fits a character.
#include "host/rig_file/npy.h"
#include "host/rig_file/rig_fit.h"
#include "host/rig_file_fixture.h"

#include <thread>

namespace rig_files {
namespace {

using made_character::addPoint;
using made_character::makeSkeleton;

void expectSame(const RigFile& a, const RigFile& b) {
    EXPECT_EQ(a.units.length, b.units.length);
    EXPECT_EQ(a.units.fileUnit, b.units.fileUnit);
    EXPECT_EQ(a.units.lengthsPerFileUnit, b.units.lengthsPerFileUnit);
    EXPECT_EQ(a.upAxis, b.upAxis);
    EXPECT_EQ(a.mesh.character, b.mesh.character);
    EXPECT_EQ(a.mesh.objects, b.mesh.objects);
    EXPECT_EQ(a.mesh.points, b.mesh.points);
    EXPECT_EQ(a.mesh.topology, b.mesh.topology);
    EXPECT_EQ(a.mesh.restPositions, b.mesh.restPositions);
    ASSERT_EQ(a.hierarchy.size(), b.hierarchy.size());
    for (std::size_t r = 0; r < a.hierarchy.size(); ++r) {
        EXPECT_EQ(a.hierarchy[r].name, b.hierarchy[r].name);
        EXPECT_EQ(a.hierarchy[r].parent, b.hierarchy[r].parent);
        EXPECT_EQ(a.hierarchy[r].flag, b.hierarchy[r].flag);
        EXPECT_EQ(a.hierarchy[r].joint, b.hierarchy[r].joint);
        for (int k = 0; k < 16; ++k) EXPECT_EQ(a.hierarchy[r].rest.m[k], b.hierarchy[r].rest.m[k]);
    }
    ASSERT_EQ(a.blocks.size(), b.blocks.size());
    for (std::size_t k = 0; k < a.blocks.size(); ++k) {
        const RigFileBlock &one = a.blocks[k], &other = b.blocks[k];
        EXPECT_EQ(one.name, other.name);
        EXPECT_EQ(one.env, other.env);
        EXPECT_EQ(one.simple, other.simple);
        EXPECT_EQ(one.joints, other.joints);
        EXPECT_EQ(one.weights, other.weights);
        EXPECT_EQ(one.params, other.params);
        ASSERT_EQ(one.bends.size(), other.bends.size());
        for (std::size_t e = 0; e < one.bends.size(); ++e) {
            EXPECT_EQ(one.bends[e].segment, other.bends[e].segment);
            EXPECT_EQ(one.bends[e].control, other.bends[e].control);
        }
        ASSERT_EQ(one.tweaks.size(), other.tweaks.size());
        for (std::size_t e = 0; e < one.tweaks.size(); ++e) {
            EXPECT_EQ(one.tweaks[e].centre, other.tweaks[e].centre);
            EXPECT_EQ(one.tweaks[e].amounts, other.tweaks[e].amounts);
        }
    }
    EXPECT_EQ(a.weightMaps, b.weightMaps);
}

TEST_F(RigFiles, WhatIsWrittenReadsBackTheSameHoweverArraysAreHeld) {
    const RigFile rig = read(smallRig());
    for (const std::size_t limit : {0, 1, 4, 256}) {
        const std::string file = path("copy" + std::to_string(limit) + ".rig.json");
        writeRigFile(file, rig, {limit});
        expectSame(readRigFile(file), rig);
    }
    // With room for it all the JSON file stands alone; without, there is a file for each of the three arrays.
    EXPECT_FALSE(fs::exists(path("copy256.rig.arrays")));
    std::size_t arrays = 0;
    for (const auto& entry : fs::directory_iterator(path("copy0.rig.arrays")))
        arrays += entry.path().extension() == ".npy" ? 1 : 0;
    EXPECT_EQ(arrays, 3u);
}

TEST_F(RigFiles, ReferencesAreTheOneRealArrayOfThatName) {
    RigFile rig = read(smallRig());
    rig.blocks[0].name = "left/arm ü";
    writeRigFile(path("big.rig.json"), rig, {0});
    const Json json = Json::parse(fileText(path("big.rig.json")));
    const std::string reference = json.at("blocks").at(0).at("blockWeights").at("file");
    EXPECT_EQ(reference.rfind("big.rig.arrays/left_arm___.blockWeights-", 0), 0u) << reference;
    EXPECT_EQ(fileText(folder / reference), npyBytes(rig.blocks[0].weights));
}

TEST_F(RigFiles, KeptKeysComeBackAndOnlyOnRequest) {
    Json json = smallRig();
    const Json odd = {{"list", {1, -0.5, "text", nullptr, true}}, {"deep", {{"er", 1e300}}}};
    const std::vector<std::string> places = {"",
                                             "/units",
                                             "/mesh",
                                             "/hierarchy/1",
                                             "/blocks/0",
                                             "/blocks/0/bends/0",
                                             "/blocks/0/tweaks/0",
                                             "/blocks/0/params",
                                             "/weightMaps",
                                             "/weightMaps/slideOutTweakWeights"};
    for (const std::string& place : places) json[Json::json_pointer(place)]["studio:note"] = odd;
    EXPECT_THROW(read(json), HostError);
    const RigFile rig = read(json, true);
    for (const std::size_t limit : {0, 256}) {
        writeRigFile(path("kept.rig.json"), rig, {limit});
        const Json written = Json::parse(fileText(path("kept.rig.json")));
        for (const std::string& place : places)
            EXPECT_EQ(written.at(Json::json_pointer(place + "/studio:note")), odd) << place << " " << limit;
        EXPECT_THROW(readRigFile(path("kept.rig.json")), HostError);
    }
}

TEST_F(RigFiles, AFailedWriteLosesNothing) {
    RigFile rig = read(smallRig());
    writeRigFile(path("a.rig.json"), rig, {0});
    const std::vector<std::string> before = listing();
    const std::string text = fileText(path("a.rig.json"));
    const auto expectUntouched = [&](const char* what) {
        EXPECT_EQ(listing(), before) << what;
        EXPECT_EQ(fileText(path("a.rig.json")), text) << what;
        expectSame(readRigFile(path("a.rig.json")), rig);
    };

    RigFile broken = rig;
    broken.blocks[0].params.pop_back();
    EXPECT_THROW(writeRigFile(path("a.rig.json"), broken, {0}), HostError);
    expectUntouched("too few values");
    broken = rig;
    broken.hierarchy[0].rest.m[3] = NAN;
    EXPECT_THROW(writeRigFile(path("a.rig.json"), broken, {0}), HostError);
    expectUntouched("a matrix that is not finite");
    EXPECT_THROW(writeRigFile(path("a.txt"), rig), HostError);
    EXPECT_THROW(writeRigFile(path("nowhere/a.rig.json"), rig), HostError);
    expectUntouched("places that cannot be");

    // The folder of the arrays cannot be made: the JSON file must not appear either.
    write("in the way", "b.rig.arrays");
    try {
        writeRigFile(path("b.rig.json"), rig, {0});
        ADD_FAILURE();
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kOutput);
    }
    EXPECT_FALSE(fs::exists(path("b.rig.json")));
    fs::remove(path("b.rig.arrays"));
    expectUntouched("no folder for arrays");
}

TEST_F(RigFiles, AnArrayThatTheOldFileUsesNeverChangesBeforeTheNewOneStands) {
    RigFile rig = read(smallRig());
    writeRigFile(path("a.rig.json"), rig, {0});
    // As if the run had ended before the rename: the old JSON file beside what the new rig would write.
    fs::copy_file(path("a.rig.json"), path("old.json"));
    RigFile changed = rig;
    changed.blocks[0].weights[0] = 0.875f;
    writeRigFile(path("a.rig.json"), changed, {0});
    expectSame(readRigFile(path("old.json")), rig);
    expectSame(readRigFile(path("a.rig.json")), changed);
}

TEST_F(RigFiles, ArraysThatNothingNamesAnyMoreGoAndOthersStay) {
    RigFile rig = read(smallRig());
    writeRigFile(path("a.rig.json"), rig, {0});
    write("mine", "a.rig.arrays/notes.txt");
    write("mine", "a.rig.arrays/by-hand.npy");
    const std::size_t files = listing().size();
    for (const float weight : {0.1f, 0.2f, 0.3f}) {
        rig.blocks[0].weights[0] = weight;
        writeRigFile(path("a.rig.json"), rig, {0});
        EXPECT_EQ(listing().size(), files);
    }
    EXPECT_EQ(fileText(path("a.rig.arrays/notes.txt")), "mine");
    EXPECT_EQ(fileText(path("a.rig.arrays/by-hand.npy")), "mine");
    writeRigFile(path("a.rig.json"), rig); // everything inline again
    EXPECT_EQ(listing(), (std::vector<std::string>{"a.rig.arrays/by-hand.npy", "a.rig.arrays/notes.txt",
                                                   "a.rig.json", "bar.rig.json"}));
}

TEST_F(RigFiles, WritersOfOneRigTakeTurns) {
    const RigFile rig = read(smallRig());
    writeRigFile(path("a.rig.json"), rig, {0});
    for (int round = 0; round < 100; ++round) {
        std::vector<std::thread> writers;
        for (int t = 0; t < 4; ++t)
            writers.emplace_back([&, t] {
                RigFile mine = rig;
                mine.blocks[0].weights[0] = static_cast<float>(4 * round + t) / 512.0f;
                if (t % 2) mine.blocks[0].params.swap(mine.blocks[0].weights);
                writeRigFile(path("a.rig.json"), mine, {0});
            });
        for (std::thread& each : writers) each.join();
        EXPECT_NO_THROW(readRigFile(path("a.rig.json"))) << "round " << round;
    }
}

TEST_F(RigFiles, AnArraySavedOverByHandIsReadAndNotOverwritten) {
    const RigFile rig = read(smallRig());
    writeRigFile(path("a.rig.json"), rig, {0});
    const std::string name =
        Json::parse(fileText(path("a.rig.json"))).at("blocks").at(0).at("blockWeights").at("file");
    write(npyBytes({1, 1, 1, 1}), name);
    EXPECT_EQ(readRigFile(path("a.rig.json")).blocks[0].weights, std::vector<float>(4, 1.0f));
    fs::copy_file(path("a.rig.json"), path("old.json"));
    writeRigFile(path("a.rig.json"), rig, {0}); // wants the name that is taken
    expectSame(readRigFile(path("a.rig.json")), rig);
    EXPECT_EQ(fileText(path(name)), npyBytes({1, 1, 1, 1}));
}

TEST_F(RigFiles, AreReadAndWrittenThroughLinks) {
    const RigFile rig = read(smallRig());
    fs::create_directory(folder / "real");
    writeRigFile(path("real/a.rig.json"), rig, {0});
    fs::create_symlink("real/a.rig.json", path("link.rig.json"));
    expectSame(readRigFile(path("link.rig.json")), rig);
    RigFile changed = rig;
    changed.blocks[0].weights[0] = 0.5f;
    writeRigFile(path("link.rig.json"), changed, {0});
    EXPECT_TRUE(fs::is_symlink(path("link.rig.json")));
    expectSame(readRigFile(path("real/a.rig.json")), changed);
}

// A bar along x with a triangle and its neighbour over three points, one of them split.
Character bar() {
    Character c = makeSkeleton({{"root", -1, {0, 0, 0}}, {"mid", 0, {10, 0, 0}}, {"tip", 1, {20, 0, 0}}});
    addPoint(c, {0, 0.1, -0.0}, {{0, 1.0}});
    addPoint(c, {10, 0.25, -3}, {{1, 1.0}});
    addPoint(c, {20, 0, 0}, {{1, 0.5}, {2, 0.5}});
    CharacterMesh mesh;
    mesh.name = "bar";
    mesh.pointOfVertex = {0, 1, 2, 0};
    for (const std::uint32_t point : mesh.pointOfVertex) mesh.positions.push_back(c.points[point]);
    mesh.triangles = {{0, 1, 2}, {1, 3, 2}};
    c.meshes.push_back(mesh);
    return c;
}

TEST_F(RigFiles, TheHashesAreFnv1aOfTheDocumentedBytes) {
    // Computed apart, with a few lines of Python over struct.pack.
    EXPECT_EQ(topologyHash(bar()), "6ee9e7e40480c8b1");
    EXPECT_EQ(restPositionsHash(bar()), "0de5d21faaab8a79");
}

std::string misfit(const RigFile& rig, const Character& character) {
    try {
        fitRig(rig, character);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kInput);
        return error.what();
    }
    return {};
}

TEST_F(RigFiles, AFreshRigFitsItsCharacterBitForBit) {
    const Character c = bar();
    const AutoRig rig = buildAutoRig(c);
    writeRigFile(path("a.rig.json"), makeRigFile(c, rig, path("a.rig.json"), FileUnit::kMetre, "y"), {0});
    const RigFile file = readRigFile(path("a.rig.json"));
    EXPECT_EQ(unitsOf(file), FileUnit::kMetre);
    const AutoRig fitted = fitRig(file, c);
    EXPECT_TRUE(fitted.notes.empty());
    EXPECT_EQ(fitted.jointCount, rig.jointCount);
    ASSERT_EQ(fitted.records.size(), rig.records.size());
    for (std::size_t r = 0; r < rig.records.size(); ++r) {
        EXPECT_EQ(fitted.records[r].name, rig.records[r].name);
        EXPECT_EQ(fitted.records[r].parent, rig.records[r].parent);
        EXPECT_EQ(fitted.records[r].joint, rig.records[r].joint);
        for (int k = 0; k < 16; ++k)
            EXPECT_EQ(fitted.records[r].restLocal.m[k], rig.records[r].restLocal.m[k]);
    }
    ASSERT_EQ(fitted.blocks.size(), rig.blocks.size());
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        EXPECT_EQ(fitted.blocks[b].joints, rig.blocks[b].joints);
        EXPECT_EQ(fitted.blocks[b].weights, rig.blocks[b].weights);
        EXPECT_EQ(fitted.blocks[b].params, rig.blocks[b].params);
    }
}

TEST_F(RigFiles, AWrongMeshIsNamedForWhatItIs) {
    const Character c = bar();
    RigFile rig = makeRigFile(c, buildAutoRig(c), path(), FileUnit::kFromFile, "y");
    rig.path = "bar.rig.json";
    EXPECT_EQ(misfit(rig, c), "");

    RigFile more = rig;
    more.mesh.points = 3205;
    EXPECT_EQ(misfit(more, c), "bar.rig.json: the rig was made for 3,205 points, 'made.glb' has 3; bind this "
                               "mesh, or transfer the rig to it");
    Character turned = c;
    std::swap(turned.meshes[0].triangles[0], turned.meshes[0].triangles[1]);
    EXPECT_EQ(misfit(rig, turned),
              "bar.rig.json: the rig was made for another topology than 'made.glb' has, both with 3 points: "
              "faces or the order of points differ; bind this mesh, or transfer the rig to it");
    Character moved = c;
    std::swap(moved.points[0], moved.points[1]);
    EXPECT_EQ(misfit(rig, moved), "bar.rig.json: the rig was made for other rest positions than 'made.glb' "
                                  "has, on the same topology; bind this mesh, or transfer the rig to it");
    Character inches = c;
    inches.evaluationPerFileUnit = 2.54;
    EXPECT_EQ(misfit(rig, inches),
              "bar.rig.json: the rig was made with 100 lengths per unit of the character file, 'made.glb' is "
              "read with 2.54; name the unit with --units, or bind again");
}

TEST_F(RigFiles, JointsMustBeThoseOfTheCharacter) {
    const Character c = bar();
    RigFile rig = makeRigFile(c, buildAutoRig(c), path(), FileUnit::kFromFile, "y");
    rig.path = "bar.rig.json";
    Character renamed = c;
    renamed.joints[1].name = "elbow";
    EXPECT_EQ(misfit(rig, renamed),
              "bar.rig.json: /hierarchy/1/joint: 'made.glb' has no joint 'mid'; name one "
              "that it has, see grhost info");
    RigFile elsewhere = rig;
    elsewhere.hierarchy[2].parent = "root";
    EXPECT_EQ(misfit(elsewhere, c),
              "bar.rig.json: /hierarchy/2/parent: joint 'tip' of 'made.glb' hangs under "
              "joint 'mid'; make that record its parent");
    RigFile under = rig;
    RigFileRecord top;
    top.name = "top";
    under.hierarchy.insert(under.hierarchy.begin(), top);
    under.hierarchy[1].parent = "top";
    EXPECT_EQ(misfit(under, c), "bar.rig.json: /hierarchy/1/parent: joint 'root' of 'made.glb' has no joint "
                                "above it; leave the parent out");
    RigFile shifted = rig;
    shifted.hierarchy[1].rest.m[12] += 1.0;
    EXPECT_EQ(
        fitRig(shifted, c).notes,
        std::vector<std::string>{"joint 'mid' has another rest pose in the rig file than in 'made.glb'"});
}

TEST_F(RigFiles, CharacterPathsAreSeenFromTheRigFile) {
    EXPECT_EQ(characterPathFrom("rigs/a.rig.json", "models/a.glb"), "../models/a.glb");
    EXPECT_EQ(characterPathFrom("a.rig.json", "a.glb"), "a.glb");
    EXPECT_EQ(characterPathFrom("rigs/a.rig.json", "/models/a.glb"), "/models/a.glb");
    RigFile rig;
    rig.path = "rigs/a.rig.json";
    rig.mesh.character = "../models/a.glb";
    EXPECT_EQ(rig.characterPath(), "models/a.glb");
    rig.mesh.character = "/models/a.glb";
    EXPECT_EQ(rig.characterPath(), "/models/a.glb");
}

} // namespace
} // namespace rig_files
