// SPDX-License-Identifier: Apache-2.0
// One run of `grhost view`: a character's clip, deformed by the module and skinned in two ordinary ways
// beside it, written as one page that plays in a browser from disk.
#pragma once

#include "host/character/auto_blocks.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct ViewJob {
    std::string target;       ///< path of a rig file (.json) or of a character
    std::string output;       ///< .html
    std::string character;    ///< path; empty: the one that the rig file names
    bool keepUnknown = false; ///< take a rig file with keys that are not known
    std::string clip;         ///< name or unique part of it; empty: the first with any length
    std::string frames;       ///< "1-48", "1,12,24"; empty: the whole clip
    double fps = 24.0;
    bool simple = false; ///< of the rig that is made up
    FileUnit units = FileUnit::kFromFile;
    std::string up;      ///< "y" or "z"; empty: the rig file's, or y
    int gpu = -1;        ///< OpenCL device to evaluate on as well; -1: none
    std::string page;    ///< the page to fill; empty: the one beside the executable
    std::string module;  ///< path; empty: the one beside the executable
    std::string overlay; ///< likewise
    std::string variant;
    int threads = 0;
    bool quiet = false;
};

struct ViewReport {
    std::string output, clip;
    std::size_t frames = 0, points = 0, blocks = 0;
    std::vector<std::string> ways; ///< of skinning, as the page names them
    std::uint64_t bytes = 0;
    std::string gpu;         ///< the device; empty: none
    double gpuLargest = 0.0; ///< largest distance between processor and device
    std::vector<std::string> notes;
};

/// Path of the page that lies beside this executable when the build could make it.
std::string defaultViewPage();

/// Throws HostError: kUsage (options), kInput (rig, character, clip, frames, module, page), kModuleFailed,
/// kOutput. The page is written whole or not at all.
ViewReport runViewJob(const ViewJob& job);

} // namespace talvisora::host
