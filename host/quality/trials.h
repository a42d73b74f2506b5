// SPDX-License-Identifier: Apache-2.0
// The limbs, the poses and what a rigger would set for them.
#pragma once

#include "host/picture/render.h"
#include "host/quality/limb.h"

#include <map>
#include <string>
#include <vector>

namespace talvisora::host {

struct TrialPose {
    std::string label; ///< "70 deg", "x 1.5"
    double amount = 0.0;
    std::vector<JointTurn> turns; ///< one per joint
    double stretch = 1.0;
};

struct Trial {
    LimbShape shape;
    std::vector<TrialPose> poses;
    std::map<std::string, float> tweaks; ///< of every centre joint, by short name; what is not named has none
    View view;                           ///< from where the strip looks
    double tall = 0.75;                  ///< height over width of one picture
};

/// elbow, twist, helper, tail, stretch, in this order.
std::vector<Trial> allTrials();

} // namespace talvisora::host
