// SPDX-License-Identifier: Apache-2.0
#include "host/draw/paint.h"
#include "host/picture/text.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

// Coverage of a pixel comes from its distance to the line: one pixel of ramp at the edge.
void paintLine(Image& picture, const FlatLine& line, double width, Rgb colour, float strength) {
    const double reach = width / 2.0 + 1.0;
    const auto bound = [](double value, int size) {
        return static_cast<int>(std::clamp(std::floor(value), 0.0, static_cast<double>(size)));
    };
    const int left = bound(std::min(line.x0, line.x1) - reach, picture.width);
    const int right = bound(std::max(line.x0, line.x1) + reach + 1.0, picture.width);
    const int top = bound(std::min(line.y0, line.y1) - reach, picture.height);
    const int bottom = bound(std::max(line.y0, line.y1) + reach + 1.0, picture.height);
    const double dx = line.x1 - line.x0, dy = line.y1 - line.y0, squared = dx * dx + dy * dy;
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            const double px = x + 0.5 - line.x0, py = y + 0.5 - line.y0;
            const double along = squared > 0.0 ? std::clamp((px * dx + py * dy) / squared, 0.0, 1.0) : 0.0;
            const double distance = std::hypot(px - along * dx, py - along * dy);
            const double coverage = std::min(width / 2.0 - distance + 0.5, 1.0);
            if (coverage > 0.0) picture.blend(x, y, colour, static_cast<float>(coverage) * strength);
        }
    }
}

void paintDot(Image& picture, double x, double y, double size, Rgb colour) {
    paintLine(picture, {x, y, x, y, 0.0, colour}, size, colour, 1.0f);
}

void paintGround(Image& picture, double left, double top, double right, double bottom, Rgb paper,
                 float strength) {
    for (int y = static_cast<int>(std::floor(top)); y < static_cast<int>(std::ceil(bottom)); ++y)
        for (int x = static_cast<int>(std::floor(left)); x < static_cast<int>(std::ceil(right)); ++x)
            picture.blend(x, y, paper, strength);
}

// A text on a light ground; a light text on a dark one.
void paintLabel(Image& picture, double x, double y, const std::string& text, double height, Rgb colour,
                const PaintStyle& style) {
    const bool light = colour[0] + colour[1] + colour[2] > 3 * 128;
    paintGround(picture, x - 2.0, y - 2.0, x + textWidth(text, height) + 2.0, y + height + 2.0,
                light ? Rgb{20, 20, 24} : style.paper, 0.72f);
    drawText(picture, x, y, text, height, colour);
}

} // namespace

std::vector<std::array<double, 4>> textBoxes(const PaintStyle& style, int pictureHeight) {
    const double height = style.labelHeight, line = height * 1.9;
    std::vector<std::array<double, 4>> boxes;
    if (!style.title.empty())
        boxes.push_back({0.0, 0.0, 18.0 + textWidth(style.title, height * 1.2), 20.0 + height * 1.2});
    double y = pictureHeight - 14.0 - line * static_cast<double>(style.legend.size());
    for (const LegendEntry& entry : style.legend) {
        boxes.push_back({0.0, y - 3.0, 50.0 + textWidth(entry.text, height), y + height + 3.0});
        y += line;
    }
    return boxes;
}

void paintPixels(Image& picture, const FlatDrawing& drawing, const PaintStyle& style) {
    for (const FlatLine& line : drawing.lines) paintLine(picture, line, line.width + 2.0, style.paper, 0.55f);
    for (const FlatLine& line : drawing.lines) paintLine(picture, line, line.width, line.colour, 1.0f);
    for (const FlatDot& dot : drawing.dots) {
        paintDot(picture, dot.x, dot.y, dot.size + 1.5, style.paper);
        paintDot(picture, dot.x, dot.y, dot.size, dot.colour);
    }
    for (const FlatLabel& label : drawing.labels)
        paintLabel(picture, label.x, label.y, label.text, style.labelHeight, label.colour, style);
    const double height = style.labelHeight, line = height * 1.9;
    if (!style.title.empty()) paintLabel(picture, 14.0, 14.0, style.title, height * 1.2, style.ink, style);
    double y = picture.height - 14.0 - line * static_cast<double>(style.legend.size());
    for (const LegendEntry& entry : style.legend) {
        paintLabel(picture, 46.0, y, entry.text, height, style.ink, style);
        paintLine(picture, {16.0, y + height / 2.0, 36.0, y + height / 2.0, 3.0, entry.colour}, 3.0,
                  entry.colour, 1.0f);
        y += line;
    }
}

} // namespace talvisora::host
