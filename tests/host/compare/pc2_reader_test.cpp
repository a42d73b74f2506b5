// SPDX-License-Identifier: Apache-2.0
// What the writer wrote comes back; a header that does not fit its file is refused before anything is
// allocated for it.
#include "host/compare/pc2_reader.h"

#include "host/host_error.h"
#include "host/writers/pc2_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace talvisora::host {
namespace {

class Pc2ReaderTest : public testing::Test {
protected:
    Pc2ReaderTest()
        : path_((std::filesystem::temp_directory_path() / ("reader_" + std::to_string(getpid()) + ".pc2"))
                    .string()) {
        Pc2Writer writer(path_, 2, 3, 5.0f, 2.0f);
        for (int k = 0; k < 3; ++k) writer.addFrame({{k + 0.5, 1, 2}, {3, 4, -k * 1.0}});
        writer.close();
        std::ifstream file(path_, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
    }
    ~Pc2ReaderTest() override { std::filesystem::remove(path_); }

    // The error of a file with these bytes; empty when it is taken.
    std::string refusal(const std::string& bytes) {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
        try {
            Pc2Reader reader(path_);
            return {};
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, ExitCode::kInput);
            return error.what();
        }
    }

    std::string path_, bytes_;
};

TEST_F(Pc2ReaderTest, ReadsBackWhatWasWritten) {
    Pc2Reader reader(path_);
    ASSERT_EQ(reader.pointCount(), 2u);
    ASSERT_EQ(reader.frameCount(), 3u);
    EXPECT_EQ(reader.frameNumber(2), 9);
    std::vector<Vec3d> points;
    for (int k = 0; k < 3; ++k) {
        reader.readFrame(points);
        ASSERT_EQ(points.size(), 2u);
        EXPECT_EQ(points[0].x, k + 0.5);
        EXPECT_EQ(points[1].z, -k * 1.0);
    }
    EXPECT_THROW(reader.readFrame(points), HostError);
}

TEST_F(Pc2ReaderTest, RefusesWhatDoesNotFit) {
    EXPECT_EQ(refusal(bytes_), "");
    EXPECT_NE(refusal("").find("shorter than the header"), std::string::npos);
    EXPECT_NE(refusal(bytes_.substr(0, 31)).find("shorter than the header"), std::string::npos);
    EXPECT_NE(refusal(bytes_.substr(0, bytes_.size() - 1)).find("not as long"), std::string::npos);
    EXPECT_NE(refusal(bytes_ + "x").find("not as long"), std::string::npos);
    EXPECT_NE(refusal("X" + bytes_.substr(1)).find("no point cache"), std::string::npos);
    std::string version = bytes_;
    version[12] = 2;
    EXPECT_NE(refusal(version).find("version 2"), std::string::npos);
    // Counts whose product does not fit 64 bits of bytes, and points without frames.
    std::string huge = bytes_.substr(0, 32);
    for (const int at : {16, 17, 18, 19, 28, 29, 30, 31}) huge[static_cast<std::size_t>(at)] = '\xff';
    EXPECT_NE(refusal(huge).find("not as long"), std::string::npos);
    std::string none = bytes_;
    for (const int at : {28, 29, 30, 31}) none[static_cast<std::size_t>(at)] = 0;
    EXPECT_NE(refusal(none).find("not as long"), std::string::npos);
}

} // namespace
} // namespace talvisora::host
