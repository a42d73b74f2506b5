// SPDX-License-Identifier: Apache-2.0
// Tables for people on a terminal.
#pragma once

#include <string>
#include <vector>

namespace talvisora::host {

/// Rows of equal length, the heading first, as lines with aligned columns: the first `left` columns start at
/// their left, the others (numbers) end at their right. Texts may hold anything; control characters become
/// '?', so that a row stays one line.
std::string alignedTable(const std::vector<std::vector<std::string>>& rows, std::size_t left);

} // namespace talvisora::host
