// SPDX-License-Identifier: Apache-2.0
// What a run over a character's frames works with: the character with its clip, frames and rig as the options
// say, and one node of the module that is posed frame after frame.
#pragma once

#include "host/deform/deform_job.h"
#include "host/rig_file/rig_file.h"
#include "host/session.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

/// Everything that is read before the first evaluation. Stays where it is: the clip points into the
/// character.
struct DeformInputs {
    /// Reads the rig file (if the job names one) and the character; finds clip and frames. `job` must outlive
    /// this. Throws HostError kInput and kUsage.
    explicit DeformInputs(const DeformJob& job);
    DeformInputs(const DeformInputs&) = delete;
    DeformInputs& operator=(const DeformInputs&) = delete;

    /// Frames of a text, checked against the clip. Throws HostError kUsage and kInput.
    std::vector<int> framesOf(const std::string& text) const;
    /// Fills `rig`: the file's, or one that is made up. Throws HostError kInput and kUsage.
    void buildRig();

    const DeformJob& job;
    std::optional<RigFile> rigFile; ///< what the user says comes before what it remembers
    Character character;
    const Clip* clip = nullptr;
    std::vector<int> frames; ///< that the job asks for, never empty
    bool zUp = false;
    AutoRig rig;
};

/// One character in one clip, bound to a session of the module.
class Stage {
public:
    /// `inputs`, with its rig, and `module` must outlive the stage.
    Stage(DeformInputs& inputs, const Module& module, const std::string& nodeName);

    /// Poses the rig and puts the rest points into the record.
    Pose pose(int frame);
    Session& session() { return session_; }

private:
    DeformInputs& inputs_;
    Session session_;
};

} // namespace talvisora::host
