// SPDX-License-Identifier: Apache-2.0
// The lamps of every picture, and colours in linear light, in which shading and averaging are done.
#pragma once

#include "host/picture/render.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

/// Light, or the share of it that a surface gives back: linear, not as shown.
struct Linear {
    float r = 0.0f, g = 0.0f, b = 0.0f;
};

inline float toLinear(std::uint8_t shown) {
    const float c = static_cast<float>(shown) / 255.0f;
    return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
}

inline Linear toLinear(const Rgb& c) {
    return {toLinear(c[0]), toLinear(c[1]), toLinear(c[2])};
}

inline std::uint8_t toShown(float linear) {
    const float c = std::clamp(linear, 0.0f, 1.0f);
    const float shown = c <= 0.0031308f ? c * 12.92f : 1.055f * std::pow(c, 1.0f / 2.4f) - 0.055f;
    return static_cast<std::uint8_t>(shown * 255.0f + 0.5f);
}

/// The light: a soft key from above the camera's left shoulder, a weak fill from its right, sky and ground
/// round it.
class Light {
public:
    explicit Light(const Camera& camera)
        : up_(camera.worldUp),
          key_(normalise(camera.up * 0.75 - camera.right * 0.55 - camera.forward * 0.75)),
          fill_(normalise(camera.right * 0.9 - camera.forward * 0.35 + camera.up * 0.1)) {}

    const Vec3d& keyDirection() const { return key_; }

    /// normal, toEye: unit vectors, the normal on the side that is seen; around, lit: what reaches that side.
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

} // namespace talvisora::host
