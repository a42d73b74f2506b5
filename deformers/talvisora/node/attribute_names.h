// SPDX-License-Identifier: Apache-2.0
// Long names of the node's attributes and keys of the run settings, each once. Whole strings, so that a
// look-up makes none.
#pragma once

#include <string>

#include "kernels/records.h"

namespace talvisora {

/// Every long name begins with it; the short name follows.
inline constexpr const char* kLongNamePrefix = "talvisora__";

namespace setting {
inline const std::string kDebugMode = "DEBUG_MODE";
inline const std::string kTangentTurn = "TANGENT_TURN"; ///< GrInt, optional: see tangentTurn()
inline const std::string kCacheAttributes = "CACHE_ATTRIBUTES";
inline const std::string kEnvelope = "ENVELOPE";
inline const std::string kSoaEnabled = "SOA_ENABLED";
inline const std::string kSoaPoints = "SOA_POINTS"; ///< a key of the shared inputs, not of the settings
} // namespace setting

namespace attribute {
inline const std::string kHierarchyName = "talvisora__hier_name";
inline const std::string kGeoMatrix = "talvisora__geoMatrix";
inline const std::string kTempWeights = "talvisora__tempWeights";
inline const std::string kBlock = "talvisora__block";

/// The six per-point tweak weight maps, in the order of the weight-map cache.
inline const std::string kWeightMaps[kWeightMapCount] = {
    "talvisora__collisionTweakWeights", "talvisora__bulgeTweakWeights",   "talvisora__centerInTweakWeights",
    "talvisora__centerOutTweakWeights", "talvisora__slideInTweakWeights", "talvisora__slideOutTweakWeights"};

// Children of a block.
inline const std::string kName = "talvisora__name";
inline const std::string kEnv = "talvisora__env";
inline const std::string kJoints = "talvisora__joints";
inline const std::string kParams = "talvisora__params";
inline const std::string kBlockWeights = "talvisora__blockWeights";
inline const std::string kSimple = "talvisora__simple";
inline const std::string kBends = "talvisora__bends";
inline const std::string kTweaks = "talvisora__tweaks";

/// Children of a tweak entry, in the order of the fields of Tweak.
inline constexpr int kTweakFieldCount = 14;
inline const std::string kTweakFields[kTweakFieldCount] = {"talvisora__collisionTweak",
                                                           "talvisora__collisionPlaneTweak",
                                                           "talvisora__bulgeTweak",
                                                           "talvisora__collisionBulgeTweak",
                                                           "talvisora__centerInTweak",
                                                           "talvisora__centerOutTweak",
                                                           "talvisora__slidePrevInTweak",
                                                           "talvisora__slideNextInTweak",
                                                           "talvisora__slidePrevOutTweak",
                                                           "talvisora__slideNextOutTweak",
                                                           "talvisora__slideOrthoPrevInTweak",
                                                           "talvisora__slideOrthoNextInTweak",
                                                           "talvisora__slideOrthoPrevOutTweak",
                                                           "talvisora__slideOrthoNextOutTweak"};
} // namespace attribute

} // namespace talvisora
