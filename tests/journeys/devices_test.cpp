// SPDX-License-Identifier: Apache-2.0
// `--device`, `grhost compare` and `grhost doctor` on the OpenCL device that the set-up installs, without
// one, and with one that fails: a driver that finds no kernel of the program's name.
#include "journeys/run_grhost.h"

#include <cmath>

namespace talvisora::journeys {
namespace {

// An environment variable for as long as this lives; grhost inherits it.
class Variable {
public:
    Variable(const char* name, const std::string& value) : name_(name) { setenv(name, value.c_str(), 1); }
    ~Variable() { unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
};

class Devices : public Journey {
protected:
    Json json(const std::vector<std::string>& arguments, int exitCode = 0) {
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.exitCode, exitCode) << ran.err << ran.out.substr(0, 400);
        return Json::parse(ran.out, nullptr, false);
    }
    Json deform(const std::string& device, const std::string& output, int frames = 4) {
        return json({"deform", kBull, "--clip", "Run", "--frames", "1-" + std::to_string(frames), "-o",
                     path(output), "--device", device, "--json", "--quiet"});
    }
    // Largest distance between two caches, as a part of the bounding box.
    double apart(const std::string& a, const std::string& b) {
        return json({"compare", path(a), path(b), "--json"}).at("all").at("largestShare").get<double>();
    }
    static void expectRefusal(const Ran& ran, int exitCode, const std::string& part) {
        EXPECT_EQ(ran.exitCode, exitCode);
        EXPECT_EQ(ran.out, "");
        EXPECT_NE(ran.err.find(part), std::string::npos) << ran.err;
        EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 1) << ran.err;
    }
};

TEST_F(Devices, DeformTheSameOnProcessorAndGpu) {
    const Json cpu = deform("cpu", "cpu.pc2"), gpu = deform("gpu", "gpu.pc2"), first = deform("0", "0.pc2");
    EXPECT_EQ(cpu.at("device").at("line"), "CPU");
    EXPECT_EQ(cpu.at("device").at("cpuFrames"), 4);
    for (const Json& report : {gpu, first}) {
        EXPECT_EQ(report.at("device").at("gpuFrames"), 4);
        EXPECT_EQ(report.at("device").at("cpuFrames"), 0);
        EXPECT_EQ(report.at("device").at("gpuMessages"), 0);
        EXPECT_EQ(report.at("device").at("line").get<std::string>().find("GPU 0 "), 0u);
        EXPECT_NE(report.at("device").at("line").get<std::string>().find(": kernel "), std::string::npos);
    }
    // Single precision: a few units in the last place of coordinates of the size of the box.
    EXPECT_LT(apart("cpu.pc2", "gpu.pc2"), 2e-5);
    EXPECT_GT(apart("cpu.pc2", "gpu.pc2"), 0.0) << "the two are told to be calculated differently";
    EXPECT_EQ(apart("0.pc2", "gpu.pc2"), 0.0);
}

TEST_F(Devices, AutoMakesTheFirstFrameOnBothAndSaysWhy) {
    const Json device = deform("auto", "auto.pc2").at("device");
    EXPECT_LT(device.at("firstFrameDifference").at("share").get<double>(), 2e-5);
    EXPECT_EQ(device.at("cpuFrames").get<int>() + device.at("gpuFrames").get<int>(), 4);
    const std::string line = device.at("line");
    EXPECT_TRUE(line.find("CPU: ") == 0 || line.find("GPU 0 ") == 0) << line;
    EXPECT_NE(line.find(" ms per frame"), std::string::npos) << line;
    deform("cpu", "cpu.pc2");
    EXPECT_LT(apart("cpu.pc2", "auto.pc2"), 2e-5);
    const Ran talk = run({"deform", kBull, "--frames", "1", "-o", path("one.pc2"), "--device", "auto"});
    EXPECT_NE(talk.out.find("first frame on both: largest difference "), std::string::npos) << talk.out;
    EXPECT_NE(talk.out.find(" % of the bounding box), at point "), std::string::npos) << talk.out;
}

TEST_F(Devices, AGpuThatFailsGivesWayToTheProcessorAndLosesNoFrame) {
    deform("cpu", "cpu.pc2");
    const Variable flags("POCL_EXTRA_BUILD_FLAGS", "-Drun=other"), cache("POCL_CACHE_DIR", path("cache"));
    fs::create_directories(path("cache"));
    for (const char* choice : {"gpu", "auto"}) {
        const Json device = deform(choice, "failed.pc2").at("device");
        EXPECT_EQ(device.at("cpuFrames"), 4) << choice;
        EXPECT_EQ(device.at("gpuFrames"), 0) << choice;
        EXPECT_EQ(device.at("gpuMessages"), 1) << choice;
        const std::string reason = "Cannot compile OpenCL program: talvisora. See Output Window";
        EXPECT_EQ(device.at("fallback"), reason) << choice;
        const std::string line = device.at("line");
        EXPECT_EQ(line.find("CPU: GPU 0 "), 0u) << line;
        EXPECT_NE(line.find(" was given up: " + reason), std::string::npos) << line;
        EXPECT_EQ(apart("cpu.pc2", "failed.pc2"), 0.0) << choice;
    }
}

TEST_F(Devices, WithoutADeviceOnlyAskingForItIsAnError) {
    const Variable none("OCL_ICD_VENDORS", folder.string() + "/");
    for (const char* choice : {"gpu", "0"}) {
        expectRefusal(run({"deform", kBull, "-o", path("o.pc2"), "--device", choice}), 3,
                      "no OpenCL platform");
        expectRefusal(run({"replay", golden("bent90.capture.json"), "--device", choice}), 3,
                      "use --device cpu");
    }
    EXPECT_FALSE(fs::exists(path("o.pc2")));
    const Json device = deform("auto", "auto.pc2").at("device");
    EXPECT_EQ(device.at("line"), "CPU: no OpenCL device (no OpenCL platform)");
    EXPECT_EQ(device.at("cpuFrames"), 4);
    expectRefusal(run({"compare", golden("bent90.capture.json")}), 3, "no OpenCL platform");
}

TEST_F(Devices, ANumberOutOfRangeNamesTheDevicesThereAre) {
    expectRefusal(run({"deform", kBull, "-o", path("o.pc2"), "--device", "2147483647"}), 3,
                  "OpenCL device 2147483647: there is no such device, only 0 ");
}

TEST_F(Devices, ReplayMakesAllEvaluationsWhereItIsTold) {
    const std::string capture = golden("tweaks_all.capture.json");
    const Json expected = Json::parse(fileText(golden("tweaks_all.expected.json")));
    const Json points = json({"replay", capture, "--device", "gpu"}).at("calls").at(0).at("points");
    const Json& wanted = expected.at("expect").at("pointsKernel");
    ASSERT_EQ(points.size(), wanted.size());
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(points[i][k].get<double>(), wanted[i][k].get<double>(),
                        expected.at("tolerance").at("pointsKernel").get<double>());
    Json document = Json::parse(fileText(capture));
    document["calls"] = {{{"call", "deformGpu"}}};
    const std::string gpu = write("gpu.json", document.dump());
    EXPECT_EQ(json({"replay", gpu}).at("calls").at(0).at("points"), points);
    EXPECT_EQ(json({"replay", gpu, "--device", "cpu"}).at("calls").at(0).at("points"),
              json({"replay", capture}).at("calls").at(0).at("points"));
    const Ran chosen = run({"replay", capture, "--device", "auto"});
    EXPECT_EQ(chosen.exitCode, 0);
    EXPECT_NE(chosen.err.find("first frame on both: "), std::string::npos) << chosen.err;
}

class ComparedGolden : public Devices, public testing::WithParamInterface<const char*> {};

TEST_P(ComparedGolden, IsTheSameOnBothButForWhatIsMeant) {
    const Json report = json({"compare", golden(std::string(GetParam()) + ".capture.json"), "--json"});
    EXPECT_EQ(report.at("answers"), Json::array()) << "status and messages";
    EXPECT_EQ(report.at("over"), false);
    EXPECT_LE(report.at("judged").at("largest").get<double>(),
              2e-5 * report.at("all").at("largestCoordinate").get<double>());
}

INSTANTIATE_TEST_SUITE_P(AllCaptures, ComparedGolden,
                         testing::Values("bent90", "chain4", "rigid_rotation", "simple12", "scaled_joints",
                                         "flagged_uniform", "flat_stretched", "bend_one", "tweak_collision",
                                         "tweaks_all", "blocks_partial", "point_weights", "geo_rotation",
                                         "mirrored_root", "cache", "params_mismatch", "eleven_joints"),
                         [](const testing::TestParamInfo<const char*>& golden) {
                             return std::string(golden.param);
                         });

TEST_F(Devices, ComparePrintsWhatIsMeantToDiffer) {
    const Ran ran = run({"compare", golden("point_weights.capture.json")});
    EXPECT_EQ(ran.exitCode, 0) << ran.out;
    for (const char* part : {"single precision", "30 points with a weight of their own between 0 and 1",
                             "without those points: largest difference "})
        EXPECT_NE(ran.out.find(part), std::string::npos) << part << "\n" << ran.out;
}

TEST_F(Devices, CompareTellsOfCallsThatFailedOnBothSides) {
    const Ran ran = run({"compare", golden("eleven_joints.capture.json")});
    EXPECT_EQ(ran.exitCode, 0) << ran.out;
    EXPECT_NE(ran.out.find("call 0 (deformCpu): status 1 on both sides, showed error: "), std::string::npos)
        << ran.out;
    EXPECT_NE(ran.out.find("Joint's number must not be > 10"), std::string::npos) << ran.out;
    const Json report = json({"compare", golden("bent90.capture.json"), "--json"});
    EXPECT_EQ(report.at("failures"), Json::array());
}

TEST_F(Devices, CompareEndsWithSixPastTheTolerance) {
    deform("cpu", "a.pc2");
    run({"deform", kBull, "--clip", "Run", "--frames", "1-4", "--simple", "-o", path("b.pc2"), "--quiet"});
    const std::vector<std::string> both = {"compare", path("a.pc2"), path("b.pc2"), "--json"};
    auto with = [&](const std::string& tolerance) {
        std::vector<std::string> arguments = both;
        arguments.insert(arguments.end(), {"--tolerance", tolerance});
        return arguments;
    };
    const Json report = json(both);
    EXPECT_TRUE(report.at("tolerance").is_null());
    const double largest = report.at("all").at("largest");
    ASSERT_GT(largest, 0.0);
    EXPECT_EQ(json(with(std::to_string(largest * 1.01))).at("over"), false);
    EXPECT_EQ(json(with(std::to_string(largest * 0.99)), 6).at("over"), true);
    const double percent = 100.0 * report.at("all").at("largestShare").get<double>();
    EXPECT_EQ(json(with(std::to_string(percent * 1.01) + "%")).at("over"), false);
    EXPECT_EQ(json(with(std::to_string(percent * 0.99) + "%"), 6).at("over"), true);
}

TEST_F(Devices, CompareDrawsTheDifferences) {
    deform("cpu", "a.pc2", 2);
    run({"deform", kBull, "--clip", "Run", "--frames", "1-2", "--simple", "-o", path("b.pc2"), "--quiet"});
    const Ran ran =
        run({"compare", path("a.pc2"), path("b.pc2"), "--mesh", kBull, "--picture", path("p.png")});
    EXPECT_EQ(ran.exitCode, 0) << ran.err;
    EXPECT_EQ(fileText(path("p.png")).substr(1, 3), "PNG");
    expectRefusal(run({"compare", path("a.pc2"), path("b.pc2"), "--picture", path("q.png")}), 2,
                  "--mesh FILE");
    EXPECT_FALSE(fs::exists(path("q.png")));
}

TEST_F(Devices, CompareTellsWhatDoesNotGoTogether) {
    deform("cpu", "a.pc2", 1);
    deform("cpu", "b.pc2", 2);
    const std::string capture = golden("bent90.capture.json");
    expectRefusal(run({"compare", path("a.pc2"), path("b.pc2")}), 3, "1 frame, ");
    expectRefusal(run({"compare", path("a.pc2"), capture}), 2, "can be compared");
    expectRefusal(run({"compare", path("a.pc2")}), 2, "name a second cache");
    expectRefusal(run({"compare", kBull, kBull}), 2, "compared between CPU and GPU");
    expectRefusal(run({"compare", capture, "--device", "cpu"}), 2, "use gpu or the number");
    expectRefusal(run({"compare", capture, "--tolerance", "-1"}), 2, "--tolerance -1");
    expectRefusal(run({"compare", capture, golden("cache.capture.json")}), 3, "7; compare captures");
    expectRefusal(run({"compare", write("n.json", "{}"), capture}), 3, "n.json: ");
    expectRefusal(run({"compare", write("short.pc2", "POINTCACHE2"), path("a.pc2")}), 3, "shorter than");
    expectRefusal(run({"compare", path("missing.pc2"), path("a.pc2")}), 3, "cannot be opened");
}

TEST_F(Devices, CompareReadsAnswersBack) {
    const std::string capture = golden("cache.capture.json");
    const std::string answer = write("answer.json", run({"replay", capture}).out);
    const Json report = json({"compare", capture, answer, "--json", "--tolerance", "0"});
    EXPECT_EQ(report.at("all").at("unlike"), 0);
    EXPECT_EQ(report.at("all").at("frames"), 4) << "evaluations";
    Json other = Json::parse(fileText(answer));
    other["calls"][0]["status"] = 1;
    other["calls"][0]["points"][2][1] = 99.0;
    const Json changed =
        json({"compare", answer, write("other.json", other.dump()), "--json", "--tolerance", "1"}, 6);
    EXPECT_EQ(changed.at("answers").size(), 1u);
    EXPECT_EQ(changed.at("all").at("unlike"), 1);
    EXPECT_EQ(changed.at("all").at("worstPoint"), 2);
    // What the host could not do on a device is a difference too.
    other = Json::parse(fileText(answer));
    other["calls"][0]["deviceFault"] = "the device did not give the points back (CL_OUT_OF_RESOURCES)";
    const Json fault =
        json({"compare", answer, write("fault.json", other.dump()), "--json", "--tolerance", "1"}, 6);
    ASSERT_EQ(fault.at("answers").size(), 1u);
    EXPECT_NE(fault["answers"][0].get<std::string>().find("did not give the points back"), std::string::npos);
}

TEST_F(Devices, TheDoctorTellsAllThatAReportNeeds) {
    const Json report = json({"doctor", "--json"});
    EXPECT_EQ(report.at("format"), "talvisora-doctor");
    EXPECT_EQ(report.at("module").at("loaded"), true);
    EXPECT_EQ(report.at("module").at("exports").size(), 5u);
    EXPECT_EQ(report.at("processor").at("features").at("sse2"), true);
    EXPECT_GE(report.at("opencl").at("devices").size(), 1u);
    ASSERT_GE(report.at("selfChecks").size(), 2u) << "processor and device";
    for (const Json& check : report.at("selfChecks")) {
        EXPECT_EQ(check.at("passed"), true) << check;
        EXPECT_GT(check.at("largest").get<double>(), 0.0) << "rounding shows: " << check;
    }
    EXPECT_EQ(report.at("problems"), Json::array());
    const Variable lower("TALVISORA_CPU", "sse2");
    EXPECT_EQ(json({"doctor", "--json", "--no-self-check"}).at("processor").at("variant"), "sse2");
}

TEST_F(Devices, TheDoctorNamesACureForWhatIsMissing) {
    const auto problems = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments = {"doctor", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Json report = json(arguments);
        std::string text;
        for (const Json& problem : report.at("problems")) {
            EXPECT_NE(problem.at("cure"), "");
            text += problem.at("what").get<std::string>() + "\n";
        }
        return text;
    };
    EXPECT_NE(problems({"--module", path("none.so")}).find("no such module"), std::string::npos);
    {
        const Variable none("OCL_ICD_VENDORS", folder.string() + "/");
        EXPECT_NE(problems({}).find("no OpenCL platform"), std::string::npos);
    }
    {
        const Variable library("TALVISORA_OPENCL_LIBRARY", path("none.so"));
        EXPECT_NE(problems({}).find("no OpenCL library"), std::string::npos);
    }
    const Variable variant("TALVISORA_CPU", "mmx");
    EXPECT_NE(problems({}).find("'mmx'"), std::string::npos);
}

} // namespace
} // namespace talvisora::journeys
