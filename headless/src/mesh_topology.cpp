// SPDX-License-Identifier: Apache-2.0
// What follows from a mesh's faces alone: its edges, in a fixed order, and its triangles.
#include "scene/mesh_queries.h"

#include <algorithm>
#include <cstdint>

namespace headless {
namespace {

std::uint64_t edgeKey(int u, int v) {
    const auto low = static_cast<std::uint64_t>(static_cast<unsigned int>(std::min(u, v)));
    const auto high = static_cast<std::uint64_t>(static_cast<unsigned int>(std::max(u, v)));
    return low << 32 | high;
}

} // namespace

std::vector<std::array<int, 2>> meshEdges(const std::vector<int>& faceCounts,
                                          const std::vector<int>& faceVertices) {
    constexpr std::uint64_t kFree = ~std::uint64_t(0);
    std::size_t slots = 16;
    while (slots < 2 * faceVertices.size()) slots *= 2;
    std::vector<std::uint64_t> seen(slots, kFree);
    std::vector<std::array<int, 2>> edges;
    std::size_t first = 0;
    for (int count : faceCounts) {
        const std::size_t n = static_cast<std::size_t>(count);
        for (std::size_t i = 0; i < n; ++i) {
            const int u = faceVertices[first + i], v = faceVertices[first + (i + 1 < n ? i + 1 : 0)];
            if (u == v) continue;
            const std::uint64_t key = edgeKey(u, v);
            std::uint64_t mixed = key * 0x9E3779B97F4A7C15u;
            mixed ^= mixed >> 29;
            std::size_t slot = static_cast<std::size_t>(mixed) & (slots - 1);
            while (seen[slot] != kFree && seen[slot] != key) slot = (slot + 1) & (slots - 1);
            if (seen[slot] == key) continue;
            seen[slot] = key;
            edges.push_back({u, v});
        }
        first += n;
    }
    return edges;
}

std::vector<MeshTriangle> meshTriangles(const std::vector<int>& faceCounts,
                                        const std::vector<int>& faceVertices) {
    std::vector<MeshTriangle> triangles;
    std::size_t first = 0;
    for (std::size_t face = 0; face < faceCounts.size(); ++face) {
        const std::size_t n = static_cast<std::size_t>(faceCounts[face]);
        for (std::size_t i = 2; i < n; ++i) {
            triangles.push_back({{faceVertices[first], faceVertices[first + i - 1], faceVertices[first + i]},
                                 static_cast<int>(face),
                                 static_cast<int>(i - 2)});
        }
        first += n;
    }
    return triangles;
}

} // namespace headless
