// SPDX-License-Identifier: Apache-2.0
// A closed tube round one straight block of ten joints, as a mesh of the headless scene and as a node with
// everything that the resets and an evaluation need.
#pragma once

#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/limb_scene.h"
#include "bench/stopwatch.h"
#include "command.h"
#include "headless/scene/attributes.h"
#include "headless/scene/scene.h"
#include "node/my_node.h"

extern "C" int resetParams(ValueMap& arguments);
extern "C" int resetWeights(ValueMap& arguments);

namespace talvisora::bench {

/// About `wanted` vertices in rings along the limb, radius 0.3 to 0.7, triangles of even shape.
class TubeScene {
public:
    explicit TubeScene(std::size_t wanted) {
        const double length = 10.0;
        const int sides = static_cast<int>(std::sqrt(static_cast<double>(wanted) * 3.14 / length)) + 3;
        const int rings = static_cast<int>(wanted) / sides;
        std::vector<int> faces;
        for (int r = 0; r < rings; ++r)
            for (int s = 0; s < sides; ++s) {
                const double along = -0.5 + length * r / (rings - 1), angle = 6.283185307179586 * s / sides;
                const double radius = 0.5 + 0.2 * std::sin(along * 1.7 + angle);
                points.push_back({along, radius * std::cos(angle), radius * std::sin(angle)});
            }
        for (int r = 0; r + 1 < rings; ++r)
            for (int s = 0; s < sides; ++s) {
                const int a = r * sides + s, b = r * sides + (s + 1) % sides;
                faces.insert(faces.end(), {a, b, b + sides, a, b + sides, a + sides});
            }
        const int first = static_cast<int>(points.size());
        points.push_back({-0.5, 0, 0});
        points.push_back({9.5, 0, 0});
        for (int s = 0; s < sides; ++s) {
            const int next = (s + 1) % sides, end = (rings - 1) * sides;
            faces.insert(faces.end(), {next, s, first, end + s, end + next, first + 1});
        }
        headless::clearScene();
        std::vector<headless::Position> positions;
        for (const Vec3d& p : points) positions.push_back({p.x, p.y, p.z});
        mesh = headless::createMesh("tube", positions, std::vector<int>(faces.size() / 3, 3), faces);
        node.object = headless::createNode("talvisora", "limb");
        headless::addCompoundArray(node.object, "block", {"params", "blockWeights"});

        limb = std::make_unique<LimbScene>(LimbOptions{points.size(), 1, false});
        castTo<GrMatrix>(limb->attributes["talvisora__geoMatrix"])->value = Matrix44d{};
        node.sharedInputs["Hier limb"] = limb->hierarchy;
        record.points = points;
        record.weights.assign(points.size(), 1.0f);
        const auto pointer = [](void* value) {
            auto data = std::make_shared<GrPtr>();
            data->value = value;
            return data;
        };
        const auto whole = [](int value) {
            auto data = std::make_shared<GrInt>();
            data->value = value;
            return data;
        };
        auto coefficient = std::make_shared<GrDouble>();
        coefficient->value = 1.5;
        auto yes = std::make_shared<GrBoolean>();
        yes->value = true;
        arguments["HELP"] = yes;
        arguments["NODE_NAME"] = makeText("limb");
        arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&node));
        arguments["GET_ATTRIBUTES_PTR"] = pointer(this);
        arguments["RUN_ATTRIBUTES_PTR"] = pointer(&limb->attributes);
        arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(&record);
        arguments["block"] = whole(0);
        arguments["maxDistanceCoeff"] = coefficient;
        arguments["smooth"] = whole(0);
        arguments["mesh"] = makeText("tube");
        arguments["fast"] = yes;
    }
    TubeScene(const TubeScene&) = delete;
    TubeScene& operator=(const TubeScene&) = delete;

    std::vector<Vec3d> joints() const {
        std::vector<Vec3d> positions;
        for (int j = 0; j < 10; ++j) positions.push_back({static_cast<double>(j), 0, 0});
        return positions;
    }

    std::vector<Vec3d> points;
    MObject mesh;
    MyNode node;
    std::unique_ptr<LimbScene> limb;
    DeformRecord record;
    ValueMap arguments;
};

} // namespace talvisora::bench
