// SPDX-License-Identifier: Apache-2.0
// The curve parameter of every mesh point.
#include <maya/MGlobal.h>
#include <maya/MString.h>

#include "commands/block_frame.h"
#include "commands/commands.h"
#include "commands/write_back.h"
#include "kernels/nearest_samples.h"
#include "node/messages.h"

namespace talvisora {

namespace {

std::vector<float> nearestParameters(const BlockFrame& frame, const Matrix44d& toCurve) {
    std::vector<std::int32_t> nearest(frame.points.size());
    nearestSamplesOfAll(SampleBoxes(frame.samples), frame.points.data(), frame.points.size(), toCurve,
                        nearest.data());
    std::vector<float> params(nearest.size());
    for (std::size_t i = 0; i < nearest.size(); ++i)
        params[i] = static_cast<float>(frame.samples[static_cast<std::size_t>(nearest[i])].t);
    return params;
}

} // namespace

int resetParamsBody(const CommandContext& context) {
    ResetArguments arguments;
    if (Fault fault = readArguments(context.arguments, Reset::kParams, arguments))
        return report(*context.node, fault);
    MGlobal::displayInfo(MString(resetParamsProgress(arguments.block).c_str()));
    BlockFrame frame;
    if (Fault fault = readFrame(context, Reset::kParams, arguments, frame))
        return report(*context.node, fault);
    std::vector<float> params = nearestParameters(frame, context.record->matrix);
    if (Fault fault = writeValues(*context.node, arguments, frame, "params", params))
        return report(*context.node, fault);
    return 0;
}

} // namespace talvisora
