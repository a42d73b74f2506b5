// SPDX-License-Identifier: Apache-2.0
// Selection lists, paths and components.
#include "scene_state.h"

#include <maya/MDagPath.h>
#include <maya/MFnSingleIndexedComponent.h>
#include <maya/MGlobal.h>
#include <maya/MIntArray.h>
#include <maya/MMatrix.h>
#include <maya/MSelectionList.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <algorithm>
#include <string_view>

namespace headless {

struct SelectionItems {
    std::vector<SelectionEntry> entries;

    static SelectionItems* of(const MSelectionList& list) { return list.items; }
};

namespace {

void setStatus(MStatus* status, bool good) {
    if (status) *status = good ? MStatus::kSuccess : MStatus::kFailure;
}

MStatus statusOf(bool good) {
    return good ? MStatus::kSuccess : MStatus::kFailure;
}

// `*` stands for any text, `?` for one byte. Goes back to the last star only, so it ends after at most
// pattern times name steps.
bool matches(std::string_view pattern, std::string_view name) {
    std::size_t p = 0, n = 0, afterStar = std::string_view::npos, retry = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            retry = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (afterStar != std::string_view::npos) {
            p = afterStar;
            n = ++retry;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

bool isNode(const MObject& object) {
    return isKindOf(typeOf(object), MFn::kDependencyNode);
}
bool isPlaced(const MObject& object) {
    return isKindOf(typeOf(object), MFn::kDagNode);
}

// Runs work(component) under the lock; false when the object is no component now.
template <typename Work>
bool withComponent(const MObject& object, MFn::Type type, const Work& work) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    SceneObject* found = s.find(object);
    if (!found || !isKindOf(found->type, type)) return false;
    work(*found);
    return true;
}

} // namespace
} // namespace headless

using namespace headless;

namespace Autodesk::Maya::OpenMaya20240000 {

MStatus MGlobal::getActiveSelectionList(MSelectionList& dest, bool) {
    noteApiCall("MGlobal::getActiveSelectionList");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    SelectionItems::of(dest)->entries = s.selection;
    return MStatus::kSuccess;
}

MSelectionList::MSelectionList() : items(new SelectionItems) {}
MSelectionList::MSelectionList(const MSelectionList& src) : items(new SelectionItems(*src.items)) {}
MSelectionList::~MSelectionList() {
    delete items;
}
MSelectionList& MSelectionList::operator=(const MSelectionList& src) {
    *items = *src.items;
    return *this;
}

MStatus MSelectionList::add(const MString& matchString, const bool) {
    noteApiCall("MSelectionList::add");
    int length = 0;
    const char* bytes = matchString.asChar(length);
    std::string_view pattern(bytes, static_cast<std::size_t>(length));
    // The full path of a placed node names it too.
    const bool isPath = !pattern.empty() && pattern[0] == '|';
    if (isPath) pattern.remove_prefix(1);
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    bool any = false;
    const auto take = [&](unsigned long long id) {
        if (isPath && !isKindOf(s.find(id)->type, MFn::kDagNode)) return;
        items->entries.push_back({ObjectAccess::make(id), MObject()});
        any = true;
    };
    const auto exact = s.nodeByName.find(std::string(pattern));
    if (exact != s.nodeByName.end()) {
        take(exact->second);
    } else if (pattern.find_first_of("*?") != std::string_view::npos) {
        for (const auto& [name, id] : s.nodeByName) {
            if (matches(pattern, name)) take(id);
        }
    }
    return statusOf(any);
}

MStatus MSelectionList::add(const MObject& object, const bool mergeWithExisting) {
    noteApiCall("MSelectionList::add");
    if (!isNode(object)) return MStatus::kFailure;
    for (const SelectionEntry& entry : items->entries) {
        if (mergeWithExisting && entry.object == object && entry.component.isNull()) return MStatus::kSuccess;
    }
    items->entries.push_back({object, MObject()});
    return MStatus::kSuccess;
}

MStatus MSelectionList::add(const MDagPath& object, const MObject& component, const bool mergeWithExisting) {
    noteApiCall("MSelectionList::add");
    const MObject node = object.node();
    const bool good = !node.isNull() && (component.isNull() || isKindOf(typeOf(component), MFn::kComponent));
    if (!good) return MStatus::kFailure;
    for (const SelectionEntry& entry : items->entries) {
        if (mergeWithExisting && entry.object == node && entry.component == component)
            return MStatus::kSuccess;
    }
    items->entries.push_back({node, component});
    return MStatus::kSuccess;
}

bool MSelectionList::isEmpty(MStatus* ReturnStatus) const {
    noteApiCall("MSelectionList::isEmpty");
    setStatus(ReturnStatus, true);
    return items->entries.empty();
}

unsigned int MSelectionList::length(MStatus* ReturnStatus) const {
    noteApiCall("MSelectionList::length");
    setStatus(ReturnStatus, true);
    return static_cast<unsigned int>(items->entries.size());
}

MStatus MSelectionList::getDependNode(unsigned int index, MObject& depNode) const {
    noteApiCall("MSelectionList::getDependNode");
    const bool good = index < items->entries.size() && isNode(items->entries[index].object);
    depNode = good ? items->entries[index].object : MObject();
    return statusOf(good);
}

MStatus MSelectionList::getDagPath(unsigned int index, MDagPath& dagPath, MObject& component) const {
    noteApiCall("MSelectionList::getDagPath");
    if (index >= items->entries.size() || !isPlaced(items->entries[index].object)) return MStatus::kFailure;
    MDagPath::getAPathTo(items->entries[index].object, dagPath);
    // The default stands for every left-out argument at once; what is in it is nobody's result.
    if (&component != &MObject::kNullObj) component = items->entries[index].component;
    return MStatus::kSuccess;
}

MStatus MSelectionList::clear() {
    noteApiCall("MSelectionList::clear");
    items->entries.clear();
    return MStatus::kSuccess;
}

MDagPath::MDagPath() = default;
MDagPath::MDagPath(const MDagPath& src) = default;
MDagPath::~MDagPath() = default;
MDagPath& MDagPath::operator=(const MDagPath& src) = default;

MObject MDagPath::node(MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::node");
    const bool good = isPlaced(last);
    setStatus(ReturnStatus, good);
    return good ? last : MObject();
}

MFn::Type MDagPath::apiType(MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::apiType");
    setStatus(ReturnStatus, isPlaced(last));
    return typeOf(last);
}

bool MDagPath::hasFn(MFn::Type type, MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::hasFn");
    setStatus(ReturnStatus, isPlaced(last));
    return isKindOf(typeOf(last), type);
}

bool MDagPath::isValid(MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::isValid");
    setStatus(ReturnStatus, true);
    return isPlaced(last);
}

MString MDagPath::fullPathName(MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::fullPathName");
    ObjectRecord record;
    const bool good = lookUp(last, record);
    setStatus(ReturnStatus, good);
    if (!good) return MString();
    const std::string full = "|" + record.name;
    return MString(full.data(), static_cast<int>(full.size()));
}

MMatrix MDagPath::inclusiveMatrix(MStatus* ReturnStatus) const {
    noteApiCall("MDagPath::inclusiveMatrix");
    setStatus(ReturnStatus, isPlaced(last));
    return MMatrix();
}

MStatus MDagPath::getAPathTo(const MObject& node, MDagPath& path) {
    noteApiCall("MDagPath::getAPathTo");
    const bool good = isPlaced(node);
    path.last = good ? node : MObject();
    return statusOf(good);
}

// As in the node function set: each constructor attaches by its own class's type.
MFnComponent::MFnComponent() = default;
MFnComponent::~MFnComponent() = default;
MFnComponent::MFnComponent(MObject& object, MStatus* ReturnStatus)
    : MFnComponent(static_cast<const MObject&>(object), ReturnStatus) {}
MFnComponent::MFnComponent(const MObject& object, MStatus* ReturnStatus) {
    setStatus(ReturnStatus, MFnBase::setObject(object));
}

MFn::Type MFnComponent::type() const {
    return MFn::kComponent;
}

int MFnComponent::elementCount(MStatus* ReturnStatus) const {
    noteApiCall("MFnComponent::elementCount");
    int count = 0;
    setStatus(ReturnStatus, withComponent(object(), MFn::kComponent, [&](const SceneObject& component) {
                  count = static_cast<int>(component.componentElements.size());
              }));
    return count;
}

bool MFnComponent::isEmpty(MStatus* ReturnStatus) const {
    return elementCount(ReturnStatus) == 0;
}

MFn::Type MFnComponent::componentType(MStatus* ReturnStatus) const {
    noteApiCall("MFnComponent::componentType");
    MFn::Type found = MFn::kInvalid;
    setStatus(ReturnStatus, withComponent(object(), MFn::kComponent, [&](const SceneObject& component) {
                  found = component.componentType;
              }));
    return found;
}

MFnSingleIndexedComponent::MFnSingleIndexedComponent() = default;
MFnSingleIndexedComponent::~MFnSingleIndexedComponent() = default;
MFnSingleIndexedComponent::MFnSingleIndexedComponent(MObject& object, MStatus* ReturnStatus)
    : MFnSingleIndexedComponent(static_cast<const MObject&>(object), ReturnStatus) {}
MFnSingleIndexedComponent::MFnSingleIndexedComponent(const MObject& object, MStatus* ReturnStatus) {
    setStatus(ReturnStatus, MFnBase::setObject(object));
}

MFn::Type MFnSingleIndexedComponent::type() const {
    return MFn::kSingleIndexedComponent;
}

MObject MFnSingleIndexedComponent::create(MFn::Type compType, MStatus* ReturnStatus) {
    noteApiCall("MFnSingleIndexedComponent::create");
    const bool good = isKindOf(compType, MFn::kSingleIndexedComponent);
    const MObject made = good ? createComponent(compType, {}) : MObject();
    MFnBase::setObject(made);
    setStatus(ReturnStatus, good);
    return made;
}

MStatus MFnSingleIndexedComponent::getElements(MIntArray& elements) const {
    noteApiCall("MFnSingleIndexedComponent::getElements");
    elements.clear();
    return statusOf(withComponent(object(), MFn::kSingleIndexedComponent, [&](const SceneObject& component) {
        for (int element : component.componentElements) elements.append(element);
    }));
}

MStatus MFnSingleIndexedComponent::addElement(int element) {
    noteApiCall("MFnSingleIndexedComponent::addElement");
    return statusOf(withComponent(object(), MFn::kSingleIndexedComponent, [&](SceneObject& component) {
        std::vector<int>& all = component.componentElements;
        const auto at = std::lower_bound(all.begin(), all.end(), element);
        if (at == all.end() || *at != element) all.insert(at, element);
    }));
}

MStatus MFnSingleIndexedComponent::addElements(MIntArray& elements) {
    noteApiCall("MFnSingleIndexedComponent::addElements");
    return statusOf(withComponent(object(), MFn::kSingleIndexedComponent, [&](SceneObject& component) {
        std::vector<int>& all = component.componentElements;
        all.insert(all.end(), elements.begin(), elements.end());
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
    }));
}

} // namespace Autodesk::Maya::OpenMaya20240000
