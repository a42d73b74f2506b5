// SPDX-License-Identifier: Apache-2.0
// A joint that is stiff against its parent carries rest space exactly as the parent does. So the measure is
// the matrix (inverse rest · local · rest of the parent), which is the identity then.
#include "host/character/rigging/joint_motion.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host::rigging {

namespace {

double angleBetween(const Vec3d& a, const Vec3d& b) {
    return std::atan2(length(cross(a, b)), dot(a, b));
}

} // namespace

std::vector<JointMotion> measureMotion(const Character& character, const std::vector<Vec3d>& axes) {
    const std::vector<Joint>& joints = character.joints;
    std::vector<JointMotion> motion(joints.size());
    for (const Clip& clip : character.clips) {
        const int steps = static_cast<int>(std::clamp(std::ceil(clip.seconds * 30.0), 0.0, 240.0));
        for (int step = 0; step <= steps; ++step) {
            const Pose pose = samplePose(character, clip, steps ? clip.seconds * step / steps : 0.0);
            for (std::size_t j = 0; j < joints.size(); ++j) {
                if (joints[j].parent < 0) continue;
                const Joint& parent = joints[static_cast<std::size_t>(joints[j].parent)];
                // What the joint does to rest space beyond what its parent does: the identity when it is
                // stiff.
                const Matrix44d against = joints[j].inverseRest * pose.local[j] * parent.restWorld;
                JointMotion& m = motion[j];
                for (int r = 0; r < 3; ++r) {
                    Vec3d axis;
                    (r == 0 ? axis.x : r == 1 ? axis.y : axis.z) = 1.0;
                    m.turn = std::max(m.turn, angleBetween(row(against, r), axis));
                }
                if (!axes.empty() && axes[j] != Vec3d{})
                    m.swing = std::max(m.swing, angleBetween(vectorMultMat(axes[j], against), axes[j]));
                const Vec3d origin = translation(joints[j].restWorld);
                m.shift = std::max(m.shift, length(pointMultMat(origin, against) - origin));
            }
        }
    }
    return motion;
}

} // namespace talvisora::host::rigging
