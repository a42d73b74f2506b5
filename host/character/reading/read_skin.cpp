// SPDX-License-Identifier: Apache-2.0
// Meshes, weights and points. Files split a vertex wherever its normal or its texture coordinate jumps; for
// the deformation those of equal position (to 1e-6 of the size) and equal weights are one point. Vertices of
// equal position but other weights stay apart: lips and eyelids must not be averaged.
#include "host/box.h"
#include "host/character/reading/parts.h"
#include "host/character/reading/scene_convert.h"
#include "host/figures.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace talvisora::host::reading {

namespace {

constexpr double kSumTolerance = 1e-3;
constexpr double kJoinTolerance = 1e-6; // of the size

using Weights = std::vector<Influence>;

/// Positions, normals, texture coordinates and faces of one mesh in world space at rest.
CharacterMesh convertMesh(const aiMesh& mesh, const Matrix44d& toWorld, double unit,
                          std::vector<std::string>& warnings) {
    CharacterMesh result;
    result.name = toText(mesh.mName);
    const std::size_t count = mesh.mNumVertices;
    result.positions.reserve(count);
    for (std::size_t v = 0; v < count; ++v)
        result.positions.push_back(pointMultMat(toVec(mesh.mVertices[v]) * unit, toWorld));
    if (mesh.HasNormals()) {
        // Normals go through the inverse transpose; reading its columns saves the transpose.
        const Matrix44d back = inverse(toWorld);
        bool finite = true;
        result.normals.reserve(count);
        for (std::size_t v = 0; v < count; ++v) {
            const Vec3d n = toVec(mesh.mNormals[v]);
            finite = finite && isFinite(n);
            result.normals.push_back(
                normalise(Vec3d{dot(row(back, 0), n), dot(row(back, 1), n), dot(row(back, 2), n)}));
        }
        if (!finite) {
            warnings.push_back("mesh '" + result.name +
                               "' has normals that are not finite; they are left out");
            result.normals.clear();
        }
    }
    if (mesh.HasTextureCoords(0)) {
        result.uvs.reserve(count);
        for (std::size_t v = 0; v < count; ++v) {
            const aiVector3D uv = mesh.mTextureCoords[0][v];
            result.uvs.push_back(std::isfinite(uv.x) && std::isfinite(uv.y)
                                     ? std::array<double, 2>{uv.x, uv.y}
                                     : std::array<double, 2>{0.0, 0.0});
        }
    }
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        if (face.mNumIndices == 3)
            result.triangles.push_back({face.mIndices[0], face.mIndices[1], face.mIndices[2]});
    }
    return result;
}

/// Weights per vertex, joints ascending, each joint once, normalised; counts what was not as it should be.
std::vector<Weights> readWeights(const aiMesh& mesh, const MeshPlacement& placement, WeightReport& report,
                                 std::size_t& negative, bool& first) {
    std::vector<Weights> weights(mesh.mNumVertices);
    if (placement.rigidJoint >= 0) {
        for (Weights& w : weights) w = {{static_cast<std::uint32_t>(placement.rigidJoint), 1.0}};
        return weights;
    }
    for (unsigned b = 0; b < mesh.mNumBones; ++b) {
        if (placement.jointOfBone[b] < 0) continue;
        const auto joint = static_cast<std::uint32_t>(placement.jointOfBone[b]);
        for (unsigned w = 0; w < mesh.mBones[b]->mNumWeights; ++w) {
            const aiVertexWeight& entry = mesh.mBones[b]->mWeights[w];
            if (entry.mWeight < 0.0f) ++negative;
            if (entry.mWeight > 0.0f) weights[entry.mVertexId].push_back({joint, entry.mWeight});
        }
    }
    for (Weights& w : weights) {
        std::sort(w.begin(), w.end(),
                  [](const Influence& a, const Influence& b) { return a.joint < b.joint; });
        std::size_t kept = 0;
        for (std::size_t i = 0; i < w.size(); ++i) {
            if (kept && w[kept - 1].joint == w[i].joint)
                w[kept - 1].weight += w[i].weight;
            else
                w[kept++] = w[i];
        }
        w.resize(kept);
        double sum = 0.0;
        for (const Influence& i : w) sum += i.weight;
        if (w.empty()) {
            ++report.unweighted;
            continue;
        }
        if (std::fabs(sum - 1.0) > kSumTolerance) ++report.notOne;
        report.smallestSum = first ? sum : std::min(report.smallestSum, sum);
        report.largestSum = first ? sum : std::max(report.largestSum, sum);
        first = false;
        for (Influence& i : w) i.weight /= sum;
    }
    return weights;
}

/// Joins vertices into points: a hash over cells of the position and over the weights, which must be equal.
class Joiner {
public:
    Joiner(Character& character, double tolerance)
        : character_(character), tolerance_(tolerance), cell_(2.0 * tolerance) {
        character_.influenceStart.assign(1, 0);
    }

