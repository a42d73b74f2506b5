// SPDX-License-Identifier: Apache-2.0
// Uploads and arguments in the kernel's order.
//
// Every call here is checked alike, and the check is deliberate in its oddity: a call that fails is made
// three times in all, once for the test, once for the text of the message, once for the code that Maya is
// given. Binding an argument counts the index up each time, so one that fails pushes all later arguments two
// places on. The launch is made harmless after that; see buffersAreSafe and the driver.
#include "evaluate/device_arguments.h"

#include <vector>

#include "gpu.h"
#include "node/messages.h"

namespace talvisora {
namespace {

/// The node's buffers in the order of its members, which is that of MyNode::capacity.
enum Buffer {
    kSpare1,
    kWeightMaps,
    kSpare2,
    kBlockInfo,
    kOrdersStart,
    kOrdersEnd,
    kBlockWeights,
    kParams,
    kCvMatrices,
    kCvBaseMatrices,
    kCvBaseMatricesInverse,
    kKnots,
    kCvsData,
    kTweaks,
    kTweakVectors,
};
constexpr MAutoCLMem MyNode::*kBuffers[kDeviceBufferCount] = {
    &MyNode::spareBuffer1,
    &MyNode::weightMapsBuffer,
    &MyNode::spareBuffer2,
    &MyNode::blockInfoBuffer,
    &MyNode::ordersStartBuffer,
    &MyNode::ordersEndBuffer,
    &MyNode::blockWeightsBuffer,
    &MyNode::paramsBuffer,
    &MyNode::cvMatricesBuffer,
    &MyNode::cvBaseMatricesBuffer,
    &MyNode::cvBaseMatricesInverseBuffer,
    &MyNode::knotsBuffer,
    &MyNode::cvsDataBuffer,
    &MyNode::tweaksBuffer,
    &MyNode::tweakVectorsBuffer,
};

constexpr std::size_t kMatrixBytes = 16 * sizeof(float);

std::size_t bytesOf(const std::vector<Matrix44d>& matrices) {
    return matrices.size() * kMatrixBytes;
}
template <class Record>
std::size_t bytesOf(const std::vector<Record>& records) {
    return records.size() * sizeof(Record);
}

/// Bytes that the kernel can reach in a buffer when it runs over N points and B blocks.
std::size_t bytesNeeded(Buffer buffer, std::size_t pointCount, std::size_t blockCount) {
    const std::size_t slots = blockCount * MAX_CV_MATRICES;
    switch (buffer) {
    case kWeightMaps:
        return kWeightMapCount * pointCount * sizeof(float);
    case kBlockInfo:
        return blockCount * sizeof(BlockInfo);
    case kOrdersStart:
    case kOrdersEnd:
        return pointCount * sizeof(std::int32_t);
    case kBlockWeights:
    case kParams:
        return blockCount * pointCount * sizeof(float);
    case kCvMatrices:
    case kCvBaseMatrices:
    case kCvBaseMatricesInverse:
        return slots * kMatrixBytes;
    case kKnots:
        return blockCount * kMaxKnots * sizeof(float);
    case kCvsData:
        return pointCount * MAX_CV_MATRICES * sizeof(Float3Slot);
    case kTweaks:
        return slots * sizeof(Tweak);
    case kTweakVectors:
        return slots * sizeof(TweakVectors);
    case kSpare1:
    case kSpare2:
        break;
    }
    return 0;
}

/// Goes through the arguments one after the other.
class ArgumentList {
public:
    ArgumentList(MyNode& node, BoundArguments& bound) : node_(node), bound_(bound) {}

    /// Sends an array to the device; it belongs to the argument that is bound next.
    template <class Array>
    void upload(Buffer which, const Array& array, cl_mem_flags flags) {
        MAutoCLMem& buffer = node_.*kBuffers[which];
        check(2 * argument_, [&] {
            const bool made = buffer.isNull();
            const cl_int code = send(buffer, array, flags);
            if (made) node_.capacity[which] = code == CL_SUCCESS && !buffer.isNull() ? bytesOf(array) : 0;
            return code;
        });
    }
    template <class Array>
    void upload(Buffer which, const Array& array) {
        if (!array.empty()) upload(which, array, gpu::kInputBuffer);
    }

