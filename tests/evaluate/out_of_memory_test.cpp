// SPDX-License-Identifier: Apache-2.0
// Evaluations that run out of memory: one message, status 1, points untouched, and the next evaluation starts
// anew. Allocations are refused by this program's own operator new.
#include <gtest/gtest.h>

#include "evaluate/allocation_limit.h"
#include "fixtures/gpu_node_test.h"

extern "C" MyNode* create();

namespace talvisora {
namespace {

using namespace fixtures;

class OutOfMemory : public NodeTest {
protected:
    /// Fails once with allocations up to `largest` bytes only, then succeeds as if nothing had been.
    void expectRecovery(std::size_t largest) {
        MyNode untouched;
        untouched.sharedInputs["Hier hier"] = hierarchy;
        DeformRecord expected = record;
        expected.points = input;
        ASSERT_EQ(untouched.deformCpu(attributes, expected), 0);

        record.points = input;
        int status;
        {
            SmallMemory memory(largest);
            status = node.deformCpu(attributes, record);
        }
        EXPECT_EQ(status, 1);
        EXPECT_GT(SmallMemory::refused(), 0);
        EXPECT_EQ(errorsWithoutLine(),
                  std::vector<std::string>{
                      "arm: ASSERT error (deformers/talvisora/talvisora:LINE): exception: std::bad_alloc"});
        EXPECT_TRUE(pointsAreUntouched());
        EXPECT_TRUE(node.rebuildCache);
        EXPECT_FALSE(node.shape.valid);

        ASSERT_EQ(evaluate(), 0);
        EXPECT_EQ(std::memcmp(record.points.data(), expected.points.data(), input.size() * sizeof(Vec3d)), 0);
    }
};

TEST_F(OutOfMemory, InTheRebuildOfTheCache) {
    makeRig(4, 5000);
    expectRecovery(5000 * sizeof(float) - 1);
}

TEST_F(OutOfMemory, InTheLoopOverBlocksOnAnyThread) {
    // The arrays are there from a first evaluation; a rebuild on another rest then asks for the samples of
    // each block's curve, 300 of 32 bytes, and for nothing else of that size. The other rest is the same one
    // in other bits: a zero with a sign.
    makeRig(4, 12, 24);
    ASSERT_EQ(evaluate(), 0);
    hierarchy->find("j0")->restLocal.m[1] = -0.0;
    node.rebuildCache = true;
    expectRecovery(300 * 32 - 1);
}

class OutOfMemoryOnTheGpu : public GpuNodeTest {
protected:
    /// Fails once with allocations up to `largest` bytes only, before anything reached the device.
    void expectRecovery(std::size_t largest) {
        int status;
        {
            SmallMemory memory(largest);
            status = deform();
        }
        EXPECT_EQ(status, 1);
        EXPECT_GT(SmallMemory::refused(), 0);
        EXPECT_EQ(errorsWithoutLine(),
                  std::vector<std::string>{
                      "arm: ASSERT error (deformers/talvisora/talvisora:LINE): exception: std::bad_alloc"});
        EXPECT_TRUE(fake.takeCalls().empty());
        EXPECT_TRUE(node.uploadDevice);
        expectWholeLaunch(callsOfDeform(), data.pointCount);
    }
};

TEST_F(OutOfMemoryOnTheGpu, InTheRebuildOfTheCache) {
    resize(4, 5000);
    expectRecovery(5000 * sizeof(float) - 1);
}

TEST_F(OutOfMemoryOnTheGpu, InTheScratch) {
    resize(4, 500);
    expectRecovery(480 * 500 - 1);
}

TEST_F(OutOfMemory, InTheFactoryGivesNull) {
    SmallMemory memory(sizeof(MyNode) - 1);
    EXPECT_EQ(create(), nullptr);
}

TEST_F(OutOfMemory, InTheDeclarationAppendsNothing) {
    std::vector<AttributeDescriptor> attributesOfNode;
    {
        SmallMemory memory(sizeof(AttributeDescriptor) * 2);
        node.declareAttributes(attributesOfNode);
    }
    EXPECT_TRUE(attributesOfNode.empty());
    EXPECT_GT(SmallMemory::refused(), 0);
    EXPECT_EQ(errors().size(), 1u);
}

} // namespace
} // namespace talvisora
