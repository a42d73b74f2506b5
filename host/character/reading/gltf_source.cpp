// SPDX-License-Identifier: Apache-2.0
// The document as the importer shall read it: unique node names (joints are found by name), cubic keys
// reduced to their values (the importer would take tangents for keys); then written back into its container
// in memory.
#include "host/character/reading/gltf_source.h"
#include "host/character/reading/parts.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/MemoryIOWrapper.h>

#include <set>

namespace talvisora::host::reading {

using nlohmann::json;

namespace {

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
            if (!keys.data || accessor.contains("sparse") || keys.count < 3 || keys.components < 3) continue;
            json view = document.json["bufferViews"][accessor["bufferView"].get<std::size_t>()];
            const std::uint64_t skipped = accessor.value("byteOffset", std::uint64_t(0)) + keys.stride;
            view["byteOffset"] = view.value("byteOffset", std::uint64_t(0)) + skipped;
            view["byteLength"] = view["byteLength"].get<std::uint64_t>() - skipped;
            view["byteStride"] = 3 * keys.stride;
            accessor["byteOffset"] = 0;
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
    reduceCubicKeys(document, source);
    source.bytes = pack(document);
    return source;
}

Assimp::IOSystem* makeSourceSystem(const std::string& path, std::vector<char> bytes) {
    return new SourceSystem(path, std::move(bytes));
}

} // namespace talvisora::host::reading
