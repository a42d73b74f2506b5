// SPDX-License-Identifier: Apache-2.0
// Third part of the OpenCL program: the tweaks of tweak_body.h and the point of deform_body.h, one work-item per
// point. Twin differences, all on purpose: single precision throughout; both thresholds are 0.001; the point's own
// weight is a factor of the blend; a work-item carries its four control points through the matrices one after the
// other, because a product of two matrices pays only when many points share it.
//
// Of a block's control points only the four of the span can move the point, so they stay in private variables.
// The scratch polygon that the caller provides is not touched: nothing in it outlives a block, and its traffic
// would be ten times that of everything else.

/// Weight maps of one point: map m lies at m * count.
struct PointMaps {
    global const float* first;
    size_t count;
};

INLINED static float mapValue(const struct PointMaps maps, const int m) {
    return maps.first[(size_t)m * maps.count];
}

/// The offset copy of control point k, carried from rest to current pose.
INLINED static float3 offsetCopy(const float3 offset, global const float16* current, global const float16* rest,
                                global const float16* restInverse, const int k) {
    return pointMultMat(pointMultMat(rest[k].scde + offset, restInverse[k]), current[k]);
}

/// Pushes a control point back over the collision plane when it has crossed it: a point before the joint when its
/// distance is negative, one after it when positive.
INLINED static void collide(global const struct Tweak* t, global const struct TweakVectors* v, const bool before,
                           const struct PointMaps maps, float3* p) {
    const float3 planeNormal = v->planeNormal;
    const float dist = dot(planeNormal, *p - v->planePoint);
    if (before ? dist < 0.0f : dist > 0.0f)
        *p -= planeNormal * dist * t->collision * clamp(v->angleWeight, 0.0f, 1.0f) * mapValue(maps, 0);
}

