// SPDX-License-Identifier: Apache-2.0
// Neighbour lists in one array, and passes from one array into another.
#include "commands/smoothing.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

#include <algorithm>
#include <cstring>

namespace talvisora {

namespace {

/// Vertices of one task.
constexpr std::size_t kSmoothTile = 4096;

bool sameBits(const std::vector<float>& a, const std::vector<float>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

void smoothOnce(const Neighbours& neighbours, const std::vector<float>& values, std::vector<float>& result) {
    const std::size_t tiles = (values.size() + kSmoothTile - 1) / kSmoothTile;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, tiles, 1),
        [&](const tbb::blocked_range<std::size_t>& range) {
            const std::size_t end = std::min(range.end() * kSmoothTile, values.size());
            for (std::size_t i = range.begin() * kSmoothTile; i < end; ++i) {
                float sum = values[i];
                for (std::size_t k = neighbours.first[i]; k < neighbours.first[i + 1]; ++k)
                    sum += values[static_cast<std::size_t>(neighbours.vertices[k])];
                result[i] = sum / static_cast<float>(neighbours.first[i + 1] - neighbours.first[i] + 1);
            }
        },
        tbb::auto_partitioner());
}

} // namespace

Neighbours findNeighbours(const std::vector<std::array<std::int32_t, 2>>& edges, std::size_t vertexCount) {
    const auto isThere = [vertexCount](std::int32_t v) {
        return v >= 0 && static_cast<std::size_t>(v) < vertexCount;
    };
    Neighbours neighbours;
    neighbours.first.assign(vertexCount + 1, 0);
    for (const auto& edge : edges)
        if (isThere(edge[0]) && isThere(edge[1]))
            for (std::int32_t v : edge) ++neighbours.first[static_cast<std::size_t>(v) + 1];
    for (std::size_t i = 0; i < vertexCount; ++i) neighbours.first[i + 1] += neighbours.first[i];
    neighbours.vertices.resize(neighbours.first[vertexCount]);
    std::vector<std::size_t> next(neighbours.first.begin(), neighbours.first.end() - 1);
    for (const auto& edge : edges)
        if (isThere(edge[0]) && isThere(edge[1])) {
            neighbours.vertices[next[static_cast<std::size_t>(edge[0])]++] = edge[1];
            neighbours.vertices[next[static_cast<std::size_t>(edge[1])]++] = edge[0];
        }
    return neighbours;
}

void smoothValues(const Neighbours& neighbours, std::int32_t passes, std::vector<float>& values) {
    if (passes < 1 || values.empty() || neighbours.first.size() != values.size() + 1) return;
    std::vector<float> next(values.size(), 0.0f);
    // A pass depends on the one before alone: values seen before mean a circle. They are kept at passes 0, 1,
    // 3, 7 and so on, so that a circle of any length is met.
    std::vector<float> kept = values;
    std::int64_t keptAt = 0, keepFor = 1, last = passes;
    for (std::int64_t done = 0; done < last;) {
        smoothOnce(neighbours, values, next);
        ++done;
        values.swap(next);
        if (sameBits(values, next)) return; // stands still
        if (done == last) return;
        if (sameBits(values, kept)) {
            last = done + (last - done) % (done - keptAt);
        } else if (done - keptAt == keepFor) {
            kept = values;
            keptAt = done;
            keepFor *= 2;
        }
    }
}

} // namespace talvisora
