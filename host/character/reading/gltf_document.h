// SPDX-License-Identifier: Apache-2.0
// A glTF 2.0 document taken apart: its JSON, and the bytes of its buffers wherever they lie (data URI, file
// beside it, binary chunk). Private to the glTF source.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace talvisora::host::reading {

struct GltfDocument {
    std::string path;
    nlohmann::json json;
    std::vector<char> binaryChunk; ///< of a .glb
    bool binary = false;
    std::vector<std::vector<char>> buffers; ///< bytes of every buffer, at least its byteLength
};

/// Splits the file and loads its buffers. Throws HostError kInput.
GltfDocument loadGltf(const std::string& path, bool binary);

/// Checks every index, range and type that the importer relies on. Throws HostError kInput.
void checkGltf(const GltfDocument& document);

/// Where an accessor's elements lie; checked to be inside the buffer.
struct GltfView {
    const char* data = nullptr; ///< null: the accessor has no buffer view and is all zeros
    std::size_t stride = 0;
    std::size_t count = 0;
    std::size_t components = 0;
    int componentType = 0;
    std::size_t elementSize = 0;
};

/// `what` names the place for the message. Throws HostError kInput when it does not fit its buffer.
GltfView viewAccessor(const GltfDocument& document, const nlohmann::json& index, const std::string& what);

/// An index into the top-level list `list`; throws HostError kInput when it is none.
std::size_t checkedIndex(const GltfDocument& document, const nlohmann::json& index, const char* list,
                         const std::string& what);

/// A member that must be a whole number >= 0; `fallback` when it is absent.
std::uint64_t wholeNumber(const GltfDocument& document, const nlohmann::json& object, const char* key,
                          std::uint64_t fallback, const std::string& what);

/// A top-level or member list of objects; an empty list when absent.
const nlohmann::json& objectList(const GltfDocument& document, const nlohmann::json& object, const char* key);

} // namespace talvisora::host::reading
