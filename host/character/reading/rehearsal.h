// SPDX-License-Identifier: Apache-2.0
// A rehearsal of something that may crash: it runs in a child process first, so that a damaged file ends in a
// message and not in the end of the program.
#pragma once

#include <functional>

namespace talvisora::host::reading {

enum class Rehearsal {
    kPassed,  ///< the act came to an end, whatever it found; or this system cannot rehearse
    kCrashed, ///< it was ended by a signal
    kStuck,   ///< it used up its processor time
};

/// Runs `act` in a child process whose output is dropped. The act must not rely on other threads; what it
/// changes is lost with the child. Exceptions count as an end.
Rehearsal rehearse(const std::function<void()>& act, int processorSeconds = 60);

} // namespace talvisora::host::reading
