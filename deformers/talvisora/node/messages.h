// SPDX-License-Identifier: Apache-2.0
// Texts of the module's own failures and the line numbers that they print. The numbers are constants of each
// check: riggers quote them, so they must not move when the sources do.
#pragma once

#include <string>

#include "fault.h"
#include "kernels/records.h"

namespace talvisora {

/// Joints that a block with in-between control points can hold.
inline constexpr int kMaxJoints = MAX_CV_MATRICES / 3;

/// Lines that the checks of a block's set-up print. The set-up is one, its two callers print different lines.
struct SetupLines {
    int tooFewJoints;
    int jointNotFound;
    int tooManyJoints;
    int bendNotFound;
};
inline constexpr SetupLines kCpuSetupLines{1117, 1127, 1156, 1253};
inline constexpr SetupLines kGpuSetupLines{1725, 1735, 1764, 1861};
/// The commands check names and their number only.
inline constexpr SetupLines kCommandLines{512, 513, 0, 0};

/// Lines of the checks outside the set-up.
namespace line {
inline constexpr int kSharedHierarchy[3] = {401, 402, 403}; ///< empty name, absent, of another kind
inline constexpr int kSoaPointsAbsent = 411;
inline constexpr int kSoaPointsInvalid = 412;
inline constexpr int kNoBlocks = 421;
inline constexpr int kParamsCount = 431;
inline constexpr int kKernelArguments = 1900; ///< uploads at even, arguments at odd distances from here
inline constexpr int kNoCachedBlocks = 501;
inline constexpr int kNoSuchBlock = 511;
inline constexpr int kNoMesh = 514;
inline constexpr int kMeshPointCount = 515;
inline constexpr int kNoPlug = 521;
} // namespace line

inline Fault tooFewJoints(const SetupLines& lines, int b) {
    return assertion(lines.tooFewJoints, "joints[" + std::to_string(b) + "] must be > 1");
}
inline Fault jointNotFound(const SetupLines& lines, const std::string& name) {
    return assertion(lines.jointNotFound, "Cannot find '" + name + "' in hier!");
}
inline Fault tooManyJoints(const SetupLines& lines) {
    return assertion(lines.tooManyJoints, "Joint's number must not be > " + std::to_string(kMaxJoints) +
                                              " or > " + std::to_string(MAX_CV_MATRICES) + " (when simple)");
}
inline Fault bendNotFound(const SetupLines& lines, const std::string& name) {
    return assertion(lines.bendNotFound, "Cannot find bend control '" + name + "' in hier!");
}

inline Fault noBlocks() {
    return assertion(line::kNoBlocks, "block is NULL");
}
inline Fault paramsCountDiffers(int b) {
    return assertion(line::kParamsCount, "block[" + std::to_string(b) + "].params != NUM_ELEMENTS");
}
inline Fault soaPointsAbsent(const std::string& key) {
    return sharedInputFault(line::kSoaPointsAbsent, "cannot find shared input '" + key + "'");
}
inline Fault soaPointsInvalid(const std::string& key) {
    return sharedInputFault(line::kSoaPointsInvalid, "cannot get shared input '" + key + "'. Invalid type");
}
inline Fault noCachedBlocks() {
    return assertion(line::kNoCachedBlocks, "bsize is 0");
}
inline Fault noSuchBlock(int b) {
    return assertion(line::kNoSuchBlock, "block[" + std::to_string(b) + "] doesn't exist");
}
inline Fault noMesh() {
    return assertion(line::kNoMesh, "mesh is NULL");
}
inline Fault meshPointCountDiffers() {
    return assertion(line::kMeshPointCount, "meshPoints.length() != NUM_ELEMENTS");
}
/// `child` is the attribute that was to be written: "params" or "blockWeights".
inline Fault noPlug(const std::string& child) {
    return assertion(line::kNoPlug, child + " plug is NULL");
}

/// Shown as they stand, without the node's name.
inline constexpr const char* kCannotCompile = "Cannot compile OpenCL program: talvisora. See Output Window";
inline constexpr const char* kNoScratch = "talvisora: cvsdata.size() (global memory size) must be > 0";
inline constexpr const char* kInitTime = "talvisora: init kernel time";

/// What the commands tell before they look at the rig.
inline std::string resetParamsProgress(int b) {
    return "Reset params for block[" + std::to_string(b) + "]";
}
inline std::string resetWeightsProgress(int b) {
    return "Reset weights for block[" + std::to_string(b) + "]";
}

} // namespace talvisora
