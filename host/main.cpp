// SPDX-License-Identifier: Apache-2.0
// grhost: a command-line host for the deformer module. This file is the command line and nothing else.
#include "host/verbs/verbs.h"
#include "host/version.h"
#include "host/writers/temporary_files.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <vector>

using namespace talvisora::host;

namespace {

constexpr int kMaxThreads = 1024;
constexpr int kMaxInt = std::numeric_limits<int>::max();

// The library's own check of this spells out the largest double.
std::function<std::string(const std::string&)> zeroOrMore(const std::string& what) {
    return [what](const std::string& text) {
        double value = 0.0;
        const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value >= 0.0;
        return good ? std::string() : "a " + what + " of 0 or more expected";
    };
}

// A script's variable that happens to be empty must not choose everything, or the rig itself as the output.
void refuseEmptyValues(CLI::App& verb) {
    for (CLI::Option* option : verb.get_options())
        if (option->get_items_expected_max() > 0)
            option->check([](const std::string& text) {
                return text.empty() ? std::string("nothing is given; give a value or leave the option out")
                                    : std::string();
            });
}

void addModuleOptions(CLI::App& app, std::string& module, std::string& variant, int& threads) {
    app.add_option("--module", module, "module library; default: the one beside grhost")->type_name("FILE");
    app.add_option("--variant", variant, "lower the processor variant: avx512, avx2, avx, sse4.1 or sse2")
        ->type_name("NAME");
    app.add_option("--threads", threads, "number of threads; default: all")
        ->check(CLI::Range(1, kMaxThreads))
        ->type_name("N");
}

void addUnits(CLI::App& app, FileUnit& units) {
    app.add_option_function<std::string>(
           "--units", [&units](const std::string& text) { units = parseFileUnit(text); },
           "the file's unit: m, cm, mm, or keep (no conversion); default: what the file says, else m")
        ->type_name("UNIT");
}

// The same pictures, by the same names, wherever a rig is at hand.
void addRigPicture(CLI::App& app, RigPictureOptions& picture) {
    CLI::Option* path =
        app.add_option("--picture", picture.path,
                       "the rig as colours on the mesh; with a %b in the name: one picture per block")
            ->type_name("FILE.png");
    app.add_option_function<std::string>(
           "--show", [&picture](const std::string& text) { picture.show = parsePictureOf(text); },
           std::string("what the colours show: weights, params or left-behind; default: ") +
               (picture.show == PictureOf::kParams ? "params" : "weights"))
        ->needs(path)
        ->type_name("WHAT");
    app.add_option("--view", picture.view,
                   "from where to look: front, side, back, three-quarter, three-quarter-back; several with "
                   "commas; default: the last two")
        ->needs(path)
        ->type_name("VIEWS");
    app.add_option("--size", picture.size, "of one view in pixels; default: 300x230")
        ->needs(path)
        ->type_name("WIDTHxHEIGHT");
}

void addDevice(CLI::App& app, DeviceChoice& device, const std::string& what) {
    app.add_option_function<std::string>(
           "--device", [&device](const std::string& text) { device = parseDeviceChoice(text); }, what)
        ->type_name("DEVICE");
}

void addReplay(CLI::App& app, ReplayVerb& verb) {
    app.add_option("capture", verb.capture, "capture to replay")->required()->type_name("CAPTURE.json");
    addDevice(app, verb.device,
              "N: the OpenCL device of deformGpu; cpu, gpu, gpu:N or auto: where to make all evaluations");
    addModuleOptions(app, verb.module, verb.variant, verb.threads);
}

void addInfo(CLI::App& app, InfoVerb& verb) {
    app.add_option("file", verb.target, "module library or character file")
        ->required()
        ->type_name("MODULE|CHARACTER");
    addUnits(app, verb.units);
    app.add_option("--fps", verb.fps, "frames per second, for clip lengths");
    app.add_flag("--simple", verb.simple, "describe the rig of deform --simple");
    app.add_flag("--json", verb.json, "print one JSON object");
}

void addBind(CLI::App& app, BindJob& job, std::string& weights, std::string& params, bool& json) {
    app.add_option("character", job.character, "character file: glTF 2.0, FBX, COLLADA or X")
        ->required()
        ->type_name("CHARACTER");
    app.add_option("-o,--output", job.output, "the rig file to write")
        ->required()
        ->type_name("FILE.rig.json");
    app.add_option("--weights", weights, "block weights: skin (the file's own) or distance (the mesh alone)")
        ->check(CLI::IsMember({"skin", "distance"}));
    app.add_option("--params", params, "curve parameters: bone (per weighted bone) or nearest")
        ->check(CLI::IsMember({"bone", "nearest"}));
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
    app.add_flag("--simple", job.blocks.simple, "one control point per joint, for cords and tails");
    addRigPicture(app, job.picture);
    addUnits(app, job.units);
    app.add_option("--up", job.up, "the file's upward axis: y or z");
    app.add_flag("--json", json, "print one JSON report on standard output");
    app.add_flag("--quiet", job.quiet, "no table, no notes");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addDeform(CLI::App& app, DeformJob& job, std::string& params, int& tangentTurn, bool& json) {
    app.add_option("character", job.character, "character file: glTF 2.0, FBX, COLLADA or X")
        ->required()
        ->type_name("CHARACTER");
    app.add_option("--clip", job.clip, "clip, by its name or a unique part of it; default: the first")
        ->type_name("NAME");
    app.add_option("--frames", job.frames, "frames, e.g. 1-48 or 1,12,24; default: the whole clip")
        ->type_name("LIST");
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
    app.add_option("--up", job.up, "the file's upward axis: y or z");
    app.add_flag("--baseline", job.baseline,
                 "compare with linear-blend skinning, in figures and in the picture");
    addUnits(app, job.units);
    app.add_option("--fps", job.fps, "frame f lies at (f - 1) / fps seconds");
    CLI::Option* rig = app.add_option("--rig", job.rig, "use this rig file; default: make a rig up")
                           ->type_name("FILE.rig.json");
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known")
        ->needs(rig);
    app.add_option("--params", params, "curve parameters: bone (per weighted bone) or nearest")
        ->check(CLI::IsMember({"bone", "nearest"}))
        ->excludes(rig);
    app.add_flag("--simple", job.blocks.simple, "one control point per joint, for cords and tails")
        ->excludes(rig);
    app.add_option("--tangent-turn", tangentTurn, "0: leave the run setting TANGENT_TURN out")
        ->check(CLI::IsMember({0, 1}));
    app.add_option("--capture", job.capture, "write one evaluation as a capture")->type_name("FILE.json");
    app.add_option("--capture-frame", job.captureFrame, "the frame to capture; default: the first")
        ->check(CLI::Range(1, kMaxInt));
    app.add_flag("--json", json, "print one JSON report on standard output");
    app.add_flag("--quiet", job.quiet, "no summary, no notes, no progress bar");
    addDevice(app, job.device,
              "where to evaluate: cpu (default), gpu, the number of an OpenCL device, or auto");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addBench(CLI::App& app, BenchJob& job, bool& json) {
    DeformJob& deform = job.deform;
    app.add_option("character", deform.character, "character file: glTF 2.0, FBX, COLLADA or X")
        ->required()
        ->type_name("CHARACTER");
    app.add_option("--clip", deform.clip, "clip, by its name or a unique part of it; default: the first")
        ->type_name("NAME");
    app.add_option("--frames", deform.frames, "frames, e.g. 1-48 or 1,12,24; default: the whole clip")
        ->type_name("LIST");
    app.add_option("--rounds", job.rounds, "times that all frames are evaluated; default: 5")
        ->check(CLI::Range(1, 1000))
        ->type_name("N");
    addUnits(app, deform.units);
    app.add_option("--rig", deform.rig, "use this rig file; default: make a rig up")
        ->type_name("FILE.rig.json");
    app.add_flag("--simple", deform.blocks.simple, "one control point per joint, for cords and tails")
        ->excludes("--rig");
    app.add_flag("--json", json, "print one JSON report on standard output");
    app.add_flag("--quiet", deform.quiet, "no summary, no notes, no progress bar");
    addModuleOptions(app, deform.module, deform.variant, deform.threads);
}

void addDoctor(CLI::App& app, DoctorJob& job, bool& json) {
    app.add_flag("!--no-self-check", job.selfCheck, "look only, evaluate nothing");
    app.add_flag("--json", json, "print one JSON report on standard output");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addCompare(CLI::App& app, CompareJob& job, bool& json) {
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
    app.add_option("--up", deform.up, "the file's upward axis: y or z");
    app.add_option("--clip", deform.clip, "of a character: the clip")->type_name("NAME");
    app.add_option("--frames", deform.frames, "of a character: the frames")->type_name("LIST");
    app.add_option("--fps", deform.fps, "of a character: frame f lies at (f - 1) / fps seconds");
    app.add_option("--rig", deform.rig, "of a character: its rig file")->type_name("FILE.rig.json");
    app.add_flag("--keep-unknown", deform.keepUnknown, "take rig files with keys that are not known");
    addUnits(app, deform.units);
    app.add_flag("--json", json, "print one JSON report on standard output");
    app.add_flag("--quiet", deform.quiet, "no progress bar");
    addDevice(app, deform.device, "the GPU: gpu (the first, default) or the number of an OpenCL device");
    addModuleOptions(app, deform.module, deform.variant, deform.threads);
}

void addCheck(CLI::App& app, CheckJob& job, bool& json) {
    app.add_option("target", job.target, "rig file, or a character: then the rig that deform makes up")
        ->required()
        ->type_name("RIG|CHARACTER");
    app.add_option("--character", job.character, "the character; default: the one that the rig file names")
        ->type_name("FILE");
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    addRigPicture(app, job.picture);
    app.add_option("--up", job.up, "the file's upward axis: y or z");
    addUnits(app, job.units);
    app.add_flag("--json", json, "print one JSON report on standard output");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addReset(CLI::App& app, ResetJob& job, bool& json) {
    app.add_option("rig", job.rig, "the rig file")->required()->type_name("RIG");
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
    if (job.kind == ResetKind::kWeights) {
        app.add_option("--base", job.base, "block that takes what the others leave of a point")
            ->type_name("BLOCK");
        app.add_option("--max-distance-coeff", job.maxDistanceCoeff,
                       "how far the block reaches, in thicknesses of the mesh round it; default: 2")
            ->check(zeroOrMore("number"))
            ->type_name("FACTOR");
    }
    app.add_option("--character", job.character, "the character; default: the one that the rig file names")
        ->type_name("FILE");
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    app.add_flag("--json", json, "print one JSON report on standard output");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addDraw(CLI::App& app, DrawJob& job, bool& json) {
    app.add_option("target", job.target, "rig file, or a character: then the rig that deform makes up")
        ->required()
        ->type_name("CHARACTER|RIG");
    app.add_option("-o,--output", job.output, "the picture to write")
        ->required()
        ->type_name("OUT.png|OUT.svg");
    app.add_option("--clip", job.clip, "clip, by its name or a unique part of it; default: the first")
        ->type_name("NAME");
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
    app.add_option("--character", job.character, "the character; default: the one that the rig file names")
        ->type_name("FILE");
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    app.add_flag("--simple", job.simple, "one control point per joint in the rig that is made up");
    app.add_option("--up", job.up, "the file's upward axis: y or z");
    addUnits(app, job.units);
    app.add_option("--fps", job.fps, "frame f lies at (f - 1) / fps seconds");
    app.add_flag("--json", json, "print one JSON report on standard output");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addQuality(CLI::App& app, QualityJob& job, bool& json) {
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
    app.add_flag("--json", json, "print one JSON report on standard output");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addView(CLI::App& app, ViewJob& job, bool& json) {
    app.add_option("target", job.target, "rig file, or a character: then the rig that deform makes up")
        ->required()
        ->type_name("CHARACTER|RIG");
    app.add_option("-o,--output", job.output, "the page to write")->required()->type_name("OUT.html");
    app.add_option("--clip", job.clip, "clip, by its name or a unique part of it; default: the first")
        ->type_name("NAME");
    app.add_option("--frames", job.frames, "frames, e.g. 1-48 or 1,12,24; default: the whole clip")
        ->type_name("LIST");
    app.add_option("--gpu", job.gpu, "evaluate on this OpenCL device too, and show how far it is off")
        ->check(CLI::Range(0, kMaxInt))
        ->type_name("N");
    app.add_option("--page", job.page, "the page to fill; default: the one beside grhost")
        ->type_name("FILE.html");
    app.add_option("--character", job.character, "the character; default: the one that the rig file names")
        ->type_name("FILE");
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    app.add_flag("--simple", job.simple, "one control point per joint in the rig that is made up");
    app.add_option("--up", job.up, "the file's upward axis: y or z");
    addUnits(app, job.units);
    app.add_option("--fps", job.fps, "frame f lies at (f - 1) / fps seconds");
    app.add_flag("--json", json, "print one JSON report on standard output");
    app.add_flag("--quiet", job.quiet, "no summary, no notes, no progress");
    addModuleOptions(app, job.module, job.variant, job.threads);
}

void addMirror(CLI::App& app, MirrorJob& job, std::string& axis, std::string& from, bool& json) {
    app.add_option("rig", job.rig, "the rig file")->required()->type_name("RIG");
    app.add_option("-o,--output", job.output, "the rig file to write; may be the same")
        ->required()
        ->type_name("OUT.rig.json");
    app.add_option("--axis", axis, "the axis that changes sign: x, y or z")
        ->check(CLI::IsMember({"x", "y", "z"}));
    app.add_option("--from", from, "the side to take over, by the axis's sign: plus or minus")
        ->check(CLI::IsMember({"plus", "minus"}));
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
    app.add_option("--character", job.character, "the character; default: the one that the rig file names")
        ->type_name("FILE");
    addRigPicture(app, job.picture);
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    app.add_flag("--json", json, "print one JSON report on standard output");
}

void addTransfer(CLI::App& app, TransferJob& job, bool& json) {
    app.add_option("rig", job.rig, "the rig file")->required()->type_name("RIG");
    app.add_option("character", job.character, "the character that the rig shall fit")
        ->required()
        ->type_name("CHARACTER");
    app.add_option("-o,--output", job.output, "the rig file to write")->required()->type_name("OUT.rig.json");
    app.add_option("--max-distance", job.maxDistance,
                   "points farther from the old surface are unmatched; default: a twentieth of the size")
        ->check(zeroOrMore("length"))
        ->type_name("LENGTH");
    app.add_option("--source", job.source, "where the rig comes from; default: what the rig file names")
        ->type_name("FILE");
    addUnits(app, job.units);
    addRigPicture(app, job.picture);
    app.add_flag("--keep-unknown", job.keepUnknown, "take rig files with keys that are not known");
    app.add_flag("--json", json, "print one JSON report on standard output");
}

void checkVerb(const CLI::App& app, const std::string& verb) {
    const std::vector<const CLI::App*> verbs = app.get_subcommands({});
    std::string names; // "replay, info or deform"
    for (std::size_t k = 0; k < verbs.size(); ++k) {
        if (verbs[k]->get_name() == verb) return;
        names += (k == 0 ? "" : k + 1 < verbs.size() ? ", " : " or ") + verbs[k]->get_name();
    }
    throw HostError(ExitCode::kUsage, "unknown verb '" + verb + "': " + names + " expected; see --help");
}

// What one way of weighing does not look at is no option of it.
void checkBindOptions(const CLI::App& app, bool distance) {
    const char* ofTheOther = distance ? "--params" : "--max-distance-coeff";
    if (app.count(ofTheOther) > 0)
        throw HostError(ExitCode::kUsage, std::string(ofTheOther) + " goes with --weights " +
                                              (distance ? "skin; by distance each point takes the nearest "
                                                          "place on the curve"
                                                        : "distance"));
}

ExitCode run(int argc, char** argv) {
    CLI::App app{"grhost: a host for the talvisora deformer, without Maya"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("grhost ") + kVersion);

    ReplayVerb replayVerb;
    InfoVerb infoVerb;
    DeformJob job;
    std::string params = "bone";
    int tangentTurn = 1;
    bool json = false;
    CLI::App& replayApp = *app.add_subcommand("replay", "replay a capture and print what came back");
    CLI::App& infoApp = *app.add_subcommand("info", "tell what is in a module or in a character");
    BindJob bindJob;
    std::string bindWeights = "skin", bindParams = "bone";
    bool bindJson = false;
    CLI::App& bindApp = *app.add_subcommand("bind", "write the rig of a character as a file");
    ResetJob paramsJob, weightsJob;
    weightsJob.kind = ResetKind::kWeights;
    paramsJob.picture.show = PictureOf::kParams;
    bool paramsJson = false, weightsJson = false;
    CLI::App& weightsApp = *app.add_subcommand("weights", "give blocks of a rig their weights from the mesh");
    CLI::App& paramsApp = *app.add_subcommand("params", "give blocks of a rig their curve parameters");
    CheckJob checkJob;
    bool checkJson = false;
    CLI::App& checkApp = *app.add_subcommand("check", "look for what is wrong with a rig");
    DrawJob drawJob;
    bool drawJson = false;
    CLI::App& drawApp = *app.add_subcommand("draw", "draw a rig over its character");
    QualityJob qualityJob;
    bool qualityJson = false;
    CLI::App& qualityApp = *app.add_subcommand("quality", "measure made-up limbs beside other skinning");
    ViewJob viewJob;
    bool viewJson = false;
    CLI::App& viewApp = *app.add_subcommand("view", "write a page that plays a deformed clip in a browser");
    MirrorJob mirrorJob;
    TransferJob transferJob;
    std::string mirrorAxis = "x", mirrorFrom = "plus";
    bool mirrorJson = false, transferJson = false;
    CLI::App& mirrorApp = *app.add_subcommand("mirror", "make one side of a rig like the other");
    CLI::App& transferApp = *app.add_subcommand("transfer", "carry a rig to another mesh");
    BenchJob benchJob;
    bool benchJson = false;
    CLI::App& benchApp = *app.add_subcommand("bench", "time the evaluations of a character's frames");
    DoctorJob doctorJob;
    bool doctorJson = false;
    CLI::App& doctorApp = *app.add_subcommand("doctor", "tell what is here, what is missing and what helps");
    CompareJob compareJob;
    bool compareJson = false;
    CLI::App& compareApp =
        *app.add_subcommand("compare", "tell how far two results, or CPU and GPU, lie apart");
    CLI::App& deformApp = *app.add_subcommand("deform", "deform a skinned, animated character");
    addBind(bindApp, bindJob, bindWeights, bindParams, bindJson);
    addReset(paramsApp, paramsJob, paramsJson);
    addReset(weightsApp, weightsJob, weightsJson);
    addMirror(mirrorApp, mirrorJob, mirrorAxis, mirrorFrom, mirrorJson);
    addTransfer(transferApp, transferJob, transferJson);
    addCheck(checkApp, checkJob, checkJson);
    addDraw(drawApp, drawJob, drawJson);
    addView(viewApp, viewJob, viewJson);
    addBench(benchApp, benchJob, benchJson);
    addDoctor(doctorApp, doctorJob, doctorJson);
    addCompare(compareApp, compareJob, compareJson);
    addQuality(qualityApp, qualityJob, qualityJson);
    addReplay(replayApp, replayVerb);
    addInfo(infoApp, infoVerb);
    addDeform(deformApp, job, params, tangentTurn, json);

    for (CLI::App* each : app.get_subcommands({})) refuseEmptyValues(*each);

    const std::string verb = argc > 1 ? argv[1] : "--help";
    if (verb[0] != '-') checkVerb(app, verb);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) { // --help, --version
        app.exit(success);
        return ExitCode::kDone;
    } catch (const CLI::ParseError& error) {
        throw HostError(ExitCode::kUsage, std::string(error.what()) + "; see grhost --help");
    }
    if (replayApp.parsed()) return runReplayVerb(replayVerb);
    if (infoApp.parsed()) return runInfoVerb(infoVerb);
    if (bindApp.parsed()) {
        checkBindOptions(bindApp, bindWeights == "distance");
        bindJob.weights = bindWeights == "distance" ? BindWeights::kDistance : BindWeights::kSkin;
        bindJob.blocks.params = bindParams == "nearest" ? ParamSearch::kNearest : ParamSearch::kWeightedBone;
        return runBindVerb(bindJob, bindJson);
    }
    if (paramsApp.parsed()) return runResetVerb(paramsJob, paramsJson);
    if (weightsApp.parsed()) return runResetVerb(weightsJob, weightsJson);
    if (mirrorApp.parsed()) {
        mirrorJob.options.axis = mirrorAxis[0] - 'x';
        mirrorJob.options.fromPositive = mirrorFrom == "plus";
        return runMirrorVerb(mirrorJob, mirrorJson);
    }
    if (transferApp.parsed()) return runTransferVerb(transferJob, transferJson);
    if (benchApp.parsed()) return runBenchVerb(benchJob, benchJson);
    if (doctorApp.parsed()) return runDoctorVerb(doctorJob, doctorJson);
    if (compareApp.parsed()) return runCompareVerb(compareJob, compareJson);
    if (checkApp.parsed()) return runCheckVerb(checkJob, checkJson);
    if (qualityApp.parsed()) return runQualityVerb(qualityJob, qualityJson);
    if (drawApp.parsed()) return runDrawVerb(drawJob, drawJson);
    if (viewApp.parsed()) return runViewVerb(viewJob, viewJson);
    job.blocks.params = params == "nearest" ? ParamSearch::kNearest : ParamSearch::kWeightedBone;
    job.tangentTurn = tangentTurn != 0;
    return runDeformVerb(job, json);
}

// The one line of an error. Names from outside may hold anything; the line stays one.
int fail(const std::string& text, ExitCode code) {
    std::string line = "grhost: " + text;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20) c = '?';
    std::fprintf(stderr, "%s\n", line.c_str());
    return static_cast<int>(code);
}

} // namespace

int main(int argc, char** argv) {
    removeTemporariesOnSignals();
    try {
        return static_cast<int>(run(argc, argv));
    } catch (const HostError& error) {
        return fail(error.what(), error.code);
    } catch (const std::bad_alloc&) {
        return fail("out of memory; try fewer frames or a smaller character", ExitCode::kInput);
    } catch (const std::exception& error) {
        return fail(std::string("unexpected failure: ") + error.what(), ExitCode::kInput);
    }
}
