// SPDX-License-Identifier: Apache-2.0
// One run of `grhost deform`: a character, one of its clips, a module, and what is to be written.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/character/deform_quality.h"
#include "host/device/device_run.h"
#include "host/picture/render.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

struct DeformJob {
    std::string character;               ///< path
    std::string clip;                    ///< name or unique part of it; empty: the first with any length
    std::string frames;                  ///< "1-48", "1,12,24"; empty: the whole clip
    std::vector<std::string> outputs;    ///< .pc2, .obj, .glb
    std::string picture;                 ///< .png, or .webp: moving; empty: none
    std::string pictureFrames;           ///< empty: four spread over the frames; moving: all
    std::string view = "three-quarter";  ///< a name for viewNamed
    std::string pictureSize = "480x340"; ///< of one frame, pixels
    std::string up;                      ///< the file's upward axis, "y" or "z"; empty: the rig file's, or y
    bool baseline = false;               ///< measure (and draw) against linear blending
    FileUnit units = FileUnit::kFromFile;
    double fps = 24.0;
    AutoBlockOptions blocks;  ///< of the rig that is made up; without effect when there is a rig file
    std::string rig;          ///< path of a rig file; empty: a rig is made up
    bool keepUnknown = false; ///< take a rig file with keys that are not known
    bool tangentTurn = true;
    std::string capture;  ///< path; empty: none
    int captureFrame = 0; ///< 0: the first frame
    bool quiet = false;
    std::string module;  ///< path; empty: the one beside the executable
    std::string variant; ///< processor variant; empty: the best
    int threads = 0;     ///< 0: all
    DeviceChoice device; ///< where the frames are evaluated; kAsWritten: the processor
};

struct DeformReport {
    std::string character, clip;
    std::size_t points = 0, vertices = 0, triangles = 0, blocks = 0, records = 0;
    double blocksPerPoint = 0.0;
    std::size_t frames = 0;         ///< evaluations made
    double deformSeconds = 0.0;     ///< inside the module
    double totalSeconds = 0.0;      ///< from start to end, reading and writing included
    double leftBehind = 0.0;        ///< largest share of a weighted point that no block takes
    std::vector<std::string> notes; ///< warnings of the file and of the rig
    std::vector<std::string> written;
    std::optional<QualityReport> quality; ///< with baseline
    std::optional<DeviceReport> device;   ///< when the job names one

    /// Points deformed per second of the module's time, and of the whole run.
    double deformRate() const;
    double totalRate() const;
};

/// Does it all. Throws HostError: kUsage (options), kInput (character, clip, frames, module), kModuleFailed
/// (the module reported a failure or a result is not finite), kOutput. Whatever is thrown, no output is half
/// written.
DeformReport runDeformJob(const DeformJob& job);

} // namespace talvisora::host
