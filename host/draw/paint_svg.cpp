// SPDX-License-Identifier: Apache-2.0
// SVG with numbers of two decimals, written without the locale.
#include "host/draw/paint.h"
#include "host/picture/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace talvisora::host {

namespace {

std::string number(double value) {
    if (!std::isfinite(value)) return "0";
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 2);
    return {text, end.ptr};
}

std::string hex(Rgb c) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "#";
    for (const std::uint8_t byte : c) (text += kDigits[byte >> 4]) += kDigits[byte & 15];
    return text;
}

// Bytes of the character at the start of `text` that XML may hold, or 0.
std::size_t characterLength(std::string_view text) {
    const auto byte = [text](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned first = byte(0);
    if (first < 0x80) return first < 0x20 ? 0 : 1;
    const std::size_t length = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
    if (length == 0 || length > text.size()) return 0;
    unsigned code = first & (0x7fu >> length);
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(k) & 0xc0u) != 0x80) return 0;
        code = code << 6 | (byte(k) & 0x3fu);
    }
    constexpr unsigned kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff, isNone = code == 0xfffe || code == 0xffff;
    return code < kSmallest[length] || code > 0x10ffff || isSurrogate || isNone ? 0 : length;
}

// Names come from files and may hold anything; what XML cannot hold becomes a question mark.
std::string escaped(std::string_view text) {
    std::string safe;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (text[0] == '<')
            safe += "&lt;";
        else if (text[0] == '>')
            safe += "&gt;";
        else if (text[0] == '&')
            safe += "&amp;";
        else if (text[0] == '"')
            safe += "&quot;";
        else if (length == 0)
            safe += '?';
        else
            safe += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return safe;
}

// A text whose capitals are `height` high, with its top left corner at (x, y), in as much room as the
// built-in font takes.
std::string label(double x, double y, const std::string& text, double height, Rgb colour) {
    const bool light = colour[0] + colour[1] + colour[2] > 3 * 128;
    return "<text x=\"" + number(x) + "\" y=\"" + number(y + height) + "\" font-size=\"" +
           number(height * 1.4) + "\" fill=\"" + hex(colour) + "\" stroke=\"" +
           (light ? "#141418" : "#ffffff") + "\">" + escaped(text) + "</text>\n";
}

std::string line(double x0, double y0, double x1, double y1, double width, const std::string& colour) {
    return "<line x1=\"" + number(x0) + "\" y1=\"" + number(y0) + "\" x2=\"" + number(x1) + "\" y2=\"" +
           number(y1) + "\" stroke-width=\"" + number(width) + "\" stroke=\"" + colour + "\"/>\n";
}

struct Mean {
    double r = 0.0, g = 0.0, b = 0.0, count = 0.0;
};

std::string meshPolygons(const Image& picture, const DepthMap& depth, const std::vector<ScreenPlace>& places,
                         const std::vector<std::array<std::uint32_t, 3>>& triangles) {
    std::vector<Mean> means(triangles.size());
    for (int y = 0; y < depth.height(); ++y) {
        for (int x = 0; x < depth.width(); ++x) {
            const int t = depth.triangleAt(x, y);
            if (t < 0) continue;
            const Rgb c = picture.at(x, y);
            Mean& mean = means[static_cast<std::size_t>(t)];
            mean = {mean.r + c[0], mean.g + c[1], mean.b + c[2], mean.count + 1.0};
        }
    }
    std::string text = "<g stroke-width=\"0.8\" stroke-linejoin=\"round\">\n";
    // The far ones first: what comes later covers what came before.
    std::vector<std::size_t> order;
    for (std::size_t t = 0; t < triangles.size(); ++t)
        if (means[t].count > 0.0) order.push_back(t);
    const auto nearness = [&](std::size_t t) {
        return places[triangles[t][0]].nearness + places[triangles[t][1]].nearness +
               places[triangles[t][2]].nearness;
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return nearness(a) < nearness(b); });
    for (const std::size_t t : order) {
        const Mean& mean = means[t];
        const auto byte = [&](double sum) { return static_cast<std::uint8_t>(sum / mean.count + 0.5); };
        const std::string colour = hex({byte(mean.r), byte(mean.g), byte(mean.b)});
        text += "<polygon points=\"";
        for (const std::uint32_t corner : triangles[t])
            text += number(places[corner].x) + "," + number(places[corner].y) + " ";
        text += "\" fill=\"" + colour + "\" stroke=\"" + colour + "\"/>\n";
    }
    return text + "</g>\n";
}

} // namespace

std::string paintSvg(const Image& picture, const DepthMap& depth, const std::vector<ScreenPlace>& places,
                     const std::vector<std::array<std::uint32_t, 3>>& triangles, const FlatDrawing& drawing,
                     const PaintStyle& style) {
    const std::string size =
        "width=\"" + std::to_string(depth.width()) + "\" height=\"" + std::to_string(depth.height()) + "\"";
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size + " viewBox=\"0 0 " +
                       std::to_string(depth.width()) + " " + std::to_string(depth.height()) + "\">\n";
    text += "<rect " + size + " fill=\"" + hex(style.paper) + "\"/>\n";
    text += meshPolygons(picture, depth, places, triangles);
    text += "<g stroke-linecap=\"round\" opacity=\"0.6\">\n";
    for (const FlatLine& l : drawing.lines)
        text += line(l.x0, l.y0, l.x1, l.y1, l.width + 2.0, hex(style.paper));
    text += "</g>\n<g stroke-linecap=\"round\">\n";
    for (const FlatLine& l : drawing.lines) text += line(l.x0, l.y0, l.x1, l.y1, l.width, hex(l.colour));
    text += "</g>\n<g stroke=\"" + hex(style.paper) + "\">\n";
    for (const FlatDot& dot : drawing.dots)
        text += "<circle cx=\"" + number(dot.x) + "\" cy=\"" + number(dot.y) + "\" r=\"" +
                number(dot.size / 2.0) + "\" fill=\"" + hex(dot.colour) + "\"/>\n";
    text += "</g>\n<g font-family=\"DejaVu Sans Mono, monospace\" stroke-width=\"3\" "
            "stroke-linejoin=\"round\" paint-order=\"stroke\">\n";
    for (const FlatLabel& l : drawing.labels) text += label(l.x, l.y, l.text, style.labelHeight, l.colour);
    const double height = style.labelHeight, step = height * 1.9;
    if (!style.title.empty()) text += label(14.0, 14.0, style.title, height * 1.2, style.ink);
    double y = depth.height() - 14.0 - step * static_cast<double>(style.legend.size());
    for (const LegendEntry& entry : style.legend) {
        text += label(46.0, y, entry.text, height, style.ink);
        text += line(16.0, y + height / 2.0, 36.0, y + height / 2.0, 3.0, hex(entry.colour));
        y += step;
    }
    return text + "</g>\n</svg>\n";
}

} // namespace talvisora::host
