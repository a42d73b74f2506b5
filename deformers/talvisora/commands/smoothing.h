// SPDX-License-Identifier: Apache-2.0
// Averaging of per-vertex values over the mesh's edges.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace talvisora {

/// The vertices at the other ends of each vertex's edges, in the order of the edges, none taken out: the
/// neighbours of i are vertices[first[i]] to vertices[first[i + 1] - 1].
struct Neighbours {
    std::vector<std::size_t> first; ///< vertexCount + 1 values
    std::vector<std::int32_t> vertices;
};

/// Edges with a vertex outside [0, vertexCount) are left out.
Neighbours findNeighbours(const std::vector<std::array<std::int32_t, 2>>& edges, std::size_t vertexCount);

/// `passes` times, every value becomes the mean of itself and its neighbours', in single precision, out of
/// the values of the pass before. None when `passes` is 0 or less. Any number of passes gives the exact
/// result; once the values stand still or go in a circle, the rest is known without doing it. Parallel over
/// vertices.
void smoothValues(const Neighbours& neighbours, std::int32_t passes, std::vector<float>& values);

} // namespace talvisora
