// SPDX-License-Identifier: Apache-2.0
// A glyph's dots become strokes: neighbours in a row or column are joined, diagonal ones where no dot beside
// them makes the corner already. Coverage of a pixel comes from its distance to the nearest stroke.
#include "host/picture/text.h"

#include "host/picture/font.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvisora::host {

namespace {

constexpr double kRows = 6.0;    // dots of a capital are six steps apart from top to bottom
constexpr double kAdvance = 6.0; // steps from one letter to the next
constexpr double kGlyphWidth = 4.0;
constexpr double kStroke = 0.46; // half a stroke's width, in steps

struct Stroke {
    double x0, y0, x1, y1;
};

const Glyph& glyphOf(char c) {
    const char shown = c >= kFirstGlyph && c <= kLastGlyph ? c : '?';
    return kGlyphs[static_cast<std::size_t>(shown - kFirstGlyph)];
}

bool dot(const Glyph& glyph, int column, int row) {
    if (column < 0 || column > 4 || row < 0 || row > 6) return false;
    return (glyph.rows[static_cast<std::size_t>(row)] >> (4 - column) & 1) != 0;
}

std::vector<Stroke> strokesOf(const Glyph& glyph) {
    std::vector<Stroke> strokes;
    for (int row = 0; row < 7; ++row) {
        for (int column = 0; column < 5; ++column) {
            if (!dot(glyph, column, row)) continue;
            const double x = column, y = row + glyph.lowered;
            strokes.push_back({x, y, x, y}); // the dot itself, for full stops and ends
            if (dot(glyph, column + 1, row)) strokes.push_back({x, y, x + 1, y});
            if (dot(glyph, column, row + 1)) strokes.push_back({x, y, x, y + 1});
            for (const int side : {-1, 1}) {
                if (dot(glyph, column + side, row + 1) && !dot(glyph, column + side, row) &&
                    !dot(glyph, column, row + 1))
                    strokes.push_back({x, y, x + side, y + 1});
            }
        }
    }
    return strokes;
}

double distance(const Stroke& s, double x, double y) {
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0, lengthSquared = dx * dx + dy * dy;
    const double share = lengthSquared > 0.0 ? ((x - s.x0) * dx + (y - s.y0) * dy) / lengthSquared : 0.0;
    const double along = std::clamp(share, 0.0, 1.0);
    return std::hypot(x - s.x0 - along * dx, y - s.y0 - along * dy);
}

// left, top: where the glyph's first dot stands, in pixels; step: pixels from dot to dot.
void drawGlyph(Image& image, double left, double top, const Glyph& glyph, double step, Rgb colour) {
    const std::vector<Stroke> strokes = strokesOf(glyph);
    const int firstX = std::max(static_cast<int>(std::floor(left - step)), 0);
    const int lastX = std::min(static_cast<int>(std::ceil(left + 5.0 * step)), image.width - 1);
    const int firstY = std::max(static_cast<int>(std::floor(top - step)), 0);
    const int lastY = std::min(static_cast<int>(std::ceil(top + 9.0 * step)), image.height - 1);
    for (int y = firstY; y <= lastY; ++y) {
        for (int x = firstX; x <= lastX; ++x) {
            double nearest = 1e9;
            for (const Stroke& stroke : strokes)
                nearest =
                    std::min(nearest, distance(stroke, (x + 0.5 - left) / step, (y + 0.5 - top) / step));
            // One pixel of ramp across the stroke's edge.
            const double coverage = (kStroke - nearest) * step + 0.5;
            if (coverage > 0.0) image.blend(x, y, colour, static_cast<float>(coverage));
        }
    }
}

} // namespace

int textWidth(std::string_view text, double height) {
    if (text.empty()) return 0;
    const double steps = kAdvance * static_cast<double>(text.size() - 1) + kGlyphWidth + 2.0 * kStroke;
    return static_cast<int>(std::ceil(steps * height / (kRows + 2.0 * kStroke)));
}

void drawText(Image& image, double x, double y, std::string_view text, double height, Rgb colour) {
    if (!(height > 0.0)) return;
    const double step = height / (kRows + 2.0 * kStroke); // strokes reach past the dots at both ends
    double left = x + kStroke * step;
    for (const char c : text) {
        if (left > image.width + step) break;
        drawGlyph(image, left, y + kStroke * step, glyphOf(c), step, colour);
        left += kAdvance * step;
    }
}

} // namespace talvisora::host
