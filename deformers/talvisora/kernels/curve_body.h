// SPDX-License-Identifier: Apache-2.0
// The curve functions as every variant has them: Cox-de Boor in the form of Piegl and Tiller, with the widths
// that make the CPU's numbers: differences of knots and parameter in single precision, quotients in double
// rounded to single, sums in double, basis values stored in single. To be included inside the variant's
// namespace. Twin: curve.cl, in single precision throughout; it finds the same span by halving.

static unsigned findSpan(const float* knots, unsigned knotCount, unsigned power, float u) {
    const unsigned spanCount = knotCount - power - 1;
    unsigned i = 1;
    while (i < spanCount && !(knots[i] > u)) ++i;
    return i - 1 > power ? i - 1 : power;
}

static void basisFunction(const float* knots, unsigned power, unsigned span, float u, float* basis) {
    double left[8], right[8]; // index 0 is not used
    basis[0] = 1.0f;
    for (unsigned j = 1; j <= power; ++j) {
        left[j] = (double)(u - knots[span + 1 - j]);
        right[j] = (double)(knots[span + j] - u);
        double saved = 0.0;
        for (unsigned r = 0; r < j; ++r) {
            // No guard against a zero denominator: a clamped uniform knot vector has none inside its range.
            const float temp = (float)((double)basis[r] / (right[r + 1] + left[j - r]));
            basis[r] = (float)(saved + right[r + 1] * (double)temp);
            saved = left[j - r] * (double)temp;
        }
        basis[j] = (float)saved;
    }
}

static void evaluateCurve(const double* controlPoints, const float* knots, unsigned power, unsigned knotCount,
                          float u, double* point) {
    float basis[8];
    const unsigned span = findSpan(knots, knotCount, power, u);
    basisFunction(knots, power, span, u, basis);
    double x = 0.0, y = 0.0, z = 0.0;
    for (unsigned i = 0; i <= power; ++i) {
        const double* c = controlPoints + 3 * (span - power + i);
        const double n = (double)basis[i];
        x += c[0] * n;
        y += c[1] * n;
        z += c[2] * n;
    }
    point[0] = x;
    point[1] = y;
    point[2] = z;
}

static void spanBasis(const float* knots, unsigned knotCount, const float* params, int32_t count,
                      int32_t* spans, float* basis) {
    for (int32_t k = 0; k < count; ++k) {
        const unsigned span = findSpan(knots, knotCount, 3, params[k]);
        spans[k] = (int32_t)span;
        basisFunction(knots, 3, span, params[k], basis + 4 * k);
    }
}
