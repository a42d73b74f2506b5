// SPDX-License-Identifier: Apache-2.0
#include "host/figures.h"
#include "host/verbs/lines.h"
#include "host/verbs/report_json.h"
#include "host/verbs/verbs.h"
#include "host/version.h"

namespace talvisora::host {

namespace {

std::string gibibytes(std::uint64_t bytes) {
    return bytes < (std::uint64_t{1} << 30) ? std::to_string(bytes >> 20) + " MiB"
                                            : fixedNumber(static_cast<double>(bytes) / (1 << 30), 1) + " GiB";
}

std::string orUnknown(const std::string& text) {
    return text.empty() ? "unknown" : text;
}

std::string joined(const NamedTexts& entries) {
    std::string text;
    for (const auto& [name, value] : entries) text += (text.empty() ? "" : ", ") + name + " " + value;
    return text.empty() ? "none" : text;
}

std::string summary(const DoctorReport& report) {
    std::string text;
    const auto line = [&text](const std::string& name, const std::string& value) {
        text += oneLine(name + std::string(name.size() < 14 ? 14 - name.size() : 1, ' ') + value);
    };
    const SystemFacts& system = report.system;
    const ProcessorFacts& processor = report.processor;
    line("grhost", std::string(kVersion) + ", built by " + orUnknown(system.compiler));
    line("system", orUnknown(system.system) + ", " + orUnknown(system.kernel));
    line("memory", system.memoryBytes ? gibibytes(system.memoryBytes) + ", " +
                                            gibibytes(system.availableBytes) + " available"
                                      : "unknown");
    line("libraries", joined(system.libraries));
    line("packages", joined(system.packages));
    for (const auto& [name, value] : report.environment) line("environment", name + "=" + value);
    line("processor", orUnknown(processor.name) + ", " + counted(std::uint64_t(processor.cores), "thread"));
    std::string features;
    for (const auto& [name, usable] : processor.features)
        if (usable) features += (features.empty() ? "" : " ") + name;
    line("features", orUnknown(features));
    line("variant", processor.variant.empty() ? "none" : processor.variant);
    const ModuleFacts& module = report.module;
    line("module",
         module.path + (module.bytes ? ", " + std::to_string(module.bytes) + " bytes, " + module.changed
                                     : std::string()));
    std::string exports;
    for (const std::string& name : module.exports) exports += (exports.empty() ? "" : " ") + name;
    line("exports", module.loaded ? exports : "not loaded");
    if (report.devices.empty()) line("OpenCL", report.openclMissing);
    for (const DeviceFacts& device : report.devices) {
        line("OpenCL " + std::to_string(device.number),
             device.name + " (" + device.kind + (device.usable ? "" : ", cannot be used") + ")");
        line("", device.version + ", driver " + device.driver + "; " + device.platform + ", " +
                     device.platformVersion);
        line("", counted(std::uint64_t(device.computeUnits), "compute unit") + ", work groups to " +
                     std::to_string(device.largestWorkGroup) + ", memory " + gibibytes(device.memoryBytes) +
                     ", one buffer " + gibibytes(device.largestBuffer));
    }
    for (const SelfCheck& check : report.checks) {
        std::string result = check.name + ": ";
        if (!check.failure.empty())
            result += check.failure;
        else
            result += std::string(check.passed() ? "in order" : "WRONG") + ", " + check.what +
                      ": largest difference " + shortNumber(check.largest, 3) + " (" +
                      shortNumber(100.0 * check.share, 2) + " % of the bounding box), " +
                      fixedNumber(check.milliseconds, 2) + " ms" +
                      (check.kernelMilliseconds >= 0.0
                           ? ", kernel " + fixedNumber(check.kernelMilliseconds, 2) + " ms"
                           : "");
        line("self check", result);
    }
    for (const Ailment& ailment : report.ailments) {
        line("problem", ailment.what);
        line("  cure", ailment.cure);
    }
    return text + (report.ailments.empty() ? "all in order\n" : "");
}

void writeTexts(JsonWriter& json, const NamedTexts& entries) {
    json.beginObject();
    for (const auto& [name, value] : entries) json.key(name).value(value);
    json.endObject();
}

std::string reportJson(const DoctorReport& report) {
    ReportJson json("talvisora-doctor");
    json.key("version").value(kVersion);
    json.key("compiler").value(report.system.compiler);
    json.key("system").value(report.system.system);
    json.key("kernel").value(report.system.kernel);
    json.key("memoryBytes").value(report.system.memoryBytes);
    json.key("availableBytes").value(report.system.availableBytes);
    writeTexts(json.key("libraries"), report.system.libraries);
    writeTexts(json.key("packages"), report.system.packages);
    writeTexts(json.key("environment"), report.environment);
    json.key("processor").beginObject();
    json.key("name").value(report.processor.name);
    json.key("threads").value(std::uint32_t(report.processor.cores));
    json.key("features").beginObject();
    for (const auto& [name, usable] : report.processor.features) json.key(name).value(usable);
    json.endObject();
    json.key("variant").value(report.processor.variant);
    json.endObject();
    json.key("module").beginObject();
    json.key("path").value(report.module.path);
    json.key("loaded").value(report.module.loaded);
    if (!report.module.failure.empty()) json.key("failure").value(report.module.failure);
    json.key("bytes").value(report.module.bytes);
    json.key("changed").value(report.module.changed);
    json.key("exports").value(report.module.exports);
    json.endObject();
    json.key("opencl").beginObject();
    json.key("missing").value(report.openclMissing);
    json.key("devices").beginArray();
    for (const DeviceFacts& device : report.devices) {
        json.beginObject();
        json.key("number").value(std::int32_t(device.number));
        json.key("name").value(device.name).key("vendor").value(device.vendor);
        json.key("kind").value(device.kind).key("usable").value(device.usable);
        json.key("version").value(device.version).key("driver").value(device.driver);
        json.key("platform").value(device.platform).key("platformVersion").value(device.platformVersion);
        json.key("computeUnits").value(std::uint32_t(device.computeUnits));
        json.key("largestWorkGroup").value(device.largestWorkGroup);
        json.key("memoryBytes").value(device.memoryBytes).key("largestBuffer").value(device.largestBuffer);
        json.endObject();
    }
    json.endArray().endObject();
    json.key("selfChecks").beginArray();
    for (const SelfCheck& check : report.checks) {
        json.beginObject();
        json.key("name").value(check.name).key("what").value(check.what);
        json.key("ran").value(check.ran).key("passed").value(check.passed());
        json.key("failure").value(check.failure);
        json.key("largest").value(check.largest).key("share").value(check.share);
        json.key("limit").value(check.limit).key("milliseconds").value(check.milliseconds);
        if (check.kernelMilliseconds >= 0.0) json.key("kernelMilliseconds").value(check.kernelMilliseconds);
        json.endObject();
    }
    json.endArray();
    json.key("selfCheckSeconds").value(report.seconds);
    json.key("problems").beginArray();
    for (const Ailment& ailment : report.ailments)
        json.beginObject().key("what").value(ailment.what).key("cure").value(ailment.cure).endObject();
    json.endArray();
    return json.done();
}

} // namespace

ExitCode runDoctorVerb(const DoctorJob& job, bool json) {
    const DoctorReport report = runDoctorJob(job);
    printOut(json ? reportJson(report) : summary(report));
    return report.healthy() ? ExitCode::kDone : ExitCode::kFindings;
}

} // namespace talvisora::host
