// SPDX-License-Identifier: Apache-2.0
// Which variant of the CPU functions runs: decided once per process from the feature bits, and lowered (never
// raised) by the environment variable TALVISORA_CPU.
#pragma once

#include "kernels/cpu_features.h"
#include "kernels/variant_table.h"

namespace talvisora {

/// Three variants; the first exists in three register widths that give the same bits.
enum class Variant { kSse2, kSse41, kAvx, kAvx2, kAvx512 };

/// The widest variant that the features allow and that is not above `limit` ("avx512", "avx2", "avx",
/// "sse4.1" or "sse2"; null and any other text limit nothing). False when there is not even SSE 2.
bool chooseVariant(const CpuFeatures& features, const char* limit, Variant& variant);

/// Whether this machine can run the variant.
bool isAvailable(const CpuFeatures& features, Variant variant);

/// The functions of one variant, whether this machine can run them or not.
const VariantTable& variantTable(Variant variant);

/// The functions chosen for this process, on first use. A processor without SSE 2 ends the process.
const VariantTable& activeTable();

/// From now on the process uses this variant, which this machine must be able to run. For measurements that
/// compare variants in one run; results are the same whenever it is called.
void useVariant(Variant variant);

} // namespace talvisora
