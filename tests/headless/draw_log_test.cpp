// SPDX-License-Identifier: Apache-2.0
// The recording draw manager: every call with its arguments and in order, and what Maya would leave
// undefined.
#include <cmath>
#include <gtest/gtest.h>
#include <maya/MColor.h>
#include <maya/MPoint.h>
#include <maya/MString.h>
#include <maya/MUIDrawManager.h>
#include <type_traits>

#include "scene/attributes.h"
#include "scene/draw_log.h"

namespace {

using headless::DrawCallKind;
using headless::DrawRecorder;
using MHWRender::MUIDrawManager;

TEST(DrawLog, RecordsEveryCallWithItsArguments) {
    DrawRecorder recorder;
    MUIDrawManager& manager = recorder.manager();
    manager.beginDrawable(MUIDrawManager::kNonSelectable, 7u);
    manager.setColor(MColor(0.1f, 0.2f, 0.3f, 0.4f));
    manager.setPointSize(3.5f);
    manager.setLineWidth(0.25f);
    manager.line(MPoint(1.0, 2.0, 3.0), MPoint(4.0, 5.0, 6.0, 0.5));
    manager.point(MPoint(0.1, 0.2, 0.3));
    manager.text(MPoint(7.0, 8.0, 9.0), MString("12"), MUIDrawManager::kCenter);
    manager.endDrawable();
    EXPECT_EQ(headless::toText(recorder.calls()),
              "beginDrawable 0 7\n"
              "setColor 0.100000001 0.200000003 0.300000012 0.400000006\n"
              "setPointSize 3.5\n"
              "setLineWidth 0.25\n"
              "line 1 2 3 1  4 5 6 0.5\n"
              "point 0.10000000000000001 0.20000000000000001 0.29999999999999999 1\n"
              "text 7 8 9 1 \"12\" 1\n"
              "endDrawable\n");
    EXPECT_TRUE(recorder.misuses().empty());
    for (const headless::DrawCall& call : recorder.calls()) EXPECT_TRUE(call.inside);
}

TEST(DrawLog, TextRemembersBackgroundAndDynamic) {
    DrawRecorder recorder;
    recorder.manager().beginDrawable();
    const int size[2] = {3, 4};
    const MColor white(1.0f, 1.0f, 1.0f);
    recorder.manager().text(MPoint(), MString("a"), MUIDrawManager::kLeft, size, &white, true);
    recorder.manager().text(MPoint(), MString("b"));
    recorder.manager().endDrawable();
    EXPECT_EQ(headless::toText(recorder.calls()),
              "beginDrawable 2 0\ntext 0 0 0 1 \"a\" 0 background dynamic\n"
              "text 0 0 0 1 \"b\" 0\nendDrawable\n");
}

TEST(DrawLog, DrawingOutsideADrawableIsMisuse) {
    DrawRecorder recorder;
    recorder.manager().point(MPoint());
    recorder.manager().beginDrawable();
    recorder.manager().point(MPoint());
    recorder.manager().endDrawable();
    recorder.manager().setColor(MColor());
    EXPECT_EQ(recorder.misuses(),
              (std::vector<std::string>{"call 0: MUIDrawManager::point outside a drawable",
                                        "call 4: MUIDrawManager::setColor outside a drawable"}));
    EXPECT_FALSE(recorder.calls()[0].inside);
    EXPECT_TRUE(recorder.calls()[2].inside);
}

TEST(DrawLog, DrawablesThatDoNotPairAreMisuse) {
    DrawRecorder recorder;
    recorder.manager().endDrawable();
    recorder.manager().beginDrawable();
    EXPECT_TRUE(recorder.isOpen());
    recorder.manager().beginDrawable();
    EXPECT_EQ(recorder.misuses(),
              (std::vector<std::string>{"call 0: MUIDrawManager::endDrawable without a drawable",
                                        "call 2: MUIDrawManager::beginDrawable inside a drawable"}));
    recorder.clear();
    EXPECT_FALSE(recorder.isOpen());
    EXPECT_TRUE(recorder.calls().empty());
    EXPECT_TRUE(recorder.misuses().empty());
}

TEST(DrawLog, TheOlderBeginIsMisuse) {
    DrawRecorder recorder;
    recorder.manager().beginDrawable(2u, false);
    EXPECT_EQ(recorder.misuses(),
              (std::vector<std::string>{"call 0: the older form of MUIDrawManager::beginDrawable"}));
}

TEST(DrawLog, ManagersAreOnlyHandedOut) {
    EXPECT_FALSE(std::is_default_constructible_v<MUIDrawManager>);
    EXPECT_FALSE(std::is_copy_constructible_v<MUIDrawManager>);
}

TEST(DrawLog, ColoursHoldWhatTheyAreGiven) {
    const MColor black, half(0.5f), rgb(2.0f, -1.0f), copy(rgb);
    EXPECT_EQ(black, MColor(0.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(half, MColor(0.0f, 0.0f, 0.0f, 0.5f)); // one number is the alpha
    EXPECT_EQ(copy, MColor(2.0f, -1.0f, 0.0f, 1.0f));
    const float three[3] = {0.25f, 0.5f, 0.75f};
    EXPECT_EQ(MColor(three)[1], 0.5f);
    EXPECT_EQ(MColor(three)(3), 1.0f);
    headless::resetMisuse();
    EXPECT_TRUE(std::isnan(black[4]));
    EXPECT_EQ(headless::misuseCount(), 1u);
    headless::resetMisuse();
}

} // namespace
