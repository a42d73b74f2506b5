// SPDX-License-Identifier: Apache-2.0
// Lane operations over doubles, two at a time with SSE 4.1.The same few names exist once per width; the
// bodies are written against them. Every operation acts on each lane alone and rounds once, so that all
// widths give the same bits; there is no fused multiply-add and nothing crosses lanes. To be included inside
// the variant's namespace, after <immintrin.h> and lanes_common.h.

enum { kLanes = 2 };
typedef __m128d Lanes;
typedef __m128d LaneMask;

TALVISORA_LANES Lanes load(const double* p) {
    return _mm_loadu_pd(p);
}
TALVISORA_LANES void store(double* p, Lanes a) {
    _mm_storeu_pd(p, a);
}
TALVISORA_LANES Lanes broadcast(double a) {
    return _mm_set1_pd(a);
}
TALVISORA_LANES Lanes add(Lanes a, Lanes b) {
    return _mm_add_pd(a, b);
}
TALVISORA_LANES Lanes sub(Lanes a, Lanes b) {
    return _mm_sub_pd(a, b);
}
TALVISORA_LANES Lanes mul(Lanes a, Lanes b) {
    return _mm_mul_pd(a, b);
}
TALVISORA_LANES Lanes div(Lanes a, Lanes b) {
    return _mm_div_pd(a, b);
}
TALVISORA_LANES Lanes absolute(Lanes a) {
    return _mm_andnot_pd(_mm_set1_pd(-0.0), a);
}
/// Ordered comparisons: false where either side is not a number.
TALVISORA_LANES LaneMask greater(Lanes a, Lanes b) {
    return _mm_cmpgt_pd(a, b);
}
TALVISORA_LANES LaneMask less(Lanes a, Lanes b) {
    return _mm_cmplt_pd(a, b);
}
TALVISORA_LANES LaneMask notLess(Lanes a, Lanes b) {
    return _mm_cmple_pd(b, a);
}
/// a where the mask is set, else b, bit for bit.
TALVISORA_LANES Lanes select(LaneMask mask, Lanes a, Lanes b) {
    return _mm_blendv_pd(b, a, mask);
}
/// To single precision and back.
TALVISORA_LANES Lanes roundToFloat(Lanes a) {
    return _mm_cvtps_pd(_mm_cvtpd_ps(a));
}
/// kLanes floats, widened.
TALVISORA_LANES Lanes loadFloats(const float* p) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64((const __m128i*)p)));
}
/// The lesser and the greater of two numbers; b where either is not a number.
TALVISORA_LANES Lanes minimum(Lanes a, Lanes b) {
    return _mm_min_pd(a, b);
}
TALVISORA_LANES Lanes maximum(Lanes a, Lanes b) {
    return _mm_max_pd(a, b);
}
/// One bit per lane, the first lane the lowest.
TALVISORA_LANES unsigned bitsOf(LaneMask mask) {
    return (unsigned)_mm_movemask_pd(mask);
}
