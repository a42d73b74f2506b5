// SPDX-License-Identifier: Apache-2.0
// Order: options, rig, characters, the edit, a last fit of what came out, the file.
#include "host/rig_edit/edit_jobs.h"

#include "host/deform/frame_outputs.h"
#include "host/rig_file/rig_fit.h"

#include <cmath>

namespace talvisora::host {

namespace {

// Lengths and distances of the command line; below 0 stands for "not given" and never comes from outside.
void checkLength(const char* option, double value) {
    if (!std::isfinite(value))
        throw HostError(ExitCode::kUsage, std::string(option) + ": a length of 0 or more expected");
}

} // namespace

MirrorReport runMirrorJob(const MirrorJob& job) {
    checkRigPath(job.output);
    checkLength("--seam", job.options.seam);
    checkLength("--tolerance", job.options.tolerance);
    RigFile rig = readRigFile(job.rig, {job.keepUnknown, nullptr});
    const std::string path = rig.characterOr(job.character);
    checkFilesApart(path, {job.output}, "", "");
    const RigPicture picture(job.picture, path, {job.output}, job.rig);
    const Character character = readCharacter(path, {unitsOf(rig), SkinUse::kOptional});
    MirrorReport report;
    report.rig = job.rig;
    report.output = job.output;
    report.points = character.points.size();
    report.notes = fitRig(rig, character).notes;
    report.result = mirrorRig(rig, character, job.options);
    rig.mesh.character = characterPathFrom(job.output, path);
    if (!job.picture.path.empty())
        report.pictures = picture.write(character, fitRig(rig, character), rig.upAxis == "z",
                                        {"unmatched", report.result.unmatched});
    writeRigFile(job.output, rig);
    return report;
}

TransferReport runTransferJob(const TransferJob& job) {
    checkRigPath(job.output);
    checkLength("--max-distance", job.maxDistance);
    RigFile rig = readRigFile(job.rig, {job.keepUnknown, nullptr});
    const std::string source = rig.characterOr(job.source, "--source");
    checkFilesApart(source, {job.output}, "", "");
    checkFilesApart(job.character, {job.output}, "", "");
    const RigPicture picture(job.picture, job.character, {job.output}, job.rig);
    const FileUnit units = job.units == FileUnit::kFromFile ? unitsOf(rig) : job.units;
    if ((units == FileUnit::kKeep) != (unitsOf(rig) == FileUnit::kKeep))
        throw HostError(ExitCode::kUsage, "--units " + fileUnitText(units) + ": the lengths of '" + job.rig +
                                              "' are " +
                                              (rig.units.length == "cm" ? "centimetres" : "the file's own") +
                                              "; both characters must be read the same way");
    const Character from = readCharacter(source, {unitsOf(rig), SkinUse::kOptional});
    fitRig(rig, from);
    const Character to = readCharacter(job.character, {units, SkinUse::kOptional});
    TransferReport report;
    report.rig = job.rig;
    report.character = job.character;
    report.output = job.output;
    report.pointsBefore = from.points.size();
    report.points = to.points.size();
    report.result = transferRig(rig, from, to, job.maxDistance);

    // The rig now belongs to the other mesh; what the file says about it besides stays.
    const RigFile about = makeRigFile(to, AutoRig{}, job.output, units, rig.upAxis);
    const KeptKeys meshKeys = rig.mesh.kept, unitKeys = rig.units.kept;
    rig.mesh = about.mesh;
    rig.mesh.kept = meshKeys;
    rig.units = about.units;
    rig.units.kept = unitKeys;
    report.notes = to.warnings;
    const AutoRig fitted = fitRig(rig, to);
    report.notes.insert(report.notes.end(), fitted.notes.begin(), fitted.notes.end());
    report.pictures = picture.write(to, fitted, rig.upAxis == "z", {"unmatched", report.result.unmatched});
    writeRigFile(job.output, rig);
    return report;
}

} // namespace talvisora::host
