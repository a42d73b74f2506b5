// SPDX-License-Identifier: Apache-2.0
#include "host/text_table.h"

#include <algorithm>

namespace talvisora::host {

namespace {

// How wide a text is on a terminal: bytes that go on with a character do not count.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

} // namespace

std::string alignedTable(const std::vector<std::vector<std::string>>& rows, std::size_t left) {
    if (rows.empty()) return {};
    std::vector<std::size_t> widths(rows[0].size(), 0);
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], width(row[c]));
    std::string table;
    for (const auto& row : rows) {
        std::string text;
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string blanks(widths[c] - width(row[c]), ' ');
            text += (c ? "  " : "") + (c < left ? row[c] + blanks : blanks + row[c]);
        }
        for (char& c : text)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
        table += text + "\n";
    }
    return table;
}

} // namespace talvisora::host
