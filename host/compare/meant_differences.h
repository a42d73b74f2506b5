// SPDX-License-Identifier: Apache-2.0
// Where processor and graphics card are meant to give different results, told from what an evaluation is
// handed. Points that are concerned are no measure of how well the two agree.
#pragma once

#include "host/session.h"

#include <string>
#include <vector>

namespace talvisora::host {

struct MeantDifferences {
    std::size_t weighted = 0;            ///< points whose own weight is neither 0 nor 1
    std::size_t threshold = 0;           ///< points that a block moves by more than nothing and at most 0.001
    std::vector<bool> points;            ///< one per point of the record: is it one of the two
    std::vector<std::string> evaluation; ///< what concerns the evaluation as a whole; one line each
};

/// The point's own weight only lets it in on the processor, and is a factor as well on the card; a block acts
/// from 0.00001 on there and from 0.001 on here. As a whole the two differ when only the processor stops:
/// envelope below 0.00001, an inactive record, points kept by the host (SOA_ENABLED).
/// Wrong input is passed over: an evaluation that fails has no points to compare.
MeantDifferences meantDifferences(const ValueMap& attributes, const DeformRecord& record);

} // namespace talvisora::host
