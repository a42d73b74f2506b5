// SPDX-License-Identifier: Apache-2.0
// The tweaks of one centre joint on the four control points of a span, in lanes of points: centre, slide,
// orthogonal slide, collision bulge, bulge, collision. Two facts make this cheap. The displacement that
// decides the amounts is that of the joint's own control point before any tweak has touched it (a neighbour
// reaches at most the points beside it), so both dot products follow from the offset alone. And each control
// point is moved by its own value only, so a span needs just the joints in reach and, of them, just the
// control points it uses. To be included inside the variant's namespace.
//
// Twin widths: amounts are products in double of widened singles; the collision's distance and its product
// are rounded to single after every factor.

struct Point3 {
    Lanes x, y, z;
};

/// Weight-map values of a group of points.
struct MapLanes {
    Lanes collision, bulge, centreIn, centreOut, slideIn, slideOut;
};

TALVISORA_LANES Lanes dotWith(const double* v, const Point3& p) {
    return add(add(mul(p.x, broadcast(v[0])), mul(p.y, broadcast(v[1]))), mul(p.z, broadcast(v[2])));
}

TALVISORA_LANES void addScaled(Point3& p, const double* v, Lanes amount) {
    p.x = add(p.x, mul(broadcast(v[0]), amount));
    p.y = add(p.y, mul(broadcast(v[1]), amount));
    p.z = add(p.z, mul(broadcast(v[2]), amount));
}

TALVISORA_LANES void subScaled(Point3& p, const double* v, Lanes amount) {
    p.x = sub(p.x, mul(broadcast(v[0]), amount));
    p.y = sub(p.y, mul(broadcast(v[1]), amount));
    p.z = sub(p.z, mul(broadcast(v[2]), amount));
}

/// inside where w > 0, else outside, each as value · w · map.
TALVISORA_LANES Lanes sidedAmount(LaneMask inner, double inside, double outside, Lanes w, Lanes mapIn,
                                  Lanes mapOut) {
    return select(inner, mul(mul(broadcast(inside), w), mapIn), mul(mul(broadcast(outside), w), mapOut));
}

/// Pushes a control point back over the collision plane when it has crossed it: a point before the joint when
/// its distance is negative, one after it when positive.
TALVISORA_LANES void collide(const TweakJoint& joint, bool before, Lanes map, Point3& p) {
    const Point3 fromPlane = {sub(p.x, broadcast(joint.planePoint[0])),
                              sub(p.y, broadcast(joint.planePoint[1])),
                              sub(p.z, broadcast(joint.planePoint[2]))};
    const Lanes distance = roundToFloat(dotWith(joint.planeNormal, fromPlane));
    const Lanes zero = broadcast(0.0);
    const LaneMask crossed = before ? less(distance, zero) : greater(distance, zero);
    const Lanes collision = broadcast(joint.collision), clamped = broadcast(joint.collisionClamp);
    // A product of two singles is exact in double, so rounding it once gives the single-precision product.
    Lanes back[3];
    for (int a = 0; a < 3; ++a) {
        const Lanes byDistance = roundToFloat(mul(broadcast(joint.planeNormal[a]), distance));
        const Lanes byAmount = roundToFloat(mul(roundToFloat(mul(byDistance, collision)), clamped));
        back[a] = roundToFloat(mul(byAmount, map));
    }
    p.x = select(crossed, sub(p.x, back[0]), p.x);
    p.y = select(crossed, sub(p.y, back[1]), p.y);
    p.z = select(crossed, sub(p.z, back[2]), p.z);
}

