// SPDX-License-Identifier: Apache-2.0
// One tile of the point stage: runs of pairs that share block and knot span go through in lanes, and what is
// left of a run that no tweak touches goes through one pair at a time, with the rows of the block's table as
// registers. Both do the same operations in the same order, so it does not matter which way a pair takes.
// To be included inside the variant's namespace, after tweak_body.h.
//
// Twin: run.cl, one point at a time in single precision, with thresholds of 0.001, the point's weight as a
// factor, and matrices that are not multiplied beforehand.

/// Pairs of one run, one group of them: all arrays begin at the group's first pair.
struct GroupView {
    const double* incoming; ///< triples, before any block
    const uint16_t* incomingIndex;
    const uint16_t* points; ///< of the tile
    const float* basis;     ///< four rows
    int stride;             ///< of the rows of basis and maps
    const float* weights;   ///< block weights; those of points that may not move are 0
    const float* maps;      ///< six rows, or null
};

/// The next tile's points, asked for while this one is worked on. Lines of 64 bytes.
struct Ahead {
    const char* next;
    const char* end;
};

TALVISORA_LANES void prefetch(Ahead& ahead, int lines) {
    if (ahead.next >= ahead.end) return;
    for (int i = 0; i < lines; ++i) _mm_prefetch(ahead.next + 64 * i, _MM_HINT_T0);
    ahead.next += 64 * (size_t)lines;
}

/// clamp(block weight · env · envelope) with single-precision products, left to right. A weight that is not
/// a number stays one and is skipped by the threshold.
template <class P>
TALVISORA_LANES P blendWeight(const P& blockWeight, float env, float envelope) {
    const Lanes zero = broadcast(0.0), one = broadcast(1.0);
    P w = roundToFloat(mul(blockWeight, broadcast((double)env)));
    w = roundToFloat(mul(w, broadcast((double)envelope)));
    w = select(less(w, zero), zero, w);
    return select(greater(w, one), one, w);
}

static inline float blendWeightOf(float blockWeight, float env, float envelope) {
    float w = blockWeight * env;
    w *= envelope;
    w = w < 0.0f ? 0.0f : w;
    return w > 1.0f ? 1.0f : w;
}

/// What the block makes of a group, laid over what the earlier blocks have left; a weight below the threshold
/// leaves a point alone.
template <class P>
TALVISORA_LANES void blendAndPut(const TileJob& job, const BlockTable& table, const GroupView& view,
                                 const PointsOf<P>& moved) {
    P weight;
    fetch(view.weights, weight);
    weight = blendWeight(weight, table.env, job.envelope);
    const P rest = roundToFloat(sub(broadcast(1.0), weight));
    const auto acts = notLess(weight, broadcast((double)1e-5f));
    PointsOf<P> local;
    fetchPoints(job.points, view.points, local);
    const PointsOf<P> result = {select(acts, add(mul(moved.x, weight), mul(local.x, rest)), local.x),
                                select(acts, add(mul(moved.y, weight), mul(local.y, rest)), local.y),
                                select(acts, add(mul(moved.z, weight), mul(local.z, rest)), local.z)};
    putPoints(job.points, view.points, result);
}

/// The same with the weight 1: nothing is left of what was there, unless it was not a number.
template <class P>
TALVISORA_LANES void replaceAndPut(const TileJob& job, const GroupView& view, const PointsOf<P>& moved) {
    const Lanes none = broadcast(0.0);
    PointsOf<P> local;
    fetchPoints(job.points, view.points, local);
    const PointsOf<P> result = {add(moved.x, mul(local.x, none)), add(moved.y, mul(local.y, none)),
                                add(moved.z, mul(local.z, none))};
    putPoints(job.points, view.points, result);
}

/// One coordinate of the rest curve.
template <class P>
TALVISORA_LANES P restCurve(const OffsetCarrier* k, int axis, const P* basis) {
    return sumOfFour(mul(basis[0], broadcast(k[0].rest[axis])), mul(basis[1], broadcast(k[1].rest[axis])),
                     mul(basis[2], broadcast(k[2].rest[axis])), mul(basis[3], broadcast(k[3].rest[axis])));
}

