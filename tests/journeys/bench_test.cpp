// SPDX-License-Identifier: Apache-2.0
// `grhost bench` as a stranger calls it: figures that hang together, nothing written, errors in one line.
#include "journeys/run_grhost.h"

namespace talvisora::journeys {
namespace {

const char* const kCharacter = "/usr/share/assimp/models/X/Testwuson.X";

class Bench : public Journey {};

TEST_F(Bench, TimesTheFramesWithCachesKeptAndRebuilt) {
    const Ran ran = run({"bench", kCharacter, "--clip", "Run", "--frames", "1-3", "--rounds", "2",
                         "--threads", "1", "--variant", "sse2", "--json"});
    ASSERT_EQ(ran.exitCode, 0) << ran.err;
    const Json report = Json::parse(ran.out);
    EXPECT_EQ(report.at("format"), "talvisora-bench");
    EXPECT_EQ(report.at("frames"), 3);
    EXPECT_EQ(report.at("rounds"), 2);
    EXPECT_EQ(report.at("threads"), 1);
    EXPECT_EQ(report.at("variant"), "sse2");
    const double points = report.at("points").get<double>();
    EXPECT_GT(points, 1000.0);
    for (const char* way : {"cachesKept", "cachesRebuilt"}) {
        const Json& times = report.at(way);
        const double median = times.at("medianMilliseconds").get<double>();
        EXPECT_GT(times.at("fastestMilliseconds").get<double>(), 0.0) << way;
        EXPECT_LE(times.at("fastestMilliseconds").get<double>(), median) << way;
        EXPECT_GE(times.at("slowestMilliseconds").get<double>(), median) << way;
        EXPECT_NEAR(times.at("nanosecondsPerPoint").get<double>() * points, 1e6 * median,
                    1e-3 * 1e6 * median);
    }
    EXPECT_TRUE(listing().empty());
}

TEST_F(Bench, SaysInWordsWhatItTimed) {
    const Ran ran = run({"bench", kCharacter, "--clip", "Run", "--frames", "1", "--rounds", "1"});
    ASSERT_EQ(ran.exitCode, 0) << ran.err;
    for (const char* word : {"1 frame,", "caches kept", "caches rebuilt", "ms per frame", "ns per point"})
        EXPECT_NE(ran.out.find(word), std::string::npos) << word << " is not in: " << ran.out;
}

TEST_F(Bench, WrongUseAndMissingInputAreOneLineEach) {
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        const char* word;
    };
    for (const Case& wrong :
         {Case{{"bench"}, 2, "character"}, Case{{"bench", kCharacter, "--rounds", "0"}, 2, "--rounds"},
          Case{{"bench", path("none.glb")}, 3, "none.glb"},
          Case{{"bench", kCharacter, "--clip", "Swim"}, 3, "Swim"}}) {
        const Ran ran = run(wrong.arguments);
        EXPECT_EQ(ran.exitCode, wrong.exitCode) << ran.err;
        EXPECT_NE(ran.err.find(wrong.word), std::string::npos) << ran.err;
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
    }
}

} // namespace
} // namespace talvisora::journeys
