// SPDX-License-Identifier: Apache-2.0
// Order: joined points to the screen, triangles into a buffer of samples (nearest wins), samples shaded in
// linear light, samples averaged to pixels. Everything runs in one thread in a fixed order, so bytes repeat.
#include "host/picture/render.h"

#include "host/host_error.h"
#include "host/picture/shadow.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr std::int64_t kMostSamples = 64000000;

struct ScreenPoint {
    double x = 0.0, y = 0.0;   ///< in samples from the top left
    double inverseDepth = 0.0; ///< 0: not to be drawn
};

struct Linear {
    float r = 0.0f, g = 0.0f, b = 0.0f;
};

float toLinear(std::uint8_t shown) {
    const float c = static_cast<float>(shown) / 255.0f;
    return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
}

Linear toLinear(const Rgb& c) {
    return {toLinear(c[0]), toLinear(c[1]), toLinear(c[2])};
}

std::uint8_t toShown(float linear) {
    const float c = std::clamp(linear, 0.0f, 1.0f);
    const float shown = c <= 0.0031308f ? c * 12.92f : 1.055f * std::pow(c, 1.0f / 2.4f) - 0.055f;
    return static_cast<std::uint8_t>(shown * 255.0f + 0.5f);
}

// The light: a soft key from above the camera's left shoulder, a weak fill from its right, sky and ground
// round it.
class Light {
public:
    explicit Light(const Camera& camera)
        : up_(camera.worldUp),
          key_(normalise(camera.up * 0.75 - camera.right * 0.55 - camera.forward * 0.75)),
          fill_(normalise(camera.right * 0.9 - camera.forward * 0.35 + camera.up * 0.1)) {}

    // normal, toEye: unit vectors, the normal on the side that is seen.
    Linear shade(const Linear& surface, const Vec3d& normal, const Vec3d& toEye) const {
        const double key = std::max(0.0, (dot(normal, key_) + 0.15) / 1.15); // wrapped a little: no hard edge
        const double fill = std::max(0.0, dot(normal, fill_));
        const double sky = 0.5 + 0.5 * dot(normal, up_);
        const double shine = std::pow(std::max(0.0, dot(normal, normalise(key_ + toEye))), 28.0) * 0.05;
        const double facing = std::max(0.0, dot(normal, toEye));
        // Slightly darker towards the outline, so that limbs stand off from each other and from the paper.
        const double rim = 0.72 + 0.28 * std::min(1.0, facing * 2.2);
        const double warm = (0.92 * key + 0.10 * fill) * rim;
        const double cool = (0.12 + 0.26 * sky) * rim;
        const auto channel = [&](float albedo, double warmth, double coolness) {
            return static_cast<float>(static_cast<double>(albedo) * (warm * warmth + cool * coolness) +
                                      shine);
        };
        return {channel(surface.r, 1.03, 0.94), channel(surface.g, 1.0, 0.99),
                channel(surface.b, 0.95, 1.08)};
    }

private:
    Vec3d up_, key_, fill_;
};

// The sample buffer and what is needed to fill it.
class Canvas {
public:
    Canvas(const Camera& camera, const RenderOptions& options)
        : camera_(camera),
          light_(camera),
          width_(options.width * options.samples),
          height_(options.height * options.samples),
          scale_(camera.focal * height_ / 2.0),
          nearness_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), 0.0f),
          colours_(nearness_.size(), toLinear(options.background)) {}

    ScreenPoint project(const Vec3d& point) const {
        const Vec3d offset = point - camera_.eye;
        const double depth = dot(offset, camera_.forward);
        if (!(depth > camera_.nearest) || !isFinite(point)) return {};
        return {width_ / 2.0 + scale_ * dot(offset, camera_.right) / depth,
                height_ / 2.0 - scale_ * dot(offset, camera_.up) / depth, 1.0 / depth};
    }

    Vec3d rayThrough(double x, double y) const {
        return camera_.forward + camera_.right * ((x - width_ / 2.0) / scale_) -
               camera_.up * ((y - height_ / 2.0) / scale_);
    }

    /// One triangle; normals and colours per corner.
    void fill(const ScreenPoint (&corner)[3], const Vec3d (&normal)[3], const Linear (&colour)[3]) {
        if (corner[0].inverseDepth == 0.0 || corner[1].inverseDepth == 0.0 || corner[2].inverseDepth == 0.0)
            return;
        const double area = edge(corner[0], corner[1], corner[2].x, corner[2].y);
        if (area == 0.0 || !std::isfinite(area)) return;
        // Counter-clockwise is seen clockwise here, as y runs down: positive area is the back.
        const double side = area > 0.0 ? -1.0 : 1.0;
        const int left = toSample(std::min({corner[0].x, corner[1].x, corner[2].x}) - 0.5, width_);
        const int right = toSample(std::max({corner[0].x, corner[1].x, corner[2].x}) + 0.5, width_);
        const int top = toSample(std::min({corner[0].y, corner[1].y, corner[2].y}) - 0.5, height_);
        const int bottom = toSample(std::max({corner[0].y, corner[1].y, corner[2].y}) + 0.5, height_);
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const double px = x + 0.5, py = y + 0.5;
                const double a = edge(corner[1], corner[2], px, py) / area;
                const double b = edge(corner[2], corner[0], px, py) / area;
                const double c = edge(corner[0], corner[1], px, py) / area;
                if (a < 0.0 || b < 0.0 || c < 0.0) continue;
                // 1/depth is linear on the screen; everything else is linear divided by depth.
                const double wa = a * corner[0].inverseDepth, wb = b * corner[1].inverseDepth,
                             wc = c * corner[2].inverseDepth, near = wa + wb + wc;
                const std::size_t sample = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                                           static_cast<std::size_t>(x);
                if (static_cast<float>(near) <= nearness_[sample]) continue;
                nearness_[sample] = static_cast<float>(near);
                const Vec3d n = normalise(normal[0] * wa + normal[1] * wb + normal[2] * wc) * side;
                const auto mix = [&](float ca, float cb, float cc) {
                    return static_cast<float>((static_cast<double>(ca) * wa + static_cast<double>(cb) * wb +
                                               static_cast<double>(cc) * wc) /
                                              near);
                };
                const Linear surface{mix(colour[0].r, colour[1].r, colour[2].r),
                                     mix(colour[0].g, colour[1].g, colour[2].g),
                                     mix(colour[0].b, colour[1].b, colour[2].b)};
                colours_[sample] = light_.shade(surface, n, -normalise(rayThrough(px, py)));
            }
        }
    }

    /// Darkens the samples that show the ground.
    void lay(const GroundShadow& shadow) {
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                const std::size_t sample = static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                                           static_cast<std::size_t>(x);
                if (nearness_[sample] > 0.0f) continue;
                const float light =
                    1.0f - 0.62f * static_cast<float>(shadow.along(rayThrough(x + 0.5, y + 0.5)));
                Linear& c = colours_[sample];
                c = {c.r * light, c.g * light, c.b * light};
            }
        }
    }

    Image average(int samples) const {
        Image image(width_ / samples, height_ / samples, {0, 0, 0});
        const float share = 1.0f / static_cast<float>(samples * samples);
        for (int y = 0; y < image.height; ++y) {
            for (int x = 0; x < image.width; ++x) {
                Linear sum;
                for (int sample = 0; sample < samples * samples; ++sample) {
                    const int sx = x * samples + sample % samples, sy = y * samples + sample / samples;
                    const Linear& c =
                        colours_[static_cast<std::size_t>(sy) * static_cast<std::size_t>(width_) +
                                 static_cast<std::size_t>(sx)];
                    // What is brighter than white must not outweigh the other samples of an edge.
                    sum = {sum.r + std::min(c.r, 1.0f), sum.g + std::min(c.g, 1.0f),
                           sum.b + std::min(c.b, 1.0f)};
                }
                image.set(x, y, {toShown(sum.r * share), toShown(sum.g * share), toShown(sum.b * share)});
            }
        }
        return image;
    }

