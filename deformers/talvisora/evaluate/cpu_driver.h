// SPDX-License-Identifier: Apache-2.0
// One evaluation on the processor.
#pragma once

#include "deform_records.h"
#include "gr_data.h"
#include "node/my_node.h"

namespace talvisora {

/// Deforms the record's points in place. Answers 0 when done or when there is nothing to do, 1 after reported
/// failures; points are untouched then and the next evaluation rebuilds the cache. Calling thread: the host's
/// evaluation thread. May throw std::bad_alloc, with the node marked for a rebuild.
int deformOnCpu(MyNode& node, const ValueMap& attributes, DeformRecord& record);

} // namespace talvisora
