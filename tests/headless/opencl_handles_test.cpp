// SPDX-License-Identifier: Apache-2.0
// Reference counts of the owning OpenCL handles, over functions that count: one body of tests, three handles.
#include <maya/MOpenCLAutoPtr.h>

#include <gtest/gtest.h>
#include <map>
#include <utility>
#include <vector>

namespace {

std::map<const void*, int> g_counts;

cl_int CL_API_CALL retainKernel(cl_kernel object) {
    ++g_counts[object];
    return CL_SUCCESS;
}
cl_int CL_API_CALL releaseKernel(cl_kernel object) {
    --g_counts[object];
    return CL_SUCCESS;
}
cl_int CL_API_CALL retainMem(cl_mem object) {
    ++g_counts[object];
    return CL_SUCCESS;
}
cl_int CL_API_CALL releaseMem(cl_mem object) {
    --g_counts[object];
    return CL_SUCCESS;
}
cl_int CL_API_CALL retainEvent(cl_event object) {
    ++g_counts[object];
    return CL_SUCCESS;
}
cl_int CL_API_CALL releaseEvent(cl_event object) {
    --g_counts[object];
    return CL_SUCCESS;
}

void useCountingFunctions(bool on) {
    clRetainKernel = on ? &retainKernel : nullptr;
    clReleaseKernel = on ? &releaseKernel : nullptr;
    clRetainMemObject = on ? &retainMem : nullptr;
    clReleaseMemObject = on ? &releaseMem : nullptr;
    clRetainEvent = on ? &retainEvent : nullptr;
    clReleaseEvent = on ? &releaseEvent : nullptr;
}

template <typename Handle>
class OpenCLHandle : public testing::Test {
protected:
    using Raw = decltype(std::declval<const Handle&>().get());

