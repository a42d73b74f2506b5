// SPDX-License-Identifier: Apache-2.0
// First part of the OpenCL program: points through matrices, and the curve functions of curve_body.h (Cox-de Boor
// in the form of Piegl and Tiller). Twin widths: everything is single precision here. Where this text differs on
// purpose: the span is found by halving instead of by scanning, which is the same number for knots that never
// fall and costs five dependent reads instead of up to thirty.

// The kernel's arrays are registers only where the functions that take them are dissolved and their loops with them.
#define INLINED __attribute__((always_inline))

/// [point 1] times a row-major matrix, divided by w. Where the fourth column is (0, 0, 0, 1) the division would
/// be by exactly 1 and is left out.
INLINED float3 pointMultMat(const float3 point, const float16 matrix) {
    const float3 q = point.x * matrix.s012 + point.y * matrix.s456 + point.z * matrix.s89a + matrix.scde;
    if (matrix.s3 == 0.0f && matrix.s7 == 0.0f && matrix.sb == 0.0f && matrix.sf == 1.0f) return q;
    return q / (point.x * matrix.s3 + point.y * matrix.s7 + point.z * matrix.sb + matrix.sf);
}

/// Angle between two directions in radians; 0 when the product of their lengths is not above 1e-3. Not called by
/// `run`, which gets its angles ready-made; kept for programs that are appended to this text.
float vectorsAngle(const float3 a, const float3 b) {
    const float l = length(a) * length(b);
    return l > 1e-3f ? acos(dot(a, b) / l) : 0.0f;
}

/// Span of u: one before the first knot after the leading one that lies above u, never below the degree. A u that
/// is not a number lies below no knot and gets the last span.
INLINED uint NURBS_findSpan(global const float* knots, const uint nbKnots, const uint power, const float u) {
    const uint spanCount = nbKnots - power - 1;
    uint i = 1, end = spanCount;
    while (i < end) {
        const uint middle = (i + end) / 2;
        if (knots[middle] > u)
            end = middle;
        else
            i = middle + 1;
    }
    return max(power, i - 1);
}

/// The power + 1 basis values at u, into N. Degree 7 at most.
INLINED void NURBS_basisFunction(global const float* knots, const uint power, const uint span, const float u, float* N) {
    float left[8], right[8]; // index 0 is not used
    N[0] = 1.0f;
    for (uint j = 1; j <= power; ++j) {
        left[j] = u - knots[span + 1 - j];
        right[j] = knots[span + j] - u;
        float saved = 0.0f;
        for (uint r = 0; r < j; ++r) {
            // No guard against a zero denominator: a clamped uniform knot vector has none inside its range.
            const float temp = N[r] / (right[r + 1] + left[j - r]);
            N[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        N[j] = saved;
    }
}

/// The curve point at u. Not called by `run`, which needs one set of basis values for two curves.
float3 NURBS_evaluate(global const float3* controlPoints, global const float* knots, const uint power,
                      const uint nbKnots, const float u) {
    float N[8];
    const uint span = NURBS_findSpan(knots, nbKnots, power, u);
    NURBS_basisFunction(knots, power, span, u, N);
    float3 point = (float3)(0.0f);
    for (uint i = 0; i <= power; ++i) point += controlPoints[span - power + i] * N[i];
    return point;
}
