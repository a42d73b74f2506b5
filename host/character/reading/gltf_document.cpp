// SPDX-License-Identifier: Apache-2.0
// Loading a glTF document: container, JSON, buffers; and the typed look-ups that the checks are written with.
#include "host/character/reading/gltf_document.h"
#include "host/character/reading/parts.h"

#include <cstring>
#include <filesystem>
#include <fstream>

namespace talvisora::host::reading {

using nlohmann::json;

namespace {

constexpr std::uint64_t kMaxFileBytes = std::uint64_t(2) << 30;

std::vector<char> readWhole(const std::string& owner, const std::filesystem::path& path) {
    std::error_code failure;
    const auto size = std::filesystem::file_size(path, failure);
    if (failure || !std::filesystem::is_regular_file(path, failure))
        refuse(owner,
               "its buffer file '" + path.filename().string() + "' is missing; keep it beside the document");
    if (size > kMaxFileBytes) refuse(owner, "'" + path.filename().string() + "' is larger than 2 GiB");
    std::vector<char> bytes(static_cast<std::size_t>(size));
    std::ifstream in(path, std::ios::binary);
    if (!in.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) && !bytes.empty())
        refuse(owner, "'" + path.filename().string() + "' cannot be read; check its permissions");
    return bytes;
}

std::uint32_t littleEndian(const char* p) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(p[i]);
    return value;
}

/// The JSON text of a .glb; its binary chunk goes into the document.
std::string splitBinary(const std::vector<char>& bytes, GltfDocument& document) {
    const char* const broken = "its binary container is truncated or broken; export it again";
    if (bytes.size() < 20 || std::memcmp(bytes.data(), "glTF", 4) != 0) refuse(document.path, broken);
    if (littleEndian(&bytes[4]) != 2)
        refuse(document.path, "it is not glTF 2.0 (container version " +
                                  std::to_string(littleEndian(&bytes[4])) + "); export it as glTF 2.0");
    const std::uint64_t total = littleEndian(&bytes[8]);
    if (total > bytes.size() || total < 20) refuse(document.path, broken);
    std::string text;
    for (std::uint64_t at = 12; at + 8 <= total;) {
        const std::uint64_t length = littleEndian(&bytes[at]);
        const std::uint32_t type = littleEndian(&bytes[at + 4]);
        if (at + 8 + length > total) refuse(document.path, broken);
        const char* start = bytes.data() + at + 8;
        if (at == 12) {
            if (type != 0x4E4F534A) refuse(document.path, broken);
            text.assign(start, static_cast<std::size_t>(length));
        } else if (type == 0x004E4942 && document.binaryChunk.empty()) {
            document.binaryChunk.assign(start, start + length);
        }
        at += 8 + length;
    }
    return text;
}

std::vector<char> decodeBase64(const std::string& owner, const std::string& text, std::size_t from) {
    std::vector<char> bytes;
    bytes.reserve((text.size() - from) / 4 * 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (std::size_t i = from; i < text.size() && text[i] != '='; ++i) {
        const char c = text[i];
        int value = 0;
        if (c >= 'A' && c <= 'Z')
            value = c - 'A';
        else if (c >= 'a' && c <= 'z')
            value = c - 'a' + 26;
        else if (c >= '0' && c <= '9')
            value = c - '0' + 52;
        else if (c == '+' || c == '-')
            value = 62;
        else if (c == '/' || c == '_')
            value = 63;
        else
            refuse(owner, "an embedded buffer is not base64; export it again");
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        if ((count += 6) >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>(bits >> count & 0xFF));
        }
    }
    return bytes;
}

