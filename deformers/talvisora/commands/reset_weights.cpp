// SPDX-License-Identifier: Apache-2.0
// The weight of every mesh point: 1 within reach of the guide curve and in sight of it, else 0. Rays are cast
// on the calling thread, one per point within reach.
#include <maya/MGlobal.h>
#include <maya/MString.h>

#include "commands/block_frame.h"
#include "commands/commands.h"
#include "commands/mesh_reach.h"
#include "commands/write_back.h"
#include "kernels/nearest_samples.h"
#include "node/messages.h"

namespace talvisora {

namespace {

std::vector<float> weightsInReach(const BlockFrame& frame, const Matrix44d& toCurve, double coefficient) {
    std::vector<float> weights(frame.points.size(), 0.0f);
    MeshReach mesh(frame.mesh);
    const auto reach = static_cast<double>(reachOf(mesh.thickness(frame.guide), coefficient));
    if (!(reach > 0.0)) return weights; // no distance is below it
    std::vector<std::int32_t> nearest(frame.points.size());
    nearestSamplesOfAll(SampleBoxes(frame.samples), frame.points.data(), frame.points.size(), toCurve,
                        nearest.data());
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const CurveSample& s = frame.samples[static_cast<std::size_t>(nearest[i])];
        // Deliberately the point as it is: only the sample is looked up through the matrix.
        const Vec3d sample{s.x, s.y, s.z};
        if (reach > safeLength(frame.points[i] - sample) && mesh.isFree(frame.points[i], sample))
            weights[i] = 1.0f;
    }
    return weights;
}

} // namespace

int resetWeightsBody(const CommandContext& context) {
    ResetArguments arguments;
    if (Fault fault = readArguments(context.arguments, Reset::kWeights, arguments))
        return report(*context.node, fault);
    MGlobal::displayInfo(MString(resetWeightsProgress(arguments.block).c_str()));
    BlockFrame frame;
    if (Fault fault = readFrame(context, Reset::kWeights, arguments, frame))
        return report(*context.node, fault);
    std::vector<float> weights = weightsInReach(frame, context.record->matrix, arguments.maxDistanceCoeff);
    if (Fault fault = writeValues(*context.node, arguments, frame, "blockWeights", weights))
        return report(*context.node, fault);
    return 0;
}

} // namespace talvisora
