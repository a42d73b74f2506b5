// SPDX-License-Identifier: Apache-2.0
// The yardsticks. The blends keep a point's four matrices as columns side by side, so that one weighted sum
// of registers gives the blended matrix; all of them work in place, which spares the traffic of a second
// array.
#include "bench/baselines.h"

#if defined(__GNUC__) && defined(__x86_64__)
#define TALVISORA_BENCH_WIDE 1
#include <immintrin.h>
#endif

namespace talvisora::bench {

namespace {

/// Points ahead of the blend whose streams are asked for; found by trying.
[[maybe_unused]] constexpr std::size_t kAhead = 64;

template <class T>
void blendPlain(const SkinJob<T>& job, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        T m[16] = {};
        for (int k = 0; k < 4; ++k) {
            const T* from = job.matrices + 16 * static_cast<std::size_t>(job.joints[4 * i + k]);
            for (int e = 0; e < 16; ++e) m[e] += static_cast<T>(job.weights[4 * i + k]) * from[e];
        }
        T* p = job.points + 3 * i;
        const T x = p[0], y = p[1], z = p[2];
        for (int c = 0; c < 3; ++c) p[c] = x * m[c] + y * m[4 + c] + z * m[8 + c] + m[12 + c];
    }
}

#if defined(TALVISORA_BENCH_WIDE)

template <class T>
inline __attribute__((always_inline)) void prefetch(const SkinJob<T>& job, std::size_t i) {
    _mm_prefetch(reinterpret_cast<const char*>(job.points + 3 * (i + kAhead)), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(job.weights + 4 * (i + kAhead)), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(job.joints + 4 * (i + kAhead)), _MM_HINT_T0);
}

template <class T>
const T* matrixOf(const SkinJob<T>& job, std::size_t i, int k) {
    return job.matrices + 16 * static_cast<std::size_t>(job.joints[4 * i + static_cast<std::size_t>(k)]);
}

__attribute__((target("avx2,fma"))) void storeThree(float* p, __m128 r) {
    _mm_storel_pi(reinterpret_cast<__m64*>(p), r);
    _mm_store_ss(p + 2, _mm_movehl_ps(r, r));
}

__attribute__((target("avx2,fma"))) void storeThree(double* p, __m256d r) {
    _mm_storeu_pd(p, _mm256_castpd256_pd128(r));
    _mm_store_sd(p + 2, _mm256_extractf128_pd(r, 1));
}

__attribute__((target("avx2,fma"))) void blendFloatAvx2(const SkinJob<float>& job, std::size_t first,
                                                        std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        if (i % 4 == 0) prefetch(job, i);
        float* p = job.points + 3 * i;
        __m256 xy = _mm256_setzero_ps(), zt = _mm256_setzero_ps();
        for (int k = 0; k < 4; ++k) {
            const float* m = matrixOf(job, i, k);
            const __m256 w = _mm256_broadcast_ss(job.weights + 4 * i + k);
            xy = _mm256_fmadd_ps(w, _mm256_loadu_ps(m), xy);
            zt = _mm256_fmadd_ps(w, _mm256_loadu_ps(m + 8), zt);
        }
        const __m128 x = _mm_broadcast_ss(p), y = _mm_broadcast_ss(p + 1), z = _mm_broadcast_ss(p + 2);
        __m128 r = _mm_fmadd_ps(z, _mm256_castps256_ps128(zt), _mm256_extractf128_ps(zt, 1));
        r = _mm_fmadd_ps(x, _mm256_castps256_ps128(xy), r);
        r = _mm_fmadd_ps(y, _mm256_extractf128_ps(xy, 1), r);
        storeThree(p, r);
    }
}

__attribute__((target("avx2,fma"))) void blendDoubleAvx2(const SkinJob<double>& job, std::size_t first,
                                                         std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        if (i % 2 == 0) prefetch(job, i);
        double* p = job.points + 3 * i;
        const __m128 weights = _mm_loadu_ps(job.weights + 4 * i);
        const __m256d wide = _mm256_cvtps_pd(weights);
        const __m256d w[4] = {_mm256_permute4x64_pd(wide, 0x00), _mm256_permute4x64_pd(wide, 0x55),
                              _mm256_permute4x64_pd(wide, 0xaa), _mm256_permute4x64_pd(wide, 0xff)};
        __m256d x = _mm256_setzero_pd(), y = x, z = x, t = x;
        for (int k = 0; k < 4; ++k) {
            const double* m = matrixOf(job, i, k);
            x = _mm256_fmadd_pd(w[k], _mm256_loadu_pd(m), x);
            y = _mm256_fmadd_pd(w[k], _mm256_loadu_pd(m + 4), y);
            z = _mm256_fmadd_pd(w[k], _mm256_loadu_pd(m + 8), z);
            t = _mm256_fmadd_pd(w[k], _mm256_loadu_pd(m + 12), t);
        }
        __m256d r = _mm256_fmadd_pd(_mm256_broadcast_sd(p), x, t);
        r = _mm256_fmadd_pd(_mm256_broadcast_sd(p + 1), y, r);
        r = _mm256_fmadd_pd(_mm256_broadcast_sd(p + 2), z, r);
        storeThree(p, r);
    }
}

#define TALVISORA_AVX512 __attribute__((target("avx512f,avx512dq,avx512vl,avx2,fma")))

