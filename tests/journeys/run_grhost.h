// SPDX-License-Identifier: Apache-2.0
// Runs the built grhost as a stranger does, and keeps what it said; a folder that is gone after the test.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace talvisora::journeys {

namespace fs = std::filesystem;
using Json = nlohmann::json;

inline const std::string kBull = "/usr/share/assimp/models/X/Testwuson.X"; // from Debian's assimp-testmodels
inline const Json kDeform = {{"call", "deformCpu"}};                       // of a capture

struct Ran {
    int exitCode = -1; ///< 128 and more: ended by a signal
    std::string out, err;
};

inline std::string fileText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A fresh folder of its own for each test.
class Journey : public testing::Test {
protected:
    void SetUp() override {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name =
            std::string(test->test_suite_name()) + "_" + test->name() + "_" + std::to_string(::getpid());
        for (char& c : name)
            if (c == '/') c = '_';
        folder = fs::temp_directory_path() / ("grhost_" + name);
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override {
        std::error_code error;
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, error);
        fs::remove_all(folder, error);
    }

    /// Runs grhost with these arguments; each is quoted.
    Ran run(const std::vector<std::string>& arguments) const {
        const fs::path outFile = folder / ".out", errFile = folder / ".err";
        std::string line = quoted(std::string(TALVISORA_BIN_DIR) + "/grhost");
        for (const std::string& argument : arguments) line += " " + quoted(argument);
        line += " > " + quoted(outFile.string()) + " 2> " + quoted(errFile.string());
        const int status = std::system(line.c_str());
        Ran ran;
        ran.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        ran.out = fileText(outFile);
        ran.err = fileText(errFile);
        fs::remove(outFile);
        fs::remove(errFile);
        return ran;
    }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
        return path(name);
    }

    /// Names of what lies in the folder, sorted.
    std::vector<std::string> listing() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// A run that must end in `exitCode` with one line that holds `part`, say nothing else, and leave the
    /// folder's names and the text of its file `kept` as they were.
    void refused(int exitCode, const std::string& part, const std::vector<std::string>& arguments,
                 const std::string& kept = "bar.rig.json") const {
        const auto before = listing();
        const std::string old = fileText(path(kept));
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err;
        EXPECT_EQ(ran.out, "");
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
        EXPECT_NE(ran.err.find(part), std::string::npos) << ran.err;
        EXPECT_EQ(listing(), before);
        EXPECT_EQ(fileText(path(kept)), old);
    }

    fs::path folder;

private:
    static std::string quoted(const std::string& text) {
        std::string result = "'";
        for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return result + "'";
    }
};

inline std::string golden(const std::string& name) {
    return std::string(TALVISORA_SOURCE_DIR) + "/tests/goldens/" + name;
}

} // namespace talvisora::journeys
