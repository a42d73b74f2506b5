// SPDX-License-Identifier: Apache-2.0
// `grhost quality` through the built host and module: what its report must hold, and what is known of the
// methods without running them.
#include "journeys/run_grhost.h"

#include <cmath>
#include <sstream>

namespace talvisora::journeys {
namespace {

constexpr double kPi = 3.14159265358979323846;

class Quality : public Journey {
protected:
    Json quality(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"quality", "--json"});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        return ran.out.empty() ? Json() : Json::parse(ran.out);
    }
    static Json row(const Json& report, const std::string& method, double amount) {
        for (const Json& row : report.at("rows"))
            if (row.at("method") == method && row.at("amount") == amount) return row;
        ADD_FAILURE() << method << " " << amount;
        return {};
    }
};

TEST_F(Quality, EveryLimbIsMeasuredThreeWaysInFivePoses) {
    const Json report = quality({});
    EXPECT_EQ(report.at("format"), "talvisora-quality");
    EXPECT_EQ(report.at("rows").size(), 5u * 3u * 5u);
    EXPECT_EQ(report.at("settings").size(), 5u);
    for (const Json& row : report.at("rows")) {
        if (row.at("amount") != 0.0) continue; // at rest nothing may change
        EXPECT_NEAR(row.at("volume").get<double>(), 1.0, 1e-6);
        EXPECT_NEAR(row.at("crossSection").get<double>(), 1.0, 1e-6);
        EXPECT_NEAR(row.at("edgeStretch").get<double>(), 1.0, 1e-6);
        EXPECT_EQ(row.at("crossingFaces"), 0);
    }
}

// Blended half and half, a ring keeps the cosine of half the twist in linear blending (squared, as an area),
// and all of itself with dual quaternions. The ring in the middle of the wrist is the smallest.
TEST_F(Quality, TwistedRingsHaveTheAreaOfTheClosedForm) {
    const Json report = quality({"--only", "twist"});
    for (const double angle : {45.0, 90.0, 135.0, 180.0}) {
        const double half = std::cos(angle * kPi / 360.0);
        EXPECT_NEAR(row(report, "linear blend", angle).at("crossSection").get<double>(), half * half, 2e-3);
        EXPECT_NEAR(row(report, "dual quaternions", angle).at("crossSection").get<double>(), 1.0, 1e-6);
    }
    // The spline spreads the twist over the forearm, so its rings lose less and no edge grows as much.
    for (const double angle : {45.0, 90.0, 135.0, 180.0}) {
        const Json spline = row(report, "talvisora", angle), linear = row(report, "linear blend", angle);
        EXPECT_GT(spline.at("crossSection").get<double>(), linear.at("crossSection").get<double>());
        EXPECT_LT(spline.at("edgeStretch").get<double>(), linear.at("edgeStretch").get<double>());
    }
}

TEST_F(Quality, TweaksKeepTheClosedElbowOutOfItself) {
    const Json chosen = quality({"--only", "elbow"}), plain = quality({"--only", "elbow", "--plain"});
    EXPECT_EQ(row(chosen, "talvisora", 140.0).at("crossingFaces"), 0);
    EXPECT_GT(row(plain, "talvisora", 140.0).at("crossingFaces").get<int>(), 0);
    EXPECT_GT(row(chosen, "talvisora", 140.0).at("volume").get<double>(),
              row(plain, "talvisora", 140.0).at("volume").get<double>());
    EXPECT_EQ(row(chosen, "linear blend", 140.0), row(plain, "linear blend", 140.0));
}

TEST_F(Quality, APictureIsWrittenAndTheTableNamesIt) {
    const Ran ran = run({"quality", "--only", "stretch", "--picture", path("s.png"), "--width", "60",
                         "--last", "2", "--joined"});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_NE(ran.out.find("smallest section"), std::string::npos);
    EXPECT_NE(ran.out.find("wrote " + path("s.png")), std::string::npos);
    EXPECT_EQ(fileText(path("s.png")).substr(1, 3), "PNG");
}

// A wild amount makes a wild shape: its figures must not push the columns apart.
TEST_F(Quality, HugeFiguresKeepTheColumns) {
    const Ran ran = run({"quality", "--only", "elbow", "--tweak", "bulgeTweak=1e30"});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_NE(ran.out.find("e+29"), std::string::npos) << ran.out;
    std::istringstream lines(ran.out);
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) EXPECT_LE(line.size(), 100u) << line;
}

TEST_F(Quality, RefusesWhatItCannotDoInOneLine) {
    const auto refused = [&](std::vector<std::string> arguments, int exitCode) {
        arguments.insert(arguments.begin(), "quality");
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        return ran.err;
    };
    EXPECT_EQ(refused({"--only", "leg"}, 2),
              "grhost: --only leg: elbow, twist, helper, tail or stretch expected, with commas between\n");
    EXPECT_EQ(refused({"--tweak", "bulgeTweak=much"}, 2),
              "grhost: --tweak bulgeTweak=much: NAME=VALUE expected, as in bulgeTweak=0.1\n");
    EXPECT_NE(refused({"--tweak", "bulge=1"}, 2).find("no such amount; there are collisionTweak"),
              std::string::npos);
    EXPECT_EQ(refused({"--width", "9"}, 2), "grhost: --width 9: 16 to 2048 expected\n");
    EXPECT_NE(refused({"--picture", path("a.gif")}, 2).find("a.gif"), std::string::npos);
    EXPECT_NE(refused({"--picture", path("no/a.png")}, 4).find("no/a.png"), std::string::npos);
}

} // namespace
} // namespace talvisora::journeys
