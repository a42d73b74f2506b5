// SPDX-License-Identifier: Apache-2.0
// What the deformer is measured against in the same run: linear-blend skinning as tight as this processor
// allows (four influences, single and double precision, fused multiply-add welcome), and a loop that only
// moves the bytes that an evaluation must move.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace talvisora::bench {

/// Four joints and weights per point; a matrix is four padded columns of four numbers each (x, y, z axis,
/// translation). T is float or double.
template <class T>
struct SkinJob {
    T* points; ///< three per point, blended in place
    const std::uint16_t* joints;
    const float* weights;
    const T* matrices;
};

template <class T>
struct Blend {
    const char* name; ///< of the instruction set; null: there is none
    void (*run)(const SkinJob<T>&, std::size_t first, std::size_t end);
};

/// The blends that this machine runs, the widest last. Never empty.
std::vector<Blend<float>> floatBlends();
std::vector<Blend<double>> doubleBlends();

/// The streams of an evaluation with one block: 68 bytes per point.
struct ByteJob {
    double* points; ///< 3 per point, read and written in place
    const float* pointWeights;
    const float* blockWeights;
    const float* params;
    const std::int32_t* ordersStart;
    const std::int32_t* ordersEnd;
};

/// Reads and writes them with the widest registers of the machine.
void moveBytes(const ByteJob& job, std::size_t first, std::size_t end);

} // namespace talvisora::bench
