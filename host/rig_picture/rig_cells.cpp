// SPDX-License-Identifier: Apache-2.0
#include "host/rig_picture/rig_cells.h"

#include "host/check/rig_check.h"
#include "host/figures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace talvisora::host {

namespace {

constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
/// Sums that miss 1 by less are single precision's doing.
constexpr float kSumMisses = 1e-5f;

std::string figure(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value != 0.0 && std::abs(value) < 0.01 ? "%.1e" : "%.2f", value);
    return text;
}

// Smallest and largest of the values that are drawn.
std::string rangeNote(const DrawnValues& drawn) {
    float low = 0.0f, high = 0.0f;
    std::size_t count = 0;
    for (const float value : drawn.values) {
        if (!(value > drawn.nothing)) continue;
        low = count ? std::min(low, value) : value;
        high = count ? std::max(high, value) : value;
        ++count;
    }
    if (count == 0) return "no point";
    return figure(static_cast<double>(low)) + " to " + figure(static_cast<double>(high)) + " on " +
           counted(count, "point");
}

ValueCell weightCell(const RigBlock& block) {
    ValueCell cell{block.name, "", {block.weights, 0.0f, {}}};
    cell.note = rangeNote(cell.values);
    if (cell.note == "no point") cell.note = "acts on no point";
    return cell;
}

ValueCell paramCell(const RigBlock& block) {
    ValueCell cell{block.name, "", {block.params, -1.0f, {}}};
    const bool acts = std::any_of(block.weights.begin(), block.weights.end(), [](float w) { return w > 0; });
    for (std::size_t i = 0; acts && i < cell.values.values.size(); ++i)
        if (!(block.weights[i] > 0.0f)) cell.values.values[i] = kNone;
    cell.note = rangeNote(cell.values) + (acts ? "" : ", acts on none");
    return cell;
}

// A cell whose points are so few that they are marked, too.
ValueCell rareCell(const std::string& name, std::vector<float> values, float nothing) {
    ValueCell cell{name, "", {std::move(values), nothing, {}}};
    cell.note = rangeNote(cell.values);
    for (std::size_t i = 0; i < cell.values.values.size(); ++i)
        if (cell.values.values[i] > nothing) cell.values.marks.push_back(static_cast<std::uint32_t>(i));
    if (cell.values.marks.size() > kMostMarks) cell.values.marks.clear();
    return cell;
}

std::vector<float> missingFromOne(const AutoRig& rig, std::size_t points) {
    std::vector<float> missing(points, 0.0f);
    for (std::size_t i = 0; i < points; ++i) {
        double sum = 0.0;
        for (const RigBlock& block : rig.blocks) sum += static_cast<double>(block.weights[i]);
        missing[i] = static_cast<float>(std::clamp(1.0 - sum, 0.0, 1.0));
    }
    return missing;
}

} // namespace

std::vector<ValueCell> rigCells(const AutoRig& rig, std::size_t points, PictureOf show,
                                const MarkedPoints& marked) {
    std::vector<ValueCell> cells;
    if (!marked.points.empty()) {
        ValueCell cell{marked.name, counted(marked.points.size(), "point"), {}};
        cell.values.values.assign(points, 0.0f);
        if (marked.points.size() <= kMostMarks) {
            cell.values.marks = marked.points;
        } else {
            for (const std::uint32_t i : marked.points)
                if (i < points) cell.values.values[i] = 1.0f;
        }
        cells.push_back(std::move(cell));
    }
    if (show == PictureOf::kLeftBehind) {
        const std::vector<double> left = rig.shareLeftBehind();
        std::vector<float> shares(left.size());
        std::transform(left.begin(), left.end(), shares.begin(),
                       [](double share) { return static_cast<float>(share); });
        shares.resize(points, 1.0f);
        cells.push_back(rareCell("left behind", std::move(shares), static_cast<float>(kLeftBehindShare)));
        cells.push_back(rareCell("missing from a sum of 1", missingFromOne(rig, points), kSumMisses));
        return cells;
    }
    for (const RigBlock& block : rig.blocks)
        cells.push_back(show == PictureOf::kWeights ? weightCell(block) : paramCell(block));
    return cells;
}

void describeCells(PictureOf show, const std::vector<ValueCell>& cells, ValueSheetOptions& sheet) {
    const bool anyMarks = std::any_of(cells.begin(), cells.end(),
                                      [](const ValueCell& cell) { return !cell.values.marks.empty(); });
    if (anyMarks) sheet.marks = "found (a ring: hidden)";
    switch (show) {
    case PictureOf::kWeights:
        sheet.title = "block weights", sheet.nothing = "not touched";
        break;
    case PictureOf::kParams:
        sheet.title = "curve parameters", sheet.nothing = "not touched";
        break;
    case PictureOf::kLeftBehind:
        sheet.title = "what no block takes", sheet.nothing = "nothing is missing";
        break;
    }
}

} // namespace talvisora::host
