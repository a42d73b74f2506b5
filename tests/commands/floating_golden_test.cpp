// SPDX-License-Identifier: Apache-2.0
// Points whose block weights do not sum to 1, against an independent list and around the limit.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "commands/commands.h"
#include "fixtures/golden.h"

namespace talvisora {
namespace {

using Indices = std::vector<std::int32_t>;

TEST(UnderWeightedList, AgreeWithTheIndependentList) {
    const auto file = fixtures::golden("floating.expected.json");
    EXPECT_EQ(underWeightedPoints(file.at("input").at("weights").get<std::vector<float>>(),
                                  file.at("input").at("B").get<std::int32_t>()),
              file.at("expect").at("points").get<Indices>());
}

TEST(UnderWeightedList, AHalfAndAlmostAHalfAreTooLittle) {
    EXPECT_EQ(underWeightedPoints({0.5f, 0.5f, 0.49999f, 0.5f}, 2), Indices({0}));
}

// 0.99999 as a double: the single nearest to it is smaller, and is reported.
TEST(UnderWeightedList, TheLimitIsTheDouble) {
    const float below = 0.99999f, above = std::nextafterf(0.99999f, 2.0f);
    ASSERT_LT(static_cast<double>(below), 0.99999);
    EXPECT_EQ(underWeightedPoints({below, above}, 1), Indices({0}));
}

TEST(UnderWeightedList, WholeAndLargerSumsAreNeverReported) {
    EXPECT_EQ(underWeightedPoints({1.0f, 1.0f, 5.0f, 1.0f}, 1), Indices());
    EXPECT_EQ(underWeightedPoints({1.0f, 0.25f, 0.0f, 0.75f}, 2), Indices());
}

TEST(UnderWeightedList, ARemainderThatFillsNoRowIsLeftOut) {
    EXPECT_EQ(underWeightedPoints({1.0f, 0.0f, 0.0f, 0.0f, 9.0f}, 2), Indices({1}));
    EXPECT_EQ(underWeightedPoints({0.0f, 0.0f}, 3), Indices());
}

TEST(UnderWeightedList, ASumThatIsNotANumberIsNotReported) {
    EXPECT_EQ(underWeightedPoints({std::nanf(""), 0.5f}, 1), Indices({1}));
}

// More points than are summed at a time; every third one falls short.
TEST(UnderWeightedList, ManyPointsAreListedInAscendingOrder) {
    const std::size_t count = 10000;
    std::vector<float> weights(2 * count, 0.5f);
    Indices expected;
    for (std::size_t i = 0; i < count; i += 3) {
        weights[count + i] = 0.25f;
        expected.push_back(static_cast<std::int32_t>(i));
    }
    EXPECT_EQ(underWeightedPoints(weights, 2), expected);
}

} // namespace
} // namespace talvisora
