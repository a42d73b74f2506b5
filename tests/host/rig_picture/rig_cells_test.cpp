// SPDX-License-Identifier: Apache-2.0
// What the cells of a rig's pictures hold, from four points whose weights are known; and how the files of one
// picture per block are called.
#include "host/rig_picture/rig_cells.h"

#include "host/host_error.h"
#include "host/picture/read_png.h"
#include "host/writers/temp_folder.h"

#include <cmath>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

AutoRig twoBlocks() {
    AutoRig rig;
    rig.blocks.resize(2);
    rig.blocks[0].name = "arm";
    rig.blocks[0].weights = {1.0f, 0.5f, 0.0f, 0.5f};
    rig.blocks[0].params = {0.1f, 0.2f, 0.3f, 0.4f};
    rig.blocks[1].name = "tail";
    rig.blocks[1].weights = {0.0f, 0.5f, 0.0f, 0.25f};
    rig.blocks[1].params = {0.5f, 0.6f, 0.7f, 0.8f};
    return rig;
}

TEST(RigCells, ShowEachBlocksWeightsAndTellTheirRange) {
    const auto cells = rigCells(twoBlocks(), 4, PictureOf::kWeights, {});
    ASSERT_EQ(cells.size(), 2u);
    EXPECT_EQ(cells[0].name, "arm");
    EXPECT_EQ(cells[0].note, "0.50 to 1.00 on 3 points");
    EXPECT_EQ(cells[0].values.values, (std::vector<float>{1.0f, 0.5f, 0.0f, 0.5f}));
    EXPECT_EQ(cells[0].values.nothing, 0.0f) << "points without weight are grey";
    EXPECT_EQ(cells[1].note, "0.25 to 0.50 on 2 points");
    EXPECT_TRUE(cells[1].values.marks.empty());
}

TEST(RigCells, ShowParametersOnlyWhereTheBlockActs) {
    AutoRig rig = twoBlocks();
    auto cells = rigCells(rig, 4, PictureOf::kParams, {});
    EXPECT_EQ(cells[0].note, "0.10 to 0.40 on 3 points");
    EXPECT_TRUE(std::isnan(cells[0].values.values[2]));
    EXPECT_EQ(cells[0].values.values[3], 0.4f);
    EXPECT_LT(cells[0].values.nothing, 0.0f) << "parameter 0 is a value";
    rig.blocks[1].weights = {0, 0, 0, 0};
    cells = rigCells(rig, 4, PictureOf::kParams, {});
    EXPECT_EQ(cells[1].values.values, rig.blocks[1].params);
    EXPECT_EQ(cells[1].note, "0.50 to 0.80 on 4 points, acts on none");
}

