// SPDX-License-Identifier: Apache-2.0
// The tree of boxes, the nearest point on a triangle, and the watertight ray test.
#include "scene/mesh_queries.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace headless {
namespace {

constexpr double kCoordinateLimit = 1e60; // products of four coordinates stay finite
constexpr double kBoxPadding = 1e-12;     // far above the rounding of shear and slab test
constexpr unsigned int kLeafSize = 8;
constexpr int kBins = 16;
constexpr int kMedianDepth = 40; // from here on halves by count, so that depth and stack stay bounded
constexpr int kStackSize = 96;   // kMedianDepth + 32 halvings of less than 2^31 triangles, and some room

bool usable(const Vec3d& p) {
    return std::fabs(p[0]) <= kCoordinateLimit && std::fabs(p[1]) <= kCoordinateLimit &&
           std::fabs(p[2]) <= kCoordinateLimit; // false for NaN
}

Vec3d minus(const Vec3d& a, const Vec3d& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double dot(const Vec3d& a, const Vec3d& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Vec3d cross(const Vec3d& a, const Vec3d& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

struct Candidate {
    Vec3d point;
    double squared;
};

void keepNearer(Candidate& best, const Vec3d& point, const Vec3d& to) {
    const Vec3d d = minus(to, point);
    const double squared = dot(d, d);
    if (squared < best.squared) best = {point, squared};
}

void nearestOnSegment(Candidate& best, const Vec3d& a, const Vec3d& b, const Vec3d& p) {
    const Vec3d ab = minus(b, a);
    const double length = dot(ab, ab);
    double s = length > 0.0 ? dot(minus(p, a), ab) / length : 0.0;
    s = s > 0.0 ? (s < 1.0 ? s : 1.0) : 0.0;
    // From the nearer end, so that both ends are met exactly.
    if (s <= 0.5)
        keepNearer(best, {a[0] + s * ab[0], a[1] + s * ab[1], a[2] + s * ab[2]}, p);
    else
        keepNearer(best, {b[0] - (1 - s) * ab[0], b[1] - (1 - s) * ab[1], b[2] - (1 - s) * ab[2]}, p);
}

// Lowers `best` to the nearest point of the triangle if that is nearer. From outside, the nearest point lies
// on a side that the point is beyond; for slivers, whose plane is uncertain, all sides are looked at.
void nearestOnTriangle(Candidate& best, const Vec3d& a, const Vec3d& b, const Vec3d& c, const Vec3d& p) {
    const Vec3d ab = minus(b, a), ac = minus(c, a), ap = minus(p, a);
    const Vec3d normal = cross(ab, ac);
    const double area = dot(normal, normal);
    const bool sliver = !(area > 1e-12 * dot(ab, ab) * dot(ac, ac));
    double u = -1.0, v = -1.0, w = -1.0;
    if (area > 0.0) {
        const double height = dot(ap, normal);
        if (!sliver && height * height > best.squared * area * (1.0 + 1e-9)) return; // the plane is too far
        v = dot(cross(ap, ac), normal);
        w = dot(cross(ab, ap), normal);
        u = area - v - w;
        if (u >= 0.0 && v >= 0.0 && w >= 0.0) {
            const double s = v / area, t = w / area;
            keepNearer(
                best,
                {a[0] + s * ab[0] + t * ac[0], a[1] + s * ab[1] + t * ac[1], a[2] + s * ab[2] + t * ac[2]},
                p);
            if (!sliver) return;
        }
    }
    if (sliver || w < 0.0) nearestOnSegment(best, a, b, p);
    if (sliver || u < 0.0) nearestOnSegment(best, b, c, p);
    if (sliver || v < 0.0) nearestOnSegment(best, c, a, p);
}

// Exact sign of a·d − b·c: rounding is monotone, so unequal rounded products decide; equal ones leave it to
// their exact rounding errors.
int signOfDifference(double a, double b, double c, double d) {
    const double p = a * d, q = b * c;
    if (p != q) return p > q ? 1 : -1;
    const double e = std::fma(a, d, -p), f = std::fma(b, c, -q);
    return e > f ? 1 : e < f ? -1 : 0;
}

// Side of the ray (the origin) on which the edge from (ax, ay) to (bx, by) passes. On a tie the ray counts as
// moved by (e, e²) with an infinitely small e.
int edgeSide(double ax, double ay, double bx, double by) {
    const int side = signOfDifference(ax, ay, bx, by);
    if (side) return side;
    if (ay != by) return ay > by ? 1 : -1;
    return bx != ax ? (bx > ax ? 1 : -1) : 0;
}

double edgeValue(double ax, double ay, double bx, double by) {
    const double p = ax * by, q = ay * bx;
    return (p - q) + (std::fma(ax, by, -p) - std::fma(ay, bx, -q));
}

// The ray's own frame: axis 2 is its steepest one, along which the direction is +1 or -1.
struct RayFrame {
    int axis[3];
    double shearX, shearY, sign;
    Vec3d source;
};

struct Sheared {
    double x, y, t;
};

Sheared shear(const RayFrame& frame, const Vec3d& corner) {
    const Vec3d d = minus(corner, frame.source);
    const double t = d[static_cast<std::size_t>(frame.axis[2])] * frame.sign;
    return {d[static_cast<std::size_t>(frame.axis[0])] - frame.shearX * t,
            d[static_cast<std::size_t>(frame.axis[1])] - frame.shearY * t, t};
}

} // namespace

MeshQueries::MeshQueries(const std::vector<Vec3d>& points, const std::vector<MeshTriangle>& triangles) {
    std::vector<Corners> all;
    all.reserve(triangles.size());
    for (const MeshTriangle& triangle : triangles) {
        const Vec3d& a = points[static_cast<std::size_t>(triangle.vertices[0])];
        const Vec3d& b = points[static_cast<std::size_t>(triangle.vertices[1])];
        const Vec3d& c = points[static_cast<std::size_t>(triangle.vertices[2])];
        if (usable(a) && usable(b) && usable(c))
            all.push_back({a, b, c, triangle.face, triangle.indexInFace});
    }
    std::vector<unsigned int> order(all.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<unsigned int>(i);
    build(order, all);
    corners.reserve(all.size());
    for (unsigned int index : order) corners.push_back(all[index]);
}

void MeshQueries::build(std::vector<unsigned int>& order, const std::vector<Corners>& all) {
    if (all.empty()) return;
    struct Box {
        Vec3d low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                  std::numeric_limits<double>::infinity()};
        Vec3d high{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                   -std::numeric_limits<double>::infinity()};
        void add(const Vec3d& p) {
            for (std::size_t k = 0; k < 3; ++k) {
                if (p[k] < low[k]) low[k] = p[k];
                if (p[k] > high[k]) high[k] = p[k];
            }
        }
        void add(const Box& other) {
            add(other.low);
            add(other.high);
        }
        double surface() const {
            const double x = high[0] - low[0], y = high[1] - low[1], z = high[2] - low[2];
            return x * y + y * z + z * x;
        }
    };
    std::vector<Box> boxes(all.size());
    std::vector<Vec3d> centres(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        boxes[i].add(all[i].a);
        boxes[i].add(all[i].b);
        boxes[i].add(all[i].c);
        for (std::size_t k = 0; k < 3; ++k) centres[i][k] = 0.5 * boxes[i].low[k] + 0.5 * boxes[i].high[k];
    }

    struct Range {
        unsigned int begin, end, parent; // parent: the node whose right child this is, or none
        int depth;
    };
    constexpr unsigned int kNone = ~0u;
    std::vector<Range> pending{{0, static_cast<unsigned int>(all.size()), kNone, 0}};
    nodes.reserve(all.size() / 2 + 1);
    while (!pending.empty()) {
        const Range range = pending.back();
        pending.pop_back();
        const unsigned int self = static_cast<unsigned int>(nodes.size());
        if (range.parent != kNone) nodes[range.parent].start = self;
        Box box, centreBox;
        for (unsigned int i = range.begin; i < range.end; ++i) {
            box.add(boxes[order[i]]);
            centreBox.add(centres[order[i]]);
        }
        Node node{};
        double largest = 0.0;
        for (std::size_t k = 0; k < 3; ++k)
            largest = std::max({largest, std::fabs(box.low[k]), std::fabs(box.high[k])});
        for (std::size_t k = 0; k < 3; ++k) {
            node.low[k] = box.low[k] - kBoxPadding * largest;
            node.high[k] = box.high[k] + kBoxPadding * largest;
        }
        const unsigned int count = range.end - range.begin;
        if (count <= kLeafSize) {
            node.start = range.begin;
            node.count = count;
            nodes.push_back(node);
            continue;
        }
        nodes.push_back(node);

        std::size_t axis = 0;
        for (std::size_t k = 1; k < 3; ++k) {
            if (centreBox.high[k] - centreBox.low[k] > centreBox.high[axis] - centreBox.low[axis]) axis = k;
        }
        const double low = centreBox.low[axis], extent = centreBox.high[axis] - low;
        unsigned int middle = range.begin;
        if (range.depth < kMedianDepth && extent > 0.0) {
            const auto binOf = [&](unsigned int index) {
                return std::min(kBins - 1, static_cast<int>((centres[index][axis] - low) / extent * kBins));
            };
            Box binBox[kBins];
            unsigned int binCount[kBins] = {};
            for (unsigned int i = range.begin; i < range.end; ++i) {
                const int bin = binOf(order[i]);
                binBox[bin].add(boxes[order[i]]);
                ++binCount[bin];
            }
            double rightCost[kBins] = {};
            Box right;
            unsigned int rightCount = 0;
            for (int bin = kBins - 1; bin > 0; --bin) {
                if (binCount[bin]) right.add(binBox[bin]);
                rightCount += binCount[bin];
                rightCost[bin] = rightCount ? right.surface() * rightCount : 0.0;
            }
            Box left;
            unsigned int leftCount = 0;
            int split = 0;
            double best = std::numeric_limits<double>::infinity();
            for (int bin = 0; bin + 1 < kBins; ++bin) {
                if (binCount[bin]) left.add(binBox[bin]);
                leftCount += binCount[bin];
                if (leftCount == 0 || leftCount == count) continue;
                const double cost = left.surface() * leftCount + rightCost[bin + 1];
                if (cost < best) {
                    best = cost;
                    split = bin + 1;
                }
            }
            const auto cut = std::partition(order.begin() + range.begin, order.begin() + range.end,
                                            [&](unsigned int index) { return binOf(index) < split; });
            middle = static_cast<unsigned int>(cut - order.begin());
        }
        if (middle == range.begin || middle == range.end) {
            middle = range.begin + count / 2;
            std::nth_element(order.begin() + range.begin, order.begin() + middle, order.begin() + range.end,
                             [&](unsigned int x, unsigned int y) {
                                 return centres[x][axis] != centres[y][axis]
                                            ? centres[x][axis] < centres[y][axis]
                                            : x < y;
                             });
        }
        pending.push_back({middle, range.end, self, range.depth + 1});
        pending.push_back({range.begin, middle, kNone, range.depth + 1}); // next: right behind its parent
    }
}

NearestPoint MeshQueries::closestPoint(const Vec3d& point) const {
    NearestPoint result;
    if (nodes.empty() || !usable(point)) return result;
    const auto squaredToBox = [&](const Node& node) {
        double sum = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double below = node.low[k] - point[k], above = point[k] - node.high[k];
            const double d = below > above ? below : above;
            if (d > 0.0) sum += d * d;
        }
        return sum;
    };
    struct Entry {
        unsigned int node;
        double squared;
    };
    Entry stack[kStackSize];
    int depth = 0;
    stack[depth++] = {0, squaredToBox(nodes[0])};
    Candidate best{point, std::numeric_limits<double>::infinity()};
    while (depth > 0) {
        const Entry entry = stack[--depth];
        if (entry.squared > best.squared) continue; // boxes are padded, so rounding cannot cut off the best
        const Node& node = nodes[entry.node];
        if (node.count == 0) {
            const Entry left{entry.node + 1, squaredToBox(nodes[entry.node + 1])};
            const Entry right{node.start, squaredToBox(nodes[node.start])};
            const bool leftFirst = left.squared <= right.squared;
            stack[depth++] = leftFirst ? right : left;
            stack[depth++] = leftFirst ? left : right;
            continue;
        }
        for (unsigned int i = node.start; i < node.start + node.count; ++i) {
            const Corners& triangle = corners[i];
            const double before = best.squared;
            nearestOnTriangle(best, triangle.a, triangle.b, triangle.c, point);
            if (!(best.squared < before)) continue;
            result.found = true;
            result.face = triangle.face;
            result.indexInFace = triangle.indexInFace;
        }
    }
    result.point = best.point;
    result.distance = std::sqrt(best.squared);
    return result;
}

void MeshQueries::allHits(const Vec3d& source, const Vec3d& direction, double maxParam, bool bothWays,
                          std::vector<RayHit>& hits) const {
    if (nodes.empty() || !usable(source) || !(maxParam > 0.0)) return;
    std::size_t steepest = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        if (!std::isfinite(direction[k])) return;
        if (std::fabs(direction[k]) > std::fabs(direction[steepest])) steepest = k;
    }
    const double largest = std::fabs(direction[steepest]);
    if (!(largest > 0.0)) return;

    // The walk uses the direction with its largest component as 1; parameters along it are `largest` times t.
    Vec3d inverse;
    Vec3d unit;
    for (std::size_t k = 0; k < 3; ++k) {
        unit[k] = direction[k] / largest;
        inverse[k] = 1.0 / unit[k];
    }
    RayFrame frame;
    frame.axis[2] = static_cast<int>(steepest);
    frame.axis[0] = static_cast<int>((steepest + 1) % 3);
    frame.axis[1] = static_cast<int>((steepest + 2) % 3);
    frame.shearX = unit[static_cast<std::size_t>(frame.axis[0])];
    frame.shearY = unit[static_cast<std::size_t>(frame.axis[1])];
    frame.sign = unit[steepest] > 0.0 ? 1.0 : -1.0;
    frame.source = source;
    const double padding =
        kBoxPadding * std::max({std::fabs(source[0]), std::fabs(source[1]), std::fabs(source[2])});
    const double last = maxParam * largest * (1.0 + kBoxPadding);
    const double first = bothWays ? -last : 0.0;

    // Comparisons are written so that a NaN (a box side through the source of a parallel ray) rejects
    // nothing.
    const auto meets = [&](const Node& node) {
        double enter = first, leave = last;
        for (std::size_t k = 0; k < 3; ++k) {
            const double low = (node.low[k] - padding - source[k]) * inverse[k];
            const double high = (node.high[k] + padding - source[k]) * inverse[k];
            const double nearer = inverse[k] >= 0.0 ? low : high, farther = inverse[k] >= 0.0 ? high : low;
            if (nearer > enter) enter = nearer;
            if (farther < leave) leave = farther;
        }
        return !(enter > leave);
    };

    unsigned int stack[kStackSize];
    int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        const unsigned int index = stack[--depth];
        const Node& node = nodes[index];
        if (!meets(node)) continue;
        if (node.count == 0) {
            stack[depth++] = node.start;
            stack[depth++] = index + 1;
            continue;
        }
        for (unsigned int i = node.start; i < node.start + node.count; ++i) {
            const Corners& triangle = corners[i];
            const Sheared a = shear(frame, triangle.a), b = shear(frame, triangle.b),
                          c = shear(frame, triangle.c);
            const int side = edgeSide(b.x, b.y, c.x, c.y);
            if (side == 0 || edgeSide(c.x, c.y, a.x, a.y) != side || edgeSide(a.x, a.y, b.x, b.y) != side)
                continue;
            double wa = edgeValue(b.x, b.y, c.x, c.y), wb = edgeValue(c.x, c.y, a.x, a.y),
                   wc = edgeValue(a.x, a.y, b.x, b.y);
            const double sum = wa + wb + wc;
            if (sum != 0.0 && std::isfinite(sum)) {
                wa /= sum;
                wb /= sum;
                wc /= sum;
            } else {
                wa = wb = wc = 1.0 / 3.0; // a sliver below the range of double: any of its points will do
            }
            const double lowest = std::min({a.t, b.t, c.t}), highest = std::max({a.t, b.t, c.t});
            const double along =
                std::min(std::max(wa * a.t + wb * b.t + wc * c.t, lowest), highest) / largest;
            if (!(along <= maxParam)) continue;
            if (bothWays ? (along == 0.0 || along < -maxParam) : !(along > 0.0)) continue;
            hits.push_back({along, triangle.face, triangle.indexInFace, wa, wb});
        }
    }
}

} // namespace headless
