// SPDX-License-Identifier: Apache-2.0
#include "host/replay/replay.h"
#include "host/verbs/verbs.h"

#include <cstdio>

namespace talvisora::host {

ExitCode runReplayVerb(const ReplayVerb& verb) {
    chooseVariant(verb.variant);
    const Capture capture = readCapture(verb.capture);
    const Module module(verb.module);
    const ReplayAnswer answer = replay(module, capture, {verb.threads, verb.device});
    if (answer.device)
        for (const std::string& line : deviceLines(*answer.device))
            std::fprintf(stderr, "%s\n", line.c_str());
    printOut(answer.text);
    return answer.exitCode;
}

} // namespace talvisora::host
