// SPDX-License-Identifier: Apache-2.0
// Lane operations over doubles, eight at a time with AVX-512. The same few names exist once per width; see
// lanes_sse2.h for what each promises. To be included inside the variant's namespace, after <immintrin.h> and
// lanes_common.h.

enum { kLanes = 8 };
typedef __m512d Lanes;
typedef __mmask8 LaneMask;

TALVISORA_LANES Lanes load(const double* p) {
    return _mm512_loadu_pd(p);
}
TALVISORA_LANES void store(double* p, Lanes a) {
    _mm512_storeu_pd(p, a);
}
TALVISORA_LANES Lanes broadcast(double a) {
    return _mm512_set1_pd(a);
}
TALVISORA_LANES Lanes add(Lanes a, Lanes b) {
    return _mm512_add_pd(a, b);
}
TALVISORA_LANES Lanes sub(Lanes a, Lanes b) {
    return _mm512_sub_pd(a, b);
}
TALVISORA_LANES Lanes mul(Lanes a, Lanes b) {
    return _mm512_mul_pd(a, b);
}
TALVISORA_LANES Lanes div(Lanes a, Lanes b) {
    return _mm512_div_pd(a, b);
}
TALVISORA_LANES Lanes absolute(Lanes a) {
    return _mm512_andnot_pd(_mm512_set1_pd(-0.0), a);
}
TALVISORA_LANES LaneMask greater(Lanes a, Lanes b) {
    return _mm512_cmp_pd_mask(a, b, _CMP_GT_OQ);
}
TALVISORA_LANES LaneMask less(Lanes a, Lanes b) {
    return _mm512_cmp_pd_mask(a, b, _CMP_LT_OQ);
}
TALVISORA_LANES LaneMask notLess(Lanes a, Lanes b) {
    return _mm512_cmp_pd_mask(a, b, _CMP_GE_OQ);
}
TALVISORA_LANES Lanes select(LaneMask mask, Lanes a, Lanes b) {
    return _mm512_mask_blend_pd(mask, b, a);
}
TALVISORA_LANES Lanes roundToFloat(Lanes a) {
    return _mm512_cvtps_pd(_mm512_cvtpd_ps(a));
}
TALVISORA_LANES Lanes loadFloats(const float* p) {
    return _mm512_cvtps_pd(_mm256_loadu_ps(p));
}
TALVISORA_LANES Lanes minimum(Lanes a, Lanes b) {
    return _mm512_min_pd(a, b);
}
TALVISORA_LANES Lanes maximum(Lanes a, Lanes b) {
    return _mm512_max_pd(a, b);
}
TALVISORA_LANES unsigned bitsOf(LaneMask mask) {
    return mask;
}
