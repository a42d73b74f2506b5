// SPDX-License-Identifier: Apache-2.0
// Typed values as JSON, the form that value_reader.h reads.
#pragma once

#include "gr_data.h"
#include "host/capture/json_writer.h"

namespace talvisora::host {

/// A map of typed values; an empty pointer becomes null. Joint tables must be CapturedHierarchy and pointers
/// CapturedPtr, as nothing else knows its names; other classes are a HostError kInput.
void writeValues(JsonWriter& json, const ValueMap& values);

} // namespace talvisora::host
