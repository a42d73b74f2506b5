// SPDX-License-Identifier: Apache-2.0
// Block weights act one over the other, so means of weights are no means of what is seen: half of (1, 0) and
// half of (0, 1) would leave a quarter of the point behind. Shares can be averaged: what each block moves in
// the end, and what is left behind. This is the way there and back.
#pragma once

#include "host/rig_file/rig_file.h"

#include <vector>

namespace talvisora::host {

struct Layers {
    std::vector<std::vector<double>> shares; ///< [block][point]: weight times what later blocks leave of it
    std::vector<double> left;                ///< [point]: what no block takes; with the shares it sums to 1

    Layers() = default;
    Layers(std::size_t blocks, std::size_t points)
        : shares(blocks, std::vector<double>(points, 0.0)), left(points, 0.0) {}
};

/// Shares of all blocks; each must have `points` weights. Envelopes are left out: they are the rigger's.
Layers layersOf(const std::vector<RigFileBlock>& blocks, std::size_t points);

/// The weights that give point `p` its shares: s_b / (left + s_0 + … + s_b), 0 where s_b is 0.
void setWeights(const Layers& layers, std::size_t p, std::vector<RigFileBlock>& blocks);

} // namespace talvisora::host
