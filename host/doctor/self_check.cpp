// SPDX-License-Identifier: Apache-2.0
#include "host/doctor/self_check.h"

#include "host/device/device_run.h"
#include "host/rig_values.h"
#include "maths/quaternion.h"

#include <cmath>

namespace talvisora::host {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kBone = 10.0; // length of each bone, centimetres
constexpr std::size_t kBones = 4, kRings = 60, kSides = 24;
constexpr double kRigidLimit = 1e-5;  // rounding of single-precision parameters and factors
constexpr double kDeviceLimit = 1e-4; // single precision all the way

// A tube along x. Each point follows the bone beside it, and near a joint both bones.
Character makeLimb() {
    Character limb;
    limb.path = "self check";
    for (std::size_t b = 0; b < kBones; ++b) {
        Joint joint;
        joint.name = "bone" + std::to_string(b);
        joint.parent = static_cast<int>(b) - 1;
        joint.node = static_cast<std::uint32_t>(b);
        setTranslation(joint.restWorld, {kBone * static_cast<double>(b), 0.0, 0.0});
        setTranslation(joint.inverseRest, {-kBone * static_cast<double>(b), 0.0, 0.0});
        limb.joints.push_back(joint);
        CharacterNode node;
        node.name = joint.name;
        node.parent = joint.parent;
        setTranslation(node.local, {b == 0 ? 0.0 : kBone, 0.0, 0.0});
        limb.nodes.push_back(node);
    }
    limb.influenceStart = {0};
    for (std::size_t ring = 0; ring < kRings; ++ring) {
        const double along = (static_cast<double>(ring) + 0.5) / kRings * kBones; // in bones
        const auto bone = static_cast<std::uint32_t>(along);
        const double inside = along - bone;
        const bool first = inside < 0.5;
        const bool shared = first ? bone > 0 : bone + 1 < kBones;
        const std::uint32_t other = first ? bone - 1 : bone + 1;
        const double own = shared ? 0.5 + std::fabs(inside - (first ? 0.0 : 1.0)) : 1.0;
        for (std::size_t side = 0; side < kSides; ++side) {
            const double angle = 2.0 * kPi * static_cast<double>(side) / kSides;
            limb.points.push_back({along * kBone, 2.0 * std::cos(angle), 2.0 * std::sin(angle)});
            limb.influences.push_back({bone, own});
            if (own < 1.0) limb.influences.push_back({other, 1.0 - own});
            limb.influenceStart.push_back(static_cast<std::uint32_t>(limb.influences.size()));
        }
    }
    return limb;
}

Matrix44d turn(const Vec3d& axis, double degrees, const Vec3d& shift) {
    const double half = degrees * kPi / 360.0;
    const Vec3d a = axis * std::sin(half);
    Matrix44d matrix = toMatrix(Quatd{a.x, a.y, a.z, std::cos(half)});
    setTranslation(matrix, shift);
    return matrix;
}

// Every joint bent by so many degrees against the one before.
Pose bentPose(const Character& limb, double degrees) {
    std::vector<Matrix44d> world;
    for (std::size_t b = 0; b < limb.joints.size(); ++b) {
        const Matrix44d local =
            turn({0.0, 0.0, 1.0}, b == 0 ? 0.0 : degrees, {b == 0 ? 0.0 : kBone, 0.0, 0.0});
        world.push_back(b == 0 ? local : local * world.back());
    }
    return poseFromWorld(limb, std::move(world));
}

Pose movedPose(const Character& limb, const Matrix44d& motion) {
    std::vector<Matrix44d> world;
    for (const Joint& joint : limb.joints) world.push_back(joint.restWorld * motion);
    return poseFromWorld(limb, std::move(world));
}

void take(SelfCheck& check, const std::vector<Vec3d>& expected, const std::vector<Vec3d>& got) {
    DifferenceMeter meter(expected.size());
    meter.addFrame(1, expected, got);
    const Difference difference = meter.result();
    check.largest = difference.largest;
    check.share = difference.share(difference.largest);
}

// The limb, ready to be posed.
struct Limb {
    Character character = makeLimb();
    AutoRig rig = buildAutoRig(character);
    Session session;
    Limb(const Module& module, int threads) : session(module, "grhost_doctor", threads) {
        fillSession(session, character, rig, true);
    }
    void pose(const Pose& pose) {
        applyPose(rig, pose);
        setFrame(session, character, rig);
    }
};

// Runs `act`, which fills the check; what is thrown becomes its failure.
template <class Act>
SelfCheck guardedCheck(SelfCheck check, Act act) {
    try {
        act(check);
    } catch (const std::exception& error) {
        check.failure = error.what();
    }
    return check;
}

} // namespace

SelfCheck checkProcessor(const Module& module, int threads) {
    SelfCheck check;
    check.name = "CPU";
    check.what = "a limb moved as a whole, against its own motion";
    check.limit = kRigidLimit;
    return guardedCheck(check, [&](SelfCheck& result) {
        Limb limb(module, threads);
        const Matrix44d motion = turn(normalise(Vec3d{1.0, 2.0, 3.0}), 70.0, {3.0, -5.0, 8.0});
        limb.pose(movedPose(limb.character, motion));
        const CallResult call = limb.session.deformCpu();
        result.ran = true;
        result.milliseconds = call.seconds * 1e3;
        result.failure = deviceFailure(call);
        std::vector<Vec3d> expected = limb.character.points;
        for (Vec3d& p : expected) p = pointMultMat(p, motion);
        take(result, expected, limb.session.record->points);
    });
}

SelfCheck checkDevice(const Module& module, int number, int threads) {
    SelfCheck check;
    check.name = "GPU " + std::to_string(number);
    check.what = "a bent limb, against the CPU";
    check.limit = kDeviceLimit;
    return guardedCheck(check, [&](SelfCheck& result) {
        result.name = openDevice(number);
        Limb limb(module, threads);
        limb.pose(bentPose(limb.character, 40.0));
        result.failure = deviceFailure(limb.session.deformCpu());
        if (!result.failure.empty()) return;
        const std::vector<Vec3d> expected = limb.session.record->points;
        for (int time = 0; time < 2; ++time) { // the first time the program is compiled
            limb.session.record->points = limb.character.points;
            const CallResult call = limb.session.deformGpu();
            result.failure = deviceFailure(call);
            if (!result.failure.empty()) return;
            result.ran = true;
            result.milliseconds = call.seconds * 1e3;
            result.kernelMilliseconds = call.kernelMilliseconds;
        }
        take(result, expected, limb.session.record->points);
        limb.session.releaseGpu();
    });
}

} // namespace talvisora::host
