// SPDX-License-Identifier: Apache-2.0
// A folder for one test's files, gone afterwards, and the few things tests ask of files.
#pragma once

#include "host/host_error.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace talvisora::host {

class TempFolder {
public:
    TempFolder() {
        const std::filesystem::path base = std::filesystem::temp_directory_path();
        std::random_device random;
        do {
            path_ = base / ("talvisora-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    std::string path() const { return path_.string(); }

    /// Names of everything that lies in the folder, hidden files too.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            found.push_back(entry.path().filename().string());
        return found;
    }

private:
    std::filesystem::path path_;
};

inline std::string readText(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

/// The error line of what `action` throws; empty when it throws nothing. Any code but `expected` is named.
template <typename Action>
std::string errorOf(Action action, ExitCode expected = ExitCode::kOutput) {
    try {
        action();
    } catch (const HostError& error) {
        if (error.code != expected) return "exit code " + std::to_string(static_cast<int>(error.code));
        return error.what();
    }
    return {};
}

} // namespace talvisora::host
