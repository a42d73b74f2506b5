// SPDX-License-Identifier: Apache-2.0
// Frame names, and files read back with a line reader of the test's own.
#include "host/writers/obj_writer.h"

#include "host/writers/sample_meshes.h"
#include "host/writers/temp_folder.h"

#include <clocale>
#include <cmath>
#include <locale>
#include <sstream>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

TEST(FramePath, NumberStandsInFrontOfTheExtension) {
    EXPECT_EQ(framePath("out/bull.obj", 1), "out/bull.0001.obj");
    EXPECT_EQ(framePath("bull.obj", 123), "bull.0123.obj");
    EXPECT_EQ(framePath("bull.obj", 12345), "bull.12345.obj");
    EXPECT_EQ(framePath("bull.v2.obj", 0), "bull.v2.0000.obj");
}

TEST(FramePath, RunOfHashesIsReplaced) {
    EXPECT_EQ(framePath("out/bull_###.obj", 7), "out/bull_007.obj");
    EXPECT_EQ(framePath("##-#.obj", 12), "##-12.obj");
    EXPECT_EQ(framePath("#.obj", 12), "12.obj");
}

TEST(FramePath, FoldersAreLeftAlone) {
    EXPECT_EQ(framePath("take#3/bull.obj", 2), "take#3/bull.0002.obj");
    EXPECT_EQ(framePath("out.v1/bull", 2), "out.v1/bull.0002");
    EXPECT_EQ(framePath("out/.bull", 2), "out/.bull.0002");
}

TEST(FramePath, NegativeFramesKeepTheirSign) {
    EXPECT_EQ(framePath("a.obj", -5), "a.-0005.obj");
    EXPECT_EQ(framePath("a#.obj", -2147483647 - 1), "a-2147483648.obj");
}

struct Read {
    std::vector<std::string> objects;
    std::vector<Vec3d> v, vn;
    std::vector<std::array<double, 2>> vt;
    std::vector<std::vector<std::string>> faces;
};

Read readObj(const std::string& path) {
    Read read;
    std::istringstream lines(readText(path));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        std::string keyword, word;
        words >> keyword;
        Vec3d xyz;
        std::array<double, 2> uv{};
        if (keyword == "o" && words >> word) read.objects.push_back(word);
        if (keyword == "v" && words >> xyz.x >> xyz.y >> xyz.z) read.v.push_back(xyz);
        if (keyword == "vn" && words >> xyz.x >> xyz.y >> xyz.z) read.vn.push_back(xyz);
        if (keyword == "vt" && words >> uv[0] >> uv[1]) read.vt.push_back(uv);
        if (keyword == "f") {
            read.faces.emplace_back();
            while (words >> word) read.faces.back().push_back(word);
        }
    }
    return read;
}

using Face = std::vector<std::string>;

TEST(ObjWriter, MeshesReadBackAsWritten) {
    TempFolder folder;
    writeObj(folder.file("a.obj"), sampleMeshes(), samplePoints());
    const Read read = readObj(folder.file("a.obj"));
    EXPECT_EQ(read.objects, (std::vector<std::string>{"sheet", "small_corner"}));
    ASSERT_EQ(read.v.size(), 11u);
    const std::size_t order[] = {0, 1, 4, 3, 1, 2, 5, 4, 2, 6, 5};
    for (std::size_t v = 0; v < 11; ++v) {
        const Vec3d expected = samplePoints()[order[v]];
        EXPECT_EQ(static_cast<float>(read.v[v].x), static_cast<float>(expected.x));
        EXPECT_EQ(static_cast<float>(read.v[v].y), static_cast<float>(expected.y));
        EXPECT_EQ(static_cast<float>(read.v[v].z), static_cast<float>(expected.z))
            << "nine digits keep a float";
    }
    ASSERT_EQ(read.vt.size(), 8u);
    EXPECT_EQ(static_cast<float>(read.vt[7][1]), 0.9f);
    ASSERT_EQ(read.faces.size(), 3u);
    EXPECT_EQ(read.faces[0], (Face{"1/1", "2/2", "3/3", "4/4"}));
    EXPECT_EQ(read.faces[1], (Face{"5/5", "6/6", "7/7", "8/8"}));
    EXPECT_EQ(read.faces[2], (Face{"9", "10", "11"}));
}

