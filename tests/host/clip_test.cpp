// SPDX-License-Identifier: Apache-2.0
// Clips: names and frames as people type them, and sampling against closed forms.
#include "host/character/clip.h"
#include "host/gltf_writer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace talvisora;
using namespace talvisora::host;
using gltf_writer::animate;
using gltf_writer::Document;
using gltf_writer::makeBar;
using gltf_writer::TempFolder;

Character readText(const Document& document) {
    const TempFolder folder;
    return readCharacter(folder.write("bar.gltf", document.text()), {FileUnit::kKeep});
}

Character withClips(const std::vector<std::pair<std::string, double>>& clips) {
    Character c;
    c.path = "some.glb";
    for (const auto& [name, seconds] : clips) {
        Clip clip;
        clip.name = name;
        clip.seconds = seconds;
        c.clips.push_back(clip);
    }
    return c;
}

template <typename Call>
std::string errorOf(ExitCode code, const Call& call) {
    try {
        call();
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, code) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "no error";
    return {};
}

void expectNear(const Vec3d& a, const Vec3d& b, double tolerance) {
    EXPECT_LE(length(a - b), tolerance) << a.x << " " << a.y << " " << a.z;
}

constexpr float kHalf = 0.70710678f; // sine and cosine of an eighth of a turn

TEST(FindClip, TakesTheNameOrAUniquePartOfIt) {
    const Character c = withClips({{"Wuson_Run", 1}, {"Wuson_Walk", 2}, {"Run", 1}, {"RUNAWAY", 1}});
    EXPECT_EQ(findClip(c, "Wuson_Walk"), 1u);
    EXPECT_EQ(findClip(c, "walk"), 1u);
    EXPECT_EQ(findClip(c, "Run"), 2u); // the exact name wins over those that contain it
    EXPECT_EQ(findClip(c, "AWAY"), 3u);
}

TEST(FindClip, WithoutATextTakesTheFirstThatHasAnyLength) {
    EXPECT_EQ(findClip(withClips({{"Bind", 0}, {"Run", 1}}), ""), 1u);
    EXPECT_EQ(findClip(withClips({{"Bind", 0}}), ""), 0u);
}

TEST(FindClip, UnknownAndAmbiguousTextsListTheClips) {
    const Character c = withClips({{"Wuson_Run", 1}, {"Wuson_Walk", 2}});
    EXPECT_EQ(errorOf(ExitCode::kInput, [&] { findClip(c, "Fly"); }),
              "'some.glb' has no clip 'Fly'; it has 'Wuson_Run', 'Wuson_Walk'");
    EXPECT_EQ(errorOf(ExitCode::kInput, [&] { findClip(c, "wuson"); }),
              "'wuson' names several clips of 'some.glb': 'Wuson_Run', 'Wuson_Walk'; give more of the name");
    EXPECT_NE(errorOf(ExitCode::kInput, [&] { findClip(withClips({}), "Run"); }).find("no clips"),
              std::string::npos);
}

TEST(Frames, TheLastOneIsTheLastInsideTheClip) {
    Clip clip;
    const auto last = [&](double seconds, double fps) {
        clip.seconds = seconds;
        return lastFrame(clip, fps);
    };
    EXPECT_EQ(last(0.0, 24), 1);
    EXPECT_EQ(last(1.0, 24), 25);
    EXPECT_EQ(last(0.99, 24), 24);
    EXPECT_EQ(last(4640.0 / 4800.0, 30), 30);
    EXPECT_EQ(last(17280.0 / 4800.0, 30), 109);
    EXPECT_DOUBLE_EQ(frameSeconds(1, 24), 0.0);
    EXPECT_DOUBLE_EQ(frameSeconds(25, 24), 1.0);
}

