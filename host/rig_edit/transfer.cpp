// SPDX-License-Identifier: Apache-2.0
#include "host/rig_edit/transfer.h"

#include "headless/scene/mesh_queries.h"
#include "host/picture/render.h"
#include "host/rig_edit/layers.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace talvisora::host {

namespace {

// A mean of a few points of the old mesh.
struct Source {
    std::size_t point;
    double part;
};

headless::Vec3d plain(const Vec3d& v) {
    return {v.x, v.y, v.z};
}

headless::MeshQueries queriesOf(const Character& character, const std::vector<Triangle>& triangles) {
    std::vector<headless::Vec3d> points(character.points.size());
    std::transform(character.points.begin(), character.points.end(), points.begin(), plain);
    std::vector<headless::MeshTriangle> faces;
    for (std::size_t t = 0; t < triangles.size(); ++t)
        faces.push_back({{static_cast<int>(triangles[t][0]), static_cast<int>(triangles[t][1]),
                          static_cast<int>(triangles[t][2])},
                         static_cast<int>(t),
                         0});
    return headless::MeshQueries(points, faces);
}

// Parts of the corners at a place in the triangle; the nearest corner alone when it has no area.
std::array<double, 3> partsAt(const std::array<Vec3d, 3>& corners, const Vec3d& place) {
    const Vec3d normal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double area = dot(normal, normal);
    std::array<double, 3> parts{};
    double sum = 0.0;
    for (std::size_t k = 0; k < 3 && area > 0.0; ++k) {
        const Vec3d &b = corners[(k + 1) % 3], &c = corners[(k + 2) % 3];
        parts[k] = std::max(dot(cross(b - place, c - place), normal) / area, 0.0);
        sum += parts[k];
    }
    if (sum > 0.0 && std::isfinite(sum)) {
        for (double& part : parts) part /= sum;
        return parts;
    }
    std::size_t nearest = 0;
    for (std::size_t k = 1; k < 3; ++k)
        if (length(corners[k] - place) < length(corners[nearest] - place)) nearest = k;
    parts = {};
    parts[nearest] = 1.0;
    return parts;
}

// Everything that a point has, for all points of a mesh.
struct PointValues {
    Layers layers;
    std::vector<std::vector<double>> params;
    std::array<std::vector<double>, kRigMapCount> maps;

    PointValues(const RigFile& rig, std::size_t points)
        : layers(rig.blocks.size(), points), params(rig.blocks.size(), std::vector<double>(points, 0.0)) {
        for (std::size_t m = 0; m < kRigMapCount; ++m)
            if (!rig.weightMaps[m].empty()) maps[m].assign(points, 0.0);
    }

    // Point p becomes the mean of the sources in `values`, whose parts sum to 1.
    void take(std::size_t p, const PointValues& values, const std::vector<Source>& sources) {
        const auto mean = [&](const std::vector<double>& list) {
            double sum = 0.0;
            for (const Source& source : sources) sum += source.part * list[source.point];
            return sum;
        };
        layers.left[p] = mean(values.layers.left);
        for (std::size_t b = 0; b < params.size(); ++b) {
            const std::vector<double>& shares = values.layers.shares[b];
            const double share = mean(shares);
            layers.shares[b][p] = share;
            double acting = 0.0;
            for (const Source& source : sources)
                acting += source.part * shares[source.point] * values.params[b][source.point];
            params[b][p] = share > 0.0 ? acting / share : mean(values.params[b]);
        }
        for (std::size_t m = 0; m < kRigMapCount; ++m)
            if (!maps[m].empty()) maps[m][p] = mean(values.maps[m]);
    }
};

PointValues valuesOf(const RigFile& rig, std::size_t points) {
    PointValues values(rig, points);
    values.layers = layersOf(rig.blocks, points);
    for (std::size_t b = 0; b < rig.blocks.size(); ++b)
        values.params[b].assign(rig.blocks[b].params.begin(), rig.blocks[b].params.end());
    for (std::size_t m = 0; m < kRigMapCount; ++m)
        values.maps[m].assign(rig.weightMaps[m].begin(), rig.weightMaps[m].end());
    return values;
}

void store(const PointValues& values, std::size_t points, RigFile& rig) {
    const auto single = [](const std::vector<double>& from, std::vector<float>& to) {
        to.resize(from.size());
        std::transform(from.begin(), from.end(), to.begin(),
                       [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); });
    };
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        single(values.params[b], rig.blocks[b].params);
        rig.blocks[b].weights.assign(points, 0.0f);
    }
    for (std::size_t p = 0; p < points; ++p) setWeights(values.layers, p, rig.blocks);
    for (std::size_t m = 0; m < kRigMapCount; ++m) single(values.maps[m], rig.weightMaps[m]);
}

