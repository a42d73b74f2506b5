// SPDX-License-Identifier: Apache-2.0
// The file is read back byte by byte, with numbers put together here and not by the writer's helpers.
#include "host/writers/pc2_writer.h"

#include "host/writers/sample_meshes.h"
#include "host/writers/temp_folder.h"

#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

std::int32_t intAt(const std::string& bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value += static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(offset + i))) << (8 * i);
    return static_cast<std::int32_t>(value);
}

float floatAt(const std::string& bytes, std::size_t offset) {
    const std::int32_t bits = intAt(bytes, offset);
    float value;
    std::memcpy(&value, &bits, 4);
    return value;
}

TEST(Pc2Writer, HeaderAndFramesReadBackByteByByte) {
    TempFolder folder;
    const std::string path = folder.file("a.pc2");
    Pc2Writer writer(path, 2, 3, 7.0f);
    for (int f = 0; f < 3; ++f) writer.addFrame({{f + 0.5, -1.0, 1.0 / 3.0}, {1e-20, 1e20, f * 10.0}});
    EXPECT_FALSE(std::filesystem::exists(path));
    writer.close();

    const std::string bytes = readText(path);
    ASSERT_EQ(bytes.size(), 32u + 3 * 2 * 12);
    EXPECT_EQ(bytes.substr(0, 12), std::string("POINTCACHE2\0", 12));
    EXPECT_EQ(intAt(bytes, 12), 1) << "version";
    EXPECT_EQ(intAt(bytes, 16), 2) << "points";
    EXPECT_EQ(floatAt(bytes, 20), 7.0f) << "start frame";
    EXPECT_EQ(floatAt(bytes, 24), 1.0f) << "frames per sample";
    EXPECT_EQ(intAt(bytes, 28), 3) << "samples";
    for (int f = 0; f < 3; ++f) {
        const std::size_t at = 32 + static_cast<std::size_t>(f) * 24;
        EXPECT_EQ(floatAt(bytes, at), static_cast<float>(f) + 0.5f);
        EXPECT_EQ(floatAt(bytes, at + 4), -1.0f);
        EXPECT_EQ(floatAt(bytes, at + 8), 1.0f / 3.0f);
        EXPECT_EQ(floatAt(bytes, at + 12), 1e-20f);
        EXPECT_EQ(floatAt(bytes, at + 16), 1e20f);
        EXPECT_EQ(floatAt(bytes, at + 20), static_cast<float>(f) * 10.0f);
    }
}

TEST(Pc2Writer, BytesAreLittleEndian) {
    TempFolder folder;
    Pc2Writer writer(folder.file("a.pc2"), 1, 1, 1.0f);
    writer.addFrame({{1.0, -2.0, 0.0}});
    writer.close();
    const std::string bytes = readText(folder.file("a.pc2"));
    EXPECT_EQ(bytes.substr(16, 4), std::string("\x01\0\0\0", 4));
    EXPECT_EQ(bytes.substr(32), std::string("\0\0\x80\x3f\0\0\0\xc0\0\0\0\0", 12));
}

TEST(Pc2Writer, TooFewFramesLeaveNoFile) {
    TempFolder folder;
    {
        Pc2Writer writer(folder.file("a.pc2"), 1, 2, 1.0f);
        writer.addFrame({{}});
        EXPECT_EQ(errorOf([&] { writer.close(); }),
                  "cannot write '" + folder.file("a.pc2") + "': 1 frame of the announced 2");
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(Pc2Writer, TooManyFramesAreRefused) {
    TempFolder folder;
    Pc2Writer writer(folder.file("a.pc2"), 1, 1, 1.0f);
    writer.addFrame({{}});
    EXPECT_EQ(errorOf([&] { writer.addFrame({{}}); }),
              "cannot write '" + folder.file("a.pc2") + "': more than the announced 1 frame");
}

TEST(Pc2Writer, WrongNumberOfPointsIsRefused) {
    TempFolder folder;
    Pc2Writer writer(folder.file("a.pc2"), 2, 1, 1.0f);
    EXPECT_EQ(errorOf([&] { writer.addFrame({{}}); }),
              "cannot write '" + folder.file("a.pc2") + "': frame 1 has 1 point instead of 2");
}

TEST(Pc2Writer, NumbersThatNoFloatHoldsAreRefused) {
    TempFolder folder;
    for (const double bad : {std::nan(""), HUGE_VAL, 1e39}) {
        Pc2Writer writer(folder.file("a.pc2"), 2, 1, 1.0f);
        const std::string error = errorOf([&] { writer.addFrame({{}, {0.0, bad, 0.0}}); });
        EXPECT_NE(error.find("point 1 of frame 1 is not a finite number"), std::string::npos) << error;
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(Pc2Writer, HoldsTheVerticesOfSplitMeshesInOrder) {
    std::vector<Vec3d> vertices;
    splitToVertices(sampleMeshes(), samplePoints(), vertices);
    ASSERT_EQ(vertices.size(), 11u);
    EXPECT_EQ(vertexCount(sampleMeshes()), 11u);
    const std::size_t order[] = {0, 1, 4, 3, 1, 2, 5, 4, 2, 6, 5};
    for (std::size_t v = 0; v < 11; ++v) EXPECT_EQ(vertices[v], samplePoints()[order[v]]);
}

} // namespace
} // namespace talvisora::host
