// SPDX-License-Identifier: Apache-2.0
// Lists for people: points (how many, and the first ten), notes and files, one line each.
#pragma once

#include "host/figures.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host {

/// "12 points: 3, 4, …", without a line end.
inline std::string pointList(const std::vector<std::uint32_t>& points) {
    constexpr std::size_t kShown = 10;
    std::string text = counted(points.size(), "point") + ": ";
    for (std::size_t k = 0; k < std::min(points.size(), kShown); ++k)
        text += (k ? ", " : "") + std::to_string(points[k]);
    return text + (points.size() > kShown ? ", …" : "");
}

/// Points of which no block takes all, with a line end; `cure` goes behind. None: empty.
inline std::string leftBehindLine(std::size_t leftBehind, std::size_t points, const char* cure = "") {
    if (leftBehind == 0) return {};
    const std::string of = "of " + counted(points, "point");
    return counted(leftBehind, of + " is", of + " are") + " left behind in part: no block takes all of " +
           (leftBehind == 1 ? "it" : "them") + cure + "\n";
}

/// With a line end and no other control character: names may hold anything.
inline std::string oneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    return text + "\n";
}

/// "note: A", one line per note.
inline std::string noteLines(const std::vector<std::string>& notes) {
    std::string text;
    for (const std::string& note : notes) text += oneLine("note: " + note);
    return text;
}

/// "wrote A", one line per file.
inline std::string wroteLines(const std::vector<std::string>& paths) {
    std::string text;
    for (const std::string& path : paths) text += oneLine("wrote " + path);
    return text;
}

} // namespace talvisora::host
