// SPDX-License-Identifier: Apache-2.0
// From draw calls to the picture: where they land, what hides them, which labels stay. The camera looks along
// −z from (0, 0, 10) with the picture plane 2 high at distance 2, so that x and y in the plane z = 0 are
// worth 10 pixels each on a picture of 100.
#include "host/draw/draw_job.h"
#include "host/draw/flat_drawing.h"
#include "host/draw/paint.h"

#include <gtest/gtest.h>
#include <maya/MColor.h>
#include <maya/MPoint.h>
#include <maya/MString.h>

namespace talvisora::host {
namespace {

class FlatDrawingTest : public testing::Test {
protected:
    FlatDrawingTest() {
        camera.eye = {0.0, 0.0, 10.0};
        camera.right = {1.0, 0.0, 0.0};
        camera.up = {0.0, 1.0, 0.0};
        camera.forward = {0.0, 0.0, -1.0};
        camera.focal = 2.0;
        camera.nearest = 0.1;
    }
    FlatDrawing flat() {
        return flatten(recorder.calls(), camera, DepthMap(mesh, faces, camera, 100, 100), options);
    }

    headless::DrawRecorder recorder;
    MHWRender::MUIDrawManager& manager = recorder.manager();
    Camera camera;
    std::vector<Vec3d> mesh;
    std::vector<std::array<std::uint32_t, 3>> faces;
    FlattenOptions options;
};

TEST_F(FlatDrawingTest, LinesLandWhereTheCameraPutsThem) {
    manager.beginDrawable();
    manager.setColor(MColor(1.0f, 0.5f, 0.0f));
    manager.setLineWidth(3.0f);
    manager.line(MPoint(0.0, 0.0, 0.0), MPoint(1.0, 2.0, 0.0));
    manager.endDrawable();
    const FlatDrawing drawing = flat();
    ASSERT_EQ(drawing.lines.size(), 1u);
    EXPECT_NEAR(drawing.lines[0].x0, 50.0, 1e-9);
    EXPECT_NEAR(drawing.lines[0].y0, 50.0, 1e-9);
    EXPECT_NEAR(drawing.lines[0].x1, 60.0, 1e-9);
    EXPECT_NEAR(drawing.lines[0].y1, 30.0, 1e-9);
    EXPECT_EQ(drawing.lines[0].width, 3.0);
    EXPECT_EQ(drawing.lines[0].colour, (Rgb{255, 128, 0}));
}

TEST_F(FlatDrawingTest, LinesAreCutBehindTheEyeAndBrokenOnesLeftOut) {
    manager.beginDrawable();
    manager.line(MPoint(1.0, 0.0, 0.0), MPoint(1.0, 0.0, 20.0)); // ends behind the eye
    manager.line(MPoint(0.0, 0.0, 11.0), MPoint(1.0, 0.0, 20.0));
    manager.line(MPoint(0.0, 0.0, 0.0), MPoint(HUGE_VAL, 0.0, 0.0));
    manager.endDrawable();
    const FlatDrawing drawing = flat();
    ASSERT_EQ(drawing.lines.size(), 1u);
    EXPECT_GT(drawing.lines[0].x1, 500.0); // far to the right, and finite
    EXPECT_LT(drawing.lines[0].x1, 2000.0);
}

TEST_F(FlatDrawingTest, CallsOutsideDrawablesAreNotPainted) {
    manager.line(MPoint(0.0, 0.0, 0.0), MPoint(1.0, 0.0, 0.0));
    manager.point(MPoint());
    EXPECT_TRUE(flat().lines.empty());
    EXPECT_TRUE(flat().dots.empty());
}

TEST_F(FlatDrawingTest, StateEndsWithItsDrawable) {
    manager.beginDrawable();
    manager.setColor(MColor(1.0f, 0.0f, 0.0f));
    manager.setLineWidth(9.0f);
    manager.endDrawable();
    manager.beginDrawable();
    manager.line(MPoint(0.0, 0.0, 0.0), MPoint(1.0, 0.0, 0.0));
    manager.endDrawable();
    EXPECT_EQ(flat().lines[0].colour, (Rgb{30, 30, 30}));
    EXPECT_LT(flat().lines[0].width, 2.0);
}

// A triangle in the plane z = 1 covers the middle; labels in z = 0 lie behind it, in z = 2 before it.
TEST_F(FlatDrawingTest, LabelsBehindTheMeshAreHidden) {
    mesh = {{-3.0, -3.0, 1.0}, {3.0, -3.0, 1.0}, {0.0, 3.0, 1.0}};
    faces = {{0, 1, 2}};
    manager.beginDrawable();
    manager.point(MPoint(0.0, 0.0, 0.0));
    manager.text(MPoint(0.0, 0.0, 0.0), MString("behind"));
    manager.point(MPoint(0.0, 0.5, 2.0));
    manager.text(MPoint(0.0, 0.5, 2.0), MString("before"));
    manager.text(MPoint(90.0, 0.0, 0.0), MString("outside"));
    manager.endDrawable();
    const FlatDrawing drawing = flat();
    ASSERT_EQ(drawing.labels.size(), 1u);
    EXPECT_EQ(drawing.labels[0].text, "before");
    EXPECT_EQ(drawing.hiddenLabels, 2u);
    EXPECT_EQ(drawing.dots.size(), 1u) << "a hidden label takes its point along";
    options.slack = 1.5;
    EXPECT_EQ(flat().hiddenLabels, 1u);
}

TEST_F(FlatDrawingTest, LabelsNeverCoverEachOtherOrWhatIsReserved) {
    options.reserved = {{0.0, 0.0, 100.0, 20.0}};
    manager.beginDrawable();
    for (int k = 0; k < 40; ++k) manager.text(MPoint(-4.0, -4.0 + 0.2 * k, 0.0), MString("12"));
    manager.endDrawable();
    const FlatDrawing drawing = flat();
    EXPECT_GE(drawing.labels.size(), 3u);
    EXPECT_EQ(drawing.labels.size() + drawing.crowdedLabels, 40u);
    for (const FlatLabel& a : drawing.labels) {
        EXPECT_GE(a.y, 20.0);
        for (const FlatLabel& b : drawing.labels) {
            if (&a == &b) continue;
            EXPECT_GT(std::fabs(a.y - b.y), options.labelHeight);
        }
    }
}

TEST_F(FlatDrawingTest, ChosenPointsAloneAreLabelled) {
    options.choose = true;
    options.points = {{-3.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {3.0, 0.0, 0.0}};
    options.chosen = {2};
    manager.beginDrawable();
    for (const Vec3d& p : options.points) {
        manager.point(MPoint(p.x, p.y, p.z));
        manager.text(MPoint(p.x, p.y, p.z), MString("x"));
    }
    manager.endDrawable();
    const FlatDrawing drawing = flat();
    ASSERT_EQ(drawing.labels.size(), 1u);
    ASSERT_EQ(drawing.dots.size(), 1u);
    EXPECT_NEAR(drawing.dots[0].x, 80.0, 1e-9);
    EXPECT_EQ(drawing.hiddenLabels + drawing.crowdedLabels, 0u);
}

TEST(PaintPixels, ALineIsItsColourAlongItsMiddle) {
    Image picture(40, 20, {200, 200, 200});
    FlatDrawing drawing;
    drawing.lines.push_back({5.0, 10.5, 35.0, 10.5, 3.0, {250, 0, 0}});
    paintPixels(picture, drawing, {});
    for (int x = 6; x < 34; ++x) EXPECT_EQ(picture.at(x, 10), (Rgb{250, 0, 0})) << x;
    EXPECT_EQ(picture.at(20, 2), (Rgb{200, 200, 200}));
    EXPECT_EQ(picture.at(2, 17), (Rgb{200, 200, 200}));
}

TEST(DrawOptions, ViewsAndSizesAreRead) {
    const Vec3d up{0.0, 1.0, 0.0};
    EXPECT_EQ(parseView("front", up).yaw, 0.0);
    EXPECT_EQ(parseView("side", up).yaw, 90.0);
    EXPECT_EQ(parseView("back", up).yaw, 180.0);
    EXPECT_EQ(parseView("-30.5,12", up).yaw, -30.5);
    EXPECT_EQ(parseView("-30.5,12", up).pitch, 12.0);
    EXPECT_EQ(parseView("0,90", up).pitch, 90.0);
    for (const char* text : {"", "below", "30", "30,", ",5", "30,91", "nan,0", "inf,0", "1,2,3", "1, 2"})
        EXPECT_THROW(parseView(text, up), HostError) << text;
    int width = 0, height = 0;
    parseSize("16x8192", width, height);
    EXPECT_EQ(width, 16);
    EXPECT_EQ(height, 8192);
    for (const char* text :
         {"", "16", "15x16", "16x8193", "x16", "16x", "-16x16", "1e3x100", "99999999999x16"})
        EXPECT_THROW(parseSize(text, width, height), HostError) << text;
}

} // namespace
} // namespace talvisora::host