    template <class Value>
    void bind(const Value& value) {
        check(2 * argument_ + 1, [&] {
            const cl_uint index = index_++;
            const cl_int code = gpu::setArgument(node_.kernel, index, value);
            if (code == CL_SUCCESS && index < kKernelArgumentCount) bound_.atIndex[index] = true;
            return code;
        });
        ++argument_;
    }
    void bind(Buffer which) { bind(node_.*kBuffers[which]); }

private:
    template <class Record>
    static cl_int send(MAutoCLMem& buffer, const std::vector<Record>& records, cl_mem_flags flags) {
        return gpu::upload(buffer, records, flags);
    }
    static cl_int send(MAutoCLMem& buffer, const std::vector<Matrix44d>& matrices, cl_mem_flags) {
        return gpu::upload(buffer, matrices);
    }

    template <class Call>
    void check(int line, Call call) {
        if (call() == CL_SUCCESS) return;
        bound_.complete = false;
        gpu::showError(gpu::failureText(kSourcePath, line::kKernelArguments + line, call()));
        MOpenCLInfo::checkCLErrorStatus(call());
    }

    MyNode& node_;
    BoundArguments& bound_;
    int argument_ = 0;  ///< which one of the list it is
    cl_uint index_ = 0; ///< where it is bound
};

} // namespace

Fault bindArguments(MyNode& node, const DeviceInputs& inputs, BoundArguments& bound) {
    ArgumentList list(node, bound);
    list.bind(inputs.data.inputPoints);
    list.bind(inputs.data.outputPoints);
    list.bind(inputs.pointCount);
    list.bind(inputs.data.weights);
    list.bind(inputs.envelope);
    list.bind(inputs.geoMatrix);
    if (inputs.rebuilt) list.upload(kWeightMaps, node.weightMaps);
    list.bind(kWeightMaps);
    list.bind(node.geoMatrixInverse);
    list.bind(static_cast<std::int32_t>(MAX_CV_MATRICES));
    list.bind(node.blockCount);
    list.upload(kBlockInfo, inputs.rig.blocks);
    list.bind(kBlockInfo);
    if (inputs.rebuilt) list.upload(kOrdersStart, node.ordersStart);
    list.bind(kOrdersStart);
    if (inputs.rebuilt) list.upload(kOrdersEnd, node.ordersEnd);
    list.bind(kOrdersEnd);
    if (inputs.rebuilt) list.upload(kBlockWeights, node.blockWeights);
    list.bind(kBlockWeights);
    if (inputs.rebuilt) list.upload(kParams, node.params);
    list.bind(kParams);
    list.upload(kCvMatrices, inputs.rig.cvMatrices);
    list.bind(kCvMatrices);
    list.upload(kCvBaseMatrices, inputs.rig.cvBaseMatrices);
    list.bind(kCvBaseMatrices);
    list.upload(kCvBaseMatricesInverse, inputs.rig.cvBaseMatricesInverse);
    list.bind(kCvBaseMatricesInverse);
    if (inputs.knotsRebuilt) list.upload(kKnots, node.knots);
    list.bind(kKnots);
    if (node.cvsDataBuffer.isNull()) {
        if (node.cvsData.empty()) return Fault(kNoScratch);
        list.upload(kCvsData, node.cvsData, gpu::kScratchBuffer);
        // Nothing reads the host's side again, and it is the largest array of all.
        if (!node.cvsDataBuffer.isNull()) std::vector<Float3Slot>().swap(node.cvsData);
    }
    list.bind(kCvsData);
    if (inputs.rebuilt) list.upload(kTweaks, node.tweaks);
    list.bind(kTweaks);
    list.upload(kTweakVectors, inputs.rig.tweakVectors);
    list.bind(kTweakVectors);
    return {};
}

bool buffersAreSafe(const MyNode& node, const DeviceInputs& inputs, const BoundArguments& bound) {
    if (!bound.complete) return false;
    const GpuDeformData& data = inputs.data;
    if (data.inputPoints.isNull() || data.outputPoints.isNull() || data.weights.isNull()) return false;
    const std::size_t pointCount = static_cast<std::size_t>(inputs.pointCount);
    const std::size_t blockCount = static_cast<std::size_t>(node.blockCount);
    for (int buffer = 0; buffer < kDeviceBufferCount; ++buffer) {
        if (buffer == kSpare1 || buffer == kSpare2) continue;
        if ((node.*kBuffers[buffer]).isNull()) return false;
        if (node.capacity[buffer] < bytesNeeded(static_cast<Buffer>(buffer), pointCount, blockCount))
            return false;
    }
    return true;
}

void releaseBuffers(MyNode& node) {
    for (int buffer = 0; buffer < kDeviceBufferCount; ++buffer) {
        (node.*kBuffers[buffer]).reset();
        node.capacity[buffer] = 0;
    }
}

} // namespace talvisora
