// SPDX-License-Identifier: Apache-2.0
// Rounded numbers and counted things, against what they must read like.
#include "host/figures.h"

#include <gtest/gtest.h>

#include <limits>

namespace talvisora::host {
namespace {

TEST(Figures, OneIsCountedAsOne) {
    EXPECT_EQ(counted(0, "point"), "0 points");
    EXPECT_EQ(counted(1, "point"), "1 point");
    EXPECT_EQ(counted(2, "point"), "2 points");
    EXPECT_EQ(counted(1, "vertex", "vertices"), "1 vertex");
    EXPECT_EQ(counted(2, "vertex", "vertices"), "2 vertices");
}

TEST(Figures, ShortNumbersHaveAtMostSoManyDigits) {
    EXPECT_EQ(shortNumber(1.0 / 6.0), "0.1667");
    EXPECT_EQ(shortNumber(1.0 / 6.0, 2), "0.17");
    EXPECT_EQ(shortNumber(24.0), "24");
    EXPECT_EQ(shortNumber(0.0), "0");
    EXPECT_EQ(shortNumber(1e30), "1e+30");
    EXPECT_EQ(shortNumber(-1.0 / 3e9), "-3.333e-10");
}

TEST(Figures, FixedNumbersGiveUpTheirDigitsAtAMillion) {
    EXPECT_EQ(fixedNumber(1.0 / 6.0, 3), "0.167");
    EXPECT_EQ(fixedNumber(2.0, 3), "2.000");
    EXPECT_EQ(fixedNumber(999999.5, 2), "999999.50");
    EXPECT_EQ(fixedNumber(-999999.5, 2), "-999999.50");
    EXPECT_EQ(fixedNumber(1e6, 2), "1e+06");
    EXPECT_EQ(fixedNumber(-1.2345e6, 2), "-1.234e+06");
    EXPECT_EQ(fixedNumber(1.92752e29, 3), "1.928e+29");
    EXPECT_EQ(fixedNumber(std::numeric_limits<double>::infinity(), 3), "inf");
}

} // namespace
} // namespace talvisora::host