private:
    static double edge(const ScreenPoint& from, const ScreenPoint& to, double x, double y) {
        return (to.x - from.x) * (y - from.y) - (to.y - from.y) * (x - from.x);
    }
    // Clamped before it becomes a whole number: a point beside the eye projects arbitrarily far out.
    static int toSample(double value, int size) {
        return static_cast<int>(std::clamp(std::floor(value), 0.0, static_cast<double>(size)));
    }

    const Camera& camera_;
    Light light_;
    int width_, height_;
    double scale_;                ///< samples per unit of the picture plane at distance 1
    std::vector<float> nearness_; ///< 1/depth; 0: background
    std::vector<Linear> colours_;
};

} // namespace

Image renderMeshes(const std::vector<OutputMesh>& meshes, const std::vector<Vec3d>& points,
                   const Camera& camera, const RenderOptions& options, const std::vector<Rgb>& colours) {
    const std::int64_t samples = std::int64_t{options.width} * options.height;
    if (options.width < 1 || options.height < 1 || options.width > kMostSamples ||
        options.height > kMostSamples || options.samples < 1 || options.samples > 4 ||
        samples > kMostSamples / (options.samples * options.samples))
        throw HostError(ExitCode::kOutput, "cannot draw a picture of " + std::to_string(options.width) +
                                               " x " + std::to_string(options.height) +
                                               " pixels; make it smaller");
    checkMeshes(meshes, points.size(), "picture");
    if (!colours.empty() && colours.size() != points.size())
        throw HostError(ExitCode::kOutput, "cannot draw " + std::to_string(points.size()) + " points with " +
                                               std::to_string(colours.size()) + " colours");

    Canvas canvas(camera, options);
    std::vector<ScreenPoint> projected;
    projected.reserve(points.size());
    for (const Vec3d& point : points) projected.push_back(canvas.project(point));
    std::vector<Vec3d> normals;
    if (!options.flat) smoothNormals(meshes, points, normals);
    const Linear plain = toLinear(options.surface);

    std::vector<std::uint32_t> allTriangles; // as points, for the shadow
    for (const OutputMesh& mesh : meshes) {
        for (const std::uint32_t vertex : triangulate(mesh))
            allTriangles.push_back(mesh.pointOfVertex[vertex]);
    }
    for (std::size_t t = 0; t + 2 < allTriangles.size(); t += 3) {
        ScreenPoint corner[3];
        Vec3d normal[3];
        Linear colour[3];
        const std::uint32_t* point = &allTriangles[t];
        const Vec3d face =
            normalise(cross(points[point[1]] - points[point[0]], points[point[2]] - points[point[0]]));
        for (int k = 0; k < 3; ++k) {
            corner[k] = projected[point[k]];
            normal[k] = options.flat ? face : normals[point[k]];
            colour[k] = colours.empty() ? plain : toLinear(colours[point[k]]);
        }
        canvas.fill(corner, normal, colour);
    }
    if (options.shadow) canvas.lay(GroundShadow(points, allTriangles, camera));
    return canvas.average(options.samples);
}

} // namespace talvisora::host
