// SPDX-License-Identifier: Apache-2.0
// Moving pictures of `grhost deform`, read back by libwebp's own decoder and held against the still picture
// of the same frames. The files are kept without loss, so equal means equal.
#include "host/gltf_writer.h"
#include "host/picture/read_png.h"
#include "journeys/run_grhost.h"

#include <webp/demux.h>

#include <cmath>

namespace talvisora::journeys {
namespace {

using host::Image;

struct Clip {
    std::vector<Image> frames;
    std::vector<int> ends; ///< of each frame, milliseconds
    std::uint32_t stored = 0, loops = 99;
};

Clip decode(const std::string& bytes) {
    Clip clip;
    const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    WebPAnimDecoderOptions options;
    if (!WebPAnimDecoderOptionsInit(&options)) return clip;
    options.color_mode = MODE_RGBA;
    WebPAnimDecoder* decoder = WebPAnimDecoderNew(&data, &options);
    if (!decoder) return clip;
    WebPAnimInfo info;
    WebPAnimDecoderGetInfo(decoder, &info);
    clip.stored = info.frame_count;
    clip.loops = info.loop_count;
    const int width = static_cast<int>(info.canvas_width), height = static_cast<int>(info.canvas_height);
    std::uint8_t* pixels = nullptr;
    int end = 0;
    while (WebPAnimDecoderHasMoreFrames(decoder) && WebPAnimDecoderGetNext(decoder, &pixels, &end)) {
        Image image(width, height, {0, 0, 0});
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x, pixels += 4) image.set(x, y, {pixels[0], pixels[1], pixels[2]});
        clip.frames.push_back(std::move(image));
        clip.ends.push_back(end);
    }
    WebPAnimDecoderDelete(decoder);
    return clip;
}

class MovingPictures : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        // The middle joint turns about z, a right angle in one second.
        gltf_writer::Document bar = gltf_writer::makeBar({});
        const float half = std::sqrt(0.5f);
        gltf_writer::animate(bar, "bend", 2, "rotation", {0.0f, 1.0f}, {0, 0, 0, 1, 0, 0, half, half}, 4);
        write("bar.gltf", bar.text());
    }
    std::string picture(const std::string& name, std::vector<std::string> more) {
        more.insert(more.begin(),
                    {"deform", path("bar.gltf"), "--picture", path(name), "--size", "90x70", "--quiet"});
        const Ran ran = run(more);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        EXPECT_EQ(ran.err, "");
        return fileText(path(name));
    }
};

TEST_F(MovingPictures, HaveAsManyFramesAsAskedForAndTheirTimes) {
    const Clip clip = decode(picture("bar.webp", {"--frames", "1,5,9,13,17", "--fps", "24"}));
    EXPECT_EQ(clip.stored, 5u);
    ASSERT_EQ(clip.frames.size(), 5u);
    EXPECT_EQ(clip.loops, 0u) << "for ever";
    EXPECT_EQ(clip.ends, (std::vector<int>{42, 83, 125, 167, 208})) << "thousandths of k/24 s, rounded";
    for (std::size_t k = 1; k < clip.frames.size(); ++k)
        EXPECT_NE(clip.frames[k].bytes, clip.frames[k - 1].bytes) << k;
}

TEST_F(MovingPictures, ShowTheWholeClipUnlessToldOtherwise) {
    const Json report = Json::parse(run({"deform", path("bar.gltf"), "-o", path("bar.pc2"), "--json"}).out);
    EXPECT_EQ(decode(picture("all.webp", {})).frames.size(), report.at("frames").get<std::size_t>());
    EXPECT_EQ(decode(picture("two.webp", {"--picture-frames", "3-4"})).frames.size(), 2u);
}

TEST_F(MovingPictures, OneFrameIsTheStillPicture) {
    for (const bool baseline : {false, true}) {
        std::vector<std::string> options{"--frames", "9"};
        if (baseline) options.push_back("--baseline");
        const Image still = host::readPng(picture("still.png", options));
        const Clip clip = decode(picture("one.webp", options));
        ASSERT_EQ(clip.frames.size(), 1u);
        EXPECT_EQ(clip.frames[0].width, still.width);
        EXPECT_EQ(clip.frames[0].height, still.height);
        EXPECT_EQ(clip.frames[0].bytes, still.bytes) << (baseline ? "two rows" : "one row");
    }
}

// A still of the same frames has them beside each other, all through the camera that shows every frame; the
// moving picture's camera is that one. So its first frame is the still's first column.
TEST_F(MovingPictures, FirstFrameIsTheStillPicturesFirstColumn) {
    const std::vector<std::string> options{"--frames", "1,9,17", "--picture-frames", "1,9,17"};
    const Image still = host::readPng(picture("still.png", options));
    const Clip clip = decode(picture("three.webp", options));
    ASSERT_EQ(clip.frames.size(), 3u);
    const Image& first = clip.frames[0];
    ASSERT_EQ(first.height, still.height);
    ASSERT_LT(first.width, still.width);
    const int column = 12 + 90; // the margin and the cell; right of it the still has its second one
    for (int y = 0; y < first.height; ++y)
        for (int x = 0; x < column; ++x) ASSERT_EQ(first.at(x, y), still.at(x, y)) << x << ", " << y;
}

TEST_F(MovingPictures, SameInputGivesTheSameBytes) {
    EXPECT_EQ(picture("a.webp", {"--frames", "1-3"}), picture("b.webp", {"--frames", "1-3"}));
}

TEST_F(MovingPictures, MistakesAreOneLineAndLeaveNoFile) {
    struct Case {
        int exitCode;
        std::string said;
        std::vector<std::string> options;
    };
    const std::string webp = path("p.webp");
    const std::vector<Case> cases = {
        {2,
         "--picture " + path("p.gif") + ": use the extension .png, or .webp for a picture that moves",
         {"--picture", path("p.gif")}},
        {2,
         "a moving picture shows at most 90 frames per second; give a smaller --fps",
         {"--picture", webp, "--fps", "91"}},
        {3, "clip", {"--picture", webp, "--picture-frames", "900"}},
        // 91 frames of one second, two cells each, 16 million pixels in a cell: 2912 million
        {2,
         "2912 million pixels, and 2000 are the most; give a smaller --size",
         {"--picture", webp, "--fps", "90", "--size", "4000x4000", "--baseline"}},
        {4, "no_such_folder", {"--picture", path("no_such_folder/p.webp")}},
    };
    for (const Case& mistake : cases) {
        std::vector<std::string> arguments{"deform", path("bar.gltf")};
        arguments.insert(arguments.end(), mistake.options.begin(), mistake.options.end());
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, mistake.exitCode) << ran.err;
        EXPECT_NE(ran.err.find(mistake.said), std::string::npos) << ran.err;
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
        EXPECT_FALSE(fs::exists(webp));
    }
}

} // namespace
} // namespace talvisora::journeys
