// SPDX-License-Identifier: Apache-2.0
#include "host/reset/point_selection.h"

#include "host/figures.h"
#include "host/host_error.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace talvisora::host {

namespace {

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

} // namespace

std::vector<std::uint32_t> parsePoints(const std::string& text, std::size_t points) {
    const auto refuse = [&](const std::string& why) {
        throw HostError(ExitCode::kUsage, "--select " + text + ": " + why);
    };
    const auto pointOf = [&](std::string_view part) {
        part = trimmed(part);
        std::uint64_t point = 0;
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), point);
        const bool large = error == std::errc::result_out_of_range;
        if (part.empty() || end != part.data() + part.size() || (error != std::errc() && !large))
            refuse("numbers of points expected, for example 0-99,120");
        if (large || point >= points)
            refuse("point " + std::string(part) + " lies past the end; the mesh has " +
                   counted(points, "point") + ", counted from 0");
        return static_cast<std::size_t>(point);
    };
    std::vector<char> chosen(points, 0);
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string_view part = std::string_view(text).substr(at, comma - at);
        const std::size_t dash = part.find('-');
        const std::size_t first = pointOf(part.substr(0, dash));
        const std::size_t last = dash == std::string_view::npos ? first : pointOf(part.substr(dash + 1));
        if (last < first) refuse("ranges run upwards");
        std::fill(chosen.begin() + static_cast<std::ptrdiff_t>(first),
                  chosen.begin() + static_cast<std::ptrdiff_t>(last) + 1, char(1));
        at = comma + 1;
    }
    std::vector<std::uint32_t> list;
    for (std::size_t p = 0; p < points; ++p)
        if (chosen[p]) list.push_back(static_cast<std::uint32_t>(p));
    return list;
}

} // namespace talvisora::host
