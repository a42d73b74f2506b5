// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"

#include <charconv>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr double kLargestFixed = 1e6;

// Unlike printf it asks no locale.
std::string written(double value, std::chars_format format, int precision) {
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, format, precision);
    return {text, end.ptr};
}

} // namespace

std::string shortNumber(double value, int digits) {
    return written(value, std::chars_format::general, digits);
}

std::string fixedNumber(double value, int decimals) {
    return std::abs(value) < kLargestFixed ? written(value, std::chars_format::fixed, decimals)
                                           : shortNumber(value);
}

std::string counted(std::uint64_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many.empty() ? one + "s" : many);
}

} // namespace talvisora::host
