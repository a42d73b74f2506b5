// SPDX-License-Identifier: Apache-2.0
// Order of the file: header, JSON chunk (filled last, padded with spaces), binary chunk: rest data mesh by
// mesh, key times, weights, then the targets frame by frame. One animation sampler serves all meshes, because
// all have the same targets: at key f the weight of target f is 1 and all others are 0.
#include "host/writers/glb_writer.h"

#include "host/figures.h"
#include "host/writers/little_endian.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace talvisora::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t kMagic = 0x46546c67; // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4e4f534a, kBinaryChunk = 0x004e4942;
constexpr int kFloat = 5126, kUnsignedInt = 5125;
constexpr int kVertexData = 34962, kIndexData = 34963;
constexpr std::size_t kHeaderBytes = 12, kChunkHeaderBytes = 8;
constexpr std::size_t kLongestNumber = 26; // characters of a double in JSON, with room to spare

Json toJson(const std::array<float, 3>& v) {
    return Json::array({v[0], v[1], v[2]});
}

Json accessor(int view, std::uint64_t offset, std::size_t count, int component, const char* type) {
    return Json{{"bufferView", view},
                {"byteOffset", offset},
                {"componentType", component},
                {"count", count},
                {"type", type}};
}

double asStored(double value) {
    return static_cast<double>(static_cast<float>(value));
}
Vec3d asStored(const Vec3d& v) {
    return {asStored(v.x), asStored(v.y), asStored(v.z)};
}

std::uint64_t paddedTo4(std::uint64_t bytes) {
    return (bytes + 3) / 4 * 4;
}

// Bytes that are not UTF-8 would make the JSON library refuse; names of odd files must not stop the writing.
std::string utf8OrUnderscores(const std::string& name) {
    try {
        (void)Json(name).dump();
        return name;
    } catch (const nlohmann::json::exception&) {
        std::string plain = name;
        for (char& c : plain) {
            if (static_cast<unsigned char>(c) >= 0x80) c = '_';
        }
        return plain;
    }
}

} // namespace

GlbWriter::GlbWriter(std::string path, std::vector<OutputMesh> meshes, const std::vector<Vec3d>& restPoints,
                     std::size_t frameCount, const GlbOptions& options)
    : file_(std::move(path)),
      meshes_(std::move(meshes)),
      options_(options),
      frameCount_(frameCount),
      pointCount_(restPoints.size()) {
    const auto refuse = [&](const std::string& text) {
        throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() + "': " + text);
    };
    if (!(options_.metresPerUnit > 0.0) || !std::isfinite(options_.metresPerUnit))
        refuse("the unit must be a positive number of metres");
    if (!(options_.framesPerSecond > 0.0) || !std::isfinite(options_.framesPerSecond))
        refuse("frames per second must be a positive number");
    if (!options_.keySeconds.empty() && options_.keySeconds.size() != frameCount_)
        refuse("it needs one time for each frame, or none");
    checkMeshes(meshes_, pointCount_, file_.path());
    checkPoints(restPoints, pointCount_, options_.metresPerUnit, 0, file_.path());
    // Every key stores the weights of all targets; past this number they alone would fill the file.
    if (frameCount_ > 32000)
        refuse("a glTF binary has room for 32000 frames at most; write fewer frames or a .pc2 file");
    layOut();
    if (layouts_.empty()) refuse("none of its meshes has a triangle");

    const auto refuseBeyondLimit = [&](std::uint64_t bytes) {
        if (bytes > std::numeric_limits<std::uint32_t>::max())
            refuse("it would have " + std::to_string(bytes >> 20) +
                   " MiB, a glTF binary ends at 4095; write fewer frames or a .pc2 file");
    };
    refuseBeyondLimit(binaryBytes_);
    // The JSON is longest when every bound is as long as a number can be.
    const std::vector<Range> zeros(layouts_.size() * frameCount_ * (options_.morphNormals ? 2 : 1));
    jsonBytes_ = paddedTo4(document(zeros).size() + (zeros.size() + layouts_.size()) * 6 * kLongestNumber);
    const std::uint64_t total = kHeaderBytes + 2 * kChunkHeaderBytes + jsonBytes_ + binaryBytes_;
    refuseBeyondLimit(total);

    putUint32(bytes_, kMagic);
    putUint32(bytes_, 2);
    putUint32(bytes_, static_cast<std::uint32_t>(total));
    putUint32(bytes_, static_cast<std::uint32_t>(jsonBytes_));
    putUint32(bytes_, kJsonChunk);
    bytes_.resize(bytes_.size() + jsonBytes_, ' ');
    putUint32(bytes_, static_cast<std::uint32_t>(binaryBytes_));
    putUint32(bytes_, kBinaryChunk);
    file_.write(bytes_.data(), bytes_.size());
    writeRest(restPoints);
}

