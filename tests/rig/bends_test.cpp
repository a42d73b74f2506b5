// SPDX-License-Identifier: Apache-2.0
// Bend controls: what they carry, and entries that carry nothing.
#include "rig/bends.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

#include "fixtures/small_rig.h"
#include "fixtures/values.h"

namespace talvisora {
namespace {

using namespace fixtures;

class Bends : public testing::Test {
protected:
    Bends() {
        for (int k = 0; k < 7; ++k) start.push_back({static_cast<double>(k), 1, 0});
        points = start;
        hierarchy.set("up", {translated({0, 0.5, 0}), {}, "", false});
        hierarchy.set("turned", {turnedZ(std::acos(0.0)), {}, "", false});
    }

    void apply(std::vector<std::int32_t> segments, std::vector<std::string> names) {
        applyBends(*texts(std::move(segments), std::move(names)), hierarchy, kCpuSetupLines, points, faults);
    }

    GrHierarchy hierarchy;
    std::vector<Vec3d> start, points;
    std::vector<Fault> faults;
};

TEST_F(Bends, CarryTheTwoInBetweenPointsOfTheirSegment) {
    apply({1}, {"up"});
    for (std::size_t k = 0; k < points.size(); ++k)
        EXPECT_EQ(points[k], start[k] + (k == 4 || k == 5 ? Vec3d{0, 0.5, 0} : Vec3d{})) << k;
    EXPECT_TRUE(faults.empty());
}

TEST_F(Bends, ActInListOrderOnWhatTheEarlierOnesLeft) {
    apply({0, 0}, {"up", "turned"});
    // (1, 1, 0) goes up to (1, 1.5, 0) and is then turned by a right angle.
    EXPECT_NEAR(length(points[1] - Vec3d{-1.5, 1, 0}), 0, 1e-15);
}

TEST_F(Bends, CountTheControlsMotionUnderItsParentOnly) {
    hierarchy.set("parent", {translated({50, 0, 0}), {}, "", false});
    hierarchy.set("still", {translated({1, 2, 3}), translated({1, 2, 3}), "parent", false});
    apply({0}, {"still"});
    EXPECT_NEAR(length(points[1] - start[1]), 0, 1e-12);
}

TEST_F(Bends, OutsideTheChainAreIgnored) {
    for (std::int32_t segment :
         {2, 3, -1, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()})
        apply({segment}, {"up"});
    EXPECT_EQ(points, start);
    EXPECT_TRUE(faults.empty());
}

TEST_F(Bends, WithoutANameAreSkipped) {
    apply({0, 1}, {"", ""});
    EXPECT_EQ(points, start);
    EXPECT_TRUE(faults.empty());
}

TEST_F(Bends, MoveNothingWhenTheListsDiffer) {
    apply({0}, {"up", "up"});
    EXPECT_EQ(points, start);
    EXPECT_TRUE(faults.empty());
}

TEST_F(Bends, ThatAreNotThereAreEachReportedAndTheNextIsTried) {
    apply({0, 1, 0}, {"nobody", "up", "noone"});
    ASSERT_EQ(faults.size(), 2u);
    EXPECT_EQ(
        faults[0].text(),
        "ASSERT error (deformers/talvisora/talvisora:1253): Cannot find bend control 'nobody' in hier!");
    EXPECT_EQ(faults[1].text(),
              "ASSERT error (deformers/talvisora/talvisora:1253): Cannot find bend control 'noone' in hier!");
    EXPECT_EQ(points[4], start[4] + (Vec3d{0, 0.5, 0}));
}

// A walk to the root per control would take ten thousand million steps.
TEST_F(Bends, OfADeepTableAreAppliedInTime) {
    constexpr int kControls = 100000;
    std::vector<std::string> names;
    for (int i = 0; i < kControls; ++i) {
        names.push_back("deep" + std::to_string(i));
        hierarchy.set(names.back(), {translated({0, 1, 0}), {}, i ? names[names.size() - 2] : "", false});
    }
    const auto before = std::chrono::steady_clock::now();
    apply(std::vector<std::int32_t>(kControls, 0), names);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(30));
    EXPECT_TRUE(faults.empty());
    EXPECT_EQ(points[1], (start[1] + Vec3d{0, kControls, 0}));
}

TEST_F(Bends, OfADeepCircleAreEachReportedInTime) {
    constexpr int kControls = 100000;
    std::vector<std::string> names;
    for (int i = 0; i < kControls; ++i) names.push_back("ring" + std::to_string(i));
    for (int i = 0; i < kControls; ++i)
        hierarchy.set(names[static_cast<std::size_t>(i)],
                      {{}, {}, names[static_cast<std::size_t>((i + 1) % kControls)], false});
    const auto before = std::chrono::steady_clock::now();
    apply(std::vector<std::int32_t>(kControls, 0), names);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(30));
    ASSERT_EQ(faults.size(), static_cast<std::size_t>(kControls));
    EXPECT_EQ(faults[7].text(), "worldMatrix: cannot find ring8"); // the parent of the control
    EXPECT_EQ(points, start);
}

TEST_F(Bends, WithADanglingParentAreReportedByItsName) {
    hierarchy.set("lost", {{}, {}, "gone", false});
    apply({0}, {"lost"});
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].text(), "worldMatrix: cannot find gone");
}

} // namespace
} // namespace talvisora
