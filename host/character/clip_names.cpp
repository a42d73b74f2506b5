// SPDX-License-Identifier: Apache-2.0
// What people type about clips: a name or a part of it, and frames.
#include "host/character/clip.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr int kMostFrames = 1000000;

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string quotedList(const Character& character, const std::vector<std::size_t>& clips) {
    std::string list;
    for (std::size_t clip : clips) list += (list.empty() ? "'" : ", '") + character.clips[clip].name + "'";
    return list;
}

/// A whole number from the start of `text` on; moves `at` behind it. -1: there is none.
long long readNumber(const std::string& text, std::size_t& at) {
    if (at >= text.size() || !std::isdigit(static_cast<unsigned char>(text[at]))) return -1;
    long long value = 0;
    for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at)
        value = std::min(value * 10 + (text[at] - '0'), 1000000000LL);
    return value;
}

} // namespace

std::size_t findClip(const Character& character, const std::string& text) {
    std::vector<std::size_t> all, parts, exactParts;
    for (std::size_t c = 0; c < character.clips.size(); ++c) all.push_back(c);
    if (all.empty())
        throw HostError(ExitCode::kInput,
                        "'" + character.path + "' has no clips; export it with its animation");
    if (text.empty()) {
        for (std::size_t c : all)
            if (character.clips[c].seconds > 0.0) return c;
        return 0;
    }
    for (std::size_t c : all) {
        const std::string& name = character.clips[c].name;
        if (name == text) return c;
        if (name.find(text) != std::string::npos) exactParts.push_back(c);
        if (lower(name).find(lower(text)) != std::string::npos) parts.push_back(c);
    }
    if (exactParts.size() == 1) return exactParts[0];
    if (parts.size() == 1) return parts[0];
    if (parts.empty())
        throw HostError(ExitCode::kInput, "'" + character.path + "' has no clip '" + text + "'; it has " +
                                              quotedList(character, all));
    throw HostError(ExitCode::kInput, "'" + text + "' names several clips of '" + character.path +
                                          "': " + quotedList(character, parts) + "; give more of the name");
}

int lastFrame(const Clip& clip, double fps) {
    // The tolerance keeps a last key that lies on a frame there, whatever its ticks were divided by.
    const double frames = std::floor(clip.seconds * fps + 1e-4);
    if (!(frames > 0.0)) return 1;
    return frames < 2e9 ? static_cast<int>(frames) + 1 : 2000000000;
}

std::vector<int> parseFrames(const std::string& text, int last) {
    const auto misread = [&]() {
        return HostError(ExitCode::kUsage,
                         "cannot read the frames '" + text + "'; write 1-48, 1,12,24 or all");
    };
    std::vector<std::pair<long long, long long>> ranges;
    const bool all = text.empty() || text == "all";
    if (all) ranges.emplace_back(1, last);
    for (std::size_t at = 0; !all;) {
        const long long from = readNumber(text, at);
        long long to = from;
        if (at < text.size() && text[at] == '-') to = readNumber(text, ++at);
        if (from < 0 || to < from) throw misread();
        ranges.emplace_back(from, to);
        if (at == text.size()) break;
        if (text[at] != ',' || ++at == text.size()) throw misread();
    }
    std::vector<int> frames;
    for (const auto& [from, to] : ranges) {
        if (from < 1 || to > last)
            throw HostError(ExitCode::kInput, "frame " + std::to_string(from < 1 ? from : to) +
                                                  " lies outside the clip; its frames are 1 to " +
                                                  std::to_string(last));
        if (to - from + 1 > kMostFrames - static_cast<long long>(frames.size()))
            throw HostError(ExitCode::kInput, "more than a million frames at once; ask for a range of them");
        for (long long f = from; f <= to; ++f) frames.push_back(static_cast<int>(f));
    }
    return frames;
}

} // namespace talvisora::host