TEST(RigCells, ShowWhatStaysBehindAndWhatIsMissingFromOne) {
    const auto cells = rigCells(twoBlocks(), 4, PictureOf::kLeftBehind, {});
    ASSERT_EQ(cells.size(), 2u);
    // Products of 1 - weight, and 1 - sum.
    EXPECT_EQ(cells[0].values.values, (std::vector<float>{0.0f, 0.25f, 1.0f, 0.375f}));
    EXPECT_EQ(cells[0].values.marks, (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(cells[0].note, "0.25 to 1.00 on 3 points");
    EXPECT_EQ(cells[1].values.values, (std::vector<float>{0.0f, 0.0f, 1.0f, 0.25f}));
    EXPECT_EQ(cells[1].values.marks, (std::vector<std::uint32_t>{2, 3}));
}

TEST(RigCells, PutMarkedPointsFirstAndStopMarkingWhenThereAreTooMany) {
    const auto cells = rigCells(twoBlocks(), 4, PictureOf::kWeights, {"findings", {2, 77}});
    ASSERT_EQ(cells.size(), 3u);
    EXPECT_EQ(cells[0].name, "findings");
    EXPECT_EQ(cells[0].note, "2 points");
    EXPECT_EQ(cells[0].values.values, (std::vector<float>{0, 0, 0, 0})) << "the mesh stays grey";
    EXPECT_EQ(cells[0].values.marks, (std::vector<std::uint32_t>{2, 77}));
    std::vector<std::uint32_t> many(kMostMarks + 1);
    for (std::size_t k = 0; k < many.size(); ++k) many[k] = static_cast<std::uint32_t>(k);
    const auto crowd = rigCells({}, 100, PictureOf::kWeights, {"x", many});
    EXPECT_TRUE(crowd[0].values.marks.empty());
    EXPECT_EQ(crowd[0].values.values, std::vector<float>(100, 1.0f)) << "points past the end are passed over";
    many.pop_back();
    EXPECT_EQ(rigCells({}, 1000, PictureOf::kWeights, {"x", many})[0].values.marks.size(), kMostMarks);
}

// A character of one triangle, for what goes on around the drawing.
Character triangle() {
    Character character;
    CharacterMesh mesh;
    character.points = mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    mesh.pointOfVertex = {0, 1, 2, 3};
    mesh.triangles = {{0, 1, 2}, {1, 3, 2}};
    character.meshes.push_back(mesh);
    return character;
}

TEST(RigPicture, WritesOneFilePerBlockUnderNamesThatStayApart) {
    TempFolder folder;
    AutoRig rig = twoBlocks();
    rig.blocks[0].name = "Arm/L";
    rig.blocks[1].name = "arm:l";
    RigPictureOptions options;
    options.path = folder.file("hero_%b.png");
    options.size = "40x40";
    const RigPicture picture(options, folder.file("hero.glb"), {folder.file("hero.rig.json")});
    EXPECT_EQ(picture.write(triangle(), rig, false),
              (std::vector<std::string>{folder.file("hero_Arm_L.png"), folder.file("hero_arm_l_2.png")}));
    for (const char* name : {"hero_Arm_L.png", "hero_arm_l_2.png"})
        EXPECT_GT(readPng(readText(folder.file(name))).width, 80) << name;
    EXPECT_EQ(folder.names().size(), 2u);
}

TEST(RigPicture, NeverReplacesAnotherFileOfTheRun) {
    TempFolder folder;
    const auto refused = [&](const std::string& path, const std::string& output) {
        return errorOf(
            [&] {
                RigPictureOptions options;
                options.path = path;
                options.size = "40x40";
                RigPicture(options, folder.file("hero.glb"), {output}).write(triangle(), twoBlocks(), false);
            },
            ExitCode::kUsage);
    };
    const std::string same = folder.file("x.png");
    EXPECT_NE(refused(same, same).find("the same file as -o"), std::string::npos);
    EXPECT_NE(refused(folder.file("%b.png"), folder.file("tail.png")).find("tail.png"), std::string::npos)
        << "found when the block's name is known";
    EXPECT_TRUE(folder.names().empty()) << "and before anything is written";
    EXPECT_NE(refused(folder.file("%b/x.png"), "").find("%b stands for the block"), std::string::npos);
}

TEST(RigPicture, RefusesASheetThatWouldNotFit) {
    TempFolder folder;
    AutoRig rig;
    rig.blocks.assign(5, twoBlocks().blocks[0]);
    RigPictureOptions options;
    options.path = folder.file("x.png");
    options.size = "4000x4000";
    options.view = "front";
    EXPECT_NE(errorOf([&] {
                  RigPicture(options, "hero.glb", {}).write(triangle(), rig, false);
              }).find("one sheet of 5 cells would be too large"),
              std::string::npos);
    EXPECT_TRUE(folder.names().empty());
}

TEST(RigPicture, ViewsAndSizesAreReadStrictly) {
    for (const char* size : {"", "300", "x", "300x", "x300", "300x39", "4001x300", "-300x300", "300x300 ",
                             "300X300", "99999999999x300"})
        EXPECT_THROW(pictureSizeNamed(size), HostError) << size;
    EXPECT_EQ(pictureSizeNamed("40x4000").width, 40);
    EXPECT_EQ(pictureSizeNamed("40x4000").height, 4000);
    RigPictureOptions options;
    for (const char* view : {"", "front,", "under", "front side"}) {
        options.view = view;
        EXPECT_THROW(RigPicture(options, "", {}), HostError) << view;
    }
}

} // namespace
} // namespace talvisora::host
