// SPDX-License-Identifier: Apache-2.0
// The options of the verbs that show a rig over its character.
#include "host/command_line/shared_options.h"
#include "host/command_line/verb_options.h"
#include "host/verbs/verbs.h"

#include <memory>

namespace talvisora::host {

namespace {

// How the rig and its character are read; both kinds of job have the same fields for it.
template <class Job>
void addReading(CLI::App& app, Job& job) {
    addCharacterOfRig(app, job.character);
    addKeepUnknown(app, job.keepUnknown);
    addSimpleRig(app, job.simple);
    addUp(app, job.up);
    addUnits(app, job.units);
    addFps(app, job.fps);
}

} // namespace

VerbAction addDraw(CLI::App& app) {
    const auto asked = std::make_shared<Asked<DrawJob>>();
    DrawJob& job = asked->job;
    addTarget(app, job.target, "CHARACTER|RIG");
    addOutput(app, job.output, "the picture to write", "OUT.png|OUT.svg");
    addClip(app, job.clip);
    CLI::Option* frame = app.add_option("--frame", job.frame, "the frame to draw; default: 1")
                             ->check(CLI::Range(1, kMaxInt))
                             ->type_name("N");
    app.add_flag("--rest", job.rest, "draw the rest pose")->excludes(frame);
    app.add_option(
           "--view", job.view,
           "from where to look: front, side, back, three-quarter, three-quarter-back or AZ,EL in degrees")
        ->type_name("VIEW");
    app.add_option("--size", job.size, "size of the picture; default: 1280x960")->type_name("WIDTHxHEIGHT");
    app.add_option("--block", job.block, "draw this block only, and look at it")->type_name("NAME");
    app.add_option("--labels", job.labels, "label points: index; weights or params of the block")
        ->type_name("WHAT");
    app.add_option("--points", job.points, "points to label, e.g. 3,10-20; default: all")->type_name("LIST");
    app.add_option("--parts", job.parts, "what to draw of: rest,curve,frames,tweaks; none: the mesh alone")
        ->type_name("LIST");
    addReading(app, job);
    addJson(app, asked->json);
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runDrawVerb(asked->job, asked->json); };
}

VerbAction addView(CLI::App& app) {
    const auto asked = std::make_shared<Asked<ViewJob>>();
    ViewJob& job = asked->job;
    addTarget(app, job.target, "CHARACTER|RIG");
    addOutput(app, job.output, "the page to write", "OUT.html");
    addClip(app, job.clip);
    addFrames(app, job.frames);
    app.add_option("--gpu", job.gpu, "evaluate on this OpenCL device too, and show how far it is off")
        ->check(CLI::Range(0, kMaxInt))
        ->type_name("N");
    app.add_option("--page", job.page, "the page to fill; default: the one beside grhost")
        ->type_name("FILE.html");
    addReading(app, job);
    addJson(app, asked->json);
    addQuiet(app, job.quiet, "no summary, no notes, no progress");
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runViewVerb(asked->job, asked->json); };
}

} // namespace talvisora::host
