// SPDX-License-Identifier: Apache-2.0
// A tree of boxes over the triangles, split in the middle of the longest side; every triangle asks it for
// those behind itself in the order, so that each pair is tested once.
#include "host/quality/crossings.h"

#include "host/box.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace talvisora::host {

namespace {

double side(const Vec3d& a, const Vec3d& b, const Vec3d& c, const Vec3d& p) {
    return dot(cross(b - a, c - a), p - a);
}

// Whether the segment from p to q goes through the triangle, both ends off its plane by more than rounding:
// neighbours that lie in one plane must not count.
bool pierces(const Vec3d& p, const Vec3d& q, const Vec3d (&t)[3]) {
    const Vec3d normal = cross(t[1] - t[0], t[2] - t[0]);
    const double atP = dot(normal, p - t[0]), atQ = dot(normal, q - t[0]);
    const double size =
        std::max({length(t[1] - t[0]), length(t[2] - t[0]), length(p - t[0]), length(q - t[0])});
    const double rounding = 1e-9 * length(normal) * size;
    if (!((atP > rounding && atQ < -rounding) || (atP < -rounding && atQ > rounding))) return false;
    const double u = side(p, q, t[0], t[1]), v = side(p, q, t[1], t[2]), w = side(p, q, t[2], t[0]);
    return (u >= 0.0 && v >= 0.0 && w >= 0.0) || (u <= 0.0 && v <= 0.0 && w <= 0.0);
}

double along(const Vec3d& v, int axis) {
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

class Tree {
public:
    Tree(const std::vector<Vec3d>& points, const std::vector<Triangle>& triangles)
        : points_(points), triangles_(triangles) {
        for (std::size_t t = 0; t < triangles.size(); ++t) {
            Box box;
            bool whole = true;
            for (const std::uint32_t corner : triangles[t]) {
                whole = whole && isFinite(points[corner]);
                box.add(points[corner]);
            }
            boxes_.push_back(box);
            if (whole) order_.push_back(t);
        }
        if (!order_.empty()) build(0, order_.size());
    }

    std::vector<bool> crossings() const {
        std::vector<bool> found(triangles_.size(), false);
        for (const std::size_t t : order_) {
            std::vector<std::size_t> open{0};
            while (!open.empty()) {
                const Node& node = nodes_[open.back()];
                open.pop_back();
                if (!node.box.meets(boxes_[t])) continue;
                if (node.right != 0) {
                    open.push_back(node.left);
                    open.push_back(node.right);
                    continue;
                }
                for (std::size_t k = node.first; k < node.last; ++k) {
                    const std::size_t other = order_[k];
                    if (other <= t || !boxes_[t].meets(boxes_[other]) || !cross(t, other)) continue;
                    found[t] = found[other] = true;
                }
            }
        }
        return found;
    }

private:
    struct Node {
        Box box;
        std::size_t first = 0, last = 0;
        std::size_t left = 0, right = 0; // right 0: a leaf
    };

    std::size_t build(std::size_t first, std::size_t last) {
        const std::size_t at = nodes_.size();
        nodes_.emplace_back();
        Box box;
        for (std::size_t k = first; k < last; ++k) {
            box.add(boxes_[order_[k]].low);
            box.add(boxes_[order_[k]].high);
        }
        nodes_[at].box = box;
        nodes_[at].first = first;
        nodes_[at].last = last;
        if (last - first <= 4) return at;
        const Vec3d size = box.high - box.low;
        const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
        const std::size_t middle = (first + last) / 2;
        const auto begin = order_.begin();
        std::nth_element(begin + static_cast<std::ptrdiff_t>(first),
                         begin + static_cast<std::ptrdiff_t>(middle),
                         begin + static_cast<std::ptrdiff_t>(last), [&](std::size_t a, std::size_t b) {
                             return along(boxes_[a].low + boxes_[a].high, axis) <
                                    along(boxes_[b].low + boxes_[b].high, axis);
                         });
        const std::size_t left = build(first, middle), right = build(middle, last);
        nodes_[at].left = left;
        nodes_[at].right = right;
        return at;
    }

    bool cross(std::size_t s, std::size_t t) const {
        const Triangle &a = triangles_[s], &b = triangles_[t];
        int shared = 0, ofA = 0, ofB = 0;
        for (int i = 0; i < 3; ++i)
            for (int k = 0; k < 3; ++k)
                if (a[static_cast<std::size_t>(i)] == b[static_cast<std::size_t>(k)])
                    ++shared, ofA = i, ofB = k;
        if (shared > 1) return false;
        const Vec3d pa[3] = {points_[a[0]], points_[a[1]], points_[a[2]]};
        const Vec3d pb[3] = {points_[b[0]], points_[b[1]], points_[b[2]]};
        if (shared == 0) return trianglesCross(pa, pb);
        return pierces(pa[(ofA + 1) % 3], pa[(ofA + 2) % 3], pb) ||
               pierces(pb[(ofB + 1) % 3], pb[(ofB + 2) % 3], pa);
    }

    const std::vector<Vec3d>& points_;
    const std::vector<Triangle>& triangles_;
    std::vector<Box> boxes_;
    std::vector<std::size_t> order_;
    std::vector<Node> nodes_;
};

} // namespace

bool trianglesCross(const Vec3d (&a)[3], const Vec3d (&b)[3]) {
    for (int k = 0; k < 3; ++k)
        if (pierces(a[k], a[(k + 1) % 3], b) || pierces(b[k], b[(k + 1) % 3], a)) return true;
    return false;
}

std::vector<bool> crossingTriangles(const std::vector<Vec3d>& points,
                                    const std::vector<Triangle>& triangles) {
    return Tree(points, triangles).crossings();
}

} // namespace talvisora::host
