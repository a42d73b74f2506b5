// SPDX-License-Identifier: Apache-2.0
// The functions that exist once per instruction set, as a table, and the plain records that they work on.
// Every table gives the same bits. Included by the processor variants: no templates of the standard library.
#pragma once

#include "kernels/block_tables.h"

namespace talvisora {

/// Points of one tile; tiles are what a thread takes at a time. Larger ones give longer runs where many
/// blocks share a tile; this one's coordinates still fit a second-level cache.
static constexpr int kTilePoints = 2048;

/// Pairs of one tile that share block and knot span: pairs [firstPair, firstPair + count) of the list,
/// counted from the tile's first pair. A contiguous run's pairs own the slots from firstSlot on, one after
/// the other; the pairs of the others name their slots one by one.
struct PairRun {
    int32_t block;
    int32_t span;
    uint32_t firstPair;
    uint16_t count;
    uint16_t firstSlot;
    uint8_t contiguous;
};

/// One tile of the point stage. A slot is a point of the tile that at least one block may move.
struct TileJob {
    double* points;            ///< the tile's points, x y z each, object space, deformed in place
    const float* pointWeights; ///< the tile's, or null: all of them 1
    int32_t pointWeightCount;  ///< further points have weight 1
    float envelope;
    const double* geoMatrix;        ///< sixteen doubles
    const double* geoMatrixInverse; ///< sixteen doubles
    int32_t geoAffine;              ///< fourth column (0, 0, 0, 1): no division by w
    int32_t geoInverseAffine;
    const BlockTable* tables;
    const PairRun* runs;
    int32_t runCount;
    const uint16_t* slotPoints; ///< slot → point of the tile
    int32_t slotCount;
    const float* slotMaps; ///< six rows of slotCount weight-map values, or null: all of them 1
    const uint16_t* pairSlots;
    const float* pairWeights; ///< block weights
    const float* pairBasis;   ///< per run: four rows of `count` basis values, from 4 · firstPair on
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
    /// Span and four basis values of each of `count` parameters on one cubic curve; basis[4 * k + c].
    void (*spanBasis)(const float* knots, unsigned knotCount, const float* params, int32_t count,
                      int32_t* spans, float* basis);
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
