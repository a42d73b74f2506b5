// SPDX-License-Identifier: Apache-2.0
#include "host/replay/replay.h"
#include "host/verbs/verbs.h"

namespace talvisora::host {

ExitCode runReplayVerb(const ReplayVerb& verb) {
    chooseVariant(verb.variant);
    const Capture capture = readCapture(verb.capture);
    const Module module(verb.module);
    const ReplayAnswer answer = replay(module, capture, {verb.threads});
    printOut(answer.text);
    return answer.exitCode;
}

} // namespace talvisora::host
