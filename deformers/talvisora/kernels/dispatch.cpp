// SPDX-License-Identifier: Apache-2.0
// The choice of a variant and its table.
#include "kernels/dispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace talvisora {

namespace {

constexpr Variant kWidestFirst[] = {Variant::kAvx512, Variant::kAvx2, Variant::kAvx, Variant::kSse41,
                                    Variant::kSse2};

/// The variant of a name, or the widest for a text that is none.
Variant limitOf(const char* name) {
    if (name)
        for (Variant variant : kWidestFirst)
            if (std::strcmp(name, variantTable(variant).name) == 0) return variant;
    return kWidestFirst[0];
}

const VariantTable& chooseForProcess() {
    Variant variant;
    if (!chooseVariant(cpuFeatures(), std::getenv("TALVISORA_CPU"), variant)) std::abort();
    return variantTable(variant);
}

std::atomic<const VariantTable*>& chosenTable() {
    static std::atomic<const VariantTable*> table{&chooseForProcess()};
    return table;
}

} // namespace

bool isAvailable(const CpuFeatures& features, Variant variant) {
    switch (variant) {
    case Variant::kSse2:
        return features.sse2;
    case Variant::kSse41:
        return features.sse41;
    case Variant::kAvx:
        return features.avx;
    case Variant::kAvx2:
        return features.avx2;
    case Variant::kAvx512:
        return features.avx512;
    }
    return false;
}

bool chooseVariant(const CpuFeatures& features, const char* limit, Variant& variant) {
    const Variant highest = limitOf(limit);
    for (Variant candidate : kWidestFirst)
        if (candidate <= highest && isAvailable(features, candidate)) {
            variant = candidate;
            return true;
        }
    return false;
}

const VariantTable& variantTable(Variant variant) {
    switch (variant) {
    case Variant::kAvx512:
        return avx512::kTable;
    case Variant::kAvx2:
        return avx2::kTable;
    case Variant::kAvx:
        return avx::kTable;
    case Variant::kSse41:
        return sse41::kTable;
    case Variant::kSse2:
        break;
    }
    return sse2::kTable;
}

const VariantTable& activeTable() {
    return *chosenTable().load(std::memory_order_relaxed);
}

void useVariant(Variant variant) {
    chosenTable().store(&variantTable(variant), std::memory_order_relaxed);
}

} // namespace talvisora
