// SPDX-License-Identifier: Apache-2.0
// The inside of the renderer: a buffer of samples that triangles are drawn into, nearest wins, each sample
// lit in linear light. Only host/picture/render.cpp includes this.
#pragma once

#include "host/picture/cells.h"
#include "host/picture/light.h"
#include "host/picture/occlusion.h"
#include "host/picture/ramp.h"
#include "host/picture/shadow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace talvisora::host {

/// A projected point.
struct ScreenPoint {
    double x = 0.0, y = 0.0;   ///< in samples from the top left
    double inverseDepth = 0.0; ///< 0: not to be drawn
};

/// One corner of a triangle, with all that varies over it.
struct Corner {
    ScreenPoint place;
    Vec3d normal;
    Linear colour;
    Openness open;
    double value = 0.0;   ///< instead of the colour where values are drawn
    double present = 0.0; ///< 1: has a value
};

/// The ramp in linear light, looked up per sample.
class ValueColours {
public:
    explicit ValueColours(float nothing) : nothing_(nothing), none_(toLinear(kNoValueColour)) {
        for (std::size_t k = 0; k < ramp_.size(); ++k)
            ramp_[k] = toLinear(rampColour(static_cast<double>(k) / (ramp_.size() - 1)));
    }
    /// Weights of the three corners that sum to `near`. Between a corner with a value and one without, the
    /// nearer one decides.
    Linear at(const Corner (&corner)[3], double wa, double wb, double wc, double near) const {
        const double a = wa * corner[0].present, b = wb * corner[1].present, c = wc * corner[2].present;
        const double present = a + b + c;
        if (!(present > 0.5 * near)) return none_;
        const double value = (a * corner[0].value + b * corner[1].value + c * corner[2].value) / present;
        if (!(value > nothing_)) return none_;
        return ramp_[static_cast<std::size_t>(std::clamp(value, 0.0, 1.0) * (ramp_.size() - 1) + 0.5)];
    }

private:
    double nothing_;
    Linear none_;
    std::array<Linear, 512> ramp_;
};

/// The sample buffer and what is needed to fill it.
class Canvas {
public:
    Canvas(const Camera& camera, const RenderOptions& options)
        : camera_(camera),
          light_(camera),
          width_(options.width * options.samples),
          height_(options.height * options.samples),
          scale_(camera.focal * height_ / 2.0),
          nearness_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), 0.0f),
          colours_(nearness_.size(), toLinear(options.background)),
          shading_(static_cast<float>(std::clamp(options.shading, 0.0, 1.0))) {}

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

    /// ramp  null: the corners' colours
    void fill(const Corner (&corner)[3], const ValueColours* ramp) {
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
                        const Linear surface = ramp ? ramp->at(corner, wa, wb, wc, near)
                                                    : Linear{static_cast<float>(mix(ca.r, cb.r, cc.r)),
                                                             static_cast<float>(mix(ca.g, cb.g, cc.g)),
                                                             static_cast<float>(mix(ca.b, cb.b, cc.b))};
                        const Linear lit =
                            light_.shade(surface, back ? -n : n, -normalise(rayThrough(x + 0.5, y + 0.5)),
                                         mix(oa.around[side], ob.around[side], oc.around[side]),
                                         mix(oa.key[side], ob.key[side], oc.key[side]));
                        const float bare = 1.0f - shading_;
                        colours_[sampleAt(x, y)] = {bare * surface.r + shading_ * lit.r,
                                                    bare * surface.g + shading_ * lit.g,
                                                    bare * surface.b + shading_ * lit.b};
                    });
    }

    /// Whether nothing lies in front of a projected point by more than the camera's nearest distance.
    bool sees(const ScreenPoint& place) const {
        if (!(place.x >= 0.0 && place.x < width_ && place.y >= 0.0 && place.y < height_)) return false;
        const double nearness = nearness_[sampleAt(static_cast<int>(place.x), static_cast<int>(place.y))];
        return nearness <= 0.0 || 1.0 / place.inverseDepth - 1.0 / nearness <= 6.0 * camera_.nearest;
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
    float shading_;
};

} // namespace talvisora::host
