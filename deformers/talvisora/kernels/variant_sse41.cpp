// SPDX-License-Identifier: Apache-2.0
// The CPU functions for SSE 4.1: lanes and namespace are chosen here, the bodies are the same for all. Built
// with flags of its own, so it includes nothing that holds ordinary inline functions or templates.
#include <immintrin.h>

#include "kernels/lanes_common.h"
#include "kernels/variant_table.h"

namespace talvisora {
namespace sse41 {

#include "kernels/lanes_sse41.h"

#include "kernels/lanes_pair.h"
#include "kernels/lanes_points.h"

/// Points that the point stage takes at a time.
typedef LanePair DeformGroup;

#include "kernels/curve_body.h"
#include "kernels/tweak_body.h"

#include "kernels/deform_body.h"

#include "kernels/nearest_body.h"

const VariantTable kTable = {"sse4.1",  findSpan, basisFunction, evaluateCurve,
                             findSpans, runBasis, deformTile,    nearestTile};

} // namespace sse41
} // namespace talvisora
