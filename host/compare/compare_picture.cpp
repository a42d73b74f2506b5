// SPDX-License-Identifier: Apache-2.0
// The worst frame of the first side, every point in the colour of its largest difference over all frames.
#include "host/compare/compare_parts.h"
#include "host/deform/frame_outputs.h"
#include "host/figures.h"
#include "host/picture/value_sheet.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

ComparedMesh lentMesh(const CompareJob& job, std::size_t count) {
    const Character character = readCharacter(job.mesh, {job.deform.units});
    ComparedMesh mesh;
    mesh.meshes = outputMeshes(character);
    mesh.points = character.points.size();
    mesh.zUp = job.deform.up == "z";
    mesh.perVertex = vertexCount(mesh.meshes) == count;
    if (!mesh.perVertex && mesh.points != count)
        throw HostError(ExitCode::kInput, "'" + job.mesh + "' has " + counted(mesh.points, "point") + " at " +
                                              counted(vertexCount(mesh.meshes), "vertex", "vertices") +
                                              ", the files compared hold " + std::to_string(count) +
                                              "; name the character that they were made from");
    return mesh;
}

} // namespace

void drawComparison(const CompareJob& job, const Comparison& comparison, const CompareReport& report,
                    const ComparedMesh& own) {
    const std::vector<float>& apart = comparison.largestPerPoint();
    if (apart.empty())
        throw HostError(ExitCode::kUsage,
                        "--picture: the frames hold no points, or not all as many; there is nothing to draw");
    if (job.mesh.empty() && own.points != apart.size())
        throw HostError(ExitCode::kUsage,
                        "--picture: these files hold no faces; name the character with --mesh FILE");
    const ComparedMesh mesh = job.mesh.empty() ? own : lentMesh(job, apart.size());

    std::vector<Vec3d> points(mesh.points);
    DrawnValues drawn;
    drawn.values.assign(mesh.points, 0.0f);
    drawn.nothing = -1.0f;
    const double top =
        std::isfinite(report.all.largest) && report.all.largest > 0.0 ? report.all.largest : 1.0;
    const auto put = [&](std::size_t point, std::size_t from) {
        points[point] = comparison.worstFrame()[from];
        const float value = std::min(1.0f, static_cast<float>(apart[from] / top));
        drawn.values[point] = std::max(drawn.values[point], value);
        if (from == report.all.worstPoint) drawn.marks = {static_cast<std::uint32_t>(point)};
    };
    if (mesh.perVertex) {
        std::size_t vertex = 0;
        for (const OutputMesh& part : mesh.meshes)
            for (const std::uint32_t point : part.pointOfVertex) put(point, vertex++);
    } else {
        for (std::size_t i = 0; i < apart.size(); ++i) put(i, i);
    }
    ValueSheetOptions options;
    const Vec3d up = mesh.zUp ? Vec3d{0.0, 0.0, 1.0} : Vec3d{0.0, 1.0, 0.0};
    options.views = {viewNamed(job.deform.view, up), viewNamed("three-quarter-back", up)};
    options.cellSize = {480, 360};
    options.title = report.first + "  -  " + report.second;
    options.marks = "the worst point";
    const ValueCell cell{"largest difference of each point over " + counted(report.all.frames, report.unit),
                         "1 is " + shortNumber(top, 3), std::move(drawn)};
    writePng(job.picture, drawValueSheet(mesh.meshes, points, {cell}, options));
}

} // namespace talvisora::host
