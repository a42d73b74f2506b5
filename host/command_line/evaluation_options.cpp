// SPDX-License-Identifier: Apache-2.0
// The options of the verbs that run the module over frames.
#include "host/command_line/shared_options.h"
#include "host/command_line/verb_options.h"
#include "host/verbs/verbs.h"

#include <memory>

namespace talvisora::host {

VerbAction addDeform(CLI::App& app) {
    const auto asked = std::make_shared<Asked<DeformJob>>();
    DeformJob& job = asked->job;
    addCharacter(app, job.character);
    addClip(app, job.clip);
    addFrames(app, job.frames);
    app.add_option("-o,--output", job.outputs, "output, by extension: .pc2, .obj (one per frame), .glb")
        ->type_name("FILE");
    app.add_option("--picture", job.picture, "picture of chosen frames; as .webp it moves")
        ->type_name("FILE.png|FILE.webp");
    app.add_option("--picture-frames", job.pictureFrames,
                   "frames of the picture; default: four of them, all when it moves")
        ->type_name("LIST");
    app.add_option("--view", job.view,
                   "from where to look: front, side, back, three-quarter or three-quarter-back");
    app.add_option("--size", job.pictureSize, "of one frame of the picture in pixels; default: 480x340")
        ->type_name("WIDTHxHEIGHT");
    addUp(app, job.up);
    app.add_flag("--baseline", job.baseline,
                 "compare with linear-blend skinning, in figures and in the picture");
    addUnits(app, job.units);
    addFps(app, job.fps);
    CLI::Option* rig = addRigChoice(app, job.rig);
    addKeepUnknown(app, job.keepUnknown)->needs(rig);
    addParamSearch(app, job.blocks.params)->excludes(rig);
    addSimpleCords(app, job.blocks.simple)->excludes(rig);
    app.add_option_function<int>(
           "--tangent-turn", [&job](int turn) { job.tangentTurn = turn != 0; },
           "0: leave the run setting TANGENT_TURN out")
        ->check(CLI::IsMember({0, 1}));
    app.add_option("--capture", job.capture, "write one evaluation as a capture")->type_name("FILE.json");
    app.add_option("--capture-frame", job.captureFrame, "the frame to capture; default: the first")
        ->check(CLI::Range(1, kMaxInt));
    addJson(app, asked->json);
    addQuiet(app, job.quiet);
    addDevice(app, job.device,
              "where to evaluate: cpu (default), gpu, the number of an OpenCL device, or auto");
    addModule(app, job.module, job.variant, job.threads);
    return [asked] { return runDeformVerb(asked->job, asked->json); };
}

VerbAction addBench(CLI::App& app) {
    const auto asked = std::make_shared<Asked<BenchJob>>();
    DeformJob& deform = asked->job.deform;
    addCharacter(app, deform.character);
    addClip(app, deform.clip);
    addFrames(app, deform.frames);
    app.add_option("--rounds", asked->job.rounds, "times that all frames are evaluated; default: 5")
        ->check(CLI::Range(1, 1000))
        ->type_name("N");
    addUnits(app, deform.units);
    CLI::Option* rig = addRigChoice(app, deform.rig);
    addSimpleCords(app, deform.blocks.simple)->excludes(rig);
    addJson(app, asked->json);
    addQuiet(app, deform.quiet);
    addModule(app, deform.module, deform.variant, deform.threads);
    return [asked] { return runBenchVerb(asked->job, asked->json); };
}

VerbAction addReplay(CLI::App& app) {
    const auto asked = std::make_shared<ReplayVerb>();
    app.add_option("capture", asked->capture, "capture to replay")->required()->type_name("CAPTURE.json");
    addDevice(app, asked->device,
              "N: the OpenCL device of deformGpu; cpu, gpu, gpu:N or auto: where to make all evaluations");
    addModule(app, asked->module, asked->variant, asked->threads);
    return [asked] { return runReplayVerb(*asked); };
}

} // namespace talvisora::host
