// SPDX-License-Identifier: Apache-2.0
// Writes small skinned glTF files for the tests: a bar of square rings along y over a chain of joints, with
// every detail open to be changed or broken before it is written.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace gltf_writer {

using nlohmann::json;

/// A folder of its own that is removed in the end.
class TempFolder {
public:
    TempFolder() {
        static int number = 0;
        path_ =
            std::filesystem::temp_directory_path() /
            ("talvisora_test_" +
             std::to_string(std::hash<std::string>()(std::to_string(reinterpret_cast<std::uintptr_t>(this))) &
                            0xFFFFFF) +
             "_" + std::to_string(std::filesystem::file_time_type::clock::now().time_since_epoch().count()) +
             "_" + std::to_string(number++));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    std::string folder() const { return path_.string(); }

    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }

private:
    std::filesystem::path path_;
};

inline std::string base64(const std::vector<char>& bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

/// A document under construction: `json` may be changed at will before it is written.
struct Document {
    json root = {{"asset", {{"version", "2.0"}}}};
    std::vector<char> buffer;

    template <typename T>
    int accessor(const std::vector<T>& values, const char* type, int componentType, std::size_t components) {
        while (buffer.size() % 4) buffer.push_back(0);
        const std::size_t offset = buffer.size(), bytes = values.size() * sizeof(T);
        buffer.resize(offset + bytes);
        if (bytes) std::memcpy(buffer.data() + offset, values.data(), bytes);
        root["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes}});
        root["accessors"].push_back({{"bufferView", root["bufferViews"].size() - 1},
                                     {"componentType", componentType},
                                     {"count", values.size() / components},
                                     {"type", type}});
        return static_cast<int>(root["accessors"].size()) - 1;
    }
    int floats(const std::vector<float>& values, const char* type, std::size_t components) {
        return accessor(values, type, 5126, components);
    }

    /// The text with the buffer embedded.
    std::string text() const {
        json copy = root;
        copy["buffers"] =
            json::array({json{{"byteLength", buffer.size()},
                              {"uri", "data:application/octet-stream;base64," + base64(buffer)}}});
        return copy.dump();
    }

    /// The same as a binary container.
    std::string binary() const {
        json copy = root;
        copy["buffers"] = json::array({json{{"byteLength", buffer.size()}}});
        std::string body = copy.dump();
        body.resize((body.size() + 3) / 4 * 4, ' ');
        std::string chunk(buffer.begin(), buffer.end());
        chunk.resize((chunk.size() + 3) / 4 * 4, '\0');
        const auto number = [](std::size_t value) {
            std::string s;
            for (int i = 0; i < 4; ++i) s += static_cast<char>(value >> (8 * i) & 0xFF);
            return s;
        };
        return "glTF" + number(2) + number(12 + 8 + body.size() + 8 + chunk.size()) + number(body.size()) +
               "JSON" + body + number(chunk.size()) + std::string("BIN\0", 4) + chunk;
    }
};

/// What the bar is like. Joint i rests at (0, i, 0); ring r at y = r / 2, corners at ±0.25.
struct Bar {
    int joints = 3;
    int rings = 7;
    float weightScale = 1.0f;       ///< all weights times this
    bool splitVertices = false;     ///< every vertex twice, with another normal: a seam
    bool byteWeights = false;       ///< normalised bytes instead of floats
    bool secondSet = false;         ///< the second half of every weight lies in JOINTS_1 and WEIGHTS_1
    std::vector<std::string> names; ///< of the joints; empty text: no name; missing: joint0, joint1, …
};

/// Smooth weights: ring at height y belongs to joints floor(y - 0.25) and the next, by distance.
inline void ringWeights(const Bar& bar, int ring, int& joint, float& second) {
    const float height = 0.5f * static_cast<float>(ring) - 0.25f;
    joint = height < 0.0f ? 0 : static_cast<int>(height);
    if (joint > bar.joints - 1) joint = bar.joints - 1;
    second = joint + 1 < bar.joints ? height - static_cast<float>(joint) : 0.0f;
    if (second < 0.0f) second = 0.0f;
}

/// Nodes: 0 the mesh, 1 … joints the chain. Accessors in the order they are named here.
inline Document makeBar(const Bar& bar) {
    Document d;
    std::vector<float> positions, normals, weights, weights1;
    std::vector<std::uint8_t> joints, joints1, bytes;
    const int copies = bar.splitVertices ? 2 : 1;
    for (int ring = 0; ring < bar.rings; ++ring)
        for (int corner = 0; corner < 4; ++corner)
            for (int copy = 0; copy < copies; ++copy) {
                const float x = corner == 0 || corner == 3 ? -0.25f : 0.25f, z = corner < 2 ? -0.25f : 0.25f;
                positions.insert(positions.end(), {x, 0.5f * static_cast<float>(ring), z});
                if (copy == 0)
                    normals.insert(normals.end(), {x * 4.0f, 0.0f, 0.0f});
                else
                    normals.insert(normals.end(), {0.0f, 0.0f, z * 4.0f});
                int joint = 0;
                float second = 0.0f;
                ringWeights(bar, ring, joint, second);
                const auto next = static_cast<std::uint8_t>(joint + (second > 0.0f ? 1 : 0));
                joints.insert(joints.end(), {static_cast<std::uint8_t>(joint), next, 0, 0});
                joints1.insert(joints1.end(), {next, 0, 0, 0});
                const float a = (1.0f - second) * bar.weightScale, b = second * bar.weightScale;
                weights.insert(weights.end(), {a, bar.secondSet ? 0.0f : b, 0.0f, 0.0f});
                weights1.insert(weights1.end(), {b, 0.0f, 0.0f, 0.0f});
                bytes.insert(bytes.end(), {static_cast<std::uint8_t>(a * 255.0f + 0.5f),
                                           static_cast<std::uint8_t>(b * 255.0f + 0.5f), 0, 0});
            }
    std::vector<std::uint16_t> indices;
    for (int ring = 0; ring + 1 < bar.rings; ++ring)
        for (int corner = 0; corner < 4; ++corner) {
            const auto at = [&](int r, int c) {
                return static_cast<std::uint16_t>((r * 4 + c % 4) * copies);
            };
            const std::uint16_t a = at(ring, corner), b = at(ring, corner + 1), c = at(ring + 1, corner + 1),
                                e = at(ring + 1, corner);
            const auto seam =
                static_cast<std::uint16_t>(copies - 1); // the second triangle uses the other copies
            indices.insert(indices.end(),
                           {a, b, c, static_cast<std::uint16_t>(a + seam),
                            static_cast<std::uint16_t>(c + seam), static_cast<std::uint16_t>(e + seam)});
        }
    std::vector<float> bind;
    for (int j = 0; j < bar.joints; ++j)
        bind.insert(bind.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -static_cast<float>(j), 0, 1});

    json attributes;
    attributes["POSITION"] = d.floats(positions, "VEC3", 3);
    attributes["NORMAL"] = d.floats(normals, "VEC3", 3);
    attributes["JOINTS_0"] = d.accessor(joints, "VEC4", 5121, 4);
    if (bar.byteWeights) {
        attributes["WEIGHTS_0"] = d.accessor(bytes, "VEC4", 5121, 4);
        d.root["accessors"].back()["normalized"] = true;
    } else {
        attributes["WEIGHTS_0"] = d.floats(weights, "VEC4", 4);
    }
    const int indexAccessor = d.accessor(indices, "SCALAR", 5123, 1);
    const int bindAccessor = d.floats(bind, "MAT4", 16);
    if (bar.secondSet) {
        attributes["JOINTS_1"] = d.accessor(joints1, "VEC4", 5121, 4);
        attributes["WEIGHTS_1"] = d.floats(weights1, "VEC4", 4);
    }
    d.root["meshes"] = json::array(
        {json{{"name", "bar"},
              {"primitives", json::array({json{{"attributes", attributes}, {"indices", indexAccessor}}})}}});
    d.root["nodes"] = json::array({json{{"name", "skinned"}, {"mesh", 0}, {"skin", 0}}});
    json jointList = json::array();
    for (int j = 0; j < bar.joints; ++j) {
        json node = json::object();
        const std::string name = j < static_cast<int>(bar.names.size())
                                     ? bar.names[static_cast<std::size_t>(j)]
                                     : "joint" + std::to_string(j);
        if (!name.empty()) node["name"] = name;
        if (j > 0) node["translation"] = {0.0, 1.0, 0.0};
        if (j + 1 < bar.joints) node["children"] = json::array({j + 2});
        d.root["nodes"].push_back(node);
        jointList.push_back(j + 1);
    }
    d.root["skins"] = json::array({json{{"joints", jointList}, {"inverseBindMatrices", bindAccessor}}});
    d.root["scenes"] = json::array({json{{"nodes", json::array({0, 1})}}});
    d.root["scene"] = 0;
    return d;
}

/// Adds an animation that moves one component of one node; values hold `components` numbers per time.
inline void animate(Document& d, const char* name, int node, const char* path,
                    const std::vector<float>& times, const std::vector<float>& values, std::size_t components,
                    const char* interpolation = "LINEAR") {
    const int input = d.floats(times, "SCALAR", 1);
    d.root["accessors"].back()["min"] = {times.front()};
    d.root["accessors"].back()["max"] = {times.back()};
    const int output = d.floats(values, components == 4 ? "VEC4" : "VEC3", components);
    json animation = {
        {"samplers",
         json::array({json{{"input", input}, {"output", output}, {"interpolation", interpolation}}})},
        {"channels", json::array({json{{"sampler", 0}, {"target", {{"node", node}, {"path", path}}}}})}};
    if (*name) animation["name"] = name;
    d.root["animations"].push_back(animation);
}

} // namespace gltf_writer
