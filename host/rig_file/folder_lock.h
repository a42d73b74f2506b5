// SPDX-License-Identifier: Apache-2.0
// Keeps several runs of grhost from writing rigs into one folder at the same moment: one of them would take
// away arrays that another is about to name.
#pragma once

#include <string>

namespace talvisora::host {

/// Waits until no other writer holds the folder, at most ten seconds, and holds it until destroyed; a process
/// that ends gives it up. It is a courtesy among writers: where the system offers no such lock, or the wait
/// was in vain, the work goes on without. Leaves no file behind. Holders in one process exclude each other,
/// too; one thread must not take the same folder twice.
class FolderLock {
public:
    explicit FolderLock(const std::string& folder);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock();

private:
    int descriptor_ = -1;
};

} // namespace talvisora::host
