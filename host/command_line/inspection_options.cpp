// SPDX-License-Identifier: Apache-2.0
// The options of the verbs that tell what there is, and how good it is.
#include "host/command_line/shared_options.h"
#include "host/command_line/verb_options.h"
#include "host/verbs/verbs.h"

#include <memory>

namespace talvisora::host {

VerbAction addInfo(CLI::App& app) {
    const auto asked = std::make_shared<InfoVerb>();
    app.add_option("file", asked->target, "module library or character file")
        ->required()
        ->type_name("MODULE|CHARACTER");
    addUnits(app, asked->units);
    app.add_option("--fps", asked->fps, "frames per second, for clip lengths");
    app.add_flag("--simple", asked->simple, "describe the rig of deform --simple");
    app.add_flag("--json", asked->json, "print one JSON object");
    return [asked] { return runInfoVerb(*asked); };
}

VerbAction addCheck(CLI::App& app) {
    const auto asked = std::make_shared<Asked<CheckJob>>();
    CheckJob& job = asked->job;
    addTarget(app, job.target, "RIG|CHARACTER");
    addCharacterOfRig(app, job.character);
    addKeepUnknown(app, job.keepUnknown);
    addRigPicture(app, job.picture);
    addUp(app, job.up);
    addUnits(app, job.units);
    addJson(app, asked->json);
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runCheckVerb(asked->job, asked->json); };
}

VerbAction addCompare(CLI::App& app) {
    const auto asked = std::make_shared<Asked<CompareJob>>();
    CompareJob& job = asked->job;
    DeformJob& deform = job.deform;
    app.add_option("first", job.first, "cache (.pc2), capture or answer (.json), or a character")
        ->required()
        ->type_name("A");
    app.add_option("second", job.second, "the same kind; without it A is compared between CPU and GPU")
        ->type_name("B");
    app.add_option("--tolerance", job.tolerance,
                   "largest difference allowed: a length, or with % a part of the bounding box")
        ->type_name("LENGTH");
    app.add_option("--picture", job.picture, "the differences as colours on the mesh")->type_name("FILE.png");
    app.add_option("--mesh", job.mesh, "the character that lends caches and answers its mesh")
        ->type_name("CHARACTER");
    app.add_option("--view", deform.view, "from where to look, as in deform");
    addUp(app, deform.up);
    app.add_option("--clip", deform.clip, "of a character: the clip")->type_name("NAME");
    app.add_option("--frames", deform.frames, "of a character: the frames")->type_name("LIST");
    app.add_option("--fps", deform.fps, "of a character: frame f lies at (f - 1) / fps seconds");
    app.add_option("--rig", deform.rig, "of a character: its rig file")->type_name("FILE.rig.json");
    addKeepUnknown(app, deform.keepUnknown);
    addUnits(app, deform.units);
    addJson(app, asked->json);
    addQuiet(app, deform.quiet, "no progress bar");
    addDevice(app, deform.device, "the GPU: gpu (the first, default) or the number of an OpenCL device");
    addModule(app, deform.module, deform.variant, deform.threads);
    return [asked] { return runCompareVerb(asked->job, asked->json); };
}

VerbAction addDoctor(CLI::App& app) {
    const auto asked = std::make_shared<Asked<DoctorJob>>();
    DoctorJob& job = asked->job;
    app.add_flag("!--no-self-check", job.selfCheck, "look only, evaluate nothing");
    addJson(app, asked->json);
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runDoctorVerb(asked->job, asked->json); };
}

VerbAction addQuality(CLI::App& app) {
    const auto asked = std::make_shared<Asked<QualityJob>>();
    QualityJob& job = asked->job;
    app.add_option("--only", job.only, "of the limbs: elbow,twist,helper,tail,stretch; default: all")
        ->type_name("LIST");
    app.add_option("--picture", job.picture, "every limb three ways in every pose")->type_name("FILE.png");
    app.add_option("--width", job.width, "width of one picture; default: 220")->type_name("PIXELS");
    app.add_option("--last", job.last, "draw the last poses of each limb only")
        ->check(CLI::Range(1, 5))
        ->type_name("N");
    app.add_flag("--joined", job.joined, "draw all limbs beside each other: one row per method");
    CLI::Option* plain = app.add_flag("--plain", job.plain, "without tweaks");
    app.add_option("--tweak", job.tweaks,
                   "an amount for every joint between two bones, NAME=VALUE, in place of the chosen ones")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->excludes(plain);
    addJson(app, asked->json);
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runQualityVerb(asked->job, asked->json); };
}

} // namespace talvisora::host
