// SPDX-License-Identifier: Apache-2.0
// JSON text as a tree that can be trusted: numbers with their nearest single and double, no key twice in one
// object, bounded depth. The JSON library does the tokens and stays behind this header. Faults name the
// offending place as a JSON pointer ("/record/matrix").
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace talvisora::host {

/// Deepest nesting that is read. A node's attributes need about ten levels.
inline constexpr std::size_t kMaxJsonDepth = 256;

class JsonValue {
public:
    /// Both nearest to the decimal text: a single that went through a double could be off by one bit.
    struct Number {
        double nearest = 0.0;
        float single = 0.0f;
    };
    using Array = std::vector<JsonValue>;
    using Object = std::map<std::string, JsonValue>;

    JsonValue() = default; ///< null
    explicit JsonValue(bool value) : kind_(Kind::kBoolean), boolean_(value) {}
    explicit JsonValue(Number value) : kind_(Kind::kNumber), number_(value) {}
    explicit JsonValue(std::string value)
        : kind_(Kind::kText), text_(std::make_unique<std::string>(std::move(value))) {}
    explicit JsonValue(Array value)
        : kind_(Kind::kArray), array_(std::make_unique<Array>(std::move(value))) {}
    explicit JsonValue(Object value)
        : kind_(Kind::kObject), object_(std::make_unique<Object>(std::move(value))) {}

    bool isNull() const { return kind_ == Kind::kNull; }
    /// Null when the value is of another JSON type.
    const bool* boolean() const { return kind_ == Kind::kBoolean ? &boolean_ : nullptr; }
    const Number* number() const { return kind_ == Kind::kNumber ? &number_ : nullptr; }
    const std::string* text() const { return text_.get(); }
    const Array* array() const { return array_.get(); }
    const Object* object() const { return object_.get(); }
    Array* array() { return array_.get(); }
    Object* object() { return object_.get(); }
    /// "null", "boolean", "number", "text", "list" or "object".
    const char* typeName() const;

private:
    enum class Kind : std::uint8_t { kNull, kBoolean, kNumber, kText, kArray, kObject };

    // Plain members, no variant: most values are numbers, and those must stay small.
    Kind kind_ = Kind::kNull;
    bool boolean_ = false;
    Number number_;
    std::unique_ptr<std::string> text_;
    std::unique_ptr<Array> array_;
    std::unique_ptr<Object> object_;
};

/// Where in the document a reader stands: a chain of keys and list positions, one link per level, each on the
/// stack of the function that reads that level.
class JsonPlace {
public:
    JsonPlace() = default; ///< the whole document
    JsonPlace(const JsonPlace& above, const std::string& key) : above_(&above), key_(&key) {}
    JsonPlace(const JsonPlace& above, std::size_t index) : above_(&above), index_(index) {}

    /// The JSON pointer, '~' and '/' inside keys written as ~0 and ~1.
    std::string pointer() const;
    /// Throws HostError kInput with "POINTER: text".
    [[noreturn]] void refuse(const std::string& text) const;
    /// Refuses a value that is not of the expected kind: "POINTER: number expected, text found".
    [[noreturn]] void refuseType(const char* expected, const JsonValue& found) const;

private:
    const JsonPlace* above_ = nullptr;
    const std::string* key_ = nullptr;
    std::size_t index_ = 0;
};

/// Parses one JSON document. Throws HostError kInput: text that is not JSON (with line and column), numbers
/// beyond a double, a key that occurs twice in one object, nesting deeper than kMaxJsonDepth.
JsonValue parseJson(std::string_view text);

/// The text of a file. Throws HostError kInput without the path: a folder, cannot be opened, reading failed.
std::string readJsonFile(const std::string& path);

} // namespace talvisora::host
