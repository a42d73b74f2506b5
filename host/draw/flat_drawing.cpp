// SPDX-License-Identifier: Apache-2.0
#include "host/draw/flat_drawing.h"

#include "host/picture/text.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace talvisora::host {

namespace {

using headless::DrawCall;
using headless::DrawCallKind;

constexpr double kThinnest = 1.2; // pixels: what Maya's width 1 is painted as

Vec3d vec3(const std::array<double, 4>& p) {
    const double w = p[3] == 0.0 ? 1.0 : p[3];
    return {p[0] / w, p[1] / w, p[2] / w};
}

Rgb shown(const std::array<float, 4>& colour) {
    const auto byte = [](float c) {
        return static_cast<std::uint8_t>(c > 0.0f ? std::min(c, 1.0f) * 255.0f + 0.5f : 0.0f);
    };
    return {byte(colour[0]), byte(colour[1]), byte(colour[2])};
}

// Boxes that are taken, in a coarse grid so that thousands of labels stay cheap.
class Taken {
public:
    bool take(double left, double top, double right, double bottom) {
        const Box box{left, top, right, bottom};
        for (int pass = 0; pass < 2; ++pass) {
            for (int row = cell(top); row <= cell(bottom); ++row) {
                for (int column = cell(left); column <= cell(right); ++column) {
                    std::vector<Box>& boxes = cells_[{column, row}];
                    if (pass == 1)
                        boxes.push_back(box);
                    else if (std::any_of(boxes.begin(), boxes.end(),
                                         [&](const Box& b) { return meets(b, box); }))
                        return false;
                }
            }
        }
        return true;
    }

private:
    struct Box {
        double left, top, right, bottom;
    };
    static int cell(double at) { return static_cast<int>(std::floor(at / 64.0)); }
    static bool meets(const Box& a, const Box& b) {
        return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
    }
    std::map<std::pair<int, int>, std::vector<Box>> cells_;
};

class Flattener {
public:
    Flattener(const Camera& camera, const DepthMap& depth, const FlattenOptions& options)
        : camera_(camera), depth_(depth), options_(options) {
        for (const auto& box : options.reserved) taken_.take(box[0], box[1], box[2], box[3]);
        if (options.choose)
            for (const std::size_t i : options.chosen)
                if (i < options.points.size()) wanted_.insert(key(options.points[i]));
    }

    FlatDrawing run(const std::vector<DrawCall>& calls) {
        for (std::size_t c = 0; c < calls.size(); ++c) {
            const DrawCall& call = calls[c];
            if (!call.inside) continue;
            switch (call.kind) {
            case DrawCallKind::beginDrawable:
            case DrawCallKind::endDrawable:
                colour_ = {30, 30, 30};
                pointSize_ = 3.0;
                lineWidth_ = 1.0;
                break;
            case DrawCallKind::setColor:
                colour_ = shown(call.colour);
                break;
            case DrawCallKind::setPointSize:
                pointSize_ = static_cast<double>(call.size);
                break;
            case DrawCallKind::setLineWidth:
                lineWidth_ = static_cast<double>(call.size);
                break;
            case DrawCallKind::line:
                addLine(vec3(call.from), vec3(call.to));
                break;
            case DrawCallKind::point:
                pending_ = {call.from, colour_, pointSize_, true};
                if (!labelFollows(calls, c)) addPending();
                break;
            case DrawCallKind::text:
                addLabel(call);
                break;
            }
        }
        return std::move(drawing_);
    }

private:
    struct Pending {
        std::array<double, 4> at{};
        Rgb colour{};
        double size = 0.0;
        bool there = false;
    };
    using Key = std::tuple<double, double, double>;
    static Key key(const Vec3d& p) { return {p.x, p.y, p.z}; }

    ScreenPlace place(const Vec3d& p) const { return toScreen(p, camera_, depth_.width(), depth_.height()); }
    bool inside(const ScreenPlace& p) const {
        return p.nearness > 0.0 && p.x >= 0.0 && p.y >= 0.0 && p.x < depth_.width() && p.y < depth_.height();
    }

    // A point that its own label follows, perhaps after a colour, is shown with it or not at all.
    static bool labelFollows(const std::vector<DrawCall>& calls, std::size_t c) {
        for (std::size_t next = c + 1; next < calls.size(); ++next) {
            if (calls[next].kind == DrawCallKind::setColor) continue;
            return calls[next].kind == DrawCallKind::text && calls[next].from == calls[c].from;
        }
        return false;
    }

    void addPending() {
        if (!pending_.there) return;
        pending_.there = false;
        const ScreenPlace at = place(vec3(pending_.at));
        if (inside(at)) drawing_.dots.push_back({at.x, at.y, std::max(pending_.size, 2.0), pending_.colour});
    }

    void addLine(Vec3d a, Vec3d b) {
        if (!isFinite(a) || !isFinite(b)) return;
        // Cut what lies before the nearest plane, a little behind it so that both ends can be placed.
        const double limit = camera_.nearest * 1.0001;
        const double da = dot(a - camera_.eye, camera_.forward) - limit;
        const double db = dot(b - camera_.eye, camera_.forward) - limit;
        if (da < 0.0 && db < 0.0) return;
        if (da < 0.0) a = a + (b - a) * (da / (da - db));
        if (db < 0.0) b = b + (a - b) * (db / (db - da));
        const ScreenPlace p = place(a), q = place(b);
        if (p.nearness == 0.0 || q.nearness == 0.0) return;
        drawing_.lines.push_back({p.x, p.y, q.x, q.y, std::max(lineWidth_, kThinnest), colour_});
    }

    void addLabel(const DrawCall& call) {
        const Vec3d at = vec3(call.from);
        const ScreenPlace p = place(at);
        const bool chosen = !options_.choose || wanted_.count(key(at)) > 0;
        if (!chosen) {
            pending_.there = false;
            return;
        }
        if (!inside(p) || depth_.hides(p, options_.slack)) {
            ++drawing_.hiddenLabels;
            pending_.there = false;
            return;
        }
        const double height = options_.labelHeight, wide = textWidth(call.label, height);
        const double shift = call.alignment == 1 ? wide / 2.0 : call.alignment == 2 ? wide : -4.0;
        const double x = p.x - shift, y = p.y - height - 2.0;
        if (!taken_.take(std::min(x, p.x) - 2.0, y - 2.0, std::max(x + wide, p.x) + 2.0, p.y + 3.0)) {
            ++drawing_.crowdedLabels;
            pending_.there = false;
            return;
        }
        addPending();
        drawing_.labels.push_back({x, y, call.label, colour_});
    }

    const Camera& camera_;
    const DepthMap& depth_;
    const FlattenOptions& options_;
    std::set<Key> wanted_;
    Taken taken_;
    Rgb colour_{30, 30, 30};
    double pointSize_ = 3.0, lineWidth_ = 1.0;
    Pending pending_;
    FlatDrawing drawing_;
};

} // namespace

FlatDrawing flatten(const std::vector<DrawCall>& calls, const Camera& camera, const DepthMap& depth,
                    const FlattenOptions& options) {
    return Flattener(camera, depth, options).run(calls);
}

} // namespace talvisora::host
