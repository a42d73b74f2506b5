// SPDX-License-Identifier: Apache-2.0
// The node's attribute tree.
#pragma once

#include <vector>

#include "attribute_descriptor.h"

namespace talvisora {

/// Appends the ten top-level attributes, the block compound last. Nothing is appended when memory runs out
/// (std::bad_alloc).
void appendSchema(std::vector<AttributeDescriptor>& attributes);

} // namespace talvisora
