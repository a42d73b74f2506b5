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
/// The lanes in single precision.
typedef __m128 FloatLanes;
TALVISORA_LANES FloatLanes narrow(Lanes a) {
    return _mm_cvtpd_ps(a);
}
TALVISORA_LANES Lanes widen(FloatLanes a) {
    return _mm_cvtps_pd(a);
}
TALVISORA_LANES FloatLanes mulFloats(FloatLanes a, FloatLanes b) {
    return _mm_mul_ps(a, b);
}
TALVISORA_LANES FloatLanes subFloats(FloatLanes a, FloatLanes b) {
    return _mm_sub_ps(a, b);
}
TALVISORA_LANES void storeFloatLanes(float* p, FloatLanes a) {
    _mm_storel_pi((__m64*)p, a);
}
TALVISORA_LANES FloatLanes broadcastFloat(float a) {
    return _mm_set1_ps(a);
}
TALVISORA_LANES FloatLanes loadFloatLanes(const float* p) {
    return _mm_castsi128_ps(_mm_loadl_epi64((const __m128i*)p));
}
TALVISORA_LANES LaneMask equal(Lanes a, Lanes b) {
    return _mm_cmpeq_pd(a, b);
}
/// The points at base + 3 · index[lane], as separate coordinates; nothing beyond a point's own 24 bytes is
/// read.
TALVISORA_LANES void loadPoints(const double* base, const uint16_t* index, Lanes& x, Lanes& y, Lanes& z) {
    const double *p0 = base + 3 * (size_t)index[0], *p1 = base + 3 * (size_t)index[1];
    const __m128d first = _mm_loadu_pd(p0), second = _mm_loadu_pd(p1);
    x = _mm_unpacklo_pd(first, second);
    y = _mm_unpackhi_pd(first, second);
    z = _mm_loadh_pd(_mm_load_sd(p0 + 2), p1 + 2);
}
/// The other way.
TALVISORA_LANES void storePoints(double* base, const uint16_t* index, Lanes x, Lanes y, Lanes z) {
    double *p0 = base + 3 * (size_t)index[0], *p1 = base + 3 * (size_t)index[1];
    _mm_storeu_pd(p0, _mm_unpacklo_pd(x, y));
    _mm_storel_pd(p0 + 2, z);
    _mm_storeu_pd(p1, _mm_unpackhi_pd(x, y));
    _mm_storeh_pd(p1 + 2, z);
}
/// Four doubles of one point or table row: x, y, z and one that does not matter.
struct Row {
    __m128d xy, z;
};
TALVISORA_LANES Row loadRow(const double* p) {
    return {_mm_loadu_pd(p), _mm_load_sd(p + 2)};
}
/// Three doubles; nothing beyond them is touched.
TALVISORA_LANES Row loadRow3(const double* p) {
    return loadRow(p);
}
TALVISORA_LANES void storeRow3(double* p, Row a) {
    _mm_storeu_pd(p, a.xy);
    _mm_store_sd(p + 2, a.z);
}
TALVISORA_LANES Row broadcastRow(double a) {
    return {_mm_set1_pd(a), _mm_set1_pd(a)};
}
TALVISORA_LANES Row addRow(Row a, Row b) {
    return {_mm_add_pd(a.xy, b.xy), _mm_add_pd(a.z, b.z)};
}
TALVISORA_LANES Row subRow(Row a, Row b) {
    return {_mm_sub_pd(a.xy, b.xy), _mm_sub_pd(a.z, b.z)};
}
TALVISORA_LANES Row mulRow(Row a, Row b) {
    return {_mm_mul_pd(a.xy, b.xy), _mm_mul_pd(a.z, b.z)};
}
/// The first, second and third value in all places.
TALVISORA_LANES void spreadRow(Row a, Row& x, Row& y, Row& z) {
    const __m128d xs = _mm_unpacklo_pd(a.xy, a.xy), ys = _mm_unpackhi_pd(a.xy, a.xy);
    const __m128d zs = _mm_unpacklo_pd(a.z, a.z);
    x = {xs, xs};
    y = {ys, ys};
    z = {zs, zs};
}
