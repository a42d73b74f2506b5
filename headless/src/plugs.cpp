// SPDX-License-Identifier: Apache-2.0
// MPlug, and how MFnDependencyNode finds attributes. Every query looks node and attribute up anew.
#include "array_storage.h"
#include "data_block.h"

#include <maya/MDataHandle.h>
#include <maya/MFnDependencyNode.h>
#include <maya/MPlug.h>
#include <maya/MStatus.h>
#include <maya/MString.h>

#include <algorithm>

namespace headless {

/// Reaches into a plug, and finds what it names.
struct PlugAccess {
    static MPlug element(MPlug plug, bool ofCompound, unsigned int index) {
        (ofCompound ? plug.compoundIndex : plug.elementIndex) = index;
        (ofCompound ? plug.hasCompoundIndex : plug.hasElementIndex) = true;
        return plug;
    }
    static MPlug child(MPlug plug, const MObject& attribute) {
        plug.plugAttribute = attribute;
        return plug;
    }

    /// What a plug names, while the caller holds the scene's mutex; all null when it names nothing.
    struct Target {
        SceneObject* node = nullptr;
        SceneObject* attribute = nullptr;
        CompoundArray* compound = nullptr;
        bool isChild = false;
        bool hasIndex = false;   // of the compound's element
        bool hasElement = false; // of the child's element
        FloatPlace place;

        explicit operator bool() const { return node != nullptr; }
        bool isFloatArray() const { return isChild && hasIndex && !hasElement; }
        bool isFloat() const { return isChild && hasIndex && hasElement; }
    };

    static Target find(Scene& s, const MPlug& plug) {
        Target target;
        SceneObject* node = s.find(plug.plugNode);
        SceneObject* attribute = s.find(plug.plugAttribute);
        if (!node || !attribute || attribute->owner != ObjectAccess::id(plug.plugNode)) return target;
        target.node = node;
        target.attribute = attribute;
        target.compound = &node->compounds[attribute->compound];
        target.isChild = attribute->child != kNoChild;
        target.hasIndex = plug.hasCompoundIndex;
        target.hasElement = target.isChild && plug.hasElementIndex;
        target.place.node = ObjectAccess::id(plug.plugNode);
        target.place.compound = attribute->compound;
        target.place.index = plug.compoundIndex;
        target.place.child = attribute->child;
        target.place.element = plug.elementIndex;
        return target;
    }
};

namespace {

void setStatus(MStatus* status, bool good) {
    if (status) *status = good ? MStatus::kSuccess : MStatus::kFailure;
}

bool samePlug(const FloatPlace& a, const FloatPlace& b, DataBlock::Shape shape) {
    return a.node == b.node && a.compound == b.compound && a.index == b.index && a.child == b.child &&
           (shape == DataBlock::Shape::array || a.element == b.element);
}

// The attribute's object by name; null when the node has none of that name.
MObject attributeOf(const MObject& node, const MString& name) {
    int length = 0;
    const char* bytes = name.asChar(length);
    const std::string wanted(bytes, static_cast<std::size_t>(length));
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const SceneObject* found = s.find(node);
    if (!found) return MObject();
    for (const CompoundArray& compound : found->compounds) {
        if (compound.name == wanted) return ObjectAccess::make(compound.attribute);
        for (std::size_t i = 0; i < compound.children.size(); ++i) {
            if (compound.children[i] == wanted) return ObjectAccess::make(compound.childAttributes[i]);
        }
    }
    return MObject();
}

} // namespace
} // namespace headless

using namespace headless;

