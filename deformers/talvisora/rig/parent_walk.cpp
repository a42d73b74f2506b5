// SPDX-License-Identifier: Apache-2.0
// Up until a record is met whose matrices are known, then down again.
#include "rig/parent_walk.h"

namespace talvisora {
namespace {

/// How far from its end the kept path is searched: a joint's parent is the joint before it, or a few helper
/// records above that. A deep table must not make every walk a search through all of it.
constexpr std::size_t kSearched = 8;

} // namespace

Fault ParentWalk::of(const GrHierarchy& hierarchy, const JointRecord& record, const std::string& name,
                     Matrix44d& world, Matrix44d& restWorld) {
    climbed_.clear();
    std::size_t known = 0; // steps of the path that stay
    const JointRecord* next = &record;
    for (;;) {
        const std::size_t stop = path_.size() > kSearched ? path_.size() - kSearched : 0;
        std::size_t at = path_.size();
        while (at > stop && path_[at - 1].record != next) --at;
        if (at > stop) {
            known = at;
            break;
        }
        if (climbed_.size() >= hierarchy.size()) return GrHierarchy::noWorldMatrix(Pose::kCurrent, name);
        climbed_.push_back(next);
        if (next->parent.empty()) break;
        // Mostly the joint before this one: then there is nothing to look up.
        const bool isLast = !path_.empty() && lastName_ && next->parent == *lastName_;
        const JointRecord* parent = isLast ? path_.back().record : hierarchy.find(next->parent);
        if (!parent) return GrHierarchy::noWorldMatrix(Pose::kCurrent, next->parent);
        next = parent;
    }
    path_.resize(known);
    for (std::size_t k = climbed_.size(); k-- > 0;) {
        const JointRecord& step = *climbed_[k];
        if (path_.empty()) {
            path_.push_back({&step, step.local, step.restLocal});
            continue;
        }
        const Step& above = path_.back();
        const Matrix44d current = GrHierarchy::underParent(step, Pose::kCurrent, above.world);
        const Matrix44d rest = GrHierarchy::underParent(step, Pose::kRest, above.restWorld);
        path_.push_back({&step, current, rest});
    }
    lastName_ = &name;
    world = path_.back().world;
    restWorld = path_.back().restWorld;
    return {};
}

} // namespace talvisora
