// SPDX-License-Identifier: Apache-2.0
// The document as the importer shall read it: unique node names (joints are found by name), cubic keys
// reduced to their values (the importer would take tangents for keys); then written back into its container
// in memory.
#include "host/character/reading/gltf_source.h"
#include "host/character/reading/parts.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/MemoryIOWrapper.h>

#include <cstring>
#include <set>

namespace talvisora::host::reading {

using nlohmann::json;

namespace {

constexpr int kFloat = 5126, kUnsignedByte = 5121;

void nameNodes(GltfDocument& document) {
    if (!document.json.contains("nodes")) return;
    std::set<std::string> taken{"ROOT"}; // the importer's own node above several roots
    std::size_t number = 0;
    for (json& node : document.json["nodes"]) {
        std::string name = node.value("name", std::string());
        if (name.empty()) name = "nodes[" + std::to_string(number) + "]";
        std::string unique = name;
        for (std::size_t copy = 2; !taken.insert(unique).second; ++copy)
            unique = name + "_" + std::to_string(copy);
        node["name"] = unique;
        ++number;
    }
}

/// The importer wants a scene to be named; without one all root nodes are it.
void nameScene(GltfDocument& document) {
    json& root = document.json;
    if (!root.contains("nodes") || root["nodes"].empty()) return;
    if (!root.contains("scenes") || root["scenes"].empty()) {
        std::vector<bool> isChild(root["nodes"].size(), false);
        for (const json& node : root["nodes"])
            if (node.contains("children"))
                for (const json& child : node["children"]) isChild[child.get<std::size_t>()] = true;
        json roots = json::array();
        for (std::size_t i = 0; i < isChild.size(); ++i)
            if (!isChild[i]) roots.push_back(i);
        root["scenes"] = json::array({json{{"nodes", roots}}});
        root["scene"] = 0;
    }
    if (!root.contains("scene")) root["scene"] = 0;
}

/// Leaves out what a deformation never looks at: less for the importer to stumble over, no pictures to load.
void stripLooks(GltfDocument& document) {
    for (const char* list : {"materials", "textures", "images", "samplers", "cameras", "extensions",
                             "extensionsUsed", "extensionsRequired"})
        document.json.erase(list);
    if (document.json.contains("nodes"))
        for (json& node : document.json["nodes"])
            for (const char* key : {"camera", "extensions", "weights"}) node.erase(key);
    if (!document.json.contains("meshes")) return;
    for (json& mesh : document.json["meshes"]) {
        mesh.erase("weights");
        if (!mesh.contains("primitives")) mesh["primitives"] = json::array();
        for (json& primitive : mesh["primitives"]) {
            for (const char* key : {"material", "targets", "extensions"}) primitive.erase(key);
            json kept = json::object();
            for (const auto& [name, accessor] : primitive["attributes"].items())
                if (name == "POSITION" || name == "NORMAL" || name == "TEXCOORD_0" ||
                    name.rfind("JOINTS_", 0) == 0 || name.rfind("WEIGHTS_", 0) == 0)
                    kept[name] = accessor;
            primitive["attributes"] = kept;
        }
    }
}

/// Leaves out the channels that blend morph targets, which are gone.
void stripMorphChannels(GltfDocument& document) {
    if (!document.json.contains("animations")) return;
    for (json& animation : document.json["animations"]) {
        if (!animation.contains("channels")) continue;
        json kept = json::array();
        for (const json& channel : animation["channels"])
            if (channel["target"]["path"] != "weights") kept.push_back(channel);
        animation["channels"] = kept;
    }
}

std::string encodeBase64(const std::vector<char>& bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

/// Floats that the document gets on top of its own, in one embedded buffer.
struct ExtraBuffer {
    GltfDocument& document;
    std::vector<char> bytes{};

    /// The index of a new accessor over the values.
    std::size_t add(const std::vector<float>& values, const char* type, std::size_t components) {
        json& root = document.json;
        const std::size_t start = bytes.size(), size = values.size() * sizeof(float);
        bytes.resize(start + size);
        std::memcpy(bytes.data() + start, values.data(), size);
        root["bufferViews"].push_back(
            {{"buffer", document.buffers.size()}, {"byteOffset", start}, {"byteLength", size}});
        root["accessors"].push_back({{"bufferView", root["bufferViews"].size() - 1},
                                     {"componentType", kFloat},
                                     {"count", values.size() / components},
                                     {"type", type}});
        return root["accessors"].size() - 1;
    }

    void close() {
        if (bytes.empty()) return;
        document.json["buffers"].push_back(
            {{"byteLength", bytes.size()},
             {"uri", "data:application/octet-stream;base64," + encodeBase64(bytes)}});
        document.buffers.push_back(std::move(bytes));
    }
};

/// Weights in bytes or shorts become floats: the importer reads every weight as a float.
void widenWeights(ExtraBuffer& extra) {
    json& root = extra.document.json;
    if (!root.contains("meshes")) return;
    for (json& mesh : root["meshes"])
        for (json& primitive : mesh["primitives"])
            for (auto& [name, accessor] : primitive["attributes"].items()) {
                if (name.rfind("WEIGHTS_", 0) != 0) continue;
                const GltfView view = viewAccessor(extra.document, accessor, "weights");
                if (view.componentType == kFloat || !view.data) continue;
                const bool isByte = view.componentType == kUnsignedByte;
                std::vector<float> weights;
                for (std::size_t i = 0; i < view.count; ++i)
                    for (std::size_t c = 0; c < 4; ++c) {
                        std::uint16_t wide = 0;
                        if (isByte)
                            wide = static_cast<unsigned char>(view.data[i * view.stride + c]);
                        else
                            std::memcpy(&wide, view.data + i * view.stride + 2 * c, 2);
                        weights.push_back(static_cast<float>(wide) / (isByte ? 255.0f : 65535.0f));
                    }
                accessor = extra.add(weights, "VEC4", 4);
            }
}

/// A skin without inverse bind matrices means identities; the importer falls over it.
void addBindMatrices(ExtraBuffer& extra) {
    json& root = extra.document.json;
    if (!root.contains("skins")) return;
    for (json& skin : root["skins"]) {
        if (skin.contains("inverseBindMatrices")) continue;
        std::vector<float> matrices(16 * skin["joints"].size(), 0.0f);
        for (std::size_t i = 0; i < matrices.size(); ++i) matrices[i] = i % 16 % 5 == 0 ? 1.0f : 0.0f;
        skin["inverseBindMatrices"] = extra.add(matrices, "MAT4", 16);
    }
}

/// Replaces the output of a cubic sampler by a view of the middle one of each three values.
void reduceCubicKeys(GltfDocument& document, GltfSource& source) {
    if (!document.json.contains("animations")) return;
    bool cubic = false, stepped = false;
    for (json& animation : document.json["animations"]) {
        if (!animation.contains("samplers")) continue;
        for (json& sampler : animation["samplers"]) {
            if (!sampler.contains("interpolation")) continue;
            stepped = stepped || sampler["interpolation"] == "STEP";
            if (sampler["interpolation"] != "CUBICSPLINE") continue;
            const GltfView keys = viewAccessor(document, sampler["output"], "animation values");
            json accessor = document.json["accessors"][sampler["output"].get<std::size_t>()];
            if (!keys.data || keys.count < 3 || keys.components < 3) continue;
            json view = document.json["bufferViews"][accessor["bufferView"].get<std::size_t>()];
            view["byteStride"] = 3 * keys.stride;
            accessor["byteOffset"] = accessor.value("byteOffset", std::uint64_t(0)) + keys.stride;
            accessor["count"] = keys.count / 3;
            accessor["bufferView"] = document.json["bufferViews"].size();
            document.json["bufferViews"].push_back(view);
            sampler["output"] = document.json["accessors"].size();
            document.json["accessors"].push_back(accessor);
            sampler["interpolation"] = "LINEAR";
            cubic = true;
        }
    }
    if (cubic) source.warnings.push_back("cubic animation keys are joined by straight lines");
    if (stepped) source.warnings.push_back("stepped animation keys are joined by straight lines");
}

void appendNumber(std::vector<char>& bytes, std::uint64_t value) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

std::vector<char> pack(const GltfDocument& document) {
    std::string text = document.json.dump(-1, ' ', false, json::error_handler_t::replace);
    if (!document.binary) return std::vector<char>(text.begin(), text.end());
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::vector<char> bytes;
    bytes.insert(bytes.end(), {'g', 'l', 'T', 'F'});
    const std::size_t padded = (document.binaryChunk.size() + 3) / 4 * 4;
    appendNumber(bytes, 2);
    appendNumber(bytes, 12 + 8 + text.size() + (padded ? 8 + padded : 0));
    appendNumber(bytes, text.size());
    appendNumber(bytes, 0x4E4F534A);
    bytes.insert(bytes.end(), text.begin(), text.end());
    if (padded) {
        appendNumber(bytes, padded);
        appendNumber(bytes, 0x004E4942);
        bytes.insert(bytes.end(), document.binaryChunk.begin(), document.binaryChunk.end());
        bytes.resize(bytes.size() + padded - document.binaryChunk.size(), 0);
    }
    return bytes;
}

/// Answers one path from memory, everything else from the disk.
class SourceSystem : public Assimp::DefaultIOSystem {
public:
    SourceSystem(std::string path, std::vector<char> bytes)
        : path_(std::move(path)), bytes_(std::move(bytes)) {}

    bool Exists(const char* file) const override { return path_ == file || DefaultIOSystem::Exists(file); }

    Assimp::IOStream* Open(const char* file, const char* mode) override {
        if (path_ != file) return DefaultIOSystem::Open(file, mode);
        return new Assimp::MemoryIOStream(reinterpret_cast<const std::uint8_t*>(bytes_.data()),
                                          bytes_.size());
    }

private:
    std::string path_;
    std::vector<char> bytes_;
};

} // namespace

GltfSource readGltfSource(const std::string& path, bool binary) {
    GltfDocument document = loadGltf(path, binary);
    checkGltf(document);
    GltfSource source;
    nameNodes(document);
    nameScene(document);
    stripLooks(document);
    stripMorphChannels(document);
    ExtraBuffer extra{document};
    widenWeights(extra);
    addBindMatrices(extra);
    extra.close();
    reduceCubicKeys(document, source);
    source.bytes = pack(document);
    return source;
}

Assimp::IOSystem* makeSourceSystem(const std::string& path, std::vector<char> bytes) {
    return new SourceSystem(path, std::move(bytes));
}

} // namespace talvisora::host::reading
