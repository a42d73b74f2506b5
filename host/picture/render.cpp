// SPDX-License-Identifier: Apache-2.0
// Order: openness of every point, joined points to the screen, triangles into a buffer of samples (nearest
// wins), samples shaded in linear light, samples averaged to pixels. Everything runs in one thread in a fixed
// order, so bytes repeat.
#include "host/picture/render.h"

#include "host/figures.h"
#include "host/host_error.h"
#include "host/picture/canvas.h"
#include "host/picture/mark.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr std::int64_t kMostSamples = 64000000;

void checkSize(const RenderOptions& options) {
    const std::int64_t samples = std::int64_t{options.width} * options.height;
    if (options.width < 1 || options.height < 1 || options.width > kMostSamples ||
        options.height > kMostSamples || options.samples < 1 || options.samples > 4 ||
        samples > kMostSamples / (options.samples * options.samples))
        throw HostError(ExitCode::kOutput, "cannot draw a picture of " + std::to_string(options.width) +
                                               " x " + std::to_string(options.height) +
                                               " pixels; make it smaller");
}

void checkCount(std::size_t points, std::size_t count, const char* what) {
    if (count != points)
        throw HostError(ExitCode::kOutput, "cannot draw " + counted(points, "point") + " with " +
                                               std::to_string(count) + " " + what);
}

} // namespace

MeshView::MeshView(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   const Camera& camera, const RenderOptions& options)
    : points_(points), camera_(camera), options_(options), open_(points.size()) {
    checkSize(options);
    checkMeshes(meshes, points.size(), "picture");
    for (const OutputMesh& mesh : meshes) {
        for (const std::uint32_t vertex : triangulate(mesh)) triangles_.push_back(mesh.pointOfVertex[vertex]);
    }
    smoothNormals(meshes, points, normals_);
    if (options.occlusion) open_ = openness(points, normals_, triangles_, Light(camera).keyDirection());
}

Image MeshView::draw(const std::vector<Rgb>& colours) const {
    if (!colours.empty()) checkCount(points_.size(), colours.size(), "colours");
    return draw(colours, nullptr);
}

Image MeshView::draw(const DrawnValues& values) const {
    checkCount(points_.size(), values.values.size(), "values");
    return draw({}, &values);
}

Image MeshView::draw(const std::vector<Rgb>& colours, const DrawnValues* values) const {
    Canvas canvas(camera_, options_);
    std::vector<ScreenPoint> projected;
    projected.reserve(points_.size());
    for (const Vec3d& point : points_) projected.push_back(canvas.project(point));
    const Linear plain = toLinear(options_.surface);
    const ValueColours ramp(values ? values->nothing : 0.0f);
    for (std::size_t t = 0; t + 2 < triangles_.size(); t += 3) {
        Corner corner[3];
        const std::uint32_t* point = &triangles_[t];
        const Vec3d& origin = points_[point[0]];
        const Vec3d face = normalise(cross(points_[point[1]] - origin, points_[point[2]] - origin));
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t i = point[k];
            corner[k].place = projected[i];
            corner[k].normal = options_.flat ? face : normals_[i];
            corner[k].colour = colours.empty() ? plain : toLinear(colours[i]);
            corner[k].open = open_[i];
            if (!values || !std::isfinite(values->values[i])) continue;
            corner[k].value = static_cast<double>(values->values[i]);
            corner[k].present = 1.0;
        }
        canvas.fill(corner, values ? &ramp : nullptr);
    }
    if (options_.shadow) canvas.lay(GroundShadow(points_, triangles_, camera_));
    Image image = canvas.average(options_.samples);
    if (!values) return image;
    for (const std::uint32_t i : values->marks)
        if (i < points_.size() && projected[i].inverseDepth != 0.0)
            drawMark(image, projected[i].x / options_.samples, projected[i].y / options_.samples,
                     canvas.sees(projected[i]));
    return image;
}

Image renderMeshes(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   const Camera& camera, const RenderOptions& options, const std::vector<Rgb>& colours) {
    return MeshView(meshes, points, camera, options).draw(colours);
}

} // namespace talvisora::host
