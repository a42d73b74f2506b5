// SPDX-License-Identifier: Apache-2.0
// grhost: a command-line host for the deformer module. This file is the table of verbs and the way from the
// command line to one of them; their options stand in command_line/, what they do in verbs/.
#include "host/command_line/shared_options.h"
#include "host/command_line/verb_options.h"
#include "host/version.h"
#include "host/writers/temporary_files.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <utility>
#include <vector>

using namespace talvisora::host;

namespace {

struct Verb {
    const char *name, *what;
    VerbAction (*addOptions)(CLI::App& app);
};

// In the order of --help.
constexpr Verb kVerbs[] = {
    {"replay", "replay a capture and print what came back", addReplay},
    {"info", "tell what is in a module or in a character", addInfo},
    {"bind", "write the rig of a character as a file", addBind},
    {"weights", "give blocks of a rig their weights from the mesh", addWeights},
    {"params", "give blocks of a rig their curve parameters", addParams},
    {"check", "look for what is wrong with a rig", addCheck},
    {"draw", "draw a rig over its character", addDraw},
    {"quality", "measure made-up limbs beside other skinning", addQuality},
    {"view", "write a page that plays a deformed clip in a browser", addView},
    {"mirror", "make one side of a rig like the other", addMirror},
    {"transfer", "carry a rig to another mesh", addTransfer},
    {"bench", "time the evaluations of a character's frames", addBench},
    {"doctor", "tell what is here, what is missing and what helps", addDoctor},
    {"compare", "tell how far two results, or CPU and GPU, lie apart", addCompare},
    {"deform", "deform a skinned, animated character", addDeform},
};

// The library would call an unknown verb an unexpected argument.
void checkVerb(const std::string& name) {
    std::string names; // "replay, info or deform"
    for (const Verb& verb : kVerbs) {
        if (verb.name == name) return;
        names += (&verb == std::begin(kVerbs) ? "" : &verb + 1 < std::end(kVerbs) ? ", " : " or ");
        names += verb.name;
    }
    throw HostError(ExitCode::kUsage, "unknown verb '" + name + "': " + names + " expected; see --help");
}

ExitCode run(int argc, char** argv) {
    CLI::App app{"grhost: a host for the talvisora deformer, without Maya"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("grhost ") + kVersion);
    std::vector<std::pair<const CLI::App*, VerbAction>> actions;
    for (const Verb& verb : kVerbs) {
        CLI::App& options = *app.add_subcommand(verb.name, verb.what);
        actions.emplace_back(&options, verb.addOptions(options));
        refuseEmptyValues(options);
    }

    const std::string verb = argc > 1 ? argv[1] : "--help";
    if (verb[0] != '-') checkVerb(verb);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) { // --help, --version
        app.exit(success);
        return ExitCode::kDone;
    } catch (const CLI::ParseError& error) {
        throw HostError(ExitCode::kUsage, std::string(error.what()) + "; see grhost --help");
    }
    for (const auto& [options, action] : actions)
        if (options->parsed()) return action();
    return ExitCode::kDone; // not reached: a verb is required
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
