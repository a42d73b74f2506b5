// SPDX-License-Identifier: Apache-2.0
// World matrices along a chain of joints, both poses at once. The records from the last joint up to its root
// are kept with their matrices: the next joint of a chain hangs on one of the last few of them, so its walk
// up ends there and not at the root.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fault.h"
#include "hierarchy.h"
#include "maths/matrix44.h"

namespace talvisora {

/// Same matrices, to the bit, and same faults as GrHierarchy::worldMatrix. One thread. Keeps its memory from
/// one use to the next; `start` forgets the records.
class ParentWalk {
public:
    void start() {
        path_.clear();
        lastName_ = nullptr;
    }

    /// World matrices of a record of `hierarchy`, which must be the same since `start`, and whose name is
    /// `name`; that text must stay until the next call.
    Fault of(const GrHierarchy& hierarchy, const JointRecord& record, const std::string& name,
             Matrix44d& world, Matrix44d& restWorld);

private:
    struct Step {
        const JointRecord* record;
        Matrix44d world;
        Matrix44d restWorld;
    };

    std::vector<Step> path_;                ///< from a root on
    const std::string* lastName_ = nullptr; ///< of the path's last record
    std::vector<const JointRecord*> climbed_;
};

} // namespace talvisora
