// SPDX-License-Identifier: Apache-2.0
// Order: the mesh into the scene, attributes onto the node; per command the present values, the call, the
// values back.
#include "host/reset/reset_stage.h"

#include "headless/scene/attributes.h"
#include "headless/scene/scene.h"
#include "host/host_error.h"
#include "host/rig_values.h"

#include <maya/MFnDependencyNode.h>

#include <algorithm>

namespace talvisora::host {

namespace {

constexpr const char* kBlock = "block";
constexpr const char* kParams = "params";
constexpr const char* kWeights = "blockWeights";

template <class Class, class Value>
std::shared_ptr<Class> made(Value value) {
    auto data = std::make_shared<Class>();
    data->value = value;
    return data;
}

MObject makeMesh(const Character& character) {
    std::vector<headless::Position> points;
    points.reserve(character.points.size());
    for (const Vec3d& p : character.points) points.push_back({p.x, p.y, p.z});
    const std::vector<Triangle> triangles = character.pointTriangles();
    std::vector<int> corners;
    corners.reserve(3 * triangles.size());
    for (const Triangle& triangle : triangles)
        for (const std::uint32_t corner : triangle) corners.push_back(static_cast<int>(corner));
    std::string error;
    const MObject mesh =
        headless::createMesh("grhost_mesh", points, std::vector<int>(triangles.size(), 3), corners, &error);
    if (mesh.isNull())
        throw HostError(ExitCode::kInput,
                        "cannot use '" + character.path + "': " + error + "; simplify its mesh");
    return mesh;
}

std::string failureOf(const CallResult& result) {
    if (result.threw) return "the module threw '" + result.thrown + "'";
    std::string text = "the module answered status " + std::to_string(result.status);
    for (const ShownMessage& message : result.messages)
        if (message.level == "error") return text + " and said: " + message.text;
    return text;
}

} // namespace

const char* resetCommandName(ResetKind kind) {
    return kind == ResetKind::kParams ? "resetParams" : "resetWeights";
}

void requireReset(const Module& module, ResetKind kind, const std::string& wanted) {
    if (module.command(resetCommandName(kind))) return;
    throw HostError(ExitCode::kInput, module.path() + ": the module does not offer " +
                                          resetCommandName(kind) + ", which " + wanted +
                                          " needs; name another one with --module FILE");
}

ResetStage::ResetStage(const Module& module, const Character& character, const AutoRig& rig, int threads)
    : session_(module, "grhost_reset", threads), points_(character.points.size()) {
    fillSession(session_, character, rig, true);
    headless::addCompoundArray(session_.node().object, kBlock, {kParams, kWeights});
    mesh_ = makeMesh(character);
    meshName_ = MFnDependencyNode(mesh_).name().asChar();
    headless::setActiveSelection({});
}

ResetStage::~ResetStage() {
    headless::setActiveSelection({});
    headless::deleteNode(mesh_);
}

void ResetStage::select(const std::optional<std::vector<std::uint32_t>>& points) {
    if (!points) {
        headless::setActiveSelection({});
        return;
    }
    headless::SelectedItem item{mesh_, headless::ComponentKind::vertices, {}};
    for (const std::uint32_t point : *points) item.elements.push_back(static_cast<int>(point));
    headless::setActiveSelection({item});
}

std::vector<float> ResetStage::run(const ResetRequest& request, const std::vector<float>& present,
                                   const std::string& what) {
    const bool params = request.kind == ResetKind::kParams;
    const headless::FloatArrayPath path{session_.node().object, kBlock,
                                        static_cast<unsigned int>(request.block),
                                        params ? kParams : kWeights};
    headless::setFloatElements(path, present);

    ValueMap arguments = session_.commandArguments();
    arguments["block"] = made<GrInt>(static_cast<std::int32_t>(request.block));
    arguments["smooth"] = made<GrInt>(static_cast<std::int32_t>(request.smooth));
    arguments["mesh"] = makeText(meshName_);
    arguments["fast"] = made<GrBoolean>(true); // to the last bit, and nothing here undoes
    if (!params) arguments["maxDistanceCoeff"] = made<GrDouble>(request.maxDistanceCoeff);
    const CallResult result = session_.runCommand(resetCommandName(request.kind), arguments);
    if (result.threw || result.status != 0)
        throw HostError(ExitCode::kModuleFailed, what + ": " + failureOf(result));

    std::vector<float> values(points_, 0.0f);
    std::size_t written = 0;
    for (const headless::FloatElement& element : headless::floatElements(path))
        if (element.index < points_) {
            // Sums of values in [0, 1] may round past 1 when they are averaged.
            values[element.index] = std::min(std::max(element.value, 0.0f), 1.0f);
            ++written;
        }
    if (written != points_)
        throw HostError(ExitCode::kModuleFailed, what + ": the module wrote " + std::to_string(written) +
                                                     " of " + std::to_string(points_) +
                                                     " values; it is not one of this version");
    return values;
}

} // namespace talvisora::host
