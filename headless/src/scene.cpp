// SPDX-License-Identifier: Apache-2.0
// The node table. Handles carry a number that is counted up and never used again, so an outlived handle finds
// no entry; nothing is ever reached through a pointer that a handle keeps.
#include "scene/scene.h"
#include "object_access.h"

#include <map>
#include <mutex>
#include <unordered_map>

namespace headless {
namespace {

struct Scene {
    std::mutex mutex;
    unsigned long long lastId = 0;
    std::unordered_map<unsigned long long, ObjectRecord> records;
    std::map<std::string, unsigned long long> idByName;
};

// Never destroyed: objects of the host with static lifetime may still hold nodes when the process ends.
Scene& scene() {
    static Scene& instance = *new Scene;
    return instance;
}

// Caller holds the mutex.
std::string freeName(const Scene& s, const std::string& wanted, const std::string& typeName) {
    const std::string& stem = wanted.empty() ? typeName : wanted;
    if (!wanted.empty() && s.idByName.find(wanted) == s.idByName.end()) return wanted;
    for (unsigned long long number = 1;; ++number) {
        std::string candidate = stem + std::to_string(number);
        if (s.idByName.find(candidate) == s.idByName.end()) return candidate;
    }
}

} // namespace

MObject createNode(const std::string& typeName, const std::string& name) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    ObjectRecord record;
    record.type = MFn::kPluginDependNode;
    record.typeName = typeName;
    record.name = freeName(s, name, typeName);
    const unsigned long long id = ++s.lastId;
    s.idByName[record.name] = id;
    s.records.emplace(id, std::move(record));
    return ObjectAccess::make(id);
}

bool deleteNode(const MObject& node) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.records.find(ObjectAccess::id(node));
    if (found == s.records.end()) return false;
    s.idByName.erase(found->second.name);
    s.records.erase(found);
    return true;
}

std::string renameNode(const MObject& node, const std::string& name) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.records.find(ObjectAccess::id(node));
    if (found == s.records.end()) return std::string();
    ObjectRecord& record = found->second;
    s.idByName.erase(record.name);
    record.name = freeName(s, name, record.typeName);
    s.idByName[record.name] = found->first;
    return record.name;
}

MObject findNode(const std::string& name) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.idByName.find(name);
    return found == s.idByName.end() ? MObject() : ObjectAccess::make(found->second);
}

bool isAlive(const MObject& node) {
    return typeOf(node) != MFn::kInvalid;
}

void clearScene() {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.records.clear();
    s.idByName.clear();
}

bool lookUp(const MObject& object, ObjectRecord& record) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.records.find(ObjectAccess::id(object));
    if (found == s.records.end()) return false;
    record = found->second;
    return true;
}

MFn::Type typeOf(const MObject& object) {
    Scene& s = scene();
    std::lock_guard<std::mutex> lock(s.mutex);
    const auto found = s.records.find(ObjectAccess::id(object));
    return found == s.records.end() ? MFn::kInvalid : found->second.type;
}

} // namespace headless
