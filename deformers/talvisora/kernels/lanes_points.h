// SPDX-License-Identifier: Apache-2.0
// Groups of points in lanes: P is one register of them (Lanes) or two (LanePair). To be included inside the
// variant's namespace, after lanes_pair.h.

/// Points that a group of kind P holds, and the kind of its single-precision values.
template <class P>
struct GroupOf;
template <>
struct GroupOf<Lanes> {
    enum { kPoints = kLanes };
    typedef FloatLanes Floats;
};
template <>
struct GroupOf<LanePair> {
    enum { kPoints = 2 * kLanes };
    typedef FloatPair Floats;
};

template <class P>
struct PointsOf {
    P x, y, z;
};

TALVISORA_LANES void fetch(const float* from, Lanes& to) {
    to = loadFloats(from);
}
TALVISORA_LANES void fetch(const float* from, LanePair& to) {
    to.a = loadFloats(from);
    to.b = loadFloats(from + kLanes);
}
TALVISORA_LANES void fetchFloats(const float* from, FloatLanes& to) {
    to = loadFloatLanes(from);
}
TALVISORA_LANES void fetchFloats(const float* from, FloatPair& to) {
    to.a = loadFloatLanes(from);
    to.b = loadFloatLanes(from + kLanes);
}
TALVISORA_LANES void fetchPoints(const double* base, const uint16_t* index, PointsOf<Lanes>& p) {
    loadPoints(base, index, p.x, p.y, p.z);
}
TALVISORA_LANES void fetchPoints(const double* base, const uint16_t* index, PointsOf<LanePair>& p) {
    loadPoints(base, index, p.x.a, p.y.a, p.z.a);
    loadPoints(base, index + kLanes, p.x.b, p.y.b, p.z.b);
}
TALVISORA_LANES void putPoints(double* base, const uint16_t* index, const PointsOf<Lanes>& p) {
    storePoints(base, index, p.x, p.y, p.z);
}
TALVISORA_LANES void putPoints(double* base, const uint16_t* index, const PointsOf<LanePair>& p) {
    storePoints(base, index, p.x.a, p.y.a, p.z.a);
    storePoints(base, index + kLanes, p.x.b, p.y.b, p.z.b);
}

/// Whether any lane is set.
TALVISORA_LANES bool anyOf(LaneMask mask) {
    return bitsOf(mask) != 0;
}
TALVISORA_LANES bool anyOf(MaskPair mask) {
    return (bitsOf(mask.a) | bitsOf(mask.b)) != 0;
}

/// Four terms, summed in pairs: the order that rows of a table and lanes of points share.
template <class P>
TALVISORA_LANES P sumOfFour(const P& t0, const P& t1, const P& t2, const P& t3) {
    return add(add(t0, t2), add(t1, t3));
}

/// One coordinate of [p 1] times a 3 x 3 whose column is l[0], l[step], l[2 · step], plus t.
template <class P>
TALVISORA_LANES P carry(const PointsOf<P>& p, const double* l, int step, double t) {
    return add(add(mul(p.x, broadcast(l[0])), mul(p.y, broadcast(l[step]))),
               add(mul(p.z, broadcast(l[2 * step])), broadcast(t)));
}

template <class P>
TALVISORA_LANES P dotWith(const double* v, const PointsOf<P>& p) {
    return add(add(mul(p.x, broadcast(v[0])), mul(p.y, broadcast(v[1]))), mul(p.z, broadcast(v[2])));
}

/// [p 1] times sixteen doubles, row vectors; divided by w unless the matrix is affine.
template <class P>
TALVISORA_LANES PointsOf<P> transform(const PointsOf<P>& p, const double* m, bool affine) {
    PointsOf<P> q = {carry(p, m, 4, m[12]), carry(p, m + 1, 4, m[13]), carry(p, m + 2, 4, m[14])};
    if (!affine) {
        const P w = carry(p, m + 3, 4, m[15]);
        q.x = div(q.x, w);
        q.y = div(q.y, w);
        q.z = div(q.z, w);
    }
    return q;
}
