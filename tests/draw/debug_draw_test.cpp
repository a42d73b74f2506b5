// SPDX-License-Identifier: Apache-2.0
// The drawing functions against recordings that were written without them (tools/make_draw_goldens.py), and
// their rules one by one: what is left out, how a value reads, which grey it gets.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>

#include "draw/debug_draw.h"
#include "headless/scene/draw_log.h"

namespace talvisora {
namespace {

using headless::DrawCall;
using headless::DrawCallKind;
using headless::DrawRecorder;

const std::vector<Vec3d> kPoints = {
    {0.0, 0.0, 0.0}, {1.5, -2.0, 0.25}, {-3.0, 4.0, 5.5}, {1e-3, 2e6, -1e-9}, {7.0, 8.0, 9.0}};
const std::vector<float> kValues = {0.5f, -2.5f, 2.0f, 1.0f};

std::string expected(const std::string& name) {
    const std::string path =
        std::string(TALVISORA_SOURCE_DIR) + "/tests/goldens/draw_" + name + ".expected.txt";
    std::ifstream file(path);
    std::string origin;
    EXPECT_TRUE(std::getline(file, origin) && origin[0] == '#') << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Draws inside a drawable, as a caller does, and gives back what came between its begin and end.
template <class Draw>
std::vector<DrawCall> inDrawable(Draw draw) {
    DrawRecorder recorder;
    recorder.manager().beginDrawable();
    draw(recorder.manager());
    recorder.manager().endDrawable();
    EXPECT_TRUE(recorder.misuses().empty()) << recorder.misuses().front();
    const std::vector<DrawCall>& calls = recorder.calls();
    return {calls.begin() + 1, calls.end() - 1};
}

std::vector<DrawCall> labels(const std::vector<float>& values, bool colourByValue = false) {
    const std::vector<Vec3d> points(values.size(), Vec3d{1.0, 2.0, 3.0});
    return inDrawable(
        [&](auto& manager) { drawLabelledPoints(manager, points, &values, false, colourByValue); });
}

std::string labelOf(float value) {
    const std::vector<DrawCall> calls = labels({value});
    if (calls.size() != 2) return calls.empty() ? "nothing" : "odd";
    EXPECT_EQ(calls[0].kind, DrawCallKind::point);
    EXPECT_EQ(calls[1].kind, DrawCallKind::text);
    return calls[1].label;
}

float greyOf(float value) {
    const std::vector<DrawCall> calls = labels({value}, true);
    EXPECT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[1].kind, DrawCallKind::setColor);
    EXPECT_EQ(calls[1].colour[0], calls[1].colour[1]);
    EXPECT_EQ(calls[1].colour[1], calls[1].colour[2]);
    EXPECT_EQ(calls[1].colour[3], 1.0f);
    return calls[1].colour[0];
}

TEST(DebugDraw, PolylineIsTheRecordedOne) {
    EXPECT_EQ(toText(inDrawable([](auto& manager) { drawPolyline(manager, kPoints); })),
              expected("polyline"));
}

TEST(DebugDraw, PolylineOfOnePointOrNoneDrawsNothing) {
    DrawRecorder recorder;
    drawPolyline(recorder.manager(), {});
    drawPolyline(recorder.manager(), {{1.0, 2.0, 3.0}});
    EXPECT_TRUE(recorder.calls().empty());
    drawPolyline(recorder.manager(), {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}});
    EXPECT_EQ(recorder.calls().size(), 1u);
}

// A frame with its axes turned and scaled, then one whose fourth column divides.
TEST(DebugDraw, FramesAreTheRecordedOnes) {
    DrawRecorder recorder;
    Matrix44d turned = {{0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 0.5, 0, 10, 20, 30, 1}};
    Matrix44d projective = {{1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 4, 2, 1, 1}};
    drawFrame(recorder.manager(), turned, 2.0);
    drawFrame(recorder.manager(), projective, 2.0);
    EXPECT_EQ(toText(recorder.calls()), expected("frame"));
    EXPECT_TRUE(recorder.misuses().empty()) << "a frame opens and closes its own drawable";
    EXPECT_FALSE(recorder.isOpen());
}

TEST(DebugDraw, LabelsByIndexAreTheRecordedOnes) {
    const auto calls =
        inDrawable([](auto& manager) { drawLabelledPoints(manager, kPoints, nullptr, true, false); });
    EXPECT_EQ(toText(calls), expected("labels_index"));
    // Values and their colours do not count then.
    const auto withValues =
        inDrawable([](auto& manager) { drawLabelledPoints(manager, kPoints, &kValues, true, true); });
    EXPECT_EQ(toText(withValues), expected("labels_index"));
}

// There are fewer values than points: the last point has none and is left out.
TEST(DebugDraw, LabelsByValueAreTheRecordedOnes) {
    const auto plain =
        inDrawable([](auto& manager) { drawLabelledPoints(manager, kPoints, &kValues, false, false); });
    EXPECT_EQ(toText(plain), expected("labels_value"));
    const auto grey =
        inDrawable([](auto& manager) { drawLabelledPoints(manager, kPoints, &kValues, false, true); });
    EXPECT_EQ(toText(grey), expected("labels_grey"));
}

TEST(DebugDraw, LabelsByValueWithoutValuesDrawNothing) {
    const std::vector<float> none;
    EXPECT_TRUE(inDrawable([](auto& manager) {
                    drawLabelledPoints(manager, kPoints, nullptr, false, true);
                }).empty());
    EXPECT_TRUE(
        inDrawable([&](auto& manager) { drawLabelledPoints(manager, kPoints, &none, false, true); }).empty());
}

TEST(DebugDraw, MoreValuesThanPointsDrawThePoints) {
    const std::vector<float> values(100, 0.5f);
    const auto calls =
        inDrawable([&](auto& manager) { drawLabelledPoints(manager, kPoints, &values, false, false); });
    EXPECT_EQ(calls.size(), 2 * kPoints.size());
}

TEST(DebugDraw, ValuesNearAWholeNumberHaveNoDecimals) {
    EXPECT_EQ(labelOf(2.004f), "2");
    EXPECT_EQ(labelOf(2.5f), "2.50");
    EXPECT_EQ(labelOf(1.0f), "1");
    EXPECT_EQ(labelOf(1.9921875f), "2");   // 0.0078125 below 2
    EXPECT_EQ(labelOf(1.984375f), "1.98"); // 0.015625 below 2
    EXPECT_EQ(labelOf(2.0078125f), "2");
    EXPECT_EQ(labelOf(2.015625f), "2.02");
    EXPECT_EQ(labelOf(0.005f), "0"); // near 0, yet large enough to be shown
    EXPECT_EQ(labelOf(-1.0f), "-1");
    EXPECT_EQ(labelOf(-0.25f), "-0.25");
}

TEST(DebugDraw, ValuesUpToAHundredThousandthAreSkipped) {
    EXPECT_EQ(labelOf(0.000005f), "nothing");
    EXPECT_EQ(labelOf(-0.000005f), "nothing");
    EXPECT_EQ(labelOf(0.0f), "nothing");
    EXPECT_EQ(labelOf(0.00001f), "nothing");
    EXPECT_EQ(labelOf(std::nextafter(0.00001f, 1.0f)), "0");
}

// A skipped point takes nothing from its neighbours: each label stands at its own point.
TEST(DebugDraw, SkippedValuesLeaveTheOthersInPlace) {
    const std::vector<float> values = {0.25f, 0.000005f, 0.75f};
    const auto calls =
        inDrawable([&](auto& manager) { drawLabelledPoints(manager, kPoints, &values, false, false); });
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[1].label, "0.25");
    EXPECT_EQ(calls[3].label, "0.75");
    EXPECT_EQ(calls[2].from, (std::array<double, 4>{-3.0, 4.0, 5.5, 1.0}));
}

