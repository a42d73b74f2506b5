// SPDX-License-Identifier: Apache-2.0
// The version that grhost names, the same as the project's.
#pragma once

namespace talvisora::host {

inline constexpr const char* kVersion = "0.1.0";

} // namespace talvisora::host
