// SPDX-License-Identifier: Apache-2.0
// What `grhost draw` reads out of option texts.
#include "host/draw/draw_job.h"

#include <charconv>
#include <cmath>

namespace talvisora::host {

namespace {

// The whole of `text` as one number.
template <class Number>
bool wholeNumber(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

} // namespace

View parseView(const std::string& text, const Vec3d& up) {
    for (const char* name : {"front", "side", "back", "three-quarter", "three-quarter-back"})
        if (text == name) return viewNamed(text, up);
    const std::size_t comma = text.find(',');
    View view;
    view.up = up;
    if (comma == std::string::npos || !wholeNumber(text.substr(0, comma), view.yaw) ||
        !wholeNumber(text.substr(comma + 1), view.pitch) || !std::isfinite(view.yaw) ||
        !(std::fabs(view.pitch) <= 90.0))
        throw HostError(
            ExitCode::kUsage,
            "--view " + text +
                ": front, side, back, three-quarter, three-quarter-back or AZ,EL in degrees expected, "
                "EL from -90 to 90, as in 30,10");
    return view;
}

void parseSize(const std::string& text, int& width, int& height) {
    const std::size_t times = text.find('x');
    if (times == std::string::npos || !wholeNumber(text.substr(0, times), width) ||
        !wholeNumber(text.substr(times + 1), height) || width < 16 || height < 16 || width > 8192 ||
        height > 8192)
        throw HostError(ExitCode::kUsage,
                        "--size " + text + ": WIDTHxHEIGHT expected, each 16 to 8192, as in 1280x960");
}

} // namespace talvisora::host