TEST(DebugDraw, NegativeValuesAreBlackAndValuesAboveOneWhite) {
    EXPECT_EQ(greyOf(-0.5f), 0.0f);
    EXPECT_EQ(greyOf(-1e30f), 0.0f);
    EXPECT_EQ(greyOf(1.5f), 1.0f);
    EXPECT_EQ(greyOf(1.0f), 1.0f);
    EXPECT_EQ(greyOf(0.25f), 0.25f);
    EXPECT_EQ(greyOf(std::numeric_limits<float>::infinity()), 1.0f);
    EXPECT_EQ(greyOf(std::numeric_limits<float>::quiet_NaN()), 0.0f);
}

// The texts of any float are those of printf in the "C" locale, the longest one included.
TEST(DebugDraw, TextsAreThoseOfPrintfInTheCLocale) {
    const float most = std::numeric_limits<float>::max();
    for (const float value : {0.125f, -0.375f, 0.5f, 3.14159f, -0.004f, 1e10f, most, -most, 123456.78f,
                              std::numeric_limits<float>::infinity()}) {
        const double wide = static_cast<double>(value);
        char text[64];
        const bool whole = std::fabs(wide - std::nearbyint(wide)) < 0.01;
        std::snprintf(text, sizeof text, whole ? "%0.f" : "%.2f", wide);
        EXPECT_EQ(labelOf(value), text);
    }
}

class CommaPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// The streams' locale always; the C library's where the machine has one with a comma.
TEST(DebugDraw, CommaLocaleChangesNoLabel) {
    const std::string cBefore = std::setlocale(LC_ALL, nullptr);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fi_FI.UTF-8", "fr_FR.UTF-8", "de_DE"}) {
        if (std::setlocale(LC_ALL, name)) break;
    }
    std::ostringstream shown;
    shown << 1234.5;
    const std::string half = labelOf(2.5f), near = labelOf(2.004f), skipped = labelOf(0.000005f);
    const std::vector<Vec3d> many(1001);
    const auto calls =
        inDrawable([&](auto& manager) { drawLabelledPoints(manager, many, nullptr, true, false); });
    std::locale::global(before);
    std::setlocale(LC_ALL, cBefore.c_str());
    EXPECT_EQ(shown.str(), "1.234,5");
    EXPECT_EQ(half, "2.50");
    EXPECT_EQ(near, "2");
    EXPECT_EQ(skipped, "nothing");
    EXPECT_EQ(calls.back().label, "1000");
}

TEST(DebugDraw, PointAndVectorIsTheRecordedOne) {
    const auto calls = inDrawable([](auto& manager) {
        drawPointAndVector(manager, kPoints[1], {2.0, 0.5, -0.25}, 7.5f, 2.0f);
    });
    EXPECT_EQ(toText(calls), expected("vector"));
}

// Its caller opens the drawable; by itself the recorder calls it misuse.
TEST(DebugDraw, PointAndVectorOpensNoDrawable) {
    DrawRecorder recorder;
    drawPointAndVector(recorder.manager(), {}, {1.0, 0.0, 0.0}, 1.0f, 1.0f);
    EXPECT_EQ(recorder.calls().size(), 4u);
    EXPECT_EQ(recorder.misuses().size(), 4u);
    EXPECT_FALSE(recorder.isOpen());
}

} // namespace
} // namespace talvisora
