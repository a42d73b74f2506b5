// SPDX-License-Identifier: Apache-2.0
#include "host/rig_edit/layers.h"

#include <algorithm>

namespace talvisora::host {

Layers layersOf(const std::vector<RigFileBlock>& blocks, std::size_t points) {
    Layers layers(blocks.size(), points);
    std::fill(layers.left.begin(), layers.left.end(), 1.0);
    for (std::size_t b = blocks.size(); b-- > 0;)
        for (std::size_t p = 0; p < points; ++p) {
            const double weight = blocks[b].weights[p];
            layers.shares[b][p] = weight * layers.left[p];
            layers.left[p] *= 1.0 - weight;
        }
    return layers;
}

void setWeights(const Layers& layers, std::size_t p, std::vector<RigFileBlock>& blocks) {
    double below = layers.left[p];
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        const double share = layers.shares[b][p];
        below += share;
        blocks[b].weights[p] = share > 0.0 ? static_cast<float>(std::min(share / below, 1.0)) : 0.0f;
    }
}

} // namespace talvisora::host
