// SPDX-License-Identifier: Apache-2.0
// The functions that exist once per instruction set, as a table, and the plain records that they work on.
// Every table gives the same bits. Included by the processor variants: no templates of the standard library.
#pragma once

#include "kernels/block_tables.h"

namespace talvisora {

/// Points of one tile of the nearest search; tiles are what a thread takes at a time.
static constexpr int kTilePoints = 2048;
/// Points of the largest tile of the point stage.
static constexpr int kMostTilePoints = 8192;
/// Pairs whose basis values and weight-map values lie together.
static constexpr int kPairGroup = 8;

/// Pairs of one tile that share block and knot span: pairs [firstPair, firstPair + count) of the tile. A
/// first run's points have not been moved by any earlier block; those of a later run have.
struct PairRun {
    int32_t block;
    int32_t span;
    uint32_t firstPair;
    uint32_t firstLater; ///< of a later run: the place of its first pair in the tile's laterKept
    int32_t count;
    uint8_t first;
    uint8_t unit; ///< every block weight of the run is exactly 1
};

/// What is known of a tile's point weights: all let their points move, or some do not.
enum TileGate : int32_t { kGateUnknown = 0, kGateOpen = 1, kGateShut = 2 };

/// One tile of the point stage. Values that belong to pairs come in groups of kPairGroup: group g of a run
/// begins at row count · (firstPair + kPairGroup · g), its rows are as long as the group has pairs.
struct TileJob {
    double* points;            ///< the tile's points, x y z each, object space, deformed in place
    const float* pointWeights; ///< the tile's, or null: all of them 1
    int32_t pointWeightCount;  ///< further points have weight 1
    TileGate gate;
    float envelope;
    const double* geoMatrix;        ///< sixteen doubles
    const double* geoMatrixInverse; ///< sixteen doubles
    int32_t geoAffine;              ///< fourth column (0, 0, 0, 1): no division by w
    int32_t geoInverseAffine;
    int32_t folded;      ///< the tables take points in object space; see ObjectFrame
    const double* shift; ///< ObjectFrame's, four doubles
    const BlockTable* tables;
    const PairRun* runs; ///< blocks ascending
    int32_t runCount;
    const uint16_t* pairPoints; ///< points of the tile
    const float* pairWeights;   ///< block weights
    const float* pairBasis;     ///< four rows of basis values per group
    const float* pairMaps;      ///< six rows of weight-map values per group, or null: all of them 1
    const double* incoming; ///< triples of all points as they came in; null: those of keptPoints are copied
    const uint16_t* keptPoints; ///< points that a later run moves again from where they came in
    int32_t keptCount;
    const uint16_t* laterKept; ///< of the pairs of later runs: place in keptPoints, or in `incoming`
    const double* nextPoints;  ///< points that are likely to be wanted next, triples
    int32_t nextCount;
};

/// Boxes that samples are kept in, at most; a multiple of every lane count. One bit of 32 stays free.
static constexpr int kNearestBoxes = 32;
/// Points that one step of the widest search takes: coordinate rows are padded to a multiple of it.
static constexpr int kNearestPad = 16;

/// Samples to search, as rows of coordinates, and the boxes round `boxSize` of them each, the last one
/// perhaps fewer. Rows of boxes have kNearestBoxes values; those past the last box are far from everything.
struct NearestTable {
    const double *x, *y, *z;
    int32_t sampleCount;
    int32_t boxSize;
    uint32_t boxBits; ///< a bit for every box there is
    const double *lowX, *lowY, *lowZ, *highX, *highY, *highZ;
};

/// One tile of points whose nearest samples are wanted. The rows x, y, z may be read up to the next multiple
/// of kNearestPad.
struct NearestJob {
    const NearestTable* table;
    const double *x, *y, *z;
    int32_t count;
    double bound;             ///< squared distance that a sample must undercut
    int32_t* indices;         ///< lowest index among the nearest samples; -1 when none undercuts the bound
    double* squaredDistances; ///< of that sample, or the bound; null when not wanted
};

/// One instruction set's functions; the argument contracts are those of curve.h.
struct VariantTable {
    const char* name;
    unsigned (*findSpan)(const float* knots, unsigned knotCount, unsigned power, float u);
    void (*basisFunction)(const float* knots, unsigned power, unsigned span, float u, float* basis);
    /// `controlPoints` holds x, y, z triples.
    void (*evaluate)(const double* controlPoints, const float* knots, unsigned power, unsigned knotCount,
                     float u, double* point);
    /// The span of each of `count` parameters on one cubic curve: findSpan's.
    void (*findSpans)(const float* knots, unsigned knotCount, const float* params, int32_t count,
                      int32_t* spans);
    /// The four basis values of each of `count` parameters in one span of a cubic curve: basisFunction's, in
    /// groups as in TileJob.
    void (*runBasis)(const float* knots, int32_t span, const float* params, int32_t count, float* basis);
    void (*deformTile)(const TileJob& job);
    void (*nearestTile)(const NearestJob& job);
};

namespace sse2 {
extern const VariantTable kTable;
}
namespace sse41 {
extern const VariantTable kTable;
}
namespace avx {
extern const VariantTable kTable;
}
namespace avx2 {
extern const VariantTable kTable;
}
namespace avx512 {
extern const VariantTable kTable;
}

} // namespace talvisora
