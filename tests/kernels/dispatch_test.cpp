// SPDX-License-Identifier: Apache-2.0
// The choice of a CPU variant: from the feature bits, lowered and never raised by a name.
#include "kernels/dispatch.h"

#include <gtest/gtest.h>

namespace talvisora {
namespace {

CpuFeatures upTo(int level) {
    return {level >= 0, level >= 1, level >= 2, level >= 3, level >= 4};
}

const char* chosen(const CpuFeatures& features, const char* limit) {
    Variant variant;
    return chooseVariant(features, limit, variant) ? variantTable(variant).name : "none";
}

TEST(Dispatch, TakesTheWidestVariantThatTheProcessorHas) {
    EXPECT_STREQ(chosen(upTo(0), nullptr), "sse2");
    EXPECT_STREQ(chosen(upTo(1), nullptr), "sse4.1");
    EXPECT_STREQ(chosen(upTo(2), nullptr), "avx");
    EXPECT_STREQ(chosen(upTo(3), nullptr), "avx2");
    EXPECT_STREQ(chosen(upTo(4), nullptr), "avx512");
}

TEST(Dispatch, AProcessorWithoutSse2HasNoVariant) {
    EXPECT_STREQ(chosen(upTo(-1), nullptr), "none");
}

TEST(Dispatch, ANameLowersTheChoice) {
    for (const char* name : {"sse2", "sse4.1", "avx", "avx2", "avx512"})
        EXPECT_STREQ(chosen(upTo(4), name), name);
}

TEST(Dispatch, ANameNeverRaisesTheChoice) {
    EXPECT_STREQ(chosen(upTo(1), "avx512"), "sse4.1");
    EXPECT_STREQ(chosen(upTo(0), "avx"), "sse2");
    EXPECT_STREQ(chosen(upTo(-1), "avx"), "none");
}

TEST(Dispatch, OtherTextsAreIgnored) {
    for (const char* name : {"", "AVX", "avx3", "sse", "sse41", " avx", "fast"})
        EXPECT_STREQ(chosen(upTo(4), name), "avx512") << name;
}

TEST(Dispatch, TheProcessRunsAVariantThatThisMachineHas) {
    bool found = false;
    for (Variant variant : {Variant::kSse2, Variant::kSse41, Variant::kAvx, Variant::kAvx2, Variant::kAvx512})
        found = found || (&activeTable() == &variantTable(variant) && isAvailable(cpuFeatures(), variant));
    EXPECT_TRUE(found);
}

} // namespace
} // namespace talvisora