std::string decodePercent(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto hex = [&](std::size_t at) {
            return std::isxdigit(static_cast<unsigned char>(text[at])) != 0;
        };
        if (text[i] == '%' && i + 2 < text.size() && hex(i + 1) && hex(i + 2)) {
            result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

void loadBuffers(GltfDocument& document) {
    std::size_t number = 0;
    for (const json& buffer : objectList(document, document.json, "buffers")) {
        const std::string what = "buffer " + std::to_string(number);
        const std::uint64_t length = wholeNumber(document, buffer, "byteLength", 0, what);
        std::vector<char> bytes;
        if (const auto uri = buffer.find("uri"); uri == buffer.end()) {
            if (!document.binary || number != 0)
                refuse(document.path, what + " has no data; export it again");
            bytes = document.binaryChunk;
        } else {
            if (!uri->is_string()) refuse(document.path, what + " has a uri that is not a text");
            const std::string& text = uri->get_ref<const std::string&>();
            if (text.rfind("data:", 0) == 0) {
                const std::size_t comma = text.find(";base64,");
                if (comma == std::string::npos)
                    refuse(document.path, what + " is embedded, but not as base64");
                bytes = decodeBase64(document.path, text, comma + 8);
            } else {
                bytes = readWhole(document.path,
                                  std::filesystem::path(document.path).parent_path() / decodePercent(text));
            }
        }
        if (bytes.size() < length)
            refuse(document.path, what + " holds " + std::to_string(bytes.size()) + " of its " +
                                      std::to_string(length) + " bytes; the file is truncated");
        document.buffers.push_back(std::move(bytes));
        ++number;
    }
}

std::size_t componentSize(int type) {
    switch (type) {
    case 5120:
    case 5121:
        return 1;
    case 5122:
    case 5123:
        return 2;
    case 5125:
    case 5126:
        return 4;
    default:
        return 0;
    }
}

std::size_t componentCount(const std::string& type) {
    static const std::pair<const char*, std::size_t> known[] = {
        {"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT2", 4}, {"MAT3", 9}, {"MAT4", 16}};
    for (const auto& [name, count] : known)
        if (type == name) return count;
    return 0;
}

} // namespace

const json& objectList(const GltfDocument& document, const json& object, const char* key) {
    static const json none = json::array();
    const auto found = object.find(key);
    if (found == object.end()) return none;
    if (!found->is_array())
        refuse(document.path, std::string("'") + key + "' is not a list; export it again");
    for (const json& element : *found)
        if (!element.is_object())
            refuse(document.path, std::string("'") + key + "' holds something that is not an object");
    return *found;
}

std::uint64_t wholeNumber(const GltfDocument& document, const json& object, const char* key,
                          std::uint64_t fallback, const std::string& what) {
    const auto found = object.find(key);
    if (found == object.end()) return fallback;
    if (!found->is_number_unsigned())
        refuse(document.path, what + ": '" + key + "' is not a whole number; export it again");
    return found->get<std::uint64_t>();
}

std::size_t checkedIndex(const GltfDocument& document, const json& index, const char* list,
                         const std::string& what) {
    const std::size_t count = objectList(document, document.json, list).size();
    if (!index.is_number_unsigned() || index.get<std::uint64_t>() >= count)
        refuse(document.path, what + " refers to " + index.dump().substr(0, 40) + " of " +
                                  std::to_string(count) + " in '" + list + "'; export it again");
    return index.get<std::size_t>();
}

GltfView viewAccessor(const GltfDocument& document, const json& index, const std::string& what) {
    const json& accessor = document.json["accessors"][checkedIndex(document, index, "accessors", what)];
    const std::string name = what + " (accessor " + index.dump() + ")";
    GltfView view;
    const auto type = accessor.find("type");
    view.componentType = static_cast<int>(wholeNumber(document, accessor, "componentType", 0, name) & 0xFFFF);
    view.components =
        type != accessor.end() && type->is_string() ? componentCount(type->get<std::string>()) : 0;
    view.elementSize = view.components * componentSize(view.componentType);
    if (view.elementSize == 0) refuse(document.path, name + " has an unknown type; export it again");
    if (accessor.contains("sparse"))
        refuse(document.path, name + " is sparse, which is not supported; export it without");
    const std::uint64_t count = wholeNumber(document, accessor, "count", 0, name);
    if (count == 0 || count > kMaxFileBytes)
        refuse(document.path, name + " has an impossible count; export it again");
    view.count = static_cast<std::size_t>(count);
    const auto viewIndex = accessor.find("bufferView");
    if (viewIndex == accessor.end()) return view;

    const json& bufferView =
        document.json["bufferViews"][checkedIndex(document, *viewIndex, "bufferViews", name)];
    const auto bufferIndex = bufferView.find("buffer");
    if (bufferIndex == bufferView.end()) refuse(document.path, name + " has a view without a buffer");
    const std::vector<char>& buffer = document.buffers[checkedIndex(document, *bufferIndex, "buffers", name)];
    const std::uint64_t viewStart = wholeNumber(document, bufferView, "byteOffset", 0, name);
    const std::uint64_t viewLength = wholeNumber(document, bufferView, "byteLength", 0, name);
    const std::uint64_t offset = wholeNumber(document, accessor, "byteOffset", 0, name);
    const std::uint64_t stride = wholeNumber(document, bufferView, "byteStride", 0, name);
    view.stride = stride == 0 ? view.elementSize : static_cast<std::size_t>(stride);
    const bool fits = viewStart <= buffer.size() && viewLength <= buffer.size() - viewStart &&
                      stride <= 65536 && offset <= viewLength &&
                      (stride == 0 || stride >= view.elementSize) &&
                      view.elementSize <= viewLength - offset &&
                      (count - 1) <= (viewLength - offset - view.elementSize) / view.stride;
    if (!fits) refuse(document.path, name + " reaches past its buffer; the file is truncated or broken");
    view.data = buffer.data() + viewStart + offset;
    return view;
}

GltfDocument loadGltf(const std::string& path, bool binary) {
    GltfDocument document;
    document.path = path;
    document.binary = binary;
    const std::vector<char> bytes = readWhole(path, path);
    const std::string text = binary ? splitBinary(bytes, document) : std::string(bytes.begin(), bytes.end());
    document.json = json::parse(text, nullptr, false);
    if (document.json.is_discarded() || !document.json.is_object())
        refuse(path, "its JSON is truncated or broken; export it again");
    const auto asset = document.json.find("asset");
    const bool versioned = asset != document.json.end() && asset->is_object() && asset->contains("version") &&
                           (*asset)["version"].is_string();
    if (!versioned || (*asset)["version"].get<std::string>().rfind("2", 0) != 0)
        refuse(path, "it is not glTF 2.0; export it as glTF 2.0");
    loadBuffers(document);
    return document;
}

} // namespace talvisora::host::reading
