// SPDX-License-Identifier: Apache-2.0
// The handler below receives the JSON library's tokens. The library keeps its own state on the heap, so
// hostile nesting ends at our limit and never in the stack.
#include "host/capture/json_tree.h"

#include "host/host_error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace talvisora::host {

namespace {

void appendEscaped(std::string& pointer, const std::string& key) {
    pointer += '/';
    for (const char c : key) {
        if (c == '~')
            pointer += "~0";
        else if (c == '/')
            pointer += "~1";
        else if (static_cast<unsigned char>(c) < 0x20)
            pointer += '?'; // an error stays one line
        else
            pointer += c;
    }
}

// Puts tokens into a tree: the stack holds the open lists and objects, outermost first.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit TreeBuilder(std::string_view text) : text_(text) {}

    JsonValue root;

    bool null() override { return put(JsonValue()); }
    bool boolean(bool value) override { return put(JsonValue(value)); }
    bool number_integer(number_integer_t value) override {
        // Only texts with a minus sign arrive here, so zero is a negative one.
        if (value == 0) return put(JsonValue(JsonValue::Number{-0.0, -0.0f}));
        return put(JsonValue(JsonValue::Number{static_cast<double>(value), static_cast<float>(value)}));
    }
    bool number_unsigned(number_unsigned_t value) override {
        return put(JsonValue(JsonValue::Number{static_cast<double>(value), static_cast<float>(value)}));
    }
    bool number_float(number_float_t value, const string_t& text) override {
        float single = 0.0f;
        const auto end = text.data() + text.size();
        const auto read = std::from_chars(text.data(), end, single);
        // Beyond a single's range the conversion says what IEEE arithmetic says: infinity or (nearly) zero.
        if (read.ec != std::errc() || read.ptr != end) single = static_cast<float>(value);
        return put(JsonValue(JsonValue::Number{value, single}));
    }
    bool string(string_t& value) override { return put(JsonValue(std::move(value))); }
    bool binary(binary_t&) override { return false; } // does not occur in text

    bool start_object(std::size_t) override { return open(JsonValue(JsonValue::Object())); }
    bool start_array(std::size_t) override { return open(JsonValue(JsonValue::Array())); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        const auto added = open_.back()->object()->emplace(name, JsonValue());
        if (!added.second) refuse(&name, "key given twice; leave one out");
        next_ = &*added.first;
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override {
        if (error.id == 406) refuse(nullptr, "number too large for a double; write a smaller one");
        const std::string_view before = text_.substr(0, std::min(position, text_.size()));
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        const std::size_t start = before.rfind('\n');
        const std::size_t offset = before.size() - (start == std::string_view::npos ? 0 : start + 1);
        const std::size_t column = std::max<std::size_t>(offset, 1); // the end of an empty line counts as 1
        throw HostError(ExitCode::kInput, "not valid JSON at line " + std::to_string(line) + ", column " +
                                              std::to_string(column) + "; mend the text there");
    }

private:
    JsonValue* place(JsonValue value) {
        if (open_.empty()) {
            root = std::move(value);
            return &root;
        }
        if (JsonValue::Array* list = open_.back()->array()) {
            list->push_back(std::move(value));
            return &list->back();
        }
        next_->second = std::move(value);
        return &next_->second;
    }
    bool put(JsonValue value) {
        place(std::move(value));
        return true;
    }
    bool open(JsonValue value) {
        if (open_.size() >= kMaxJsonDepth)
            throw HostError(ExitCode::kInput,
                            "nested deeper than " + std::to_string(kMaxJsonDepth) +
                                " levels; captures and rig files need about ten, name one of them");
        // The parent does not grow while the child is open, so the pointer stays good.
        if (!open_.empty()) names_.push_back(open_.back()->object() ? next_->first : std::string());
        open_.push_back(place(std::move(value)));
        return true;
    }
    bool close() {
        open_.pop_back();
        if (!names_.empty()) names_.pop_back();
        return true;
    }
    // Refuses the value that would come next (or the named key) with its pointer.
    [[noreturn]] void refuse(const std::string* key, const std::string& text) const {
        std::string pointer;
        for (std::size_t level = 0; level < open_.size(); ++level) {
            const bool last = level + 1 == open_.size();
            if (const JsonValue::Array* list = open_[level]->array())
                pointer += '/' + std::to_string(last ? list->size() : list->size() - 1);
            else if (!last)
                appendEscaped(pointer, names_[level]);
            else
                appendEscaped(pointer, key ? *key : next_->first);
        }
        throw HostError(ExitCode::kInput, pointer + (pointer.empty() ? "" : ": ") + text);
    }

    std::string_view text_;
    std::vector<JsonValue*> open_;
    std::vector<std::string> names_; // per open level but the last: the key through which the next one hangs
    std::pair<const std::string, JsonValue>* next_ = nullptr; // the key that waits for its value
};

} // namespace

const char* JsonValue::typeName() const {
    static constexpr const char* kNames[] = {"null", "boolean", "number", "text", "list", "object"};
    return kNames[static_cast<std::size_t>(kind_)];
}

std::string JsonPlace::pointer() const {
    if (!above_) return {};
    std::string text = above_->pointer();
    if (key_)
        appendEscaped(text, *key_);
    else
        text += '/' + std::to_string(index_);
    return text;
}

void JsonPlace::refuse(const std::string& text) const {
    const std::string where = pointer();
    throw HostError(ExitCode::kInput, where + (where.empty() ? "" : ": ") + text);
}

void JsonPlace::refuseType(const char* expected, const JsonValue& found) const {
    refuse(std::string(expected) + " expected, " + found.typeName() + " found");
}

JsonValue parseJson(std::string_view text) {
    TreeBuilder builder(text);
    nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
    return std::move(builder.root);
}

std::string readJsonFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw HostError(ExitCode::kInput, "is a folder; name a capture file");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw HostError(ExitCode::kInput, std::string("cannot be opened (") + std::strerror(errno) +
                                              "); check the path and its permissions");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) throw HostError(ExitCode::kInput, "reading failed; its disk may have a fault");
    return text;
}

} // namespace talvisora::host