TEST(ObjWriter, IndicesCountThroughAllObjects) {
    TempFolder folder;
    const std::vector<OutputMesh> two = sampleMeshes();
    writeObj(folder.file("a.obj"), {two[0], two[1], two[0]}, samplePoints());
    const Read read = readObj(folder.file("a.obj"));
    ASSERT_EQ(read.faces.size(), 5u);
    EXPECT_EQ(read.faces[2], (Face{"9", "10", "11"}));
    EXPECT_EQ(read.faces[3], (Face{"12/9", "13/10", "14/11", "15/12"}))
        << "fewer texture coordinates than vertices";
}

TEST(ObjWriter, NormalsOfASeamAreSmooth) {
    TempFolder folder;
    writeObj(folder.file("a.obj"), sampleMeshes(), samplePoints(), true);
    const Read read = readObj(folder.file("a.obj"));
    ASSERT_EQ(read.vn.size(), 11u);
    EXPECT_EQ(read.faces[0], (Face{"1/1/1", "2/2/2", "3/3/3", "4/4/4"}));
    EXPECT_EQ(read.faces[2], (Face{"9//9", "10//10", "11//11"}));
    EXPECT_EQ(read.vn[0], (Vec3d{0, 0, 1})) << "only the level quad touches it";
    EXPECT_EQ(read.vn[1], read.vn[4]) << "both vertices of the seam";
    EXPECT_LT(read.vn[1].x, -0.1) << "leans with the rising quad";
    EXPECT_NEAR(length(read.vn[1]), 1.0, 1e-8);
}

struct CommaNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(ObjWriter, DecimalSignDoesNotFollowTheLocale) {
    // Not every machine has a locale with a decimal comma for the C library; streams always can be given one.
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) std::setlocale(LC_NUMERIC, "fr_FR.UTF-8");
    const std::locale streamsBefore = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    TempFolder folder;
    writeObj(folder.file("a.obj"), sampleMeshes(), samplePoints());
    std::locale::global(streamsBefore);
    std::setlocale(LC_NUMERIC, before.c_str());
    const std::string text = readText(folder.file("a.obj"));
    EXPECT_EQ(text.find(','), std::string::npos);
    EXPECT_NE(text.find("v 3 0.5 0.333333333\n"), std::string::npos);
}

TEST(ObjWriter, BadMeshesAndPointsLeaveNoFile) {
    TempFolder folder;
    const std::string path = folder.file("a.obj");
    const auto write = [&](const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points) {
        return errorOf([&] { writeObj(path, meshes, points); });
    };
    const std::string start = "cannot write '" + path + "': ";
    std::vector<OutputMesh> meshes = sampleMeshes();
    meshes[0].pointOfVertex[3] = 7;
    EXPECT_EQ(write(meshes, samplePoints()), start + "mesh 'sheet' names point 7, but there are only 7");
    meshes = sampleMeshes();
    meshes[0].faceVertices[3] = 8;
    EXPECT_EQ(write(meshes, samplePoints()),
              start + "mesh 'sheet' has a face with vertex 8, but there are only 8");
    meshes = sampleMeshes();
    meshes[0].faceCounts[1] = 0xffffffffu;
    EXPECT_EQ(write(meshes, samplePoints()),
              start + "mesh 'sheet' has 8 face corners, its faces ask for 4294967299");
    meshes = sampleMeshes();
    meshes[0].uvs.pop_back();
    EXPECT_EQ(write(meshes, samplePoints()), start + "mesh 'sheet' has 7 texture coordinates for 8 vertices");
    std::vector<Vec3d> points = samplePoints();
    points[2].y = std::nan("");
    EXPECT_NE(write(sampleMeshes(), points).find("point 2 of frame 1 is not a finite number"),
              std::string::npos);
    EXPECT_TRUE(folder.names().empty());
}

TEST(ObjWriter, NamesCannotBreakALine) {
    TempFolder folder;
    std::vector<OutputMesh> meshes = sampleMeshes();
    meshes[0].name = "a\nf 1 2 3";
    meshes[1].name.clear();
    writeObj(folder.file("a.obj"), meshes, samplePoints());
    const Read read = readObj(folder.file("a.obj"));
    EXPECT_EQ(read.objects, (std::vector<std::string>{"a_f_1_2_3", "mesh2"}));
    EXPECT_EQ(read.faces.size(), 3u);
}

} // namespace
} // namespace talvisora::host
