// SPDX-License-Identifier: Apache-2.0
// World matrices made once must be those that the joint table itself gives, faults included, in any order.
#include "world_matrices.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures/small_rig.h"

namespace talvisora {
namespace {

using namespace fixtures;

TEST(WorldMatrices, AreThoseOfTheTableInAnyOrder) {
    GrHierarchy table;
    addChain(table, bentLine(6, 0.3), straightLine(6));
    addChain(table, bentLine(4, -0.7), straightLine(4), "side");
    table.find("side0")->parent = "j3";
    table.find("j4")->parentRotationOnly = true;
    table.set("loose", {turnedZ(0.1), {}, "gone", false});
    table.set("below loose", {turnedZ(0.1), {}, "loose", false});
    table.set("a", {{}, {}, "b", false});
    table.set("b", {{}, {}, "a", false});
    table.set("tail", {{}, {}, "a", false});
    std::vector<std::string> names = jointNames(6);
    for (const char* name : {"side3", "side0", "loose", "below loose", "a", "b", "tail", "nobody", ""})
        names.emplace_back(name);

    for (const Pose pose : {Pose::kCurrent, Pose::kRest})
        for (int order = 0; order < 2; ++order) {
            std::reverse(names.begin(), names.end());
            WorldMatrices world(table, pose);
            for (int round = 0; round < 2; ++round) // the second one finds everything known
                for (const std::string& name : names) {
                    Matrix44d made, expected;
                    const Fault fault = world.of(name, made);
                    EXPECT_EQ(fault.text(), table.worldMatrix(name, pose, expected).text()) << name;
                    EXPECT_EQ(made, expected) << name;
                }
        }
}

} // namespace
} // namespace talvisora
