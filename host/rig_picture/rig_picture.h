// SPDX-License-Identifier: Apache-2.0
// Pictures of a rig on its mesh at rest, the same for every verb that has `--picture`: weights or parameters
// of the blocks, or the points that are left behind, as colours from dark to light.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/picture/render.h"

#include <string>
#include <vector>

namespace talvisora::host {

/// More marks than this would hide the mesh: then colours show where the points are.
inline constexpr std::size_t kMostMarks = 150;

/// What the colours show.
enum class PictureOf {
    kWeights,    ///< each block's weights; grey where it does not act
    kParams,     ///< each block's parameters where it acts; a block that acts on no point yet shows all
    kLeftBehind, ///< the share of each point that no block takes, and how far its weights are from a sum of 1
};

/// "weights", "params" or "left-behind"; HostError kUsage for anything else.
PictureOf parsePictureOf(const std::string& text);

/// The options of the command line.
struct RigPictureOptions {
    std::string path; ///< empty: no picture. A "%b" in the file's name stands for the block: one picture each
    PictureOf show = PictureOf::kWeights;
    std::string view = "three-quarter,three-quarter-back"; ///< names as for viewNamed, with commas
    std::string size = "300x230";                          ///< of one view in pixels
};

/// Points that the sheet points out in a cell of its own; without any there is no such cell.
struct MarkedPoints {
    std::string name; ///< of the cell, e.g. "findings"
    std::vector<std::uint32_t> points;
};

/// One verb's pictures: checked before the work, written after it.
///     const RigPicture picture(job.picture, characterPath, {job.output}, job.rig);
///     …
///     report.pictures = picture.write(character, fitRig(rig, character), rig.upAxis == "z");
class RigPicture {
public:
    /// Checks the options, that the folder can be written to, and that no picture would replace one of the
    /// other files. HostError kUsage, kOutput. Without a path everything here does nothing.
    /// character, outputs, rig  paths of the verb's other files; rig and outputs may be empty
    RigPicture(const RigPictureOptions& options, const std::string& character,
               const std::vector<std::string>& outputs, const std::string& rig = {});

    /// Draws and writes, each file whole or not at all; gives back their paths. HostError kUsage (a
    /// block's picture would replace another file), kOutput (also a sheet past 64 million pixels).
    /// rig     fitted to the character, at rest
    /// marked  drawn as the first cell
    std::vector<std::string> write(const Character& character, const AutoRig& rig, bool zUp,
                                   const MarkedPoints& marked = {}) const;

private:
    void checkApart(const std::string& path) const;

    RigPictureOptions options_;
    std::string character_, rig_;
    std::vector<std::string> outputs_;
    PictureSize size_; ///< of one view
};

} // namespace talvisora::host
