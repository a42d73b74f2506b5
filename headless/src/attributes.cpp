// SPDX-License-Identifier: Apache-2.0
// Attributes of nodes by name, the write journal, and the count of misuses.
#include "scene/attributes.h"
#include "array_storage.h"
#include "data_block.h"
#include "scene_state.h"

#include <algorithm>
#include <set>

namespace headless {
namespace {

struct Misuse {
    std::mutex mutex;
    unsigned long long count = 0;
    const char* first = "";
};

Misuse& misuse() {
    static Misuse& instance = *new Misuse;
    return instance;
}

// Caller holds the scene's mutex. False when node or attribute do not exist.
bool placeOf(Scene& s, const FloatArrayPath& path, FloatPlace& place) {
    const SceneObject* node = s.find(path.node);
    if (!node) return false;
    for (std::size_t c = 0; c < node->compounds.size(); ++c) {
        const CompoundArray& compound = node->compounds[c];
        if (compound.name != path.compound) continue;
        const auto child = std::find(compound.children.begin(), compound.children.end(), path.child);
        if (child == compound.children.end()) return false;
        place.node = ObjectAccess::id(path.node);
        place.compound = c;
        place.index = path.index;
        place.child = static_cast<int>(child - compound.children.begin());
        return true;
    }
    return false;
}

} // namespace

std::vector<SparseFloats>& CompoundArray::element(unsigned int index) {
    std::vector<SparseFloats>& arrays = elements[index];
    arrays.resize(children.size());
    return arrays;
}

SparseFloats* Scene::arrayAt(const FloatPlace& place) {
    SceneObject* node = find(place.node);
    if (!node || place.compound >= node->compounds.size()) return nullptr;
    CompoundArray& compound = node->compounds[place.compound];
    const std::size_t child = static_cast<std::size_t>(place.child);
    return child < compound.children.size() ? &compound.element(place.index)[child] : nullptr;
}

bool addCompoundArray(const MObject& node, const std::string& compound,
                      const std::vector<std::string>& children) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.isNode(node)) return false;
    std::set<std::string> names(children.begin(), children.end());
    names.insert(compound);
    if (names.size() != children.size() + 1 || names.count(std::string())) return false;
    for (const CompoundArray& other : s.find(node)->compounds) {
        if (names.count(other.name)) return false;
        for (const std::string& child : other.children) {
            if (names.count(child)) return false;
        }
    }
    CompoundArray made;
    made.name = compound;
    made.children = children;
    SceneObject attribute;
    attribute.type = MFn::kNamedObject;
    attribute.name = compound;
    attribute.owner = ObjectAccess::id(node);
    attribute.compound = s.find(node)->compounds.size();
    made.attribute = s.add(attribute);
    for (std::size_t i = 0; i < children.size(); ++i) {
        attribute.name = children[i];
        attribute.child = static_cast<int>(i);
        made.childAttributes.push_back(s.add(attribute));
    }
    s.find(node)->compounds.push_back(std::move(made));
    return true;
}

std::vector<FloatElement> floatElements(const FloatArrayPath& path) {
    std::vector<FloatElement> found;
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    FloatPlace place;
    if (!placeOf(s, path, place)) return found;
    const CompoundArray& compound = s.find(path.node)->compounds[place.compound];
    const auto element = compound.elements.find(path.index);
    if (element == compound.elements.end()) return found;
    element->second[static_cast<std::size_t>(place.child)].forEach([&](unsigned int index, float value) {
        found.push_back({index, value});
    });
    return found;
}

bool setFloatElements(const FloatArrayPath& path, const std::vector<float>& values) {
    std::vector<FloatElement> elements;
    elements.reserve(values.size());
    for (float value : values) elements.push_back({static_cast<unsigned int>(elements.size()), value});
    return setSparseFloatElements(path, elements);
}

bool setSparseFloatElements(const FloatArrayPath& path, const std::vector<FloatElement>& elements) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    FloatPlace place;
    if (!placeOf(s, path, place)) return false;
    SparseFloats& array = *s.arrayAt(place);
    array = SparseFloats();
    for (const FloatElement& element : elements) array.get(element.index) = element.value;
    return true;
}

std::vector<unsigned int> compoundElements(const MObject& node, const std::string& compound) {
    std::vector<unsigned int> indices;
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const SceneObject* found = s.find(node);
    if (!found) return indices;
    for (const CompoundArray& candidate : found->compounds) {
        if (candidate.name != compound) continue;
        for (const auto& element : candidate.elements) indices.push_back(element.first);
    }
    return indices;
}

void startWriteJournal() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.journal.clear();
    s.journalOn = true;
}

std::vector<WrittenElement> writeJournal() {
    std::vector<WrittenElement> written;
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    written.reserve(s.journal.size());
    for (const JournalEntry& entry : s.journal) {
        WrittenElement element;
        element.node = ObjectAccess::make(entry.place.node);
        // A node deleted since has no names left to tell.
        if (const SceneObject* node = s.find(entry.place.node)) {
            const CompoundArray& compound = node->compounds[entry.place.compound];
            element.compound = compound.name;
            element.child = compound.children[static_cast<std::size_t>(entry.place.child)];
        }
        element.index = entry.place.index;
        element.element = entry.place.element;
        element.value = entry.value;
        element.kind = entry.kind;
        element.existed = entry.existed;
        written.push_back(std::move(element));
    }
    return written;
}

void stopWriteJournal() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.journal.clear();
    s.journalOn = false;
}

void noteMisuse(const char* what) {
    Misuse& m = misuse();
    std::lock_guard<std::mutex> lock(m.mutex);
    if (m.count++ == 0) m.first = what;
}

unsigned long long misuseCount() {
    Misuse& m = misuse();
    std::lock_guard<std::mutex> lock(m.mutex);
    return m.count;
}

std::string firstMisuse() {
    Misuse& m = misuse();
    std::lock_guard<std::mutex> lock(m.mutex);
    return m.first;
}

unsigned long long openHandleCount() {
    return DataBlock::openCount();
}

void resetMisuse() {
    DataBlock::forgetOpen();
    Misuse& m = misuse();
    std::lock_guard<std::mutex> lock(m.mutex);
    m.count = 0;
    m.first = "";
}

} // namespace headless
