// SPDX-License-Identifier: Apache-2.0
// `grhost draw` as a rigger uses it: a bar of seven rings over three joints, drawn in all its ways.
#include "host/gltf_writer.h"
#include "journeys/run_grhost.h"

namespace talvisora::journeys {
namespace {

class Draw : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        write("bar.gltf", gltf_writer::makeBar({}).text());
    }
    Json draw(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"draw", path("bar.gltf"), "--json"});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return ran.out.empty() ? Json() : Json::parse(ran.out);
    }
    // The one line of a failure.
    std::string refused(std::vector<std::string> arguments, int exitCode) {
        arguments.insert(arguments.begin(), {"draw", path("bar.gltf")});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        EXPECT_EQ(ran.out, "");
        return ran.err;
    }
    static std::size_t count(const std::string& text, const std::string& part) {
        std::size_t n = 0;
        for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++n;
        return n;
    }
};

TEST_F(Draw, WritesAPictureOfTheSizeAskedFor) {
    const Json report = draw({"-o", path("bar.png"), "--size", "320x200"});
    const std::string png = fileText(path("bar.png"));
    ASSERT_GT(png.size(), 1000u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
    EXPECT_EQ(static_cast<unsigned char>(png[18]) * 256 + static_cast<unsigned char>(png[19]), 320);
    EXPECT_EQ(static_cast<unsigned char>(png[22]) * 256 + static_cast<unsigned char>(png[23]), 200);
    EXPECT_EQ(report.at("blocks"), 1);
    // Two curves of 60 lines, three lines per frame, and what the bent joints have.
    EXPECT_GE(report.at("lines").get<int>(), 120 + 3 * 7);
}

TEST_F(Draw, PartsChooseWhatIsDrawn) {
    EXPECT_EQ(draw({"-o", path("a.png"), "--parts", "curve"}).at("lines"), 60);
    EXPECT_EQ(draw({"-o", path("a.png"), "--parts", "rest,curve"}).at("lines"), 120);
    EXPECT_EQ(draw({"-o", path("a.png"), "--parts", "none"}).at("lines"), 0);
    EXPECT_EQ(draw({"-o", path("a.png"), "--parts", "frames"}).at("lines").get<int>() % 3, 0);
}

// The labels in the file are those of the points: SVG keeps them as text.
TEST_F(Draw, SvgHoldsTheLabelsAsText) {
    const Json report =
        draw({"-o", path("bar.svg"), "--labels", "index", "--points", "0,5-6", "--rest", "--view", "30,30"});
    const std::string svg = fileText(path("bar.svg"));
    EXPECT_EQ(svg.rfind("<svg ", 0), 0u);
    EXPECT_NE(svg.find("</svg>\n"), std::string::npos);
    EXPECT_GT(count(svg, "<polygon "), 10u);
    EXPECT_GT(count(svg, "<line "), 120u);
    const auto sum = report.at("labels").get<std::size_t>() + report.at("hiddenLabels").get<std::size_t>() +
                     report.at("crowdedLabels").get<std::size_t>();
    EXPECT_EQ(sum, 3u);
    EXPECT_EQ(count(svg, ">0</text>") + count(svg, ">5</text>") + count(svg, ">6</text>"),
              report.at("labels").get<std::size_t>());
    EXPECT_GE(report.at("labels").get<int>(), 1);
}

TEST_F(Draw, ARigFileIsDrawnLikeTheCharacter) {
    ASSERT_EQ(run({"bind", path("bar.gltf"), "-o", path("bar.rig.json"), "--quiet"}).exitCode, 0);
    draw({"-o", path("character.svg")});
    ASSERT_EQ(run({"draw", path("bar.rig.json"), "-o", path("rig.svg")}).exitCode, 0);
    std::string character = fileText(path("character.svg")), rig = fileText(path("rig.svg"));
    const std::size_t at = character.find("bar.gltf");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(character.replace(at, 8, "bar.rig.json"), rig);
}

TEST_F(Draw, RefusesWhatItCannotDoInOneLine) {
    EXPECT_EQ(refused({"-o", path("a.jpg")}, 2),
              "grhost: -o " + path("a.jpg") + ": a .png or .svg expected\n");
    EXPECT_NE(refused({"-o", path("a.png"), "--view", "up"}, 2).find("--view up: front, side"),
              std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--size", "big"}, 2).find("WIDTHxHEIGHT"), std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--block", "leg"}, 2).find("no such block; there are "),
              std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--labels", "weights"}, 2).find("--block NAME"),
              std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--points", "1"}, 2).find("give --labels too"),
              std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--labels", "index", "--points", "9-3"}, 2).find("--points 9-3"),
              std::string::npos);
    EXPECT_NE(refused({"-o", path("a.png"), "--frame", "9999"}, 3).find("has no clips"), std::string::npos);
    EXPECT_NE(refused({"-o", path("no/a.png")}, 4).find("no/a.png"), std::string::npos);
    EXPECT_EQ(listing(), std::vector<std::string>{"bar.gltf"});
}

} // namespace
} // namespace talvisora::journeys
