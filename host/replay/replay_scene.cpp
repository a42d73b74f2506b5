// SPDX-License-Identifier: Apache-2.0
#include "host/replay/replay_scene.h"

#include "headless/scene/attributes.h"
#include "headless/scene/mel.h"
#include "headless/scene/scene.h"
#include "host/host_error.h"

#include <algorithm>
#include <set>

namespace talvisora::host {

namespace {

const char* const kBlock = "block";
const char* const kBlockAttribute = "talvisora__block";
const char* const kChildren[] = {"params", "blockWeights"};

std::string attributeName(const std::string& child) {
    return "talvisora__" + child;
}

headless::FloatArrayPath pathOf(const MObject& node, const BlockArray& array) {
    return {node, kBlock, array.first, array.second};
}

MObject makeMesh(const CaptureMesh& mesh, std::size_t number) {
    const std::string place = "/meshes/" + std::to_string(number);
    if (!headless::findNode(mesh.name).isNull())
        throw HostError(ExitCode::kInput, place + "/name: '" + mesh.name + "' is in use");
    std::vector<headless::Position> points;
    points.reserve(mesh.points.size());
    for (const Vec3d& p : mesh.points) points.push_back({p.x, p.y, p.z});
    std::vector<int> counts, vertices;
    for (const std::vector<std::int32_t>& face : mesh.faces) {
        counts.push_back(static_cast<int>(face.size()));
        vertices.insert(vertices.end(), face.begin(), face.end());
    }
    std::string error;
    const MObject made = headless::createMesh(mesh.name, points, counts, vertices, &error);
    if (made.isNull()) throw HostError(ExitCode::kInput, place + ": " + error);
    return made;
}

headless::ComponentKind componentKind(SelectionItem::Kind kind) {
    switch (kind) {
    case SelectionItem::Kind::kVertices:
        return headless::ComponentKind::vertices;
    case SelectionItem::Kind::kEdges:
        return headless::ComponentKind::edges;
    case SelectionItem::Kind::kFaces:
        return headless::ComponentKind::faces;
    case SelectionItem::Kind::kObject:
    case SelectionItem::Kind::kNode:
        break;
    }
    return headless::ComponentKind::none;
}

std::vector<headless::FloatElement> elementsOf(const GrFloat& list) {
    std::vector<headless::FloatElement> elements;
    const std::size_t count = std::min(list.indices.size(), list.values.size());
    for (std::size_t k = 0; k < count; ++k)
        if (list.indices[k] >= 0)
            elements.push_back({static_cast<unsigned>(list.indices[k]), list.values[k]});
    return elements;
}

} // namespace

ReplayScene::ReplayScene(const std::vector<CaptureMesh>& meshes, const MObject& node) : node_(node) {
    headless::setActiveSelection({});
    headless::addCompoundArray(node_, kBlock, {kChildren[0], kChildren[1]});
    try {
        for (std::size_t k = 0; k < meshes.size(); ++k) {
            made_.push_back(makeMesh(meshes[k], k));
            meshes_[meshes[k].name] = made_.back();
        }
    } catch (...) {
        for (const MObject& object : made_) headless::deleteNode(object);
        throw;
    }
}

ReplayScene::~ReplayScene() {
    headless::stopWriteJournal();
    headless::clearCommands();
    headless::setActiveSelection({});
    for (const MObject& object : made_) headless::deleteNode(object);
}

void ReplayScene::select(const std::vector<SelectionItem>& items) {
    std::vector<headless::SelectedItem> selected;
    for (const SelectionItem& item : items) {
        headless::SelectedItem entry;
        entry.kind = componentKind(item.kind);
        entry.elements.assign(item.components.begin(), item.components.end());
        if (item.kind == SelectionItem::Kind::kNode) {
            entry.object = headless::findNode(item.name);
            if (entry.object.isNull()) {
                entry.object = headless::createNode("other", item.name);
                made_.push_back(entry.object);
            }
        } else if (const auto mesh = meshes_.find(item.name); mesh != meshes_.end()) {
            entry.object = mesh->second;
        }
        selected.push_back(std::move(entry));
    }
    headless::setActiveSelection(selected); // leaves out what is null
}

void ReplayScene::fill(const ValueMap& attributes) {
    const auto entry = attributes.find(kBlockAttribute);
    const auto blocks = entry == attributes.end() ? nullptr : castTo<GrCompound>(entry->second);
    const auto filled = static_cast<unsigned>(blocks ? blocks->values.size() : 0);
    const std::vector<unsigned> existing = headless::compoundElements(node_, kBlock);
    std::set<unsigned> all(existing.begin(), existing.end());
    for (unsigned b = 0; b < filled; ++b) all.insert(b);
    for (const unsigned b : all)
        for (const char* child : kChildren) {
            std::shared_ptr<GrFloat> list;
            if (b < filled) {
                const auto value = blocks->values[b].find(attributeName(child));
                if (value != blocks->values[b].end()) list = castTo<GrFloat>(value->second);
            }
            const auto elements = list ? elementsOf(*list) : std::vector<headless::FloatElement>{};
            headless::setSparseFloatElements(pathOf(node_, {b, child}), elements);
        }
}

void ReplayScene::startCall() {
    headless::clearCommands();
    headless::startWriteJournal();
}

SceneChange ReplayScene::finishCall() {
    SceneChange change;
    for (headless::Command& command : headless::takeCommands())
        change.commands.push_back(std::move(command.text));
    std::map<BlockArray, std::set<std::int32_t>> touched;
    for (const headless::WrittenElement& element : headless::writeJournal())
        if (element.node == node_)
            touched[{element.index, element.child}].insert(static_cast<std::int32_t>(element.element));
    headless::stopWriteJournal();
    for (const auto& [array, elements] : touched) {
        const IndexedFloats now = read(array);
        IndexedFloats& written = change.written[array];
        for (std::size_t k = 0; k < now.indices.size(); ++k)
            if (elements.count(now.indices[k])) {
                written.indices.push_back(now.indices[k]);
                written.values.push_back(now.values[k]);
            }
    }
    return change;
}

void ReplayScene::store(const SceneChange& change, ValueMap& attributes) const {
    const auto entry = attributes.find(kBlockAttribute);
    const auto blocks = entry == attributes.end() ? nullptr : castTo<GrCompound>(entry->second);
    if (!blocks || change.written.empty()) return;
    auto changed = std::make_shared<GrCompound>(*blocks);
    for (const auto& written : change.written) {
        const BlockArray& array = written.first;
        if (array.first >= changed->values.size()) continue;
        IndexedFloats now = read(array);
        auto list = std::make_shared<GrFloat>();
        list->indices = std::move(now.indices);
        list->values = std::move(now.values);
        changed->values[array.first][attributeName(array.second)] = list;
    }
    entry->second = changed;
}

IndexedFloats ReplayScene::read(const BlockArray& array) const {
    IndexedFloats list;
    for (const headless::FloatElement& element : headless::floatElements(pathOf(node_, array))) {
        list.indices.push_back(static_cast<std::int32_t>(element.index));
        list.values.push_back(element.value);
    }
    return list;
}

} // namespace talvisora::host
