// SPDX-License-Identifier: Apache-2.0
// What a node answers that overrides nothing, and how faults reach the user.
#include "gr_node.h"

#include <gtest/gtest.h>

#include "fixtures/node_test.h"
#include "report.h"

namespace talvisora {
namespace {

using namespace fixtures;

class PlainNode : public GrNode {
public:
    void declareAttributes(std::vector<AttributeDescriptor>&) override {}
};

TEST(BaseNode, DoesNothingOnTheCpuAndOffersNoGpu) {
    PlainNode node;
    ValueMap attributes;
    DeformRecord record;
    GpuDeformData data;
    EXPECT_EQ(node.deformCpu(attributes, record), 0);
    EXPECT_EQ(node.deformGpu(attributes, data), 2);
    node.releaseGpu();
    node.idleHook();
    node.receiveString(MString("text"));
    EXPECT_TRUE(node.sharedInputs.empty());
    EXPECT_TRUE(node.sharedOutputs.empty());
}

class ReportTest : public NodeTest {};

TEST_F(ReportTest, PutsTheMayaNameFirstAndAnswersOne) {
    EXPECT_EQ(report(node, Fault("text")), 1);
    EXPECT_EQ(errors(), std::vector<std::string>{"arm: text"});
}

TEST_F(ReportTest, FollowsTheNodesName) {
    headless::renameNode(node.object, "leg");
    report(node, Fault("text"));
    EXPECT_EQ(errors(), std::vector<std::string>{"leg: text"});
}

TEST_F(ReportTest, BeginsWithAColonWhenTheNodeIsBoundToNothing) {
    PlainNode unbound;
    report(unbound, Fault("text"));
    EXPECT_EQ(errors(), std::vector<std::string>{": text"});
}

TEST_F(ReportTest, NeverReadsUserTextAsAFormat) {
    report("100%s %n", missingAttribute("50%d", "GrFloat"));
    EXPECT_EQ(errors(),
              std::vector<std::string>{"100%s %n: get attributes: cannot find '50%d' (GrFloat) attribute"});
}

TEST_F(ReportTest, EmptiesTheMessageThatItShowed) {
    std::string message = "shown";
    displayError(message);
    EXPECT_TRUE(message.empty());
    EXPECT_EQ(errors(), std::vector<std::string>{"shown"});
}

} // namespace
} // namespace talvisora