TALVISORA_AVX512 void blendFloatAvx512(const SkinJob<float>& job, std::size_t first, std::size_t end) {
    const __m512i corner = _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
    for (std::size_t i = first; i < end; ++i) {
        if (i % 4 == 0) prefetch(job, i);
        float* p = job.points + 3 * i;
        const float* w = job.weights + 4 * i;
        __m512 m = _mm512_mul_ps(_mm512_set1_ps(w[0]), _mm512_loadu_ps(matrixOf(job, i, 0)));
        for (int k = 1; k < 4; ++k)
            m = _mm512_fmadd_ps(_mm512_set1_ps(w[k]), _mm512_loadu_ps(matrixOf(job, i, k)), m);
        const __m128 point =
            _mm_insert_ps(_mm_insert_ps(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p))),
                                        _mm_load_ss(p + 2), 0x20),
                          _mm_set_ss(1.0f), 0x30);
        m = _mm512_mul_ps(m, _mm512_permutexvar_ps(corner, _mm512_castps128_ps512(point)));
        const __m256 half = _mm256_add_ps(_mm512_castps512_ps256(m), _mm512_extractf32x8_ps(m, 1));
        storeThree(p, _mm_add_ps(_mm256_castps256_ps128(half), _mm256_extractf128_ps(half, 1)));
    }
}

TALVISORA_AVX512 void blendDoubleAvx512(const SkinJob<double>& job, std::size_t first, std::size_t end) {
    const __m512i low = _mm512_setr_epi64(0, 0, 0, 0, 1, 1, 1, 1);
    const __m512i high = _mm512_setr_epi64(2, 2, 2, 2, 3, 3, 3, 3);
    const __m256d ones = _mm256_set1_pd(1.0);
    for (std::size_t i = first; i < end; ++i) {
        if (i % 2 == 0) prefetch(job, i);
        double* p = job.points + 3 * i;
        const __m512d weights = _mm512_castpd256_pd512(_mm256_cvtps_pd(_mm_loadu_ps(job.weights + 4 * i)));
        __m512d xy = _mm512_setzero_pd(), zt = xy;
        for (int k = 0; k < 4; ++k) {
            const double* m = matrixOf(job, i, k);
            const __m512d weight = _mm512_permutexvar_pd(_mm512_set1_epi64(k), weights);
            xy = _mm512_fmadd_pd(weight, _mm512_loadu_pd(m), xy);
            zt = _mm512_fmadd_pd(weight, _mm512_loadu_pd(m + 8), zt);
        }
        const __m512d point = _mm512_castpd256_pd512(_mm256_mask_loadu_pd(ones, 7, p));
        const __m512d r = _mm512_fmadd_pd(zt, _mm512_permutexvar_pd(high, point),
                                          _mm512_mul_pd(xy, _mm512_permutexvar_pd(low, point)));
        storeThree(p, _mm256_add_pd(_mm512_castpd512_pd256(r), _mm512_extractf64x4_pd(r, 1)));
    }
}

/// What is read beside the points goes into what is written, or the compiler would leave it out.
__attribute__((target("avx2"))) void moveBytesAvx2(const ByteJob& job, std::size_t first, std::size_t end) {
    std::size_t i = first;
    for (; i + 4 <= end; i += 4) {
        const __m128 floats =
            _mm_add_ps(_mm_add_ps(_mm_loadu_ps(job.pointWeights + i), _mm_loadu_ps(job.blockWeights + i)),
                       _mm_loadu_ps(job.params + i));
        const __m128i orders =
            _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(job.ordersStart + i)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(job.ordersEnd + i)));
        const __m256d s = _mm256_cvtps_pd(_mm_xor_ps(floats, _mm_castsi128_ps(orders)));
        double* p = job.points + 3 * i;
        _mm_prefetch(reinterpret_cast<const char*>(p + 192), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(p + 200), _MM_HINT_T0);
        for (int k = 0; k < 3; ++k) _mm256_storeu_pd(p + 4 * k, _mm256_add_pd(_mm256_loadu_pd(p + 4 * k), s));
    }
    for (; i < end; ++i) job.points[3 * i] += static_cast<double>(job.params[i]);
}

#endif

template <class T>
std::vector<Blend<T>> blends(Blend<T> avx2, Blend<T> avx512) {
    std::vector<Blend<T>> list{{"plain", blendPlain<T>}};
#if defined(TALVISORA_BENCH_WIDE)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) list.push_back(avx2);
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl"))
        list.push_back(avx512);
#else
    (void)avx2;
    (void)avx512;
#endif
    return list;
}

void moveBytesPlain(const ByteJob& job, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
        const double s = static_cast<double>(job.pointWeights[i] + job.blockWeights[i] + job.params[i]);
        const double o = static_cast<double>(job.ordersStart[i] + job.ordersEnd[i]);
        job.points[3 * i] += s;
        job.points[3 * i + 1] += o;
        job.points[3 * i + 2] += s;
    }
}

} // namespace

#if defined(TALVISORA_BENCH_WIDE)
std::vector<Blend<float>> floatBlends() {
    return blends<float>({"avx2", blendFloatAvx2}, {"avx512", blendFloatAvx512});
}
std::vector<Blend<double>> doubleBlends() {
    return blends<double>({"avx2", blendDoubleAvx2}, {"avx512", blendDoubleAvx512});
}
void moveBytes(const ByteJob& job, std::size_t first, std::size_t end) {
    __builtin_cpu_supports("avx2") ? moveBytesAvx2(job, first, end) : moveBytesPlain(job, first, end);
}
#else
std::vector<Blend<float>> floatBlends() {
    return blends<float>({}, {});
}
std::vector<Blend<double>> doubleBlends() {
    return blends<double>({}, {});
}
void moveBytes(const ByteJob& job, std::size_t first, std::size_t end) {
    moveBytesPlain(job, first, end);
}
#endif

} // namespace talvisora::bench
