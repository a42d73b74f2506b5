// SPDX-License-Identifier: Apache-2.0
// The joint hierarchy that the host shares between deformer nodes: a table from joint name to joint record,
// and the world matrices that follow from it. Read-only while evaluations run; lookups are safe from any
// thread.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "fault.h"
#include "gr_data.h"
#include "maths/matrix44.h"

/// One transform of the rig. Matrices are relative to the parent.
struct JointRecord {
    talvisora::Matrix44d local;     ///< current pose
    talvisora::Matrix44d restLocal; ///< bind pose
    std::string parent;             ///< name of the parent record, empty for a root
    /// The parent's world matrix reaches this joint's axes as a rotation only (unit axes); the joint's
    /// translation still goes through the parent's full world matrix.
    bool parentRotationOnly = false;
};

/// Which of a record's two poses a world matrix is made of.
enum class Pose { kCurrent, kRest };

/// The shared joint table. A name is unique; setting it again replaces the record. Broken tables (a parent
/// that is not there, parents in a circle) are found when a world matrix is asked for, never by recursion.
class GrHierarchy : public GrData {
public:
    /// Adds or replaces a record.
    void set(const std::string& name, JointRecord record) {
        const auto entry = index_.find(name);
        if (entry != index_.end()) {
            records_[entry->second] = std::move(record);
        } else {
            index_.emplace(name, records_.size());
            records_.push_back(std::move(record));
        }
    }

    void clear() {
        index_.clear();
        records_.clear();
    }

    std::size_t size() const { return records_.size(); }

    /// The record of that name, or null.
    const JointRecord* find(const std::string& name) const {
        const auto entry = index_.find(name);
        return entry == index_.end() ? nullptr : &records_[entry->second];
    }
    JointRecord* find(const std::string& name) {
        return const_cast<JointRecord*>(static_cast<const GrHierarchy*>(this)->find(name));
    }

    /// The record's own matrix. A fault names what was not found.
    talvisora::Fault localMatrix(const std::string& name, Pose pose, talvisora::Matrix44d& matrix) const {
        const JointRecord* record = find(name);
        if (!record) return notFound(pose == Pose::kCurrent ? "matrix" : "matrixBase", name);
        matrix = pose == Pose::kCurrent ? record->local : record->restLocal;
        return {};
    }

    /// The record's matrix through all its ancestors. A dangling parent is reported by the parent's name; a
    /// circle, and a chain longer than the table, by the joint's own.
    talvisora::Fault worldMatrix(const std::string& name, Pose pose, talvisora::Matrix44d& matrix) const {
        // Walk up first, then multiply from the root down, so that each parent's world matrix is at hand for
        // the rotation-only records.
        std::vector<const JointRecord*> path;
        const std::string* next = &name;
        do {
            const JointRecord* record = find(*next);
            if (!record) return noWorldMatrix(pose, *next);
            if (path.size() >= records_.size()) return noWorldMatrix(pose, name);
            path.push_back(record);
            next = &record->parent;
        } while (!next->empty());

        talvisora::Matrix44d world = matrixOf(*path.back(), pose);
        for (std::size_t k = path.size() - 1; k-- > 0;) world = underParent(*path[k], pose, world);
        matrix = world;
        return {};
    }

    /// The world matrix of the joint's parent; the identity for a root.
    talvisora::Fault parentWorldMatrix(const std::string& name, Pose pose,
                                       talvisora::Matrix44d& matrix) const {
        const JointRecord* record = find(name);
        if (!record) return notFound("parentWorldMatrix", name);
        matrix = talvisora::Matrix44d{};
        return record->parent.empty() ? talvisora::Fault{} : worldMatrix(record->parent, pose, matrix);
    }

    /// The world matrix of a record whose parent's world matrix is known.
    static talvisora::Matrix44d underParent(const JointRecord& record, Pose pose,
                                            const talvisora::Matrix44d& parentWorld) {
        using namespace talvisora;
        const Matrix44d& own = matrixOf(record, pose);
        if (!record.parentRotationOnly) return own * parentWorld;
        Matrix44d rotation;
        for (int r = 0; r < 3; ++r) setRow(rotation, r, normalise(row(parentWorld, r)));
        Matrix44d axes = own;
        setTranslation(axes, {});
        Matrix44d world = axes * rotation;
        setTranslation(world, pointMultMat(translation(own), parentWorld));
        return world;
    }

    /// The record's own matrix of that pose.
    static const talvisora::Matrix44d& matrixOf(const JointRecord& record, Pose pose) {
        return pose == Pose::kCurrent ? record.local : record.restLocal;
    }

    /// The fault of a walk to the root that ended at `name`.
    static talvisora::Fault noWorldMatrix(Pose pose, const std::string& name) {
        return notFound(pose == Pose::kCurrent ? "worldMatrix" : "worldMatrixBase", name);
    }

private:
    static talvisora::Fault notFound(const char* what, const std::string& name) {
        return talvisora::Fault(std::string(what) + ": cannot find " + name);
    }

    std::vector<JointRecord> records_;
    std::unordered_map<std::string, std::size_t> index_;
};
