// SPDX-License-Identifier: Apache-2.0
// A failure as a value: the message without the node's name. Whoever can fail returns one; only the calling
// thread shows it (report.h). This keeps Maya out of parallel loops and lets texts be compared without a
// scene.
#pragma once

#include <string>
#include <utility>

namespace talvisora {

/// The source path that assertion and shared-input messages print: fixed, whatever the build's folders are.
inline constexpr const char* kSourcePath = "deformers/talvisora/talvisora";

/// Empty: all is well. Otherwise the text to be shown after "NODE: ".
class [[nodiscard]] Fault {
public:
    Fault() = default;
    explicit Fault(std::string message) : text_(std::move(message)), failed_(true) {}

    explicit operator bool() const { return failed_; }
    const std::string& text() const { return text_; }

private:
    std::string text_;
    bool failed_ = false;
};

inline Fault missingAttribute(const std::string& key, const char* typeName) {
    return Fault("get attributes: cannot find '" + key + "' (" + typeName + ") attribute");
}

inline Fault mistypedAttribute(const std::string& key, const char* typeName) {
    return Fault("get attributes: invalid type of '" + key + "' (" + typeName + " expected)");
}

/// `line` is a constant of the check, never the compiler's own line: messages must not change with the text.
inline Fault assertion(int line, const std::string& text) {
    return Fault(std::string("ASSERT error (") + kSourcePath + ":" + std::to_string(line) + "): " + text);
}

inline Fault sharedInputFault(int line, const std::string& text) {
    return Fault(std::string("(") + kSourcePath + ":" + std::to_string(line) + "): " + text);
}

} // namespace talvisora
