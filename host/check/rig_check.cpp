// SPDX-License-Identifier: Apache-2.0
#include "host/check/rig_check.h"

#include "hierarchy.h"
#include "host/figures.h"
#include "world_matrices.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

// Limits of the module's set-up; a simple block of fewer than four joints counts as one that is not simple.
constexpr std::size_t kFewestJoints = 2, kFewestSimpleJoints = 4, kMostJoints = 10, kMostSimpleJoints = 30;

std::size_t pointCount(const AutoRig& rig) {
    return rig.blocks.empty() ? 0 : rig.blocks[0].weights.size();
}

// Each edge of the triangles once, the smaller index first.
std::vector<std::array<std::uint32_t, 2>> edgesOf(const Character& character) {
    std::vector<std::array<std::uint32_t, 2>> edges;
    for (const Triangle& triangle : character.pointTriangles())
        for (std::size_t k = 0; k < 3; ++k) {
            const std::uint32_t a = triangle[k], b = triangle[(k + 1) % 3];
            edges.push_back({std::min(a, b), std::max(a, b)});
        }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    return edges;
}

// Along the joints at rest; 0 when the hierarchy does not lead to a root.
double chainLength(const RigBlock& block, WorldMatrices& worlds) {
    double sum = 0.0;
    Vec3d last;
    for (std::size_t j = 0; j < block.joints.size(); ++j) {
        Matrix44d world;
        if (worlds.of(block.joints[j], world)) return 0.0;
        if (j > 0) sum += length(translation(world) - last);
        last = translation(world);
    }
    return sum;
}

GrHierarchy restTable(const AutoRig& rig) {
    GrHierarchy table;
    for (const RigRecord& record : rig.records)
        table.set(record.name, {record.restLocal, record.restLocal, record.parent, record.flag});
    return table;
}

} // namespace

const char* findingName(FindingKind kind) {
    switch (kind) {
    case FindingKind::kChain:
        return "chain";
    case FindingKind::kFloating:
        return "floating";
    case FindingKind::kLeftBehind:
        return "leftBehind";
    case FindingKind::kNotFinite:
        return "notFinite";
    case FindingKind::kParamJump:
        return "paramJump";
    case FindingKind::kCovered:
        break;
    }
    return "covered";
}

std::vector<Finding> checkChains(const AutoRig& rig) {
    std::vector<Finding> findings;
    if (rig.blocks.empty())
        findings.push_back({FindingKind::kChain, "", "the rig has no blocks, nothing would move", {}});
    for (const RigBlock& block : rig.blocks) {
        const std::size_t joints = block.joints.size();
        const std::string has = "has " + counted(joints, "joint") + "; ";
        const bool simple = block.simple && joints >= kFewestSimpleJoints;
        if (joints < kFewestJoints)
            findings.push_back({FindingKind::kChain, block.name, has + "a chain needs two", {}});
        else if (joints > (simple ? kMostSimpleJoints : kMostJoints))
            findings.push_back(
                {FindingKind::kChain,
                 block.name,
                 has + "at most 10, or 30 when simple; cut the chain into blocks that share a joint",
                 {}});
    }
    return findings;
}

std::vector<Finding> checkLeftBehind(const AutoRig& rig, const std::vector<std::uint32_t>& floating) {
    Finding finding{FindingKind::kLeftBehind,
                    "",
                    "left behind in part: their weights sum to 1, but blocks act one over the other and "
                    "leave more than a thousandth part",
                    {}};
    const std::vector<double> left = rig.shareLeftBehind();
    for (std::size_t p = 0; p < left.size(); ++p) {
        const auto point = static_cast<std::uint32_t>(p);
        if (left[p] > kLeftBehindShare && !std::binary_search(floating.begin(), floating.end(), point))
            finding.points.push_back(point);
    }
    if (finding.points.empty()) return {};
    return {finding};
}

std::vector<Finding> checkCovered(const AutoRig& rig) {
    std::vector<Finding> findings;
    std::vector<double> remaining(pointCount(rig), 1.0); // what the blocks after this one leave
    for (std::size_t b = rig.blocks.size(); b-- > 0;) {
        const RigBlock& block = rig.blocks[b];
        Finding finding{
            FindingKind::kCovered, block.name, "its weight never acts, later blocks cover it", {}};
        for (std::size_t p = 0; p < remaining.size(); ++p) {
            if (block.weights[p] >= kWeightOfNote && remaining[p] <= kCoveredShare)
                finding.points.push_back(static_cast<std::uint32_t>(p));
            remaining[p] *= 1.0 - static_cast<double>(block.env) * block.weights[p];
        }
        if (!finding.points.empty()) findings.push_back(std::move(finding));
    }
    std::reverse(findings.begin(), findings.end());
    return findings;
}

std::vector<std::vector<double>> actingShares(const AutoRig& rig) {
    std::vector<std::vector<double>> shares(rig.blocks.size());
    std::vector<double> remaining(pointCount(rig), 1.0);
    for (std::size_t b = rig.blocks.size(); b-- > 0;) {
        const RigBlock& block = rig.blocks[b];
        shares[b].resize(remaining.size());
        for (std::size_t p = 0; p < remaining.size(); ++p) {
            const double weight = static_cast<double>(block.env) * block.weights[p];
            shares[b][p] = weight * remaining[p];
            remaining[p] *= 1.0 - weight;
        }
    }
    return shares;
}

std::vector<Finding> checkParamJumps(const Character& character, const AutoRig& rig) {
    const std::vector<std::array<std::uint32_t, 2>> edges = edgesOf(character);
    const std::vector<std::vector<double>> shares = actingShares(rig);
    const GrHierarchy table = restTable(rig);
    WorldMatrices worlds(table, ::Pose::kRest);
    std::vector<Finding> findings;
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        const RigBlock& block = rig.blocks[b];
        const double curve = chainLength(block, worlds);
        Finding finding{FindingKind::kParamJump, block.name, "its parameter jumps along an edge", {}};
        for (const auto& edge : edges) {
            if (std::min(shares[b][edge[0]], shares[b][edge[1]]) < kJumpShare) continue;
            const double part = std::fabs(static_cast<double>(block.params[edge[0]]) - block.params[edge[1]]);
            const double edgeLength = length(character.points[edge[0]] - character.points[edge[1]]);
            if (part > kJumpPart && part * curve > kJumpStretch * edgeLength)
                finding.points.insert(finding.points.end(), edge.begin(), edge.end());
        }
        std::sort(finding.points.begin(), finding.points.end());
        finding.points.erase(std::unique(finding.points.begin(), finding.points.end()), finding.points.end());
        if (!finding.points.empty()) findings.push_back(std::move(finding));
    }
    return findings;
}

std::vector<Finding> checkFinite(const std::vector<Vec3d>& deformed) {
    Finding finding{FindingKind::kNotFinite, "", "deformed to no finite place, at rest already", {}};
    for (std::size_t p = 0; p < deformed.size(); ++p)
        if (!isFinite(deformed[p])) finding.points.push_back(static_cast<std::uint32_t>(p));
    if (finding.points.empty()) return {};
    return {finding};
}

} // namespace talvisora::host
