// SPDX-License-Identifier: Apache-2.0
// The options of the verbs that write rig files.
#include "host/command_line/shared_options.h"
#include "host/command_line/verb_options.h"
#include "host/verbs/verbs.h"

#include <memory>

namespace talvisora::host {

namespace {

// What one way of weighing does not look at is no option of it.
void checkBindOptions(const CLI::App& app, bool distance) {
    const char* ofTheOther = distance ? "--params" : "--max-distance-coeff";
    if (app.count(ofTheOther) > 0)
        throw HostError(ExitCode::kUsage, std::string(ofTheOther) + " goes with --weights " +
                                              (distance ? "skin; by distance each point takes the nearest "
                                                          "place on the curve"
                                                        : "distance"));
}

VerbAction addReset(CLI::App& app, ResetKind kind) {
    const auto asked = std::make_shared<Asked<ResetJob>>();
    ResetJob& job = asked->job;
    job.kind = kind;
    job.picture.show = kind == ResetKind::kWeights ? PictureOf::kWeights : PictureOf::kParams;
    addRig(app, job.rig);
    app.add_option("-o,--output", job.output, "the rig file to write; default: the same")
        ->type_name("OUT.rig.json");
    app.add_option("--block", job.blocks,
                   "block, by its name or its number from 0; may be repeated; default: all")
        ->type_name("BLOCK")
        ->allow_extra_args(false);
    app.add_option("--select", job.select, "points to change, e.g. 0-99,120; default: all")
        ->type_name("LIST");
    app.add_option("--smooth", job.smooth, "passes of smoothing over the mesh's edges")
        ->check(CLI::Range(0, kMaxInt))
        ->type_name("N");
    addRigPicture(app, job.picture);
    if (kind == ResetKind::kWeights) {
        app.add_option("--base", job.base, "block that takes what the others leave of a point")
            ->type_name("BLOCK");
        app.add_option("--max-distance-coeff", job.maxDistanceCoeff,
                       "how far the block reaches, in thicknesses of the mesh round it; default: 2")
            ->check(zeroOrMore("number"))
            ->type_name("FACTOR");
    }
    addCharacterOfRig(app, job.character);
    addKeepUnknown(app, job.keepUnknown);
    addJson(app, asked->json);
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runResetVerb(asked->job, asked->json); };
}

} // namespace

VerbAction addBind(CLI::App& app) {
    const auto asked = std::make_shared<Asked<BindJob>>();
    BindJob& job = asked->job;
    addCharacter(app, job.character);
    addOutput(app, job.output, "the rig file to write", "FILE.rig.json");
    addChoice<BindWeights>(app, "--weights", job.weights,
                           {{"skin", BindWeights::kSkin}, {"distance", BindWeights::kDistance}},
                           "block weights: skin (the file's own) or distance (the mesh alone)");
    addParamSearch(app, job.blocks.params);
    app.add_option("--max-distance-coeff", job.maxDistanceCoeff,
                   "how far a block reaches, in thicknesses of the mesh round it; for --weights distance")
        ->check(zeroOrMore("number"))
        ->type_name("FACTOR");
    app.add_option("--smooth", job.smooth, "passes of smoothing over the weights; default: 0, for distance 5")
        ->check(CLI::Range(0, kMaxInt))
        ->type_name("N");
    app.add_option("--blocks", job.blocks.chains,
                   "chains chosen by hand: NAME=FIRST..LAST,… or @FILE; default: found in the skeleton")
        ->type_name("CHAINS");
    addSimpleCords(app, job.blocks.simple);
    addRigPicture(app, job.picture);
    addUnits(app, job.units);
    addUp(app, job.up);
    addJson(app, asked->json);
    addQuiet(app, job.quiet, "no table, no notes");
    addModule(app, job.module, job.variant, job.threads);
    return [asked, &app] {
        checkBindOptions(app, asked->job.weights == BindWeights::kDistance);
        return runBindVerb(asked->job, asked->json);
    };
}

VerbAction addWeights(CLI::App& app) {
    return addReset(app, ResetKind::kWeights);
}

VerbAction addParams(CLI::App& app) {
    return addReset(app, ResetKind::kParams);
}

VerbAction addMirror(CLI::App& app) {
    const auto asked = std::make_shared<Asked<MirrorJob>>();
    MirrorJob& job = asked->job;
    addRig(app, job.rig);
    addOutput(app, job.output, "the rig file to write; may be the same", "OUT.rig.json");
    addChoice<int>(app, "--axis", job.options.axis, {{"x", 0}, {"y", 1}, {"z", 2}},
                   "the axis that changes sign: x, y or z");
    addChoice<bool>(app, "--from", job.options.fromPositive, {{"plus", true}, {"minus", false}},
                    "the side to take over, by the axis's sign: plus or minus");
    app.add_option("--seam", job.options.seam,
                   "points at most so far from the middle become even; default: the tolerance")
        ->check(zeroOrMore("length"))
        ->type_name("LENGTH");
    app.add_option("--tolerance", job.options.tolerance,
                   "how far a mirrored point may miss its partner; default: a thousandth of the size")
        ->check(zeroOrMore("length"))
        ->type_name("LENGTH");
    app.add_option_function<std::string>(
           "--pairs", [&job](const std::string& text) { job.options.pairs = parseNamePairs(text); },
           "parts of names that tell the sides: _L/_R,Left/Right; default: the usual ones")
        ->type_name("LEFT/RIGHT,…");
    addCharacterOfRig(app, job.character);
    addRigPicture(app, job.picture);
    addKeepUnknown(app, job.keepUnknown);
    addJson(app, asked->json);
    return [asked] { return runMirrorVerb(asked->job, asked->json); };
}

VerbAction addTransfer(CLI::App& app) {
    const auto asked = std::make_shared<Asked<TransferJob>>();
    TransferJob& job = asked->job;
    addRig(app, job.rig);
    app.add_option("character", job.character, "the character that the rig shall fit")
        ->required()
        ->type_name("CHARACTER");
    addOutput(app, job.output, "the rig file to write", "OUT.rig.json");
    app.add_option("--max-distance", job.maxDistance,
                   "points farther from the old surface are unmatched; default: a twentieth of the size")
        ->check(zeroOrMore("length"))
        ->type_name("LENGTH");
    app.add_option("--source", job.source, "where the rig comes from; default: what the rig file names")
        ->type_name("FILE");
    addUnits(app, job.units);
    addRigPicture(app, job.picture);
    addKeepUnknown(app, job.keepUnknown);
    addJson(app, asked->json);
    return [asked] { return runTransferVerb(asked->job, asked->json); };
}

} // namespace talvisora::host
