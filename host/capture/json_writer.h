// SPDX-License-Identifier: Apache-2.0
// JSON text, written piece by piece: numbers in the fewest digits that read back bit for bit, "NaN",
// "Infinity" and "-Infinity" as texts, negative zero with its sign. Outer levels get a line per entry, inner
// ones stay on one line.
#pragma once

#include "maths/matrix44.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talvisora::host {

class JsonWriter {
public:
    /// Objects and lists down to this level get a line per entry.
    explicit JsonWriter(std::size_t linedLevels = 3) : linedLevels_(linedLevels) {}

    JsonWriter& beginObject() { return begin('{'); }
    JsonWriter& endObject() { return end('}'); }
    JsonWriter& beginArray() { return begin('['); }
    JsonWriter& endArray() { return end(']'); }
    /// The name of the next value in an object.
    JsonWriter& key(std::string_view name);

    JsonWriter& null() { return raw("null"); }
    JsonWriter& value(bool flag) { return raw(flag ? "true" : "false"); }
    JsonWriter& value(double number);
    JsonWriter& value(float number);
    JsonWriter& value(std::int64_t number) { return raw(std::to_string(number)); }
    JsonWriter& value(std::int32_t number) { return raw(std::to_string(number)); }
    JsonWriter& value(std::uint32_t number) { return raw(std::to_string(number)); }
    JsonWriter& value(std::uint64_t number) { return raw(std::to_string(number)); }
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(const Vec3d& point);      ///< three numbers
    JsonWriter& value(const Matrix44d& matrix); ///< sixteen numbers
    template <class T>
    JsonWriter& value(const std::vector<T>& list) {
        beginArray();
        for (const auto& entry : list) value(entry);
        return endArray();
    }

    /// The text so far; complete when every begin has its end.
    const std::string& text() const { return text_; }

private:
    JsonWriter& begin(char bracket);
    JsonWriter& end(char bracket);
    JsonWriter& raw(std::string_view text);
    void separate();
    void newLine();
    void quote(std::string_view text);

    std::string text_;
    std::vector<bool> filled_; // per open level: whether it has an entry already
    bool afterKey_ = false;
    std::size_t linedLevels_;
};

} // namespace talvisora::host
