// SPDX-License-Identifier: Apache-2.0
// nanoflann's KD-tree as a yardstick, in a file of its own that is compiled for this machine's processor.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/curve_samples.h"

namespace talvisora::bench {

/// Whether nanoflann's header was there when this was built; else treeSearch does nothing.
bool hasTree();

/// Builds the tree over the samples and asks it for the nearest one of each point, on the calling thread.
void treeSearch(const std::vector<CurveSample>& samples, const Vec3d* points, std::size_t count,
                std::int32_t* indices);

} // namespace talvisora::bench
