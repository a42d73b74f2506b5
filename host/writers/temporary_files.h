// SPDX-License-Identifier: Apache-2.0
// The temporaries that are on the disk at this moment, so that a run that the user stops (Ctrl-C, a closed
// terminal, a scheduler's end signal) takes them along: destructors do not run then.
#pragma once

#include <string>

namespace talvisora::host {

/// From now on the listed files are removed when the process is ended by SIGINT, SIGTERM or (where there is
/// one) SIGHUP; the process still ends by that signal. A signal that is ignored stays ignored. To be called
/// once, by a program's main function, before its first output.
void removeTemporariesOnSignals();

/// Lists a file that exists. Answers its place in the list for unlistTemporary(); -1 when the list is full or
/// the name too long: the file then is not taken along. Threads: any.
int listTemporary(const std::string& path) noexcept;

/// Takes it off the list again, once it is renamed or removed. -1 does nothing. Threads: any.
void unlistTemporary(int place) noexcept;

} // namespace talvisora::host
