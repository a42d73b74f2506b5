// SPDX-License-Identifier: Apache-2.0
// A signal handler may neither lock nor allocate: the names stand in fixed places, each with a flag that is
// set after the name is complete.
#include "host/writers/temporary_files.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace talvisora::host {

namespace {

constexpr int kPlaces = 64;
constexpr std::size_t kLongestName = 4096;

enum State { kFree, kTaken, kListed };

struct Place {
    std::atomic<int> state{kFree};
    char name[kLongestName];
};

Place places[kPlaces];

static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not meet a lock");

extern "C" void removeAndEnd(int signal) {
    for (const Place& place : places) {
        if (place.state.load() != kListed) continue;
#ifdef _WIN32
        std::remove(place.name);
#else
        unlink(place.name);
#endif
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void takeOver(int signal) {
    const auto before = std::signal(signal, removeAndEnd);
    if (before == SIG_IGN) std::signal(signal, SIG_IGN);
}

} // namespace

void removeTemporariesOnSignals() {
    takeOver(SIGINT);
    takeOver(SIGTERM);
#ifdef SIGHUP
    takeOver(SIGHUP);
#endif
}

int listTemporary(const std::string& path) noexcept {
    if (path.size() >= kLongestName) return -1;
    for (int k = 0; k < kPlaces; ++k) {
        int expected = kFree;
        if (!places[k].state.compare_exchange_strong(expected, kTaken)) continue;
        std::memcpy(places[k].name, path.c_str(), path.size() + 1);
        places[k].state.store(kListed);
        return k;
    }
    return -1;
}

void unlistTemporary(int place) noexcept {
    if (place >= 0) places[place].state.store(kFree);
}

} // namespace talvisora::host
