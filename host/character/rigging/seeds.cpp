// SPDX-License-Identifier: Apache-2.0
// Blocks act one over the other: a point keeps (1 - w) of what the blocks before gave it. With the running
// sums of its shares below the line every block ends up with its own share, and the first one that acts takes
// all.
#include "host/character/rigging/seeds.h"
#include "host/character/rigging/rest_curve.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>

namespace talvisora::host::rigging {

namespace {

/// A chain's rest curve and the sample at each of its records.
struct BlockCurve {
    SampledCurve curve;
    std::vector<int> sampleOfRecord;
};

BlockCurve curveOf(const PlannedBlock& block) {
    BlockCurve result{sampleRestCurve(block.positions, block.simple), {}};
    const int last = static_cast<int>(block.positions.size()) - 1;
    for (int r = 0; r <= last; ++r) {
        int sample = r == 0      ? 0
                     : r == last ? kSampleCount - 1
                                 : result.curve.nearest(block.positions[static_cast<std::size_t>(r)],
                                                        result.sampleOfRecord.back());
        result.sampleOfRecord.push_back(sample);
    }
    return result;
}

/// A joint's weight on a point, as one record of one block.
struct Share {
    int block, record;
    double weight;
};

float weightedBoneParam(const BlockCurve& curve, const Vec3d& point, const Share* begin, const Share* end) {
    double sum = 0.0, total = 0.0;
    for (const Share* share = begin; share != end; ++share) {
        const auto record = static_cast<std::size_t>(share->record);
        const std::size_t next = std::min(record + 1, curve.sampleOfRecord.size() - 1);
        const int sample =
            curve.curve.nearest(point, curve.sampleOfRecord[record], curve.sampleOfRecord[next]);
        sum += share->weight * SampledCurve::parameter(sample);
        total += share->weight;
    }
    return static_cast<float>(sum / total);
}

} // namespace

void seedBlocks(const Character& character, const std::vector<PlannedBlock>& planned,
                const std::vector<int>& ownerBlock, const std::vector<int>& ownerRecord, ParamSearch search,
                std::vector<RigBlock>& blocks) {
    const std::size_t points = character.points.size();
    std::vector<BlockCurve> curves;
    for (const PlannedBlock& block : planned) curves.push_back(curveOf(block));
    for (RigBlock& block : blocks) {
        block.weights.assign(points, 0.0f);
        block.params.assign(points, 0.0f);
    }
    const auto seedPoint = [&](std::size_t p, std::vector<Share>& shares) {
        const Vec3d& point = character.points[p];
        shares.clear();
        for (std::uint32_t i = character.influenceStart[p]; i < character.influenceStart[p + 1]; ++i) {
            const Influence& influence = character.influences[i];
            if (ownerBlock[influence.joint] >= 0)
                shares.push_back(
                    {ownerBlock[influence.joint], ownerRecord[influence.joint], influence.weight});
        }
        std::sort(shares.begin(), shares.end(), [](const Share& a, const Share& b) {
            return a.block != b.block ? a.block < b.block : a.record < b.record;
        });
        double running = 0.0;
        std::size_t at = 0;
        for (std::size_t b = 0; b < blocks.size(); ++b) {
            const std::size_t start = at;
            double own = 0.0;
            for (; at < shares.size() && shares[at].block == static_cast<int>(b); ++at)
                own += shares[at].weight;
            running += own;
            if (own > 0.0) blocks[b].weights[p] = static_cast<float>(own / running);
            blocks[b].params[p] =
                own > 0.0 && search == ParamSearch::kWeightedBone
                    ? weightedBoneParam(curves[b], point, &shares[start], &shares[start] + (at - start))
                    : SampledCurve::parameter(curves[b].curve.nearest(point));
        }
    };
    oneapi::tbb::parallel_for(oneapi::tbb::blocked_range<std::size_t>(0, points, 256),
                              [&](const auto& range) {
                                  std::vector<Share> shares;
                                  for (std::size_t p = range.begin(); p != range.end(); ++p)
                                      seedPoint(p, shares);
                              });
}

} // namespace talvisora::host::rigging
