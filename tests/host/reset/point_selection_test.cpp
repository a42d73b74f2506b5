// SPDX-License-Identifier: Apache-2.0
#include "host/reset/point_selection.h"

#include "host/host_error.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using Points = std::vector<std::uint32_t>;

std::string refusal(const std::string& text, std::size_t points) {
    try {
        parsePoints(text, points);
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, ExitCode::kUsage);
        return error.what();
    }
    return "";
}

TEST(PointSelection, RangesAndSinglePointsAreListedAscendingAndOnce) {
    EXPECT_EQ(parsePoints("7", 8), (Points{7}));
    EXPECT_EQ(parsePoints("0-3,6", 8), (Points{0, 1, 2, 3, 6}));
    EXPECT_EQ(parsePoints("5,2-4,3,5-5", 8), (Points{2, 3, 4, 5}));
    EXPECT_EQ(parsePoints(" 1 , 2 - 3 ", 4), (Points{1, 2, 3}));
}

TEST(PointSelection, TheLastPointIsInAndTheNextIsPastTheEnd) {
    EXPECT_EQ(parsePoints("0-7", 8).size(), 8u);
    EXPECT_EQ(refusal("0-8", 8),
              "--select 0-8: point 8 lies past the end; the mesh has 8 points, counted from 0");
    EXPECT_EQ(refusal("0", 0),
              "--select 0: point 0 lies past the end; the mesh has 0 points, counted from 0");
    EXPECT_EQ(refusal("99999999999999999999999", 8), "--select 99999999999999999999999: point "
                                                     "99999999999999999999999 lies past the end; the mesh "
                                                     "has 8 points, counted from 0");
}

TEST(PointSelection, WhatCannotBeReadIsRefused) {
    for (const char* text : {"", ",", "1,", "-3", "1-", "1--2", "a", "1x", "1;2", "0x1", "+1", "1-2-3"})
        EXPECT_EQ(refusal(text, 8),
                  std::string("--select ") + text + ": numbers of points expected, for example 0-99,120");
    EXPECT_EQ(refusal("3-2", 8), "--select 3-2: ranges run upwards");
}

} // namespace
} // namespace talvisora::host
