// SPDX-License-Identifier: Apache-2.0
// Rounds of one limb: copy, program, plain form, processor.
#include "bench/gpu/program_times.h"

#include <algorithm>
#include <cmath>

#include "bench/scene.h"
#include "bench/stopwatch.h"
#include "device/device_stage.h"

namespace talvisora::bench {

namespace {

/// Points in and out, the point's weight and its range; per block of the range a weight, per block that acts
/// a parameter, and the six maps once where a tweak may act.
double bytesPerPoint(const PointStage& s, bool tweaks) {
    double bytes = 0.0;
    for (std::size_t i = 0; i < s.pointCount; ++i) {
        bytes += 12 + 12 + 4 + 8;
        bool acts = false;
        for (int b = s.ordersStart[i]; b < s.ordersEnd[i]; ++b) {
            bytes += 4;
            const float product =
                s.blockWeights[pointSlot(b, s.pointCount, i)] * s.blocks[b].env * s.envelope;
            if (!(product >= 0.001f)) continue;
            bytes += 4;
            acts = true;
        }
        if (acts && tweaks) bytes += 24;
    }
    return bytes / static_cast<double>(s.pointCount);
}

double largestDifference(const std::vector<float>& points, const PointStage& s) {
    double largest = 0.0, size = 0.0;
    for (std::size_t i = 0; i < s.pointCount; ++i) {
        const double own[3] = {points[3 * i], points[3 * i + 1], points[3 * i + 2]};
        const double other[3] = {s.points[i].x, s.points[i].y, s.points[i].z};
        for (int a = 0; a < 3; ++a) {
            const double d = std::fabs(own[a] - other[a]);
            if (!(d <= largest)) largest = d; // also when it is no number
            size = std::max(size, std::fabs(other[a]));
        }
    }
    return largest / size;
}

double medianRatio(const std::vector<double>& a, const std::vector<double>& b) {
    std::vector<double> ratios;
    for (std::size_t r = 0; r < a.size(); ++r) ratios.push_back(a[r] / b[r]);
    return median(ratios);
}

} // namespace

ProgramTimes timeProgram(const device::OpenClDevice& device, const device::Kernel& kernel,
                         const device::Kernel& plain, const LimbOptions& limb, int rounds) {
    Scene scene(limb);
    scene.restore();
    const std::size_t n = scene.pointCount();
    const bool plainFits = 480 * n <= device.memoryBytes();
    const device::DeviceStage onDevice(device, scene.stage(), plainFits ? 480 : 0);

    const std::size_t copyBytes = std::min<std::size_t>(std::size_t{256} << 20, device.memoryBytes() / 8);
    const device::Buffer from = device.create(std::vector<char>(copyBytes, 1)),
                         to = device.create(nullptr, copyBytes);
    const auto launch = [&](const device::Kernel& which) {
        onDevice.bind(which);
        const std::size_t local = device.workGroupSize(which);
        return device.launch(which, (n + local) / local * local, local);
    };

    ProgramTimes times{};
    times.bytesPerPoint = bytesPerPoint(scene.stage(), limb.tweaks);
    std::vector<double> copySeconds, kernelSeconds, plainSeconds, cpuSeconds;
    for (int round = 0; round <= rounds; ++round) { // the first is a warm-up
        const double copied = device.copy(from, to, copyBytes);
        if (round == 0 && plainFits) (void)launch(plain);
        const double plainTook = plainFits ? launch(plain) : 0.0;
        const double kernelTook = launch(kernel);
        scene.restore();
        const double start = wallSeconds();
        scene.pointStage(activeTable());
        const double cpuTook = wallSeconds() - start;
        if (round == 0) {
            times.largestDifference =
                largestDifference(device.read<float>(onDevice.output, 3 * n), scene.stage());
            continue;
        }
        copySeconds.push_back(copied / (2.0 * static_cast<double>(copyBytes)));
        kernelSeconds.push_back(kernelTook);
        plainSeconds.push_back(plainTook);
        cpuSeconds.push_back(cpuTook);
    }
    const double bytes = times.bytesPerPoint * static_cast<double>(n);
    times.kernelSeconds = median(kernelSeconds);
    times.plainSeconds = median(plainSeconds);
    times.cpuSeconds = median(cpuSeconds);
    times.copyBytesPerSecond = 1.0 / median(copySeconds);
    times.copyShare = bytes * medianRatio(copySeconds, kernelSeconds);
    times.plainOverKernel = plainFits ? medianRatio(plainSeconds, kernelSeconds) : 0.0;
    times.cpuOverKernel = medianRatio(cpuSeconds, kernelSeconds);
    return times;
}

} // namespace talvisora::bench
