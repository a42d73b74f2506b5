// SPDX-License-Identifier: Apache-2.0
// One run of `grhost mirror` or `grhost transfer`: a rig file in, a rig file out. The old rig stays as it was
// until the new one is whole; both may be the same file.
#pragma once

#include "host/rig_edit/mirror.h"
#include "host/rig_edit/transfer.h"
#include "host/rig_picture/rig_picture.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct MirrorJob {
    std::string rig, output;
    std::string character; ///< path; empty: the one that the rig file names
    bool keepUnknown = false;
    MirrorOptions options;
    RigPictureOptions picture;
};

struct MirrorReport {
    std::string rig, output;
    std::size_t points = 0;
    MirrorResult result;
    std::vector<std::string> notes;
    std::vector<std::string> pictures; ///< paths of what was drawn
};

/// Throws HostError: kUsage, kInput, kOutput; whatever is thrown, the rig has not been written.
MirrorReport runMirrorJob(const MirrorJob& job);

struct TransferJob {
    std::string rig, output;
    std::string character; ///< to which the rig goes
    std::string source;    ///< the character that it comes from; empty: the one that the rig file names
    FileUnit units = FileUnit::kFromFile; ///< of `character`; kFromFile: as the rig file says
    bool keepUnknown = false;
    double maxDistance = -1.0;
    RigPictureOptions picture; ///< of the new rig; the unmatched points are marked
};

struct TransferReport {
    std::string rig, character, output;
    std::size_t pointsBefore = 0, points = 0;
    TransferResult result;
    std::vector<std::string> notes;
    std::vector<std::string> pictures; ///< paths of what was drawn
};

/// The same. The skeletons must have the joints of the rig in common, by name.
TransferReport runTransferJob(const TransferJob& job);

} // namespace talvisora::host
