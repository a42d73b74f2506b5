// SPDX-License-Identifier: Apache-2.0
// What a draw callback asks of the overlay library (talvisora_overlay): the rig of one node drawn over the
// scene, through the module's own drawing functions. Shared by the library and whoever calls it, which must
// be built together.
#pragma once

#include <maya/MUIDrawManager.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "gr_data.h"
#include "maths/vec3.h"

namespace talvisora {

enum class OverlayLabels {
    kNone,
    kIndex,   ///< every point with its number
    kWeights, ///< the weight of the block; nothing where it is 0
    kParams,  ///< the curve parameter, of the points that the block weighs on; nothing where it is 0
};

/// Everything is borrowed for the call.
struct OverlayRequest {
    const ValueMap* attributes = nullptr;         ///< as for an evaluation
    const ValueMap* sharedInputs = nullptr;       ///< holds the hierarchy
    const std::vector<Vec3d>* points = nullptr;   ///< where labels stand: the deformed points, object space
    MHWRender::MUIDrawManager* manager = nullptr; ///< no drawable may be open
    std::int32_t block = -1;                      ///< -1: all; labels of values need one block
    bool restCurves = true, curves = true, frames = true, tweakVectors = true;
    OverlayLabels labels = OverlayLabels::kNone;
    float frameLength = 0.0f; ///< of the axes of control matrices; 0: from the distances of joints

    std::string error; ///< out: one line per fault, without the node's name; empty when all is well
    int blocksDrawn = 0;
    int straightJoints = 0; ///< out: centre joints without a bend direction, which have no vectors
};

/// Name and type of the one exported function. It answers 0, or 1 with `error` filled; nothing is thrown.
/// Every group of calls is a drawable of its own that is opened and closed.
inline constexpr const char* kOverlayExport = "drawOverlay";
using OverlayFunction = int (*)(OverlayRequest& request);

/// Colours as red, green, blue from 0 to 1: what a legend needs to know.
using OverlayColour = std::array<float, 3>;
inline constexpr OverlayColour kRestCurveColour{0.45f, 0.45f, 0.50f};
inline constexpr OverlayColour kCurveColour{0.80f, 0.10f, 0.45f};
inline constexpr OverlayColour kLabelColour{0.08f, 0.08f, 0.10f};
inline constexpr OverlayColour kDeformVecColour{0.95f, 0.45f, 0.00f};
inline constexpr OverlayColour kNeighbourVecColour{0.00f, 0.60f, 0.70f};
inline constexpr OverlayColour kBendAxisColour{0.45f, 0.10f, 0.75f};
inline constexpr OverlayColour kPlaneNormalColour{0.45f, 0.40f, 0.00f};

} // namespace talvisora