template <class P>
TALVISORA_LANES P plainAxis(const OffsetCarrier* k, int axis, const PointsOf<P>& offset, const P* basis) {
    return sumOfFour(mul(carry(offset, k[0].linear + axis, 4, k[0].constant[axis]), basis[0]),
                     mul(carry(offset, k[1].linear + axis, 4, k[1].constant[axis]), basis[1]),
                     mul(carry(offset, k[2].linear + axis, 4, k[2].constant[axis]), basis[2]),
                     mul(carry(offset, k[3].linear + axis, 4, k[3].constant[axis]), basis[3]));
}

/// A group that no tweak reaches, from object space to object space.
template <class P, bool Full>
TALVISORA_LANES void plainGroup(const TileJob& job, const BlockTable& table, const OffsetCarrier* carriers,
                                const GroupView& view) {
    P basis[4];
    for (int k = 0; k < 4; ++k) fetch(view.basis + k * view.stride, basis[k]);
    PointsOf<P> offset;
    fetchPoints(view.incoming, view.incomingIndex, offset);
    offset.x = sub(add(offset.x, broadcast(job.shift[0])), restCurve(carriers, 0, basis));
    offset.y = sub(add(offset.y, broadcast(job.shift[1])), restCurve(carriers, 1, basis));
    offset.z = sub(add(offset.z, broadcast(job.shift[2])), restCurve(carriers, 2, basis));
    const double* origin = job.geoMatrixInverse + 12;
    const PointsOf<P> moved = {add(plainAxis(carriers, 0, offset, basis), broadcast(origin[0])),
                               add(plainAxis(carriers, 1, offset, basis), broadcast(origin[1])),
                               add(plainAxis(carriers, 2, offset, basis), broadcast(origin[2]))};
    if (Full)
        replaceAndPut(job, view, moved);
    else
        blendAndPut(job, table, view, moved);
}

/// The same for a single pair, coordinates side by side.
static inline void plainPair(const TileJob& job, const BlockTable& table, const OffsetCarrier* carriers,
                             const GroupView& view) {
    const float weight = blendWeightOf(view.weights[0], table.env, job.envelope);
    if (!(weight >= 1e-5f)) return;
    Row basis[4], rest[4], moved[4];
    for (int k = 0; k < 4; ++k) {
        basis[k] = broadcastRow((double)view.basis[k * view.stride]);
        rest[k] = mulRow(basis[k], loadRow(carriers[k].rest));
    }
    const Row onCurve = addRow(addRow(rest[0], rest[2]), addRow(rest[1], rest[3]));
    const Row point = loadRow3(view.incoming + 3 * (size_t)view.incomingIndex[0]);
    const Row offset = subRow(addRow(point, loadRow(job.shift)), onCurve);
    Row x, y, z;
    spreadRow(offset, x, y, z);
    for (int k = 0; k < 4; ++k) {
        const double* l = carriers[k].linear;
        const Row carried = addRow(addRow(mulRow(x, loadRow(l)), mulRow(y, loadRow(l + 4))),
                                   addRow(mulRow(z, loadRow(l + 8)), loadRow(carriers[k].constant)));
        moved[k] = mulRow(carried, basis[k]);
    }
    Row p = addRow(addRow(addRow(moved[0], moved[2]), addRow(moved[1], moved[3])),
                   loadRow(job.geoMatrixInverse + 12));
    double* to = job.points + 3 * (size_t)view.points[0];
    p = addRow(mulRow(p, broadcastRow((double)weight)),
               mulRow(loadRow3(to), broadcastRow((double)(1.0f - weight))));
    storeRow3(to, p);
}

