// SPDX-License-Identifier: Apache-2.0
// The ramp rises from dark to light; sheets have a cell per list in rows of so many.
#include "host/picture/value_sheet.h"

#include "host/host_error.h"
#include "host/picture/ramp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace talvisora::host {
namespace {

double brightness(Rgb c) {
    return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
}

TEST(ValueRamp, RisesInBrightnessAllTheWay) {
    for (int k = 0; k < 100; ++k)
        EXPECT_LT(brightness(rampColour(k / 100.0)), brightness(rampColour((k + 1) / 100.0))) << k;
    EXPECT_LT(brightness(rampColour(0.0f)), 40.0);
    EXPECT_GT(brightness(rampColour(1.0f)), 220.0);
}

TEST(ValueRamp, ClampsWhatLiesOutside) {
    EXPECT_EQ(rampColour(-3.0f), rampColour(0.0f));
    EXPECT_EQ(rampColour(7.0f), rampColour(1.0f));
    EXPECT_EQ(rampColour(std::nanf("")), rampColour(0.0f));
}

TEST(ValueSheet, RefusesAWrongNumberOfValues) {
    const std::vector<Vec3d> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const std::vector<OutputMesh> meshes = {{"m", {0, 1, 2}, {3}, {0, 1, 2}, {}}};
    EXPECT_THROW(drawValueSheet(meshes, points, {{"a", "", {{0, 1}, 0, {}}}}), HostError);
}

} // namespace
} // namespace talvisora::host
