// SPDX-License-Identifier: Apache-2.0
// Framing. With the direction fixed, "this point is inside the left edge" is linear in the camera's place, so
// the closest place that shows all points has a closed form: per picture axis the two tightest opposite edges
// meet it.
#include "host/host_error.h"
#include "host/picture/render.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMargin = 0.92; // share of the picture's height and width that the character may take

// For one picture axis: how far aside and how far back the eye must stand, given the largest of k·x − z and
// −k·x − z.
struct Fit {
    double rightEdge = -HUGE_VAL, leftEdge = -HUGE_VAL;
    void add(double aside, double depth, double k) {
        rightEdge = std::max(rightEdge, k * aside - depth);
        leftEdge = std::max(leftEdge, -k * aside - depth);
    }
    double aside(double k) const { return (rightEdge - leftEdge) / (2.0 * k); }
    double back() const { return (rightEdge + leftEdge) / 2.0; }
};

} // namespace

void Bounds::add(const std::vector<Vec3d>& points) {
    for (const Vec3d& p : points) {
        if (!isFinite(p)) continue;
        if (empty()) {
            low = high = p;
            continue;
        }
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
}

View viewNamed(const std::string& name, const Vec3d& up) {
    if (name == "front") return frontView(up);
    if (name == "side") return {90.0, 5.0, up};
    if (name == "back") return {180.0, 5.0, up};
    if (name == "three-quarter") return threeQuarterView(up);
    if (name == "three-quarter-back") return {240.0, 15.0, up};
    throw HostError(ExitCode::kUsage,
                    "--view " + name + ": front, side, back, three-quarter or three-quarter-back expected");
}

PictureSize pictureSizeNamed(const std::string& text) {
    constexpr int kLeast = 40, kMost = 4000;
    PictureSize size;
    const char* const last = text.data() + text.size();
    const auto first = std::from_chars(text.data(), last, size.width);
    if (first.ec == std::errc() && first.ptr != last && *first.ptr == 'x') {
        const auto second = std::from_chars(first.ptr + 1, last, size.height);
        if (second.ec == std::errc() && second.ptr == last && std::min(size.width, size.height) >= kLeast &&
            std::max(size.width, size.height) <= kMost)
            return size;
    }
    throw HostError(ExitCode::kUsage,
                    "--size " + text + ": WIDTHxHEIGHT in pixels expected, each from 40 to 4000");
}

Camera makeCamera(const Bounds& bounds, const View& view, double widthOverHeight) {
    std::vector<Vec3d> corners;
    if (!bounds.empty()) {
        for (int c = 0; c < 8; ++c)
            corners.push_back({c & 1 ? bounds.high.x : bounds.low.x, c & 2 ? bounds.high.y : bounds.low.y,
                               c & 4 ? bounds.high.z : bounds.low.z});
    }
    return makeCamera(corners, view, widthOverHeight);
}

Camera makeCamera(const std::vector<Vec3d>& points, const View& view, double widthOverHeight) {
    Bounds bounds;
    bounds.add(points);
    if (bounds.empty()) bounds.low = bounds.high = Vec3d{};
    const Vec3d middle = bounds.low * 0.5 + bounds.high * 0.5;
    const double size = length(bounds.high - bounds.low);
    if (!(size > 0.0) || !std::isfinite(size)) {
        const Vec3d half{0.5, 0.5, 0.5};
        Bounds unit;
        unit.low = middle - half;
        unit.high = middle + half;
        // Around a place too large for the unit to count there is nothing to see; show the origin instead.
        if (!(length(unit.high - unit.low) > 0.5) || !isFinite(unit.high - unit.low)) {
            unit.low = -half;
            unit.high = half;
        }
        return makeCamera(unit, view, widthOverHeight);
    }

    const bool zUp = view.up.z > 0.0 && view.up.y == 0.0;
    const Vec3d up = zUp ? Vec3d{0.0, 0.0, 1.0} : Vec3d{0.0, 1.0, 0.0};
    const Vec3d front = zUp ? Vec3d{0.0, -1.0, 0.0} : Vec3d{0.0, 0.0, 1.0};
    const Vec3d side{1.0, 0.0, 0.0};
    const double yaw = view.yaw * kPi / 180.0;
    const double pitch =
        std::clamp(view.pitch, -89.0, 89.0) * kPi / 180.0; // straight down has no upright picture
    const Vec3d level = front * std::cos(yaw) + side * std::sin(yaw);

    Camera camera;
    camera.worldUp = up;
    camera.forward = -(level * std::cos(pitch) + up * std::sin(pitch));
    camera.right = normalise(cross(camera.forward, up));
    camera.up = cross(camera.right, camera.forward);

    const double aspect = widthOverHeight > 0.0 && std::isfinite(widthOverHeight) ? widthOverHeight : 1.0;
    const double kx = camera.focal / (aspect * kMargin), ky = camera.focal / kMargin;
    Fit across, upright;
    double closest = HUGE_VAL;
    camera.ground = HUGE_VAL;
    for (const Vec3d& p : points) {
        if (!isFinite(p)) continue;
        const Vec3d offset = p - middle;
        const double depth = dot(offset, camera.forward);
        across.add(dot(offset, camera.right), depth, kx);
        upright.add(dot(offset, camera.up), depth, ky);
        closest = std::min(closest, depth);
        camera.ground = std::min(camera.ground, dot(p, up));
    }
    // Never so close that a point lies at the eye, as a flat character seen edge-on would ask for.
    const double back = std::max({across.back(), upright.back(), size * 0.05 - closest});
    camera.eye =
        middle + camera.right * across.aside(kx) + camera.up * upright.aside(ky) - camera.forward * back;
    camera.nearest = size * 1e-3;
    return camera;
}

} // namespace talvisora::host
