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
/// The lanes in single precision.
typedef __m128 FloatLanes;
TALVISORA_LANES FloatLanes narrow(Lanes a) {
    return _mm256_cvtpd_ps(a);
}
TALVISORA_LANES Lanes widen(FloatLanes a) {
    return _mm256_cvtps_pd(a);
}
TALVISORA_LANES FloatLanes mulFloats(FloatLanes a, FloatLanes b) {
    return _mm_mul_ps(a, b);
}
TALVISORA_LANES FloatLanes subFloats(FloatLanes a, FloatLanes b) {
    return _mm_sub_ps(a, b);
}
TALVISORA_LANES void storeFloatLanes(float* p, FloatLanes a) {
    _mm_storeu_ps(p, a);
}
TALVISORA_LANES FloatLanes broadcastFloat(float a) {
    return _mm_set1_ps(a);
}
TALVISORA_LANES FloatLanes loadFloatLanes(const float* p) {
    return _mm_loadu_ps(p);
}
TALVISORA_LANES LaneMask equal(Lanes a, Lanes b) {
    return _mm256_cmp_pd(a, b, _CMP_EQ_OQ);
}
/// The points at base + 3 · index[lane], as separate coordinates; nothing beyond a point's own 24 bytes is
/// read.
TALVISORA_LANES void loadPoints(const double* base, const uint16_t* index, Lanes& x, Lanes& y, Lanes& z) {
    const double *p0 = base + 3 * (size_t)index[0], *p1 = base + 3 * (size_t)index[1];
    const double *p2 = base + 3 * (size_t)index[2], *p3 = base + 3 * (size_t)index[3];
    const __m256d even = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p0)), _mm_loadu_pd(p2), 1);
    const __m256d odd = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p1)), _mm_loadu_pd(p3), 1);
    x = _mm256_unpacklo_pd(even, odd);
    y = _mm256_unpackhi_pd(even, odd);
    z = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadh_pd(_mm_load_sd(p0 + 2), p1 + 2)),
                             _mm_loadh_pd(_mm_load_sd(p2 + 2), p3 + 2), 1);
}
/// The other way.
TALVISORA_LANES void storePoints(double* base, const uint16_t* index, Lanes x, Lanes y, Lanes z) {
    double *p0 = base + 3 * (size_t)index[0], *p1 = base + 3 * (size_t)index[1];
    double *p2 = base + 3 * (size_t)index[2], *p3 = base + 3 * (size_t)index[3];
    const __m256d even = _mm256_unpacklo_pd(x, y), odd = _mm256_unpackhi_pd(x, y);
    const __m128d z01 = _mm256_castpd256_pd128(z), z23 = _mm256_extractf128_pd(z, 1);
    _mm_storeu_pd(p0, _mm256_castpd256_pd128(even));
    _mm_storel_pd(p0 + 2, z01);
    _mm_storeu_pd(p1, _mm256_castpd256_pd128(odd));
    _mm_storeh_pd(p1 + 2, z01);
    _mm_storeu_pd(p2, _mm256_extractf128_pd(even, 1));
    _mm_storel_pd(p2 + 2, z23);
    _mm_storeu_pd(p3, _mm256_extractf128_pd(odd, 1));
    _mm_storeh_pd(p3 + 2, z23);
}
/// Four doubles of one point or table row: x, y, z and one that does not matter.
typedef __m256d Row;
TALVISORA_LANES Row loadRow(const double* p) {
    return _mm256_loadu_pd(p);
}
/// Three doubles; nothing beyond them is touched.
TALVISORA_LANES Row loadRow3(const double* p) {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p)), _mm_load_sd(p + 2), 1);
}
TALVISORA_LANES void storeRow3(double* p, Row a) {
    _mm_storeu_pd(p, _mm256_castpd256_pd128(a));
    _mm_store_sd(p + 2, _mm256_extractf128_pd(a, 1));
}
TALVISORA_LANES Row broadcastRow(double a) {
    return _mm256_set1_pd(a);
}
TALVISORA_LANES Row addRow(Row a, Row b) {
    return _mm256_add_pd(a, b);
}
TALVISORA_LANES Row subRow(Row a, Row b) {
    return _mm256_sub_pd(a, b);
}
TALVISORA_LANES Row mulRow(Row a, Row b) {
    return _mm256_mul_pd(a, b);
}
/// The first, second and third value in all places.
TALVISORA_LANES void spreadRow(Row a, Row& x, Row& y, Row& z) {
    const __m256d xy = _mm256_permute2f128_pd(a, a, 0x00);
    x = _mm256_movedup_pd(xy);
    y = _mm256_permute_pd(xy, 0xf);
    z = _mm256_movedup_pd(_mm256_permute2f128_pd(a, a, 0x11));
}
