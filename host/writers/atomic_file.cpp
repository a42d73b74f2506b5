// SPDX-License-Identifier: Apache-2.0
// Temporary beside the target, then rename: on one file system that replaces the target in one step. The
// temporary has a short name of its own, so a target whose name is as long as the system allows works too.
#include "host/writers/atomic_file.h"

#include "host/writers/temporary_files.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace talvisora::host {

namespace fs = std::filesystem;

namespace {

long processId() {
#ifdef _WIN32
    return static_cast<long>(_getpid());
#else
    return static_cast<long>(getpid());
#endif
}

std::string folderOf(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// What the user can do about a system error.
std::string cure(int systemError, const std::string& path) {
    switch (systemError) {
    case ENOENT:
        if (std::error_code error; fs::exists(folderOf(path), error)) break; // no file can be made there
        return "create the folder '" + folderOf(path) + "' first";
    case ENOTDIR:
        return "'" + folderOf(path) + "' is not a folder; name one that is";
    case EISDIR:
        return "that is a folder; name a file in it";
    case EACCES:
    case EPERM:
    case EROFS:
        return "choose a place that you may write to";
    case ENOSPC:
    case EFBIG:
#ifdef EDQUOT
    case EDQUOT:
#endif
        return "make room or choose another disk";
    case ENAMETOOLONG:
        return "choose a shorter name";
    default:
        break;
    }
    return "choose another place for it";
}

std::atomic<unsigned> temporaryCounter{0};

} // namespace

AtomicFile::AtomicFile(std::string path) : path_(std::move(path)), target_(path_) {
    std::error_code error;
    if (path_.empty()) fail(ENOENT);
    // Step by step, for a link may point to a file that is not there yet.
    for (int hops = 0; fs::is_symlink(target_, error); ++hops) {
        if (hops == 40) fail(ELOOP);
        const fs::path next = fs::read_symlink(target_, error);
        if (error) fail(error.value());
        target_ = (fs::path(target_).parent_path() / next).string();
    }
    const fs::file_status status = fs::status(target_, error);
    if (status.type() == fs::file_type::none) fail(error.value());
    if (status.type() == fs::file_type::directory || fs::path(target_).filename().empty()) fail(EISDIR);

    if (fs::exists(status) && !fs::is_regular_file(status)) {
        file_ = std::fopen(target_.c_str(), "wb");
        if (!file_) fail(errno);
        return;
    }
    const fs::path folder = fs::path(target_).parent_path();
    // "x" never opens what is there already; a leftover of another process only costs a number.
    for (int attempt = 0;; ++attempt) {
        const std::string name = ".grhost-" + std::to_string(processId()) + "-" +
                                 std::to_string(temporaryCounter.fetch_add(1)) + ".tmp";
        temporary_ = (folder / name).string();
        // Listed before it is there: a signal right after the file appears must find its name.
        listed_ = listTemporary(temporary_);
        errno = 0;
        file_ = std::fopen(temporary_.c_str(), "wbx");
        if (file_) return;
        const int systemError = errno;
        unlistTemporary(listed_);
        listed_ = -1;
        if (systemError == EEXIST && attempt < 100) continue;
        temporary_.clear(); // not ours
        fail(systemError);
    }
}

AtomicFile::~AtomicFile() {
    drop();
}

void AtomicFile::drop() noexcept {
    if (file_) std::fclose(file_);
    file_ = nullptr;
    if (!temporary_.empty()) std::remove(temporary_.c_str());
    unlistTemporary(listed_);
    listed_ = -1;
    temporary_.clear();
}

void AtomicFile::fail(int systemError) {
    drop();
    const std::string reason = systemError != 0 ? std::strerror(systemError) : "the system gave no reason";
    throw HostError(ExitCode::kOutput,
                    "cannot write '" + path_ + "': " + reason + "; " + cure(systemError, target_));
}

void AtomicFile::write(const void* data, std::size_t size) {
    if (!file_) fail(EBADF);
    if (size == 0) return;
    errno = 0;
    if (std::fwrite(data, 1, size, file_) != size) fail(errno);
    bytesWritten_ += size;
}

void AtomicFile::overwrite(std::uint64_t offset, const void* data, std::size_t size) {
    if (!file_) fail(EBADF);
    if (offset + size > bytesWritten_ || offset > 0x7fffffffu) fail(EINVAL);
    errno = 0;
    if (std::fseek(file_, static_cast<long>(offset), SEEK_SET) != 0) fail(errno);
    if (size != 0 && std::fwrite(data, 1, size, file_) != size) fail(errno);
    if (std::fseek(file_, 0, SEEK_END) != 0) fail(errno);
}

void AtomicFile::commit() {
    if (!file_) fail(EBADF);
    errno = 0;
    if (std::fflush(file_) != 0) fail(errno);
    std::FILE* closing = file_;
    file_ = nullptr;
    if (std::fclose(closing) != 0) fail(errno);
    if (temporary_.empty()) return;
    std::error_code error;
    fs::rename(temporary_, target_, error);
    if (error) fail(error.value());
    unlistTemporary(listed_);
    listed_ = -1;
    temporary_.clear();
}

} // namespace talvisora::host
