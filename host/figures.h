// SPDX-License-Identifier: Apache-2.0
// Figures in what is said to people: rounded numbers and counted things, the same wherever they are printed.
#pragma once

#include <cstdint>
#include <string>

namespace talvisora::host {

/// At most so many significant digits, the power of ten behind an e where it is shorter: "0.1667", "1e+30".
std::string shortNumber(double value, int digits = 4);

/// So many digits after the point: "0.167"; from a million on, where that would be a row of meaningless
/// digits, shortNumber. At most 13 characters for up to 5 decimals, so that tables keep their columns.
std::string fixedNumber(double value, int decimals);

/// "1 point", "12 points"; `many` where it is not `one` with an s: "2 vertices".
std::string counted(std::uint64_t count, const std::string& one, const std::string& many = {});

} // namespace talvisora::host