// Offsets of everything in the binary chunk. Meshes without a triangle are left out: glTF has no empty
// arrays.
void GlbWriter::layOut() {
    std::vector<OutputMesh> kept;
    std::uint64_t offset = 0, vertices = 0;
    for (OutputMesh& mesh : meshes_) {
        MeshLayout layout;
        layout.vertices = mesh.pointOfVertex.size();
        layout.indices = triangulate(mesh).size();
        if (layout.indices == 0) continue;
        layout.vertexOffset = vertices;
        vertices += layout.vertices;
        mesh.name = utf8OrUnderscores(mesh.name);
        layouts_.push_back(layout);
        kept.push_back(std::move(mesh));
    }
    meshes_ = std::move(kept);
    options_.animationName = utf8OrUnderscores(options_.animationName);

    for (MeshLayout& layout : layouts_) {
        layout.positionOffset = offset;
        offset += 12 * layout.vertices;
        layout.normalOffset = offset;
        offset += 12 * layout.vertices;
    }
    for (std::size_t m = 0; m < layouts_.size(); ++m) {
        layouts_[m].uvOffset = offset;
        offset += 8 * meshes_[m].uvs.size();
    }
    for (MeshLayout& layout : layouts_) {
        layout.indexOffset = offset;
        offset += 4 * layout.indices;
    }
    timesOffset_ = offset;
    weightsOffset_ = timesOffset_ + 4 * frameCount_;
    targetsOffset_ = weightsOffset_ + 4 * static_cast<std::uint64_t>(frameCount_) * frameCount_;
    frameBytes_ = vertices * (options_.morphNormals ? 24 : 12);
    binaryBytes_ = targetsOffset_ + frameBytes_ * frameCount_;
}

float GlbWriter::keyTime(std::size_t frame) const {
    if (!options_.keySeconds.empty()) return static_cast<float>(options_.keySeconds[frame]);
    return static_cast<float>(static_cast<double>(frame) / options_.framesPerSecond);
}

// Appends one vector per vertex to bytes_ and answers their bounds as stored.
GlbWriter::Range GlbWriter::putVectors(const OutputMesh& mesh, const std::vector<Vec3d>& vectors) {
    Range range;
    range.low.fill(std::numeric_limits<float>::max());
    range.high.fill(std::numeric_limits<float>::lowest());
    for (const std::uint32_t point : mesh.pointOfVertex) {
        const Vec3d& v = vectors[point];
        const std::array<float, 3> stored{static_cast<float>(v.x), static_cast<float>(v.y),
                                          static_cast<float>(v.z)};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (!std::isfinite(stored[axis]))
                throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() + "': point " +
                                                       std::to_string(point) +
                                                       " moves further than a float can say");
            range.low[axis] = std::min(range.low[axis], stored[axis]);
            range.high[axis] = std::max(range.high[axis], stored[axis]);
            putFloat(bytes_, stored[axis]);
        }
    }
    return range;
}

