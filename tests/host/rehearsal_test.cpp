// SPDX-License-Identifier: Apache-2.0
// What a rehearsal says of acts that end, throw, crash and never end.
#include "host/character/reading/rehearsal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace talvisora::host::reading {
namespace {

TEST(Rehearsal, AnActThatEndsHasPassedAndChangesNothingHere) {
    int changed = 0;
    EXPECT_EQ(rehearse([&] { changed = 1; }), Rehearsal::kPassed);
    EXPECT_EQ(changed, 0);
}

TEST(Rehearsal, AnExceptionIsAnEnd) {
    EXPECT_EQ(rehearse([] { throw std::runtime_error("no such mesh"); }), Rehearsal::kPassed);
}

TEST(Rehearsal, CrashesAreSeenWhateverTheirSignal) {
    EXPECT_EQ(rehearse([] { std::raise(SIGSEGV); }), Rehearsal::kCrashed);
    EXPECT_EQ(rehearse([] { std::abort(); }), Rehearsal::kCrashed);
}

TEST(Rehearsal, AnActThatNeverEndsIsStuck) {
    EXPECT_EQ(rehearse(
                  [] {
                      for (volatile unsigned turns = 0;;) turns = turns + 1;
                  },
                  1),
              Rehearsal::kStuck);
}

} // namespace
} // namespace talvisora::host::reading
