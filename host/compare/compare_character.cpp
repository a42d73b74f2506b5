// SPDX-License-Identifier: Apache-2.0
#include "host/compare/compare_parts.h"
#include "host/deform/frame_outputs.h"
#include "host/deform/stage.h"
#include "host/progress.h"

namespace talvisora::host {

namespace {

void refuseFailure(const std::string& character, int frame, const std::string& side,
                   const CallResult& result) {
    const std::string failure = deviceFailure(result);
    if (failure.empty()) return;
    throw HostError(ExitCode::kModuleFailed,
                    character + ": frame " + std::to_string(frame) + " on " + side + ": " + failure);
}

} // namespace

std::unique_ptr<Comparison> compareCharacter(const CompareJob& job, CompareReport& report,
                                             ComparedMesh& mesh) {
    report.unit = "frame";
    report.second = openDevice(job.deform.device.number);
    DeformJob deform = job.deform;
    deform.character = job.first;
    DeformInputs inputs(deform);
    inputs.buildRig();
    const Module module(deform.module);
    Stage stage(inputs, module, "grhost_compare");
    const std::size_t points = inputs.character.points.size();
    auto comparison = std::make_unique<Comparison>(std::uint64_t{points} * inputs.frames.size());
    std::optional<MeantDifferences> meant; // the same for all frames: weights do not move
    Progress progress("frames", inputs.frames.size(), deform.quiet);
    for (const int frame : inputs.frames) {
        Session& session = stage.session();
        stage.pose(frame);
        if (!meant) meant = meantDifferences(session.attributes, *session.record);
        refuseFailure(job.first, frame, "the CPU", session.deformCpu());
        const std::vector<Vec3d> first = session.record->points;
        session.record->points = inputs.character.points;
        refuseFailure(job.first, frame, report.second, session.deformGpu());
        comparison->addFrame(frame, first, session.record->points, &*meant);
        progress.advance();
    }
    mesh.meshes = outputMeshes(inputs.character);
    mesh.points = points;
    mesh.zUp = inputs.zUp;
    return comparison;
}

} // namespace talvisora::host