/// A group that tweaks reach, or one whose geometry matrix has no place in the tables: through world space.
template <class P>
TALVISORA_LANES void worldGroup(const TileJob& job, const BlockTable& table, int span,
                                const GroupView& view) {
    P basis[4];
    for (int k = 0; k < 4; ++k) fetch(view.basis + k * view.stride, basis[k]);
    PointsOf<P> offset;
    fetchPoints(view.incoming, view.incomingIndex, offset);
    if (job.folded)
        offset = {add(offset.x, broadcast(job.shift[0])), add(offset.y, broadcast(job.shift[1])),
                  add(offset.z, broadcast(job.shift[2]))};
    else
        offset = transform(offset, job.geoMatrix, job.geoAffine != 0);
    const OffsetCarrier* carriers = table.carriers + (span - 3);
    offset = {sub(offset.x, restCurve(carriers, 0, basis)), sub(offset.y, restCurve(carriers, 1, basis)),
              sub(offset.z, restCurve(carriers, 2, basis))};

    // Offset curve: each control point's offset copy, carried from rest to current pose.
    PointsOf<P> c[4];
    const WorldCarrier* world = table.world + (span - 3);
    for (int k = 0; k < 4; ++k)
        c[k] = {carry(offset, world[k].linear, 4, world[k].constant[0]),
                carry(offset, world[k].linear + 1, 4, world[k].constant[1]),
                carry(offset, world[k].linear + 2, 4, world[k].constant[2])};

    // Tweaks: only the joints that reach this span, in ascending order.
    const MapRows maps = {view.maps, view.stride};
    const int firstJoint = table.firstJoint[span], lastJoint = firstJoint + table.spanJoints[span];
    for (int j = firstJoint; j < lastJoint; ++j)
        tweak(table.joints[j], table.joints[j].controlPoint - (span - 3), offset, maps, c);

    const PointsOf<P> onCurve = {
        sumOfFour(mul(c[0].x, basis[0]), mul(c[1].x, basis[1]), mul(c[2].x, basis[2]), mul(c[3].x, basis[3])),
        sumOfFour(mul(c[0].y, basis[0]), mul(c[1].y, basis[1]), mul(c[2].y, basis[2]), mul(c[3].y, basis[3])),
        sumOfFour(mul(c[0].z, basis[0]), mul(c[1].z, basis[1]), mul(c[2].z, basis[2]),
                  mul(c[3].z, basis[3]))};
    blendAndPut(job, table, view, transform(onCurve, job.geoMatrixInverse, job.geoInverseAffine != 0));
}

/// How a run goes through: everything that is the same for all of its pairs.
struct RunPlan {
    const BlockTable* table;
    const OffsetCarrier* carriers;
    int span;
    bool plain; ///< no tweak, tables from object space to object space
    bool full;  ///< every pair of the run replaces its point
};

template <class P>
TALVISORA_LANES void moveGroup(const TileJob& job, const RunPlan& plan, const GroupView& view) {
    if (!plan.plain)
        worldGroup<P>(job, *plan.table, plan.span, view);
    else if (plan.full)
        plainGroup<P, true>(job, *plan.table, plan.carriers, view);
    else
        plainGroup<P, false>(job, *plan.table, plan.carriers, view);
}

/// The pairs that a run has beyond whole groups: one at a time, or as a group in which the last pair is
/// repeated (it is then worked out several times from the same numbers, and written with the same result).
template <class P>
static void moveRest(const TileJob& job, const RunPlan& plan, const GroupView& view, int count) {
    enum { kPoints = GroupOf<P>::kPoints };
    if (plan.plain && count <= kPoints / 2) {
        for (int i = 0; i < count; ++i)
            plainPair(job, *plan.table, plan.carriers,
                      {view.incoming, view.incomingIndex + i, view.points + i, view.basis + i, view.stride,
                       view.weights + i, nullptr});
        return;
    }
    uint16_t incomingIndex[kPoints], points[kPoints];
    float basis[4 * kPoints], weights[kPoints], maps[kWeightMapCount * kPoints];
    for (int i = 0; i < kPoints; ++i) {
        const int k = i < count ? i : count - 1;
        incomingIndex[i] = view.incomingIndex[k];
        points[i] = view.points[k];
        weights[i] = view.weights[k];
        for (int r = 0; r < 4; ++r) basis[r * kPoints + i] = view.basis[r * view.stride + k];
        if (view.maps)
            for (int m = 0; m < kWeightMapCount; ++m) maps[m * kPoints + i] = view.maps[m * view.stride + k];
    }
    moveGroup<P>(job, plan,
                 {view.incoming, incomingIndex, points, basis, kPoints, weights, view.maps ? maps : nullptr});
}

