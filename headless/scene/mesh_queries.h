// SPDX-License-Identifier: Apache-2.0
// Nearest points and ray crossings of polygon meshes, in double precision over a tree of boxes, and the
// derived edges. Used by MFnMesh; the host may use it directly.
#pragma once

#include "../headless_api.h"
#include <array>
#include <cstddef>
#include <vector>

namespace headless {

using Vec3d = std::array<double, 3>;

/// A triangle of a face: faces are cut into fans around their first vertex, (v0, v1, v2), (v0, v2, v3), …
struct MeshTriangle {
    int vertices[3];
    int face;
    int indexInFace; // 0 to face vertices - 3
};

struct NearestPoint {
    bool found = false;
    Vec3d point{};
    double distance = 0.0;
    int face = -1;
    int indexInFace = -1;
};

/// One crossing of a ray with a triangle: at `t` times the direction; weights of the triangle's first and
/// second vertex.
struct RayHit {
    double t;
    int face;
    int indexInFace;
    double bary1;
    double bary2;
};

/// The undirected edges of faces, each once, as vertex pairs in the direction of their first appearance, in
/// the order of first appearance when the faces are walked in order and each from its first vertex (v0 v1),
/// (v1 v2), … (vk v0). A side from a vertex to itself is no edge.
///
/// `faceVertices` holds valid indices, `faceCounts` adds up to its length.
HEADLESS_API std::vector<std::array<int, 2>> meshEdges(const std::vector<int>& faceCounts,
                                                       const std::vector<int>& faceVertices);

/// Fans of all faces in order.
HEADLESS_API std::vector<MeshTriangle> meshTriangles(const std::vector<int>& faceCounts,
                                                     const std::vector<int>& faceVertices);

/// Tree of boxes over triangles. Triangles with a corner that is not finite or beyond 1e60 are left out.
///
/// Threads: queries are constant and may run at the same time.
class HEADLESS_API MeshQueries {
public:
    /// Copies what it needs. Indices in `triangles` must lie in `points`.
    MeshQueries(const std::vector<Vec3d>& points, const std::vector<MeshTriangle>& triangles);

    /// Exact nearest point over all triangles, degenerate ones (segments, points) included. Not found without
    /// triangles or for a point that is not finite or beyond 1e60.
    NearestPoint closestPoint(const Vec3d& point) const;

    /// Appends every crossing with t in (0, maxParam], or in [-maxParam, maxParam] without 0 if `bothWays`,
    /// in no particular order.
    ///
    /// Watertight: corners are sheared into the ray's own frame by a rule that depends on the corner and the
    /// ray alone, and the signs of the edge functions there are exact, with a fixed infinitely small shift of
    /// the ray deciding ties. So a ray through an edge or a vertex crosses a closed surface as often as one
    /// close by, and an edge shared by two faces never counts twice or not at all. A triangle seen exactly
    /// edge-on has no crossing. Nothing is found for a direction that is zero or not finite, or a source that
    /// is not finite.
    void allHits(const Vec3d& source, const Vec3d& direction, double maxParam, bool bothWays,
                 std::vector<RayHit>& hits) const;

    std::size_t triangleCount() const { return corners.size(); }

private:
    // Inner nodes have their left child right behind them and `start` names the right one; leaves have
    // `count` triangles from `start`.
    struct Node {
        double low[3];
        double high[3];
        unsigned int start;
        unsigned int count;
    };
    struct Corners {
        Vec3d a, b, c;
        int face;
        int indexInFace;
    };

    void build(std::vector<unsigned int>& order, const std::vector<Corners>& all);

    std::vector<Node> nodes;
    std::vector<Corners> corners; // in the order of the leaves
};

} // namespace headless
