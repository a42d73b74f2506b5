// SPDX-License-Identifier: Apache-2.0
#include "host/command_line/shared_options.h"

#include <cmath>

namespace talvisora::host {

namespace {

constexpr int kMaxThreads = 1024;

} // namespace

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

void addCharacter(CLI::App& app, std::string& path) {
    app.add_option("character", path, "character file: glTF 2.0, FBX, COLLADA or X")
        ->required()
        ->type_name("CHARACTER");
}

void addTarget(CLI::App& app, std::string& path, const char* kinds) {
    app.add_option("target", path, "rig file, or a character: then the rig that deform makes up")
        ->required()
        ->type_name(kinds);
}

void addRig(CLI::App& app, std::string& path) {
    app.add_option("rig", path, "the rig file")->required()->type_name("RIG");
}

void addOutput(CLI::App& app, std::string& path, const char* what, const char* kind) {
    app.add_option("-o,--output", path, what)->required()->type_name(kind);
}

void addUnits(CLI::App& app, FileUnit& units) {
    app.add_option_function<std::string>(
           "--units", [&units](const std::string& text) { units = parseFileUnit(text); },
           "the file's unit: m, cm, mm, or keep (no conversion); default: what the file says, else m")
        ->type_name("UNIT");
}

void addUp(CLI::App& app, std::string& up) {
    app.add_option("--up", up, "the file's upward axis: y or z");
}

void addClip(CLI::App& app, std::string& clip) {
    app.add_option("--clip", clip, "clip, by its name or a unique part of it; default: the first")
        ->type_name("NAME");
}

void addFrames(CLI::App& app, std::string& frames) {
    app.add_option("--frames", frames, "frames, e.g. 1-48 or 1,12,24; default: the whole clip")
        ->type_name("LIST");
}

void addFps(CLI::App& app, double& fps) {
    app.add_option("--fps", fps, "frame f lies at (f - 1) / fps seconds");
}

void addCharacterOfRig(CLI::App& app, std::string& path) {
    app.add_option("--character", path, "the character; default: the one that the rig file names")
        ->type_name("FILE");
}

CLI::Option* addKeepUnknown(CLI::App& app, bool& keep) {
    return app.add_flag("--keep-unknown", keep, "take rig files with keys that are not known");
}

CLI::Option* addRigChoice(CLI::App& app, std::string& path) {
    return app.add_option("--rig", path, "use this rig file; default: make a rig up")
        ->type_name("FILE.rig.json");
}

CLI::Option* addSimpleCords(CLI::App& app, bool& simple) {
    return app.add_flag("--simple", simple, "one control point per joint, for cords and tails");
}

void addSimpleRig(CLI::App& app, bool& simple) {
    app.add_flag("--simple", simple, "one control point per joint in the rig that is made up");
}

CLI::Option* addParamSearch(CLI::App& app, ParamSearch& search) {
    return addChoice<ParamSearch>(app, "--params", search,
                                  {{"bone", ParamSearch::kWeightedBone}, {"nearest", ParamSearch::kNearest}},
                                  "curve parameters: bone (per weighted bone) or nearest");
}

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

void addJson(CLI::App& app, bool& json) {
    app.add_flag("--json", json, "print one JSON report on standard output");
}

void addQuiet(CLI::App& app, bool& quiet, const char* what) {
    app.add_flag("--quiet", quiet, what);
}

void addDevice(CLI::App& app, DeviceChoice& device, const char* what) {
    app.add_option_function<std::string>(
           "--device", [&device](const std::string& text) { device = parseDeviceChoice(text); }, what)
        ->type_name("DEVICE");
}

void addModule(CLI::App& app, std::string& module, std::string& variant, int& threads) {
    app.add_option("--module", module, "module library; default: the one beside grhost")->type_name("FILE");
    app.add_option("--variant", variant, "lower the processor variant: avx512, avx2, avx, sse4.1 or sse2")
        ->type_name("NAME");
    app.add_option("--threads", threads, "number of threads; default: all")
        ->check(CLI::Range(1, kMaxThreads))
        ->type_name("N");
}

} // namespace talvisora::host
