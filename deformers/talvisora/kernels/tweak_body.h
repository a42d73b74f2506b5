// SPDX-License-Identifier: Apache-2.0
// The tweaks of one centre joint on the four control points of a span, in lanes of points: centre, slide,
// orthogonal slide, collision bulge, bulge, collision. Two facts make this cheap. The displacement that
// decides the amounts is that of the joint's own control point before any tweak has touched it (a neighbour
// reaches at most the points beside it), so both dot products follow from the offset alone. And each control
// point is moved by its own value only, so a span needs just the joints in reach and, of them, just the
// control points it uses. To be included inside the variant's namespace, after lanes_points.h.
//
// Twin: the first half of run.cl.
// Twin widths: amounts are products in double of widened singles; the collision's distance and its product
// are single precision, rounded after every factor.

/// Rows of weight-map values of a group, `stride` apart; null: all of them 1.
struct MapRows {
    const float* first;
    int stride;
};

template <class P>
TALVISORA_LANES P mapValue(const MapRows& maps, int map) {
    P value;
    fetch(maps.first + map * maps.stride, value);
    return value;
}

/// amount · map, the inside's where w > 0, else the outside's.
template <class P, class Mask>
TALVISORA_LANES P mapped(const MapRows& maps, int inside, int outside, const Mask& inner, const P& amount) {
    if (!maps.first) return amount;
    return mul(amount, select(inner, mapValue<P>(maps, inside), mapValue<P>(maps, outside)));
}

/// The sided value of one tweak times an amount.
template <class P, class Mask>
TALVISORA_LANES P sided(const Mask& inner, double inside, double outside, const P& amount) {
    return mul(select(inner, broadcast(inside), broadcast(outside)), amount);
}

template <class P>
TALVISORA_LANES void addScaled(PointsOf<P>& p, const double* v, const P& amount) {
    p.x = add(p.x, mul(amount, broadcast(v[0])));
    p.y = add(p.y, mul(amount, broadcast(v[1])));
    p.z = add(p.z, mul(amount, broadcast(v[2])));
}

template <class P>
TALVISORA_LANES void subScaled(PointsOf<P>& p, const double* v, const P& amount) {
    p.x = sub(p.x, mul(amount, broadcast(v[0])));
    p.y = sub(p.y, mul(amount, broadcast(v[1])));
    p.z = sub(p.z, mul(amount, broadcast(v[2])));
}

/// What a point that crossed the collision plane goes back in one coordinate.
template <class P, class Floats>
TALVISORA_LANES P wayBack(const TweakJoint& joint, int axis, const Floats& distance, const MapRows& maps) {
    Floats back = mulFloats(distance, broadcastFloat(joint.planeNormalFloat[axis]));
    back = mulFloats(mulFloats(back, broadcastFloat(joint.collision)), broadcastFloat(joint.collisionClamp));
    if (maps.first) {
        Floats map;
        fetchFloats(maps.first, map); // the collision map is the first row
        back = mulFloats(back, map);
    }
    return widen(back);
}

/// Pushes a control point back over the collision plane when it has crossed it: a point before the joint when
/// its distance is negative, one after it when positive.
template <class P>
TALVISORA_LANES void collide(const TweakJoint& joint, bool before, const MapRows& maps, PointsOf<P>& p) {
    typedef typename GroupOf<P>::Floats Floats;
    const P along = dotWith(joint.planeNormal, p);
    const Lanes plane = broadcast(joint.planeDistance), zero = broadcast(0.0);
    // Few points are near the crease. What is past the plane in single precision is so in double.
    if (!anyOf(before ? less(along, plane) : greater(along, plane))) return;
    const Floats distance = narrow(sub(along, plane));
    const auto crossed = before ? less(widen(distance), zero) : greater(widen(distance), zero);
    p.x = select(crossed, sub(p.x, wayBack<P>(joint, 0, distance, maps)), p.x);
    p.y = select(crossed, sub(p.y, wayBack<P>(joint, 1, distance, maps)), p.y);
    p.z = select(crossed, sub(p.z, wayBack<P>(joint, 2, distance, maps)), p.z);
}

