// SPDX-License-Identifier: Apache-2.0
// What reader and writer of the rig file share. Private to this folder.
#pragma once

#include "host/capture/json_writer.h"
#include "host/rig_file/rig_file.h"

namespace talvisora::host::rig_parts {

/// The values that lists and files need not spell out, over the whole file: 1 GiB of them.
inline constexpr std::size_t kMostFilledValues = std::size_t{1} << 28;
/// Points are counted in 32 bits with sign, as the module does.
inline constexpr std::size_t kMostPoints = 0x7fffffff;

/// The folder that relative paths in the rig file start from; links to the file are followed.
std::string folderOf(const std::string& rigPath);

/// The name in that folder.
std::string fileNameOf(const std::string& rigPath);

/// Refuses a rig whose parts do not belong together: "POINTER: text", HostError kInput.
void checkRig(const RigFile& rig);

/// Values that most points have; the writer spells out only the others where those are few.
inline constexpr float kNoWeight = 0.0f, kNoParam = 0.0f, kNoMapWeight = 1.0f;

} // namespace talvisora::host::rig_parts
