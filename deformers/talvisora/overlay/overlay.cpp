// SPDX-License-Identifier: Apache-2.0
// One node's rig as a drawing: the inputs of an evaluation are read and set up as an evaluation does it, then
// curves, frames, vectors and labels go through the drawing functions. A library of its own, so that the
// module exports nothing but what a graph host calls.
#include "overlay.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <memory>

#include <maya/MColor.h>

#include "command.h"
#include "draw/debug_draw.h"
#include "evaluate/block_stage.h"
#include "evaluate/inputs.h"
#include "evaluate/point_cache.h"
#include "node/my_node.h"

namespace talvisora {
namespace {

constexpr int kCurvePieces = 60; ///< lines per curve
constexpr float kPointSize = 4.0f, kCurveWidth = 2.5f, kThinWidth = 1.5f;

// The caches and arrays of one evaluation, without a node behind them.
struct Evaluated {
    std::vector<std::int32_t> ordersStart, ordersEnd, cvSignature;
    std::vector<float> blockWeights, params, weightMaps, cvParameters;
    std::vector<Tweak> tweaks;
    std::vector<Curve> restCurves;
    CacheShape shape;
    ActivePairs activePairs;
    RigArrays arrays;
    NodeAttributes values;
};

Fault joined(const std::vector<Fault>& faults) {
    std::string text;
    for (const Fault& fault : faults) text += (text.empty() ? "" : "\n") + fault.text();
    return text.empty() ? Fault() : Fault(text);
}

Fault evaluate(const OverlayRequest& request, Evaluated& e) {
    RunSettings settings;
    std::shared_ptr<GrHierarchy> hierarchy;
    if (Fault fault = readRunSettings(*request.attributes, settings)) return fault;
    if (Fault fault = readNodeAttributes(*request.attributes, e.values)) return fault;
    if (Fault fault = readHierarchy(*request.sharedInputs, e.values, hierarchy)) return fault;
    if (e.values.blocks->values.empty()) return noBlocks();
    const std::size_t count = request.points->size();
    if (Fault fault = rebuildPointCache(e.values, count, count,
                                        {e.ordersStart, e.ordersEnd, e.blockWeights, e.params, e.tweaks,
                                         e.weightMaps, e.shape, e.activePairs}))
        return fault;
    const BlockStage stage{*e.values.blocks, *hierarchy, e.tweaks,
                           kCpuSetupLines,   true,       settings.carryTangents};
    return joined(setUpBlocks(stage, {e.restCurves, e.cvParameters, e.cvSignature}, e.arrays));
}

// One drawable with one colour.
template <class Draw>
void inColour(MHWRender::MUIDrawManager& manager, const OverlayColour& colour, float width, Draw draw) {
    manager.beginDrawable(MHWRender::MUIDrawManager::kAutomatic, 0u);
    manager.setColor(MColor(colour[0], colour[1], colour[2], 1.0f));
    manager.setPointSize(kPointSize);
    manager.setLineWidth(width);
    draw();
    manager.endDrawable();
}

std::vector<Vec3d> sampled(const Curve& curve) {
    std::vector<Vec3d> points;
    for (int s = 0; s <= kCurvePieces; ++s)
        points.push_back(evaluate(curve, static_cast<float>(s) / static_cast<float>(kCurvePieces)));
    return points;
}

// Two thirds of a third of the mean distance between joints: frames on the three control points per joint of
// an ordinary chain touch but do not cross. A simple chain has one per joint; longer frames would hide the
// rest.
double frameLength(const OverlayRequest& request, const BlockInfo& block, const Curve& curve) {
    if (request.frameLength > 0.0f) return static_cast<double>(request.frameLength);
    const std::vector<Vec3d>& points = curve.controlPoints;
    double sum = 0.0;
    for (std::size_t k = 1; k < points.size(); ++k) sum += length(points[k] - points[k - 1]);
    const std::size_t thirds = (points.size() - 1) * static_cast<std::size_t>(3 / pointsPerJoint(block));
    return points.size() > 1 ? sum / static_cast<double>(thirds) * 0.66 : 1.0;
}

Vec3d vec3(const Float3Slot& v) {
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}

void drawTweakVectors(OverlayRequest& request, const Evaluated& e, int b, double size) {
    MHWRender::MUIDrawManager& manager = *request.manager;
    const BlockInfo& block = e.arrays.blocks[static_cast<std::size_t>(b)];
    const std::vector<Vec3d>& controlPoints = e.arrays.curves[static_cast<std::size_t>(b)].controlPoints;
    for (int j = 0; j < centreJointCount(block); ++j) {
        const TweakVectors& v = e.arrays.tweakVectors[slot(b, j)];
        const Vec3d joint = controlPoints[static_cast<std::size_t>((j + 1) * pointsPerJoint(block))];
        const auto draw = [&](const OverlayColour& colour, const Vec3d& from, const Float3Slot& vector) {
            inColour(manager, colour, kThinWidth,
                     [&] { drawPointAndVector(manager, from, vec3(vector) * size, kPointSize, kThinWidth); });
        };
        if (length(vec3(v.deformVec)) == 0.0) {
            ++request.straightJoints;
            continue;
        }
        draw(kNeighbourVecColour, joint, v.prevVec);
        draw(kNeighbourVecColour, joint, v.nextVec);
        draw(kBendAxisColour, joint, v.zAxis);
        draw(kDeformVecColour, joint, v.deformVec);
        draw(kPlaneNormalColour, vec3(v.planePoint), v.planeNormal);
    }
}

void drawBlock(OverlayRequest& request, const Evaluated& e, int b) {
    MHWRender::MUIDrawManager& manager = *request.manager;
    const std::size_t block = static_cast<std::size_t>(b);
    const Curve& current = e.arrays.curves[block];
    if (request.restCurves)
        inColour(manager, kRestCurveColour, kThinWidth,
                 [&] { drawPolyline(manager, sampled(e.restCurves[block])); });
    // The curve over the vectors that run along it, the frames over the curve.
    const double size = frameLength(request, e.arrays.blocks[block], current);
    if (request.tweakVectors) drawTweakVectors(request, e, b, 1.8 * size);
    if (request.curves)
        inColour(manager, kCurveColour, kCurveWidth, [&] { drawPolyline(manager, sampled(current)); });
    if (request.frames)
        for (int k = 0; k < controlPointCount(e.arrays.blocks[block]); ++k)
            drawFrame(manager, e.arrays.cvMatrices[slot(b, k)], size);
}

void drawLabels(OverlayRequest& request, const Evaluated& e) {
    if (request.labels == OverlayLabels::kNone) return;
    MHWRender::MUIDrawManager& manager = *request.manager;
    std::vector<Vec3d> world;
    for (const Vec3d& p : *request.points) world.push_back(pointMultMat(p, e.values.geoMatrix->value));
    const bool byIndex = request.labels == OverlayLabels::kIndex;
    std::vector<float> values;
    if (!byIndex) {
        const std::vector<float>& rows =
            request.labels == OverlayLabels::kWeights ? e.blockWeights : e.params;
        for (std::size_t i = 0; i < world.size(); ++i) {
            const std::size_t at = pointSlot(request.block, world.size(), i);
            values.push_back(e.blockWeights[at] > 0.0f ? rows[at] : 0.0f);
        }
    }
    inColour(manager, kLabelColour, kThinWidth,
             [&] { drawLabelledPoints(manager, world, &values, byIndex, false); });
}

Fault draw(OverlayRequest& request) {
    if (!request.attributes || !request.sharedInputs || !request.points || !request.manager)
        return Fault("overlay: attributes, shared inputs, points and a draw manager are needed");
    Evaluated e;
    if (Fault fault = evaluate(request, e)) return fault;
    const int blocks = static_cast<int>(e.values.blocks->values.size());
    if (request.block >= blocks) return noSuchBlock(request.block);
    const bool values = request.labels == OverlayLabels::kWeights || request.labels == OverlayLabels::kParams;
    if (values && request.block < 0) return Fault("overlay: labels of values need one block");
    for (int b = 0; b < blocks; ++b) {
        if (request.block >= 0 && request.block != b) continue;
        drawBlock(request, e, b);
        ++request.blocksDrawn;
    }
    drawLabels(request, e);
    return {};
}

} // namespace
} // namespace talvisora

TALVISORA_EXPORT int drawOverlay(talvisora::OverlayRequest& request) {
    request.error.clear();
    request.blocksDrawn = request.straightJoints = 0;
    try {
        const talvisora::Fault fault = talvisora::draw(request);
        if (!fault) return 0;
        request.error = fault.text();
    } catch (const std::exception& error) {
        try {
            request.error = error.what();
        } catch (...) {
        }
    } catch (...) {
    }
    return 1;
}