/// One joint on the span's control points c[0] … c[3]; the joint's own one would be c[At], At from -2 to 5.
template <int At, class P>
TALVISORA_LANES void tweakAt(const TweakJoint& joint, const PointsOf<P>& offset, const MapRows& maps,
                             PointsOf<P>* c) {
    constexpr bool own = At >= 0 && At <= 3;
    constexpr bool before = At - 1 >= 0 && At - 1 <= 3;
    constexpr bool after = At + 1 >= 0 && At + 1 <= 3;
    constexpr int ownIndex = own ? At : 0, beforeIndex = before ? At - 1 : 0, afterIndex = after ? At + 1 : 0;
    const uint32_t steps = joint.steps;

    if ((own || before || after) && (steps & ~(uint32_t)kCollisionStep)) {
        const P deformWeight = add(dotWith(joint.deformDot, offset), broadcast(joint.deformDot[3]));
        // A signed square: grows with the distance along the bend direction and keeps its sign.
        const P w = mul(mul(deformWeight, absolute(deformWeight)), broadcast(joint.angleWeight));
        const auto inner = greater(w, broadcast(0.0));

        if (own && (steps & kCentreStep))
            addScaled(c[ownIndex], joint.deformVec,
                      sided(inner, joint.centerIn, joint.centerOut, mapped(maps, 2, 3, inner, w)));
        if ((before || after) && (steps & kSlideStep)) {
            const P amount = mapped(maps, 4, 5, inner, w);
            if (before)
                addScaled(c[beforeIndex], joint.prevVec,
                          sided(inner, joint.slidePrevIn, joint.slidePrevOut, amount));
            if (after)
                addScaled(c[afterIndex], joint.nextVec,
                          sided(inner, joint.slideNextIn, joint.slideNextOut, amount));
        }
        if (steps & kOrthoStep) {
            // The two neighbours move to opposite sides of the plane, on purpose.
            if (before)
                subScaled(c[beforeIndex], joint.planeNormal,
                          sided(inner, joint.slideOrthoPrevIn, joint.slideOrthoPrevOut, w));
            if (after)
                addScaled(c[afterIndex], joint.planeNormal,
                          sided(inner, joint.slideOrthoNextIn, joint.slideOrthoNextOut, w));
        }
        if (steps & (kCollisionBulgeStep | kBulgeStep)) {
            // Both push along the bend axis, by the same distance from it.
            const P zAxisWeight = add(dotWith(joint.zAxisDot, offset), broadcast(joint.zAxisDot[3]));
            P amount = select(inner, mul(deformWeight, broadcast(joint.collisionBulgeAngle)), broadcast(0.0));
            if (maps.first)
                amount = add(amount, mul(mapValue<P>(maps, 1), broadcast(joint.bulgeAngle)));
            else
                amount = add(amount, broadcast(joint.bulgeAngle));
            amount = mul(amount, zAxisWeight);
            if (own) addScaled(c[ownIndex], joint.zAxis, amount);
            if (before || after) {
                const P half = mul(amount, broadcast(0.5));
                if (before) addScaled(c[beforeIndex], joint.zAxis, half);
                if (after) addScaled(c[afterIndex], joint.zAxis, half);
            }
        }
    }
    if (steps & kCollisionStep) {
        if (At - 2 >= 0 && At - 2 <= 3)
            collide(joint, true, maps, c[At - 2 >= 0 && At - 2 <= 3 ? At - 2 : 0]);
        if (before) collide(joint, true, maps, c[beforeIndex]);
        if (after) collide(joint, false, maps, c[afterIndex]);
        if (At + 2 >= 0 && At + 2 <= 3)
            collide(joint, false, maps, c[At + 2 >= 0 && At + 2 <= 3 ? At + 2 : 0]);
    }
}

template <class P>
TALVISORA_LANES void tweak(const TweakJoint& joint, int at, const PointsOf<P>& offset, const MapRows& maps,
                           PointsOf<P>* c) {
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
