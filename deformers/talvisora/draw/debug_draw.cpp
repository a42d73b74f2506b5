// SPDX-License-Identifier: Apache-2.0
// The texts of numbers do not go through printf: its decimal point follows the locale, and older Windows
// run-times round ties another way.
#include "draw/debug_draw.h"

#include <maya/MColor.h>
#include <maya/MPoint.h>
#include <maya/MString.h>

#include <charconv>
#include <cmath>
#include <string>

namespace talvisora {
namespace {

using MHWRender::MUIDrawManager;

constexpr double kSmallestShown = 0.00001; ///< values up to this size have no label
constexpr double kWholeNumber = 0.01;      ///< nearer than this to a whole number: no decimals

MPoint place(const Vec3d& p) {
    return MPoint(p.x, p.y, p.z, 1.0);
}

std::string valueText(double value) {
    const bool whole = std::fabs(value - std::round(value)) < kWholeNumber;
    char text[64]; // the largest float has 39 digits
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, whole ? 0 : 2);
    return {text, end.ptr};
}

float greyOf(float value) {
    // Written so that what is not a number becomes black.
    if (!(value > 0.0f)) return 0.0f;
    return value < 1.0f ? value : 1.0f;
}

void drawText(MUIDrawManager& manager, const MPoint& at, const std::string& label) {
    manager.text(at, MString(label.c_str()), MUIDrawManager::kLeft);
}

} // namespace

void drawPolyline(MUIDrawManager& manager, const std::vector<Vec3d>& points) {
    for (std::size_t i = 1; i < points.size(); ++i) manager.line(place(points[i - 1]), place(points[i]));
}

void drawFrame(MUIDrawManager& manager, const Matrix44d& matrix, double length) {
    const MColor red(1.0f, 0.0f, 0.0f, 1.0f), green(0.0f, 1.0f, 0.0f, 1.0f), blue(0.0f, 0.0f, 1.0f, 1.0f);
    // The enumerator, not its number: two plain numbers could pick the older overload.
    manager.beginDrawable(MUIDrawManager::kAutomatic, 0u);
    const MPoint origin = place(translation(matrix));
    const auto axis = [&](const MColor& colour, const Vec3d& end) {
        manager.setColor(colour);
        manager.line(origin, place(pointMultMat(end, matrix)));
    };
    axis(red, {length, 0.0, 0.0});
    axis(green, {0.0, length, 0.0});
    axis(blue, {0.0, 0.0, length});
    manager.endDrawable();
}

void drawLabelledPoints(MUIDrawManager& manager, const std::vector<Vec3d>& points,
                        const std::vector<float>* values, bool labelByIndex, bool colourByValue) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        const MPoint at = place(points[i]);
        if (labelByIndex) {
            manager.point(at);
            drawText(manager, at, std::to_string(i));
            continue;
        }
        if (!values || i >= values->size()) continue;
        const float value = (*values)[i];
        if (std::fabs(static_cast<double>(value)) <= kSmallestShown) continue;
        manager.point(at);
        if (colourByValue) {
            const float grey = greyOf(value);
            manager.setColor(MColor(grey, grey, grey, 1.0f));
        }
        drawText(manager, at, valueText(static_cast<double>(value)));
    }
}

void drawPointAndVector(MUIDrawManager& manager, const Vec3d& point, const Vec3d& vector, float pointSize,
                        float lineWidth) {
    manager.setPointSize(pointSize);
    manager.point(place(point));
    manager.setLineWidth(lineWidth);
    manager.line(place(point), place(point + vector));
}

} // namespace talvisora
