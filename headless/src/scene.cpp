// SPDX-License-Identifier: Apache-2.0
// Nodes by name and number, meshes, components, and the active selection.
#include "scene/scene.h"
#include "scene_state.h"

#include <algorithm>
#include <climits>

namespace headless {
namespace {

// Caller holds the mutex.
std::string freeName(const Scene& s, const std::string& wanted, const std::string& typeName) {
    const std::string& stem = wanted.empty() ? typeName : wanted;
    if (!wanted.empty() && s.nodeByName.find(wanted) == s.nodeByName.end()) return wanted;
    for (unsigned long long number = 1;; ++number) {
        std::string candidate = stem + std::to_string(number);
        if (s.nodeByName.find(candidate) == s.nodeByName.end()) return candidate;
    }
}

MObject addNode(MFn::Type type, const std::string& typeName, const std::string& name,
                std::shared_ptr<const Mesh> mesh = nullptr) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    SceneObject node;
    node.type = type;
    node.typeName = typeName;
    node.name = freeName(s, name, typeName);
    node.mesh = std::move(mesh);
    const std::string given = node.name;
    const unsigned long long id = s.add(std::move(node));
    s.nodeByName[given] = id;
    return ObjectAccess::make(id);
}

// The first thing wrong with a mesh, or the empty string.
std::string meshFault(std::size_t pointCount, const std::vector<int>& faceCounts,
                      const std::vector<int>& faceVertices) {
    const std::size_t most = static_cast<std::size_t>(INT_MAX);
    if (pointCount > most || faceCounts.size() > most || faceVertices.size() > most)
        return "more than 2147483647 points, faces or face vertices";
    std::size_t sum = 0;
    for (std::size_t face = 0; face < faceCounts.size(); ++face) {
        if (faceCounts[face] < 3) {
            return "face " + std::to_string(face) + " has " + std::to_string(faceCounts[face]) +
                   " vertices, 3 are needed";
        }
        sum += static_cast<std::size_t>(faceCounts[face]);
    }
    if (sum != faceVertices.size()) {
        return "the faces have " + std::to_string(sum) + " vertices together, " +
               std::to_string(faceVertices.size()) + " are given";
    }
    for (int vertex : faceVertices) {
        if (vertex < 0 || static_cast<std::size_t>(vertex) >= pointCount) {
            return "face vertex " + std::to_string(vertex) + " is outside the " + std::to_string(pointCount) +
                   " points";
        }
    }
    return std::string();
}

MFn::Type typeOfKind(ComponentKind kind) {
    switch (kind) {
    case ComponentKind::vertices:
        return MFn::kMeshVertComponent;
    case ComponentKind::edges:
        return MFn::kMeshEdgeComponent;
    case ComponentKind::faces:
        return MFn::kMeshPolygonComponent;
    case ComponentKind::other:
        return MFn::kComponent;
    case ComponentKind::none:
        break;
    }
    return MFn::kInvalid;
}

} // namespace

Scene& scene() {
    static Scene& instance = *new Scene;
    return instance;
}

const std::vector<std::array<int, 2>>& Mesh::edges() const {
    std::lock_guard<std::mutex> lock(mutex);
    if (!hasEdges) {
        knownEdges = meshEdges(faceCounts, faceVertices);
        hasEdges = true;
    }
    return knownEdges;
}

std::shared_ptr<const MeshQueries> Mesh::queries() const {
    std::lock_guard<std::mutex> lock(mutex);
    if (!tree) tree = std::make_shared<const MeshQueries>(points, meshTriangles(faceCounts, faceVertices));
    return tree;
}

void Mesh::dropQueries() const {
    std::lock_guard<std::mutex> lock(mutex);
    tree.reset();
}

MObject createNode(const std::string& typeName, const std::string& name) {
    return addNode(MFn::kPluginDependNode, typeName, name);
}

MObject createTransform(const std::string& name) {
    return addNode(MFn::kTransform, "transform", name);
}

MObject createMesh(const std::string& name, const std::vector<Position>& points,
                   const std::vector<int>& faceCounts, const std::vector<int>& faceVertices,
                   std::string* error) {
    const std::string fault = meshFault(points.size(), faceCounts, faceVertices);
    if (!fault.empty()) {
        if (error) *error = "mesh '" + name + "': " + fault;
        return MObject();
    }
    auto mesh = std::make_shared<Mesh>();
    mesh->points.reserve(points.size());
    for (const Position& p : points) mesh->points.push_back({p.x, p.y, p.z});
    mesh->faceCounts = faceCounts;
    mesh->faceVertices = faceVertices;
    return addNode(MFn::kMesh, "mesh", name, std::move(mesh));
}

bool deleteNode(const MObject& node) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.isNode(node)) return false;
    const SceneObject& found = *s.find(node);
    for (const CompoundArray& compound : found.compounds) {
        s.objects.erase(compound.attribute);
        for (unsigned long long child : compound.childAttributes) s.objects.erase(child);
    }
    s.nodeByName.erase(found.name);
    s.objects.erase(ObjectAccess::id(node));
    return true;
}

std::string renameNode(const MObject& node, const std::string& name) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.isNode(node)) return std::string();
    SceneObject& found = *s.find(node);
    s.nodeByName.erase(found.name);
    found.name = freeName(s, name, found.typeName);
    s.nodeByName[found.name] = ObjectAccess::id(node);
    return found.name;
}

MObject findNode(const std::string& name) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.nodeByName.find(name);
    return found == s.nodeByName.end() ? MObject() : ObjectAccess::make(found->second);
}

bool isAlive(const MObject& node) {
    return typeOf(node) != MFn::kInvalid;
}

void clearScene() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.objects.clear();
    s.nodeByName.clear();
    s.selection.clear();
    s.undoList.clear();
    s.journal.clear();
    s.journalOn = false;
}

MObject createComponent(MFn::Type type, const std::vector<int>& elements) {
    if (!isKindOf(type, MFn::kComponent)) return MObject();
    SceneObject component;
    component.type = type;
    component.componentType = type;
    component.componentElements = elements;
    std::sort(component.componentElements.begin(), component.componentElements.end());
    component.componentElements.erase(
        std::unique(component.componentElements.begin(), component.componentElements.end()),
        component.componentElements.end());
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    return ObjectAccess::make(s.add(std::move(component)));
}

void setActiveSelection(const std::vector<SelectedItem>& items) {
    std::vector<SelectionEntry> entries;
    for (const SelectedItem& item : items) {
        const MFn::Type type = typeOf(item.object);
        if (!isKindOf(type, MFn::kDependencyNode)) continue;
        MObject component;
        if (item.kind != ComponentKind::none && isKindOf(type, MFn::kDagNode))
            component = createComponent(typeOfKind(item.kind), item.elements);
        entries.push_back({item.object, component});
    }
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.selection = std::move(entries);
}

std::shared_ptr<const Mesh> meshOf(const MObject& object) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const SceneObject* found = s.find(object);
    return found ? found->mesh : nullptr;
}

bool lookUp(const MObject& object, ObjectRecord& record) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const SceneObject* found = s.find(object);
    if (!found) return false;
    record.type = found->type;
    record.typeName = found->typeName;
    record.name = found->name;
    return true;
}

MFn::Type typeOf(const MObject& object) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const SceneObject* found = s.find(object);
    return found ? found->type : MFn::kInvalid;
}

} // namespace headless
