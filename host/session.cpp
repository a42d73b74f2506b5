// SPDX-License-Identifier: Apache-2.0
#include "host/session.h"

#include "command.h"
#include "headless/scene/message_log.h"
#include "headless/scene/scene.h"

#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include <chrono>

namespace talvisora::host {

namespace {

// A node of the host's own, for commands that are handed the wrong one.
class OtherNode : public GrNode {
public:
    void declareAttributes(std::vector<AttributeDescriptor>&) override {}
};

std::vector<ShownMessage> shownMessages() {
    std::vector<ShownMessage> shown;
    for (headless::Message& message : headless::takeMessages()) {
        const char* level = message.level == headless::MessageLevel::error     ? "error"
                            : message.level == headless::MessageLevel::warning ? "warning"
                                                                               : "info";
        shown.push_back({level, std::move(message.text)});
    }
    return shown;
}

} // namespace

// The control limits the pool, the arena opens as many places as were asked for, also beyond the number of
// processors.
struct Session::Arena {
    explicit Arena(int threads)
        : control(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads)),
          arena(threads) {}
    tbb::global_control control;
    tbb::task_arena arena;
};

Session::Session(const Module& module, const std::string& nodeName, int threads)
    : module_(module), nodeName_(nodeName) {
    if (threads > 0) arena_ = std::make_unique<Arena>(threads);
    node_ = module.createNode();
    otherNode_ = std::make_unique<OtherNode>();
    if (!nodeName.empty()) {
        node_->object = headless::createNode("talvisora", nodeName);
        otherNode_->object = node_->object;
    }
    headless::clearMessages();
}

Session::~Session() {
    const MObject object = node_->object;
    node_.reset();
    otherNode_.reset();
    headless::deleteNode(object);
}

CallResult Session::timed(const std::function<int()>& call) {
    using Clock = std::chrono::steady_clock;
    CallResult result;
    headless::clearMessages();
    const auto start = Clock::now();
    try {
        result.status = arena_ ? arena_->arena.execute(call) : call();
    } catch (const std::exception& error) {
        result.threw = true;
        result.thrown = error.what();
    } catch (...) {
        result.threw = true;
        result.thrown = "unknown";
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    result.messages = shownMessages();
    return result;
}

std::vector<AttributeDescriptor> Session::declareAttributes(CallResult& result) {
    std::vector<AttributeDescriptor> declared;
    result = timed([&] {
        node_->declareAttributes(declared);
        return 0;
    });
    return declared;
}

CallResult Session::deformCpu() {
    return timed([this] { return node_->deformCpu(attributes, *record); });
}

CallResult Session::deformGpu(const GpuRequest& request) {
    using Clock = std::chrono::steady_clock;
    if (!buffers_) buffers_ = std::make_unique<GpuBuffers>();
    GpuDeformData data;
    const auto start = Clock::now();
    const std::string unprepared = buffers_->prepare(*record, request, data);
    CallResult result = timed([&] { return node_->deformGpu(attributes, data); });
    // A failed evaluation leaves the points as they are; the queue is waited for all the same.
    std::vector<Vec3d> none;
    const bool done = !result.threw && result.status == 0;
    const std::string unfinished =
        buffers_->finish(data, done ? record->points : none, result.kernelMilliseconds);
    result.deviceFault = unprepared.empty() ? unfinished : unprepared;
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

CallResult Session::releaseGpu() {
    buffers_.reset();
    return timed([this] {
        node_->releaseGpu();
        return 0;
    });
}

CallResult Session::runCommand(const std::string& name, ValueMap& arguments) {
    const Module::Command command = module_.command(name);
    return timed([&] { return command(arguments); });
}

ValueMap Session::commandArguments() {
    const auto pointer = [](PointerTarget target) {
        auto data = std::make_shared<CapturedPtr>();
        data->target = target;
        return data;
    };
    ValueMap arguments = {{key::kHelp, std::make_shared<GrBoolean>()},
                          {key::kNodeName, makeText(nodeName_)},
                          {key::kNode, pointer(PointerTarget::kNode)},
                          {key::kGetAttributes, pointer(PointerTarget::kContext)},
                          {key::kRunAttributes, pointer(PointerTarget::kAttributes)},
                          {key::kDeformAttributes, pointer(PointerTarget::kRecord)}};
    bindPointers(arguments, pointerTargets());
    return arguments;
}

PointerTargets Session::pointerTargets() {
    return {record ? &*record : nullptr, &attributes, node_.get(), otherNode_.get(), &context_};
}

Capture Session::capture() const {
    Capture capture;
    capture.node = nodeName_;
    capture.attributes = attributes;
    capture.sharedInputs = node_->sharedInputs;
    capture.record = record;
    CaptureCall call;
    call.kind = CaptureCall::Kind::kDeformCpu;
    call.name = "deformCpu";
    if (record) capture.calls.push_back(call);
    return capture;
}

} // namespace talvisora::host
