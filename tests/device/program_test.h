// SPDX-License-Identifier: Apache-2.0
// Body for tests that run the module's OpenCL program: one device and one compiled kernel for all of them.
// Without a device they fail with a sentence that says what to install.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "device/device_stage.h"
#include "fixtures/golden_stage.h"
#include "kernels/program_text.h"

namespace talvisora::fixtures {

/// What all tests share. It ends with the last test: when the process ends, an OpenCL run-time may be gone
/// already.
struct SharedDevice : testing::Environment {
    std::unique_ptr<device::OpenClDevice> device;
    std::string whyNot;
    device::Kernel program;

    void TearDown() override {
        program.reset();
        device.reset();
    }
    static SharedDevice& get() {
        static SharedDevice* shared = [] {
            auto* made = new SharedDevice; // GoogleTest owns it from now on
            testing::AddGlobalTestEnvironment(made);
            made->device = device::OpenClDevice::open(made->whyNot);
            return made;
        }();
        return *shared;
    }
};

/// The program's other form, tests/reference/plain_program.cl.
inline std::string plainProgramText() {
    std::ifstream file(std::string(TALVISORA_SOURCE_DIR) + "/tests/reference/plain_program.cl");
    if (!file) throw std::runtime_error("cannot open tests/reference/plain_program.cl");
    return {std::istreambuf_iterator<char>(file), {}};
}

class ProgramTest : public testing::Test {
protected:
    void SetUp() override {
        SharedDevice& shared = SharedDevice::get();
        ASSERT_TRUE(shared.device) << shared.whyNot; // the set-up installs one
        if (!shared.program) shared.program = shared.device->compile(programText(), kProgramEntry);
    }

    device::OpenClDevice& device() { return *SharedDevice::get().device; }
    const device::Kernel& kernel() { return SharedDevice::get().program; }

    /// The deformed points of a rig, as the module's program makes them.
    std::vector<float> deformed(RandomRig& rig, std::size_t local = 64) {
        return device::DeviceStage(device(), rig.freshStage()).run(kernel(), local);
    }
};

inline std::vector<float> narrowed(const std::vector<Vec3d>& list) {
    std::vector<float> flat;
    for (const Vec3d& p : list)
        for (double c : {p.x, p.y, p.z}) flat.push_back(static_cast<float>(c));
    return flat;
}

inline std::vector<Vec3d> widened(const std::vector<float>& flat) {
    std::vector<Vec3d> list(flat.size() / 3);
    for (std::size_t i = 0; i < list.size(); ++i) list[i] = {flat[3 * i], flat[3 * i + 1], flat[3 * i + 2]};
    return list;
}

inline bool sameBits(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

} // namespace talvisora::fixtures
