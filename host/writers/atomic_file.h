// SPDX-License-Identifier: Apache-2.0
// A file that appears whole or not at all. Everything goes into a temporary file beside the target; commit()
// flushes, closes and renames it over the target. Whatever goes wrong before that, the temporary is removed
// and a file that was there before stays as it was. All output files of the host go through this one class.
#pragma once

#include "host/host_error.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace talvisora::host {

/// One output file in the making. Data are appended as they come and are not held in memory.
///
/// Every failure (folder missing or not writable, disk full, target is a folder, …) is a HostError with
/// ExitCode::kOutput; its line names the target, the system's reason and a cure. After a failure the
/// temporary is gone and the object is closed: further writes fail, the destructor does nothing. A target
/// that is a symbolic link keeps being one: the file that it points to is replaced. A target that is a device
/// or a pipe is written directly, as there is nothing to rename over. Threads: one object, one thread.
class AtomicFile {
public:
    /// Opens the temporary. `path` as the user wrote it; it is what error lines show.
    explicit AtomicFile(std::string path);
    /// Drops the temporary unless commit() has returned.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Appends `size` bytes; `data` may be null when `size` is 0.
    void write(const void* data, std::size_t size);
    void write(std::string_view text) { write(text.data(), text.size()); }

    /// Replaces `size` bytes that were written before, `offset` bytes from the start (below 2 GiB), and goes
    /// back to the end. For headers that are known only when the body has been written.
    void overwrite(std::uint64_t offset, const void* data, std::size_t size);

    /// Flushes, closes and renames. From here on the target is complete.
    void commit();

    std::uint64_t bytesWritten() const { return bytesWritten_; }
    const std::string& path() const { return path_; }

private:
    [[noreturn]] void fail(int systemError);
    void drop() noexcept;

    std::string path_;      // as given
    std::string target_;    // with symbolic links resolved
    std::string temporary_; // empty: the target is written directly
    int listed_ = -1;       // place among the temporaries that a signal removes
    std::FILE* file_ = nullptr;
    std::uint64_t bytesWritten_ = 0;
};

} // namespace talvisora::host
