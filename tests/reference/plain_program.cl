// SPDX-License-Identifier: Apache-2.0
// The OpenCL program in its plain form: the whole control polygon of every block in the caller's scratch, every
// control point through both matrices, every centre joint's tweaks, both curves evaluated from scratch. Slow on
// purpose: the yardstick for the module's program, which shares no line with it. Takes the same 22 arguments.

float3 pointMultMat(const float3 p, const float16 m) {
    const float x = p.x * m.s0 + p.y * m.s4 + p.z * m.s8 + m.sc;
    const float y = p.x * m.s1 + p.y * m.s5 + p.z * m.s9 + m.sd;
    const float z = p.x * m.s2 + p.y * m.s6 + p.z * m.sa + m.se;
    const float w = p.x * m.s3 + p.y * m.s7 + p.z * m.sb + m.sf;
    return (float3)(x / w, y / w, z / w);
}

float vectorsAngle(const float3 a, const float3 b) {
    const float l = length(a) * length(b);
    if (l > 1e-3f) return acos(dot(a, b) / l);
    return 0.0f;
}

uint NURBS_findSpan(global const float* knots, const uint nbKnots, const uint power, const float u) {
    const uint count = nbKnots - power - 1;
    uint i = 1;
    for (; i < count; ++i)
        if (knots[i] > u) break;
    return max(power, i - 1);
}