/// All steps of one joint but the collision, on its own control point and its two neighbours. A neighbour or an
/// own point outside the span is a copy that nobody reads. No tweak of another joint has touched `own` yet: a
/// neighbour reaches at most the points beside it.
INLINED static void bend(global const struct Tweak* t, global const struct TweakVectors* v,
                        const float3 currentOwn, const bool simple, const struct PointMaps maps, float3* before,
                        float3* own, float3* after) {
    const float3 vec = *own - currentOwn;
    const float3 deformVec = v->deformVec;
    const float deformWeight = dot(deformVec, vec);
    // A signed square: grows with the distance along the bend direction and keeps its sign.
    const float w = deformWeight * fabs(deformWeight) * v->angleWeight;
    const bool inner = w > 0.0f;

    // A map is read only where an amount acts.
    const float centre = inner ? t->centerIn : t->centerOut;
    if (centre != 0.0f) *own += deformVec * (centre * w * mapValue(maps, inner ? 2 : 3));
    if (simple) return; // a simple block has no in-between points to move

    const float slidePrev = inner ? t->slidePrevIn : t->slidePrevOut;
    if (slidePrev != 0.0f) *before += v->prevVec * (slidePrev * w * mapValue(maps, inner ? 4 : 5));
    // The two neighbours move to opposite sides of the plane, on purpose.
    const float orthoPrev = inner ? t->slideOrthoPrevIn : t->slideOrthoPrevOut;
    if (orthoPrev != 0.0f) *before -= v->planeNormal * (orthoPrev * w);
    const float slideNext = inner ? t->slideNextIn : t->slideNextOut;
    if (slideNext != 0.0f) *after += v->nextVec * (slideNext * w * mapValue(maps, inner ? 4 : 5));
    const float orthoNext = inner ? t->slideOrthoNextIn : t->slideOrthoNextOut;
    if (orthoNext != 0.0f) *after += v->planeNormal * (orthoNext * w);

    const float collisionBulge = inner ? t->collisionBulge : 0.0f;
    if (collisionBulge != 0.0f) {
        const float3 zAxis = v->zAxis;
        const float3 pnt = zAxis * (collisionBulge * deformWeight * dot(zAxis, vec) * v->angleWeight);
        *own += pnt;
        *before += 0.5f * pnt;
        *after += 0.5f * pnt;
    }
    if (t->bulge != 0.0f) {
        const float3 zAxis = v->zAxis;
        const float3 pnt = zAxis * (t->bulge * v->angleWeight * dot(zAxis, vec) * mapValue(maps, 1));
        *own += pnt;
        *before += 0.5f * pnt;
        *after += 0.5f * pnt;
    }
}

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
    (void)attr_cvsdata;
    // The point is loaded before the range test, but never from behind the array: the last work-group is padded.
    const int I = (int)get_global_id(0);
    const bool inRange = I >= 0 && I < NUM_ELEMENTS;
    float3 POINT = (float3)(0.0f);
    if (inRange) POINT = vload3(I, INPUT_POSITIONS);
    if (!inRange) return;

    // Thresholds are written so that a weight that is not a number counts as too small.
    const float pointWeight = WEIGHTS[I];
    if (!(pointWeight >= 0.001f)) {
        vstore3(POINT, I, OUTPUT_POSITIONS);
        return;
    }

    // Every block measures its offset from the incoming point, whatever the blocks before it did.
    const float3 meshPoint = pointMultMat(POINT, attr_geoMatrix);
    const size_t N = (size_t)NUM_ELEMENTS;
    const struct PointMaps maps = {attr_weightMaps + I, N};

    const int endBlock = min(attr_ordersEnd[I], attr_bsize);
    for (int b = max(attr_ordersStart[I], 0); b < endBlock; ++b) {
        const struct BlockInfo block = attr_blockInfo[b];
        const float product = attr_blockWeightsArray[b * N + I] * block.env * pointWeight * ENVELOPE;
        if (!(product >= 0.001f)) continue;
        const float weight = min(product, 1.0f);

        const bool simple = block.simple != 0;
        const int C = simple ? block.numMatrices : block.numMatrices * 3 - 2;
        // Cannot be: the set-up refuses such a block. Its rows would be too short.
        if (block.numMatrices < 1 || block.numMatrices > attr_MAX_CV_MATRICES || C > attr_MAX_CV_MATRICES) continue;
        const size_t row = (size_t)b * attr_MAX_CV_MATRICES;
        global const float16* current = attr_cvMatricesArray + row;
        global const float16* rest = attr_cvBaseMatricesArray + row;
        global const float16* restInverse = attr_cvBaseMatricesInverseArray + row;
        global const float* knots = attr_knots + (size_t)b * (attr_MAX_CV_MATRICES + 4);

        // Rest curve: the four control points of the span, and the offset from the curve to the point.
        const float param = attr_paramsArray[b * N + I];
        const uint span = NURBS_findSpan(knots, (uint)C + 4, 3, param);
        float basis[4];
        NURBS_basisFunction(knots, 3, span, param, basis);
        const int first = (int)span - 3;
        float3 onCurve = (float3)(0.0f);
#pragma unroll
        for (int k = 0; k < 4; ++k) onCurve += rest[first + k].scde * basis[k];
        const float3 offset = meshPoint - onCurve;

        // Offset curve: each control point's offset copy, carried from rest to current pose.
        float3 c[4];
#pragma unroll
        for (int k = 0; k < 4; ++k) c[k] = offsetCopy(offset, current, rest, restInverse, first + k);

        // Tweaks: only the joints that reach this span, in ascending order. A joint of a simple block reaches its
        // own control point; any other joint two points to either side.
        const int centreJoints = block.numMatrices - 2;
        int j = simple ? first - 1 : first / 3 - 1;
        const int lastJoint = min(centreJoints, simple ? first + 3 : (first + 5) / 3);
        for (j = max(j, 0); j < lastJoint; ++j) {
            global const struct Tweak* t = attr_tweaksArray + row + j;
            global const struct TweakVectors* v = attr_tweaksVectorsArray + row + j;
            // With no extra bend every amount is zero, and so is every collision.
            if (v->angleWeight == 0.0f) continue;
            const int n = (j + 1) * (simple ? 1 : 3);
            const bool collides = !simple && t->collision > 0.0f;
            const float3 currentOwn = current[n].scde;
            float3 outside = (float3)(0.0f), own;
            switch (n - first) {
            case -2:
                if (collides) collide(t, v, false, maps, &c[0]);
                break;
            case -1:
                own = offsetCopy(offset, current, rest, restInverse, n);
                bend(t, v, currentOwn, simple, maps, &outside, &own, &c[0]);
                if (collides) {
                    collide(t, v, false, maps, &c[0]);
                    collide(t, v, false, maps, &c[1]);
                }
                break;
            case 0:
                bend(t, v, currentOwn, simple, maps, &outside, &c[0], &c[1]);
                if (collides) {
                    collide(t, v, false, maps, &c[1]);
                    collide(t, v, false, maps, &c[2]);
                }
                break;
            case 1:
                bend(t, v, currentOwn, simple, maps, &c[0], &c[1], &c[2]);
                if (collides) {
                    collide(t, v, true, maps, &c[0]);
                    collide(t, v, false, maps, &c[2]);
                    collide(t, v, false, maps, &c[3]);
                }
                break;
            case 2:
                bend(t, v, currentOwn, simple, maps, &c[1], &c[2], &c[3]);
                if (collides) {
                    collide(t, v, true, maps, &c[0]);
                    collide(t, v, true, maps, &c[1]);
                    collide(t, v, false, maps, &c[3]);
                }
                break;
            case 3:
                bend(t, v, currentOwn, simple, maps, &c[2], &c[3], &outside);
                if (collides) {
                    collide(t, v, true, maps, &c[1]);
                    collide(t, v, true, maps, &c[2]);
                }
                break;
            case 4:
                own = offsetCopy(offset, current, rest, restInverse, n);
                bend(t, v, currentOwn, simple, maps, &c[3], &own, &outside);
                if (collides) {
                    collide(t, v, true, maps, &c[2]);
                    collide(t, v, true, maps, &c[3]);
                }
                break;
            case 5:
                if (collides) collide(t, v, true, maps, &c[3]);
                break;
            default:
                break;
            }
        }

        // Deformed curve, back to object space, blend.
        float3 cp = (float3)(0.0f);
#pragma unroll
        for (int k = 0; k < 4; ++k) cp += c[k] * basis[k];
        POINT = pointMultMat(cp, attr_geoMatrixInverse) * weight + POINT * (1.0f - weight);
    }
    vstore3(POINT, I, OUTPUT_POSITIONS);
}
