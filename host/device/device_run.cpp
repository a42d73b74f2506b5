// SPDX-License-Identifier: Apache-2.0
#include "host/device/device_run.h"

#include "headless/opencl/devices.h"
#include "host/figures.h"

#include <algorithm>

namespace talvisora::host {

namespace {

constexpr int kNotOffered = 2;         // status of a node without a GPU path
constexpr double kLargestShare = 1e-3; // a device that is further off is not taken by itself

std::string milliseconds(double seconds) {
    return fixedNumber(seconds * 1e3, 2) + " ms";
}

std::size_t errorsIn(const CallResult& result) {
    return static_cast<std::size_t>(
        std::count_if(result.messages.begin(), result.messages.end(),
                      [](const ShownMessage& message) { return message.level == "error"; }));
}

} // namespace

std::string deviceFailure(const CallResult& result) {
    if (result.threw) return "the module threw '" + result.thrown + "'";
    if (!result.deviceFault.empty()) return result.deviceFault;
    for (const ShownMessage& message : result.messages)
        if (message.level == "error") return message.text;
    if (result.status == kNotOffered) return "the module evaluates on the CPU only";
    if (result.status != 0) return "the module answered status " + std::to_string(result.status);
    return {};
}

DeviceRun::DeviceRun(Session& session, const DeviceChoice& choice) : session_(session) {
    if (choice.kind == DeviceKind::kGpu || choice.kind == DeviceKind::kNumber) {
        report_.device = openDevice(choice.number);
        side_ = Side::kGpu;
        asked_ = true;
    } else if (choice.kind == DeviceKind::kAuto) {
        std::string reason;
        if (headless::openCLDevices(&reason).empty()) {
            choice_ = "no OpenCL device (" + reason + ")";
            return;
        }
        try {
            report_.device = openDevice(choice.number);
            side_ = Side::kUndecided;
        } catch (const HostError& error) {
            choice_ = error.what();
        }
    }
}

CallResult DeviceRun::evaluate() {
    if (side_ == Side::kUndecided) return evaluateOnBoth();
    return side_ == Side::kGpu ? evaluateOnGpu() : evaluateOnCpu();
}

CallResult DeviceRun::evaluateOnCpu() {
    ++report_.cpuFrames;
    return session_.deformCpu();
}

void DeviceRun::leaveDevice(const std::string& why) {
    side_ = Side::kCpu;
    report_.fallback = why;
    session_.releaseGpu();
}

CallResult DeviceRun::evaluateOnGpu() {
    rest_ = session_.record->points;
    CallResult result = session_.deformGpu();
    if (asked_ && !result.threw && result.status == kNotOffered)
        throw HostError(ExitCode::kInput,
                        "the module offers no evaluation on a GPU; use --device cpu, or another --module");
    const std::string failure = deviceFailure(result);
    if (failure.empty()) {
        ++report_.gpuFrames;
        if (result.kernelMilliseconds >= 0.0) {
            // The first launch may have waited for the compiler: it counts only as long as it is alone.
            if (report_.gpuFrames == 2) kernelSum_ = 0.0, kernelCount_ = 0;
            kernelSum_ += result.kernelMilliseconds;
            ++kernelCount_;
        }
        return result;
    }
    report_.gpuMessages += errorsIn(result);
    leaveDevice(failure);
    session_.record->points = rest_;
    return evaluateOnCpu();
}

CallResult DeviceRun::evaluateOnBoth() {
    rest_ = session_.record->points;
    CallResult cpu = session_.deformCpu();
    side_ = Side::kCpu;
    if (deviceFailure(cpu) != "") { // nothing to compare with
        ++report_.cpuFrames;
        choice_ = "the first frame failed";
        return cpu;
    }
    const std::vector<Vec3d> cpuPoints = session_.record->points;
    session_.record->points = rest_;
    CallResult gpu = session_.deformGpu();
    const std::string failure = deviceFailure(gpu);
    if (failure.empty()) {
        DifferenceMeter meter(cpuPoints.size());
        meter.addFrame(1, cpuPoints, session_.record->points);
        report_.first = meter.result();
    } else {
        report_.gpuMessages += errorsIn(gpu);
        leaveDevice(failure);
    }
    // Once more each: the first time caches were filled and a program was compiled.
    double gpuSeconds = 0.0;
    if (failure.empty()) {
        session_.record->points = rest_;
        gpu = session_.deformGpu();
        gpuSeconds = gpu.seconds;
        session_.record->points = rest_;
        cpu = session_.deformCpu();
        const bool close =
            report_.first->broken == 0 && report_.first->share(report_.first->largest) <= kLargestShare;
        if (!close) {
            leaveDevice("it differs by more than 0.1 % of the bounding box");
        } else if (gpuSeconds < cpu.seconds) {
            side_ = Side::kGpu;
            choice_ = milliseconds(gpuSeconds) + " per frame, CPU " + milliseconds(cpu.seconds);
            session_.record->points = rest_;
            return evaluateOnGpu();
        } else {
            choice_ =
                milliseconds(cpu.seconds) + " per frame, " + report_.device + " " + milliseconds(gpuSeconds);
            session_.releaseGpu();
        }
    }
    session_.record->points = cpuPoints;
    ++report_.cpuFrames;
    return cpu;
}

DeviceReport DeviceRun::report() const {
    DeviceReport report = report_;
    if (kernelCount_ > 0) report.kernelMilliseconds = kernelSum_ / static_cast<double>(kernelCount_);
    if (report.gpuFrames > 0 && report.fallback.empty()) {
        report.line = report.device;
        if (kernelCount_ > 0) report.line += ": kernel " + fixedNumber(report.kernelMilliseconds, 2) + " ms";
        if (!choice_.empty()) report.line += (kernelCount_ > 0 ? ", " : ": ") + choice_;
    } else {
        report.line = "CPU";
        if (!report.fallback.empty()) {
            report.line += ": " + report.device + " was given up";
            if (report.gpuFrames > 0) report.line += " after " + counted(report.gpuFrames, "frame");
            report.line += ": " + report.fallback;
            if (report.gpuMessages > 1)
                report.line += " (" + std::to_string(report.gpuMessages) + " messages)";
        } else if (!choice_.empty()) {
            report.line += ": " + choice_;
        }
    }
    return report;
}

std::vector<std::string> deviceLines(const DeviceReport& report) {
    std::vector<std::string> lines;
    if (report.first) {
        const Difference& first = *report.first;
        lines.push_back("first frame on both: largest difference " + shortNumber(first.largest, 3) + " (" +
                        shortNumber(100.0 * first.share(first.largest), 2) +
                        " % of the bounding box), at point " + std::to_string(first.worstPoint));
    }
    lines.push_back(report.line);
    return lines;
}

} // namespace talvisora::host
