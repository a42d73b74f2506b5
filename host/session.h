// SPDX-License-Identifier: Apache-2.0
// One node of a loaded module, bound to a node of the scene, with everything that an evaluation is handed:
// attributes and run settings, shared inputs, the deform record. Calls go through the node's virtual
// operations and the module's exports only.
#pragma once

#include "host/capture/capture.h"
#include "host/device/gpu_buffers.h"
#include "host/module_loader.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace talvisora::host {

/// A message that the module showed.
struct ShownMessage {
    std::string level; ///< "error", "warning" or "info"
    std::string text;
};

/// What came back from one call.
struct CallResult {
    int status = 0;
    bool threw = false;
    std::string thrown; ///< text of the exception, when it threw
    std::vector<ShownMessage> messages;
    double seconds = 0.0;             ///< of the call alone; on a GPU until the points are back
    double kernelMilliseconds = -1.0; ///< of GPU evaluations: the device's time; negative: not known
    std::string
        deviceFault; ///< of GPU evaluations: what the host could not do on the device; empty: all done
};

/// Threads: one session, one thread; two sessions may not run at once, as they share the scene's messages.
class Session {
public:
    /// module    must outlive the session
    /// nodeName  name of the scene's node; empty: the node is bound to none
    /// threads   how many threads the module may use; 0: all
    Session(const Module& module, const std::string& nodeName, int threads = 0);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    ValueMap attributes;                ///< run settings and attribute values
    std::optional<DeformRecord> record; ///< absent: a null record

    GrNode& node() { return *node_; }
    ValueMap& sharedInputs() { return node_->sharedInputs; }
    const std::string& nodeName() const { return nodeName_; }

    std::vector<AttributeDescriptor> declareAttributes(CallResult& result);
    /// One evaluation of `record` on the CPU; there must be a record.
    CallResult deformCpu();
    /// One evaluation of `record` on the OpenCL device in use (the first one unless another was opened), in
    /// buffers that stay for the next; there must be a record. With status 0 the result stands in the record,
    /// else the points are left as they were; status 2: not offered. Without a device, or without room on it,
    /// the node is handed empty handles.
    CallResult deformGpu(const GpuRequest& request = {});
    /// Lets the node drop what it has on the device, and drops the session's buffers.
    CallResult releaseGpu();

    /// Whether the module exports the command.
    bool hasCommand(const std::string& name) const { return module_.command(name) != nullptr; }
    /// Calls an exported command with the arguments as they stand; the command must be there.
    CallResult runCommand(const std::string& name, ValueMap& arguments);
    /// What every command is handed: no help wanted, this node, its maps and its record.
    ValueMap commandArguments();

    /// Where symbolic pointers of a capture point to in this session.
    PointerTargets pointerTargets();

    /// The present state as a capture with one CPU evaluation.
    Capture capture() const;

private:
    struct Arena; // the threads that calls may use
    CallResult timed(const std::function<int()>& call);

    const Module& module_;
    std::string nodeName_;
    std::unique_ptr<Arena> arena_;
    std::unique_ptr<GpuBuffers> buffers_;
    std::unique_ptr<GrNode> node_, otherNode_;
    int context_ = 0; // something with an address
};

} // namespace talvisora::host