void GlbWriter::writeRest(const std::vector<Vec3d>& restPoints) {
    restPositions_.reserve(pointCount_);
    for (const Vec3d& p : restPoints) restPositions_.push_back(asStored(p * options_.metresPerUnit));
    smoothNormals(meshes_, restPositions_, restNormals_);
    for (Vec3d& normal : restNormals_) {
        if (normal == Vec3d{}) normal = {0.0, 1.0, 0.0}; // stored normals must have unit length
        normal = asStored(normal);
    }
    bytes_.clear();
    for (std::size_t m = 0; m < meshes_.size(); ++m) {
        layouts_[m].restRange = putVectors(meshes_[m], restPositions_);
        putVectors(meshes_[m], restNormals_);
    }
    for (const OutputMesh& mesh : meshes_) {
        for (const std::array<float, 2>& uv : mesh.uvs) {
            putFloat(bytes_, uv[0]);
            putFloat(bytes_, 1.0f - uv[1]); // glTF counts from the picture's upper edge
        }
    }
    for (const OutputMesh& mesh : meshes_) {
        for (const std::uint32_t vertex : triangulate(mesh)) putUint32(bytes_, vertex);
    }
    for (std::size_t f = 0; f < frameCount_; ++f) putFloat(bytes_, keyTime(f));
    file_.write(bytes_.data(), bytes_.size());
    for (std::size_t key = 0; key < frameCount_; ++key) {
        bytes_.clear();
        for (std::size_t target = 0; target < frameCount_; ++target)
            putFloat(bytes_, target == key ? 1.0f : 0.0f);
        file_.write(bytes_.data(), bytes_.size());
    }
}

void GlbWriter::addFrame(const std::vector<Vec3d>& points) {
    if (framesWritten_ == frameCount_)
        throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() + "': more than the announced " +
                                               counted(frameCount_, "frame"));
    checkPoints(points, pointCount_, options_.metresPerUnit, static_cast<int>(framesWritten_) + 1,
                file_.path());
    deltas_.resize(pointCount_);
    // Against the rest position as stored: rest plus target then gives the frame back to a float's last
    // digit.
    for (std::size_t i = 0; i < pointCount_; ++i)
        deltas_[i] = points[i] * options_.metresPerUnit - restPositions_[i];
    if (options_.morphNormals) {
        smoothNormals(meshes_, points, normals_);
        for (std::size_t i = 0; i < pointCount_; ++i)
            normals_[i] = normals_[i] == Vec3d{} ? Vec3d{} : normals_[i] - restNormals_[i];
    }
    bytes_.clear();
    for (const OutputMesh& mesh : meshes_) {
        targetRanges_.push_back(putVectors(mesh, deltas_));
        if (options_.morphNormals) targetRanges_.push_back(putVectors(mesh, normals_));
    }
    file_.write(bytes_.data(), bytes_.size());
    ++framesWritten_;
}

