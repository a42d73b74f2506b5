// SPDX-License-Identifier: Apache-2.0
// The options that several verbs share: each stands here once, so that it is named, explained and checked
// alike wherever it is taken. A verb asks for them in the order in which its help shall list them.
#pragma once

#include "host/character/auto_blocks.h"
#include "host/device/device_choice.h"
#include "host/rig_picture/rig_picture.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace talvisora::host {

inline constexpr int kMaxInt = std::numeric_limits<int>::max();

/// A check for CLI::Option: finite numbers from 0. `what` names the number in the message: "length".
std::function<std::string(const std::string&)> zeroOrMore(const std::string& what);

/// Every option of the verb that takes a value refuses an empty one. To be called after all are added.
void refuseEmptyValues(CLI::App& verb);

/// One of several words, each with the value that it stands for.
template <class Value>
CLI::Option* addChoice(CLI::App& app, const char* name, Value& value,
                       const std::vector<std::pair<std::string, Value>>& choices, const char* what) {
    std::vector<std::string> words;
    for (const auto& choice : choices) words.push_back(choice.first);
    const auto take = [&value, choices](const std::string& word) {
        for (const auto& choice : choices)
            if (choice.first == word) value = choice.second;
    };
    return app.add_option_function<std::string>(name, take, what)->check(CLI::IsMember(words));
}

/// The functions below write into what they are given while the command line is parsed: it must last till
/// then. Those that give their option back leave it to the verb to tie it to others.
/// @{

/// Positional files: the character; a rig file or a character; the rig file that is worked on.
void addCharacter(CLI::App& app, std::string& path);
void addTarget(CLI::App& app, std::string& path, const char* kinds);
void addRig(CLI::App& app, std::string& path);

/// `-o`, required.
void addOutput(CLI::App& app, std::string& path, const char* what, const char* kind);

/// How a character's file is read.
void addUnits(CLI::App& app, FileUnit& units);
void addUp(CLI::App& app, std::string& up);
void addClip(CLI::App& app, std::string& clip);
void addFrames(CLI::App& app, std::string& frames);
void addFps(CLI::App& app, double& fps);

/// How a rig file is read: with which character (`--character`), and whether unknown keys are taken.
void addCharacterOfRig(CLI::App& app, std::string& path);
CLI::Option* addKeepUnknown(CLI::App& app, bool& keep);

/// `--rig`, in place of a rig that is made up; and what such a rig is like.
CLI::Option* addRigChoice(CLI::App& app, std::string& path);
CLI::Option* addSimpleCords(CLI::App& app, bool& simple);
void addSimpleRig(CLI::App& app, bool& simple);
CLI::Option* addParamSearch(CLI::App& app, ParamSearch& search);

/// `--picture` and what goes with it: the same pictures, by the same names, wherever a rig is at hand.
void addRigPicture(CLI::App& app, RigPictureOptions& picture);

/// Reports and talk.
void addJson(CLI::App& app, bool& json);
void addQuiet(CLI::App& app, bool& quiet, const char* what = "no summary, no notes, no progress bar");

/// Where evaluations run; with which module, processor variant and number of threads.
void addDevice(CLI::App& app, DeviceChoice& device, const char* what);
void addModule(CLI::App& app, std::string& module, std::string& variant, int& threads);

/// @}

} // namespace talvisora::host
