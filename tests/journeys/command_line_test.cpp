// SPDX-License-Identifier: Apache-2.0
// grhost on bad input: one clear line on standard error that names the file and the thing, the right exit
// code, nothing on standard output, no file half written. 2: usage, 3: input, 4: output.
#include "journeys/run_grhost.h"

#include <algorithm>
#include <csignal>
#include <unistd.h>

namespace talvisora::journeys {
namespace {

class CommandLine : public Journey {
protected:
    // Runs, expects one line with all of these parts and nothing else, and no new file.
    void expectRefused(int exitCode, const std::vector<std::string>& parts,
                       const std::vector<std::string>& arguments) {
        const auto before = listing();
        const Ran ran = run(arguments);
        SCOPED_TRACE(ran.err);
        EXPECT_EQ(ran.exitCode, exitCode);
        EXPECT_EQ(ran.out, "");
        EXPECT_EQ(ran.err.substr(0, 8), "grhost: ");
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1);
        EXPECT_EQ(ran.err.back(), '\n');
        for (const std::string& part : parts) EXPECT_NE(ran.err.find(part), std::string::npos) << part;
        EXPECT_EQ(listing(), before);
    }

    // One triangle, no skin.
    std::string plainTriangle() {
        return write("plain.gltf", R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
            "nodes": [{"mesh": 0}], "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
            "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                           "min": [0, 0, 0], "max": [1, 1, 0]}],
            "bufferViews": [{"buffer": 0, "byteLength": 36}],
            "buffers": [{"byteLength": 36, "uri": "data:application/octet-stream;base64,)"
                                   "AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA\"}]}");
    }
};

class BullCommandLine : public CommandLine {
protected:
    void SetUp() override {
        CommandLine::SetUp();
        if (!fs::exists(kBull)) FAIL() << kBull << " is not there; install assimp-testmodels";
    }
};

TEST_F(CommandLine, HelpIsNoFailure) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--help"}, {"deform", "--help"}, {"replay", "--help"}, {"info", "--help"}, {"--version"}}) {
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, 0);
        EXPECT_EQ(ran.err, "");
        EXPECT_NE(ran.out, "");
    }
}

TEST_F(CommandLine, WrongUsageEndsWithTwo) {
    expectRefused(2, {"--help"}, {});
    expectRefused(2, {"dance"}, {"dance"});
    expectRefused(2, {"capture"}, {"replay"});
    expectRefused(2, {"--slow"}, {"replay", "c.json", "--slow"});
    expectRefused(2, {"--threads"}, {"replay", "c.json", "--threads", "0"});
    expectRefused(2, {"--device -1", "cpu, gpu, auto"}, {"replay", "c.json", "--device", "-1"});
    expectRefused(2, {"--device gpu:x", "cpu, gpu, auto"},
                  {"deform", "a.glb", "-o", path("o.pc2"), "--device", "gpu:x"});
    expectRefused(2, {"--capture-frame", "1 to 2147483647"},
                  {"deform", "a.glb", "--capture", path("c.json"), "--capture-frame", "-5"});
    expectRefused(2, {"--variant", "mmx", "sse2"}, {"replay", "c.json", "--variant", "mmx"});
    expectRefused(2, {"nothing to do", "-o"}, {"deform", "a.glb"});
    expectRefused(2, {"furlong"}, {"deform", "a.glb", "-o", path("o.pc2"), "--units", "furlong"});
    expectRefused(2, {"--fps"}, {"deform", "a.glb", "-o", path("o.pc2"), "--fps", "0"});
    expectRefused(2, {"--view", "under"}, {"deform", "a.glb", "--picture", path("o.png"), "--view", "under"});
    expectRefused(2, {"--params"}, {"deform", "a.glb", "-o", path("o.pc2"), "--params", "best"});
    expectRefused(2, {"--tangent-turn"}, {"deform", "a.glb", "-o", path("o.pc2"), "--tangent-turn", "2"});
    expectRefused(2, {"--picture-frames", "--picture"},
                  {"deform", "a.glb", "-o", path("o.pc2"), "--picture-frames", "1"});
}

