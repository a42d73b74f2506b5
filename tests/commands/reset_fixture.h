// SPDX-License-Identifier: Apache-2.0
// A node with its Maya attributes, a mesh round its joints, and one of the two resets to be run on them.
// After every test no data handle may be open, none misused, and no call made from another thread.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "command.h"
#include "fixtures/node_test.h"
#include "headless/scene/attributes.h"
#include "headless/scene/mel.h"
#include "headless/scene/thread_check.h"

extern "C" int resetParams(ValueMap& arguments);
extern "C" int resetWeights(ValueMap& arguments);

namespace talvisora::fixtures {

inline std::shared_ptr<GrDouble> real(double value) {
    auto data = std::make_shared<GrDouble>();
    data->value = value;
    return data;
}

/// Points and faces of a mesh in the making.
struct MeshSource {
    std::vector<Vec3d> points;
    std::vector<int> counts, vertices;

    void face(const std::vector<int>& corners) {
        counts.push_back(static_cast<int>(corners.size()));
        vertices.insert(vertices.end(), corners.begin(), corners.end());
    }
    /// Twelve triangles of a closed box; its eight corners come x fastest, z slowest.
    void box(const Vec3d& low, const Vec3d& high) {
        const int v = static_cast<int>(points.size());
        for (int k = 0; k < 8; ++k)
            points.push_back({k & 1 ? high.x : low.x, k & 2 ? high.y : low.y, k & 4 ? high.z : low.z});
        const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        for (const auto& q : quads) {
            face({v + q[0], v + q[1], v + q[2]});
            face({v + q[0], v + q[2], v + q[3]});
        }
    }
    /// Rings of `sides` points round the x axis from `start` to `end`, closed by a fan round a centre at each
    /// end if `closed`; the two centres come last.
    void tube(double start, double end, double radius, int rings, int sides, bool closed = true) {
        const int v = static_cast<int>(points.size());
        for (int r = 0; r < rings; ++r)
            for (int s = 0; s < sides; ++s) {
                const double angle = 6.283185307179586 * s / sides + 0.1;
                points.push_back({start + (end - start) * r / (rings - 1), radius * std::cos(angle),
                                  radius * std::sin(angle)});
            }
        for (int r = 0; r + 1 < rings; ++r)
            for (int s = 0; s < sides; ++s) {
                const int a = v + r * sides + s, b = v + r * sides + (s + 1) % sides;
                face({a, b, b + sides});
                face({a, b + sides, a + sides});
            }
        if (!closed) return;
        const int first = static_cast<int>(points.size()), last = first + 1;
        points.push_back({start, 0, 0});
        points.push_back({end, 0, 0});
        for (int s = 0; s < sides; ++s) {
            face({v + (s + 1) % sides, v + s, first});
            face({v + (rings - 1) * sides + s, v + (rings - 1) * sides + (s + 1) % sides, last});
        }
    }
};

class ResetTest : public NodeTest {
protected:
    ResetTest() {
        headless::clearCommands();
        headless::resetMisuse();
        headless::resetThreadCheck();
        headless::addCompoundArray(node.object, "block", {"params", "blockWeights"});
        headless::startWriteJournal();
        arguments["HELP"] = boolean(false);
        arguments["NODE_NAME"] = makeText("graphNode");
        arguments["GR_NODE_PTR"] = pointer(static_cast<GrNode*>(&node));
        arguments["GET_ATTRIBUTES_PTR"] = pointer(&context);
        arguments["RUN_ATTRIBUTES_PTR"] = pointer(&attributes);
        arguments["DEFORM_ATTRIBUTES_PTR"] = pointer(&record);
        arguments["block"] = integer(0);
        arguments["maxDistanceCoeff"] = real(3.0);
        arguments["smooth"] = integer(0);
        arguments["mesh"] = makeText("body");
        arguments["fast"] = boolean(true);
    }
    void TearDown() override {
        EXPECT_EQ(headless::openHandleCount(), 0u);
        EXPECT_EQ(headless::misuseCount(), 0u) << headless::firstMisuse();
        EXPECT_EQ(headless::foreignCallCount(), 0u) << headless::firstForeignCall();
        headless::stopWriteJournal();
    }

    /// The mesh "body" with these points, and a record of the same points.
    void useMesh(const MeshSource& source) {
        if (!body.isNull()) headless::deleteNode(body);
        std::vector<headless::Position> positions;
        for (const Vec3d& p : source.points) positions.push_back({p.x, p.y, p.z});
        std::string error;
        body = headless::createMesh("body", positions, source.counts, source.vertices, &error);
        ASSERT_EQ(error, "");
        record.points = source.points;
    }
    /// A straight chain and a tube round it, one unit longer at both ends.
    void makeTube(std::size_t joints = 4, int rings = 7, int sides = 8, bool closed = true) {
        makeRig(joints, 0);
        MeshSource source;
        source.tube(-1.0, static_cast<double>(joints), 0.5, rings, sides, closed);
        useMesh(source);
    }

    /// Values of the written elements of block b, in order; a gap in the indices is a failure.
    std::vector<float> written(const std::string& child, unsigned b = 0) {
        std::vector<float> values;
        for (const headless::FloatElement& e : headless::floatElements({node.object, "block", b, child})) {
            EXPECT_EQ(e.index, values.size());
            values.push_back(e.value);
        }
        return values;
    }
    /// Indices of the elements that were written, in order.
    static std::vector<unsigned> writtenIndices() {
        std::vector<unsigned> indices;
        for (const headless::WrittenElement& e : headless::writeJournal()) indices.push_back(e.element);
        return indices;
    }
    static std::vector<std::string> commandTexts() {
        std::vector<std::string> texts;
        for (const headless::Command& c : headless::takeCommands()) texts.push_back(c.text);
        return texts;
    }
    /// Texts of everything shown since the last call, "info " before information.
    static std::vector<std::string> shown() {
        std::vector<std::string> texts;
        for (const headless::Message& m : headless::takeMessages())
            texts.push_back((m.level == headless::MessageLevel::info ? "info " : "") + withoutLine(m.text));
        return texts;
    }
    void select(headless::ComponentKind kind, std::vector<int> elements = {}) {
        headless::setActiveSelection({{body, kind, std::move(elements)}});
    }
    void expectNothingWritten() {
        EXPECT_EQ(headless::writeJournal().size(), 0u);
        EXPECT_EQ(headless::takeCommands().size(), 0u);
        EXPECT_EQ(arguments.count("OUTPUT"), 0u);
    }

    ValueMap arguments;
    MObject body;
    int context = 0;
};

/// "arm: ASSERT error (…:LINE): TEXT" with the line as such.
inline std::string assertionAnyLine(const std::string& text) {
    return "arm: ASSERT error (deformers/talvisora/talvisora:LINE): " + text;
}

} // namespace talvisora::fixtures
