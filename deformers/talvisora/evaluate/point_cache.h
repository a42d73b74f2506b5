// SPDX-License-Identifier: Apache-2.0
// The per-point cache: dense block weights, parameters and weight maps, the range of blocks that can matter
// for each point, and the tweak records. Rebuilt when the node is marked, when caching is off, or when it
// does not fit.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evaluate/inputs.h"
#include "fault.h"
#include "node/my_node.h"

namespace talvisora {

/// A block weight above this draws the point's range up to the block.
inline constexpr float kTouchingWeight = 0.001f;
/// A block weight above this, under an envelope above kFullEnvelope, hides all lower blocks.
inline constexpr float kCoveringWeight = 0.999f;
inline constexpr float kFullEnvelope = 0.99999f;

/// Lets block b extend the ranges of the points that it weighs on. To be called for the highest block first;
/// `ordersStart` and `ordersEnd` start as zeros. Only block weight and env decide, not the weight maps nor
/// the global envelope.
void extendOrders(int b, float env, const float* weights, std::size_t pointCount, std::int32_t* ordersStart,
                  std::int32_t* ordersEnd);

/// Writes a sparse list over a row that holds its defaults; lists as long as their indices say, in order from
/// 0, are copied in one go. See densify.
void densifyRow(const GrFloat& list, std::size_t count, float* row);

/// Whether the cache was last rebuilt, completely, for that many points and for the node's block count.
bool cacheFits(const MyNode& node, std::size_t pointCount);

/// Rebuilds everything for N = pointCount. The list of active pairs is invalidated unless everything that it
/// was made of is found unchanged. `recordPoints` is the length of the record's own list: a count beyond it
/// that no params back is not allocated for. With a fault or an exception the shape stays invalid.
Fault rebuildPointCache(const NodeAttributes& values, std::size_t pointCount, std::size_t recordPoints,
                        PointCache cache);

} // namespace talvisora