TEST_F(CommandLine, OutputsAreKnownByTheirExtension) {
    expectRefused(2, {"--picture", "o.jpg", ".png"}, {"deform", "a.glb", "--picture", path("o.jpg")});
    expectRefused(2, {path("folder/"), "folder", ".pc2"}, {"deform", "a.glb", "-o", path("folder/")});
    expectRefused(2, {path("o.abc"), ".abc", ".glb"}, {"deform", "a.glb", "-o", path("o.abc")});
    expectRefused(2, {path("o.pc2"), "twice"}, {"deform", "a.glb", "-o", path("o.pc2"), path("o.pc2")});
}

TEST_F(CommandLine, MissingFilesAreNamed) {
    expectRefused(3, {"no_such.json"}, {"replay", path("no_such.json")});
    expectRefused(3, {"no_such.glb"}, {"deform", path("no_such.glb"), "-o", path("o.pc2")});
    expectRefused(3, {"no_such.glb"}, {"info", path("no_such.glb")});
    expectRefused(3, {"no_such.so"}, {"info", path("no_such.so")});
    expectRefused(3, {folder.string()}, {"replay", folder.string()});
}

TEST_F(CommandLine, CapturesWithAWrongTypeNameThePlace) {
    const std::string capture = write("c.json", R"({"format": "talvisora-capture", "version": 1, "node": "n",
                            "record": {"matrix": [1,0,0,0,0,1,0,0,0,0,1,0,0,0,0]}})");
    expectRefused(3, {"c.json: /record/matrix: 16 numbers expected, 15 found"}, {"replay", capture});
    expectRefused(3, {"not valid JSON", "line 1"}, {"replay", write("t.json", "{\"format\": ")});
}

TEST_F(CommandLine, TruncatedCharactersAreRefused) {
    const std::string whole = fileText(plainTriangle());
    const std::string half = write("half.gltf", whole.substr(0, whole.size() / 2));
    expectRefused(3, {"half.gltf"}, {"deform", half, "-o", path("o.pc2")});
    const std::string binary =
        write("half.glb", std::string("glTF\x02\0\0\0\xff\0\0\0\x40\0\0\0JSON{\"as", 25));
    expectRefused(3, {"half.glb"}, {"deform", binary, "-o", path("o.pc2")});
    expectRefused(3, {"empty.glb"}, {"info", write("empty.glb", "")});
}

TEST_F(CommandLine, CharactersWithoutASkinAreRefused) {
    expectRefused(3, {"plain.gltf", "skin"}, {"deform", plainTriangle(), "-o", path("o.pc2")});
}

TEST_F(CommandLine, ModulesThatAreNoneAreRefused) {
    const std::string capture = golden("bent90.capture.json");
    expectRefused(3, {"gone.so", "--module"}, {"replay", capture, "--module", path("gone.so")});
    expectRefused(3, {"text.so", "not a library"}, {"replay", capture, "--module", write("text.so", "text")});
    expectRefused(
        3, {"libtalvisora_headless.so", "'create'"},
        {"replay", capture, "--module", std::string(TALVISORA_BIN_DIR) + "/libtalvisora_headless.so"});
    expectRefused(3, {folder.string()}, {"replay", capture, "--module", folder.string()});
}

TEST_F(CommandLine, AnOutputThatCannotBeWrittenIsFour) {
    ASSERT_TRUE(fs::exists("/dev/full"));
    const std::string command = std::string(TALVISORA_BIN_DIR) + "/grhost replay '" +
                                golden("bent90.capture.json") + "' > /dev/full 2> '" + path("err") + "'";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 4);
    EXPECT_EQ(fileText(path("err")).substr(0, 40), "grhost: standard output: could not be wr");
}

TEST_F(CommandLine, InfoTellsTheModulesAttributes) {
    const std::string module = std::string(TALVISORA_BIN_DIR) + "/libtalvisora.so";
    const Ran ran = run({"info", module});
    EXPECT_EQ(ran.exitCode, 0);
    EXPECT_NE(ran.out.find("commands: help resetParams resetWeights checkFloatingPoints\n"),
              std::string::npos);
    EXPECT_NE(ran.out.find("env  GrFloat  default 1  from 0  to 1  keyable\n"), std::string::npos);
    EXPECT_EQ(std::count(ran.out.begin(), ran.out.end(), '\n'), 3 + 10 + 8 + 14);
    const Json json = Json::parse(run({"info", module, "--json"}).out);
    EXPECT_EQ(json.at("attributes").size(), 10u);
}

