// SPDX-License-Identifier: Apache-2.0
// What --device may say.
#include "host/device/device_choice.h"

#include "host/host_error.h"

#include <gtest/gtest.h>

namespace talvisora::host {
namespace {

TEST(DeviceChoice, UnderstandsNamesAndNumbers) {
    EXPECT_EQ(parseDeviceChoice("").kind, DeviceKind::kAsWritten);
    EXPECT_EQ(parseDeviceChoice("cpu").kind, DeviceKind::kCpu);
    EXPECT_EQ(parseDeviceChoice("auto").kind, DeviceKind::kAuto);
    EXPECT_EQ(parseDeviceChoice("gpu").kind, DeviceKind::kGpu);
    EXPECT_EQ(parseDeviceChoice("gpu").number, 0);
    EXPECT_EQ(parseDeviceChoice("gpu:3").kind, DeviceKind::kGpu);
    EXPECT_EQ(parseDeviceChoice("gpu:3").number, 3);
    EXPECT_EQ(parseDeviceChoice("12").kind, DeviceKind::kNumber);
    EXPECT_EQ(parseDeviceChoice("12").number, 12);
}

TEST(DeviceChoice, RefusesEverythingElse) {
    for (const char* text :
         {"GPU", "-1", "+1", "1.5", "gpu:", "gpu:-1", "gpu:1x", "99999999999", " 1", "cpu0"})
        try {
            parseDeviceChoice(text);
            ADD_FAILURE() << text;
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, ExitCode::kUsage);
            EXPECT_EQ(std::string(error.what()).find(std::string("--device ") + text + ": "), 0u);
        }
}

} // namespace
} // namespace talvisora::host
