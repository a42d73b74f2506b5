// SPDX-License-Identifier: Apache-2.0
// Two registers side by side under the names of one, for widths at which one register of points does not make
// enough use of a table value that was fetched. To be included inside the variant's namespace, after its
// lanes.

struct LanePair {
    Lanes a, b;
};
struct MaskPair {
    LaneMask a, b;
};
struct FloatPair {
    FloatLanes a, b;
};

TALVISORA_LANES LanePair add(LanePair p, LanePair q) {
    return {add(p.a, q.a), add(p.b, q.b)};
}
TALVISORA_LANES LanePair add(LanePair p, Lanes q) {
    return {add(p.a, q), add(p.b, q)};
}
TALVISORA_LANES LanePair sub(LanePair p, LanePair q) {
    return {sub(p.a, q.a), sub(p.b, q.b)};
}
TALVISORA_LANES LanePair sub(Lanes p, LanePair q) {
    return {sub(p, q.a), sub(p, q.b)};
}
TALVISORA_LANES LanePair sub(LanePair p, Lanes q) {
    return {sub(p.a, q), sub(p.b, q)};
}
TALVISORA_LANES LanePair mul(LanePair p, LanePair q) {
    return {mul(p.a, q.a), mul(p.b, q.b)};
}
TALVISORA_LANES LanePair mul(LanePair p, Lanes q) {
    return {mul(p.a, q), mul(p.b, q)};
}
TALVISORA_LANES LanePair div(LanePair p, LanePair q) {
    return {div(p.a, q.a), div(p.b, q.b)};
}
TALVISORA_LANES LanePair absolute(LanePair p) {
    return {absolute(p.a), absolute(p.b)};
}
TALVISORA_LANES MaskPair greater(LanePair p, Lanes q) {
    return {greater(p.a, q), greater(p.b, q)};
}
TALVISORA_LANES MaskPair less(LanePair p, Lanes q) {
    return {less(p.a, q), less(p.b, q)};
}
TALVISORA_LANES MaskPair notLess(LanePair p, Lanes q) {
    return {notLess(p.a, q), notLess(p.b, q)};
}
TALVISORA_LANES MaskPair equal(LanePair p, Lanes q) {
    return {equal(p.a, q), equal(p.b, q)};
}
TALVISORA_LANES LanePair select(MaskPair m, LanePair p, LanePair q) {
    return {select(m.a, p.a, q.a), select(m.b, p.b, q.b)};
}
TALVISORA_LANES LanePair select(MaskPair m, Lanes p, LanePair q) {
    return {select(m.a, p, q.a), select(m.b, p, q.b)};
}
TALVISORA_LANES LanePair select(MaskPair m, LanePair p, Lanes q) {
    return {select(m.a, p.a, q), select(m.b, p.b, q)};
}
TALVISORA_LANES LanePair select(MaskPair m, Lanes p, Lanes q) {
    return {select(m.a, p, q), select(m.b, p, q)};
}
TALVISORA_LANES LanePair roundToFloat(LanePair p) {
    return {roundToFloat(p.a), roundToFloat(p.b)};
}
TALVISORA_LANES FloatPair narrow(LanePair p) {
    return {narrow(p.a), narrow(p.b)};
}
TALVISORA_LANES LanePair widen(FloatPair p) {
    return {widen(p.a), widen(p.b)};
}
TALVISORA_LANES FloatPair mulFloats(FloatPair p, FloatPair q) {
    return {mulFloats(p.a, q.a), mulFloats(p.b, q.b)};
}
TALVISORA_LANES FloatPair mulFloats(FloatPair p, FloatLanes q) {
    return {mulFloats(p.a, q), mulFloats(p.b, q)};
}
