// SPDX-License-Identifier: Apache-2.0
// The little of the command language that the module speaks, the undo list, and the record of commands.
#include "scene/mel.h"
#include "scene_state.h"

#include <maya/MGlobal.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace headless {
namespace {

struct CommandLog {
    std::mutex mutex;
    std::vector<Command> kept;
};

CommandLog& commandLog() {
    static CommandLog& instance = *new CommandLog;
    return instance;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isNameCharacter(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Reads a text from left to right; each step is false when the text does not go on like that.
class Reader {
public:
    explicit Reader(std::string_view text) : rest(text) {}

    bool blanks(bool needed) {
        const std::size_t before = rest.size();
        while (!rest.empty() && (rest[0] == ' ' || rest[0] == '\t' || rest[0] == '\n' || rest[0] == '\r'))
            rest.remove_prefix(1);
        return !needed || rest.size() < before;
    }
    bool literal(std::string_view word) {
        if (rest.substr(0, word.size()) != word) return false;
        rest.remove_prefix(word.size());
        return true;
    }
    bool name(std::string& found, bool ofNode) {
        std::size_t n = 0;
        while (n < rest.size() && (isNameCharacter(rest[n]) || (ofNode && rest[n] == ':'))) ++n;
        if (n == 0 || isDigit(rest[0])) return false;
        found = rest.substr(0, n);
        rest.remove_prefix(n);
        return true;
    }
    bool index(unsigned int& found) {
        if (rest.empty() || !isDigit(rest[0])) return false;
        const auto result = std::from_chars(rest.data(), rest.data() + rest.size(), found);
        if (result.ec != std::errc() || found > 0x7FFFFFFFu) return false;
        rest.remove_prefix(static_cast<std::size_t>(result.ptr - rest.data()));
        return true;
    }
    // Digits with an optional sign, point and fraction; from_chars knows no locale.
    bool number(float& found) {
        std::size_t n = !rest.empty() && rest[0] == '-' ? 1 : 0;
        std::size_t digits = 0;
        bool point = false;
        for (; n < rest.size() && (isDigit(rest[n]) || (rest[n] == '.' && !point)); ++n) {
            if (rest[n] == '.')
                point = true;
            else
                ++digits;
        }
        if (digits == 0) return false;
        const auto result = std::from_chars(rest.data(), rest.data() + n, found, std::chars_format::fixed);
        if (result.ec == std::errc::result_out_of_range) {
            // Too large for a float fails; too small, without a digit other than 0 before the point, is 0.
            const std::string_view whole = rest.substr(0, std::min(n, rest.find('.')));
            if (whole.find_first_of("123456789") != std::string_view::npos) return false;
            found = rest[0] == '-' ? -0.0f : 0.0f;
        } else if (result.ec != std::errc() || result.ptr != rest.data() + n) {
            return false;
        }
        rest.remove_prefix(n);
        return true;
    }
    bool atEnd() const { return rest.empty(); }

private:
    std::string_view rest;
};

struct SetAttr {
    std::string node, compound, child;
    unsigned int index = 0, element = 0;
    float value = 0.0f;
};

bool parse(const std::string& text, SetAttr& command) {
    Reader reader(text);
    reader.blanks(false);
    if (!reader.literal("setAttr") || !reader.blanks(true)) return false;
    reader.literal("|");
    return reader.name(command.node, true) && reader.literal(".") && reader.name(command.compound, false) &&
           reader.literal("[") && reader.index(command.index) && reader.literal("].") &&
           reader.name(command.child, false) && reader.literal("[") && reader.index(command.element) &&
           reader.literal("]") && reader.blanks(true) && reader.number(command.value) &&
           reader.blanks(false) && reader.literal(";") && reader.blanks(false) && reader.atEnd();
}

// Caller holds the scene's mutex.
bool findPlace(Scene& s, const SetAttr& command, FloatPlace& place) {
    const auto named = s.nodeByName.find(command.node);
    if (named == s.nodeByName.end()) return false;
    const SceneObject& node = *s.find(named->second);
    for (std::size_t c = 0; c < node.compounds.size(); ++c) {
        if (node.compounds[c].name != command.compound) continue;
        for (std::size_t i = 0; i < node.compounds[c].children.size(); ++i) {
            if (node.compounds[c].children[i] != command.child) continue;
            place = {named->second, c, command.index, static_cast<int>(i), command.element};
            return true;
        }
    }
    return false;
}

} // namespace

bool runMel(const std::string& text, bool undoable) {
    SetAttr command;
    if (!parse(text, command)) return false;
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    FloatPlace place;
    if (!findPlace(s, command, place)) return false;
    SparseFloats& array = *s.arrayAt(place);
    if (undoable) {
        const float* before = array.find(place.element);
        s.undoList.push_back({place, before != nullptr, before ? *before : 0.0f});
    }
    array.get(place.element) = command.value;
    s.note(place, command.value, WriteKind::command, true);
    return true;
}

bool undo() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    while (!s.undoList.empty()) {
        const UndoEntry entry = s.undoList.back();
        s.undoList.pop_back();
        SparseFloats* array = s.arrayAt(entry.place);
        if (!array) continue;
        if (entry.existed)
            array->get(entry.place.element) = entry.before;
        else
            array->erase(entry.place.element);
        s.note(entry.place, entry.before, WriteKind::undo, entry.existed);
        return true;
    }
    return false;
}

std::size_t undoCount() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.undoList.size();
}

std::vector<Command> commands() {
    CommandLog& log = commandLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    return log.kept;
}

std::vector<Command> takeCommands() {
    std::vector<Command> taken;
    CommandLog& log = commandLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    taken.swap(log.kept);
    return taken;
}

void clearCommands() {
    takeCommands();
}

} // namespace headless

namespace Autodesk::Maya::OpenMaya20240000 {

MStatus MGlobal::executeCommand(const MString& command, bool displayEnabled, bool undoEnabled) {
    headless::noteApiCall("MGlobal::executeCommand");
    int length = 0;
    const char* bytes = command.asChar(length);
    std::string text(bytes, static_cast<std::size_t>(length));
    const bool succeeded = headless::runMel(text, undoEnabled);
    headless::CommandLog& log = headless::commandLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.kept.push_back({std::move(text), displayEnabled, undoEnabled, succeeded});
    return succeeded ? MStatus::kSuccess : MStatus::kFailure;
}

} // namespace Autodesk::Maya::OpenMaya20240000
