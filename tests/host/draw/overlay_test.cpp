// SPDX-License-Identifier: Apache-2.0
// The overlay library over whole rigs: what it draws of a golden evaluation is what the golden's independent
// figures say, and everything is drawn the way a draw manager asks for.
#include "fixtures/capture_fixture.h"
#include "headless/scene/draw_log.h"
#include "host/draw/overlay_library.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

using fixtures::Json;
using headless::DrawCall;
using headless::DrawCallKind;

Vec3d vec3(const std::array<double, 4>& p) {
    return {p[0], p[1], p[2]};
}

// Lines of the drawables whose first colour is `colour`, drawable after drawable.
std::vector<std::vector<DrawCall>> linesOf(const std::vector<DrawCall>& calls, const OverlayColour& colour) {
    std::vector<std::vector<DrawCall>> drawables;
    bool wanted = false;
    for (std::size_t c = 0; c < calls.size(); ++c) {
        if (calls[c].kind == DrawCallKind::beginDrawable) {
            const auto& first = calls[c + 1].colour;
            wanted = first[0] == colour[0] && first[1] == colour[1] && first[2] == colour[2];
            if (wanted) drawables.emplace_back();
        }
        if (wanted && calls[c].kind == DrawCallKind::line) drawables.back().push_back(calls[c]);
    }
    return drawables;
}

class Overlay : public testing::TestWithParam<std::string> {
protected:
    Overlay() : capture(GetParam()), expect(fixtures::golden(GetParam() + ".expected.json").at("expect")) {
        request.attributes = &capture.attributes;
        request.sharedInputs = &capture.sharedInputs;
        request.points = &capture.record.points;
        request.manager = &recorder.manager();
        request.frameLength = 1.0f;
    }
    const std::vector<DrawCall>& draw() {
        EXPECT_EQ(loadOverlay()(request), 0) << request.error;
        EXPECT_TRUE(recorder.misuses().empty()) << recorder.misuses().front();
        EXPECT_FALSE(recorder.isOpen());
        return recorder.calls();
    }

    fixtures::Capture capture;
    Json expect;
    headless::DrawRecorder recorder;
    OverlayRequest request;
};

// A clamped curve ends at its first and last control point; each of its lines begins where the last one
// ended.
TEST_P(Overlay, CurvesRunFromTheFirstToTheLastControlPoint) {
    const auto& calls = draw();
    const auto current = linesOf(calls, kCurveColour), rest = linesOf(calls, kRestCurveColour);
    ASSERT_EQ(current.size(), expect.at("blocks").size());
    ASSERT_EQ(rest.size(), current.size());
    const auto check = [](const std::vector<DrawCall>& lines, const std::vector<Vec3d>& points) {
        const double tolerance = 4e-7 * (1.0 + fixtures::largestCoordinate(points)); // single-precision basis
        ASSERT_EQ(lines.size(), 60u);
        EXPECT_LE(length(vec3(lines.front().from) - points.front()), tolerance);
        EXPECT_LE(length(vec3(lines.back().to) - points.back()), tolerance);
        for (std::size_t k = 1; k < lines.size(); ++k) EXPECT_EQ(lines[k - 1].to, lines[k].from);
    };
    for (std::size_t b = 0; b < current.size(); ++b) {
        check(current[b], fixtures::points(expect.at("blocks")[b].at("controlPoints")));
        check(rest[b], fixtures::points(expect.at("blocks")[b].at("restControlPoints")));
    }
}

TEST_P(Overlay, FramesAreTheControlMatrices) {
    request.restCurves = request.curves = request.tweakVectors = false;
    const auto& calls = draw();
    std::vector<Matrix44d> expected;
    for (const Json& block : expect.at("blocks"))
        for (const Json& m : block.at("cvMatrices")) expected.push_back(fixtures::matrix(m));
    std::size_t next = 0;
    for (std::size_t c = 0; c < calls.size(); ++c) {
        if (calls[c].kind != DrawCallKind::beginDrawable) continue;
        ASSERT_LT(next, expected.size());
        const Matrix44d& m = expected[next++];
        // The colour of each axis, then its line: begin, (colour, line) three times, end.
        for (int axis = 0; axis < 3; ++axis) {
            const DrawCall& line = calls.at(c + 2 + 2 * static_cast<std::size_t>(axis));
            ASSERT_EQ(line.kind, DrawCallKind::line);
            EXPECT_LE(length(vec3(line.from) - translation(m)), 1e-3);
            EXPECT_LE(length(vec3(line.to) - translation(m) - row(m, axis)), 1e-3);
        }
        EXPECT_EQ(calls.at(c + 7).kind, DrawCallKind::endDrawable);
    }
    EXPECT_EQ(next, expected.size());
}

// A simple chain has a third of the control points: its frames must not be three times as long for it.
TEST_P(Overlay, FramesAreAsLongForSimpleChainsAsForOthers) {
    request.restCurves = request.curves = request.tweakVectors = false;
    request.frameLength = 0.0f;
    const auto& calls = draw();
    std::size_t c = 0;
    for (const Json& block : expect.at("blocks")) {
        const auto points = fixtures::points(block.at("controlPoints"));
        double sum = 0.0;
        for (std::size_t k = 1; k < points.size(); ++k) sum += length(points[k] - points[k - 1]);
        const std::size_t bones = (points.size() - 1) / (block.at("simple").get<int>() ? 1 : 3);
        const double size = 0.66 / 3.0 * sum / static_cast<double>(bones);
        for (const Json& m : block.at("cvMatrices")) {
            while (calls.at(c).kind != DrawCallKind::line) ++c;
            const Vec3d x = row(fixtures::matrix(m), 0) * size;
            EXPECT_LE(length(vec3(calls[c].to) - vec3(calls[c].from) - x), 1e-3);
            while (calls.at(c).kind != DrawCallKind::endDrawable) ++c;
        }
    }
}