namespace Autodesk::Maya::OpenMaya20240000 {

MPlug MFnDependencyNode::findPlug(const MString& attrName, bool, MStatus* ReturnStatus) const {
    noteApiCall("MFnDependencyNode::findPlug");
    const MObject node = object();
    const MObject attribute = attributeOf(node, attrName);
    setStatus(ReturnStatus, !attribute.isNull());
    return attribute.isNull() ? MPlug() : MPlug(node, attribute);
}

MPlug MFnDependencyNode::findPlug(const MObject& attr, bool, MStatus* ReturnStatus) const {
    noteApiCall("MFnDependencyNode::findPlug");
    MPlug plug(object(), attr);
    const bool found = !plug.isNull();
    setStatus(ReturnStatus, found);
    return found ? plug : MPlug();
}

MObject MFnDependencyNode::attribute(const MString& attrName, MStatus* ReturnStatus) const {
    noteApiCall("MFnDependencyNode::attribute");
    const MObject found = attributeOf(object(), attrName);
    setStatus(ReturnStatus, !found.isNull());
    return found;
}

MPlug::MPlug() : compoundIndex(0), elementIndex(0), hasCompoundIndex(false), hasElementIndex(false) {}
MPlug::MPlug(const MPlug& in) = default;
MPlug::MPlug(const MObject& node, const MObject& attribute) : MPlug() {
    plugNode = node;
    plugAttribute = attribute;
}
MPlug::~MPlug() = default;
MPlug& MPlug::operator=(const MPlug& other) = default;

MObject MPlug::attribute(MStatus* ReturnStatus) const {
    const bool null = isNull();
    setStatus(ReturnStatus, !null);
    return null ? MObject() : plugAttribute;
}

MObject MPlug::node(MStatus* ReturnStatus) const {
    const bool null = isNull();
    setStatus(ReturnStatus, !null);
    return null ? MObject() : plugNode;
}

MString MPlug::name(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::name");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    setStatus(ReturnStatus, static_cast<bool>(target));
    if (!target) return MString();
    const auto text = [](bool known, unsigned int index) {
        return known ? "[" + std::to_string(index) + "]" : std::string("[-1]");
    };
    std::string full = target.node->name + "." + target.compound->name;
    if (hasCompoundIndex || target.isChild) full += text(hasCompoundIndex, compoundIndex);
    if (target.isChild) full += "." + target.attribute->name;
    if (target.hasElement) full += text(true, elementIndex);
    return MString(full.data(), static_cast<int>(full.size()));
}

bool MPlug::isNull(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::isNull");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    setStatus(ReturnStatus, true);
    return !PlugAccess::find(s, *this);
}

bool MPlug::isArray(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::isArray");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    setStatus(ReturnStatus, static_cast<bool>(target));
    return target && (target.isChild ? !target.hasElement : !target.hasIndex);
}

bool MPlug::isCompound(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::isCompound");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    setStatus(ReturnStatus, static_cast<bool>(target));
    return target && !target.isChild;
}

bool MPlug::isElement(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::isElement");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    setStatus(ReturnStatus, static_cast<bool>(target));
    return target && (target.isChild ? target.hasElement : target.hasIndex);
}

unsigned int MPlug::numElements(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::numElements");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    const bool compoundArray = target && !target.isChild && !target.hasIndex;
    setStatus(ReturnStatus, compoundArray || target.isFloatArray());
    if (compoundArray) return static_cast<unsigned int>(target.compound->elements.size());
    return target.isFloatArray() ? static_cast<unsigned int>(s.arrayAt(target.place)->size()) : 0;
}

unsigned int MPlug::logicalIndex(MStatus* ReturnStatus) const {
    const bool element = isElement();
    setStatus(ReturnStatus, element);
    return !element ? 0 : hasElementIndex ? elementIndex : compoundIndex;
}

MPlug MPlug::elementByLogicalIndex(unsigned int index, MStatus* ReturnStatus) {
    noteApiCall("MPlug::elementByLogicalIndex");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    PlugAccess::Target target = PlugAccess::find(s, *this);
    const bool ofCompound = target && !target.isChild && !target.hasIndex;
    const bool good = ofCompound || target.isFloatArray();
    setStatus(ReturnStatus, good);
    if (!good) return MPlug();
    if (ofCompound)
        target.compound->element(index);
    else
        s.arrayAt(target.place)->get(index);
    return PlugAccess::element(*this, ofCompound, index);
}

MPlug MPlug::child(const MObject& attr, MStatus* ReturnStatus) {
    noteApiCall("MPlug::child");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    bool good = target && !target.isChild && target.hasIndex;
    if (good) {
        const std::vector<unsigned long long>& ids = target.compound->childAttributes;
        good = std::find(ids.begin(), ids.end(), ObjectAccess::id(attr)) != ids.end();
    }
    setStatus(ReturnStatus, good);
    return good ? PlugAccess::child(*this, attr) : MPlug();
}

MPlug MPlug::child(unsigned int index, MStatus* ReturnStatus) {
    MObject attribute;
    {
        Scene& s = scene();
        std::lock_guard<std::mutex> lock(s.mutex);
        const PlugAccess::Target target = PlugAccess::find(s, *this);
        if (target && index < target.compound->childAttributes.size())
            attribute = ObjectAccess::make(target.compound->childAttributes[index]);
    }
    return child(attribute, ReturnStatus);
}

float MPlug::asFloat(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::asFloat");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    const float* value = target.isFloat() ? s.arrayAt(target.place)->find(elementIndex) : nullptr;
    setStatus(ReturnStatus, target.isFloat());
    return value ? *value : 0.0f;
}

MDataHandle MPlug::asMDataHandle(MStatus* ReturnStatus) const {
    noteApiCall("MPlug::asMDataHandle");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    const bool good = target.isFloat() || target.isFloatArray();
    setStatus(ReturnStatus, good);
    if (!good) return MDataHandle();
    DataBlock* block = DataBlock::make(true);
    block->place = target.place;
    const SparseFloats& array = *s.arrayAt(target.place);
    if (target.isFloatArray()) {
        block->shape = DataBlock::Shape::array;
        block->values = array;
    } else {
        const float* value = array.find(elementIndex);
        block->values.get(0) = value ? *value : 0.0f;
    }
    return DataAccess::make<MDataHandle>(block);
}

MStatus MPlug::setMDataHandle(MDataHandle& handle) {
    noteApiCall("MPlug::setMDataHandle");
    DataBlock* block = DataAccess::block(handle);
    if (!block || block->hasEnded()) {
        noteMisuse("MPlug::setMDataHandle with a handle without a value or after its end");
        return MStatus::kFailure;
    }
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    if (!target || DataAccess::isElement(handle)) return MStatus::kFailure;
    const bool isArray = block->shape == DataBlock::Shape::array;
    if (isArray ? !target.isFloatArray() : !target.isFloat()) return MStatus::kFailure;
    SparseFloats& array = *s.arrayAt(target.place);
    FloatPlace place = target.place;
    if (!isArray) {
        array.get(elementIndex) = *block->values.find(0);
        s.note(place, *block->values.find(0), WriteKind::handle, true);
        return MStatus::kSuccess;
    }
    array = block->values;
    if (s.journalOn)
        block->written.forEach([&](unsigned int index, float) {
            place.element = index;
            if (const float* value = array.find(index)) s.note(place, *value, WriteKind::handle, true);
        });
    block->written = SparseFloats();
    return MStatus::kSuccess;
}

void MPlug::destructHandle(MDataHandle& handle) {
    noteApiCall("MPlug::destructHandle");
    DataBlock* block = DataAccess::block(handle);
    if (!block || DataAccess::isElement(handle)) {
        noteMisuse("MPlug::destructHandle of a handle that no plug gave out");
        return;
    }
    if (!block->end()) noteMisuse("MPlug::destructHandle of an ended handle");
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const PlugAccess::Target target = PlugAccess::find(s, *this);
    if (!target || !samePlug(target.place, block->place, block->shape))
        noteMisuse("MPlug::destructHandle of another plug's handle");
}

} // namespace Autodesk::Maya::OpenMaya20240000
