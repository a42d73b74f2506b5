// SPDX-License-Identifier: Apache-2.0
// Figures of small sets of points that can be written down, the rank of the quantile, and what is not finite.
#include "host/compare/difference.h"

#include <gtest/gtest.h>

#include <cmath>

namespace talvisora::host {
namespace {

std::vector<Vec3d> line(std::size_t count, double step) {
    std::vector<Vec3d> points;
    for (std::size_t i = 0; i < count; ++i) points.push_back({static_cast<double>(i) * step, 0, 0});
    return points;
}

TEST(DifferenceMeter, GivesTheFiguresOfAFewPoints) {
    DifferenceMeter meter(4);
    meter.addFrame(7, {{0, 0, 0}, {3, 4, 0}}, {{0, 0, 0}, {3, 4, 0}});
    meter.addFrame(8, {{0, 0, 0}, {3, 4, 0}}, {{0, 3, 4}, {3, 4, 1}}); // 5 and 1 apart
    const Difference d = meter.result();
    EXPECT_EQ(d.frames, 2u);
    EXPECT_EQ(d.points, 4u);
    EXPECT_EQ(d.unlike, 2u);
    EXPECT_DOUBLE_EQ(d.largest, 5.0);
    EXPECT_DOUBLE_EQ(d.rms, std::sqrt(26.0 / 4.0));
    EXPECT_DOUBLE_EQ(d.quantile, 5.0);
    EXPECT_EQ(d.worstPoint, 0u);
    EXPECT_EQ(d.worstFrame, 8);
    EXPECT_DOUBLE_EQ(d.diagonal, 5.0);
    EXPECT_DOUBLE_EQ(d.largestCoordinate, 4.0);
    EXPECT_DOUBLE_EQ(d.share(d.largest), 1.0);
}

TEST(DifferenceMeter, LetsOnePointInAThousandPassTheQuantile) {
    for (const std::size_t count : {999u, 1000u, 1999u, 2000u, 5000u}) {
        DifferenceMeter meter(count);
        const std::vector<Vec3d> still(count);
        meter.addFrame(1, still, line(count, 1.0)); // distances 0, 1, 2, …
        const std::size_t above = count / 1000;
        EXPECT_EQ(meter.result().quantile, static_cast<double>(count - 1 - above)) << count;
    }
}

TEST(DifferenceMeter, KeepsItsQuantileOverFramesAndWithFewerPointsThanAnnounced) {
    DifferenceMeter meter(1000000);
    for (int frame = 0; frame < 4; ++frame) meter.addFrame(frame, std::vector<Vec3d>(500), line(500, 2.0));
    // 2000 distances, 4 of each: two may pass.
    EXPECT_EQ(meter.result().quantile, 998.0);
}

TEST(DifferenceMeter, CountsWhatIsNotFinite) {
    const double nan = std::nan("");
    DifferenceMeter meter(3);
    meter.addFrame(1, {{0, 0, 0}, {nan, 0, 0}, {1, 0, 0}}, {{0, 1, 0}, {nan, 0, 0}, {HUGE_VAL, 0, 0}});
    const Difference d = meter.result();
    EXPECT_EQ(d.brokenInBoth, 1u);
    EXPECT_EQ(d.broken, 1u);
    EXPECT_EQ(d.points, 2u);
    EXPECT_EQ(d.largest, HUGE_VAL);
    EXPECT_EQ(d.worstPoint, 2u);
    EXPECT_DOUBLE_EQ(d.rms, 1.0);
}

TEST(DifferenceMeter, LeavesMarkedPointsOut) {
    DifferenceMeter meter(2);
    meter.addFrame(1, {{0, 0, 0}, {1, 0, 0}}, {{9, 0, 0}, {1, 0, 2}}, {true, false});
    EXPECT_DOUBLE_EQ(meter.result().largest, 2.0);
    EXPECT_EQ(meter.result().points, 1u);
}

TEST(Difference, IsNoPartOfABoxWithoutExtent) {
    Difference d;
    EXPECT_EQ(d.share(0.0), 0.0);
    EXPECT_EQ(d.share(1.0), HUGE_VAL);
}

} // namespace
} // namespace talvisora::host
