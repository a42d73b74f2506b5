// SPDX-License-Identifier: Apache-2.0
#include "host/capture/json_writer.h"

#include <charconv>
#include <cmath>

namespace talvisora::host {

namespace {

template <class Real>
std::string numberText(Real number) {
    if (std::isnan(number)) return "\"NaN\"";
    if (std::isinf(number)) return number > 0 ? "\"Infinity\"" : "\"-Infinity\"";
    if (number == 0)
        return std::signbit(number) ? "-0.0" : "0"; // "-0" reads back as a whole number, unsigned
    char digits[40];
    const auto written = std::to_chars(digits, digits + sizeof digits, number);
    return {digits, written.ptr};
}

} // namespace

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    quote(name);
    text_ += ": ";
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(double number) {
    return raw(numberText(number));
}

JsonWriter& JsonWriter::value(float number) {
    return raw(numberText(number));
}

JsonWriter& JsonWriter::value(std::string_view text) {
    separate();
    quote(text);
    return *this;
}

JsonWriter& JsonWriter::value(const Vec3d& point) {
    return beginArray().value(point.x).value(point.y).value(point.z).endArray();
}

JsonWriter& JsonWriter::value(const Matrix44d& matrix) {
    beginArray();
    for (const double element : matrix.m) value(element);
    return endArray();
}

JsonWriter& JsonWriter::begin(char bracket) {
    separate();
    text_ += bracket;
    filled_.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
    const bool filled = filled_.back();
    const bool lined = filled && filled_.size() <= linedLevels_;
    filled_.pop_back();
    if (lined) newLine();
    text_ += bracket;
    return *this;
}

JsonWriter& JsonWriter::raw(std::string_view text) {
    separate();
    text_ += text;
    return *this;
}

void JsonWriter::separate() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (filled_.empty()) return;
    const bool lined = filled_.size() <= linedLevels_;
    if (filled_.back()) text_ += lined ? "," : ", ";
    filled_.back() = true;
    if (lined) newLine();
}

void JsonWriter::newLine() {
    text_ += '\n';
    text_.append(2 * filled_.size(), ' ');
}

void JsonWriter::quote(std::string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    text_ += '"';
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text_ += '\\';
            text_ += c;
        } else if (code < 0x20 || code == 0x7f) {
            text_ += "\\u00";
            text_ += kHex[code >> 4];
            text_ += kHex[code & 15];
        } else {
            text_ += c;
        }
    }
    text_ += '"';
}

} // namespace talvisora::host
