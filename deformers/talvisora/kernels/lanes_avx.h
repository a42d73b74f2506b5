// SPDX-License-Identifier: Apache-2.0
// Lane operations over doubles, four at a time with AVX (the sources built for AVX and for AVX 2 share it).
// The same few names exist once per width; see lanes_sse2.h for what each promises. To be included inside the
// variant's namespace, after <immintrin.h> and lanes_common.h.

enum { kLanes = 4 };
typedef __m256d Lanes;
typedef __m256d LaneMask;

TALVISORA_LANES Lanes load(const double* p) {
    return _mm256_loadu_pd(p);
}
TALVISORA_LANES void store(double* p, Lanes a) {
    _mm256_storeu_pd(p, a);
}
TALVISORA_LANES Lanes broadcast(double a) {
    return _mm256_set1_pd(a);
}
TALVISORA_LANES Lanes add(Lanes a, Lanes b) {
    return _mm256_add_pd(a, b);
}
TALVISORA_LANES Lanes sub(Lanes a, Lanes b) {
    return _mm256_sub_pd(a, b);
}
TALVISORA_LANES Lanes mul(Lanes a, Lanes b) {
    return _mm256_mul_pd(a, b);
}
TALVISORA_LANES Lanes div(Lanes a, Lanes b) {
    return _mm256_div_pd(a, b);
}
TALVISORA_LANES Lanes absolute(Lanes a) {
    return _mm256_andnot_pd(_mm256_set1_pd(-0.0), a);
}
TALVISORA_LANES LaneMask greater(Lanes a, Lanes b) {
    return _mm256_cmp_pd(a, b, _CMP_GT_OQ);
}
TALVISORA_LANES LaneMask less(Lanes a, Lanes b) {
    return _mm256_cmp_pd(a, b, _CMP_LT_OQ);
}
TALVISORA_LANES LaneMask notLess(Lanes a, Lanes b) {
    return _mm256_cmp_pd(a, b, _CMP_GE_OQ);
}
TALVISORA_LANES Lanes select(LaneMask mask, Lanes a, Lanes b) {
    return _mm256_blendv_pd(b, a, mask);
}
TALVISORA_LANES Lanes roundToFloat(Lanes a) {
    return _mm256_cvtps_pd(_mm256_cvtpd_ps(a));
}
TALVISORA_LANES Lanes loadFloats(const float* p) {
    return _mm256_cvtps_pd(_mm_loadu_ps(p));
}
TALVISORA_LANES Lanes minimum(Lanes a, Lanes b) {
    return _mm256_min_pd(a, b);
}
TALVISORA_LANES Lanes maximum(Lanes a, Lanes b) {
    return _mm256_max_pd(a, b);
}
TALVISORA_LANES unsigned bitsOf(LaneMask mask) {
    return (unsigned)_mm256_movemask_pd(mask);
}
