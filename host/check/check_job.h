// SPDX-License-Identifier: Apache-2.0
// One run of `grhost check`: a rig file with its character, or a character with the rig that the host makes
// up; one evaluation at rest through the module, and everything that is found.
#pragma once

#include "host/check/rig_check.h"
#include "host/rig_picture/rig_picture.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct CheckJob {
    std::string target;       ///< path of a rig file (.json) or of a character
    std::string character;    ///< path; empty: the one that the rig file names
    bool keepUnknown = false; ///< take a rig file with keys that are not known
    FileUnit units = FileUnit::kFromFile;
    std::string up;            ///< "y" or "z"; empty: the rig file's, or y
    RigPictureOptions picture; ///< with the points of all findings as the first cell
    std::string module;        ///< path; empty: the one beside the executable
    std::string variant;
    int threads = 0;
};

struct CheckReport {
    std::string target, character;
    std::size_t points = 0, blocks = 0;
    bool evaluated = false;        ///< false: a chain is in the way
    std::vector<Finding> findings; ///< in the order of FindingKind
    std::vector<std::string> notes;
    std::vector<std::string> pictures; ///< paths of what was drawn
};

/// Throws HostError: kUsage (options), kInput (rig, character, module), kModuleFailed, kOutput (the picture).
/// Findings are no failure.
CheckReport runCheckJob(const CheckJob& job);

} // namespace talvisora::host