    void SetUp() override {
        g_counts.clear();
        useCountingFunctions(true);
    }
    void TearDown() override {
        useCountingFunctions(false);
        // Every object that was born has lost its last reference, and none lost more.
        for (const auto& entry : g_counts) EXPECT_EQ(entry.second, 0);
    }
    // A new object, born with a count of one.
    Raw born() {
        const Raw object = reinterpret_cast<Raw>(&m_storage[m_used++]);
        g_counts[object] = 1;
        return object;
    }
    static int count(Raw object) { return g_counts.at(object); }

private:
    char m_storage[8] = {};
    int m_used = 0;
};

using Handles = testing::Types<MAutoCLKernel, MAutoCLMem, MAutoCLEvent>;
TYPED_TEST_SUITE(OpenCLHandle, Handles);

TYPED_TEST(OpenCLHandle, IsNullAtTheStart) {
    TypeParam handle;
    EXPECT_TRUE(handle.isNull());
    EXPECT_TRUE(!handle);
    EXPECT_EQ(handle.get(), nullptr);
    EXPECT_EQ(*handle.getReadOnlyRef(), nullptr);
    EXPECT_EQ(handle.detach(), nullptr);
    handle.reset();
    EXPECT_TRUE(g_counts.empty());
}

TYPED_TEST(OpenCLHandle, TakesOverWithoutRaisingTheCount) {
    const auto object = this->born();
    {
        TypeParam handle(object, typename TypeParam::NoRef());
        EXPECT_EQ(this->count(object), 1);
        EXPECT_EQ(handle.get(), object);
        EXPECT_EQ(*handle.getReadOnlyRef(), object);
        EXPECT_FALSE(handle.isNull());
        EXPECT_FALSE(!handle);
    }
    EXPECT_EQ(this->count(object), 0);
}

TYPED_TEST(OpenCLHandle, AttachReleasesWhatWasHeld) {
    const auto first = this->born();
    const auto second = this->born();
    TypeParam handle;
    handle.attach(first);
    EXPECT_EQ(this->count(first), 1);
    handle.attach(second);
    EXPECT_EQ(this->count(first), 0);
    EXPECT_EQ(this->count(second), 1);
    handle.attach(nullptr);
    EXPECT_EQ(this->count(second), 0);
    EXPECT_TRUE(handle.isNull());
}

TYPED_TEST(OpenCLHandle, CopiesShareTheObject) {
    const auto object = this->born();
    TypeParam handle;
    handle.attach(object);
    {
        TypeParam copy(handle);
        EXPECT_EQ(this->count(object), 2);
        EXPECT_TRUE(copy == handle);
        TypeParam assigned;
        assigned = copy;
        EXPECT_EQ(this->count(object), 3);
    }
    EXPECT_EQ(this->count(object), 1);
    const TypeParam& same = handle;
    handle = same;
    EXPECT_EQ(this->count(object), 1);
    EXPECT_EQ(handle.get(), object);
}

TYPED_TEST(OpenCLHandle, CopyAssignmentDropsThePreviousObject) {
    const auto first = this->born();
    const auto second = this->born();
    TypeParam a(first, typename TypeParam::NoRef());
    const TypeParam b(second, typename TypeParam::NoRef());
    a = b;
    EXPECT_EQ(this->count(first), 0);
    EXPECT_EQ(this->count(second), 2);
}

TYPED_TEST(OpenCLHandle, MovingTakesOverAndMoveAssignmentSwaps) {
    const auto first = this->born();
    const auto second = this->born();
    TypeParam a(first, typename TypeParam::NoRef());
    TypeParam moved(std::move(a));
    EXPECT_TRUE(a.isNull());
    EXPECT_EQ(moved.get(), first);
    TypeParam other(second, typename TypeParam::NoRef());
    other = std::move(moved);
    EXPECT_EQ(other.get(), first);
    EXPECT_EQ(moved.get(), second);
    other.swap(moved);
    EXPECT_EQ(other.get(), second);
    EXPECT_EQ(this->count(first), 1);
    EXPECT_EQ(this->count(second), 1);
}

TYPED_TEST(OpenCLHandle, DetachGivesTheReferenceBack) {
    const auto object = this->born();
    {
        TypeParam handle(object, typename TypeParam::NoRef());
        EXPECT_EQ(handle.detach(), object);
        EXPECT_TRUE(handle.isNull());
    }
    EXPECT_EQ(this->count(object), 1);
    TypeParam(object, typename TypeParam::NoRef()).reset();
    EXPECT_EQ(this->count(object), 0);
}

TYPED_TEST(OpenCLHandle, ReferenceForAssignmentReleasesAndReceives) {
    const auto first = this->born();
    const auto second = this->born();
    TypeParam handle(first, typename TypeParam::NoRef());
    auto* target = handle.getReferenceForAssignment();
    EXPECT_EQ(this->count(first), 0);
    EXPECT_EQ(*target, nullptr);
    *target = second;
    EXPECT_EQ(handle.get(), second);
    EXPECT_EQ(this->count(second), 1);
}

TYPED_TEST(OpenCLHandle, ComparesByObject) {
    const auto first = this->born();
    const auto second = this->born();
    const TypeParam a(first, typename TypeParam::NoRef());
    const TypeParam b(second, typename TypeParam::NoRef());
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a == first);
    EXPECT_FALSE(a == second);
    EXPECT_TRUE(a < b); // `first` lies before `second` in one array
    EXPECT_FALSE(b < a);
}

TYPED_TEST(OpenCLHandle, SurvivesInGrowingContainers) {
    const auto object = this->born();
    {
        std::vector<TypeParam> handles(1);
        handles[0].attach(object);
        for (int i = 0; i < 20; ++i) handles.push_back(TypeParam(handles[0]));
        EXPECT_EQ(this->count(object), 21);
    }
    EXPECT_EQ(this->count(object), 0);
}

TYPED_TEST(OpenCLHandle, CarriesTheValueUncountedWhileOpenCLIsNotLoaded) {
    const auto object = this->born();
    useCountingFunctions(false);
    {
        TypeParam handle(object, typename TypeParam::NoRef());
        TypeParam copy(handle);
        EXPECT_EQ(copy.get(), object);
        copy.reset();
        EXPECT_TRUE(copy.isNull());
    }
    EXPECT_EQ(this->count(object), 1);
    g_counts.clear();
}

} // namespace
