// SPDX-License-Identifier: Apache-2.0
// One run of `grhost compare`: two caches, two captures or answers, or processor against graphics card over
// one capture or one character.
#pragma once

#include "host/compare/difference.h"
#include "host/deform/deform_job.h"

#include <optional>
#include <string>
#include <vector>

namespace talvisora::host {

struct CompareJob {
    std::string first;     ///< .pc2, capture or answer (.json), or a character
    std::string second;    ///< the same kind; empty: `first` on the processor against itself on a device
    std::string tolerance; ///< "0.01": a length; "0.1%": of the bounding box; empty: see CompareReport::limit
    std::string picture;   ///< path of a .png; empty: none
    std::string mesh;      ///< character that lends caches and answers its mesh for the picture; empty: none
    /// Clip, frames, rig and device of a character; device, module, variant and threads of a capture; view
    /// and upward axis of the picture.
    DeformJob deform;
};

struct CompareReport {
    std::string first, second; ///< what was compared, for people: "walk.json on the CPU"
    bool processorToDevice = false;
    const char* unit = "frame"; ///< what `worstFrame` counts: "frame", or "call" from 0
    Difference all;
    Difference judged; ///< without the points that are meant to differ; the same as `all` when there are none
    /// Points that are meant to differ, summed over frames: by their own weight, by a block's threshold.
    std::uint64_t weighted = 0, threshold = 0;
    std::vector<std::string> meant;    ///< what is meant to differ; one line each
    std::vector<std::string> answers;  ///< statuses and messages that differ; one line each
    std::vector<std::string> failures; ///< calls that failed alike on both sides; one line each
    /// Largest distance that is allowed between judged points. Not given: for processor and device 2e-5 of
    /// the largest coordinate, else none.
    std::optional<double> limit;
    bool over = false; ///< a judged point is past the limit, or (with a limit) an answer differs
    std::string picture;
};

/// Throws HostError: kUsage (options, kinds that do not go together), kInput (files, device), kModuleFailed
/// (an evaluation of a character failed), kOutput (the picture). Differences are no failure.
CompareReport runCompareJob(const CompareJob& job);

} // namespace talvisora::host
