// SPDX-License-Identifier: Apache-2.0
// Order: openness of every point, joined points to the screen, triangles into a buffer of samples (nearest
// wins), samples shaded in linear light, samples averaged to pixels. Everything runs in one thread in a fixed
// order, so bytes repeat.
#include "host/picture/render.h"

#include "host/host_error.h"
#include "host/picture/cells.h"
#include "host/picture/occlusion.h"
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

/// One corner of a triangle, with all that varies over it.
struct Corner {
    ScreenPoint place;
    Vec3d normal;
    Linear colour;
    Openness open;
};

// The light: a soft key from above the camera's left shoulder, a weak fill from its right, sky and ground
// round it.
class Light {
public:
    explicit Light(const Camera& camera)
        : up_(camera.worldUp),
          key_(normalise(camera.up * 0.75 - camera.right * 0.55 - camera.forward * 0.75)),
          fill_(normalise(camera.right * 0.9 - camera.forward * 0.35 + camera.up * 0.1)) {}

    const Vec3d& keyDirection() const { return key_; }

    // normal, toEye: unit vectors, the normal on the side that is seen; around, lit: what reaches that side.
    Linear shade(const Linear& surface, const Vec3d& normal, const Vec3d& toEye, double around,
                 double lit) const {
        const double key =
            lit * std::max(0.0, (dot(normal, key_) + 0.15) / 1.15); // wrapped a little: no hard edge
        const double fill = std::max(0.0, dot(normal, fill_));
        const double sky = 0.5 + 0.5 * dot(normal, up_);
        const double shine = std::pow(std::max(0.0, dot(normal, normalise(key_ + toEye))), 28.0) * 0.05 * lit;
        const double facing = std::max(0.0, dot(normal, toEye));
        // Slightly darker towards the outline, so that limbs stand off from each other and from the paper.
        const double rim = 0.72 + 0.28 * std::min(1.0, facing * 2.2);
        const double warm = (0.99 * key + 0.10 * fill * around) * rim;
        const double cool = (0.11 + 0.25 * sky) * around * rim;
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

    const Vec3d& keyDirection() const { return light_.keyDirection(); }

    void fill(const Corner (&corner)[3]) {
        const ScreenPoint &p = corner[0].place, &q = corner[1].place, &r = corner[2].place;
        if (p.inverseDepth == 0.0 || q.inverseDepth == 0.0 || r.inverseDepth == 0.0) return;
        // Counter-clockwise is seen clockwise here, as y runs down: positive area is the back.
        const bool back = (q.x - p.x) * (r.y - p.y) - (r.x - p.x) * (q.y - p.y) > 0.0;
        const std::size_t side = back ? 1 : 0;
        forEachCell({p.x, q.x, r.x}, {p.y, q.y, r.y}, width_, height_,
                    [&](int x, int y, double a, double b, double c) {
                        // 1/depth is linear on the screen; everything else is linear divided by depth.
                        const double wa = a * p.inverseDepth, wb = b * q.inverseDepth,
                                     wc = c * r.inverseDepth, near = wa + wb + wc;
                        float& nearness = nearness_[sampleAt(x, y)];
                        if (static_cast<float>(near) <= nearness) return;
                        nearness = static_cast<float>(near);
                        const Vec3d n =
                            normalise(corner[0].normal * wa + corner[1].normal * wb + corner[2].normal * wc);
                        const auto mix = [&](float ca, float cb, float cc) {
                            return (static_cast<double>(ca) * wa + static_cast<double>(cb) * wb +
                                    static_cast<double>(cc) * wc) /
                                   near;
                        };
                        const Linear &ca = corner[0].colour, &cb = corner[1].colour, &cc = corner[2].colour;
                        const Openness &oa = corner[0].open, &ob = corner[1].open, &oc = corner[2].open;
                        const Linear surface{static_cast<float>(mix(ca.r, cb.r, cc.r)),
                                             static_cast<float>(mix(ca.g, cb.g, cc.g)),
                                             static_cast<float>(mix(ca.b, cb.b, cc.b))};
                        colours_[sampleAt(x, y)] =
                            light_.shade(surface, back ? -n : n, -normalise(rayThrough(x + 0.5, y + 0.5)),
                                         mix(oa.around[side], ob.around[side], oc.around[side]),
                                         mix(oa.key[side], ob.key[side], oc.key[side]));
                    });
    }

    /// Darkens the samples that show the ground.
    void lay(const GroundShadow& shadow) {
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                const std::size_t sample = sampleAt(x, y);
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
                    const Linear& c = colours_[sampleAt(sx, sy)];
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
    std::size_t sampleAt(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
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
    const Linear plain = toLinear(options.surface);
    std::vector<std::uint32_t> triangles; // of all meshes, as points
    for (const OutputMesh& mesh : meshes) {
        for (const std::uint32_t vertex : triangulate(mesh)) triangles.push_back(mesh.pointOfVertex[vertex]);
    }
    std::vector<Vec3d> normals;
    smoothNormals(meshes, points, normals);
    std::vector<Openness> open(points.size());
    if (options.occlusion) open = openness(points, normals, triangles, canvas.keyDirection());

    for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
        Corner corner[3];
        const std::uint32_t* point = &triangles[t];
        const Vec3d face =
            normalise(cross(points[point[1]] - points[point[0]], points[point[2]] - points[point[0]]));
        for (int k = 0; k < 3; ++k) {
            const std::uint32_t i = point[k];
            corner[k] = {projected[i], options.flat ? face : normals[i],
                         colours.empty() ? plain : toLinear(colours[i]), open[i]};
        }
        canvas.fill(corner);
    }
    if (options.shadow) canvas.lay(GroundShadow(points, triangles, camera));
    return canvas.average(options.samples);
}

} // namespace talvisora::host