TEST_P(Overlay, TweakVectorsStandAtTheirJoints) {
    request.restCurves = request.curves = request.frames = false;
    const auto drawn = linesOf(draw(), kDeformVecColour);
    std::vector<std::pair<Vec3d, Vec3d>> expected; // joint, direction
    for (const Json& block : expect.at("blocks")) {
        const auto points = fixtures::points(block.at("controlPoints"));
        const std::size_t step = block.at("simple").get<int>() ? 1 : 3;
        const Json& vectors = block.at("tweakVectors");
        for (std::size_t j = 0; j < vectors.size(); ++j) {
            const Vec3d direction = fixtures::vec3(vectors[j].at("deformVec"));
            // A straight joint has none, and a nearly straight one none to speak of.
            if (length(direction) > 0.0) expected.push_back({points[(j + 1) * step], direction});
        }
    }
    ASSERT_EQ(drawn.size(), expected.size());
    for (std::size_t k = 0; k < drawn.size(); ++k) {
        ASSERT_EQ(drawn[k].size(), 1u);
        const Vec3d from = vec3(drawn[k][0].from), along = vec3(drawn[k][0].to) - from;
        EXPECT_LE(length(from - expected[k].first), 1e-6);
        EXPECT_LE(length(along - expected[k].second * 1.8), 1e-3);
    }
}

INSTANTIATE_TEST_SUITE_P(Goldens, Overlay,
                         testing::Values("bent90", "chain4", "bend_one", "simple12", "blocks_partial"));

class OverlayOf : public Overlay {};
INSTANTIATE_TEST_SUITE_P(Goldens, OverlayOf, testing::Values("blocks_partial"));

TEST_P(OverlayOf, OneBlockDrawsThatBlockAlone) {
    request.block = 1;
    const auto current = linesOf(draw(), kCurveColour);
    ASSERT_EQ(current.size(), 1u);
    EXPECT_EQ(request.blocksDrawn, 1);
    const auto points = fixtures::points(expect.at("blocks")[1].at("controlPoints"));
    EXPECT_LE(length(vec3(current[0].front().from) - points.front()), 1e-5);
}

TEST_P(OverlayOf, WeightLabelsAreTheWeightsOfTheBlock) {
    request.restCurves = request.curves = request.frames = request.tweakVectors = false;
    request.block = 1;
    request.labels = OverlayLabels::kWeights;
    const auto weights = expect.at("blockWeights")[1].get<std::vector<float>>();
    std::vector<std::size_t> labelled;
    for (std::size_t i = 0; i < weights.size(); ++i)
        if (weights[i] > 0.00001f) labelled.push_back(i);
    std::vector<DrawCall> texts;
    for (const DrawCall& call : draw())
        if (call.kind == DrawCallKind::text) texts.push_back(call);
    ASSERT_EQ(texts.size(), labelled.size());
    for (std::size_t k = 0; k < texts.size(); ++k) {
        const double weight = static_cast<double>(weights[labelled[k]]);
        char text[32];
        std::snprintf(text, sizeof text, std::fabs(weight - std::round(weight)) < 0.01 ? "%.0f" : "%.2f",
                      weight);
        EXPECT_EQ(texts[k].label, text);
        EXPECT_EQ(length(vec3(texts[k].from) - capture.record.points[labelled[k]]), 0.0);
    }
}

TEST_P(OverlayOf, FaultsComeBackAsText) {
    request.block = 99;
    EXPECT_EQ(loadOverlay()(request), 1);
    EXPECT_NE(request.error.find("block[99] doesn't exist"), std::string::npos) << request.error;
    request.block = -1;
    request.labels = OverlayLabels::kParams;
    EXPECT_EQ(loadOverlay()(request), 1);
    EXPECT_EQ(request.error, "overlay: labels of values need one block");
    OverlayRequest empty;
    EXPECT_EQ(loadOverlay()(empty), 1);
    EXPECT_NE(empty.error, "");
    capture.attributes.erase("ENVELOPE");
    EXPECT_EQ(loadOverlay()(request), 1);
    EXPECT_EQ(request.error, "get attributes: cannot find 'ENVELOPE' (GrFloat) attribute");
    EXPECT_TRUE(recorder.calls().empty());
}

TEST(OverlayLibrary, MissingAndForeignFilesAreNamed) {
    try {
        loadOverlay("nowhere/libx.so");
        FAIL();
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(),
                     "nowhere/libx.so: the overlay library is not there; build talvisora_overlay");
        EXPECT_EQ(error.code, ExitCode::kInput);
    }
    // A library, but another one.
    EXPECT_THROW(loadOverlay(std::string(TALVISORA_BIN_DIR) + "/libtalvisora.so"), HostError);
    EXPECT_THROW(loadOverlay(std::string(TALVISORA_SOURCE_DIR) + "/README.md"), HostError);
}

} // namespace
} // namespace talvisora::host
