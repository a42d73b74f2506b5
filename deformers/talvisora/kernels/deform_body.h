// SPDX-License-Identifier: Apache-2.0
// One tile of the point stage in lanes: load the points that a block may move, carry them to world space, go
// through the runs of pairs that share block and span (rest curve, offset, offset curve, tweaks, blend),
// store. To be included inside the variant's namespace, after tweak_body.h.

/// The tile's points as separate coordinates, one per slot, with room for one group past the end.
struct TileScratch {
    double world[3][kTilePoints + kLanes]; ///< the incoming points in world space, never changed
    double local[3][kTilePoints + kLanes]; ///< the points as the blocks so far have left them, object space
    float gate[kTilePoints + kLanes];      ///< 1 where the point's weight lets it move
};

TALVISORA_LANES Point3 loadPoint(const double (*from)[kTilePoints + kLanes], int s) {
    return {load(from[0] + s), load(from[1] + s), load(from[2] + s)};
}

/// [p 1] times sixteen doubles, row vectors; divided by w unless the matrix is affine.
TALVISORA_LANES Point3 transform(const Point3& p, const double* m, bool affine) {
    Point3 q;
    q.x = add(add(add(mul(p.x, broadcast(m[0])), mul(p.y, broadcast(m[4]))), mul(p.z, broadcast(m[8]))),
              broadcast(m[12]));
    q.y = add(add(add(mul(p.x, broadcast(m[1])), mul(p.y, broadcast(m[5]))), mul(p.z, broadcast(m[9]))),
              broadcast(m[13]));
    q.z = add(add(add(mul(p.x, broadcast(m[2])), mul(p.y, broadcast(m[6]))), mul(p.z, broadcast(m[10]))),
              broadcast(m[14]));
    if (!affine) {
        const Lanes w =
            add(add(add(mul(p.x, broadcast(m[3])), mul(p.y, broadcast(m[7]))), mul(p.z, broadcast(m[11]))),
                broadcast(m[15]));
        q = {div(q.x, w), div(q.y, w), div(q.z, w)};
    }
    return q;
}

/// clamp(block weight · env · envelope) with single-precision products, left to right; 0 where the gate is
/// shut. A weight that is not a number stays one and is skipped by the threshold.
TALVISORA_LANES Lanes blendWeight(Lanes blockWeight, Lanes gate, float env, float envelope) {
    const Lanes zero = broadcast(0.0), one = broadcast(1.0);
    Lanes w = roundToFloat(mul(blockWeight, broadcast((double)env)));
    w = roundToFloat(mul(w, broadcast((double)envelope)));
    w = select(less(w, zero), zero, w);
    w = select(greater(w, one), one, w);
    return select(greater(gate, zero), w, zero);
}

/// What one group of points is moved with.
struct Group {
    Point3 world;
    Point3 local;
    Lanes basis[4];
    Lanes weight;
    MapLanes maps;
};

/// One block on one group that shares a knot span: the new object-space points.
TALVISORA_LANES Point3 moveGroup(const TileJob& job, const BlockTable& table, int span, const Group& group) {
    // Rest curve: the four control points of the span, and the offset from the curve to the point.
    const OffsetCarrier* carriers = table.carriers + (span - 3);
    Point3 onCurve = {broadcast(0.0), broadcast(0.0), broadcast(0.0)};
    for (int k = 0; k < 4; ++k) addScaled(onCurve, carriers[k].rest, group.basis[k]);
    const Point3 offset = {sub(group.world.x, onCurve.x), sub(group.world.y, onCurve.y),
                           sub(group.world.z, onCurve.z)};

    // Offset curve: each control point's offset copy, carried from rest to current pose.
    Point3 c[4];
    for (int k = 0; k < 4; ++k) {
        const double* l = carriers[k].linear;
        const double* t = carriers[k].constant;
        c[k].x = add(add(add(mul(offset.x, broadcast(l[0])), mul(offset.y, broadcast(l[3]))),
                         mul(offset.z, broadcast(l[6]))),
                     broadcast(t[0]));
        c[k].y = add(add(add(mul(offset.x, broadcast(l[1])), mul(offset.y, broadcast(l[4]))),
                         mul(offset.z, broadcast(l[7]))),
                     broadcast(t[1]));
        c[k].z = add(add(add(mul(offset.x, broadcast(l[2])), mul(offset.y, broadcast(l[5]))),
                         mul(offset.z, broadcast(l[8]))),
                     broadcast(t[2]));
    }

    // Tweaks: only the joints that reach this span, in ascending order.
    const int firstJoint = table.firstJoint[span], lastJoint = firstJoint + table.spanJoints[span];
    for (int j = firstJoint; j < lastJoint; ++j)
        tweak(table.joints[j], table.joints[j].controlPoint - (span - 3), offset, group.maps, c);

    // Deformed curve, back to object space, blend.
    Point3 p = {broadcast(0.0), broadcast(0.0), broadcast(0.0)};
    for (int k = 0; k < 4; ++k) {
        p.x = add(p.x, mul(c[k].x, group.basis[k]));
        p.y = add(p.y, mul(c[k].y, group.basis[k]));
        p.z = add(p.z, mul(c[k].z, group.basis[k]));
    }
    p = transform(p, job.geoMatrixInverse, job.geoInverseAffine != 0);
    const Lanes rest = roundToFloat(sub(broadcast(1.0), group.weight));
    const LaneMask acts = notLess(group.weight, broadcast((double)1e-5f));
    return {select(acts, add(mul(p.x, group.weight), mul(group.local.x, rest)), group.local.x),
            select(acts, add(mul(p.y, group.weight), mul(group.local.y, rest)), group.local.y),
            select(acts, add(mul(p.z, group.weight), mul(group.local.z, rest)), group.local.z)};
}

