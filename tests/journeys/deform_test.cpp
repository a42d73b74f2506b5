// SPDX-License-Identifier: Apache-2.0
// `grhost deform` on a real character, a few frames: the files that it writes, the figures that it reports,
// and that its captures replay to the very points that went into the files.
#include "journeys/run_grhost.h"

#include <cmath>
#include <cstring>
#include <sstream>

namespace talvisora::journeys {
namespace {

class Deform : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        if (!fs::exists(kBull)) FAIL() << kBull << " is not there; install assimp-testmodels";
    }

    Json deform(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"deform", kBull, "--json", "--quiet"});
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0) << ran.err;
        EXPECT_EQ(ran.err, "");
        return Json::parse(ran.out);
    }
};

template <class T>
T at(const std::string& bytes, std::size_t offset) {
    T value{};
    if (offset + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

struct Point {
    double x, y, z;
};

// Every sample of the cache has a point of the list within `tolerance`, as the file splits points only.
double farthest(const std::string& cache, std::size_t sample, std::size_t vertices,
                const std::vector<Point>& points) {
    double worst = 0.0;
    for (std::size_t v = 0; v < vertices; ++v) {
        const std::size_t offset = 32 + 12 * (sample * vertices + v);
        const double x = at<float>(cache, offset), y = at<float>(cache, offset + 4),
                     z = at<float>(cache, offset + 8);
        double nearest = HUGE_VAL;
        for (const Point& p : points)
            nearest =
                std::min(nearest, std::max({std::fabs(p.x - x), std::fabs(p.y - y), std::fabs(p.z - z)}));
        worst = std::max(worst, nearest);
    }
    return worst;
}

TEST_F(Deform, WritesEveryKindOfOutput) {
    const Json report = deform({"--clip", "Run", "--frames", "3,4", "-o", path("b.pc2"), path("b.obj"),
                                path("b.glb"), "--picture", path("b.png"), "--picture-frames", "4",
                                "--capture", path("b.json"), "--capture-frame", "4"});
    EXPECT_EQ(listing(),
              (std::vector<std::string>{"b.0003.obj", "b.0004.obj", "b.glb", "b.json", "b.pc2", "b.png"}));
    EXPECT_EQ(report.at("frames"), 2);
    EXPECT_EQ(report.at("vertices"), 11196); // as the file has them
    EXPECT_EQ(report.at("written").size(), 6u);

    const std::string cache = fileText(path("b.pc2"));
    EXPECT_EQ(cache.substr(0, 12), std::string("POINTCACHE2\0", 12));
    EXPECT_EQ(at<std::int32_t>(cache, 16), 11196);
    EXPECT_EQ(at<float>(cache, 20), 3.0f);
    EXPECT_EQ(at<float>(cache, 24), 1.0f);
    EXPECT_EQ(at<std::int32_t>(cache, 28), 2);
    EXPECT_EQ(cache.size(), 32u + 2u * 11196u * 12u);
    EXPECT_EQ(fileText(path("b.glb")).substr(0, 4), "glTF");
    EXPECT_EQ(fileText(path("b.png")).substr(1, 3), "PNG");
    std::istringstream lines(fileText(path("b.0003.obj")));
    std::size_t vertices = 0;
    for (std::string line; std::getline(lines, line);) vertices += line.compare(0, 2, "v ") == 0 ? 1 : 0;
    EXPECT_EQ(vertices, 11196u);

    // The capture is of frame 4, in centimetres; the file is in metres.
    const Ran ran = run({"replay", path("b.json")});
    ASSERT_EQ(ran.exitCode, 0) << ran.err;
    std::vector<Point> points;
    const Json replayed = Json::parse(ran.out);
    for (const Json& p : replayed.at("calls").at(0).at("points"))
        points.push_back({0.01 * p[0].get<double>(), 0.01 * p[1].get<double>(), 0.01 * p[2].get<double>()});
    EXPECT_EQ(points.size(), report.at("points").get<std::size_t>());
    EXPECT_LT(farthest(cache, 1, 11196, points), 1e-6);
    EXPECT_GT(farthest(cache, 0, 11196, points), 1e-3) << "another frame";
}

TEST_F(Deform, CapturesHoldTheRunSettings) {
    deform({"--clip", "Run", "--frames", "1", "--capture", path("on.json")});
    deform({"--clip", "Run", "--frames", "1", "--capture", path("off.json"), "--tangent-turn", "0"});
    const Json on = Json::parse(fileText(path("on.json"))).at("attributes");
    const Json off = Json::parse(fileText(path("off.json"))).at("attributes");
    EXPECT_EQ(on.at("TANGENT_TURN"), (Json{{"GrInt", 1}}));
    EXPECT_FALSE(off.contains("TANGENT_TURN"));
    for (const Json& attributes : {on, off}) {
        EXPECT_EQ(attributes.at("CACHE_ATTRIBUTES"), (Json{{"GrBoolean", true}}));
        EXPECT_EQ(attributes.at("ENVELOPE"), (Json{{"GrFloat", 1}}));
        EXPECT_EQ(attributes.at("SOA_ENABLED"), (Json{{"GrBoolean", false}}));
    }
}

TEST_F(Deform, StaysCloseToLinearBlendingAndFoldsLess) {
    for (const char* clip : {"Run", "Walk"}) {
        const Json report = deform({"--clip", clip, "--baseline"});
        const Json& baseline = report.at("baseline");
        EXPECT_LE(baseline.at("rmsPercent").get<double>(), 0.3) << clip;
        EXPECT_LE(baseline.at("maxPercent").get<double>(), 3.5) << clip;
        EXPECT_LE(baseline.at("deformed").at("hardFolds"), baseline.at("linearBlend").at("hardFolds"))
            << clip;
        EXPECT_GT(baseline.at("rmsPercent").get<double>(), 0.0) << "the spline is not the linear blend";
        EXPECT_LE(report.at("leftBehind").get<double>(), 1e-6);
    }
}

TEST_F(Deform, ResultsDoNotDependOnVariantOrThreads) {
    const std::vector<std::string> common = {"--clip", "Walk", "--frames", "10,11"};
    const auto cache = [&](const std::string& name, std::vector<std::string> more) {
        more.insert(more.end(), common.begin(), common.end());
        more.insert(more.end(), {"-o", path(name)});
        deform(more);
        return fileText(path(name));
    };
    const std::string once = cache("a.pc2", {});
    ASSERT_FALSE(once.empty());
    EXPECT_EQ(cache("b.pc2", {"--threads", "1"}), once);
    EXPECT_EQ(cache("c.pc2", {"--threads", "7"}), once);
    EXPECT_EQ(cache("d.pc2", {"--variant", "sse2"}), once);
    EXPECT_EQ(cache("e.pc2", {"--variant", "avx"}), once);
}

TEST_F(Deform, TalksOnStandardErrorAndKeepsTheReportApart) {
    const Ran plain = run({"deform", kBull, "--clip", "Run", "--frames", "1", "--baseline"});
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_NE(plain.out.find("points/s"), std::string::npos) << plain.out;
    const Ran json = run({"deform", kBull, "--clip", "Run", "--frames", "1", "--baseline", "--json"});
    EXPECT_EQ(Json::parse(json.out).at("format"), "talvisora-deform");
    EXPECT_NE(json.err.find("points/s"), std::string::npos);
    const Ran quiet = run({"deform", kBull, "--clip", "Run", "--frames", "1", "--baseline", "--quiet"});
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST_F(Deform, UnitsKeepTheFilesNumbers) {
    deform({"--clip", "Run", "--frames", "5", "-o", path("a.pc2")});
    deform({"--clip", "Run", "--frames", "5", "-o", path("b.pc2"), "--units", "mm"});
    const std::string a = fileText(path("a.pc2")), b = fileText(path("b.pc2"));
    ASSERT_EQ(a.size(), b.size());
    double worst = 0.0, size = 0.0;
    for (std::size_t offset = 32; offset < a.size(); offset += 4) {
        worst = std::max(worst, std::fabs(double(at<float>(a, offset)) - at<float>(b, offset)));
        size = std::max(size, std::fabs(double(at<float>(a, offset))));
    }
    EXPECT_LT(worst, 1e-5 * size);
}

} // namespace
} // namespace talvisora::journeys
