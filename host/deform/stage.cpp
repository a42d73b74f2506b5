// SPDX-License-Identifier: Apache-2.0
#include "host/deform/stage.h"

#include "host/rig_file/rig_fit.h"
#include "host/rig_values.h"

namespace talvisora::host {

namespace {

std::optional<RigFile> readRig(const DeformJob& job) {
    if (job.rig.empty()) return std::nullopt;
    return readRigFile(job.rig, {job.keepUnknown, nullptr});
}

FileUnit unitsFor(const DeformJob& job, const std::optional<RigFile>& rigFile) {
    return rigFile && job.units == FileUnit::kFromFile ? unitsOf(*rigFile) : job.units;
}

} // namespace

DeformInputs::DeformInputs(const DeformJob& deformJob)
    : job(deformJob),
      rigFile(readRig(deformJob)),
      character(readCharacter(deformJob.character, {unitsFor(deformJob, rigFile),
                                                    rigFile ? SkinUse::kOptional : SkinUse::kRequired})),
      clip(&character.clips[findClip(character, deformJob.clip)]),
      frames(framesOf(deformJob.frames)),
      zUp((deformJob.up.empty() && rigFile ? rigFile->upAxis : deformJob.up) == "z") {}

std::vector<int> DeformInputs::framesOf(const std::string& text) const {
    try {
        return parseFrames(text, lastFrame(*clip, job.fps));
    } catch (const HostError& error) {
        if (error.code == ExitCode::kUsage) throw; // the text alone is wrong
        throw HostError(error.code, "'" + job.character + "': clip '" + clip->name + "': " + error.what());
    }
}

void DeformInputs::buildRig() {
    rig = rigFile ? fitRig(*rigFile, character) : buildAutoRig(character, job.blocks);
}

Stage::Stage(DeformInputs& inputs, const Module& module, const std::string& nodeName)
    : inputs_(inputs), session_(module, nodeName, inputs.job.threads) {
    fillSession(session_, inputs.character, inputs.rig, inputs.job.tangentTurn);
}

Pose Stage::pose(int frame) {
    Pose sampled = samplePose(inputs_.character, *inputs_.clip, frameSeconds(frame, inputs_.job.fps));
    applyPose(inputs_.rig, sampled);
    setFrame(session_, inputs_.character, inputs_.rig);
    return sampled;
}

} // namespace talvisora::host
