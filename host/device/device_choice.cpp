// SPDX-License-Identifier: Apache-2.0
#include "host/device/device_choice.h"

#include "headless/opencl/devices.h"
#include "host/host_error.h"

#include <charconv>

namespace talvisora::host {

namespace {

// A device number: digits only, no sign.
bool readNumber(const std::string& text, int& number) {
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return !text.empty() && text[0] != '-' && read.ec == std::errc() && read.ptr == end;
}

} // namespace

DeviceChoice parseDeviceChoice(const std::string& text) {
    DeviceChoice choice;
    if (text.empty()) return choice;
    if (text == "cpu") {
        choice.kind = DeviceKind::kCpu;
    } else if (text == "auto") {
        choice.kind = DeviceKind::kAuto;
    } else if (text == "gpu") {
        choice.kind = DeviceKind::kGpu;
    } else if (text.rfind("gpu:", 0) == 0 && readNumber(text.substr(4), choice.number)) {
        choice.kind = DeviceKind::kGpu;
    } else if (readNumber(text, choice.number)) {
        choice.kind = DeviceKind::kNumber;
    } else {
        throw HostError(ExitCode::kUsage,
                        "--device " + text + ": cpu, gpu, auto or the number of a device expected");
    }
    return choice;
}

std::string openDevice(int number) {
    const auto refuse = [number](const std::string& text) {
        throw HostError(ExitCode::kInput, "OpenCL device " + std::to_string(number) + ": " + text);
    };
    std::string reason;
    const auto devices = headless::openCLDevices(&reason);
    if (devices.empty())
        refuse(reason + "; install an OpenCL driver (see grhost doctor), or use --device cpu");
    if (number < 0 || static_cast<std::size_t>(number) >= devices.size()) {
        std::string list;
        for (const auto& device : devices)
            list += (list.empty() ? "" : ", ") + std::to_string(device.number) + " " + device.name;
        refuse("there is no such device, only " + list);
    }
    if (headless::openCLDeviceInUse() != number && !headless::useOpenCLDevice(number, &reason))
        refuse(reason + "; try another device, or --device cpu");
    return "GPU " + std::to_string(number) + " " + devices[static_cast<std::size_t>(number)].name;
}

} // namespace talvisora::host
