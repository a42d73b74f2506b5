// SPDX-License-Identifier: Apache-2.0
// The node as it is made: empty caches, marked flags, members in their fixed order.
#include "node/my_node.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "headless/scene/message_log.h"
#include "node/messages.h"

extern "C" MyNode* create();

namespace talvisora {
namespace {

TEST(MyNode, StartsEmptyAndMarked) {
    MyNode node;
    EXPECT_TRUE(node.rebuildCache);
    EXPECT_TRUE(node.uploadDevice);
    EXPECT_EQ(node.geoMatrixInverse, Matrix44d{});
    EXPECT_EQ(node.blockCount, 0);
    EXPECT_TRUE(node.kernel.isNull());
    EXPECT_TRUE(node.cvsDataBuffer.isNull());
    EXPECT_TRUE(node.weightMaps.empty() && node.cvParameters.empty() && node.ordersStart.empty() &&
                node.ordersEnd.empty() && node.blockWeights.empty() && node.params.empty() &&
                node.knots.empty() && node.cvsData.empty() && node.tweaks.empty() && node.restCurves.empty());
    EXPECT_FALSE(node.shape.valid);
}

TEST(MyNode, KeepsItsMembersInTheOrderOfTheContract) {
    MyNode node;
    const void* order[] = {&node.kernel,
                           &node.spareBuffer1,
                           &node.weightMaps,
                           &node.weightMapsBuffer,
                           &node.cvParameters,
                           &node.spareBuffer2,
                           &node.geoMatrixInverse,
                           &node.blockCount,
                           &node.blockInfoBuffer,
                           &node.ordersStart,
                           &node.ordersStartBuffer,
                           &node.ordersEnd,
                           &node.ordersEndBuffer,
                           &node.blockWeights,
                           &node.blockWeightsBuffer,
                           &node.params,
                           &node.paramsBuffer,
                           &node.cvMatricesBuffer,
                           &node.cvBaseMatricesBuffer,
                           &node.cvBaseMatricesInverseBuffer,
                           &node.knots,
                           &node.knotsBuffer,
                           &node.cvsData,
                           &node.cvsDataBuffer,
                           &node.tweaks,
                           &node.tweaksBuffer,
                           &node.tweakVectorsBuffer,
                           &node.restCurves,
                           &node.rebuildCache,
                           &node.uploadDevice};
    EXPECT_TRUE(std::is_sorted(std::begin(order), std::end(order), std::less<const void*>()));
    EXPECT_EQ(reinterpret_cast<const char*>(&node.uploadDevice),
              reinterpret_cast<const char*>(&node.rebuildCache) + 1);
}

TEST(MyNode, LiesWhereItsBaseLies) {
    MyNode node;
    EXPECT_EQ(static_cast<void*>(static_cast<GrNode*>(&node)), static_cast<void*>(&node));
}

TEST(MyNode, IsMadeByTheFactoryAndDeletedThroughItsBase) {
    GrNode* node = create();
    ASSERT_NE(node, nullptr);
    EXPECT_NE(dynamic_cast<MyNode*>(node), nullptr);
    delete node;
}

TEST(MyNode, OffersBothPathsAndReleasesWhatItNeverHad) {
    MyNode node;
    ValueMap attributes;
    GpuDeformData data;
    headless::clearMessages();
    EXPECT_EQ(node.deformGpu(attributes, data), 1);
    const std::vector<headless::Message> shown = headless::takeMessages();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].text, ": get attributes: cannot find 'CACHE_ATTRIBUTES' (GrBoolean) attribute");
    node.releaseGpu();
    EXPECT_TRUE(node.uploadDevice);
    node.idleHook();
}

TEST(SetupMessages, PrintTheLinesOfTheirPath) {
    const std::string path = "ASSERT error (deformers/talvisora/talvisora:";
    EXPECT_EQ(tooFewJoints(kCpuSetupLines, 3).text(), path + "1117): joints[3] must be > 1");
    EXPECT_EQ(jointNotFound(kCpuSetupLines, "hip").text(), path + "1127): Cannot find 'hip' in hier!");
    EXPECT_EQ(tooManyJoints(kCpuSetupLines).text(),
              path + "1156): Joint's number must not be > 10 or > 30 (when simple)");
    EXPECT_EQ(bendNotFound(kCpuSetupLines, "knee").text(),
              path + "1253): Cannot find bend control 'knee' in hier!");
    EXPECT_EQ(tooFewJoints(kGpuSetupLines, 3).text(), path + "1725): joints[3] must be > 1");
    EXPECT_EQ(jointNotFound(kGpuSetupLines, "hip").text(), path + "1735): Cannot find 'hip' in hier!");
    EXPECT_EQ(tooManyJoints(kGpuSetupLines).text(),
              path + "1764): Joint's number must not be > 10 or > 30 (when simple)");
    EXPECT_EQ(bendNotFound(kGpuSetupLines, "knee").text(),
              path + "1861): Cannot find bend control 'knee' in hier!");
}

} // namespace
} // namespace talvisora
