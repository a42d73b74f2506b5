// SPDX-License-Identifier: Apache-2.0
// A scene in which the module's reset commands can run: the character's mesh, a deformer node with the rig's
// blocks, a selection. The commands write to the node's attributes as they do in Maya; what they wrote is
// read back from there.
#pragma once

#include "host/session.h"

#include "host/character/auto_blocks.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// Which of the two commands.
enum class ResetKind { kParams, kWeights };

/// "resetParams" or "resetWeights".
const char* resetCommandName(ResetKind kind);

struct ResetRequest {
    ResetKind kind = ResetKind::kParams;
    std::size_t block = 0;         ///< index, must be one of the rig's
    int smooth = 0;                ///< passes; none when 0
    double maxDistanceCoeff = 1.0; ///< of kWeights only
};

/// Threads: one stage, one thread; like Session, two stages may not be at work at once.
class ResetStage {
public:
    /// The character's points with the triangles of all its meshes become one mesh of the scene. `rig` must
    /// fit the character; module, character and rig must outlive the stage. HostError kInput when the scene
    /// does not take the mesh.
    ResetStage(const Module& module, const Character& character, const AutoRig& rig, int threads = 0);
    ~ResetStage();
    ResetStage(const ResetStage&) = delete;
    ResetStage& operator=(const ResetStage&) = delete;

    /// Narrows the next commands to these points, each below the number of points; absent: all of them.
    void select(const std::optional<std::vector<std::uint32_t>>& points);

    /// Runs the command over `present`, the block's values as they are (one per point): what is not selected
    /// stays. Returns one value in [0, 1] per point. HostError kModuleFailed when the module reports a
    /// failure; `what` stands at the start of its text.
    std::vector<float> run(const ResetRequest& request, const std::vector<float>& present,
                           const std::string& what);

private:
    Session session_;
    MObject mesh_;
    std::string meshName_;
    std::size_t points_ = 0;
};

/// HostError kInput naming the module and `wanted` unless it exports the command.
void requireReset(const Module& module, ResetKind kind, const std::string& wanted);

} // namespace talvisora::host
