// SPDX-License-Identifier: Apache-2.0
// A bend control's own motion relative to its parent, expressed in world space, moves two control points.
#include "rig/bends.h"

#include <cstdint>

#include "world_matrices.h"

namespace talvisora {
namespace {

/// Rest world to current world, both under the parent's current matrix: what the parent does is not counted.
Fault bendMotion(const JointRecord& control, WorldMatrices& world, Matrix44d& motion) {
    Matrix44d parent;
    if (!control.parent.empty())
        if (Fault fault = world.of(control.parent, parent)) return fault;
    motion = inverse(control.restLocal * parent) * (control.local * parent);
    return {};
}

} // namespace

void applyBends(const GrString& bends, const GrHierarchy& hierarchy, const SetupLines& lines,
                std::vector<Vec3d>& controlPoints, std::vector<Fault>& faults) {
    if (bends.indices.size() != bends.values.size()) return;
    WorldMatrices world(hierarchy, Pose::kCurrent);
    const std::int64_t count = static_cast<std::int64_t>(controlPoints.size());
    for (std::size_t entry = 0; entry < bends.values.size(); ++entry) {
        const std::string& name = bends.values[entry];
        if (name.empty()) continue;
        const JointRecord* control = hierarchy.find(name);
        if (!control) {
            faults.push_back(bendNotFound(lines, name));
            continue;
        }
        const std::int64_t first = std::int64_t{3} * bends.indices[entry] + 1;
        if (first < 1 || first + 1 >= count) continue;
        Matrix44d motion;
        if (Fault fault = bendMotion(*control, world, motion)) {
            faults.push_back(std::move(fault));
            continue;
        }
        for (std::int64_t k = first; k <= first + 1; ++k) {
            Vec3d& point = controlPoints[static_cast<std::size_t>(k)];
            point = pointMultMat(point, motion);
        }
    }
}

} // namespace talvisora
