// SPDX-License-Identifier: Apache-2.0
// A skeleton like a T: a root at 0, a spine joint at (0, 10, 0), and from there arms to x = 10 and x = -10.
#include "host/bind/nearest_bones.h"

#include "host/made_character.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using namespace made_character;

Character tee() {
    return makeSkeleton({{"root", -1, {0, 0, 0}},
                         {"spine", 0, {0, 10, 0}},
                         {"left", 1, {10, 10, 0}},
                         {"right", 1, {-10, 10, 0}}});
}

TEST(NearestBones, ABoneBelongsToTheJointThatMovesItAndALeafHasOneOfNoLength) {
    const std::vector<Bone> bones = bonesOf(tee());
    ASSERT_EQ(bones.size(), 5u);
    const std::vector<std::uint32_t> joints = {0, 1, 1, 2, 3};
    for (std::size_t k = 0; k < 5; ++k) EXPECT_EQ(bones[k].joint, joints[k]);
    EXPECT_EQ(bones[1].end, (Vec3d{10, 10, 0}));
    EXPECT_EQ(bones[2].end, (Vec3d{-10, 10, 0}));
    EXPECT_EQ(bones[3].start, bones[3].end);
}

TEST(NearestBones, DistanceIsToTheSegmentAndItsEnds) {
    const Bone bone{0, {0, 0, 0}, {10, 0, 0}};
    EXPECT_DOUBLE_EQ(distanceTo(bone, {5, 3, 4}), 5.0);
    EXPECT_DOUBLE_EQ(distanceTo(bone, {13, 4, 0}), 5.0);
    EXPECT_DOUBLE_EQ(distanceTo(bone, {-3, 0, 4}), 5.0);
    EXPECT_DOUBLE_EQ(distanceTo(bone, {7, 0, 0}), 0.0);
    EXPECT_DOUBLE_EQ(distanceTo({0, {1, 1, 1}, {1, 1, 1}}, {1, 1, 3}), 2.0);
}

TEST(NearestBones, EveryPointGoesWhollyToTheNearestAndPastATipToTheTip) {
    Character character = tee();
    addPoint(character, {1, 4, 0}, {});   // beside the trunk
    addPoint(character, {6, 9, 0}, {});   // beside the left arm
    addPoint(character, {12, 10, 0}, {}); // past the left tip
    addPoint(character, {-15, 9, 0}, {}); // past the right tip
    const Character bound = boundToNearestBones(character);
    ASSERT_EQ(bound.influences.size(), 4u);
    EXPECT_EQ(bound.influenceStart, (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
    const std::vector<std::uint32_t> joints = {0, 1, 2, 3};
    for (std::size_t p = 0; p < 4; ++p) {
        EXPECT_EQ(bound.influences[p].joint, joints[p]);
        EXPECT_EQ(bound.influences[p].weight, 1.0);
    }
}

} // namespace
} // namespace talvisora::host