/// kLanes pairs whose slots follow one another.
static inline void contiguousGroup(const TileJob& job, TileScratch& scratch, const PairRun& run, int first) {
    const BlockTable& table = job.tables[run.block];
    const int s = run.firstSlot + first;
    const float* basis = job.pairBasis + 4 * (size_t)run.firstPair + first;
    Group group;
    group.world = loadPoint(scratch.world, s);
    group.local = loadPoint(scratch.local, s);
    for (int k = 0; k < 4; ++k) group.basis[k] = loadFloats(basis + k * run.count);
    group.weight = blendWeight(loadFloats(job.pairWeights + run.firstPair + first),
                               loadFloats(scratch.gate + s), table.env, job.envelope);
    const Lanes one = broadcast(1.0);
    group.maps = {one, one, one, one, one, one};
    if (job.slotMaps && table.spanJoints[run.span]) {
        const float* m = job.slotMaps + s;
        const int n = job.slotCount;
        group.maps = {loadFloats(m),         loadFloats(m + n),     loadFloats(m + 2 * n),
                      loadFloats(m + 3 * n), loadFloats(m + 4 * n), loadFloats(m + 5 * n)};
    }
    const Point3 moved = moveGroup(job, table, run.span, group);
    store(scratch.local[0] + s, moved.x);
    store(scratch.local[1] + s, moved.y);
    store(scratch.local[2] + s, moved.z);
}

/// Up to kLanes pairs with slots of their own, or the tail of a contiguous run: copied into padded groups
/// that go through the same arithmetic, and back. Spare lanes repeat the last pair and are not stored.
static inline void gatheredGroup(const TileJob& job, TileScratch& scratch, const PairRun& run, int first,
                                 int count) {
    const BlockTable& table = job.tables[run.block];
    double world[3][kLanes], local[3][kLanes];
    float basis[4][kLanes], weight[kLanes], gate[kLanes], map[kWeightMapCount][kLanes];
    int slots[kLanes];
    for (int i = 0; i < kLanes; ++i) {
        const int k = first + (i < count ? i : count - 1);
        const int s = run.contiguous ? run.firstSlot + k : job.pairSlots[run.firstPair + k];
        slots[i] = s;
        for (int a = 0; a < 3; ++a) {
            world[a][i] = scratch.world[a][s];
            local[a][i] = scratch.local[a][s];
        }
        for (int b = 0; b < 4; ++b)
            basis[b][i] = job.pairBasis[4 * (size_t)run.firstPair + b * run.count + k];
        weight[i] = job.pairWeights[run.firstPair + k];
        gate[i] = scratch.gate[s];
        for (int m = 0; m < kWeightMapCount; ++m)
            map[m][i] = job.slotMaps ? job.slotMaps[(size_t)m * job.slotCount + s] : 1.0f;
    }
    Group group;
    group.world = {load(world[0]), load(world[1]), load(world[2])};
    group.local = {load(local[0]), load(local[1]), load(local[2])};
    for (int b = 0; b < 4; ++b) group.basis[b] = loadFloats(basis[b]);
    group.weight = blendWeight(loadFloats(weight), loadFloats(gate), table.env, job.envelope);
    group.maps = {loadFloats(map[0]), loadFloats(map[1]), loadFloats(map[2]),
                  loadFloats(map[3]), loadFloats(map[4]), loadFloats(map[5])};
    const Point3 moved = moveGroup(job, table, run.span, group);
    store(local[0], moved.x);
    store(local[1], moved.y);
    store(local[2], moved.z);
    for (int i = 0; i < count; ++i)
        for (int a = 0; a < 3; ++a) scratch.local[a][slots[i]] = local[a][i];
}

static void deformTile(const TileJob& job) {
    TileScratch scratch;
    const int padded = (job.slotCount + kLanes - 1) / kLanes * kLanes;
    for (int s = 0; s < padded; ++s) {
        const int i = job.slotPoints[s < job.slotCount ? s : job.slotCount - 1];
        scratch.local[0][s] = job.points[3 * i];
        scratch.local[1][s] = job.points[3 * i + 1];
        scratch.local[2][s] = job.points[3 * i + 2];
        // Written so that a weight that is not a number shuts the gate.
        const float weight = i < job.pointWeightCount ? job.pointWeights[i] : 1.0f;
        scratch.gate[s] = weight >= 1e-5f ? 1.0f : 0.0f;
    }
    for (int s = 0; s < padded; s += kLanes) {
        const Point3 w = transform(loadPoint(scratch.local, s), job.geoMatrix, job.geoAffine != 0);
        store(scratch.world[0] + s, w.x);
        store(scratch.world[1] + s, w.y);
        store(scratch.world[2] + s, w.z);
    }

    for (int r = 0; r < job.runCount; ++r) {
        const PairRun& run = job.runs[r];
        int k = 0;
        if (run.contiguous)
            for (; k + kLanes <= run.count; k += kLanes) contiguousGroup(job, scratch, run, k);
        for (; k < run.count; k += kLanes)
            gatheredGroup(job, scratch, run, k, run.count - k < kLanes ? run.count - k : kLanes);
    }

    // A point that nothing moved still holds the bits that were loaded.
    for (int s = 0; s < job.slotCount; ++s) {
        const int i = job.slotPoints[s];
        job.points[3 * i] = scratch.local[0][s];
        job.points[3 * i + 1] = scratch.local[1][s];
        job.points[3 * i + 2] = scratch.local[2][s];
    }
}
