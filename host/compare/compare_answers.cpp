// SPDX-License-Identifier: Apache-2.0
// A capture is replayed and its answer read back like one from a file, so that both kinds are compared alike.
#include "host/capture/value_reader.h"
#include "host/compare/compare_parts.h"
#include "host/compare/replay_reader.h"
#include "host/figures.h"
#include "host/replay/replay.h"

#include <cctype>

namespace talvisora::host {

namespace {

struct Document {
    std::string text;
    std::string format;
};

// What is wrong with a file is told with its path.
template <class Act>
auto naming(const std::string& path, Act act) -> decltype(act()) {
    try {
        return act();
    } catch (const HostError& error) {
        throw HostError(error.code, path + ": " + error.what());
    }
}

Document readDocument(const std::string& path) {
    return naming(path, [&] {
        const std::string formatKey = "format";
        Document document{readJsonFile(path), {}};
        const JsonValue json = parseJson(document.text);
        const JsonPlace place;
        document.format =
            readText(needKey(readObject(json, place), formatKey, place), JsonPlace(place, formatKey));
        if (document.format != "talvisora-capture" && document.format != "talvisora-replay")
            JsonPlace(place, formatKey)
                .refuse("\"talvisora-capture\" or \"talvisora-replay\" expected; a rig file is compared "
                        "with its character: grhost compare CHARACTER --rig FILE");
        return document;
    });
}

std::vector<ReplayedCall> played(const Capture& capture, const CompareJob& job, const DeviceChoice& device) {
    const Module module(job.deform.module);
    return readReplay(parseJson(replay(module, capture, {job.deform.threads, device}).text));
}

std::vector<ReplayedCall> callsOf(const std::string& path, const CompareJob& job) {
    const Document document = readDocument(path);
    if (document.format == "talvisora-replay")
        return naming(path, [&] { return readReplay(parseJson(document.text)); });
    return played(naming(path, [&] { return parseCapture(document.text); }), job, job.deform.device);
}

// The same message may stand at another line of the two paths: "(FILE:1127)" becomes "(FILE:)".
std::string withoutLine(const std::string& text) {
    std::string plain;
    for (std::size_t k = 0; k < text.size(); ++k) {
        plain += text[k];
        std::size_t end = k + 1;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) ++end;
        if (text[k] == ':' && end > k + 1 && end < text.size() && text[end] == ')') k = end - 1;
    }
    return plain;
}

std::string outcome(const ReplayedCall& call) {
    if (call.unavailable) return "not available";
    if (call.threw) return "threw '" + *call.threw + "'";
    const std::string status = call.status ? "status " + std::to_string(*call.status) : "no status";
    return call.deviceFault ? status + ", " + *call.deviceFault : status;
}

bool failed(const ReplayedCall& call) {
    return call.unavailable || call.threw || call.deviceFault || call.status.value_or(0) != 0;
}

std::string messages(const ReplayedCall& call) {
    std::string text;
    for (const ShownMessage& message : call.messages)
        text += (text.empty() ? "" : " | ") + message.level + ": " + withoutLine(message.text);
    return text.empty() ? "nothing" : text;
}

void compareCalls(const ReplayedCall& first, const ReplayedCall& second, const std::string& name,
                  std::vector<std::string>& differences, std::vector<std::string>& failures) {
    if (failed(first) && outcome(first) == outcome(second))
        failures.push_back(name + ": " + outcome(first) + " on both sides, showed " + messages(first));
    if (outcome(first) != outcome(second))
        differences.push_back(name + ": " + outcome(first) + " against " + outcome(second));
    if (messages(first) != messages(second))
        differences.push_back(name + ": showed " + messages(first) + " against " + messages(second));
    if (first.points.has_value() != second.points.has_value())
        differences.push_back(name + ": points on one side only");
    else if (first.points && first.points->size() != second.points->size())
        differences.push_back(name + ": " + counted(first.points->size(), "point") + " against " +
                              std::to_string(second.points->size()));
}

bool comparable(const ReplayedCall& first, const ReplayedCall& second) {
    return first.points && second.points && first.points->size() == second.points->size();
}

// What the node is handed at each call, for what is meant to differ.
struct Handed {
    ValueMap attributes;
    DeformRecord record;
    explicit Handed(const Capture& capture) : attributes(capture.attributes) {
        if (capture.record) record = *capture.record;
    }
    void follow(const CaptureCall& call) {
        if (call.kind != CaptureCall::Kind::kSet) return;
        for (const std::string& name : call.removedAttributes) attributes.erase(name);
        for (const auto& entry : call.attributes) attributes[entry.first] = entry.second;
        if (call.record) call.record->applyTo(record);
    }
};

void takeMesh(const Capture& capture, ComparedMesh& mesh) {
    const std::size_t points = capture.record ? capture.record->points.size() : 0;
    for (const CaptureMesh& from : capture.meshes) {
        if (from.points.size() != points || points == 0) continue;
        OutputMesh& to = mesh.meshes.emplace_back();
        to.name = from.name;
        for (std::uint32_t v = 0; v < points; ++v) to.pointOfVertex.push_back(v);
        for (const auto& face : from.faces) {
            to.faceCounts.push_back(static_cast<std::uint32_t>(face.size()));
            to.faceVertices.insert(to.faceVertices.end(), face.begin(), face.end());
        }
        mesh.points = points;
        return;
    }
}

} // namespace

std::unique_ptr<Comparison> compareAnswers(const CompareJob& job, CompareReport& report, ComparedMesh& mesh) {
    report.unit = "call";
    std::optional<Capture> capture;
    std::vector<ReplayedCall> first, second;
    if (job.second.empty()) {
        const Document document = readDocument(job.first);
        if (document.format != "talvisora-capture")
            throw HostError(ExitCode::kUsage, "'" + job.first +
                                                  "': an answer; name a second one, or a capture to compare "
                                                  "CPU and GPU");
        capture = naming(job.first, [&] { return parseCapture(document.text); });
        report.second = openDevice(job.deform.device.number);
        first = played(*capture, job, {DeviceKind::kCpu, 0});
        second = played(*capture, job, {DeviceKind::kGpu, job.deform.device.number});
        takeMesh(*capture, mesh);
    } else {
        first = callsOf(job.first, job);
        second = callsOf(job.second, job);
    }
    if (first.size() != second.size())
        throw HostError(ExitCode::kInput, "'" + job.first + "' has " + counted(first.size(), "call") + ", '" +
                                              job.second + "' " + std::to_string(second.size()) +
                                              "; compare captures of the same calls");
    std::uint64_t total = 0;
    for (std::size_t k = 0; k < first.size(); ++k)
        if (comparable(first[k], second[k])) total += first[k].points->size();
    auto comparison = std::make_unique<Comparison>(total);
    std::optional<Handed> handed;
    if (capture) handed.emplace(*capture);
    for (std::size_t k = 0; k < first.size(); ++k) {
        const std::string name = "call " + std::to_string(k) + " (" + first[k].call + ")";
        if (first[k].call != second[k].call) report.answers.push_back(name + ": against " + second[k].call);
        compareCalls(first[k], second[k], name, report.answers, report.failures);
        if (handed) handed->follow(capture->calls[k]);
        if (!comparable(first[k], second[k])) continue;
        std::optional<MeantDifferences> meant;
        if (handed) meant = meantDifferences(handed->attributes, handed->record);
        const bool usable = meant && meant->points.size() == first[k].points->size();
        comparison->addFrame(static_cast<int>(k), *first[k].points, *second[k].points,
                             usable ? &*meant : nullptr);
    }
    return comparison;
}

} // namespace talvisora::host
