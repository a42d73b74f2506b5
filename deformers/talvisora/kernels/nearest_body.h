// SPDX-License-Identifier: Apache-2.0
// The nearest sample of many points, two groups of lanes at a time. A group first learns how near a likely
// sample is, drops every box of samples that lies farther from all its points, and searches the rest in
// ascending order. Exact: a box's distance goes through the same roundings as a sample's, so it is never the
// greater of the two, and a box is dropped only when it is strictly farther. To be included inside the
// variant's namespace, after the lanes.

enum { kNearestGroup = 2 * kLanes };

/// The points of one group and the best sample of each so far.
struct NearestGroup {
    Lanes x0, y0, z0, x1, y1, z1;
    Lanes best0, best1, index0, index1;
};

TALVISORA_LANES Lanes squaredLength(Lanes x, Lanes y, Lanes z) {
    return add(add(mul(x, x), mul(y, y)), mul(z, z));
}

TALVISORA_LANES Lanes squaredDistanceTo(const NearestTable& table, int32_t s, Lanes x, Lanes y, Lanes z) {
    return squaredLength(sub(broadcast(table.x[s]), x), sub(broadcast(table.y[s]), y),
                         sub(broadcast(table.z[s]), z));
}

/// Compares samples [first, last) in ascending order; strictly nearer ones win.
TALVISORA_LANES void searchSamples(const NearestTable& table, int32_t first, int32_t last,
                                   NearestGroup& group) {
    Lanes index = broadcast((double)first);
    const Lanes one = broadcast(1.0);
    for (int32_t s = first; s < last; ++s) {
        const Lanes d0 = squaredDistanceTo(table, s, group.x0, group.y0, group.z0);
        const Lanes d1 = squaredDistanceTo(table, s, group.x1, group.y1, group.z1);
        group.index0 = select(less(d0, group.best0), index, group.index0);
        group.index1 = select(less(d1, group.best1), index, group.index1);
        group.best0 = minimum(d0, group.best0);
        group.best1 = minimum(d1, group.best1);
        index = add(index, one);
    }
}

TALVISORA_LANES double smallestLane(Lanes a) {
    double values[kLanes];
    store(values, a);
    double smallest = values[0];
    for (int k = 1; k < kLanes; ++k) smallest = values[k] < smallest ? values[k] : smallest;
    return smallest;
}

TALVISORA_LANES double largestLane(Lanes a) {
    double values[kLanes];
    store(values, a);
    double largest = values[0];
    for (int k = 1; k < kLanes; ++k) largest = values[k] > largest ? values[k] : largest;
    return largest;
}

/// Distance of the interval [low, high] of each box from the group's [least, most], not below 0.
TALVISORA_LANES Lanes gap(const double* low, const double* high, Lanes least, Lanes most) {
    return maximum(maximum(sub(load(low), most), sub(least, load(high))), broadcast(0.0));
}

/// Boxes, as bits, that hold a sample which may be nearer than `limit` to a point of the group.
TALVISORA_LANES uint32_t boxesInReach(const NearestTable& table, const NearestGroup& group, double limit) {
    const Lanes leastX = broadcast(smallestLane(minimum(group.x0, group.x1)));
    const Lanes leastY = broadcast(smallestLane(minimum(group.y0, group.y1)));
    const Lanes leastZ = broadcast(smallestLane(minimum(group.z0, group.z1)));
    const Lanes mostX = broadcast(largestLane(maximum(group.x0, group.x1)));
    const Lanes mostY = broadcast(largestLane(maximum(group.y0, group.y1)));
    const Lanes mostZ = broadcast(largestLane(maximum(group.z0, group.z1)));
    const Lanes limits = broadcast(limit);
    uint32_t dropped = 0;
    for (int32_t b = 0; b < kNearestBoxes; b += kLanes) {
        const Lanes distance = squaredLength(gap(table.lowX + b, table.highX + b, leastX, mostX),
                                             gap(table.lowY + b, table.highY + b, leastY, mostY),
                                             gap(table.lowZ + b, table.highZ + b, leastZ, mostZ));
        dropped |= bitsOf(greater(distance, limits)) << b;
    }
    return ~dropped & table.boxBits;
}

static void nearestTile(const NearestJob& job) {
    const NearestTable& table = *job.table;
    const Lanes bound = broadcast(job.bound);
    const Lanes zero = broadcast(0.0);
    int32_t likely = table.sampleCount / 2;
    for (int32_t first = 0; first < job.count; first += kNearestGroup) {
        const double *x = job.x + first, *y = job.y + first, *z = job.z + first;
        NearestGroup group = {load(x),          load(y), load(z), load(x + kLanes), load(y + kLanes),
                              load(z + kLanes), bound,   bound,   broadcast(-1.0),  broadcast(-1.0)};
        // x - x is 0 for a finite number only; anything else makes a group's box meaningless.
        const Lanes odd0 =
            add(add(sub(group.x0, group.x0), sub(group.y0, group.y0)), sub(group.z0, group.z0));
        const Lanes odd1 =
            add(add(sub(group.x1, group.x1), sub(group.y1, group.y1)), sub(group.z1, group.z1));
        const unsigned finite = bitsOf(notLess(odd0, zero)) & bitsOf(notLess(odd1, zero));
        if (finite == (1u << kLanes) - 1 && table.boxBits != 0) {
            const Lanes d0 = minimum(squaredDistanceTo(table, likely, group.x0, group.y0, group.z0), bound);
            const Lanes d1 = minimum(squaredDistanceTo(table, likely, group.x1, group.y1, group.z1), bound);
            uint32_t boxes = boxesInReach(table, group, largestLane(maximum(d0, d1)));
            // Neighbouring boxes in one run: where all are in reach this is the plain search of all samples.
            while (boxes != 0) {
                const int32_t from = lowestBit(boxes);
                const int32_t to = from + lowestBit(~(boxes >> from));
                const int32_t end = to * table.boxSize;
                searchSamples(table, from * table.boxSize, end < table.sampleCount ? end : table.sampleCount,
                              group);
                boxes = boxes >> to << to; // 32 boxes are never full, so `to` stays below 32
            }
        } else {
            searchSamples(table, 0, table.sampleCount, group);
        }
        double index[kNearestGroup], best[kNearestGroup];
        store(index, group.index0);
        store(index + kLanes, group.index1);
        const int32_t left = job.count - first < kNearestGroup ? job.count - first : (int32_t)kNearestGroup;
        for (int32_t k = 0; k < left; ++k) job.indices[first + k] = (int32_t)index[k];
        if (job.squaredDistances) {
            store(best, group.best0);
            store(best + kLanes, group.best1);
            for (int32_t k = 0; k < left; ++k) job.squaredDistances[first + k] = best[k];
        }
        if (index[left - 1] >= 0.0) likely = (int32_t)index[left - 1];
    }
}
