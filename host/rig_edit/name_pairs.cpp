// SPDX-License-Identifier: Apache-2.0
#include "host/rig_edit/mirror.h"

#include <algorithm>

namespace talvisora::host {

namespace {

bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}

bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

bool isLetter(char c) {
    return isLower(c) || isUpper(c);
}

// Whether the part at `at` is a word of its own: a single letter needs something else beside it, a longer
// word ends where capitals begin.
bool standsAlone(const std::string& name, std::size_t at, const std::string& part) {
    const bool single = std::count_if(part.begin(), part.end(), isLetter) == 1;
    const std::size_t end = at + part.size();
    if (end < name.size() && isLetter(part.back()) && (single ? isLetter(name[end]) : isLower(name[end])))
        return false;
    if (at == 0 || !isLetter(part.front())) return true;
    const char before = name[at - 1];
    return single || isLower(part.front()) ? !isLetter(before) : !isUpper(before);
}

void addReplaced(const std::string& name, const std::string& part, const std::string& by,
                 std::vector<std::string>& names) {
    for (std::size_t at = name.find(part); at != std::string::npos; at = name.find(part, at + 1)) {
        if (!standsAlone(name, at, part)) continue;
        const std::string other = name.substr(0, at) + by + name.substr(at + part.size());
        if (std::find(names.begin(), names.end(), other) == names.end()) names.push_back(other);
    }
}

} // namespace

NamePairs parseNamePairs(const std::string& text) {
    NamePairs pairs;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const std::string pair = text.substr(at, end - at);
        const std::size_t slash = pair.find('/');
        const std::string left = pair.substr(0, std::min(slash, pair.size()));
        const std::string right = slash == std::string::npos ? "" : pair.substr(slash + 1);
        if (left.empty() || right.empty() || left == right || right.find('/') != std::string::npos)
            throw HostError(ExitCode::kUsage,
                            "--pairs " + text + ": LEFT/RIGHT,… expected, for example _L/_R,Left/Right");
        pairs.emplace_back(left, right);
        at = end + 1;
    }
    return pairs;
}

const NamePairs& defaultNamePairs() {
    static const NamePairs pairs = {{"_L", "_R"},      {".L", ".R"},      {"L_", "R_"},
                                    {"_l", "_r"},      {".l", ".r"},      {"l_", "r_"},
                                    {"Left", "Right"}, {"left", "right"}, {"LEFT", "RIGHT"}};
    return pairs;
}

std::vector<std::string> otherSideNames(const std::string& name, const NamePairs& pairs) {
    std::vector<std::string> names;
    for (const auto& pair : pairs) {
        addReplaced(name, pair.first, pair.second, names);
        addReplaced(name, pair.second, pair.first, names);
    }
    return names;
}

} // namespace talvisora::host
