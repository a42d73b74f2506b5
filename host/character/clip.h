// SPDX-License-Identifier: Apache-2.0
// Clips of a character: found by name, cut into frames, sampled into a pose of the joints. Frame f lies at
// (f - 1) / fps seconds; the first frame is 1.
#pragma once

#include "host/character/character.h"

namespace talvisora::host {

/// The joints' matrices at one moment; both lists are parallel to Character::joints.
struct Pose {
    std::vector<Matrix44d> world; ///< evaluation units
    std::vector<Matrix44d> local; ///< against the parent joint; for a root the same as world
};

/// Index of the clip with this name, else of the only one that has `text` as a part of its name: with these
/// capitals, else whatever the capitals. Empty text: the first clip that has any length (the first one when
/// none has). Throws HostError kInput that lists the clips when none or several fit.
std::size_t findClip(const Character& character, const std::string& text);

/// The last frame of a clip: the largest f with (f - 1) / fps <= seconds. At least 1.
int lastFrame(const Clip& clip, double fps);

/// Frames of "all" (or empty), "12", "1-48", "1,12,24" and mixtures, in the order given. Reversed ranges and
/// other text are a HostError kUsage; a frame outside 1 … last a HostError kInput that names the last one.
std::vector<int> parseFrames(const std::string& text, int last);

/// Time of a frame; fps must be positive.
inline double frameSeconds(int frame, double fps) {
    return (frame - 1) / fps;
}

/// Samples a clip. Positions and scales run straight between keys, rotations the shorter way round; before
/// the first and after the last key the key holds. Nodes and components without keys keep the pose as loaded.
Pose samplePose(const Character& character, const Clip& clip, double seconds);

/// The pose of the file as loaded, without any clip.
Pose loadedPose(const Character& character);

/// The rest pose: worlds are the joints' rest matrices.
Pose restPose(const Character& character);

/// A pose from world matrices, one per joint (for callers that turn joints themselves). A parent matrix that
/// cannot be inverted counts as the identity, as everywhere.
Pose poseFromWorld(const Character& character, std::vector<Matrix44d> world);

} // namespace talvisora::host
