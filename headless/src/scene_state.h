// SPDX-License-Identifier: Apache-2.0
// The tables behind the scene: nodes, meshes, components, attributes, selection, undo list and journal, all
// under one lock. Handles carry a number that is counted up and never used again, so an outlived handle finds
// no entry; nothing is ever reached through a pointer that a handle keeps. Private to the platform.
#pragma once

#include "object_access.h"
#include "scene/attributes.h"
#include "scene/mesh_queries.h"
#include "scene/scene.h"
#include "sparse_floats.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace headless {

/// A mesh never changes once made; edges and tree come into being with the first query for them.
struct Mesh {
    std::vector<Vec3d> points;
    std::vector<int> faceCounts;
    std::vector<int> faceVertices;

    /// Any thread; valid as long as the mesh.
    const std::vector<std::array<int, 2>>& edges() const;
    std::shared_ptr<const MeshQueries> queries() const;
    void dropQueries() const;

private:
    mutable std::mutex mutex;
    mutable bool hasEdges = false;
    mutable std::vector<std::array<int, 2>> knownEdges;
    mutable std::shared_ptr<const MeshQueries> tree;
};

/// A compound array of a node: its elements by logical index, each with one array per child.
struct CompoundArray {
    std::string name;
    unsigned long long attribute = 0; // object number of the compound's attribute
    std::vector<std::string> children;
    std::vector<unsigned long long> childAttributes;
    std::map<unsigned int, std::vector<SparseFloats>> elements;

    /// The element's arrays, made empty when the element does not exist.
    std::vector<SparseFloats>& element(unsigned int index);
};

constexpr int kNoChild = -1;

/// What the scene knows about an object; which members count depends on the type.
struct SceneObject {
    MFn::Type type = MFn::kInvalid;
    std::string typeName;
    std::string name; // nodes and attributes
    std::shared_ptr<const Mesh> mesh;
    std::vector<CompoundArray> compounds;    // of a node
    unsigned long long owner = 0;            // of an attribute: its node
    std::size_t compound = 0;                // of an attribute: which of the node's
    int child = kNoChild;                    // of an attribute: which child, or the compound itself
    std::vector<int> componentElements;      // of a component: ascending, each once
    MFn::Type componentType = MFn::kInvalid; // of a component
};

struct SelectionEntry {
    MObject object;
    MObject component;
};

/// One float in the scene by numbers.
struct FloatPlace {
    unsigned long long node = 0;
    std::size_t compound = 0;
    unsigned int index = 0;
    int child = 0;
    unsigned int element = 0;
};

struct JournalEntry {
    FloatPlace place;
    float value;
    WriteKind kind;
    bool existed;
};

struct UndoEntry {
    FloatPlace place;
    bool existed;
    float before;
};

struct Scene {
    std::mutex mutex;
    unsigned long long lastId = 0;
    std::unordered_map<unsigned long long, SceneObject> objects;
    std::map<std::string, unsigned long long> nodeByName;
    std::vector<SelectionEntry> selection;
    std::vector<UndoEntry> undoList;
    bool journalOn = false;
    std::vector<JournalEntry> journal;

    // For all of these the caller holds the mutex.
    SceneObject* find(const MObject& object) { return find(ObjectAccess::id(object)); }
    SceneObject* find(unsigned long long id) {
        const auto found = objects.find(id);
        return found == objects.end() ? nullptr : &found->second;
    }
    bool isNode(const MObject& object) {
        const SceneObject* found = find(object);
        return found && isKindOf(found->type, MFn::kDependencyNode);
    }
    unsigned long long add(SceneObject object) {
        const unsigned long long id = ++lastId;
        objects.emplace(id, std::move(object));
        return id;
    }
    /// The array at the place; null when node or attribute do not exist. Makes the compound's element.
    SparseFloats* arrayAt(const FloatPlace& place);
    void note(const FloatPlace& place, float value, WriteKind kind, bool existed) {
        if (journalOn) journal.push_back({place, value, kind, existed});
    }
};

/// Never destroyed: objects of the host with static lifetime may still hold nodes when the process ends.
Scene& scene();

/// The mesh of a mesh object that exists now, else null.
std::shared_ptr<const Mesh> meshOf(const MObject& object);

/// Makes a component; a type that is none gives the null object.
MObject createComponent(MFn::Type type, const std::vector<int>& elements);

} // namespace headless