/// Pairs whose points may not move get the weight 0.
static void shutGates(const TileJob& job, const uint16_t* points, const float* weights, int count,
                      float* gated) {
    for (int k = 0; k < count; ++k) {
        // Written so that a weight that is not a number shuts the gate.
        const bool open = points[k] >= job.pointWeightCount || job.pointWeights[points[k]] >= 1e-5f;
        gated[k] = open ? weights[k] : 0.0f;
    }
}

template <class P>
static void moveRun(const TileJob& job, const PairRun& run, const RunPlan& plan, const double* kept,
                    bool gated, Ahead& ahead) {
    enum { kPoints = GroupOf<P>::kPoints };
    const uint16_t* points = job.pairPoints + run.firstPair;
    const uint16_t* incomingIndex = run.first ? points : job.laterKept + run.firstLater;
    const double* incoming = run.first ? job.points : kept;
    float openWeights[kPairGroup];
    for (int k = 0; k < run.count; k += kPairGroup) {
        const int inGroup = run.count - k < kPairGroup ? run.count - k : kPairGroup;
        const float* basis = job.pairBasis + 4 * ((size_t)run.firstPair + (size_t)k);
        const float* maps =
            job.pairMaps ? job.pairMaps + kWeightMapCount * ((size_t)run.firstPair + (size_t)k) : nullptr;
        const float* weights = job.pairWeights + run.firstPair + k;
        if (gated) {
            shutGates(job, points + k, weights, inGroup, openWeights);
            weights = openWeights;
        }
        prefetch(ahead, 3);
        int i = 0;
        for (; i + kPoints <= inGroup; i += kPoints)
            moveGroup<P>(job, plan,
                         {incoming, incomingIndex + k + i, points + k + i, basis + i, inGroup, weights + i,
                          maps ? maps + i : nullptr});
        if (i < inGroup)
            moveRest<P>(job, plan,
                        {incoming, incomingIndex + k + i, points + k + i, basis + i, inGroup, weights + i,
                         maps ? maps + i : nullptr},
                        inGroup - i);
    }
}

static void deformTile(const TileJob& job) {
    bool gated = job.gate == kGateShut;
    if (job.gate == kGateUnknown)
        for (int i = 0; i < job.pointWeightCount; ++i) gated |= !(job.pointWeights[i] >= 1e-5f);
    double kept[3 * kMostTilePoints];
    for (int k = 0; k < job.keptCount; ++k) {
        const double* from = job.points + 3 * (size_t)job.keptPoints[k];
        for (int a = 0; a < 3; ++a) kept[3 * k + a] = from[a];
    }
    const double* incoming = job.incoming ? job.incoming : kept;
    Ahead ahead = {(const char*)job.nextPoints, (const char*)(job.nextPoints + 3 * (size_t)job.nextCount)};
    for (int r = 0; r < job.runCount; ++r) {
        const PairRun& run = job.runs[r];
        const BlockTable& table = job.tables[run.block];
        const bool certain = run.unit && !gated;
        const float weight = blendWeightOf(1.0f, table.env, job.envelope);
        if (certain && !(weight >= 1e-5f)) continue;
        const RunPlan plan = {&table, table.carriers + (run.span - 3), run.span,
                              job.folded && table.spanJoints[run.span] == 0, certain && weight == 1.0f};
        moveRun<DeformGroup>(job, run, plan, incoming, gated, ahead);
    }
}