std::vector<std::vector<std::uint32_t>> neighboursOf(const Character& character) {
    std::vector<std::vector<std::uint32_t>> neighbours(character.points.size());
    for (const Triangle& triangle : character.pointTriangles())
        for (std::size_t k = 0; k < 3; ++k)
            for (const std::size_t step : {1u, 2u})
                neighbours[triangle[k]].push_back(triangle[(k + step) % 3]);
    for (std::vector<std::uint32_t>& list : neighbours) {
        std::sort(list.begin(), list.end());
        list.erase(std::unique(list.begin(), list.end()), list.end());
    }
    return neighbours;
}

// Wave after wave: who has filled neighbours takes their mean. Returns the points that no wave reaches.
std::vector<std::uint32_t> fill(const Character& to, std::vector<std::uint32_t> open, PointValues& values) {
    const auto neighbours = neighboursOf(to);
    std::vector<char> filled(to.points.size(), 1);
    for (const std::uint32_t p : open) filled[p] = 0;
    for (bool going = true; going && !open.empty();) {
        std::vector<std::uint32_t> reached, rest;
        for (const std::uint32_t p : open) {
            std::vector<Source> sources;
            for (const std::uint32_t n : neighbours[p])
                if (filled[n]) sources.push_back({n, 0.0});
            for (Source& source : sources) source.part = 1.0 / static_cast<double>(sources.size());
            if (!sources.empty()) values.take(p, values, sources);
            (sources.empty() ? rest : reached).push_back(p);
        }
        for (const std::uint32_t p : reached) filled[p] = 1;
        going = !reached.empty();
        open = std::move(rest);
    }
    return open;
}

double sizeOf(const Character& character) {
    Bounds bounds;
    bounds.add(character.points);
    return bounds.empty() ? 0.0 : length(bounds.high - bounds.low);
}

} // namespace

TransferResult transferRig(RigFile& rig, const Character& from, const Character& to, double maxDistance) {
    const std::vector<Triangle> triangles = from.pointTriangles();
    if (triangles.empty())
        throw HostError(ExitCode::kInput, "'" + from.path +
                                              "' has no faces; there is no surface to transfer "
                                              "from");
    const double limit = maxDistance < 0.0 ? 0.05 * sizeOf(from) : maxDistance;
    const headless::MeshQueries queries = queriesOf(from, triangles);
    const PointValues old = valuesOf(rig, from.points.size());
    PointValues values(rig, to.points.size());
    TransferResult result;
    std::vector<std::vector<Source>> closest(to.points.size());
    for (std::size_t p = 0; p < to.points.size(); ++p) {
        const headless::NearestPoint nearest = queries.closestPoint(plain(to.points[p]));
        if (!nearest.found)
            throw HostError(ExitCode::kInput, "'" + to.path + "': point " + std::to_string(p) +
                                                  " is too far away from everything; check the unit");
        const Triangle& triangle = triangles[static_cast<std::size_t>(nearest.face)];
        const std::array<double, 3> parts =
            partsAt({from.points[triangle[0]], from.points[triangle[1]], from.points[triangle[2]]},
                    {nearest.point[0], nearest.point[1], nearest.point[2]});
        for (std::size_t k = 0; k < 3; ++k) closest[p].push_back({triangle[k], parts[k]});
        if (nearest.distance > limit) {
            result.unmatched.push_back(static_cast<std::uint32_t>(p));
            continue;
        }
        result.farthest = std::max(result.farthest, nearest.distance);
        values.take(p, old, closest[p]);
    }
    if (result.unmatched.size() == to.points.size())
        throw HostError(ExitCode::kInput,
                        "no point of '" + to.path + "' lies near the surface of '" + from.path +
                            "'; both must lie in the same place in the same unit, see --max-distance");
    const std::vector<std::uint32_t> islands = fill(to, result.unmatched, values);
    for (const std::uint32_t p : islands) values.take(p, old, closest[p]);
    result.islands = islands.size();
    store(values, to.points.size(), rig);
    return result;
}

} // namespace talvisora::host
