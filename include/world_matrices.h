// SPDX-License-Identifier: Apache-2.0
// World matrices of many records of one table, each record's made once. A walk to the root per name would
// take names times depth steps: hours for a hostile table of a hundred thousand records, listed in full.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "fault.h"
#include "hierarchy.h"
#include "maths/matrix44.h"

namespace talvisora {

/// Same matrices, to the bit, and same faults as GrHierarchy::worldMatrix. Borrows the table, which must not
/// change meanwhile. One thread. Memory: about 200 bytes per record on the way to a root.
class WorldMatrices {
public:
    WorldMatrices(const GrHierarchy& hierarchy, Pose pose) : hierarchy_(hierarchy), pose_(pose) {}

    Fault of(const std::string& name, Matrix44d& matrix) {
        path_.clear();
        Known known; // of the record that the walk ends at, or what stands in its place
        bool started = false;
        for (const std::string* next = &name; !next->empty() || path_.empty();) {
            const JointRecord* record = hierarchy_.find(*next);
            if (!record) {
                known.missing = next;
                break;
            }
            const auto entry = known_.find(record);
            if (entry != known_.end()) {
                known = entry->second;
                started = true;
                break;
            }
            if (path_.size() >= hierarchy_.size()) {
                known.circle = true;
                break;
            }
            path_.push_back(record);
            next = &record->parent;
        }
        const bool broken = known.missing || known.circle;
        for (std::size_t k = path_.size(); k-- > 0;) {
            if (!broken)
                known.world = started ? GrHierarchy::underParent(*path_[k], pose_, known.world)
                                      : GrHierarchy::matrixOf(*path_[k], pose_);
            started = true;
            known_.emplace(path_[k], known);
        }
        if (broken) return GrHierarchy::noWorldMatrix(pose_, known.missing ? *known.missing : name);
        matrix = known.world;
        return {};
    }

private:
    struct Known {
        Matrix44d world;
        const std::string* missing = nullptr; ///< the parent that dangles, as its child names it
        bool circle = false;                  ///< the parents never end
    };

    const GrHierarchy& hierarchy_;
    Pose pose_;
    std::unordered_map<const JointRecord*, Known> known_;
    std::vector<const JointRecord*> path_;
};

} // namespace talvisora
