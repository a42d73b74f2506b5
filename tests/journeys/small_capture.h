// SPDX-License-Identifier: Apache-2.0
// A capture small enough to know what comes out of it without the deformer's mathematics.
#pragma once

#include "journeys/run_grhost.h"

namespace talvisora::journeys {

inline Json translation(double x, double y, double z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

inline Json joint(const char* name, const char* parent, const Json& local, const Json& rest) {
    return {{"name", name}, {"parent", parent}, {"flag", false}, {"local", local}, {"restLocal", rest}};
}

inline Json emptyFloats() {
    return {{"GrFloat", {{"indices", Json::array()}, {"values", Json::array()}}}};
}

// Two joints along x, moved by (0, 2, 0); two points, the second with half a block weight.
inline Json movedCapture(Json calls) {
    if (!calls.is_array()) calls = Json::array({calls}); // what some compilers make of braces around one call
    Json block = {
        {"talvisora__name", {{"GrString", "b"}}},
        {"talvisora__env", {{"GrFloat", 1}}},
        {"talvisora__joints", {{"GrString", {{"indices", {0, 1}}, {"values", {"a", "b"}}}}}},
        {"talvisora__params", {{"GrFloat", {{"indices", {0, 1}}, {"values", {0, 1}}}}}},
        {"talvisora__blockWeights", {{"GrFloat", {{"indices", {1}}, {"values", {0.5}}}}}},
        {"talvisora__simple", {{"GrBoolean", false}}},
        {"talvisora__bends", {{"GrString", {{"indices", Json::array()}, {"values", Json::array()}}}}},
        {"talvisora__tweaks", {{"GrCompound", Json::array()}}}};
    Json attributes = {{"CACHE_ATTRIBUTES", {{"GrBoolean", true}}},
                       {"ENVELOPE", {{"GrFloat", 1}}},
                       {"SOA_ENABLED", {{"GrBoolean", false}}},
                       {"talvisora__hier_name", {{"GrString", "h"}}},
                       {"talvisora__geoMatrix", {{"GrMatrix", translation(0, 0, 0)}}},
                       {"talvisora__block", {{"GrCompound", {block}}}}};
    for (const char* map :
         {"tempWeights", "collisionTweakWeights", "bulgeTweakWeights", "centerInTweakWeights",
          "centerOutTweakWeights", "slideInTweakWeights", "slideOutTweakWeights"})
        attributes[std::string("talvisora__") + map] = emptyFloats();
    const Json table = {joint("a", "", translation(0, 2, 0), translation(0, 0, 0)),
                        joint("b", "a", translation(3, 0, 0), translation(3, 0, 0))};
    return {{"format", "talvisora-capture"},
            {"version", 1},
            {"node", "arm_deform"},
            {"attributes", attributes},
            {"sharedInputs", {{"Hier h", {{"GrHierarchy", table}}}}},
            {"record",
             {{"active", true},
              {"points", {{0.5, 1, 0}, {3, -1, 0}}},
              {"matrix", translation(0, 0, 0)},
              {"weights", {1, 1}}}},
            {"calls", std::move(calls)}};
}

} // namespace talvisora::journeys