TEST(Frames, RangesListsAndMixturesAreRead) {
    EXPECT_EQ(parseFrames("", 3), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(parseFrames("all", 2), (std::vector<int>{1, 2}));
    EXPECT_EQ(parseFrames("2", 3), (std::vector<int>{2}));
    EXPECT_EQ(parseFrames("2-4", 4), (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(parseFrames("1,12,24", 24), (std::vector<int>{1, 12, 24}));
    EXPECT_EQ(parseFrames("5,1-2", 5), (std::vector<int>{5, 1, 2}));
}

TEST(Frames, OnePastTheEndNamesTheLastOne) {
    EXPECT_EQ(errorOf(ExitCode::kInput, [] { parseFrames("1-49", 48); }),
              "frame 49 lies outside the clip; its frames are 1 to 48");
    EXPECT_EQ(errorOf(ExitCode::kInput, [] { parseFrames("0", 48); }),
              "frame 0 lies outside the clip; its frames are 1 to 48");
    EXPECT_NE(errorOf(ExitCode::kInput, [] { parseFrames("99999999999999999999", 48); }).find("1 to 48"),
              std::string::npos);
    EXPECT_NE(errorOf(ExitCode::kInput, [] { parseFrames("all", 2000000000); }).find("million"),
              std::string::npos);
}

TEST(Frames, OtherTextIsWrongUsage) {
    for (const char* text : {"x", "1-", "-3", "3-1", "1,,2", "1,", ",1", "1 2", "1-2-3", "all,1"})
        EXPECT_NE(errorOf(ExitCode::kUsage, [&] { parseFrames(text, 48); }).find(text), std::string::npos)
            << text;
}

TEST(SamplePose, PositionsRunStraightAndHoldOutsideTheKeys) {
    Document d = makeBar({});
    animate(d, "move", 1, "translation", {1.0f, 3.0f}, {0, 0, 0, 4, 8, 0}, 3);
    const Character c = readText(d);
    const auto at = [&](double seconds) { return translation(samplePose(c, c.clips[0], seconds).world[0]); };
    expectNear(at(0.0), {0, 0, 0}, 1e-6);
    expectNear(at(2.0), {2, 4, 0}, 1e-6);
    expectNear(at(2.5), {3, 6, 0}, 1e-6);
    expectNear(at(9.0), {4, 8, 0}, 1e-6);
}

TEST(SamplePose, RotationsGoTheShorterWayRound) {
    Document d = makeBar({});
    // A quarter turn about z, its second key with the opposite sign: the same turn, and no longer way round.
    animate(d, "turn", 1, "rotation", {0.0f, 1.0f}, {0, 0, 0, 1, 0, 0, -kHalf, -kHalf}, 4);
    const Character c = readText(d);
    const double third = 3.14159265358979323846 / 6.0; // a third of the quarter turn
    const Pose pose = samplePose(c, c.clips[0], 1.0 / 3.0);
    expectNear(row(pose.world[0], 0), {std::cos(third), std::sin(third), 0}, 1e-6);
    expectNear(translation(pose.world[1]), {-std::sin(third), std::cos(third), 0}, 1e-6);
}

TEST(SamplePose, ComponentsWithoutKeysKeepTheLoadedPose) {
    Document d = makeBar({});
    d.root["nodes"][2]["scale"] = {1.0, 2.0, 1.0};
    d.root["nodes"][2]["rotation"] = {0.0, 0.0, kHalf, kHalf};
    animate(d, "move", 2, "translation", {0.0f, 1.0f}, {0, 1, 0, 0, 5, 0}, 3);
    const Character c = readText(d);
    const Pose pose = samplePose(c, c.clips[0], 1.0);
    expectNear(translation(pose.local[1]), {0, 5, 0}, 1e-6);
    expectNear(row(pose.local[1], 0), {0, 1, 0}, 1e-6);
    expectNear(row(pose.local[1], 1), {-2, 0, 0}, 1e-6);
}

TEST(SamplePose, WorldIsLocalTimesTheParentsWorld) {
    Document d = makeBar({});
    animate(d, "turn", 2, "rotation", {0.0f, 1.0f}, {0, 0, 0, 1, kHalf, 0, 0, kHalf}, 4);
    const Character c = readText(d);
    const Pose pose = samplePose(c, c.clips[0], 0.7);
    const Pose back = poseFromWorld(c, pose.world);
    for (std::size_t j = 1; j < c.joints.size(); ++j) {
        const Matrix44d product = pose.local[j] * pose.world[j - 1];
        for (int r = 0; r < 4; ++r) {
            expectNear(row(product, r), row(pose.world[j], r), 1e-12);
            expectNear(row(back.local[j], r), row(pose.local[j], r), 1e-12);
        }
    }
}

TEST(SamplePose, CubicKeysAreReadAsTheirValuesWithAWarning) {
    Document d = makeBar({});
    // In-tangent, value, out-tangent for each of the two keys.
    animate(d, "cubic", 1, "translation", {0.0f, 1.0f},
            {9, 9, 9, 0, 0, 0, 9, 9, 9, 9, 9, 9, 2, 4, 6, 9, 9, 9}, 3, "CUBICSPLINE");
    const Character c = readText(d);
    expectNear(translation(samplePose(c, c.clips[0], 0.0).world[0]), {0, 0, 0}, 1e-6);
    expectNear(translation(samplePose(c, c.clips[0], 0.5).world[0]), {1, 2, 3}, 1e-6);
    ASSERT_FALSE(c.warnings.empty());
    EXPECT_NE(c.warnings[0].find("cubic"), std::string::npos);
}

TEST(ReadClips, NamelessAnimationsOfEqualLengthAreOneClip) {
    Document d = makeBar({});
    animate(d, "", 1, "translation", {0.0f, 1.0f}, {0, 0, 0, 1, 0, 0}, 3);
    animate(d, "", 2, "translation", {0.0f, 1.0f}, {0, 1, 0, 0, 2, 0}, 3);
    animate(d, "", 2, "translation", {0.0f, 2.0f}, {0, 1, 0, 0, 3, 0}, 3); // another length: another clip
    const Character c = readText(d);
    ASSERT_EQ(c.clips.size(), 2u);
    EXPECT_NE(c.clips[0].name, c.clips[1].name);
    const Pose pose = samplePose(c, c.clips[0], 1.0);
    expectNear(translation(pose.world[0]), {1, 0, 0}, 1e-6);
    expectNear(translation(pose.world[1]), {1, 2, 0}, 1e-6);
    EXPECT_DOUBLE_EQ(c.clips[1].seconds, 2.0);
}

TEST(ReadClips, TwoNamelessClipsOfTheSameJointStayTwo) {
    Document d = makeBar({});
    animate(d, "", 1, "translation", {0.0f, 1.0f}, {0, 0, 0, 1, 0, 0}, 3);
    animate(d, "", 1, "translation", {0.0f, 1.0f}, {0, 0, 0, 5, 0, 0}, 3);
    EXPECT_EQ(readText(d).clips.size(), 2u);
}

} // namespace
