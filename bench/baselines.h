// SPDX-License-Identifier: Apache-2.0
// What the deformer is measured against in the same run: linear-blend skinning as tight as this processor
// allows (single precision, four influences, fused multiply-add welcome), and a loop that only moves the
// bytes that an evaluation must move.
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvisora::bench {

/// A mesh of packed float triples in and out, four joints and weights per point; matrices are four padded
/// columns of four floats each (x, y, z axis, translation).
struct SkinJob {
    const float* in;
    float* out; ///< may be written 4 bytes past the last point's triple: room for one more float
    const std::uint16_t* joints;
    const float* weights;
    const float* matrices;
    std::size_t pointCount;
};

/// The widest of the blends that this machine runs, and its name.
using BlendFunction = void (*)(const SkinJob&, std::size_t first, std::size_t end);
BlendFunction widestBlend(const char*& name);

/// The streams of an evaluation with one block: 68 bytes per point.
struct ByteJob {
    double* points; ///< 3 per point, read and written in place
    const float* pointWeights;
    const float* blockWeights;
    const float* params;
    const std::int32_t* ordersStart;
    const std::int32_t* ordersEnd;
};

void moveBytes(const ByteJob& job, std::size_t first, std::size_t end);

} // namespace talvisora::bench