TEST_F(BullCommandLine, UnknownClipsAndFramesNameWhatThereIs) {
    expectRefused(3, {"Gallop", "Wuson_Run", "Wuson_Walk"},
                  {"deform", kBull, "--clip", "Gallop", "-o", path("o.pc2")});
    expectRefused(3, {kBull, "Wuson_Run", "25", "24"},
                  {"deform", kBull, "--clip", "Run", "--frames", "1-25", "-o", path("o.pc2")});
    expectRefused(2, {"5-3"}, {"deform", kBull, "--clip", "Run", "--frames", "5-3", "-o", path("o.pc2")});
    expectRefused(3, {"99", "24"},
                  {"deform", kBull, "--clip", "Run", "--capture", path("c.json"), "--capture-frame", "99"});
}

TEST_F(BullCommandLine, NoOutputTakesThePlaceOfAnotherFile) {
    fs::copy_file(kBull, path("hero.glb"));
    const std::string before = fileText(path("hero.glb"));
    expectRefused(2, {"hero.glb", "the character"}, {"deform", path("hero.glb"), "-o", path("./hero.glb")});
    EXPECT_EQ(fileText(path("hero.glb")), before);
    fs::remove(path("hero.glb"));
    expectRefused(2, {"o.pc2", "-o"}, {"deform", kBull, "-o", path("o.pc2"), path("x/../o.pc2")});
    expectRefused(2, {"--picture", "-o"},
                  {"deform", kBull, "-o", path("o.pc2"), "--picture", path("./o.pc2")});
    expectRefused(2, {"--capture", "--picture"},
                  {"deform", kBull, "--picture", path("o.png"), "--capture", path("o.png")});
}

TEST_F(BullCommandLine, AStoppedRunTakesItsTemporariesAlong) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        const pid_t child = ::fork();
        if (child == 0) {
            // Whoever started the tests may have had signals ignored, as nohup does, and that is passed on.
            // The alarm ends a run that nobody stopped.
            ::signal(number, SIG_DFL);
            ::alarm(120);
            const std::string program = std::string(TALVISORA_BIN_DIR) + "/grhost", output = path("o.pc2");
            ::execl(program.c_str(), "grhost", "deform", kBull.c_str(), "--clip", "Walk", "--fps", "100000",
                    "--quiet", "-o", output.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        for (int wait = 0; wait < 1000 && listing().empty(); ++wait) ::usleep(10000);
        EXPECT_EQ(listing().size(), 1u) << "the temporary of a run that takes minutes";
        ASSERT_EQ(::kill(child, number), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
        EXPECT_EQ(listing(), std::vector<std::string>());
    }
}

TEST_F(BullCommandLine, UnwritableOutputsAreFoundBeforeTheWork) {
    const std::string file = write("file", "");
    for (const std::string& output : {path("no/such/folder/o.pc2"), file + "/o.glb", path("none/o.obj")})
        expectRefused(4, {output.substr(0, output.rfind('.'))},
                      {"deform", kBull, "--clip", "Run", "--frames", "1", "-o", path("good.pc2"), output});
    expectRefused(4, {"none/p.png"},
                  {"deform", kBull, "--clip", "Run", "-o", path("good.pc2"), "--frames", "1", "--picture",
                   path("none/p.png")});
    expectRefused(4, {"none/c.json"},
                  {"deform", kBull, "--clip", "Run", "-o", path("good.pc2"), "--frames", "1", "--capture",
                   path("none/c.json")});
    fs::create_directory(folder / "shut");
    fs::permissions(folder / "shut", fs::perms::owner_read | fs::perms::owner_exec);
    if (::geteuid() != 0)
        expectRefused(4, {"shut/o.pc2"}, {"deform", kBull, "--clip", "Run", "-o", path("shut/o.pc2")});
}

} // namespace
} // namespace talvisora::journeys
