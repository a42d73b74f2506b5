// SPDX-License-Identifier: Apache-2.0
// One run of `grhost draw`: a character in one frame, deformed by the module, and over it what the rig is
// made of, drawn by the module's own drawing functions.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/picture/render.h"
#include "overlay.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct DrawJob {
    std::string target;       ///< path of a rig file (.json) or of a character
    std::string output;       ///< .png or .svg
    std::string character;    ///< path; empty: the one that the rig file names
    bool keepUnknown = false; ///< take a rig file with keys that are not known
    std::string clip;         ///< name or unique part of it; empty: the first with any length
    int frame = 0;            ///< from 1; 0: the first, or without any clip the pose as loaded
    bool rest = false;        ///< the rest pose instead of a frame
    double fps = 24.0;
    std::string view = "three-quarter";             ///< a name as for viewNamed, or "AZ,EL" in degrees
    std::string size = "1280x960";                  ///< WIDTHxHEIGHT in pixels
    std::string block;                              ///< name of the one block to draw; empty: all
    std::string labels;                             ///< index, weights or params; empty: none
    std::string points;                             ///< points that are labelled, "3,10-20"; empty: all
    std::string parts = "rest,curve,frames,tweaks"; ///< what is drawn of the rig; may be empty
    bool simple = false;                            ///< of the rig that is made up
    FileUnit units = FileUnit::kFromFile;
    std::string up;              ///< "y" or "z"; empty: the rig file's, or y
    std::string module, overlay; ///< paths; empty: those beside the executable
    std::string variant;
    int threads = 0;
};

struct DrawReport {
    std::string output, pose; ///< pose: "frame 12 of 'Run'", "rest"
    int width = 0, height = 0;
    std::size_t calls = 0; ///< that the module's functions made
    int blocks = 0, straightJoints = 0;
    std::size_t lines = 0, labels = 0, hiddenLabels = 0, crowdedLabels = 0;
    std::vector<std::string> notes;
};

/// A name as for viewNamed, or "AZ,EL" in degrees, with the given upward axis. HostError kUsage.
View parseView(const std::string& text, const Vec3d& up);

/// "1280x960", 16 to 8192 each. HostError kUsage.
void parseSize(const std::string& text, int& width, int& height);

/// Throws HostError: kUsage (options), kInput (rig, character, clip, frame, module), kModuleFailed, kOutput.
DrawReport runDrawJob(const DrawJob& job);

} // namespace talvisora::host