    std::uint32_t pointFor(const Vec3d& position, const Weights& weights) {
        const std::uint64_t seed = hashWeights(weights);
        if (cell_ > 0.0)
            for (int corner = 0; corner < 8; ++corner) {
                const std::uint64_t key = hashCell(position, corner, seed);
                const auto [begin, end] = found_.equal_range(key);
                for (auto it = begin; it != end; ++it)
                    if (same(it->second, position, weights)) return it->second;
            }
        const auto point = static_cast<std::uint32_t>(character_.points.size());
        character_.points.push_back(position);
        character_.influences.insert(character_.influences.end(), weights.begin(), weights.end());
        character_.influenceStart.push_back(static_cast<std::uint32_t>(character_.influences.size()));
        found_.emplace(hashCell(position, -1, seed), point);
        return point;
    }

private:
    bool same(std::uint32_t point, const Vec3d& position, const Weights& weights) const {
        if (!(length(character_.points[point] - position) <= tolerance_)) return false;
        const std::uint32_t start = character_.influenceStart[point];
        if (character_.influenceStart[point + 1] - start != weights.size()) return false;
        for (std::size_t i = 0; i < weights.size(); ++i)
            if (character_.influences[start + i].joint != weights[i].joint ||
                character_.influences[start + i].weight != weights[i].weight)
                return false;
        return true;
    }

    static std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
        return (h ^ (v + 0x9E3779B97F4A7C15u + (h << 6) + (h >> 2))) * 0x100000001B3u;
    }

    static std::uint64_t hashWeights(const Weights& weights) {
        std::uint64_t h = weights.size();
        for (const Influence& i : weights) h = mix(mix(h, i.joint), std::hash<double>()(i.weight));
        return h;
    }

    /// Corner -1: the position's own cell; 0 to 7: the cells that the box of the tolerance round it touches.
    std::uint64_t hashCell(const Vec3d& p, int corner, std::uint64_t seed) const {
        const double c[3] = {p.x, p.y, p.z};
        std::uint64_t h = seed;
        for (int axis = 0; axis < 3; ++axis) {
            const double shift = corner < 0 ? 0.0 : (corner >> axis & 1) ? tolerance_ : -tolerance_;
            const double cell = cell_ > 0.0 ? std::floor((c[axis] + shift) / cell_) : 0.0;
            h = mix(h, std::hash<double>()(cell));
        }
        return h;
    }

    Character& character_;
    double tolerance_, cell_;
    std::unordered_multimap<std::uint64_t, std::uint32_t> found_;
};

double diagonalOf(const std::vector<CharacterMesh>& meshes) {
    Box box;
    for (const CharacterMesh& mesh : meshes)
        for (const Vec3d& p : mesh.positions) box.add(p);
    return box.diagonal();
}

} // namespace

void readSkin(const SceneFile& file, const std::vector<MeshPlacement>& placements, Character& character) {
    const aiScene& scene = file.scene();
    std::vector<std::vector<Weights>> weights;
    std::size_t negative = 0;
    bool first = true;
    for (const MeshPlacement& placement : placements) {
        if (!placement.used) continue;
        const aiMesh& mesh = *scene.mMeshes[placement.sceneMesh];
        character.meshes.push_back(
            convertMesh(mesh, placement.toWorld, character.evaluationPerFileUnit, character.warnings));
        for (const Vec3d& p : character.meshes.back().positions)
            if (!isFinite(p))
                refuse(character.path, "mesh '" + character.meshes.back().name +
                                           "' has no finite rest position; export it again");
        weights.push_back(readWeights(mesh, placement, character.weights, negative, first));
    }
    Joiner joiner(character, kJoinTolerance * diagonalOf(character.meshes));
    for (std::size_t m = 0; m < character.meshes.size(); ++m) {
        CharacterMesh& mesh = character.meshes[m];
        mesh.pointOfVertex.reserve(mesh.positions.size());
        for (std::size_t v = 0; v < mesh.positions.size(); ++v)
            mesh.pointOfVertex.push_back(joiner.pointFor(mesh.positions[v], weights[m][v]));
    }
    const WeightReport& report = character.weights;
    if (report.notOne)
        character.warnings.push_back("the weights of " + std::to_string(report.notOne) + " of " +
                                     counted(character.vertexCount(), "vertex", "vertices") +
                                     " do not sum to 1 (" + shortNumber(report.smallestSum) + " to " +
                                     shortNumber(report.largestSum) + "); normalised");
    if (report.unweighted && !character.influences.empty())
        character.warnings.push_back(counted(report.unweighted, "vertex has no weights; it stays where it is",
                                             "vertices have no weights; they stay where they are"));
    if (negative)
        character.warnings.push_back(counted(negative, "weight is", "weights are") + " negative; taken as 0");
    if (character.points.empty())
        refuse(character.path, std::string(character.skinned ? "its skinned meshes have" : "it has") +
                                   " no vertices; export the character again");
}

} // namespace talvisora::host::reading
