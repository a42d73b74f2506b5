// SPDX-License-Identifier: Apache-2.0
// The yardsticks. The blends keep a point's four matrices as columns side by side, so that one weighted sum
// of registers gives the blended matrix.
#include "bench/baselines.h"

#if defined(__GNUC__)
#include <immintrin.h>
#endif

namespace talvisora::bench {

namespace {

void blendPlain(const SkinJob& job, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        float m[16] = {};
        for (int k = 0; k < 4; ++k) {
            const float* from = job.matrices + 16 * static_cast<std::size_t>(job.joints[4 * i + k]);
            for (int e = 0; e < 16; ++e) m[e] += job.weights[4 * i + k] * from[e];
        }
        const float* p = job.in + 3 * i;
        for (int c = 0; c < 3; ++c)
            job.out[3 * i + c] = p[0] * m[c] + p[1] * m[4 + c] + p[2] * m[8 + c] + m[12 + c];
    }
}

#if defined(__GNUC__)

__attribute__((target("avx2,fma"))) void blendAvx2(const SkinJob& job, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        const std::uint16_t* j = job.joints + 4 * i;
        const float* w = job.weights + 4 * i;
        const float* p = job.in + 3 * i;
        const float* m0 = job.matrices + 16 * static_cast<std::size_t>(j[0]);
        const float* m1 = job.matrices + 16 * static_cast<std::size_t>(j[1]);
        const float* m2 = job.matrices + 16 * static_cast<std::size_t>(j[2]);
        const float* m3 = job.matrices + 16 * static_cast<std::size_t>(j[3]);
        const __m256 w0 = _mm256_broadcast_ss(w), w1 = _mm256_broadcast_ss(w + 1);
        const __m256 w2 = _mm256_broadcast_ss(w + 2), w3 = _mm256_broadcast_ss(w + 3);
        __m256 xy = _mm256_mul_ps(w0, _mm256_loadu_ps(m0));
        __m256 zt = _mm256_mul_ps(w0, _mm256_loadu_ps(m0 + 8));
        xy = _mm256_fmadd_ps(w1, _mm256_loadu_ps(m1), xy);
        zt = _mm256_fmadd_ps(w1, _mm256_loadu_ps(m1 + 8), zt);
        xy = _mm256_fmadd_ps(w2, _mm256_loadu_ps(m2), xy);
        zt = _mm256_fmadd_ps(w2, _mm256_loadu_ps(m2 + 8), zt);
        xy = _mm256_fmadd_ps(w3, _mm256_loadu_ps(m3), xy);
        zt = _mm256_fmadd_ps(w3, _mm256_loadu_ps(m3 + 8), zt);
        const __m128 x = _mm_broadcast_ss(p), y = _mm_broadcast_ss(p + 1), z = _mm_broadcast_ss(p + 2);
        __m128 r = _mm_fmadd_ps(z, _mm256_castps256_ps128(zt), _mm256_extractf128_ps(zt, 1));
        r = _mm_fmadd_ps(x, _mm256_castps256_ps128(xy), r);
        r = _mm_fmadd_ps(y, _mm256_extractf128_ps(xy, 1), r);
        _mm_storeu_ps(job.out + 3 * i, r); // the fourth float is overwritten by the next point
    }
}

#endif

} // namespace

BlendFunction widestBlend(const char*& name) {
#if defined(__GNUC__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
        name = "avx2+fma";
        return blendAvx2;
    }
#endif
    name = "plain";
    return blendPlain;
}

void moveBytes(const ByteJob& job, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        const double s = static_cast<double>(job.pointWeights[i] + job.blockWeights[i] + job.params[i]);
        const double o = static_cast<double>(job.ordersStart[i] + job.ordersEnd[i]);
        job.points[3 * i] += s;
        job.points[3 * i + 1] += o;
        job.points[3 * i + 2] += s;
    }
}

} // namespace talvisora::bench
