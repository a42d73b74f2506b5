// SPDX-License-Identifier: Apache-2.0
// Values as colours: the ramp against the published map and against the lightness of CIE 1976, squares whose
// pixels are known from their corners' values, and sheets whose cells are found again.
#include "host/picture/value_sheet.h"

#include "host/host_error.h"
#include "host/picture/mark.h"
#include "host/picture/ramp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace talvisora::host {
namespace {

// CIE 1976 L*, from sRGB.
double lightness(Rgb c) {
    const auto linear = [](std::uint8_t shown) {
        const double v = shown / 255.0;
        return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    const double y = 0.2126 * linear(c[0]) + 0.7152 * linear(c[1]) + 0.0722 * linear(c[2]);
    return y <= 216.0 / 24389.0 ? y * 24389.0 / 27.0 : 116.0 * std::cbrt(y) - 16.0;
}

int distance(Rgb a, Rgb b) {
    int most = 0;
    for (std::size_t c = 0; c < 3; ++c) most = std::max(most, std::abs(int(a[c]) - int(b[c])));
    return most;
}

// The ramp's value whose colour is nearest, and how far away that colour is.
struct Nearest {
    double value = 0.0;
    int distance = 256;
};
Nearest onRamp(Rgb colour) {
    Nearest nearest;
    for (int k = 0; k <= 1000; ++k) {
        const int apart = distance(colour, rampColour(k / 1000.0));
        if (apart < nearest.distance) nearest = {k / 1000.0, apart};
    }
    return nearest;
}

// viridis as its authors publish it: entries of 256, about every tenth.
TEST(ValueRamp, IsThePublishedMap) {
    const std::pair<int, Rgb> published[] = {
        {0, {68, 1, 84}},      {26, {72, 37, 118}},   {51, {65, 68, 135}},   {77, {52, 96, 141}},
        {102, {42, 120, 142}}, {128, {33, 145, 140}}, {153, {34, 168, 132}}, {179, {68, 191, 112}},
        {204, {122, 209, 81}}, {230, {189, 223, 38}}, {255, {253, 231, 37}}};
    for (const auto& [entry, colour] : published)
        EXPECT_LE(distance(rampColour(entry / 255.0), colour), 3) << entry;
}

TEST(ValueRamp, RisesInLightnessByEvenSteps) {
    const double low = lightness(rampColour(0.0)), high = lightness(rampColour(1.0));
    EXPECT_LT(low, 20.0);
    EXPECT_GT(high, 90.0);
    double before = low;
    for (int k = 1; k <= 10; ++k) {
        const double here = lightness(rampColour(k / 10.0));
        EXPECT_NEAR(here - before, (high - low) / 10.0, 1.0) << k;
        before = here;
    }
}

TEST(ValueRamp, ClampsWhatLiesOutside) {
    EXPECT_EQ(rampColour(-3.0), rampColour(0.0));
    EXPECT_EQ(rampColour(7.0), rampColour(1.0));
    EXPECT_EQ(rampColour(std::nan("")), rampColour(0.0));
}

TEST(ValueRamp, HasNoGreyThatCouldBeTakenForNoValue) {
    EXPECT_GT(onRamp(kNoValueColour).distance, 40);
    EXPECT_GT(onRamp(kMarkColour).distance, 40);
}

// A square of side 2 that faces +z, corners counter-clockwise from the lower left.
struct Square {
    std::vector<OutputMesh> meshes = {{"", {0, 1, 2, 3}, {4}, {0, 1, 2, 3}, {}}};
    std::vector<Vec3d> points = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    View front{0.0, 0.0, {0.0, 1.0, 0.0}};

    Image draw(const DrawnValues& values, double shading) const {
        RenderOptions options;
        options.width = options.height = 101;
        options.shadow = options.occlusion = false;
        options.shading = shading;
        return MeshView(meshes, points, makeCamera(points, front, 1.0), options).draw(values);
    }
};

// The square takes 92 % of the picture: x = -1 … 1 are the pixels 4 … 97 of 101.
double valueAtColumn(int column) {
    return ((column + 0.5) / 101.0 - 0.04) / 0.92;
}

TEST(ValuePicture, PixelsBetweenPointsHaveTheRampsColoursOfTheMixedValue) {
    const Image image = Square().draw({{0, 1, 1, 0}, -1.0f, {}}, 0.0);
    for (int column = 6; column < 95; ++column)
        for (const int row : {10, 50, 90})
            EXPECT_LE(distance(image.at(column, row), rampColour(valueAtColumn(column))), 4) << column;
    EXPECT_EQ(image.at(1, 50), RenderOptions().background);
}

TEST(ValuePicture, ValuesUpToNothingAreGrey) {
    const Image image = Square().draw({{0, 1, 1, 0}, 0.5f, {}}, 0.0);
    EXPECT_EQ(image.at(30, 50), kNoValueColour);
    EXPECT_EQ(image.at(48, 50), kNoValueColour);
    EXPECT_LE(onRamp(image.at(54, 50)).distance, 3);
    EXPECT_NEAR(onRamp(image.at(54, 50)).value, valueAtColumn(54), 0.02);
    EXPECT_EQ(Square().draw({{0, 0, 0, 0}, 0.0f, {}}, 0.0).at(50, 50), kNoValueColour);
}

TEST(ValuePicture, PointsWithoutAValueAreGreyUpToHalfTheirEdges) {
    const float none = std::nanf("");
    const Image image = Square().draw({{none, 0.75f, 0.75f, none}, 0.0f, {}}, 0.0);
    EXPECT_EQ(image.at(46, 50), kNoValueColour);
    for (const int column : {55, 90}) EXPECT_LE(distance(image.at(column, 50), rampColour(0.75)), 1);
}

TEST(ValuePicture, ShadingKeepsTheOrderOfTheColours) {
    const Image image = Square().draw({{0, 1, 1, 0}, -1.0f, {}}, 0.5);
    double before = 0.0;
    for (int column = 8; column < 94; column += 5) {
        const double here = lightness(image.at(column, 50));
        EXPECT_GT(here, before) << column;
        before = here;
    }
}

int redPixels(const Image& image, int x, int y, int reach) {
    int red = 0;
    for (int row = y - reach; row <= y + reach; ++row)
        for (int column = x - reach; column <= x + reach; ++column)
            red += distance(image.at(column, row), kMarkColour) < 40;
    return red;
}

TEST(ValuePicture, MarksAreDotsWhereSeenAndRingsWhereHidden) {
    Square square;
    // A fifth point in the middle, far behind the square, with a triangle of its own.
    square.points.insert(square.points.end(), {{0, 0, -0.5}, {0.1, 0, -0.5}, {0, 0.1, -0.5}});
    square.meshes.push_back({"", {4, 5, 6}, {3}, {0, 1, 2}, {}});
    const std::vector<float> values(7, 0.0f);
    const Image seen = square.draw({values, 0.0f, {0, 99}}, 0.0);
    EXPECT_GT(redPixels(seen, 4, 97 - 1, 3), 12) << "the lower left corner; 99 is passed over";
    EXPECT_EQ(redPixels(seen, 50, 50, 8), 0);
    const Image hidden = square.draw({values, 0.0f, {4}}, 0.0);
    EXPECT_EQ(hidden.at(50, 50), kNoValueColour) << "inside the ring";
    EXPECT_GT(redPixels(hidden, 50, 50, 5), 4);
    EXPECT_EQ(redPixels(hidden, 50, 50, 1), 0);
}

// Left edges of the cells' backgrounds in a line of pixels: 50 pixels of background, and none before.
std::vector<int> cellEdges(const Image& sheet, int y, Rgb background) {
    std::vector<int> edges;
    int run = 0;
    for (int x = 0; x < sheet.width; ++x) {
        run = sheet.at(x, y) == background ? run + 1 : 0;
        if (run == 50) edges.push_back(x - 49);
    }
    return edges;
}

TEST(ValueSheet, HasACellPerListAndTheRampBelow) {
    const Square square;
    ValueSheetOptions options;
    options.views = {square.front, {180.0, 0.0, {0.0, 1.0, 0.0}}};
    options.cellSize = {60, 60};
    options.rowWidth = 300; // two cells of two views
    options.nothing = "not touched";
    const std::vector<ValueCell> cells(3, {"Arm", "0.50 to 0.50 on 4 points", {{0.5, 0.5, 0.5, 0.5}, 0, {}}});
    const Image sheet = drawValueSheet(square.meshes, square.points, cells, options);
    const Rgb background = RenderOptions().background;
    std::vector<int> rows; // tops of rows of cells
    int first = 0;
    for (int y = 0; y < sheet.height; ++y) {
        const auto edges = cellEdges(sheet, y, background);
        if (edges.empty()) continue;
        rows.push_back(y);
        if (rows.size() == 1) first = edges.front();
        EXPECT_EQ(edges.size(), rows.size() == 1 ? 4u : 2u) << "views in row " << rows.size();
        y += 59; // the cell's other lines
    }
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_LE(onRamp(sheet.at(first + 30, rows[0] + 30)).distance, 45) << "half lit";
    // The ramp lies under the last row: its ends and its middle.
    int bar = 0;
    for (int y = rows[1] + 60; y < sheet.height && bar == 0; ++y)
        for (int x = 0; x < 60; ++x)
            if (sheet.at(x, y) == rampColour(0.0)) bar = y;
    ASSERT_GT(bar, 0);
    int left = 0;
    while (sheet.at(left, bar) != rampColour(0.0)) ++left;
    int right = left;
    while (onRamp(sheet.at(right + 1, bar)).distance <= 1) ++right;
    EXPECT_EQ(right - left, 299);
    EXPECT_EQ(sheet.at(right, bar), rampColour(1.0));
    for (const int quarter : {1, 2, 3})
        EXPECT_NEAR(onRamp(sheet.at(left + 299 * quarter / 4, bar)).value, quarter / 4.0, 0.01);
}

TEST(ValueSheet, StaysSmallUnderALongName) {
    const Square square;
    const Image sheet =
        drawValueSheet(square.meshes, square.points, {{std::string(100000, 'n'), "", {{0, 0, 0, 0}, 0, {}}}});
    EXPECT_LT(sheet.width, 1000);
}

TEST(ValueSheet, RefusesAWrongNumberOfValues) {
    const Square square;
    EXPECT_THROW(drawValueSheet(square.meshes, square.points, {{"a", "", {{0, 1}, 0, {}}}}), HostError);
}

} // namespace
} // namespace talvisora::host
