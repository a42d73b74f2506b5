// SPDX-License-Identifier: Apache-2.0
#include "host/replay/replay.h"

#include "command.h"
#include "host/capture/json_writer.h"
#include "host/replay/answer.h"
#include "host/replay/replay_scene.h"
#include "host/session.h"

#include <optional>

namespace talvisora::host {

namespace {

// The state between two calls of a replay.
class Replay {
public:
    Replay(const Module& module, const Capture& capture, const ReplayOptions& options)
        : session_(module, capture.node, options.threads),
          scene_(capture.meshes, session_.node().object),
          device_(options.device) {
        if (device_.kind == DeviceKind::kGpu || device_.kind == DeviceKind::kNumber)
            openDevice(device_.number);
        if (device_.kind == DeviceKind::kAuto) run_.emplace(session_, device_);
        session_.attributes = capture.attributes;
        session_.sharedInputs() = capture.sharedInputs;
        session_.record = capture.record;
        if (capture.record) points_ = capture.record->points;
        bindNodeValues();
        scene_.fill(session_.attributes);
        scene_.select(capture.selection);
    }

    ReplayAnswer run(const std::vector<CaptureCall>& calls) {
        JsonWriter json;
        json.beginObject();
        json.key("format").value("talvisora-replay");
        json.key("version").value(std::int32_t(1));
        json.key("calls").beginArray();
        for (const CaptureCall& call : calls) {
            json.beginObject().key("call").value(call.name);
            answer(call, json);
            json.endObject();
        }
        json.endArray().endObject();
        const ExitCode code = unavailable_ ? ExitCode::kInput
                              : failed_    ? ExitCode::kModuleFailed
                                           : ExitCode::kDone;
        ReplayAnswer answer{json.text() + "\n", code, std::nullopt};
        if (run_) answer.device = run_->report();
        return answer;
    }

private:
    using Kind = CaptureCall::Kind;

    void answer(const CaptureCall& call, JsonWriter& json) {
        switch (call.kind) {
        case Kind::kDeclareAttributes: {
            CallResult result;
            const auto declared = session_.declareAttributes(result);
            outcome(json, result, false);
            writeDescriptors(json.key("attributes"), declared);
            break;
        }
        case Kind::kDeformCpu:
        case Kind::kDeformGpu:
            evaluation(call, json);
            break;
        case Kind::kReleaseGpu:
            outcome(json, session_.releaseGpu(), false);
            break;
        case Kind::kCommand:
            command(call, json);
            break;
        case Kind::kSet:
            set(call);
            json.key("status").value(std::int32_t(0));
            json.key("messages").beginArray().endArray();
            break;
        }
    }

    void evaluation(const CaptureCall& call, JsonWriter& json) {
        const bool onGpu = device_.kind == DeviceKind::kGpu ||
                           (call.kind == Kind::kDeformGpu && device_.kind != DeviceKind::kCpu);
        startPoints(call);
        CallResult result;
        if (run_)
            result = run_->evaluate();
        else if (onGpu)
            result = session_.deformGpu({call.gpuPointCount, call.gpuNull});
        else
            result = session_.deformCpu();
        if (onGpu && !result.threw && result.status == kNotOffered) {
            notAvailable(json, "this module evaluates on the CPU only");
            return;
        }
        // The module does not know of what the host could not do on the device.
        if (!result.threw && result.status == 0 && !result.deviceFault.empty()) {
            json.key("deviceFault").value(result.deviceFault);
            failed_ = true;
        }
        outcome(json, result, true);
        finishPoints(json);
    }

    // Status (where the operation has one), or what was thrown, and the messages.
    void outcome(JsonWriter& json, const CallResult& result, bool hasStatus) {
        failed_ = failed_ || result.threw || result.status != 0;
        if (result.threw)
            json.key("threw").value(result.thrown);
        else if (hasStatus)
            json.key("status").value(std::int32_t(result.status));
        writeMessages(json.key("messages"), result.messages);
    }

    void notAvailable(JsonWriter& json, const std::string& reason) {
        unavailable_ = true;
        json.key("unavailable").value(true);
        json.key("reason").value("not available in this module: " + reason);
        json.key("messages").beginArray().endArray();
    }

    // Every evaluation starts from the capture's points, unless it goes on from the last result.
    void startPoints(const CaptureCall& call) {
        session_.record->points = call.keepPoints && result_ ? *result_ : points_;
    }

    void finishPoints(JsonWriter& json) {
        result_ = session_.record->points;
        json.key("points").value(*result_);
    }

    void command(const CaptureCall& call, JsonWriter& json) {
        if (!session_.hasCommand(call.name)) {
            notAvailable(json, "it exports no '" + call.name + "'");
            return;
        }
        ValueMap arguments = session_.commandArguments();
        for (const std::string& left : call.omit) arguments.erase(left);
        for (const auto& entry : call.arguments) arguments[entry.first] = entry.second;
        bindPointers(arguments, session_.pointerTargets());

        const auto before = arguments.find(key::kOutput);
        const std::shared_ptr<GrData> held = before == arguments.end() ? nullptr : before->second;
        scene_.startCall();
        outcome(json, session_.runCommand(call.name, arguments), true);
        const auto after = arguments.find(key::kOutput);
        const bool written = after != arguments.end() && after->second && after->second != held;
        if (written) writeOutput(json.key("output"), *after->second);

        const SceneChange change = scene_.finishCall();
        scene_.store(change, session_.attributes);
        const bool writes = call.name == "resetParams" || call.name == "resetWeights";
        if (writes || !change.commands.empty() || !change.written.empty()) writeChange(json, change);
    }

    void set(const CaptureCall& call) {
        for (const std::string& name : call.removedAttributes) session_.attributes.erase(name);
        for (const std::string& name : call.removedSharedInputs) session_.sharedInputs().erase(name);
        for (const auto& entry : call.attributes) session_.attributes[entry.first] = entry.second;
        for (const auto& entry : call.sharedInputs) session_.sharedInputs()[entry.first] = entry.second;
        if (call.record) {
            if (!session_.record) session_.record.emplace();
            call.record->applyTo(*session_.record);
            if (call.record->points) points_ = *call.record->points;
        }
        bindNodeValues();
        scene_.fill(session_.attributes);
        if (call.selection) scene_.select(*call.selection);
    }

    void bindNodeValues() {
        bindPointers(session_.attributes, session_.pointerTargets());
        bindPointers(session_.sharedInputs(), session_.pointerTargets());
    }

    static constexpr int kNotOffered = 2; // status of a node without a GPU path

    Session session_;
    ReplayScene scene_; // names the session's node, so it goes first
    DeviceChoice device_;
    std::optional<DeviceRun> run_;             // with kAuto
    std::vector<Vec3d> points_;                // what a fresh evaluation starts from
    std::optional<std::vector<Vec3d>> result_; // of the last evaluation
    bool failed_ = false, unavailable_ = false;
};

} // namespace

ReplayAnswer replay(const Module& module, const Capture& capture, const ReplayOptions& options) {
    return Replay(module, capture, options).run(capture.calls);
}

} // namespace talvisora::host
