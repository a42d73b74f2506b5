// SPDX-License-Identifier: Apache-2.0
// Temporaries that a signal removes: the list itself. A stopped run is a journey of its own.
#include "host/writers/atomic_file.h"
#include "host/writers/temporary_files.h"
#include "temp_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <vector>

namespace talvisora::host {
namespace {

void writeAndStop(const std::string& path) {
    removeTemporariesOnSignals();
    AtomicFile done(path + ".done"), open(path), second(path + ".2");
    done.write("whole");
    done.commit();
    open.write("half");
    std::raise(SIGTERM);
}

TEST(TemporaryFilesDeathTest, SignalRemovesWhatIsOpenAndKeepsWhatIsWhole) {
    TempFolder folder;
    EXPECT_EXIT(writeAndStop(folder.file("a")), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.done"});
}

void ignoreAndRaise() {
    std::signal(SIGINT, SIG_IGN);
    removeTemporariesOnSignals();
    std::raise(SIGINT);
    std::exit(7);
}

TEST(TemporaryFilesDeathTest, IgnoredSignalsStayIgnored) {
    EXPECT_EXIT(ignoreAndRaise(), testing::ExitedWithCode(7), "");
}

TEST(TemporaryFiles, ListHasAnEndAndPlacesComeBack) {
    std::set<int> places;
    int place = 0;
    while ((place = listTemporary("/nowhere/at/all")) >= 0) EXPECT_TRUE(places.insert(place).second);
    EXPECT_EQ(places.size(), 64u);
    for (const int taken : places) unlistTemporary(taken);
    unlistTemporary(-1);
    place = listTemporary("/nowhere/at/all");
    EXPECT_GE(place, 0);
    unlistTemporary(place);
    EXPECT_EQ(listTemporary(std::string(5000, 'x')), -1);
}

} // namespace
} // namespace talvisora::host
