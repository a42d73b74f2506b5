// SPDX-License-Identifier: Apache-2.0
#include "host/replay/replay.h"
#include "host/verbs/verbs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace talvisora::host {

void printOut(const std::string& text) {
    errno = 0;
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!written || std::fflush(stdout) != 0)
        throw HostError(ExitCode::kOutput,
                        std::string("standard output: could not be written (") + std::strerror(errno) + ")");
}

ExitCode runReplayVerb(const ReplayVerb& verb) {
    chooseVariant(verb.variant);
    const Capture capture = readCapture(verb.capture);
    const Module module(verb.module);
    const ReplayAnswer answer = replay(module, capture, {verb.threads});
    printOut(answer.text);
    return answer.exitCode;
}

} // namespace talvisora::host