// The whole JSON text. Accessors: four at most per mesh, then the targets, then times and weights.
std::string GlbWriter::document(const std::vector<Range>& targetRanges) const {
    Json views = Json::array(), accessors = Json::array(), gltfMeshes = Json::array(), nodes = Json::array();
    const auto view = [&](std::uint64_t offset, std::uint64_t bytes, int stride, int target) {
        Json entry{{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes}};
        if (stride != 0) entry["byteStride"] = stride;
        if (target != 0) entry["target"] = target;
        views.push_back(entry);
        return static_cast<int>(views.size()) - 1;
    };
    const auto add = [&](Json entry) {
        accessors.push_back(std::move(entry));
        return accessors.size() - 1;
    };
    const std::uint64_t uvStart = layouts_[0].uvOffset, indexStart = layouts_[0].indexOffset;
    const int restView = view(0, uvStart, 12, kVertexData);
    const int uvView = indexStart > uvStart ? view(uvStart, indexStart - uvStart, 8, kVertexData) : -1;
    const int indexView = view(indexStart, timesOffset_ - indexStart, 0, kIndexData);
    const int targetView =
        frameCount_ > 0 ? view(targetsOffset_, frameBytes_ * frameCount_, 12, kVertexData) : -1;

    Json rootNode{{"name", "character"}, {"children", Json::array()}};
    if (options_.zUp) rootNode["rotation"] = {-std::sqrt(0.5), 0.0, 0.0, std::sqrt(0.5)};
    nodes.push_back(rootNode);
    for (std::size_t m = 0; m < layouts_.size(); ++m) {
        const MeshLayout& layout = layouts_[m];
        Json position = accessor(restView, layout.positionOffset, layout.vertices, kFloat, "VEC3");
        position["min"] = toJson(layout.restRange.low);
        position["max"] = toJson(layout.restRange.high);
        Json attributes{{"POSITION", add(position)}};
        attributes["NORMAL"] = add(accessor(restView, layout.normalOffset, layout.vertices, kFloat, "VEC3"));
        if (!meshes_[m].uvs.empty())
            attributes["TEXCOORD_0"] =
                add(accessor(uvView, layout.uvOffset - uvStart, layout.vertices, kFloat, "VEC2"));
        Json primitive{{"attributes", attributes}, {"material", 0}};
        primitive["indices"] =
            add(accessor(indexView, layout.indexOffset - indexStart, layout.indices, kUnsignedInt, "SCALAR"));

        const std::size_t arrays = options_.morphNormals ? 2 : 1; // per mesh and frame
        for (std::size_t f = 0; f < frameCount_; ++f) {
            std::uint64_t offset = f * frameBytes_ + layout.vertexOffset * 12 * arrays;
            Json target;
            for (std::size_t array = 0; array < arrays; ++array) {
                const Range& range = targetRanges[(f * layouts_.size() + m) * arrays + array];
                Json entry = accessor(targetView, offset, layout.vertices, kFloat, "VEC3");
                entry["min"] = toJson(range.low);
                entry["max"] = toJson(range.high);
                target[array == 0 ? "POSITION" : "NORMAL"] = add(entry);
                offset += 12 * layout.vertices;
            }
            primitive["targets"].push_back(target);
        }
        const std::string name = meshes_[m].name.empty() ? "mesh" + std::to_string(m + 1) : meshes_[m].name;
        gltfMeshes.push_back({{"name", name}, {"primitives", Json::array({primitive})}});
        if (frameCount_ > 0) gltfMeshes.back()["weights"] = std::vector<int>(frameCount_, 0);
        nodes[0]["children"].push_back(nodes.size());
        nodes.push_back({{"name", name}, {"mesh", m}});
    }

    Json text{{"asset", {{"version", "2.0"}, {"generator", "talvisora grhost"}}},
              {"scene", 0},
              {"scenes", Json::array({{{"nodes", Json::array({0})}}})},
              {"nodes", nodes},
              {"meshes", gltfMeshes}};
    text["materials"] = Json::array({{{"name", "clay"},
                                      {"doubleSided", true},
                                      {"pbrMetallicRoughness",
                                       {{"baseColorFactor", {0.55, 0.43, 0.31, 1.0}},
                                        {"metallicFactor", 0.0},
                                        {"roughnessFactor", 0.8}}}}});
    if (frameCount_ > 0) {
        const int animationView = view(timesOffset_, targetsOffset_ - timesOffset_, 0, 0);
        Json times = accessor(animationView, 0, frameCount_, kFloat, "SCALAR");
        times["min"] = Json::array({0.0f});
        times["max"] = Json::array({keyTime(frameCount_ - 1)});
        const std::size_t input = add(times);
        const std::size_t output = add(accessor(animationView, weightsOffset_ - timesOffset_,
                                                frameCount_ * frameCount_, kFloat, "SCALAR"));
        Json channels = Json::array();
        for (std::size_t m = 0; m < layouts_.size(); ++m)
            channels.push_back({{"sampler", 0}, {"target", {{"node", m + 1}, {"path", "weights"}}}});
        Json sampler{
            {"input", input}, {"output", output}, {"interpolation", options_.stepped ? "STEP" : "LINEAR"}};
        text["animations"] = Json::array({{{"name", options_.animationName},
                                           {"samplers", Json::array({sampler})},
                                           {"channels", channels}}});
    }
    text["bufferViews"] = views;
    text["accessors"] = accessors;
    text["buffers"] = Json::array({{{"byteLength", binaryBytes_}}});
    return text.dump();
}

void GlbWriter::close() {
    if (framesWritten_ != frameCount_)
        throw HostError(ExitCode::kOutput, "cannot write '" + file_.path() +
                                               "': " + counted(framesWritten_, "frame") +
                                               " of the announced " + std::to_string(frameCount_));
    const std::string json = document(targetRanges_);
    file_.overwrite(kHeaderBytes + kChunkHeaderBytes, json.data(), json.size());
    file_.commit();
}

} // namespace talvisora::host
