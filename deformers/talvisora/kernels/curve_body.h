// SPDX-License-Identifier: Apache-2.0
// The curve functions as every variant has them: Cox-de Boor in the form of Piegl and Tiller, with the widths
// that make the CPU's numbers: differences of knots and parameter in single precision, quotients in double
// rounded to single, sums in double, basis values stored in single. To be included inside the variant's
// namespace, after its lanes. Twin: curve.cl, in single precision throughout; it finds the same span by
// halving.

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

/// findSpan for a cubic curve by a guess that is right on clamped uniform knots, then corrected: knots that
/// do not decrease make the answer the scan's.
TALVISORA_LANES unsigned guessSpan(const float* knots, unsigned spanCount, float u) {
    if (spanCount <= 4) return 3;  // the only span of four control points, and what the scan makes of fewer
    unsigned span = spanCount - 1; // where what is not a number ends up
    if (u <= 1.0f) span = u > 0.0f ? 3 + (unsigned)(u * (float)(spanCount - 3)) : 3;
    if (span > spanCount - 1) span = spanCount - 1;
    while (span > 3 && knots[span] > u) --span;
    while (span + 1 < spanCount && !(knots[span + 1] > u)) ++span;
    return span;
}

/// One value of the triangle: the quotient in single precision.
TALVISORA_LANES Lanes quotient(Lanes basis, Lanes right, Lanes left) {
    return roundToFloat(div(basis, add(right, left)));
}

static void findSpans(const float* knots, unsigned knotCount, const float* params, int32_t count,
                      int32_t* spans) {
    const unsigned spanCount = knotCount - 4;
    for (int32_t k = 0; k < count; ++k) spans[k] = (int32_t)guessSpan(knots, spanCount, params[k]);
}

/// basisFunction for degree 3 in lanes that share a span. `around` are the three knots on either side of it.
TALVISORA_LANES void basisOfSpan(const FloatLanes* around, FloatLanes at, FloatLanes* basis) {
    const Lanes zero = broadcast(0.0);
    const Lanes left3 = widen(subFloats(at, around[0]));
    const Lanes left2 = widen(subFloats(at, around[1]));
    const Lanes left1 = widen(subFloats(at, around[2]));
    const Lanes right1 = widen(subFloats(around[3], at));
    const Lanes right2 = widen(subFloats(around[4], at));
    const Lanes right3 = widen(subFloats(around[5], at));

    Lanes t = quotient(broadcast(1.0), right1, left1);
    Lanes n0 = roundToFloat(add(zero, mul(right1, t)));
    Lanes n1 = roundToFloat(mul(left1, t));

    t = quotient(n0, right1, left2);
    n0 = roundToFloat(add(zero, mul(right1, t)));
    Lanes saved = mul(left2, t);
    t = quotient(n1, right2, left1);
    n1 = roundToFloat(add(saved, mul(right2, t)));
    Lanes n2 = roundToFloat(mul(left1, t));

    t = quotient(n0, right1, left3);
    n0 = add(zero, mul(right1, t));
    saved = mul(left3, t);
    t = quotient(n1, right2, left2);
    n1 = add(saved, mul(right2, t));
    saved = mul(left2, t);
    t = quotient(n2, right3, left1);
    n2 = add(saved, mul(right3, t));

    basis[0] = narrow(n0);
    basis[1] = narrow(n1);
    basis[2] = narrow(n2);
    basis[3] = narrow(mul(left1, t));
}

/// The basis values of a run, group by group.
static void runBasis(const float* knots, int32_t span, const float* params, int32_t count, float* basis) {
    FloatLanes around[6], values[4];
    for (int a = 0; a < 6; ++a) around[a] = broadcastFloat(knots[span - 2 + a]);
    for (int32_t group = 0; group < count; group += kPairGroup) {
        const int32_t inGroup = count - group < kPairGroup ? count - group : kPairGroup;
        float* rows = basis + 4 * (size_t)group;
        int32_t k = 0;
        for (; k + kLanes <= inGroup; k += kLanes) {
            basisOfSpan(around, loadFloatLanes(params + group + k), values);
            for (int r = 0; r < 4; ++r) storeFloatLanes(rows + r * inGroup + k, values[r]);
        }
        if (k == inGroup) continue;
        float last[kLanes], row[kLanes];
        for (int32_t i = 0; i < kLanes; ++i)
            last[i] = params[group + (k + i < inGroup ? k + i : inGroup - 1)];
        basisOfSpan(around, loadFloatLanes(last), values);
        for (int r = 0; r < 4; ++r) {
            storeFloatLanes(row, values[r]);
            for (int32_t i = k; i < inGroup; ++i) rows[r * inGroup + i] = row[i - k];
        }
    }
}
