// SPDX-License-Identifier: Apache-2.0
// How anything in the host fails: one exception with one clear line and the exit code it ends in. `main`
// catches it, prints "grhost: <line>" to standard error and exits; nothing else prints errors.
#pragma once

#include <stdexcept>
#include <string>

namespace talvisora::host {

/// Exit codes of `grhost`.
enum class ExitCode : int {
    kDone = 0,         ///< everything asked for was done
    kModuleFailed = 1, ///< the module reported a failure
    kUsage = 2,        ///< wrong usage of the command line
    kInput = 3,        ///< an input is missing, unreadable or unsupported
    kOutput = 4,       ///< an output could not be written
    kFindings = 6,     ///< a check found something; no failure of grhost
};

/// The text is one line that names the file, the thing and the cure; no "error:" in front, no full stop
/// needed. It stays one line whatever names a file brings: control characters become '?'.
class HostError : public std::runtime_error {
public:
    HostError(ExitCode exitCode, const std::string& text)
        : std::runtime_error(oneLine(text)), code(exitCode) {}
    ExitCode code;

private:
    static std::string oneLine(std::string text) {
        for (char& c : text)
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
        return text;
    }
};

} // namespace talvisora::host
