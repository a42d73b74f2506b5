// SPDX-License-Identifier: Apache-2.0
// What a glTF document must keep to before the importer may read it: a node forest of sane depth, ranges
// inside the buffers, accessors of the types that are read, joint numbers inside the skin.
#include "host/character/reading/gltf_document.h"
#include "host/character/reading/parts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace talvisora::host::reading {

using nlohmann::json;

namespace {

constexpr std::size_t kMaxDepth = 2000; // the importer walks the nodes by recursion
constexpr int kFloat = 5126, kUnsignedByte = 5121, kUnsignedShort = 5123;

std::string numbered(const char* thing, std::size_t i) {
    return thing + (" " + std::to_string(i));
}

void checkExtensions(const GltfDocument& document) {
    const auto required = document.json.find("extensionsRequired");
    if (required == document.json.end()) return;
    if (!required->is_array()) refuse(document.path, "'extensionsRequired' is not a list");
    for (const json& name : *required)
        for (const char* refused :
             {"KHR_draco_mesh_compression", "EXT_meshopt_compression", "KHR_mesh_quantization"})
            if (name == refused)
                refuse(document.path, std::string("it needs ") + refused + "; export it without compression");
}

void checkNodes(const GltfDocument& document) {
    const json& nodes = objectList(document, document.json, "nodes");
    std::vector<std::size_t> parent(nodes.size(), nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const json& node = nodes[i];
        const std::string what = numbered("node", i);
        if (node.contains("name") && !node["name"].is_string())
            refuse(document.path, what + " has a name that is not a text");
        if (node.contains("mesh")) checkedIndex(document, node["mesh"], "meshes", what);
        if (node.contains("skin")) checkedIndex(document, node["skin"], "skins", what);
        if (!node.contains("children")) continue;
        if (!node["children"].is_array()) refuse(document.path, what + " has children that are not a list");
        for (const json& child : node["children"]) {
            const std::size_t c = checkedIndex(document, child, "nodes", what);
            if (c == i || parent[c] != nodes.size())
                refuse(document.path, numbered("node", c) + " has more than one parent; export it again");
            parent[c] = i;
        }
    }
    // One parent each: a walk upwards ends, or it is a cycle. Depths are kept so that each node is walked
    // once.
    std::vector<std::size_t> depth(nodes.size(), 0);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        std::vector<std::size_t> way;
        std::size_t at = i;
        while (at != nodes.size() && depth[at] == 0) {
            if (way.size() > kMaxDepth)
                refuse(document.path, numbered("node", i) + " lies in a cycle of nodes or deeper than " +
                                          std::to_string(kMaxDepth) + " levels; export it again");
            way.push_back(at);
            at = parent[at];
        }
        std::size_t d = at == nodes.size() ? 0 : depth[at];
        for (auto step = way.rbegin(); step != way.rend(); ++step) depth[*step] = ++d;
        if (d > kMaxDepth)
            refuse(document.path, "its nodes lie deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    if (document.json.contains("scene"))
        checkedIndex(document, document.json["scene"], "scenes", "the document");
    for (const json& scene : objectList(document, document.json, "scenes")) {
        if (!scene.contains("nodes")) continue;
        if (!scene["nodes"].is_array()) refuse(document.path, "a scene has nodes that are not a list");
        for (const json& root : scene["nodes"]) {
            const std::size_t r = checkedIndex(document, root, "nodes", "a scene");
            if (parent[r] != nodes.size())
                refuse(document.path, "a scene names " + numbered("node", r) + ", which is no root");
        }
    }
}

void demand(const GltfDocument& document, bool right, const std::string& what) {
    if (!right)
        refuse(document.path, what + " has a type or count that glTF does not allow; export it again");
}

/// Largest joint number of a JOINTS_n accessor.
std::size_t largestJoint(const GltfView& view) {
    std::size_t largest = 0;
    for (std::size_t i = 0; view.data && i < view.count; ++i)
        for (std::size_t c = 0; c < 4; ++c) {
            std::size_t value = 0;
            if (view.componentType == kUnsignedByte) {
                value = static_cast<unsigned char>(view.data[i * view.stride + c]);
            } else {
                std::uint16_t wide = 0;
                std::memcpy(&wide, view.data + i * view.stride + 2 * c, 2);
                value = wide;
            }
            largest = std::max(largest, value);
        }
    return largest;
}

bool allFinite(const GltfView& view) {
    for (std::size_t i = 0; view.data && i < view.count; ++i)
        for (std::size_t c = 0; c < view.components; ++c) {
            float value = 0.0f;
            std::memcpy(&value, view.data + i * view.stride + c * sizeof value, sizeof value);
            if (!std::isfinite(value)) return false;
        }
    return true;
}

/// The largest joint number that any primitive of the mesh names.
std::size_t checkMesh(const GltfDocument& document, const json& mesh, const std::string& what) {
    std::size_t largest = 0;
    for (const json& primitive : objectList(document, mesh, "primitives")) {
        const auto attributes = primitive.find("attributes");
        if (attributes == primitive.end() || !attributes->is_object() || !attributes->contains("POSITION"))
            refuse(document.path, what + " has a primitive without positions; export it again");
        const GltfView positions = viewAccessor(document, (*attributes)["POSITION"], what + " positions");
        demand(document, positions.components == 3 && positions.componentType == kFloat, what + " positions");
        for (const auto& [name, index] : attributes->items()) {
            const std::string place = what + " " + name;
            const GltfView view = viewAccessor(document, index, place);
            demand(document, view.count == positions.count, place);
            const bool real = view.componentType == kFloat;
            if (name == "NORMAL") demand(document, real && view.components == 3, place);
            if (name == "TANGENT") demand(document, real && view.components == 4, place);
            if (name.rfind("JOINTS_", 0) == 0) {
                demand(document,
                       view.components == 4 &&
                           (view.componentType == kUnsignedByte || view.componentType == kUnsignedShort),
                       place);
                largest = std::max(largest, largestJoint(view));
            }
            // The importer drops weights that are not a number; the file is broken all the same.
            if (name.rfind("WEIGHTS_", 0) == 0 && real && !allFinite(view))
                refuse(document.path, place + " has a weight that is not finite; export it again");
            if (name.rfind("WEIGHTS_", 0) == 0)
                demand(document,
                       view.components == 4 && (real || view.componentType == kUnsignedByte ||
                                                view.componentType == kUnsignedShort),
                       place);
        }
        if (primitive.contains("indices")) {
            const GltfView view = viewAccessor(document, primitive["indices"], what + " indices");
            demand(document, view.components == 1 && view.componentType != kFloat, what + " indices");
        }
    }
    return largest;
}

void checkMeshesAndSkins(const GltfDocument& document) {
    const json& skins = objectList(document, document.json, "skins");
    for (std::size_t s = 0; s < skins.size(); ++s) {
        const std::string what = numbered("skin", s);
        const auto joints = skins[s].find("joints");
        if (joints == skins[s].end() || !joints->is_array() || joints->empty())
            refuse(document.path, what + " names no joints; export it again");
        for (const json& joint : *joints) checkedIndex(document, joint, "nodes", what);
        if (!skins[s].contains("inverseBindMatrices")) continue;
        const GltfView view =
            viewAccessor(document, skins[s]["inverseBindMatrices"], what + " inverse bind matrices");
        demand(document,
               view.components == 16 && view.componentType == kFloat && view.count >= joints->size(),
               what + " inverse bind matrices");
    }
    std::vector<std::size_t> largest;
    const json& meshes = objectList(document, document.json, "meshes");
    for (std::size_t m = 0; m < meshes.size(); ++m)
        largest.push_back(checkMesh(document, meshes[m], numbered("mesh", m)));
    const json& nodes = objectList(document, document.json, "nodes");
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (!nodes[i].contains("mesh") || !nodes[i].contains("skin")) continue;
        const std::size_t joints = skins[nodes[i]["skin"].get<std::size_t>()]["joints"].size();
        const std::size_t named = largest[nodes[i]["mesh"].get<std::size_t>()];
        if (named >= joints)
            refuse(document.path, numbered("node", i) + ": a vertex names joint " + std::to_string(named) +
                                      " of " + std::to_string(joints) + "; export it again");
    }
}

void checkAnimations(const GltfDocument& document) {
    const json& animations = objectList(document, document.json, "animations");
    for (std::size_t a = 0; a < animations.size(); ++a) {
        const std::string what = numbered("animation", a);
        const json& samplers = objectList(document, animations[a], "samplers");
        for (const json& sampler : samplers) {
            if (!sampler.contains("input") || !sampler.contains("output"))
                refuse(document.path, what + " has a sampler without keys; export it again");
            const GltfView times = viewAccessor(document, sampler["input"], what + " times");
            demand(document, times.components == 1 && times.componentType == kFloat, what + " times");
            const GltfView values = viewAccessor(document, sampler["output"], what + " values");
            demand(document, values.count >= times.count, what + " values");
        }
        for (const json& channel : objectList(document, animations[a], "channels")) {
            const auto sampler = channel.find("sampler");
            if (sampler == channel.end() || !sampler->is_number_unsigned() ||
                sampler->get<std::uint64_t>() >= samplers.size())
                refuse(document.path, what + " has a channel without a sampler; export it again");
            const auto target = channel.find("target");
            if (target == channel.end() || !target->is_object())
                refuse(document.path, what + " has a channel without a target");
            if (target->contains("node")) checkedIndex(document, (*target)["node"], "nodes", what);
            const auto path = target->find("path");
            if (path == target->end() || !path->is_string())
                refuse(document.path, what + " has a target without a path");
            const json& used = samplers[sampler->get<std::size_t>()];
            const GltfView values = viewAccessor(document, used["output"], what + " values");
            const std::size_t wanted = *path == "rotation" ? 4 : *path == "weights" ? 1 : 3;
            const GltfView times = viewAccessor(document, used["input"], what + " times");
            const bool cubic = used.contains("interpolation") && used["interpolation"] == "CUBICSPLINE";
            demand(document,
                   values.components == wanted &&
                       (*path == "weights" ||
                        (values.componentType == kFloat && values.count == times.count * (cubic ? 3 : 1))),
                   what + " values");
        }
    }
}

} // namespace

void checkGltf(const GltfDocument& document) {
    checkExtensions(document);
    checkNodes(document);
    checkMeshesAndSkins(document);
    checkAnimations(document);
}

} // namespace talvisora::host::reading
