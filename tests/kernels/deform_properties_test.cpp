// SPDX-License-Identifier: Apache-2.0
// Properties of the point stage on rigs that a property checker makes up: agreement with the literal form, no
// effect of one point on another, independence of the order of the mesh, no effect past the range of blocks.
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "fixtures/golden.h"
#include "fixtures/random_rig.h"
#include "kernels/active_pairs.h"
#include "reference/literal_deform.h"

namespace talvisora {
namespace {

using namespace fixtures;

/// Any rig of moderate size.
RigOptions anyRig() {
    RigOptions o;
    o.seed = *rc::gen::arbitrary<std::uint32_t>();
    o.pointCount = *rc::gen::inRange<std::size_t>(0, 700);
    o.blockCount = *rc::gen::inRange(1, 8);
    o.jointCount = *rc::gen::inRange(0, 11);
    if (o.jointCount == 1) o.jointCount = 2;
    o.simpleShare = *rc::gen::element(0.0, 0.5, 1.0);
    o.activePerPoint = *rc::gen::element(1.0, 1.5, 3.0);
    o.tweaks = *rc::gen::element(Tweaks::kOff, Tweaks::kSome, Tweaks::kAll, Tweaks::kAllButCollision);
    o.order = *rc::gen::element(MeshOrder::kAlong, MeshOrder::kAround, MeshOrder::kShuffled);
    o.weightMapsOne = *rc::gen::arbitrary<bool>();
    o.affineGeo = *rc::gen::arbitrary<bool>();
    o.distanceFromOrigin = *rc::gen::element(0.0, 30.0, 1000.0);
    return o;
}

std::vector<Vec3d> deformed(RandomRig& rig) {
    ActivePairs pairs;
    deformPoints(rig.freshStage(), pairs);
    return rig.points;
}

bool sameBits(const Vec3d& a, const Vec3d& b) {
    return std::memcmp(&a, &b, sizeof(Vec3d)) == 0;
}

RC_GTEST_PROP(DeformProperties, EveryPointIsThatOfTheLiteralForm, ()) {
    RandomRig rig = makeRandomRig(anyRig());
    std::vector<literal::Trace> traces;
    literal::deformPoints(rig.freshStage(), &traces);
    const auto expected = rig.points;
    double largest = 0.0;
    for (const auto& trace : traces) largest = std::max(largest, trace.largest);
    const auto points = deformed(rig);
    for (std::size_t i = 0; i < points.size(); ++i)
        RC_ASSERT(largestDifference({points[i]}, {expected[i]}) <=
                  largest * (traces[i].collisionNearBoundary ? 1e-7 : 1e-12));
}

RC_GTEST_PROP(DeformProperties, APointAloneComesOutAsAmongOthers, ()) {
    RigOptions o = anyRig();
    o.pointCount = std::max<std::size_t>(o.pointCount, 2);
    RandomRig rig = makeRandomRig(o);
    const auto together = deformed(rig);
    const std::size_t n = o.pointCount, kept = *rc::gen::inRange<std::size_t>(0, n);
    // Everybody else leaves.
    for (std::size_t i = 0; i < n; ++i)
        if (i != kept) rig.ordersEnd[i] = rig.ordersStart[i] = 0;
    const auto alone = deformed(rig);
    for (std::size_t i = 0; i < n; ++i)
        RC_ASSERT(sameBits(alone[i], i == kept ? together[i] : rig.restPoints[i]));
}

// Half of the rigs have numbers that no host would send.
RC_GTEST_PROP(DeformProperties, PairsThatAreForgottenMoveThePointsAlike, ()) {
    RigOptions o = anyRig();
    o.pointCount *= *rc::gen::element<std::size_t>(1, 20); // one tile or several
    o.numbers = *rc::gen::element(Numbers::kTame, Numbers::kWild);
    RandomRig rig = makeRandomRig(o);
    const auto listed = deformed(rig);
    ActivePairs room;
    deformChangingPoints(rig.freshStage(), room);
    RC_ASSERT(!room.valid());
    for (std::size_t i = 0; i < listed.size(); ++i) RC_ASSERT(sameBits(rig.points[i], listed[i]));
}

template <class T>
std::vector<T> permuted(const std::vector<T>& rows, std::size_t n, const std::vector<std::size_t>& order) {
    std::vector<T> list(rows.size());
    for (std::size_t k = 0; k < rows.size(); ++k) list[k] = rows[k / n * n + order[k % n]];
    return list;
}

RC_GTEST_PROP(DeformProperties, TheOrderOfTheMeshDoesNotMatter, ()) {
    RigOptions o = anyRig();
    o.pointCount = std::max<std::size_t>(o.pointCount, 1);
    RandomRig rig = makeRandomRig(o);
    const auto before = deformed(rig);
    const std::size_t n = o.pointCount, stride = *rc::gen::element<std::size_t>(1, 7, 11, 13);
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return a % stride < b % stride; });
    rig.restPoints = permuted(rig.restPoints, n, order);
    rig.pointWeights = permuted(rig.pointWeights, n, order);
    rig.blockWeights = permuted(rig.blockWeights, n, order);
    rig.params = permuted(rig.params, n, order);
    rig.weightMaps = permuted(rig.weightMaps, n, order);
    rig.updateOrders();
    const auto after = deformed(rig);
    for (std::size_t i = 0; i < n; ++i) RC_ASSERT(sameBits(after[i], before[order[i]]));
}

// Slots and rows that no rule reads hold noise: nothing changes.
RC_GTEST_PROP(DeformProperties, WhatLiesOutsideTheRulesIsNotRead, ()) {
    RandomRig rig = makeRandomRig(anyRig());
    const auto before = deformed(rig);
    const std::size_t n = rig.restPoints.size();
    const float noise = *rc::gen::element(-3.0f, 0.5f, 1e30f);
    for (std::size_t b = 0; b < rig.blocks.size(); ++b) {
        const auto count = static_cast<std::size_t>(controlPointCount(rig.blocks[b]));
        const auto centres = static_cast<std::size_t>(centreJointCount(rig.blocks[b]));
        for (std::size_t k = count; k < 30; ++k)
            for (int e = 0; e < 12; ++e)
                rig.cvMatrices[b * 30 + k].m[e] = rig.cvBaseMatrices[b * 30 + k].m[e] = noise;
        for (std::size_t k = count + 4; k < 34; ++k) rig.knots[b * 34 + k] = noise;
        for (std::size_t j = centres; j < 30; ++j) {
            std::fill_n(&rig.tweaks[b * 30 + j].collision, 14, noise);
            rig.tweakVectors[b * 30 + j].angleWeight = 1.0f;
        }
        for (std::size_t i = 0; i < n; ++i) {
            const auto block = static_cast<std::int32_t>(b);
            if (block >= rig.ordersStart[i] && block < rig.ordersEnd[i]) continue;
            rig.blockWeights[b * n + i] = rig.params[b * n + i] = noise;
        }
    }
    const auto after = deformed(rig);
    for (std::size_t i = 0; i < n; ++i) RC_ASSERT(sameBits(after[i], before[i]));
}

} // namespace
} // namespace talvisora