void NURBS_basisFunction(global const float* knots, const uint power, const uint span, const float u, float* N) {
    float left[8];
    float right[8];
    N[0] = 1.0f;
    for (uint j = 1; j <= power; ++j) {
        left[j] = u - knots[span + 1 - j];
        right[j] = knots[span + j] - u;
        float saved = 0.0f;
        for (uint r = 0; r < j; ++r) {
            const float temp = N[r] / (right[r + 1] + left[j - r]);
            N[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        N[j] = saved;
    }
}

float3 NURBS_evaluate(global const float3* controlPoints, global const float* knots, const uint power,
                      const uint nbKnots, const float u) {
    float N[8];
    const uint span = NURBS_findSpan(knots, nbKnots, power, u);
    NURBS_basisFunction(knots, power, span, u, N);
    float3 point = (float3)(0.0f, 0.0f, 0.0f);
    for (uint i = 0; i <= power; ++i) point += controlPoints[span - power + i] * N[i];
    return point;
}

struct BlockInfo {
    int numMatrices;
    float env;
    int simple;
};

struct Tweak {
    float collision, collisionPlane, bulge, collisionBulge, centerIn, centerOut, slidePrevIn, slideNextIn,
        slidePrevOut, slideNextOut, slideOrthoPrevIn, slideOrthoNextIn, slideOrthoPrevOut, slideOrthoNextOut;
};

struct TweakVectors {
    float3 deformVec, nextVec, prevVec, planeNormal, planePoint, zAxis;
    float angleWeight;
};

kernel void run(global const float* INPUT_POSITIONS, global float* OUTPUT_POSITIONS, const int NUM_ELEMENTS,
                global const float* WEIGHTS, const float ENVELOPE, const float16 attr_geoMatrix,
                global const float* attr_weightMaps, const float16 attr_geoMatrixInverse,
                const int attr_MAX_CV_MATRICES, const int attr_bsize, constant struct BlockInfo* attr_blockInfo,
                global const int* attr_ordersStart, global const int* attr_ordersEnd,
                global const float* attr_blockWeightsArray, global const float* attr_paramsArray,
                global const float16* attr_cvMatricesArray, global const float16* attr_cvBaseMatricesArray,
                global const float16* attr_cvBaseMatricesInverseArray, global const float* attr_knots,
                global float3* attr_cvsdata, global const struct Tweak* attr_tweaksArray,
                global const struct TweakVectors* attr_tweaksVectorsArray) {
    (void)attr_bsize;
    const int I = (int)get_global_id(0);
    float3 POINT = (float3)(0.0f);
    if (I < NUM_ELEMENTS) POINT = vload3(I, INPUT_POSITIONS);
    if (I >= NUM_ELEMENTS) return;

    const float WEIGHT = WEIGHTS[I];
    if (!(WEIGHT >= 0.001f)) {
        vstore3(POINT, I, OUTPUT_POSITIONS);
        return;
    }
    const size_t N = (size_t)NUM_ELEMENTS;
    const size_t M = (size_t)attr_MAX_CV_MATRICES;
    const float3 meshPoint = pointMultMat(POINT, attr_geoMatrix);
    const float collisionWeight = attr_weightMaps[I];
    const float bulgeWeight = attr_weightMaps[N + I];
    const float centreInWeight = attr_weightMaps[2 * N + I];
    const float centreOutWeight = attr_weightMaps[3 * N + I];
    const float slideInWeight = attr_weightMaps[4 * N + I];
    const float slideOutWeight = attr_weightMaps[5 * N + I];

    for (int b = attr_ordersStart[I]; b < attr_ordersEnd[I]; ++b) {
        const float weight =
            clamp(attr_blockWeightsArray[b * N + I] * attr_blockInfo[b].env * WEIGHT * ENVELOPE, 0.0f, 1.0f);
        if (!(weight >= 0.001f)) continue;

        const int numMatrices = attr_blockInfo[b].numMatrices;
        const int simple = attr_blockInfo[b].simple;
        const int C = simple ? numMatrices : numMatrices * 3 - 2;
        const float param = attr_paramsArray[b * N + I];
        global float3* cvs = attr_cvsdata + I * M;
        global const float* knots = attr_knots + b * (M + 4);
        const size_t row = b * M;

        // rest curve
        for (int i = 0; i < C; ++i) cvs[i] = attr_cvBaseMatricesArray[row + i].scde;
        const float3 pp = NURBS_evaluate(cvs, knots, 3, C + 4, param);
        const float3 offset = meshPoint - pp;

        // offset curve
        for (int k = 0; k < C; ++k) {
            const float3 copy = attr_cvBaseMatricesArray[row + k].scde + offset;
            cvs[k] = pointMultMat(pointMultMat(copy, attr_cvBaseMatricesInverseArray[row + k]),
                                  attr_cvMatricesArray[row + k]);
        }

        // tweaks
        for (int j = 0; j < numMatrices - 2; ++j) {
            const struct Tweak t = attr_tweaksArray[row + j];
            const struct TweakVectors v = attr_tweaksVectorsArray[row + j];
            const int n = (j + 1) * (simple ? 1 : 3);

            const float3 vec = cvs[n] - attr_cvMatricesArray[row + n].scde;
            const float zAxisWeight = dot(v.zAxis, vec);
            const float deformWeight = dot(v.deformVec, vec);
            const float w = deformWeight * fabs(deformWeight) * v.angleWeight;

            // centre
            float coeff = w > 0 ? t.centerIn * w * centreInWeight : t.centerOut * w * centreOutWeight;
            cvs[n] += v.deformVec * coeff;
            if (simple) continue;

            // slide and orthogonal slide, the previous side first
            coeff = w > 0 ? t.slidePrevIn * w * slideInWeight : t.slidePrevOut * w * slideOutWeight;
            cvs[n - 1] += v.prevVec * coeff;
            coeff = w > 0 ? t.slideOrthoPrevIn * w : t.slideOrthoPrevOut * w;
            cvs[n - 1] -= v.planeNormal * coeff;
            coeff = w > 0 ? t.slideNextIn * w * slideInWeight : t.slideNextOut * w * slideOutWeight;
            cvs[n + 1] += v.nextVec * coeff;
            coeff = w > 0 ? t.slideOrthoNextIn * w : t.slideOrthoNextOut * w;
            cvs[n + 1] += v.planeNormal * coeff;

            // collision bulge
            if (w > 0) {
                coeff = t.collisionBulge * deformWeight * zAxisWeight * v.angleWeight;
                const float3 pnt = v.zAxis * coeff;
                cvs[n] += pnt;
                cvs[n - 1] += 0.5f * pnt;
                cvs[n + 1] += 0.5f * pnt;
            }

            // bulge
            coeff = t.bulge * v.angleWeight * zAxisWeight * bulgeWeight;
            const float3 pnt = v.zAxis * coeff;
            cvs[n] += pnt;
            cvs[n - 1] += 0.5f * pnt;
            cvs[n + 1] += 0.5f * pnt;

            // collision
            if (t.collision > 0) {
                for (int k = -2; k <= 2; ++k) {
                    if (k == 0) continue;
                    const float dist = dot(v.planeNormal, cvs[n + k] - v.planePoint);
                    if ((dist < 0 && k < 0) || (dist > 0 && k > 0))
                        cvs[n + k] -= v.planeNormal * dist * t.collision * clamp(v.angleWeight, 0.0f, 1.0f) *
                                      collisionWeight;
                }
            }
        }

        // deformed curve and blend
        const float3 cp = NURBS_evaluate(cvs, knots, 3, C + 4, param);
        POINT = pointMultMat(cp, attr_geoMatrixInverse) * weight + POINT * (1.0f - weight);
    }
    vstore3(POINT, I, OUTPUT_POSITIONS);
}
