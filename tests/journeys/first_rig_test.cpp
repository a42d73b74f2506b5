// SPDX-License-Identifier: Apache-2.0
// Runs every command of docs/first-rig.md in its order, as it stands there, and holds the page to what comes
// out: each quoted line of output, each picture. Page and program cannot drift apart.
#include "journeys/run_grhost.h"

#include <cstdint>
#include <sstream>

namespace talvisora::journeys {
namespace {

/// A command of the page and the lines of output that the page quotes behind it.
struct Step {
    std::string command;
    std::vector<std::string> quoted;
};

struct Page {
    std::vector<Step> steps;
    std::vector<std::string> pictures; ///< file names under docs/pictures
};

Page readPage() {
    Page page;
    std::istringstream text(fileText(std::string(TALVISORA_SOURCE_DIR) + "/docs/first-rig.md"));
    std::string fence, pending;
    for (std::string line; std::getline(text, line);) {
        if (line.rfind("```", 0) == 0) {
            fence = fence.empty() ? line.substr(3) + "`" : "";
            continue;
        }
        if (fence == "sh`") {
            const bool goesOn = !line.empty() && line.back() == '\\';
            pending += goesOn ? line.substr(0, line.size() - 1) : line;
            if (goesOn) continue;
            if (!pending.empty()) page.steps.push_back({pending, {}});
            pending.clear();
        } else if (fence == "text`" && !page.steps.empty()) {
            if (line != "…" && !line.empty()) page.steps.back().quoted.push_back(line);
        } else if (fence.empty()) {
            const std::string mark = "](pictures/";
            for (std::size_t at = line.find(mark); at != std::string::npos; at = line.find(mark, at + 1)) {
                const std::size_t start = at + mark.size();
                page.pictures.push_back(line.substr(start, line.find(')', start) - start));
            }
        }
    }
    return page;
}

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t k = 0; k < 4; ++k)
        number = number << 8 | static_cast<unsigned char>(at + k < bytes.size() ? bytes[at + k] : 0);
    return number;
}

class FirstRig : public Journey {
protected:
    /// Runs a line of the page from a folder that looks like the project's.
    Ran runLine(const std::string& command) const {
        write("step.sh", "cd '" + folder.string() + "'\n" + command + "\n");
        const int status =
            std::system(("bash '" + path("step.sh") + "' > '" + path("step.out") + "' 2>&1").c_str());
        Ran ran;
        ran.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        ran.out = fileText(path("step.out"));
        return ran;
    }
};

TEST_F(FirstRig, EveryCommandOfThePageDoesWhatThePageSays) {
    const Page page = readPage();
    ASSERT_GE(page.steps.size(), 6u) << "the page has lost its commands, or the test its way of finding them";
    ASSERT_GE(page.pictures.size(), 3u);
    fs::create_directory_symlink(TALVISORA_BIN_DIR, folder / "bin");
    for (const Step& step : page.steps) {
        const Ran ran = runLine(step.command);
        const bool mayFind = step.command.rfind("bin/grhost check", 0) == 0;
        EXPECT_TRUE(ran.exitCode == 0 || (mayFind && ran.exitCode == 6))
            << step.command << "\nexit status " << ran.exitCode << "\n"
            << ran.out;
        for (const std::string& line : step.quoted)
            EXPECT_NE(ran.out.find(line + "\n"), std::string::npos) << "the page quotes\n"
                                                                    << line << "\nbut\n"
                                                                    << step.command << "\nprints\n"
                                                                    << ran.out;
    }
    for (const std::string& picture : page.pictures) {
        const std::string shown = fileText(std::string(TALVISORA_SOURCE_DIR) + "/docs/pictures/" + picture);
        const std::string drawn = fileText(path("out/" + picture));
        ASSERT_GT(shown.size(), 24u) << picture << " is missing";
        ASSERT_GT(drawn.size(), 24u) << "no command of the page draws " << picture;
        EXPECT_LT(shown.size(), 150u * 1024u) << picture;
        // Width and height; shades may differ in their last bit between compilers.
        EXPECT_EQ(bigEndian(shown, 16), bigEndian(drawn, 16)) << picture;
        EXPECT_EQ(bigEndian(shown, 20), bigEndian(drawn, 20)) << picture;
    }
}

} // namespace
} // namespace talvisora::journeys
