// SPDX-License-Identifier: Apache-2.0
// The order of fields and of virtual operations that host and module must agree on.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>

#include "gr_node.h"

namespace talvisora {
namespace {

class PlainNode : public GrNode {
public:
    void declareAttributes(std::vector<AttributeDescriptor>&) override {}
};

template <std::size_t N>
bool ascending(const void* const (&fields)[N]) {
    return std::is_sorted(std::begin(fields), std::end(fields), std::less<const void*>());
}

TEST(Layout, NodesHoldTheirObjectThenTheTwoMaps) {
    PlainNode n;
    EXPECT_TRUE(ascending({&n, &n.object, &n.sharedInputs, &n.sharedOutputs}));
    EXPECT_EQ(reinterpret_cast<const char*>(&n.object) - reinterpret_cast<const char*>(&n),
              static_cast<std::ptrdiff_t>(sizeof(void*))); // behind the table's pointer
}

TEST(Layout, RecordsOfOneEvaluationKeepTheirOrder) {
    const DeformRecord r;
    EXPECT_TRUE(ascending({&r.active, &r.points, &r.matrix, &r.weights}));
    EXPECT_EQ(static_cast<const void*>(&r), &r.active);
    EXPECT_EQ(sizeof r.active, 1u);
    const GpuDeformData d;
    EXPECT_TRUE(ascending({&d.inputPoints, &d.outputPoints, &d.inputEvent, &d.outputEvent, &d.hostFields,
                           &d.weights, &d.pointCount}));
    EXPECT_EQ(static_cast<const void*>(&d), &d.inputPoints);
}

TEST(Layout, DescriptorsKeepTheirOrderAndStartFromNothing) {
    const AttributeDescriptor a;
    EXPECT_TRUE(ascending({&a.type, &a.shortName, &a.longName, &a.reserved, &a.keyable, &a.hidden, &a.array,
                           &a.children, &a.defaultValue, &a.defaultText, &a.hasMinimum, &a.hasMaximum,
                           &a.minimum, &a.maximum, &a.reservedState, &a.cached}));
    EXPECT_FALSE(a.reserved || a.keyable || a.hidden || a.array || a.hasMinimum || a.hasMaximum ||
                 a.reservedState || a.cached);
    EXPECT_EQ(a.defaultValue, 0.0);
    EXPECT_EQ(a.minimum, 0.0);
    EXPECT_EQ(a.maximum, 0.0);
    EXPECT_TRUE(a.shortName.empty() && a.longName.empty() && a.defaultText.empty() && a.children.empty());
}

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)
/// Place of a virtual operation in the table: a pointer to it holds one more than its offset in bytes.
template <class Operation>
std::size_t slotOf(Operation operation) {
    std::size_t bits = 0;
    std::memcpy(&bits, &operation, sizeof bits);
    EXPECT_EQ(bits % sizeof(void*), 1u) << "not virtual";
    return bits / sizeof(void*);
}

TEST(Layout, VirtualOperationsStandInTheirOrderBehindTheDestructor) {
    // The destructor takes two places here: one to destroy, one that also frees.
    EXPECT_EQ(slotOf(&GrNode::declareAttributes), 2u);
    EXPECT_EQ(slotOf(&GrNode::deformCpu), 3u);
    EXPECT_EQ(slotOf(&GrNode::receiveString), 4u);
    EXPECT_EQ(slotOf(&GrNode::idleHook), 5u);
    EXPECT_EQ(slotOf(&GrNode::deformGpu), 6u);
    EXPECT_EQ(slotOf(&GrNode::releaseGpu), 7u);
}
#endif

} // namespace
} // namespace talvisora
