// SPDX-License-Identifier: Apache-2.0
// Order of one point: gate, world point, then per block: weight, rest curve, offset, offset curve, tweaks of
// every centre joint, deformed curve, blend.
#include "reference/literal_deform.h"

#include <cmath>
#include <type_traits>

#include "reference/literal_curve.h"

namespace talvisora::literal {

namespace {

constexpr float kThreshold = 1e-5f;

// Always the full product and three true divisions.
Vec3d transform(const Vec3d& p, const Matrix44d& a) {
    const double x = p.x * a.m[0] + p.y * a.m[4] + p.z * a.m[8] + a.m[12];
    const double y = p.x * a.m[1] + p.y * a.m[5] + p.z * a.m[9] + a.m[13];
    const double z = p.x * a.m[2] + p.y * a.m[6] + p.z * a.m[10] + a.m[14];
    const double w = p.x * a.m[3] + p.y * a.m[7] + p.z * a.m[11] + a.m[15];
    return {x / w, y / w, z / w};
}

Vec3d originOf(const Matrix44d& a) {
    return {a.m[12], a.m[13], a.m[14]};
}

Vec3d widen(const Float3Slot& v) {
    return {v.x, v.y, v.z};
}

float clamp01(float x) {
    return x < 0.0f ? 0.0f : x > 1.0f ? 1.0f : x;
}

/// In place of a trace where nobody asks for one: the formulas and nothing else.
struct NoTrace {};

void note(NoTrace&, const Vec3d&) {}
void note(Trace& trace, const Vec3d& v) {
    for (double c : {v.x, v.y, v.z})
        if (std::fabs(c) > trace.largest) trace.largest = std::fabs(c);
}

// The six weight-map values of one point, in map order.
struct MapWeights {
    float collision, bulge, centreIn, centreOut, slideIn, slideOut;
};

void noteBoundary(NoTrace&, double) {}
void noteBoundary(Trace& trace, double exact) {
    const double doubt = 1e-12 * trace.largest;
    if (static_cast<float>(exact + doubt) != static_cast<float>(exact - doubt))
        trace.collisionNearBoundary = true;
}

template <class T>
void moveByCollision(Vec3d& controlPoint, int k, const Tweak& t, const TweakVectors& v, float mapWeight,
                     T& trace) {
    const Vec3d toPoint = controlPoint - widen(v.planePoint);
    const double exact = dot(widen(v.planeNormal), toPoint);
    const float dist = static_cast<float>(exact);
    noteBoundary(trace, exact);
    if (!((dist < 0.0f && k < 0) || (dist > 0.0f && k > 0))) return;
    const float held = clamp01(v.angleWeight);
    const float x = v.planeNormal.x * dist * t.collision * held * mapWeight;
    const float y = v.planeNormal.y * dist * t.collision * held * mapWeight;
    const float z = v.planeNormal.z * dist * t.collision * held * mapWeight;
    controlPoint -= Vec3d{x, y, z};
}

template <class T>
void tweakCentreJoint(Vec3d* cvs, int n, bool simple, const Matrix44d& currentMatrix, const Tweak& t,
                      const TweakVectors& v, const MapWeights& maps, T& trace) {
    const Vec3d deformVec = widen(v.deformVec), nextVec = widen(v.nextVec), prevVec = widen(v.prevVec);
    const Vec3d planeNormal = widen(v.planeNormal), zAxis = widen(v.zAxis);
    const double angleWeight = v.angleWeight;

    const Vec3d vec = cvs[n] - originOf(currentMatrix);
    const double zAxisWeight = dot(zAxis, vec);
    const double deformWeight = dot(deformVec, vec);
    const double w = deformWeight * std::fabs(deformWeight) * angleWeight;

    // Centre.
    double coeff = w > 0.0 ? t.centerIn * w * maps.centreIn : t.centerOut * w * maps.centreOut;
    cvs[n] += deformVec * coeff;
    if (simple) return;

    // Slide and orthogonal slide, the previous side first.
    coeff = w > 0.0 ? t.slidePrevIn * w * maps.slideIn : t.slidePrevOut * w * maps.slideOut;
    cvs[n - 1] += prevVec * coeff;
    coeff = w > 0.0 ? t.slideOrthoPrevIn * w : t.slideOrthoPrevOut * w;
    cvs[n - 1] -= planeNormal * coeff;
    coeff = w > 0.0 ? t.slideNextIn * w * maps.slideIn : t.slideNextOut * w * maps.slideOut;
    cvs[n + 1] += nextVec * coeff;
    coeff = w > 0.0 ? t.slideOrthoNextIn * w : t.slideOrthoNextOut * w;
    cvs[n + 1] += planeNormal * coeff;

    // Collision bulge, on the inner side.
    if (w > 0.0) {
        coeff = t.collisionBulge * deformWeight * zAxisWeight * angleWeight;
        const Vec3d pnt = zAxis * coeff;
        cvs[n] += pnt;
        cvs[n - 1] += 0.5 * pnt;
        cvs[n + 1] += 0.5 * pnt;
    }

    // Bulge. The first product is single precision.
    const float bulgeAngle = t.bulge * v.angleWeight;
    coeff = bulgeAngle * zAxisWeight * maps.bulge;
    const Vec3d pnt = zAxis * coeff;
    cvs[n] += pnt;
    cvs[n - 1] += 0.5 * pnt;
    cvs[n + 1] += 0.5 * pnt;

    // Collision.
    if (t.collision > 0.0f) {
        for (int k : {-2, -1, 1, 2}) {
            note(trace, cvs[n + k]);
            moveByCollision(cvs[n + k], k, t, v, maps.collision, trace);
        }
    }
}

template <class T>
Vec3d curvePoint(const Vec3d* cvs, const float* knots, int count, float param, T& trace) {
    const auto knotCount = static_cast<unsigned>(count + 4);
    if (std::is_same<T, Trace>::value &&
        count >= 4) { // note the terms of the sum: outside [0, 1] they are larger than the result
        const unsigned span = findSpan(knots, knotCount, 3, param);
        float basis[8];
        basisFunction(knots, 3, span, param, basis);
        for (unsigned i = 0; i <= 3; ++i) note(trace, cvs[span - 3 + i] * static_cast<double>(basis[i]));
    }
    return evaluate(cvs, knots, 3, knotCount, param);
}

template <class T>
void blendBlock(const PointStage& s, int b, std::size_t i, const Vec3d& meshPoint, const MapWeights& maps,
                Vec3d& point, T& trace) {
    const BlockInfo& block = s.blocks[b];
    const float blockWeight = s.blockWeights[static_cast<std::size_t>(b) * s.pointCount + i];
    const float weight = clamp01(blockWeight * block.env * s.envelope);
    if (!(weight >= kThreshold)) return;

    const float param = s.params[static_cast<std::size_t>(b) * s.pointCount + i];
    const std::size_t first = static_cast<std::size_t>(b) * 30;
    const float* knots = s.knots + static_cast<std::size_t>(b) * 34;
    const int count = block.simple ? block.numMatrices : block.numMatrices * 3 - 2;
    Vec3d cvs[30];

    // Rest curve and the point's offset from it.
    for (int k = 0; k < count; ++k) cvs[k] = originOf(s.cvBaseMatrices[first + k]);
    const Vec3d pp = curvePoint(cvs, knots, count, param, trace);
    const Vec3d offset = meshPoint - pp;

    // Offset curve: the offset copy of every rest control point, through its own pair of matrices.
    for (int k = 0; k < count; ++k) {
        const Vec3d copy = originOf(s.cvBaseMatrices[first + k]) + offset;
        const Vec3d local = transform(copy, s.cvBaseMatricesInverse[first + k]);
        cvs[k] = transform(local, s.cvMatrices[first + k]);
        note(trace, copy);
        note(trace, local);
        note(trace, cvs[k]);
    }

    // Tweaks.
    for (int j = 0; j <= block.numMatrices - 3; ++j) {
        const int n = (j + 1) * (block.simple ? 1 : 3);
        tweakCentreJoint(cvs, n, block.simple != 0, s.cvMatrices[first + n], s.tweaks[first + j],
                         s.tweakVectors[first + j], maps, trace);
    }

    // Deformed curve and blend.
    const Vec3d cp = curvePoint(cvs, knots, count, param, trace);
    const double rest = static_cast<double>(1.0f - weight);
    const Vec3d moved = transform(cp, *s.geoMatrixInverse);
    note(trace, moved);
    point = moved * static_cast<double>(weight) + point * rest;
}

template <class T>
T deformPoint(const PointStage& s, std::size_t i) {
    T trace{};
    const float pointWeight = i < s.pointWeightCount ? s.pointWeights[i] : 1.0f;
    if (!(pointWeight >= kThreshold)) return trace;
    if (!(s.ordersStart[i] < s.ordersEnd[i])) return trace;

    Vec3d point = s.points[i];
    const Vec3d meshPoint = transform(point, *s.geoMatrix);
    note(trace, point);
    note(trace, meshPoint);
    const std::size_t n = s.pointCount;
    const float* maps = s.weightMaps;
    const MapWeights weights{maps[i],         maps[n + i],     maps[2 * n + i],
                             maps[3 * n + i], maps[4 * n + i], maps[5 * n + i]};
    for (int b = s.ordersStart[i]; b < s.ordersEnd[i]; ++b)
        blendBlock(s, b, i, meshPoint, weights, point, trace);
    s.points[i] = point;
    return trace;
}

} // namespace

void deformPoints(const PointStage& stage, std::vector<Trace>* traces) {
    if (traces) traces->assign(stage.pointCount, Trace{});
    for (std::size_t i = 0; i < stage.pointCount; ++i) {
        if (traces)
            (*traces)[i] = deformPoint<Trace>(stage, i);
        else
            deformPoint<NoTrace>(stage, i);
    }
}

void blockRanges(const std::vector<float>& blockWeights, const std::vector<float>& envs,
                 std::size_t pointCount, std::vector<std::int32_t>& start, std::vector<std::int32_t>& end) {
    start.assign(pointCount, 0);
    end.assign(pointCount, 0);
    for (int b = static_cast<int>(envs.size()) - 1; b >= 0; --b) {
        for (std::size_t i = 0; i < pointCount; ++i) {
            const double w = blockWeights[static_cast<std::size_t>(b) * pointCount + i];
            const double env = envs[static_cast<std::size_t>(b)];
            if (w > static_cast<double>(0.001f) && end[i] == 0) end[i] = b + 1;
            if (w > static_cast<double>(0.999f) && b > start[i] && env > static_cast<double>(0.99999f))
                start[i] = b;
        }
    }
}

} // namespace talvisora::literal
