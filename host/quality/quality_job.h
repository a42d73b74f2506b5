// SPDX-License-Identifier: Apache-2.0
// One run of `grhost quality`: made-up limbs in poses that are hard for skinning, deformed three ways with
// the same joints and weights, measured and drawn side by side.
#pragma once

#include "host/quality/measures.h"

#include <map>
#include <string>
#include <vector>

namespace talvisora::host {

struct QualityJob {
    std::string only;    ///< of elbow, twist, helper, tail, stretch, with commas between; empty: all
    std::string picture; ///< .png; empty: none
    int width = 220;     ///< of one picture in the strip, pixels
    int last = 0;        ///< draw the last poses of each limb only; 0: all
    bool joined = false; ///< draw all limbs beside each other: one row per method
    bool plain = false;  ///< talvisora without tweaks
    std::vector<std::string> tweaks; ///< NAME=VALUE, short names: in place of the chosen amounts, for trying
    std::string module, variant;
    int threads = 0;
};

struct QualityRow {
    std::string limb, pose, method;
    double amount = 0.0; ///< degrees, or the factor of a stretch
    LimbMeasures measures;
};

struct LimbReport {
    std::vector<QualityRow> rows;      ///< limb by limb, method by method, pose by pose
    std::vector<std::string> settings; ///< what was chosen, one line each, for people
    std::size_t faces = 0;             ///< of one limb, the largest
    std::vector<std::string> written;
};

/// Throws HostError: kUsage (options), kInput (module), kModuleFailed, kOutput.
LimbReport runQualityJob(const QualityJob& job);

} // namespace talvisora::host
