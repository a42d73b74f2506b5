// SPDX-License-Identifier: Apache-2.0
// Reading rig files: what is understood, and how everything else is refused with its place.
#include "host/rig_file/npy.h"
#include "host/rig_file_fixture.h"

namespace rig_files {
namespace {

TEST_F(RigFiles, EveryKeyIsRead) {
    const RigFile rig = read(smallRig());
    EXPECT_EQ(rig.path, path());
    EXPECT_EQ(rig.units.length, "cm");
    EXPECT_EQ(rig.units.fileUnit, "");
    EXPECT_EQ(rig.units.lengthsPerFileUnit, 100.0);
    EXPECT_EQ(rig.upAxis, "z");
    EXPECT_EQ(rig.mesh.character, "bar.glb");
    EXPECT_EQ(rig.characterPath(), path("bar.glb"));
    EXPECT_EQ(rig.mesh.objects, std::vector<std::string>{"bar"});
    EXPECT_EQ(rig.mesh.points, 4u);
    ASSERT_EQ(rig.hierarchy.size(), 3u);
    EXPECT_EQ(rig.hierarchy[1].joint, "mid");
    EXPECT_EQ(rig.hierarchy[2].parent, "mid");
    EXPECT_EQ(rig.hierarchy[2].joint, "");
    EXPECT_TRUE(rig.hierarchy[2].flag);
    EXPECT_FALSE(rig.hierarchy[1].flag);
    EXPECT_EQ(rig.hierarchy[2].rest.m[13], 0.1);
    ASSERT_EQ(rig.blocks.size(), 1u);
    const RigFileBlock& block = rig.blocks[0];
    EXPECT_EQ(block.env, 0.75f);
    EXPECT_EQ(block.joints, (std::vector<std::string>{"root", "mid", "end"}));
    ASSERT_EQ(block.bends.size(), 1u);
    EXPECT_EQ(block.bends[0].segment, 1);
    EXPECT_EQ(block.bends[0].control, "mid");
    ASSERT_EQ(block.tweaks.size(), 1u);
    std::array<float, 14> amounts{};
    amounts[1] = 0.5f; // not named in the file
    amounts[2] = 2.5f;
    amounts[13] = -1.0f;
    EXPECT_EQ(block.tweaks[0].amounts, amounts);
    EXPECT_EQ(block.weights, (std::vector<float>{0, 0.25f, 1, 0.1f}));
    EXPECT_EQ(block.params, (std::vector<float>{0, 0.5f, 0.5f, 1}));
    EXPECT_EQ(rig.weightMaps[5], (std::vector<float>{1, 1, 0, 1}));
    EXPECT_TRUE(rig.weightMaps[0].empty());
    EXPECT_EQ(rig.blockIndex("bar"), 0u);
    try {
        rig.blockIndex("tail");
        FAIL();
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kUsage);
        EXPECT_EQ(std::string(error.what()), "'" + path() + "' has no block 'tail'; it has bar");
    }
}

TEST_F(RigFiles, WhatMayBeLeftOutHasItsDefault) {
    Json json = smallRig();
    json.erase("weightMaps");
    for (const char* key : {"env", "simple", "bends", "tweaks"}) json["blocks"][0].erase(key);
    const RigFile rig = read(json);
    EXPECT_EQ(rig.blocks[0].env, 1.0f);
    EXPECT_FALSE(rig.blocks[0].simple);
    EXPECT_TRUE(rig.blocks[0].bends.empty() && rig.blocks[0].tweaks.empty());
    for (const auto& map : rig.weightMaps) EXPECT_TRUE(map.empty());
    for (const char* key : {"format", "version", "units", "upAxis", "mesh", "hierarchy", "blocks"}) {
        Json without = smallRig();
        without.erase(key);
        EXPECT_NE(fault(without).find("missing"), std::string::npos) << key << ": " << fault(without);
    }
}

TEST_F(RigFiles, UnknownKeysAreNamedWithTheirPointer) {
    const std::string cure = ": unknown key; mend it, or keep such keys with --keep-unknown";
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
    for (const std::string& place : places) {
        Json json = smallRig();
        json[Json::json_pointer(place)]["we/ird"] = {1, {{"deep", true}}};
        EXPECT_EQ(fault(json), place + "/we~1ird" + cure);
        EXPECT_EQ(fault(json, true), "") << place;
    }
}

struct Broken {
    const char* pointer; ///< what is replaced
    const char* value;   ///< by this
    const char* fault;
};

TEST_F(RigFiles, EveryWrongValueIsNamedWithItsPointer) {
    const Broken cases[] = {
        {"/format", "\"talvisora-capture\"", "/format: \"talvisora-rig\" expected"},
        {"/version", "\"1\"", "/version: whole number expected"},
        {"/version", "1.5", "/version: whole number expected"},
        {"/version", "2",
         "/version: version 2 is newer than this grhost, which reads up to 1; use a newer one"},
        {"/version", "0", "/version: version 0 is not known; this grhost reads version 1"},
        {"/version", "-2000000000", "/version: whole number expected"},
        {"/units/length", "\"inch\"", "/units/length: cm or file expected"},
        {"/units/length", "\"file\"",
         "/units/length: lengths in the file's own numbers go with the unit keep only"},
        {"/units/fileUnit", "\"ft\"", "/units/fileUnit: m, cm, mm, keep or metadata expected"},
        {"/units/lengthsPerFileUnit", "0", "/units/lengthsPerFileUnit: a positive number expected"},
        {"/units/lengthsPerFileUnit", "\"NaN\"", "/units/lengthsPerFileUnit: a positive number expected"},
        {"/upAxis", "\"x\"", "/upAxis: y or z expected"},
        {"/mesh/points", "-1", "/mesh/points: a count expected, -1 found"},
        {"/mesh/points", "4.5", "/mesh/points: whole number expected, fraction found"},
        {"/mesh/points", "9999999999", "/mesh/points: outside the range of 32 bits"},
        {"/mesh/points", "5", "/blocks/0/blockWeights: 5 numbers expected, one per point, 4 found"},
        {"/mesh/topology", "\"12\"", "/mesh/topology: 16 hexadecimal digits expected"},
        {"/mesh/restPositions", "\"0123456789ABCDEF\"",
         "/mesh/restPositions: 16 hexadecimal digits expected"},
        {"/hierarchy/1/name", "\"root\"", "/hierarchy/1/name: 'root' is given twice"},
        {"/hierarchy/0/name", "\"\"", "/hierarchy/0/name: a name expected"},
        {"/hierarchy/0/parent", "\"end\"", "/hierarchy/0/parent: no record above this one is called 'end'"},
        {"/hierarchy/1/parent", "\"mid\"", "/hierarchy/1/parent: no record above this one is called 'mid'"},
        {"/hierarchy/1/joint", "\"root\"", "/hierarchy/1/joint: 'root' moves another record already"},
        {"/hierarchy/1/rest", "[1, 2]", "/hierarchy/1/rest: 16 numbers expected, 2 found"},
        {"/hierarchy/1/rest/5", "\"Infinity\"", "/hierarchy/1/rest: finite numbers expected"},
        {"/hierarchy/1/rest/5", "null", "/hierarchy/1/rest/5: number expected, null found"},
        {"/blocks/0/name", "\"\"", "/blocks/0/name: a name expected"},
        {"/blocks/0/env", "1.5", "/blocks/0/env: a number from 0 to 1 expected"},
        {"/blocks/0/env", "\"NaN\"", "/blocks/0/env: a number from 0 to 1 expected"},
        {"/blocks/0/simple", "1", "/blocks/0/simple: boolean expected, number found"},
        {"/blocks/0/joints/2", "\"tip\"", "/blocks/0/joints/2: 'tip' is not in the hierarchy"},
        {"/blocks/0/bends/0/segment", "2",
         "/blocks/0/bends/0/segment: the block has 2 segments, counted from 0"},
        {"/blocks/0/bends/0/control", "\"x\"", "/blocks/0/bends/0/control: 'x' is not in the hierarchy"},
        {"/blocks/0/tweaks/0/centre", "1",
         "/blocks/0/tweaks/0/centre: the block has 1 centre joints, counted from 0"},
        {"/blocks/0/tweaks/0/centre", "-1",
         "/blocks/0/tweaks/0/centre: the block has 1 centre joints, counted from 0"},
        {"/blocks/0/tweaks/0/collisionTweak", "2",
         "/blocks/0/tweaks/0/collisionTweak: a number from 0 to 1 expected"},
        {"/blocks/0/tweaks/0/bulgeTweak", "1e39", "/blocks/0/tweaks/0/bulgeTweak: a finite number expected"},
        {"/blocks/0/blockWeights/2", "1.01", "/blocks/0/blockWeights/2: a number from 0 to 1 expected"},
        {"/blocks/0/blockWeights/2", "\"NaN\"", "/blocks/0/blockWeights/2: a number from 0 to 1 expected"},
        {"/blocks/0/blockWeights", "0.5", "/blocks/0/blockWeights: list or object expected, number found"},
        {"/blocks/0/params/default", "-0.5", "/blocks/0/params/default: a number from 0 to 1 expected"},
        {"/blocks/0/params/indices/1", "4", "/blocks/0/params/indices/1: no such point; the mesh has 4"},
        {"/blocks/0/params/indices/0", "-1", "/blocks/0/params/indices/0: no such point; the mesh has 4"},
        {"/blocks/0/params/indices/1", "0",
         "/blocks/0/params/indices/1: larger than the one before expected"},
        {"/blocks/0/params/values", "[1]",
         "/blocks/0/params/values: 2 numbers expected, one per index, 1 found"},
        {"/blocks/0/params/values/0", "2", "/blocks/0/params/values/0: a number from 0 to 1 expected"},
        {"/weightMaps", "[]", "/weightMaps: object expected, list found"},
        {"/weightMaps/slideOutTweakWeights", "[1, 1]",
         "/weightMaps/slideOutTweakWeights: 4 numbers expected, one per point, 2 found"},
    };
    for (const Broken& broken : cases) {
        Json json = smallRig();
        json[Json::json_pointer(broken.pointer)] = Json::parse(broken.value);
        EXPECT_EQ(fault(json), broken.fault);
    }
    EXPECT_EQ(faultOfText("{\"format\": \"talvisora-rig\","),
              "not valid JSON at line 1, column 27; mend the text there");
    EXPECT_EQ(faultOfText("[]"), "object expected, list found");
}

TEST_F(RigFiles, SparseListsNeedBothHalves) {
    Json json = smallRig();
    json["blocks"][0]["params"].erase("values");
    EXPECT_EQ(fault(json), "/blocks/0/params/values: indices and values go together");
    json["blocks"][0]["params"].erase("indices");
    EXPECT_EQ(read(json).blocks[0].params, std::vector<float>(4, 0.5f));
    json["blocks"][0]["params"].erase("default");
    EXPECT_NE(fault(json).find("/blocks/0/params/default"), std::string::npos);
    Json twice = smallRig();
    twice["blocks"][0]["tweaks"].push_back({{"centre", 0}});
    EXPECT_EQ(fault(twice), "/blocks/0/tweaks/1/centre: centre joint 0 is given twice");
    twice = smallRig();
    twice["blocks"].push_back(twice["blocks"][0]);
    EXPECT_EQ(fault(twice), "/blocks/1/name: 'bar' is given twice");
}

TEST_F(RigFiles, AHugeCountWithoutValuesIsRefusedAndNotAllocated) {
    Json json = smallRig();
    json["mesh"]["points"] = 2147483647;
    json["blocks"][0]["blockWeights"] = {{"default", 1}};
    json.erase("weightMaps");
    EXPECT_EQ(fault(json), "/blocks/0/blockWeights: more than 268435456 values that only a default gives; "
                           "the number of points cannot be right");
}

TEST_F(RigFiles, ArraysComeFromFilesOfBothFloatTypes) {
    Json json = smallRig();
    json["blocks"][0]["blockWeights"] = {{"file", "w.npy"}};
    write(npyBytes({0.5f, 0.25f, 0.1f, 1.0f}), "w.npy");
    EXPECT_EQ(read(json).blocks[0].weights, (std::vector<float>{0.5f, 0.25f, 0.1f, 1.0f}));

    std::string doubles = npyBytes({0, 0, 0, 0}); // the same header with another type, twice the bytes
    doubles.replace(doubles.find("<f4"), 3, "<f8");
    write(doubles + std::string(16, '\0'), "w.npy");
    EXPECT_EQ(read(json).blocks[0].weights, std::vector<float>(4, 0.0f));
}

TEST_F(RigFiles, EveryWrongArrayFileIsNamed) {
    Json json = smallRig();
    json["blocks"][0]["blockWeights"] = {{"file", "w.npy"}};
    const auto faultWith = [&](const std::string& bytes) {
        write(bytes, "w.npy");
        return fault(json);
    };
    const std::string place = "/blocks/0/blockWeights/file: 'w.npy': ";
    EXPECT_EQ(fault(json), place + "there is no such file; check the path");
    EXPECT_EQ(faultWith(npyBytes({0, 0, 0})),
              place + "4 values expected, one per point, 3 found; save a list of this mesh");
    EXPECT_EQ(faultWith(npyBytes({0, 0, 0, 0}).substr(0, 140)),
              place + "its shape needs 16 bytes of values, it has 12; save it again");
    EXPECT_EQ(faultWith(npyBytes({0, 0, 2, 0})),
              place + "the value of point 2 is not a number from 0 to 1; save it with one");
    EXPECT_EQ(faultWith(npyBytes({0, 0, 0, NAN})),
              place + "the value of point 3 is not a number from 0 to 1; save it with one");
    std::string whole = npyBytes({0, 0, 0, 0});
    whole.replace(whole.find("<f4"), 3, "<i4");
    EXPECT_EQ(faultWith(whole), place + "its values are of type '<i4'; save them as '<f4' or '<f8'");
    std::string square = npyBytes({0, 0, 0, 0});
    square.replace(square.find("(4,), } "), 8, "(2, 2)} ");
    EXPECT_EQ(faultWith(square), place + "it has 2 dimensions; save it with one");
    fs::remove(path("w.npy"));
    fs::create_directory(path("w.npy"));
    EXPECT_EQ(fault(json), place + "it is a folder; name a file in it");
}

TEST_F(RigFiles, ReferencesStayInTheFolderOfTheRigFile) {
    fs::create_directory(folder / "sub");
    write(npyBytes({1, 1, 1, 1}), "sub/w.npy");
    Json json = smallRig();
    const auto faultOf = [&](const std::string& reference) {
        json["blocks"][0]["params"] = {{"file", reference}};
        return fault(json);
    };
    EXPECT_EQ(faultOf("sub/w.npy"), "");
    EXPECT_EQ(faultOf("./sub/w.npy"), "");
    for (const std::string& reference :
         {std::string("../") + folder.filename().string() + "/sub/w.npy", std::string("sub/../sub/w.npy"),
          path("sub/w.npy"), std::string(""), std::string("sub\\w.npy"), std::string("C:w.npy")})
        EXPECT_EQ(faultOf(reference), "/blocks/0/params/file: '" + reference +
                                          "' does not lie in the rig file's folder; write a path that starts "
                                          "from there");
}

TEST_F(RigFiles, VersionsAreLedUpByConverters) {
    // A reader whose present version is 3, over a row of converters that each leave a mark.
    RigVersions versions;
    versions.present = 3;
    for (const int from : {1, 2})
        versions.from[from] = [from](JsonValue::Object& document) {
            document["mark" + std::to_string(from)] = JsonValue(std::string("was here"));
        };
    const auto upgraded = [&](const char* text) {
        JsonValue json = parseJson(text);
        upgradeRigDocument(*json.object(), versions);
        std::string keys;
        for (const auto& [key, value] : *json.object()) keys += key + " ";
        EXPECT_EQ(json.object()->at("version").number()->nearest, 3.0);
        return keys;
    };
    EXPECT_EQ(upgraded(R"({"version": 1})"), "mark1 mark2 version ");
    EXPECT_EQ(upgraded(R"({"version": 2})"), "mark2 version ");
    EXPECT_EQ(upgraded(R"({"version": 3})"), "version ");
    EXPECT_THROW(upgraded(R"({"version": 0})"), HostError);
    EXPECT_THROW(upgraded(R"({"version": 4})"), HostError);
    EXPECT_EQ(rigVersions().present, 1);
    EXPECT_TRUE(rigVersions().from.empty());
}

TEST_F(RigFiles, AConverterMakesAnOldFileReadable) {
    // As if in a version 0 the axis had been called "up".
    RigVersions versions;
    versions.from[0] = [](JsonValue::Object& document) {
        auto axis = document.extract("up");
        if (axis.empty()) return;
        axis.key() = "upAxis";
        document.insert(std::move(axis));
    };
    Json json = smallRig();
    json["version"] = 0;
    json["up"] = json["upAxis"];
    json.erase("upAxis");
    EXPECT_EQ(readRigFile(write(json.dump()), {false, &versions}).upAxis, "z");
    EXPECT_THROW(readRigFile(path()), HostError);
}

TEST_F(RigFiles, BrokenTextNeverDoesHarm) {
    const std::string good = smallRig().dump();
    std::size_t refused = 0;
    for (std::size_t size = 0; size < good.size(); size += 7)
        refused += faultOfText(good.substr(0, size)).empty() ? 0 : 1;
    EXPECT_EQ(refused, (good.size() + 6) / 7);
    for (std::size_t at = 0; at < good.size(); at += 11)
        for (const char c : {'9', '"', '[', '}'}) {
            std::string text = good;
            text[at] = c;
            faultOfText(text); // read or refused with a line, checked inside
        }
}

} // namespace
} // namespace rig_files
