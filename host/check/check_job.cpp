// SPDX-License-Identifier: Apache-2.0
// Order: options, rig, character, chains, one evaluation, the module's own check, ours, the picture.
#include "host/check/check_job.h"

#include "command.h"
#include "host/rig_file/rig_fit.h"
#include "host/rig_values.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace talvisora::host {

namespace {

constexpr const char* kCommand = "checkFloatingPoints";

void checkOptions(const CheckJob& job, bool rig) {
    const auto refuse = [](const std::string& text) { throw HostError(ExitCode::kUsage, text); };
    if (!job.up.empty() && job.up != "y" && job.up != "z") refuse("--up " + job.up + ": y or z expected");
    if (!rig && !job.character.empty())
        refuse("--character goes with a rig file; '" + job.target + "' is a character itself");
}

void add(std::vector<Finding>& to, std::vector<Finding> more) {
    to.insert(to.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

[[noreturn]] void moduleFailed(const CheckJob& job, const std::string& what, const CallResult& result) {
    std::string text = job.target + ": " + what + ": ";
    if (result.threw)
        text += "the module threw '" + result.thrown + "'";
    else
        text += "the module answered status " + std::to_string(result.status);
    if (!result.messages.empty()) text += " and said: " + result.messages.front().text;
    throw HostError(ExitCode::kModuleFailed, text);
}

// Points whose weights do not sum to 1, as the module sees them after an evaluation.
std::vector<Finding> askModule(Session& session, const CheckJob& job) {
    ValueMap arguments = session.commandArguments();
    const CallResult result = session.runCommand(kCommand, arguments);
    const auto output = castTo<GrInt>(arguments[key::kOutput]);
    if (result.threw || result.status != 0 || !output) moduleFailed(job, kCommand, result);
    Finding finding{FindingKind::kFloating, "", "floating: their block weights do not sum to 1", {}};
    for (const std::int32_t point : output->values)
        if (point >= 0) finding.points.push_back(static_cast<std::uint32_t>(point));
    std::sort(finding.points.begin(), finding.points.end());
    if (finding.points.empty()) return {};
    return {finding};
}

MarkedPoints markedPoints(const std::vector<Finding>& findings) {
    MarkedPoints marked{"findings", {}};
    for (const Finding& finding : findings)
        marked.points.insert(marked.points.end(), finding.points.begin(), finding.points.end());
    std::sort(marked.points.begin(), marked.points.end());
    marked.points.erase(std::unique(marked.points.begin(), marked.points.end()), marked.points.end());
    return marked;
}

} // namespace

CheckReport runCheckJob(const CheckJob& job) {
    std::string extension = std::filesystem::path(job.target).extension().string();
    const bool isRig = extension == ".json";
    checkOptions(job, isRig);
    chooseVariant(job.variant);

    std::optional<RigFile> rigFile;
    if (isRig) rigFile = readRigFile(job.target, {job.keepUnknown, nullptr});
    CheckReport report;
    report.target = job.target;
    report.character = isRig ? rigFile->characterOr(job.character) : job.target;
    const RigPicture picture(job.picture, report.character, {}, isRig ? job.target : "");
    const FileUnit units = rigFile && job.units == FileUnit::kFromFile ? unitsOf(*rigFile) : job.units;
    const bool zUp = (job.up.empty() && rigFile ? rigFile->upAxis : job.up) == "z";
    const Character character =
        readCharacter(report.character, {units, rigFile ? SkinUse::kOptional : SkinUse::kRequired});
    const AutoRig rig = rigFile ? fitRig(*rigFile, character) : buildAutoRig(character);
    const Module module(job.module);
    if (!module.command(kCommand))
        throw HostError(ExitCode::kInput,
                        module.path() + ": the module does not offer checkFloatingPoints; name another one "
                                        "with --module FILE");

    report.points = character.points.size();
    report.blocks = rig.blocks.size();
    report.notes = character.warnings;
    report.notes.insert(report.notes.end(), rig.notes.begin(), rig.notes.end());
    report.findings = checkChains(rig);
    std::vector<Finding> floating, broken;
    if (report.findings.empty()) {
        Session session(module, "grhost_check", job.threads);
        fillSession(session, character, rig, true);
        setFrame(session, character, rig);
        const CallResult result = session.deformCpu();
        if (result.threw || result.status != 0) moduleFailed(job, "evaluation at rest", result);
        report.evaluated = true;
        broken = checkFinite(session.record->points);
        floating = askModule(session, job);
    }
    add(report.findings, floating);
    // Without the module's answer nothing can be said about what it would have answered.
    if (report.evaluated)
        add(report.findings,
            checkLeftBehind(rig, floating.empty() ? std::vector<std::uint32_t>() : floating[0].points));
    add(report.findings, std::move(broken));
    add(report.findings, checkParamJumps(character, rig));
    add(report.findings, checkCovered(rig));
    report.pictures = picture.write(character, rig, zUp, markedPoints(report.findings));
    return report;
}

} // namespace talvisora::host
