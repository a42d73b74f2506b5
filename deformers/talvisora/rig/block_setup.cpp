// SPDX-License-Identifier: Apache-2.0
// The set-up of one block, told in order.
#include "rig/block_setup.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "attributes.h"
#include "node/attribute_names.h"
#include "rig/bends.h"
#include "rig/control_matrices.h"
#include "rig/cv_parameters.h"
#include "rig/joint_chain.h"
#include "rig/tweak_vectors.h"

namespace talvisora {
namespace {

/// Two and three joints have too few control points for a curve of their own: they always get in-between
/// ones.
constexpr std::size_t kFewestSimpleJoints = 4;

Fault readBlockInfo(const BlockSetup& setup, std::size_t joints, BlockInfo& info) {
    std::shared_ptr<GrFloat> env;
    std::shared_ptr<GrBoolean> simple;
    if (Fault fault = getRequired(setup.element, attribute::kEnv, env)) return fault;
    if (Fault fault = getRequired(setup.element, attribute::kSimple, simple)) return fault;
    info.numMatrices = static_cast<std::int32_t>(joints);
    info.env = env->value;
    info.simple = simple->value && joints >= kFewestSimpleJoints ? 1 : 0;
    const int limit = info.simple ? MAX_CV_MATRICES : kMaxJoints;
    return info.numMatrices > limit ? tooManyJoints(setup.lines) : Fault{};
}

/// Whether finding the parameters anew would give those that are there.
bool parametersHold(const BlockScratch& scratch, bool simple, const KeptBlock& kept, std::int32_t count) {
    const std::vector<float>& last = scratch.matrices.parameters;
    return scratch.parametersOfRest && scratch.matrices.restKept && scratch.matrices.simple == simple &&
           kept.signature == count && last.size() == static_cast<std::size_t>(count) &&
           std::memcmp(last.data(), kept.parameters, last.size() * sizeof(float)) == 0;
}

} // namespace

std::vector<Fault> setUpBlock(const BlockSetup& setup, KeptBlock kept, RigArrays& arrays) {
    const int b = setup.b;
    const std::size_t block = static_cast<std::size_t>(b);
    JointChain& chain = arrays.scratch[block].chain;
    BlockInfo& info = arrays.blocks[block];
    Curve& current = arrays.curves[block];
    TweakVectors* vectors = &arrays.tweakVectors[slot(b, 0)];

    std::shared_ptr<GrString> joints;
    if (Fault fault = getRequired(setup.element, attribute::kJoints, joints)) return {std::move(fault)};
    if (joints->values.size() < 2) return {tooFewJoints(setup.lines, b)};
    if (Fault fault = readJointChain(joints->values, setup.hierarchy, setup.lines, chain))
        return {std::move(fault)};
    BlockScratch& scratch = arrays.scratch[block];
    if (!chain.restKept) scratch.matrices.restKept = scratch.parametersOfRest = false;
    aimJoints(chain);
    if (Fault fault = readBlockInfo(setup, joints->values.size(), info)) return {std::move(fault)};
    buildJointFrames(chain);

    const bool simple = info.simple != 0;
    buildCurve(chain.positions, simple, setup.factors, current);
    buildCurve(chain.restPositions, simple, setup.factors, kept.restCurve);
    std::copy(current.knots.begin(), current.knots.end(), &arrays.knots[knotSlot(b, 0)]);

    buildTweakVectors(chain.positions, chain.restPositions, setup.tweaks, vectors, simple);
    if (!simple) {
        std::shared_ptr<GrString> bends;
        if (Fault fault = getRequired(setup.element, attribute::kBends, bends)) return {std::move(fault)};
        std::vector<Fault> faults;
        applyBends(*bends, setup.hierarchy, setup.lines, current.controlPoints, faults);
        if (!faults.empty()) return faults;
        measureAngleWeights(current.controlPoints, kept.restCurve.controlPoints, vectors);
    }

    const std::int32_t count = controlPointCount(info);
    const bool found = parametersHold(scratch, simple, kept, count);
    if (!found && (setup.freshParameters || kept.signature != count)) {
        findControlPointParameters(kept.restCurve, kept.parameters);
        kept.signature = count;
        scratch.parametersOfRest = true;
    } else if (!found) {
        scratch.parametersOfRest = false;
    }
    buildControlMatrices(
        {chain, current, kept.restCurve, kept.parameters, simple, setup.factors, setup.carryTangents},
        scratch.matrices, &arrays.cvMatrices[slot(b, 0)], &arrays.cvBaseMatrices[slot(b, 0)],
        &arrays.cvBaseMatricesInverse[slot(b, 0)]);
    return {};
}

} // namespace talvisora
