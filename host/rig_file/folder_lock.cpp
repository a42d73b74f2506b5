// SPDX-License-Identifier: Apache-2.0
// The lock is on the folder itself, so there is no lock file that could be left behind.
#include "host/rig_file/folder_lock.h"

#ifndef _WIN32
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#endif

namespace talvisora::host {

#ifdef _WIN32

FolderLock::FolderLock(const std::string&) {}
FolderLock::~FolderLock() = default;

#else

FolderLock::FolderLock(const std::string& folder)
    : descriptor_(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ < 0) return;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return;
        if (std::chrono::steady_clock::now() >= end) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

FolderLock::~FolderLock() {
    if (descriptor_ >= 0) close(descriptor_);
}

#endif

} // namespace talvisora::host
