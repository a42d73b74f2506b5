// SPDX-License-Identifier: Apache-2.0
#include "host/view/page_data.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

std::string base64(const void* data, std::size_t size) {
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t k = 0; k < size; k += 3) {
        const std::size_t have = std::min<std::size_t>(3, size - k);
        std::uint32_t bits = std::uint32_t{bytes[k]} << 16;
        if (have > 1) bits |= std::uint32_t{bytes[k + 1]} << 8;
        if (have > 2) bits |= bytes[k + 2];
        for (std::size_t letter = 0; letter < 4; ++letter)
            text += letter <= have ? kLetters[bits >> (18 - 6 * letter) & 63] : '=';
    }
    return text;
}

void append(Places& places, const std::vector<Vec3d>& points) {
    for (const Vec3d& p : points)
        for (const double c : {p.x, p.y, p.z}) places.push_back(static_cast<float>(c));
}

Quantiser::Quantiser(const Bounds& bounds) {
    if (bounds.empty()) return;
    low_ = {bounds.low.x, bounds.low.y, bounds.low.z};
    const Vec3d size = bounds.high - bounds.low;
    step_ = {size.x / 65535.0, size.y / 65535.0, size.z / 65535.0};
}

std::vector<std::uint16_t> Quantiser::steps(const Places& places) const {
    std::vector<std::uint16_t> steps(places.size());
    for (std::size_t k = 0; k < places.size(); ++k) {
        const double offset = static_cast<double>(places[k]) - low_[k % 3];
        const double step = step_[k % 3] > 0.0 ? offset / step_[k % 3] : 0.0;
        steps[k] = static_cast<std::uint16_t>(std::isfinite(step) ? std::clamp(step, 0.0, 65535.0) + 0.5 : 0);
    }
    return steps;
}

std::vector<std::uint8_t> toBytes(const std::vector<float>& values) {
    std::vector<std::uint8_t> bytes;
    for (const float value : values)
        bytes.push_back(value >= 0.0f && value <= 1.0f ? static_cast<std::uint8_t>(value * 255.0f + 0.5f)
                        : value < 0.0f                 ? std::uint8_t{0}
                                                       : std::uint8_t{255});
    return bytes;
}

std::vector<std::uint16_t> toWords(const std::vector<float>& values, double most) {
    std::vector<std::uint16_t> words;
    for (const float value : values) {
        const double share = most > 0.0 ? static_cast<double>(value) / most : 0.0;
        words.push_back(
            static_cast<std::uint16_t>(share >= 0.0 && share <= 1.0 ? share * 65535.0 + 0.5 : 65535.0));
    }
    return words;
}

void LineFrames::addFrame(const std::vector<Vec3d>& ends, const std::vector<std::uint8_t>& colours) {
    frames_.push_back(ends);
    bounds_.add(ends);
    if (colours.size() > colours_.size()) colours_ = colours;
}

std::size_t LineFrames::count() const {
    std::size_t most = 0;
    for (const auto& frame : frames_) most = std::max(most, frame.size() / 2);
    return most;
}

Places LineFrames::places() const {
    Places places;
    const std::size_t ends = count() * 2;
    for (const std::vector<Vec3d>& frame : frames_) {
        append(places, frame);
        append(places, std::vector<Vec3d>(ends - frame.size(), frame.empty() ? Vec3d{} : frame.back()));
    }
    return places;
}

std::vector<std::uint8_t> LineFrames::colours() const {
    return colours_;
}

std::string fillPage(std::string_view page, std::string_view json) {
    constexpr std::string_view kPlace = "<script id=\"data\" type=\"application/json\">";
    const std::size_t at = page.find(kPlace);
    if (at == std::string_view::npos) return {};
    std::string filled(page.substr(0, at + kPlace.size()));
    filled.reserve(page.size() + json.size());
    // Only in texts, where this spelling means the same: no "</script>" comes out of a name.
    for (const char c : json) {
        if (c == '<')
            filled += "\\u003c";
        else
            filled += c;
    }
    filled += page.substr(at + kPlace.size());
    return filled;
}

} // namespace talvisora::host
