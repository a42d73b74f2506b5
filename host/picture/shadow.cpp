// SPDX-License-Identifier: Apache-2.0
// A coarse grid on the ground: every triangle marks the cells below it, three box blurs make the marks soft.
#include "host/picture/shadow.h"

#include "host/picture/cells.h"

#include <algorithm>
#include <cmath>

namespace talvisora::host {

namespace {

constexpr int kLongSide = 220; // cells
constexpr int kBlurRadius = 5;
constexpr int kBorder = 4 * kBlurRadius; // the blur has faded out before the grid ends

// One pass of a box blur over `count` values that lie `stride` apart.
void blurLine(float* values, int count, int stride, std::vector<float>& line) {
    line.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        line[static_cast<std::size_t>(i)] = values[static_cast<std::ptrdiff_t>(i) * stride];
    const auto valueAt = [&](int i) {
        return i < 0 || i >= count ? 0.0f : line[static_cast<std::size_t>(i)];
    };
    for (int i = 0; i < count; ++i) {
        float sum = 0.0f;
        for (int k = -kBlurRadius; k <= kBlurRadius; ++k) sum += valueAt(i + k);
        values[static_cast<std::ptrdiff_t>(i) * stride] = sum / (2 * kBlurRadius + 1);
    }
}

} // namespace

GroundShadow::GroundShadow(const std::vector<Vec3d>& points, const std::vector<std::uint32_t>& triangles,
                           const Camera& camera)
    : eye_(camera.eye),
      up_(camera.worldUp),
      axisU_{1.0, 0.0, 0.0},
      axisV_(cross(up_, axisU_)),
      ground_(camera.ground) {
    double highU = -HUGE_VAL, highV = -HUGE_VAL, height = 0.0;
    lowU_ = lowV_ = HUGE_VAL;
    for (const Vec3d& p : points) {
        if (!isFinite(p)) continue;
        lowU_ = std::min(lowU_, dot(p, axisU_));
        highU = std::max(highU, dot(p, axisU_));
        lowV_ = std::min(lowV_, dot(p, axisV_));
        highV = std::max(highV, dot(p, axisV_));
        height = std::max(height, dot(p, up_) - ground_);
    }
    const double extent = std::max({highU - lowU_, highV - lowV_, 0.25 * height});
    if (!(extent > 0.0) || !std::isfinite(extent)) return;
    cell_ = extent / kLongSide;
    columns_ = static_cast<int>((highU - lowU_) / cell_) + 1 + 2 * kBorder;
    rows_ = static_cast<int>((highV - lowV_) / cell_) + 1 + 2 * kBorder;
    lowU_ -= kBorder * cell_;
    lowV_ -= kBorder * cell_;
    darkness_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), 0.0f);

    for (std::size_t t = 0; t + 2 < triangles.size(); t += 3) {
        double u[3], v[3], above = 0.0;
        bool usable = true;
        for (std::size_t k = 0; k < 3; ++k) {
            const Vec3d& p = points[triangles[t + k]];
            usable = usable && isFinite(p);
            u[k] = (dot(p, axisU_) - lowU_) / cell_;
            v[k] = (dot(p, axisV_) - lowV_) / cell_;
            above += (dot(p, up_) - ground_) / 3.0;
        }
        if (!usable) continue;
        // The sky lights the ground under a belly from the sides, so what is high up hardly counts.
        const float mark = static_cast<float>(std::clamp(1.0 - 1.1 * above / height, 0.15, 1.0));
        forEachCell(u, v, columns_, rows_, [&](int column, int row, double, double, double) {
            float& cell = darkness_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                                    static_cast<std::size_t>(column)];
            cell = std::max(cell, mark);
        });
    }
    std::vector<float> line;
    for (int pass = 0; pass < 3; ++pass) {
        for (int row = 0; row < rows_; ++row)
            blurLine(&darkness_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_)], columns_,
                     1, line);
        for (int column = 0; column < columns_; ++column)
            blurLine(&darkness_[static_cast<std::size_t>(column)], rows_, columns_, line);
    }
}

double GroundShadow::at(int column, int row) const {
    if (column < 0 || row < 0 || column >= columns_ || row >= rows_) return 0.0;
    return static_cast<double>(darkness_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                                         static_cast<std::size_t>(column)]);
}

double GroundShadow::along(const Vec3d& direction) const {
    const double fall = -dot(direction, up_), height = dot(eye_, up_) - ground_;
    if (darkness_.empty() || fall <= 1e-6 || height <= 0.0) return 0.0;
    const Vec3d hit = eye_ + direction * (height / fall);
    const double u = (dot(hit, axisU_) - lowU_) / cell_ - 0.5, v = (dot(hit, axisV_) - lowV_) / cell_ - 0.5;
    if (!(u > -1.0 && v > -1.0 && u < columns_ && v < rows_)) return 0.0;
    const double fu = std::floor(u), fv = std::floor(v), su = u - fu, sv = v - fv;
    const int column = static_cast<int>(fu), row = static_cast<int>(fv);
    return (at(column, row) * (1.0 - su) + at(column + 1, row) * su) * (1.0 - sv) +
           (at(column, row + 1) * (1.0 - su) + at(column + 1, row + 1) * su) * sv;
}

} // namespace talvisora::host