/// One joint on the span's control points c[0] … c[3]; the joint's own one would be c[At], At from -2 to 5.
template <int At>
static inline void tweakAt(const TweakJoint& joint, const Point3& offset, const MapLanes& maps, Point3* c) {
    constexpr bool own = At >= 0 && At <= 3;
    constexpr bool before = At - 1 >= 0 && At - 1 <= 3;
    constexpr bool after = At + 1 >= 0 && At + 1 <= 3;
    constexpr int ownIndex = own ? At : 0, beforeIndex = before ? At - 1 : 0, afterIndex = after ? At + 1 : 0;
    const uint32_t steps = joint.steps;

    if (own || before || after) {
        const Lanes zAxisWeight = add(dotWith(joint.zAxisDot, offset), broadcast(joint.zAxisDot[3]));
        const Lanes deformWeight = add(dotWith(joint.deformDot, offset), broadcast(joint.deformDot[3]));
        // A signed square: grows with the distance along the bend direction and keeps its sign.
        const Lanes w = mul(mul(deformWeight, absolute(deformWeight)), broadcast(joint.angleWeight));
        const LaneMask inner = greater(w, broadcast(0.0));

        if (own && (steps & kCentreStep))
            addScaled(c[ownIndex], joint.deformVec,
                      sidedAmount(inner, joint.centerIn, joint.centerOut, w, maps.centreIn, maps.centreOut));
        if (steps & kSlideStep) {
            if (before)
                addScaled(c[beforeIndex], joint.prevVec,
                          sidedAmount(inner, joint.slidePrevIn, joint.slidePrevOut, w, maps.slideIn,
                                      maps.slideOut));
            if (after)
                addScaled(c[afterIndex], joint.nextVec,
                          sidedAmount(inner, joint.slideNextIn, joint.slideNextOut, w, maps.slideIn,
                                      maps.slideOut));
        }
        if (steps & kOrthoStep) {
            // The two neighbours move to opposite sides of the plane, on purpose.
            if (before)
                subScaled(c[beforeIndex], joint.planeNormal,
                          select(inner, mul(broadcast(joint.slideOrthoPrevIn), w),
                                 mul(broadcast(joint.slideOrthoPrevOut), w)));
            if (after)
                addScaled(c[afterIndex], joint.planeNormal,
                          select(inner, mul(broadcast(joint.slideOrthoNextIn), w),
                                 mul(broadcast(joint.slideOrthoNextOut), w)));
        }
        const Lanes half = broadcast(0.5);
        if (steps & kCollisionBulgeStep) {
            const Lanes amount = mul(mul(mul(broadcast(joint.collisionBulge), deformWeight), zAxisWeight),
                                     broadcast(joint.angleWeight));
            const Lanes pushed = select(inner, amount, broadcast(0.0));
            if (own) addScaled(c[ownIndex], joint.zAxis, pushed);
            if (before) addScaled(c[beforeIndex], joint.zAxis, mul(half, pushed));
            if (after) addScaled(c[afterIndex], joint.zAxis, mul(half, pushed));
        }
        if (steps & kBulgeStep) {
            const Lanes amount = mul(mul(broadcast(joint.bulgeAngle), zAxisWeight), maps.bulge);
            if (own) addScaled(c[ownIndex], joint.zAxis, amount);
            if (before) addScaled(c[beforeIndex], joint.zAxis, mul(half, amount));
            if (after) addScaled(c[afterIndex], joint.zAxis, mul(half, amount));
        }
    }
    if (steps & kCollisionStep) {
        if (At - 2 >= 0 && At - 2 <= 3)
            collide(joint, true, maps.collision, c[At - 2 >= 0 && At - 2 <= 3 ? At - 2 : 0]);
        if (before) collide(joint, true, maps.collision, c[beforeIndex]);
        if (after) collide(joint, false, maps.collision, c[afterIndex]);
        if (At + 2 >= 0 && At + 2 <= 3)
            collide(joint, false, maps.collision, c[At + 2 >= 0 && At + 2 <= 3 ? At + 2 : 0]);
    }
}

static inline void tweak(const TweakJoint& joint, int at, const Point3& offset, const MapLanes& maps,
                         Point3* c) {
    switch (at) {
    case -2:
        tweakAt<-2>(joint, offset, maps, c);
        break;
    case -1:
        tweakAt<-1>(joint, offset, maps, c);
        break;
    case 0:
        tweakAt<0>(joint, offset, maps, c);
        break;
    case 1:
        tweakAt<1>(joint, offset, maps, c);
        break;
    case 2:
        tweakAt<2>(joint, offset, maps, c);
        break;
    case 3:
        tweakAt<3>(joint, offset, maps, c);
        break;
    case 4:
        tweakAt<4>(joint, offset, maps, c);
        break;
    case 5:
        tweakAt<5>(joint, offset, maps, c);
        break;
    default:
        break;
    }
}
