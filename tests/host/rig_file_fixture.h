// SPDX-License-Identifier: Apache-2.0
// A small rig file for the tests, as text and as data, and a folder that is gone after each test.
#pragma once

#include "host/made_character.h"
#include "host/rig_file/rig_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace rig_files {

namespace fs = std::filesystem;
using namespace talvisora;
using namespace talvisora::host;
using Json = nlohmann::json;

inline std::string fileText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A bar of three joints and four points; one block with one of everything.
inline Json smallRig() {
    return Json::parse(R"({
      "format": "talvisora-rig", "version": 1,
      "units": {"length": "cm", "fileUnit": "metadata", "lengthsPerFileUnit": 100},
      "upAxis": "z",
      "mesh": {"character": "bar.glb", "objects": ["bar"], "points": 4,
               "topology": "0123456789abcdef", "restPositions": "fedcba9876543210"},
      "hierarchy": [
        {"name": "root", "joint": "root", "rest": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]},
        {"name": "mid", "joint": "mid", "parent": "root", "rest": [1,0,0,0, 0,1,0,0, 0,0,1,0, 10,0,0,1]},
        {"name": "end", "parent": "mid", "flag": true, "rest": [1,0,0,0, 0,1,0,0, 0,0,1,0, 5,0.1,0,1]}],
      "blocks": [
        {"name": "bar", "env": 0.75, "simple": false, "joints": ["root", "mid", "end"],
         "bends": [{"segment": 1, "control": "mid"}],
         "tweaks": [{"centre": 0, "bulgeTweak": 2.5, "slideOrthoNextOutTweak": -1}],
         "blockWeights": [0, 0.25, 1, 0.1],
         "params": {"default": 0.5, "indices": [0, 3], "values": [0, 1]}}],
      "weightMaps": {"slideOutTweakWeights": {"default": 1, "indices": [2], "values": [0]}}
    })");
}

class RigFiles : public testing::Test {
protected:
    void SetUp() override {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder = fs::temp_directory_path() / (std::string("rig_files_") + test->test_suite_name() + "_" +
                                              test->name() + "_" + std::to_string(::getpid()));
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    std::string path(const std::string& name = "bar.rig.json") const { return (folder / name).string(); }
    std::string write(const std::string& text, const std::string& name = "bar.rig.json") const {
        std::ofstream(folder / name, std::ios::binary) << text;
        return path(name);
    }
    RigFile read(const Json& document, bool keepUnknown = false) const {
        return readRigFile(write(document.dump()), {keepUnknown, nullptr});
    }
    /// The error of reading a document, without the file's name in front; empty when there is none.
    std::string fault(const Json& document, bool keepUnknown = false) const {
        return faultOfText(document.dump(), keepUnknown);
    }
    std::string faultOfText(const std::string& text, bool keepUnknown = false) const {
        const std::string file = write(text);
        try {
            readRigFile(file, {keepUnknown, nullptr});
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, ExitCode::kInput);
            const std::string line = error.what();
            EXPECT_EQ(line.compare(0, file.size() + 2, file + ": "), 0) << line;
            return line.substr(file.size() + 2);
        }
        return {};
    }
    /// All files below the folder, sorted, with '/' between.
    std::vector<std::string> listing() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file()) names.push_back(fs::relative(entry.path(), folder).generic_string());
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path folder;
};

} // namespace rig_files
