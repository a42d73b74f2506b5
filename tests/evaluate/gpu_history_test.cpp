// SPDX-License-Identifier: Apache-2.0
// Random histories of one node on a made-up device: meshes and rigs that grow and shrink, caching on and off,
// both paths by turns, releases, calls that fail. Whatever came before, an evaluation without a report leaves
// on the device what a fresh node would have put there, and no launch reaches outside its buffers.
#include <gtest/gtest.h>

#include <random>

#include "fixtures/gpu_node_test.h"

namespace talvisora {
namespace {

using namespace fixtures;

class GpuHistory : public GpuNodeTest {
protected:
    std::size_t draw(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    }

    /// A rig whose weights follow from its own size, so that a cache of the right size is the right cache.
    void drawRig() {
        const std::size_t sizes[] = {1, 5, 12, 20};
        const std::size_t points = sizes[draw(4)], blocks = 1 + draw(3);
        resize(2 + draw(4), points, blocks);
        for (std::size_t b = 0; b < blocks; ++b) {
            const float weight = static_cast<float>(b + 1) / static_cast<float>(blocks + points);
            block(b)[attribute::kBlockWeights] = repeated(points, weight);
            Tweak tweak{};
            tweak.bulge = weight;
            block(b)[attribute::kTweaks] = compound({tweakElement(tweak)});
            block(b)[attribute::kSimple] = boolean(draw(2) == 0);
        }
    }

    template <class T>
    void expectBegins(const char* what, cl_mem buffer, const std::vector<T>& expected) {
        const std::vector<T> values = fake.values<T>(buffer);
        ASSERT_GE(values.size(), expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), values.begin())) << what;
    }
    /// The device against the host arrays of a node that has no history.
    void expectAsFresh() {
        MyNode fresh;
        fresh.object = node.object;
        fresh.sharedInputs = node.sharedInputs;
        ASSERT_EQ(fresh.deformGpu(attributes, data), 0);
        expectBegins("ordersStart", node.ordersStartBuffer.get(), fresh.ordersStart);
        expectBegins("ordersEnd", node.ordersEndBuffer.get(), fresh.ordersEnd);
        expectBegins("blockWeights", node.blockWeightsBuffer.get(), fresh.blockWeights);
        expectBegins("params", node.paramsBuffer.get(), fresh.params);
        expectBegins("weightMaps", node.weightMapsBuffer.get(), fresh.weightMaps);
        expectBegins("blockInfo", node.blockInfoBuffer.get(),
                     fake.values<std::int32_t>(fresh.blockInfoBuffer.get()));
        const std::vector<float> tweaks = fake.values<float>(fresh.tweaksBuffer.get());
        expectBegins("tweaks", node.tweaksBuffer.get(), tweaks);
        // Past a block's own knots anything may stand.
        const std::vector<float> knots = fake.values<float>(node.knotsBuffer.get());
        for (std::size_t b = 0; b < fresh.deviceShape.controlPointCounts.size(); ++b)
            for (int k = 0; k < fresh.deviceShape.controlPointCounts[b] + 4; ++k)
                ASSERT_EQ(knots[knotSlot(static_cast<int>(b), k)],
                          fresh.knots[knotSlot(static_cast<int>(b), k)]);
        fresh.releaseGpu();
        errors();
    }

    void step() {
        switch (draw(6)) {
        case 0:
        case 1:
            drawRig();
            break;
        case 2:
            node.releaseGpu();
            break;
        case 3:
            setCaching(draw(2) == 0);
            break;
        case 4:
            ASSERT_EQ(evaluate(), 0);
            break;
        default:
            makeHostBuffers(data.pointCount);
            break;
        }
        const bool breaks = draw(3) == 0;
        const std::size_t first = draw(40), count = 1 + draw(4);
        if (breaks)
            fake.answer = [=](const DeviceCall&, std::size_t number) {
                return number >= first && number < first + count ? CL_OUT_OF_RESOURCES : CL_SUCCESS;
            };
        fake.takeCalls();
        ASSERT_EQ(deform(), 0);
        fake.answer = nullptr;
        const std::vector<DeviceCall> launches = only(fake.takeCalls(), "EnqueueNDRangeKernel");
        if (!errors().empty()) return;
        ++whole;
        ASSERT_EQ(launches.size(), 1u);
        EXPECT_EQ(launches[0].count, data.pointCount);
        expectAsFresh();
    }

    std::mt19937 random{20261};
    int whole = 0; ///< evaluations without a report
};

TEST_F(GpuHistory, LeavesOnTheDeviceWhatAFreshNodeWouldPutThere) {
    for (int history = 0; history < 60; ++history) {
        node.releaseGpu();
        drawRig();
        for (int k = 0; k < 15; ++k) {
            ASSERT_NO_FATAL_FAILURE(step()) << "history " << history << ", step " << k;
            ASSERT_EQ(fake.violations(), std::vector<std::string>{})
                << "history " << history << ", step " << k;
            ASSERT_FALSE(HasFailure()) << "history " << history << ", step " << k;
        }
    }
    EXPECT_GT(whole, 200); // enough of both kinds
    EXPECT_LT(whole, 800);
}

} // namespace
} // namespace talvisora
