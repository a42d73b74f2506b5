// SPDX-License-Identifier: Apache-2.0
// Where the verbs' talk and reports go.
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

void printTalk(const VerbTalk& talk, bool json, bool quiet) {
    if (!quiet)
        for (const std::string& note : talk.notes) std::fprintf(stderr, "note: %s\n", note.c_str());
    if (json) {
        if (!quiet) std::fputs(talk.summary.c_str(), stderr);
        printOut(talk.json);
    } else if (!quiet) {
        printOut(talk.summary);
    }
}

} // namespace talvisora::host
